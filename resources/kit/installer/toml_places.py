"""TOML with places: what a text holds, and on which lines."""

import re
from typing import Any, Dict, List, NamedTuple, Tuple

from .json_places import MAX_NESTED
from .text import BadText, Key


class TomlTable:
    """A table, and what made it: a header, a longer header, a dotted key, or braces."""

    __slots__ = ("origin", "section", "items", "pos")

    def __init__(self, origin: str, section: int, pos: int) -> None:
        self.origin, self.section, self.pos = origin, section, pos
        self.items: Dict[str, Any] = {}


class TomlTables:
    """An array of tables, [[…]]."""

    __slots__ = ("tables", "pos")

    def __init__(self, pos: int) -> None:
        self.tables: List[TomlTable] = []
        self.pos = pos


class TomlValue:
    """A scalar or an array. A string is decoded, an array a list, all else its text."""

    __slots__ = ("kind", "value", "pos")

    def __init__(self, kind: str, value: Any, pos: int) -> None:
        self.kind, self.value, self.pos = kind, value, pos


class TomlLine(NamedTuple):
    """A header or a pair: where its line starts, where it ends, and where the next one starts."""

    header: bool
    key: Key
    start: int
    pos: int
    end: int
    line_end: int


class TomlReader:
    """Reads TOML 1.0 into tables and lines, or raises BadText at the first mistake."""

    BARE = re.compile(r"[A-Za-z0-9_-]+")
    BASIC = re.compile(r'"((?:[^"\\\x00-\x08\x0a-\x1f\x7f]|\\.)*)"')
    LITERAL = re.compile(r"'([^'\x00-\x08\x0a-\x1f\x7f]*)'")
    BASIC_LINES = re.compile(r'"""(?:\r?\n)?((?:[^"\\]|\\[\s\S]|"(?!""))*"{0,2})"""')
    LITERAL_LINES = re.compile(r"'''(?:\r?\n)?((?:[^']|'(?!''))*'{0,2})'''")
    ESCAPE = re.compile(r"\\(?:u([0-9a-fA-F]{4})|U([0-9a-fA-F]{8})|([ \t]*\r?\n[ \t\r\n]*)|(.))",
                        re.S)
    SINGLE = {"b": "\b", "t": "\t", "n": "\n", "f": "\f", "r": "\r", '"': '"', "\\": "\\"}
    DATE = r"[0-9]{4}-(?:0[1-9]|1[0-2])-(?:0[1-9]|[12][0-9]|3[01])"
    TIME = r"(?:[01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9](?:\.[0-9]+)?"
    DIGITS = r"[0-9](?:_?[0-9])*"
    SCALAR = re.compile(
        r"true|false"
        r"|" + DATE + r"(?:[Tt ]" + TIME + r"(?:[Zz]|[+-](?:[01][0-9]|2[0-3]):[0-5][0-9])?)?"
        r"|" + TIME +
        r"|0x[0-9A-Fa-f](?:_?[0-9A-Fa-f])*|0o[0-7](?:_?[0-7])*|0b[01](?:_?[01])*"
        r"|[+-]?(?:inf|nan|(?:0|[1-9](?:_?[0-9])*)(?:\." + DIGITS + r")?"
        r"(?:[eE][+-]?" + DIGITS + r")?)")
    CONTROL = re.compile(r"[\x00-\x08\x0b\x0c\x0e-\x1f\x7f]|\r(?!\n)")

    def __init__(self, text: str) -> None:
        self.text = text
        self.root = TomlTable("header", 0, 0)
        self.lines: List[TomlLine] = []
        self.section, self.current, self.path = 0, self.root, ()  # type: int, TomlTable, Key

    def read(self) -> "TomlReader":
        broken = self.CONTROL.search(self.text)
        if broken:
            raise BadText("a control character", broken.start())
        pos = 0
        while pos < len(self.text):
            pos = self.line(pos)
        return self

    def at(self, pos: int) -> str:
        return self.text[pos:pos + 1]

    def blanks(self, pos: int) -> int:
        while self.at(pos) in (" ", "\t"):
            pos += 1
        return pos

    def line_over(self, pos: int) -> int:
        """The start of the next line, when only blanks and a comment are left on this one."""
        pos = self.blanks(pos)
        if self.at(pos) == "#":
            end = self.text.find("\n", pos)
            return len(self.text) if end < 0 else end + 1
        if pos == len(self.text):
            return pos
        if self.text.startswith("\r\n", pos):
            return pos + 2
        if self.at(pos) == "\n":
            return pos + 1
        raise BadText("the line should end here", pos)

    def line(self, start: int) -> int:
        pos = self.blanks(start)
        if self.at(pos) in ("#", "\r", "\n", ""):
            return self.line_over(pos)
        if self.at(pos) == "[":
            key, end = self.header(pos)
        else:
            key, end = self.pair(pos, self.current, 0)
            key = self.path + key
        line_end = self.line_over(end)
        self.lines.append(TomlLine(self.at(pos) == "[", key, start, pos, end, line_end))
        return line_end

    def key(self, pos: int) -> Tuple[Key, int]:
        parts: List[str] = []
        while True:
            pos = self.blanks(pos)
            match = self.BARE.match(self.text, pos)
            if match:
                part, pos = match.group(), match.end()
            elif self.at(pos) in ('"', "'") and not self.text.startswith(('"""', "'''"), pos):
                part, pos = self.string(pos)
            else:
                raise BadText("a key is expected here", pos)
            parts.append(part)
            after = self.blanks(pos)
            if self.at(after) != ".":
                return tuple(parts), pos
            pos = after + 1

    def header(self, pos: int) -> Tuple[Key, int]:
        many = self.text.startswith("[[", pos)
        brackets = 2 if many else 1
        key, end = self.key(pos + brackets)
        end = self.blanks(end)
        if not self.text.startswith("]" * brackets, end):
            raise BadText("the header should end here", end)
        self.section += 1
        table = self.root
        for part in key[:-1]:
            table = self.into(table, part, pos)
        self.current = self.opened(table, key[-1], many, pos)
        self.path = key
        return key, end + brackets

    def into(self, table: TomlTable, part: str, pos: int) -> TomlTable:
        """The table of that name on the way to a header's last part."""
        child = table.items.setdefault(part, TomlTable("implied", self.section, pos))
        if isinstance(child, TomlTables):
            return child.tables[-1]
        if not isinstance(child, TomlTable) or child.origin == "braces":
            raise BadText("%r is not a table that can be extended" % part, pos)
        return child

    def opened(self, table: TomlTable, part: str, many: bool, pos: int) -> TomlTable:
        """The table that a header opens."""
        child = table.items.get(part)
        fresh = TomlTable("header", self.section, pos)
        if many:
            if child is None:
                child = table.items[part] = TomlTables(pos)
            if not isinstance(child, TomlTables):
                raise BadText("%r is already something else" % part, pos)
            child.tables.append(fresh)
            return fresh
        if child is None:
            table.items[part] = fresh
            return fresh
        if isinstance(child, TomlTable) and child.origin == "implied":
            child.origin, child.section, child.pos = "header", self.section, pos
            return child
        raise BadText("%r is defined twice" % part, pos)

    def pair(self, pos: int, table: TomlTable, depth: int) -> Tuple[Key, int]:
        key, end = self.key(pos)
        end = self.blanks(end)
        if self.at(end) != "=":
            raise BadText("an equals sign is expected here", end)
        for part in key[:-1]:
            child = table.items.setdefault(part, TomlTable("dotted", self.section, pos))
            if not isinstance(child, TomlTable) or child.origin in ("header", "braces") or \
                    (child.origin == "dotted" and child.section != self.section):
                raise BadText("%r is defined elsewhere" % part, pos)
            child.origin, child.section = "dotted", self.section
            table = child
        if key[-1] in table.items:
            raise BadText("%r is defined twice" % key[-1], pos)
        value, end = self.value(self.blanks(end + 1), depth)
        table.items[key[-1]] = value
        return key, end

    def value(self, pos: int, depth: int) -> Tuple[Any, int]:
        if depth > MAX_NESTED:
            raise BadText("nested deeper than %d levels" % MAX_NESTED, pos)
        char = self.at(pos)
        if char in ('"', "'"):
            text, end = self.string(pos)
            return TomlValue("string", text, pos), end
        if char == "[":
            return self.array(pos, depth)
        if char == "{":
            return self.braces(pos, depth)
        match = self.SCALAR.match(self.text, pos)
        if not match or re.match(r"[\w.:+-]", self.at(match.end())):
            raise BadText("a value is expected here", pos)
        return TomlValue("other", match.group(), pos), match.end()

    def string(self, pos: int) -> Tuple[str, int]:
        for quotes, pattern in (('"""', self.BASIC_LINES), ("'''", self.LITERAL_LINES),
                                ('"', self.BASIC), ("'", self.LITERAL)):
            if self.text.startswith(quotes, pos):
                match = pattern.match(self.text, pos)
                if not match:
                    raise BadText("a string is not ended, or holds what a string may not", pos)
                raw = match.group(1)
                return (self.unescaped(raw, pos) if quotes[0] == '"' else raw), match.end()
        raise BadText("a string is expected here", pos)

    def unescaped(self, raw: str, pos: int) -> str:
        def plain_text(match: Any) -> str:
            digits = match.group(1) or match.group(2)
            if digits:
                code = int(digits, 16)
                if code > 0x10ffff or 0xd800 <= code < 0xe000:
                    raise BadText("a string holds an escape of no character", pos)
                return chr(code)
            if match.group(3):
                return ""
            if match.group(4) not in self.SINGLE:
                raise BadText("a string holds a broken escape", pos)
            return self.SINGLE[match.group(4)]
        return self.ESCAPE.sub(plain_text, raw)

    def over_lines(self, pos: int) -> int:
        """Past blanks, line ends and comments, inside an array."""
        while True:
            pos = self.blanks(pos)
            if self.at(pos) not in ("#", "\r", "\n"):
                return pos
            pos = self.line_over(pos)

    def array(self, start: int, depth: int) -> Tuple[TomlValue, int]:
        values: List[Any] = []
        pos = self.over_lines(start + 1)
        while self.at(pos) != "]":
            value, pos = self.value(pos, depth + 1)
            values.append(value)
            pos = self.over_lines(pos)
            if self.at(pos) == ",":
                pos = self.over_lines(pos + 1)
            elif self.at(pos) != "]":
                raise BadText("a comma or ] is expected here", pos)
        return TomlValue("array", values, start), pos + 1

    def braces(self, start: int, depth: int) -> Tuple[TomlTable, int]:
        table = TomlTable("braces", self.section, start)
        pos = self.blanks(start + 1)
        while self.at(pos) != "}":
            _, pos = self.pair(pos, table, depth + 1)
            pos = self.blanks(pos)
            if self.at(pos) == ",":
                pos = self.blanks(pos + 1)
                if self.at(pos) == "}":
                    raise BadText("no comma is allowed before }", pos)
            elif self.at(pos) != "}":
                raise BadText("a comma or } is expected here", pos)
        self.freeze(table)
        return table, pos + 1

    def freeze(self, table: TomlTable) -> None:
        """What stands in braces cannot be extended later."""
        table.origin = "braces"
        for child in table.items.values():
            if isinstance(child, TomlTable):
                self.freeze(child)


def toml_outline(value: Any) -> Any:
    """The whole content as plain Python values."""
    if isinstance(value, TomlTable):
        return {key: toml_outline(child) for key, child in value.items.items()}
    if isinstance(value, TomlTables):
        return [toml_outline(table) for table in value.tables]
    if value.kind == "array":
        return [toml_outline(child) for child in value.value]
    return value.kind, value.value
