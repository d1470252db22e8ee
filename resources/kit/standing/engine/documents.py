"""The text of word-processor files and decks.

Documents come out as Markdown (headings, lists, tables, links), because that is how the application
captures documents and what the grader knows how to judge. Decks come out slide by slide.
"""

import re
from typing import Iterator, List, Optional

from .archive import Archive, attribute, children, limited, local, outermost, relations
from .parts import NotGradable, Part
from .unseen import Unseen, hidden_runs, hiding_styles, styled_texts

_DEEPEST_TABLE = 6  # tables within tables that are drawn as such; the text of deeper ones is kept


def read_docx(data: bytes, shown: str, kind):
    """A word-processor file: its body, without deleted text and comments; notes below it."""
    archive = Archive(data, shown)
    root = archive.xml("word/document.xml")
    if root is None:
        raise NotGradable("{} holds no document".format(shown))
    links = relations_with_targets(archive)
    levels = _styles(archive.xml("word/styles.xml"))
    if _uses_title(root, levels):  # then the title is the one heading of level 1
        levels = {style: level + 1 if 0 < level < 6 else level for style, level in levels.items()}
    bodies = (block for body in children(root, "body")
              for block in _word_blocks(body, links, levels))
    blocks = list(limited(bodies)) + _notes(archive, links)
    unseen = Unseen()
    unseen.add("passage", hidden_runs(root))
    return _part(blocks, shown, kind, archive, unseen)


def _part(blocks: List[str], shown: str, kind, archive: Archive, unseen: Unseen):
    text = "\n\n".join(limited(block for block in blocks if block.strip())) + "\n"
    return [Part(kind.mime_type, shown, text)], archive.notes(shown) + unseen.notes(shown)


def read_odt(data: bytes, shown: str, kind):
    """An OpenDocument text."""
    archive = Archive(data, shown)
    root = _open_document_body(archive, shown)
    unseen = Unseen()
    unseen.add("passage",
               styled_texts(root, hiding_styles(root, "text-properties", "display", "none")))
    return _part(list(limited(_open_blocks(root))), shown, kind, archive, unseen)


def read_pptx(data: bytes, shown: str, kind):
    """A deck: one block per slide, in the order of the show, its notes below."""
    archive = Archive(data, shown)
    presentation = archive.xml("ppt/presentation.xml")
    if presentation is None:
        raise NotGradable("{} holds no deck".format(shown))
    targets = relations(archive, "ppt/presentation.xml")
    slides = [targets.get(attribute_of_relation(item)) for order in
              children(presentation, "sldIdLst") for item in order]
    blocks, unseen = [], Unseen()
    for number, member in enumerate([s for s in slides if s], 1):
        slide = archive.xml(member)
        paragraphs = _drawn_paragraphs(slide)
        unseen.add("slide", int(slide is not None and attribute(slide, "show") in ("0", "false")))
        notes = next((m for m in relations(archive, member).values() if "notesSlide" in m), None)
        if notes:
            said = [p for p in _drawn_paragraphs(archive.xml(notes)) if not p.isdigit()]
            paragraphs += ["Notes: " + " ".join(said)] if said else []
        blocks.append("\n".join(["Slide {}".format(number)] + paragraphs))
        if archive.cut:
            break
    return _part(blocks, shown, kind, archive, unseen)


def read_odp(data: bytes, shown: str, kind):
    """An OpenDocument deck."""
    archive = Archive(data, shown)
    root = _open_document_body(archive, shown)
    blocks, unseen = [], Unseen()
    hiding = hiding_styles(root, "drawing-page-properties", "visibility", "hidden")
    for number, page in enumerate(outermost(root, ("page",)), 1):
        unseen.add("slide", int(attribute(page, "style-name") in hiding))
        lines = [text for text in map(_flat, outermost(page, ("p", "h"))) if text]
        blocks.append("\n".join(["Slide {}".format(number)] + lines))
    return _part(blocks, shown, kind, archive, unseen)


def relations_with_targets(archive: Archive) -> dict:
    """Relation id -> address, of the outside links of a word-processor file."""
    root = archive.xml("word/_rels/document.xml.rels")
    return {} if root is None else {child.get("Id"): child.get("Target") or "" for child in root
                                    if child.get("TargetMode") == "External"}


def attribute_of_relation(element) -> Optional[str]:
    """The relation id of a slide list's entry, which also has an id of its own."""
    for key, value in element.attrib.items():
        if key.endswith("}id"):
            return value
    return None


def _styles(styles) -> dict:
    """Style id -> level of a heading, 0 for the title, -1 for the entry of a list."""
    found = {}
    for style in children(styles, "style"):
        name = next((attribute(n, "val") or "" for n in children(style, "name")), "").lower()
        match = re.match(r"heading ([1-9])$", name)
        if match:
            found[attribute(style, "styleId")] = min(int(match.group(1)), 6)
        elif name == "title":
            found[attribute(style, "styleId")] = 0
        elif re.match(r"list (bullet|number)", name):
            found[attribute(style, "styleId")] = -1
    return found


def _uses_title(root, levels: dict) -> bool:
    return any(levels.get(attribute(style, "val")) == 0 for style in root.iter()
               if local(style) == "pStyle")


def _word_blocks(body, links: dict, levels: dict, tables: int = 0) -> Iterator[str]:
    """Recursion ends with the depth of the tree, which is bounded."""
    for element in body:
        name = local(element)
        if name == "p":
            yield _word_paragraph(element, links, levels)
        elif name == "tbl":
            if tables >= _DEEPEST_TABLE:
                yield " ".join(_word_paragraph(p, links, {}) for p in outermost(element, ("p",)))
                continue
            yield _table([[" ".join(_word_blocks(cell, links, {}, tables + 1))
                           for cell in children(row, "tc")]
                          for row in children(element, "tr")])
        elif name in ("sdt", "sdtContent", "ins", "customXml"):
            yield from _word_blocks(element, links, levels, tables)


def _word_paragraph(paragraph, links: dict, levels: dict) -> str:
    text = "".join(_word_runs(paragraph, links)).strip()
    if not text:
        return ""
    for properties in children(paragraph, "pPr"):
        for style in children(properties, "pStyle"):
            level = levels.get(attribute(style, "val"))
            if level is not None:
                return "- " + text if level < 0 else "#" * max(level, 1) + " " + text
        if children(properties, "numPr"):
            return "- " + text
    return text


def _word_runs(element, links: dict) -> Iterator[str]:
    for child in element:
        name = local(child)
        if name == "t":
            yield child.text or ""
        elif name in ("tab", "br", "cr"):
            yield "\t" if name == "tab" else "\n"
        elif name == "noBreakHyphen":
            yield "-"
        elif name == "hyperlink":
            label = "".join(_word_runs(child, links))
            target = links.get(attribute(child, "id"))
            yield "[{}]({})".format(label, target) if target else label
        elif name not in ("del", "moveFrom", "pPr", "rPr", "instrText", "delText",
                          "Fallback"):
            yield from _word_runs(child, links)


def _notes(archive: Archive, links: dict) -> List[str]:
    found = []
    for member, kind in (("word/footnotes.xml", "footnote"), ("word/endnotes.xml", "endnote")):
        for note in children(archive.xml(member), kind):
            if attribute(note, "type") is None:
                found.append(" ".join(_word_blocks(note, links, {})).strip())
    return found


def _open_document_body(archive: Archive, shown: str):
    root = archive.xml("content.xml")
    if root is None:
        raise NotGradable("{} holds no document".format(shown))
    return root


def _open_blocks(element) -> Iterator[str]:
    for child in element:
        name = local(child)
        if name == "h":
            level = attribute(child, "outline-level") or "1"
            yield "#" * min(6, int(level) if level.isdigit() and level != "0" else 1) \
                + " " + _flat(child)
        elif name == "p":
            yield _flat(child)
        elif name == "table":
            yield _table([[" ".join(map(_flat, outermost(cell, ("p", "h"))))
                           for cell in children(row, "table-cell")]
                          for row in outermost(child, ("table-row",))])
        elif name == "list-item":
            yield from ("- " + block for block in _open_blocks(child))
        elif name not in ("tracked-changes", "forms", "sequence-decls"):
            yield from _open_blocks(child)


def _flat(element, depth: int = 0) -> str:
    """A paragraph's text. OpenDocument writes blanks, tabs and line ends as elements."""
    pieces = [element.text or ""]
    for child in element:
        name = local(child)
        if name == "s":
            count = attribute(child, "c") or "1"
            pieces.append(" " * min(100, int(count) if count.isdigit() else 1))
        elif name in ("tab", "line-break"):
            pieces.append("\t" if name == "tab" else "\n")
        elif name == "a":
            pieces.append("[{}]({})".format(_flat(child, depth + 1),
                                            attribute(child, "href") or ""))
        elif name not in ("annotation", "note-citation"):
            pieces.append(_flat(child, depth + 1))
        pieces.append(child.tail or "")
    return "".join(pieces).strip() if depth == 0 else "".join(pieces)


def _drawn_paragraphs(root) -> List[str]:
    """The paragraphs of all shapes of a slide, in the order of the file."""
    if root is None:
        return []
    found = []
    for paragraph in outermost(root, ("p",)):
        text = "".join("\n" if local(e) == "br" else e.text or "" for e in paragraph.iter()
                       if local(e) in ("t", "br")).strip()
        if text:
            found.append(text)
    return found


def _table(rows: List[List[str]]) -> str:
    """Rows as a Markdown table."""
    rows = [row for row in rows if row]
    if not rows:
        return ""
    lines = ["| " + " | ".join(re.sub(r"\s+", " ", cell).replace("|", "\\|").strip()
                               for cell in row) + " |" for row in rows]
    return "\n".join([lines[0], "|" + " --- |" * len(rows[0])] + lines[1:])
