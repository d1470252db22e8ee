"""The cells of workbooks, as the tab-separated text that a sheet copies to the clipboard.

One part per sheet that holds anything. Values are the ones the program last calculated; dates and
shares, which a workbook keeps as bare numbers, are written as such.
"""

import datetime
import re
from typing import Dict, List, Optional

from .archive import MOST_TEXT, Archive, attribute, children, local, outermost, relations
from .parts import NotGradable, Part
from .unseen import Unseen, hiding_styles, says_yes

MOST_ROWS, MOST_COLUMNS, MOST_CELLS = 100000, 1000, 400000
_DATE_IDS = set(range(14, 23)) | set(range(27, 37)) | set(range(45, 48)) | set(range(50, 59))

_HIDDEN = ("collapse", "filter")    # what OpenDocument calls a row or column that is not shown


class _Grid:
    """The cells of one sheet by row and column, both from 0, within bounds."""

    def __init__(self):
        self._rows: Dict[int, Dict[int, str]] = {}
        self._cells = 0
        self.cut = False
        self.uncalculated = 0   # formulas that the file holds no result of
        self.hidden_rows = 0    # those that hold anything
        self.hidden = False     # the sheet as a whole
        self._hidden_columns: List[range] = []

    def hide_columns(self, columns: range) -> None:
        """Notes that these are not shown."""
        if len(self._hidden_columns) < MOST_COLUMNS:
            self._hidden_columns.append(columns)

    def count_unseen(self, unseen: Unseen) -> None:
        """Adds what of this sheet is hidden and holds anything."""
        filled = {column for cells in self._rows.values() for column in cells}
        unseen.add("sheet", int(self.hidden and bool(filled)))
        unseen.add("row", self.hidden_rows)
        if self._hidden_columns:
            unseen.add("column", sum(any(column in hidden for hidden in self._hidden_columns)
                                     for column in filled))

    def put(self, row: int, column: int, text: str) -> bool:
        """Whether there is room for more below and to the right."""
        if not text:
            return True
        if row >= MOST_ROWS or column >= MOST_COLUMNS or self._cells >= MOST_CELLS:
            self.cut = True
            return False
        self._cells += 1
        self._rows.setdefault(row, {})[column] = text
        return True

    def text(self) -> str:
        """Rows from the first to the last; blanks where there is nothing. As much as is read of a
        file, however far apart its cells are."""
        if not self._rows:
            return ""
        width = max(max(cells) for cells in self._rows.values()) + 1
        lines, left, row = [], MOST_TEXT, min(self._rows)
        for filled in sorted(self._rows):
            for cells in [{}] * (filled - row) + [self._rows[filled]]:
                line = self._line(cells, width, left)
                left -= len(line)
                if left < 0:
                    self.cut = True
                    return "".join(lines)
                lines.append(line)
            row = filled + 1
        return "".join(lines)

    @staticmethod
    def _line(cells: Dict[int, str], width: int, most: int) -> str:
        """One row, with a tab between any two columns; of one that has more than `most` characters,
        somewhat more than those."""
        pieces, at = [], 0
        for column in sorted(cells):
            pieces.append("\t" * (column - at) + _field(cells[column]))
            at = column
            most -= len(pieces[-1])
            if most < 0:
                break
        return "".join(pieces) + "\t" * (width - 1 - at) + "\n"


def read_xlsx(data: bytes, shown: str, kind):
    """A workbook of the OOXML kind."""
    archive = Archive(data, shown)
    workbook = archive.xml("xl/workbook.xml")
    if workbook is None:
        raise NotGradable("{} holds no workbook".format(shown))
    strings = [_inline(item) for item in children(archive.xml("xl/sharedStrings.xml"), "si")]
    formats = _formats(archive.xml("xl/styles.xml"))
    properties = children(workbook, "workbookPr")
    since_1904 = bool(properties) and attribute(properties[0], "date1904") in ("1", "true")
    targets = relations(archive, "xl/workbook.xml")
    grids = []
    for sheets in children(workbook, "sheets"):
        for sheet in sheets:
            relation = next((v for k, v in sheet.attrib.items() if k.endswith("}id")), None)
            root = archive.xml(targets.get(relation, ""))
            if root is not None:
                grids.append((attribute(sheet, "name") or "Sheet",
                              _xlsx_grid(root, strings, formats, since_1904)))
                grids[-1][1].hidden = attribute(sheet, "state") in ("hidden", "veryHidden")
    return _parts(grids, shown, kind, archive)


def read_ods(data: bytes, shown: str, kind):
    """An OpenDocument workbook."""
    archive = Archive(data, shown)
    root = archive.xml("content.xml")
    if root is None:
        raise NotGradable("{} holds no workbook".format(shown))
    tables = outermost(root, ("table",))
    grids = [(attribute(t, "name") or "Sheet", _ods_grid(t)) for t in tables]
    hiding = hiding_styles(root, "table-properties", "display", "false")
    for table, (_, grid) in zip(tables, grids):
        grid.hidden = attribute(table, "style-name") in hiding
    return _parts(grids, shown, kind, archive)


def _parts(grids, shown: str, kind, archive: Archive):
    texts, left = [], MOST_TEXT
    for name, grid in grids:
        if left <= 0:
            archive.cut = True
            break
        text = grid.text()
        grid.cut = grid.cut or len(text) > left
        texts.append((name, text[:left], grid.cut))
        left -= len(texts[-1][1])
    waiting = sum(grid.uncalculated for _, grid in grids)
    unseen = Unseen()
    for _, grid in grids[:len(texts)]:
        grid.count_unseen(unseen)
    filled = [entry for entry in texts if entry[1]] or texts[:1]
    notes = archive.notes(shown)
    notes += ["{}: sheet “{}” is larger than what is graded".format(shown, name)
              for name, _, cut in filled if cut]
    if waiting:
        notes.append("{}: {} formulas have no calculated result and are graded as empty; open and "
                     "save the file in a spreadsheet program".format(shown, waiting))
    notes += unseen.notes(shown)
    stem = shown.rpartition(".")[0] or shown
    several = len(filled) > 1
    return [Part(kind.mime_type, "{}{}.tsv".format(stem, "-" + _plain(name) if several else ""),
                 text) for name, text, _ in filled], notes


def _xlsx_grid(root, strings: List[str], formats: List[str], since_1904: bool) -> _Grid:
    grid = _Grid()
    row = -1
    for column in (c for columns in children(root, "cols") for c in children(columns, "col")):
        first, last = attribute(column, "min") or "", attribute(column, "max") or ""
        if says_yes(column, "hidden") and first.isdigit() and last.isdigit():
            grid.hide_columns(range(int(first[:9]) - 1, int(last[:9])))
    for data in children(root, "sheetData"):
        for line in children(data, "row"):
            filled = False
            number = attribute(line, "r") or ""
            row = int(number) - 1 if number.isdigit() and 0 < len(number) < 9 else row + 1
            column = -1
            for cell in children(line, "c"):
                column = _column(attribute(cell, "r"), column + 1)
                grid.uncalculated += bool(children(cell, "f")) and not children(cell, "v")
                text = _xlsx_value(cell, strings, formats, since_1904)
                filled = filled or bool(text)
                grid.put(row, column, text)
            grid.hidden_rows += filled and says_yes(line, "hidden")
    return grid


def _xlsx_value(cell, strings: List[str], formats: List[str], since_1904: bool) -> str:
    kind = attribute(cell, "t") or "n"
    value = next((child.text or "" for child in children(cell, "v")), "")
    if kind == "inlineStr":
        return "".join(_inline(child) for child in children(cell, "is"))
    if kind == "s":
        index = int(value) if value.isdigit() and len(value) < 10 else -1
        return strings[index] if 0 <= index < len(strings) else ""
    if kind == "b":
        return "TRUE" if value == "1" else "FALSE"
    if kind != "n" or not value:
        return value  # text of a formula, an error such as #REF!, or a date in ISO form
    style = attribute(cell, "s") or "0"
    index = int(style) if style.isdigit() and len(style) < 9 else 0
    return _number(value, formats[index] if index < len(formats) else "", since_1904)


def _number(value: str, form: str, since_1904: bool) -> str:
    try:
        number = float(value)
    except ValueError:
        return value
    if form == "date":
        return _date(number, since_1904) or value
    if form == "percent":
        return "{:.10g}%".format(number * 100)
    return "{:.15g}".format(number) if "." in value or "e" in value.lower() else value


def _date(number: float, since_1904: bool) -> Optional[str]:
    """Days since the workbook's epoch; the part of a day is a time."""
    start = datetime.datetime(1904, 1, 1) if since_1904 else datetime.datetime(1899, 12, 30)
    if not 0 <= number < 2958466:
        return None
    try:
        moment = start + datetime.timedelta(seconds=round(number * 86400))
    except OverflowError:
        return None
    if number < 1:
        return moment.strftime("%H:%M:%S")
    return moment.strftime("%Y-%m-%d" if number == int(number) else "%Y-%m-%d %H:%M:%S")


def _formats(styles) -> List[str]:
    """For each cell style: "date", "percent" or ""."""
    custom = {attribute(f, "numFmtId"): attribute(f, "formatCode") or ""
              for formats in children(styles, "numFmts") for f in formats}
    found = []
    for group in children(styles, "cellXfs"):
        for style in group:
            number = attribute(style, "numFmtId") or "0"
            code = custom.get(number)
            if code is None:
                known = int(number) if number.isdigit() and len(number) < 6 else 0
                found.append("date" if known in _DATE_IDS else "percent" if known in (9, 10)
                             else "")
            else:
                found.append(_form_of(code))
    return found


def _form_of(code: str) -> str:
    bare = re.sub(r'"[^"]*"|\\.|\[[^\]]*\]', "", code.split(";")[0])
    if "%" in bare:
        return "percent"
    return "date" if re.search(r"[dmyhs]", bare, re.I) and "General" not in bare else ""


def _inline(item) -> str:
    """The text of a shared or inline string, without its phonetic reading."""
    pieces = []
    for child in item:
        if local(child) == "t":
            pieces.append(child.text or "")
        elif local(child) == "r":
            pieces += [t.text or "" for t in children(child, "t")]
    return "".join(pieces)


def _column(reference: Optional[str], following: int) -> int:
    letters = re.match(r"[A-Z]{1,3}", reference or "")
    if letters is None:
        return following
    number = 0
    for letter in letters.group():
        number = number * 26 + ord(letter) - 64
    return number - 1


def _ods_grid(table) -> _Grid:
    grid = _Grid()
    row = column = 0
    for line in (e for e in table.iter() if local(e) == "table-column"):
        repeated = min(_times(line, "number-columns-repeated"), MOST_COLUMNS)
        if attribute(line, "visibility") in _HIDDEN:
            grid.hide_columns(range(column, column + repeated))
        column += repeated
    for line in (e for e in table.iter() if local(e) == "table-row"):
        repeated = min(_times(line, "number-rows-repeated"), MOST_ROWS)
        cells = _ods_cells(line)
        for again in range(repeated if cells else 0):
            if not all([grid.put(row + again, column, text) for column, text in cells]):
                break
        if cells and attribute(line, "visibility") in _HIDDEN:
            grid.hidden_rows += repeated
        row += repeated
        if row >= MOST_ROWS:
            grid.cut = grid.cut or bool(cells)
            break
    return grid


def _ods_cells(line) -> list:
    cells, column = [], 0
    for cell in line:
        if local(cell) not in ("table-cell", "covered-table-cell"):
            continue
        repeated = min(_times(cell, "number-columns-repeated"), MOST_COLUMNS)
        text = "\n".join("".join(p.itertext()) for p in children(cell, "p"))
        if text:
            cells += [(column + again, text) for again in range(repeated)]
        column += repeated
        if column >= MOST_COLUMNS:
            break
    return cells


def _times(element, name: str) -> int:
    text = attribute(element, name) or "1"
    return int(text) if text.isdigit() and 0 < len(text) < 9 else 1


def _field(text: str) -> str:
    return '"' + text.replace('"', '""') + '"' if any(c in text for c in "\t\n\r\"") else text


def _plain(name: str) -> str:
    return re.sub(r"[^\w.-]+", "_", name) or "Sheet"
