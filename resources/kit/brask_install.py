#!/usr/bin/env python3
"""Wires the validator into coding tools, and takes the wiring out again.

    brask_install.py TOOL --global             wire claude, codex, openclaw or cursor
    brask_install.py uninstall TOOL --global   take our entries out of one tool, or of `all`
    brask_install.py status [--json]           what is wired, and whether `brask` can be typed

With --dry-run the change is printed as a unified diff and nothing is written. Wiring is always for
the whole account, hence --global.

Exit codes:
    0   done, or there was nothing to do
    1   a file could not be edited; it is as it was, and the message says why and what to do
    3   the tool is not set up on this machine, so there is nothing to wire
    64  wrong usage, or no home folder

How it keeps other people's files safe: an edit is an insertion of text at a computed place, never a
rewrite, so comments, order, indentation, line ends, byte-order mark, mode and symlinks survive. An
edit is written only after taking it out again was shown to give back the very text of before. What
is not understood completely is left untouched. An entry is ours when the command that it runs is
our validator, by path; nothing else is ever removed.

This is one file without imports of its own on purpose: it must still be able to undo everything
when the folder around it is damaged. It needs Python 3.8 and nothing else.
"""

import sys

if sys.version_info < (3, 8):
    sys.exit("brask_install: needs Python 3.8 or newer, this is %d.%d" % sys.version_info[:2])

import argparse
import difflib
import errno
import json
import os
import re
import secrets
import shlex
import signal
import stat
import time
import unicodedata
from typing import (Any, Callable, Dict, Iterator, List, NamedTuple, NoReturn, Optional, Sequence,
                    Tuple)

try:
    import fcntl
except ImportError:  # Not on every system; two installers at once are then not kept apart.
    fcntl = None  # type: ignore[assignment]
try:
    import tomllib
except ImportError:  # Python before 3.11: our own reader is then the only judge of a TOML file.
    tomllib = None  # type: ignore[assignment]

DONE, FAILED, NOT_SET_UP, USAGE = 0, 1, 3, 64

SERVER = "trevix"
MAX_BYTES = 1 << 20
MAX_DEPTH = 128
ATTEMPTS = 5
LOCK_TRIES, LOCK_PAUSE = 100, 0.1
BOM = b"\xef\xbb\xbf"

Key = Tuple[str, ...]
Piece = Tuple[int, int, str]  # replace text[start:end] by this


class Refused(Exception):
    """Something that we will not or cannot do. The text says what, where, and what helps."""


class BadText(Exception):
    """A text that cannot be read, or must not be edited, and the offset that shows why."""

    def __init__(self, message: str, offset: int) -> None:
        super().__init__(message)
        self.offset = offset


class Changed(Exception):
    """Somebody else wrote the file while we were editing it."""


# ---- Text -----------------------------------------------------------------------------------


def place(text: str, offset: int) -> str:
    """LINE:COLUMN of an offset, both counted from one."""
    before = text[:offset]
    return "%d:%d" % (before.count("\n") + 1, offset - (before.rfind("\n") + 1) + 1)


def replaced(text: str, pieces: Sequence[Piece]) -> str:
    """The text with each piece put in its place. Pieces do not overlap."""
    for start, end, new in sorted(pieces, reverse=True):
        text = text[:start] + new + text[end:]
    return text


def line_indent(text: str, offset: int) -> str:
    """The blanks that begin the line of `offset`."""
    start = text.rfind("\n", 0, offset) + 1
    match = re.compile(r"[ \t]*").match(text, start)
    return match.group() if match else ""


def line_end_near(text: str, offset: int) -> str:
    """The line end in use before `offset`, or else after it, or else a line feed."""
    at = text.rfind("\n", 0, offset)
    if at < 0:
        at = text.find("\n", offset)
    return "\r\n" if at > 0 and text[at - 1] == "\r" else "\n"


def indent_unit(text: str) -> str:
    """The first indentation that the text uses; two blanks when it uses none."""
    match = re.search(r"\n([ \t]+)[^\s]", text)
    return match.group(1) if match else "  "


# ---- JSON with places -----------------------------------------------------------------------


class Dialect(NamedTuple):
    """What a tool accepts beyond strict JSON."""

    name: str
    comments: bool  # and commas after the last item
    json5: bool


STRICT = Dialect("JSON", False, False)
JSONC = Dialect("JSON", True, False)
JSON5 = Dialect("JSON5", True, True)


class Node:
    """A value and where it stands. `value` is the decoded string, or the raw text of a scalar."""

    __slots__ = ("kind", "start", "end", "value", "items")

    def __init__(self, kind: str, start: int, end: int, value: str = "") -> None:
        self.kind, self.start, self.end, self.value = kind, start, end, value
        self.items: List["Item"] = []

    def members(self, key: str) -> List["Item"]:
        return [item for item in self.items if item.key == key]


class Item:
    """One element of an array or one member of an object, with the comma behind it, if any."""

    __slots__ = ("start", "key", "node", "comma")

    def __init__(self, start: int, key: Optional[str], node: Node) -> None:
        self.start, self.key, self.node = start, key, node
        self.comma: Optional[int] = None

    @property
    def end(self) -> int:
        return self.node.end


class JsonReader:
    """Reads one text of one dialect into nodes, or raises BadText at the first mistake."""

    STRING = re.compile(r'"[^"\\\x00-\x1f]*(?:\\(?:["\\/bfnrt]|u[0-9a-fA-F]{4})[^"\\\x00-\x1f]*)*"')
    STRING5 = re.compile(r'"(?:[^"\\\r\n]|\\(?:\r\n|[\s\S]))*"' r"|'(?:[^'\\\r\n]|\\(?:\r\n|[\s\S]))*'")
    NUMBER = re.compile(r"-?(?:0|[1-9][0-9]*)(?:\.[0-9]+)?(?:[eE][+-]?[0-9]+)?")
    NUMBER5 = re.compile(r"[+-]?(?:Infinity|NaN|0[xX][0-9a-fA-F]+"
                         r"|(?:(?:0|[1-9][0-9]*)(?:\.[0-9]*)?|\.[0-9]+)(?:[eE][+-]?[0-9]+)?)")
    WORD = re.compile(r"true|false|null")
    NAME5 = re.compile(r"(?:[\w$\u200c\u200d]|\\u[0-9a-fA-F]{4})+")
    ESCAPE5 = re.compile(r"\\(?:u([0-9a-fA-F]{4})|x([0-9a-fA-F]{2})|(\r\n|[\s\S]))")
    SINGLE5 = {"b": "\b", "f": "\f", "n": "\n", "r": "\r", "t": "\t", "v": "\v", "0": "\0",
               "\r\n": "", "\n": "", "\r": "", "\u2028": "", "\u2029": ""}

    def __init__(self, text: str, dialect: Dialect) -> None:
        self.text, self.dialect = text, dialect

    def read(self) -> Node:
        pos = self.skip(0)
        node = self.value(pos, 0)
        pos = self.skip(node.end)
        if pos < len(self.text):
            raise BadText("there is text after the end of the value", pos)
        return node

    def blank(self, char: str) -> bool:
        if char in " \t\n\r":
            return char != ""
        return self.dialect.json5 and (char in "\v\f\u00a0\ufeff\u2028\u2029"
                                       or unicodedata.category(char) == "Zs")

    def skip(self, pos: int) -> int:
        """Past blanks and comments."""
        text = self.text
        while pos < len(text):
            if self.blank(text[pos]):
                pos += 1
            elif text.startswith(("//", "/*"), pos):
                if not self.dialect.comments:
                    raise BadText("comments are not allowed in strict JSON", pos)
                pos = comment_end(text, pos)
            else:
                break
        return pos

    def at(self, pos: int) -> str:
        return self.text[pos:pos + 1]

    def value(self, pos: int, depth: int) -> Node:
        if depth > MAX_DEPTH:
            raise BadText("nested deeper than %d levels" % MAX_DEPTH, pos)
        char = self.at(pos)
        if char and char in "{[":
            return self.box(pos, depth)
        if char == '"' or (char == "'" and self.dialect.json5):
            value, end = self.string(pos)
            return Node("string", pos, end, value)
        for pattern in (self.WORD, self.NUMBER5 if self.dialect.json5 else self.NUMBER):
            match = pattern.match(self.text, pos)
            if match and not re.match(r"[\w$.+-]", self.at(match.end())):
                return Node("other", pos, match.end(), match.group())
        if not char:
            raise BadText("the file ends where a value is expected", pos)
        raise BadText("a value is expected here", pos)

    def string(self, pos: int) -> Tuple[str, int]:
        pattern = self.STRING5 if self.dialect.json5 else self.STRING
        match = pattern.match(self.text, pos)
        if not match:
            raise BadText("a string is not ended, or holds what a string may not", pos)
        if not self.dialect.json5:
            return json.loads(match.group()), match.end()
        return self.unescaped(match.group()[1:-1], pos), match.end()

    def unescaped(self, raw: str, pos: int) -> str:
        def plain(match: Any) -> str:
            digits = match.group(1) or match.group(2)
            if digits:
                return chr(int(digits, 16))
            char = match.group(3)
            if char in "ux123456789":
                raise BadText("a string holds a broken escape", pos)
            return self.SINGLE5.get(char, char)
        return self.ESCAPE5.sub(plain, raw)

    def key(self, pos: int) -> Tuple[str, int]:
        if self.at(pos) == '"' or (self.at(pos) == "'" and self.dialect.json5):
            return self.string(pos)
        match = self.NAME5.match(self.text, pos) if self.dialect.json5 else None
        if not match or match.group()[0].isdigit():
            raise BadText("a name in quotes is expected here", pos)
        return self.unescaped(match.group(), pos), match.end()

    def box(self, start: int, depth: int) -> Node:
        """An object or an array."""
        kind, close = ("object", "}") if self.at(start) == "{" else ("array", "]")
        box = Node(kind, start, start)
        pos = self.skip(start + 1)
        while self.at(pos) != close:
            if box.items and box.items[-1].comma is None:
                raise BadText("a comma or %s is expected here" % close, pos)
            begin, key = pos, None
            if kind == "object":
                key, pos = self.key(pos)
                pos = self.skip(pos)
                if self.at(pos) != ":":
                    raise BadText("a colon is expected here", pos)
                pos = self.skip(pos + 1)
            item = Item(begin, key, self.value(pos, depth + 1))
            box.items.append(item)
            pos = self.skip(item.end)
            if self.at(pos) == ",":
                item.comma = pos
                pos = self.skip(pos + 1)
        if box.items and box.items[-1].comma is not None and not self.dialect.comments:
            raise BadText("strict JSON allows no comma after the last item", box.items[-1].comma)
        box.end = pos + 1
        return box


def comment_end(text: str, pos: int) -> int:
    """Where the comment at `pos` ends; a line comment ends before its line end."""
    if text.startswith("//", pos):
        match = re.compile(r"[\r\n\u2028\u2029]").search(text, pos)
        return match.start() if match else len(text)
    end = text.find("*/", pos + 2)
    if end < 0:
        raise BadText("a comment is not ended", pos)
    return end + 2


def comments(text: str, start: int, end: int) -> List[Tuple[int, int]]:
    """The comments in a stretch that holds only blanks and comments."""
    found = []
    while start < end:
        if text.startswith(("//", "/*"), start):
            found.append((start, comment_end(text, start)))
            start = found[-1][1]
        else:
            start += 1
    return found


def comment_texts(text: str, start: int, end: int) -> List[str]:
    return [text[a:b] for a, b in comments(text, start, end)]


def after_comments(text: str, start: int, end: int) -> int:
    """The end of the last comment in a stretch of blanks and comments, or its start."""
    return ([start] + [stop for _, stop in comments(text, start, end)])[-1]


def after_remark(text: str, start: int, end: int) -> int:
    """Past the comments that stand on the line of `start`, which belong to what is before it."""
    for _, stop in comments(text, start, end):
        if re.search(r"[\r\n]", text[start:stop]):
            break
        start = stop
    return start


def gaps(box: Node) -> Iterator[Tuple[int, int]]:
    """The stretches of a box that belong to none of its items."""
    at = box.start + 1
    for item in box.items:
        yield at, item.start
        if item.comma is not None:
            yield item.end, item.comma
        at = item.end if item.comma is None else item.comma + 1
    yield at, box.end - 1


def on_one_line(text: str, chain: Sequence[Node]) -> bool:
    """Is the last box of the chain written without line ends of its own? An empty one is when the
    box around it is; an empty root is not."""
    box = chain[-1]
    if not box.items and "\n" not in text[box.start:box.end]:
        return len(chain) > 1 and on_one_line(text, chain[:-1])
    return not any("\n" in text[a:b] for a, b in gaps(box))


def source_of(value: Any, key: Optional[str], indent: Optional[str], text: str, offset: int,
              tight: bool) -> str:
    """The text of one item: on one line without `indent`, else on lines indented in the file's
    own manner."""
    if indent is None:
        colon = ":" if tight else ": "
        body = json.dumps(value, ensure_ascii=False, separators=("," if tight else ", ", colon))
    else:
        colon = ": "
        body = json.dumps(value, ensure_ascii=False, indent=indent_unit(text))
        body = body.replace("\n", line_end_near(text, offset) + indent)
    return body if key is None else json.dumps(key, ensure_ascii=False) + colon + body


def insertion(text: str, chain: Sequence[Node], key: Optional[str], value: Any) -> List[Piece]:
    """What makes `value` the last item of the last box of the chain (root first)."""
    box = chain[-1]
    one_line = on_one_line(text, chain)
    eol = line_end_near(text, box.end - 1)
    base = line_indent(text, box.start)
    if not box.items:
        at = after_comments(text, box.start + 1, box.end - 1)
        if one_line:
            return [(at, at, source_of(value, key, None, text, at, True))]
        indent = base + indent_unit(text)
        rest = text[at:box.end - 1]
        fits = base.endswith(rest)  # then the blanks that are there are part of the indentation
        tail = "" if "\n" in rest else eol + (base[:len(base) - len(rest)] if fits else base)
        return [(at, at, eol + indent + source_of(value, key, indent, text, at, False) + tail)]
    last = box.items[-1]
    comma = [(last.end, last.end, ",")] if last.comma is None else []
    end = last.end if last.comma is None else last.comma + 1
    at = after_remark(text, end, box.end - 1)
    after = "" if last.comma is None else ","
    if one_line:
        tight = not any(text[a:b].strip() != text[a:b] for a, b in gaps(box)) and \
            not re.search(r"[\"'\w]\s*:\s", text[last.start:last.end][:200])
        blank = "" if tight else " "
        body = blank + source_of(value, key, None, text, at, tight) + after
    else:
        own_line = text[text.rfind("\n", 0, last.start) + 1:last.start].strip(" \t") == ""
        indent = line_indent(text, last.start) if own_line else base + indent_unit(text)
        body = eol + indent + source_of(value, key, indent, text, at, False) + after
    if comma and at == last.end:
        return [(at, at, "," + body)]
    return comma + [(at, at, body)]


def removal(text: str, box: Node, index: int, inner: Optional[str]) -> List[Piece]:
    """What takes one item out of its box: the exact inverse of `insertion`. `inner` is what stood
    between the brackets before we inserted into an empty box, when that is known."""
    item = box.items[index]
    before = box.start + 1
    if index:
        before = (box.items[index - 1].comma or 0) + 1
    start = after_comments(text, before, item.start)
    end = item.end if item.comma is None else item.comma + 1
    if len(box.items) == 1:
        around = comment_texts(text, before, item.start) + comment_texts(text, end, box.end - 1)
        if inner is None and not around:
            inner = ""
        if inner is not None and comment_texts(inner, 0, len(inner)) == around:
            return [(box.start + 1, box.end - 1, inner)]
    remarks = comment_texts(text, before, item.start)
    if remarks and remarks[-1].startswith("//") and not re.match(r"[ \t]*[\r\n]", text[end:]):
        start = text.index("\n", start) + 1  # or what follows would become part of the comment
    if index and item is box.items[-1] and item.comma is None:
        return [(before - 1, before, ""), (start, end, "")]
    return [(start, end, "")]


def plain(node: Node) -> Any:
    """The value as Python has it; scalars other than strings as their text."""
    if node.kind == "object":
        return {item.key: plain(item.node) for item in node.items}
    if node.kind == "array":
        return [plain(item.node) for item in node.items]
    return node.value if node.kind == "string" else ("raw", node.value)


def outline(node: Node, ours: Sequence[int], prunable: Callable[[Key], bool],
            key: Key = ()) -> Any:
    """The whole content in order, duplicates included, without our nodes (named by their start) and
    without the boxes on the way to them that hold nothing: what an edit of ours may not change."""
    if node.kind not in ("object", "array"):
        return node.kind, node.value
    content = []
    for item in node.items:
        name = item.key if item.key is not None else ""
        if item.node.start in ours:
            continue
        inside = outline(item.node, ours, prunable, key + (name,))
        if inside[1] != () or not prunable(key + (name,)):
            content.append((name, inside))
    return node.kind, tuple(content)


# ---- TOML with places -----------------------------------------------------------------------


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
        if depth > MAX_DEPTH:
            raise BadText("nested deeper than %d levels" % MAX_DEPTH, pos)
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


# ---- What is ours ---------------------------------------------------------------------------


class Validator:
    """The validator's path, how it is written into commands, and which commands run it."""

    OPERATORS = set(";&|()<>")
    LAUNCHES = re.compile(r"python[0-9.]*$|env$|exec$|-|[A-Za-z_][A-Za-z0-9_]*=")

    def __init__(self, brask: str, home: str) -> None:
        self.path = os.path.join(brask, "validate.py")
        self.brask, self.home = brask, home

    @property
    def quoted(self) -> str:
        return '"%s"' % re.sub(r'([\\"$`])', r"\\\1", self.path)

    @property
    def hook(self) -> str:
        """The hook command. One text on purpose: the companion looks for its end in the file."""
        return "python3 %s --harness claude" % self.quoted

    def names(self, word: str) -> bool:
        """Does this word of a command name our validator?"""
        for name, value in (("~", self.home), ("$HOME", self.home), ("${HOME}", self.home),
                            ("$BRASK_HOME", self.brask), ("${BRASK_HOME}", self.brask)):
            if word.startswith(name + "/"):
                word = value + word[len(name):]
                break
        if not os.path.isabs(word) or os.path.basename(word) != "validate.py" or "\0" in word:
            return False
        word = os.path.normpath(word)
        return word == self.path or \
            os.path.realpath(os.path.dirname(word)) == os.path.realpath(self.brask)

    def runs(self, command: Any, args: Any) -> bool:
        """Is this command with these arguments a plain call of our validator? A longer command line
        of somebody's own that also mentions it is not."""
        if not isinstance(command, str):
            return False
        if isinstance(args, list):
            words = [command] + [arg for arg in args if isinstance(arg, str)]
        else:
            words = [self.path] if command == self.hook else self.words(command)
        for word in words:
            if self.names(word):
                return True
            if not self.LAUNCHES.match(os.path.basename(word)):
                return False
        return False

    def words(self, command: str) -> List[str]:
        """The words of a simple command line; none when it is more than one, or cannot be told."""
        try:
            lexer = shlex.shlex(command, posix=True, punctuation_chars=True)
            lexer.commenters, lexer.whitespace_split = "", True
            words = list(lexer)
        except ValueError:
            return []
        several = "\n" in command.strip() or any(set(word) <= self.OPERATORS for word in words)
        return [] if several else [re.sub(r"\\([$`])", r"\1", word) for word in words]

    def server(self) -> Dict[str, Any]:
        return {"command": "python3", "args": [self.path, "mcp"]}


class Hints:
    """What the file was like before us, as far as its present text cannot tell: the keys that we
    made, and the inside of brackets that were empty. Unknown when the manifest is lost."""

    def __init__(self, record: Optional[Dict[str, Any]] = None) -> None:
        record = record or {}
        self.known = bool(record)
        self.created = [tuple(key) for key in record.get("createdKeys", [])]
        self.empty = {tuple(e["key"]): e["text"] for e in record.get("emptyBefore", [])}
        self.blank: Optional[str] = record.get("blankBefore")

    def made(self, key: Key) -> bool:
        return any(key[:len(made)] == made for made in self.created)

    def record(self) -> Dict[str, Any]:
        """The part of a manifest record that says the same."""
        found: Dict[str, Any] = {"createdKeys": [list(key) for key in self.created],
                                 "emptyBefore": [{"key": list(key), "text": text}
                                                 for key, text in self.empty.items()]}
        if self.blank is not None:
            found["blankBefore"] = self.blank
        return found


class Tool:
    """A coding tool: where its configuration is, and how our entry goes in and out of its text.

    All of these are functions of the text; the file is somebody else's business. `state` is
    "wired", "repair" (ours, but not so that the companion sees it), "foreign" (our name, not our
    command) or "absent". Texts that cannot be read raise BadText.
    """

    key = ""
    label = ""
    file = ""
    seed = ""
    create = True
    markers: Sequence[str] = (SERVER,)  # what the companion looks for in the file
    moved_by: Sequence[str] = ()

    def __init__(self, validator: Validator) -> None:
        self.validator = validator

    def seen(self, text: str) -> bool:
        """Does the companion take the tool for wired? It searches the text and reads nothing."""
        return all(marker in text for marker in self.markers)

    def state(self, text: str) -> str:
        raise NotImplementedError

    def add(self, text: str, hints: Hints) -> str:
        """The text with our entry, which is not in it; what it was like goes into `hints`."""
        raise NotImplementedError

    def remove(self, text: str, hints: Hints) -> str:
        raise NotImplementedError

    def others(self, text: str) -> Any:
        """Everything in the text that is not ours, to be compared."""
        raise NotImplementedError

    def empty(self, text: str) -> bool:
        """Does the text say nothing at all?"""
        raise NotImplementedError

    def notes(self, text: str) -> List[str]:
        """What else the user should know about a text that carries our entry."""
        return []

    def second_opinion(self, text: str) -> None:
        """Raises ValueError when another reader than ours refuses the text."""

    def mended(self, text: str, hints: Hints) -> str:
        """The text with our entry put right."""
        return self.add(self.remove(text, hints), hints)


class JsonTool(Tool):
    """What the tools with a JSON file have in common."""

    dialect = STRICT
    seed = "{}\n"

    def read(self, text: str) -> Node:
        root = JsonReader(text, self.dialect).read()
        if root.kind != "object":
            raise BadText("the file should hold an object", root.start)
        return root

    def owned(self, root: Node) -> List[Tuple[List[Node], int, Key]]:
        """Each thing of ours: the boxes around it (root first), its index in the last of them, and
        the key of that box."""
        raise NotImplementedError

    def on_our_way(self, key: Key) -> bool:
        """May the box of this key be there only because of us?"""
        raise NotImplementedError

    def guess_made(self, key: Key) -> bool:
        """Without a manifest: is a box of this key that we leave empty taken to be ours?"""
        return False

    def empty(self, text: str) -> bool:
        return not text.strip() or not self.read(text).items

    def second_opinion(self, text: str) -> None:
        if self.dialect is STRICT and text.strip():
            json.loads(text)

    def one(self, box: Node, key: str) -> Optional[Item]:
        """The member of that name. Two of one name are refused: who knows which one counts."""
        found = box.members(key)
        if len(found) > 1:
            raise BadText('there is a second "%s"' % key, found[1].start)
        return found[0] if found else None

    def put(self, text: str, key: Key, value: Any, hints: Hints) -> str:
        """The text with `value` under `key`, or as the last element of the array there. Boxes on
        the way are made; it is noted which."""
        root = self.read(text)
        chain = [root]
        for depth, name in enumerate(key):
            item = self.one(chain[-1], name)
            if item is None:
                for missing in reversed(key[depth + 1:]):
                    value = {missing: value}
                hints.created.append(key[:depth + 1])
                return self.put_last(text, chain, key[:depth], name, value, hints)
            chain.append(item.node)
        return self.put_last(text, chain, key, None, value, hints)

    def put_last(self, text: str, chain: List[Node], key: Key, name: Optional[str], value: Any,
                 hints: Hints) -> str:
        box = chain[-1]
        if not box.items:
            hints.empty[key] = text[box.start + 1:box.end - 1]
        return replaced(text, insertion(text, chain, name, value))

    def seeded(self, text: str, hints: Hints) -> str:
        """A file that is there but blank becomes one that holds an empty object."""
        if text.strip():
            return text
        hints.blank = text
        return "{}" + (line_end_near(text, 0) if not text.endswith("\n") else text)

    def remove(self, text: str, hints: Hints) -> str:
        while True:
            found = self.owned(self.read(text))
            if not found:
                break
            chain, index, key = found[0]
            text = replaced(text, removal(text, chain[-1], index, hints.empty.get(key)))
            text = self.pruned(text, key, hints)
        if hints.blank is not None and not self.read(text).items:
            return hints.blank
        return text

    def pruned(self, text: str, key: Key, hints: Hints) -> str:
        """The text without the boxes on the way to `key` that we made and that are empty now."""
        for depth in range(len(key), 0, -1):
            root, here = self.read(text), key[:depth]
            chain, index = [root], 0
            for name in here:
                names = [item.key for item in chain[-1].items]
                index = names.index(name)
                chain.append(chain[-1].items[index].node)
            made = hints.made(here) if hints.known else self.guess_made(here)
            if chain[-1].items or not made:
                break
            inner = hints.empty.get(here[:-1])
            text = replaced(text, removal(text, chain[-2], index, inner))
        return text

    def others(self, text: str) -> Any:
        if not text.strip():
            return "object", ()
        root = self.read(text)
        ours = [chain[-1].items[index].node.start for chain, index, _ in self.owned(root)]
        return outline(root, ours, self.on_our_way)


class Claude(JsonTool):
    """Claude Code, by two hooks: after each edit, and when a turn ends."""

    key, label, file = "claude", "Claude Code", ".claude/settings.json"
    markers = ("validate.py", "--harness claude")
    moved_by = ("CLAUDE_CONFIG_DIR",)
    MATCHERS = {"PostToolUse": "Write|Edit|NotebookEdit", "Stop": None}
    TIMEOUTS = {"PostToolUse": 60, "Stop": 120}

    def group(self, event: str) -> Dict[str, Any]:
        handler = {"type": "command", "command": self.validator.hook,
                   "timeout": self.TIMEOUTS[event]}
        matcher = self.MATCHERS[event]
        return {"hooks": [handler]} if matcher is None else \
            {"matcher": matcher, "hooks": [handler]}

    def runs_us(self, handler: Node) -> bool:
        value = plain(handler)
        return isinstance(value, dict) and value.get("type") == "command" and \
            self.validator.runs(value.get("command"), value.get("args"))

    def owned(self, root: Node) -> List[Tuple[List[Node], int, Key]]:
        """Our handlers; a whole group when it holds nothing but ours. The key of a handler's own
        box is empty, since such a box is never ours to remove."""
        found: List[Tuple[List[Node], int, Key]] = []
        hooks = self.one(root, "hooks")
        if hooks is None or hooks.node.kind != "object":
            return found
        for event in hooks.node.items:
            if event.node.kind != "array" or self.one(hooks.node, event.key or "") is None:
                continue
            key = ("hooks", event.key or "")
            chain = [root, hooks.node, event.node]
            for index, group in enumerate(event.node.items):
                if group.node.kind != "object":
                    continue
                inner = self.one(group.node, "hooks")
                if inner is None or inner.node.kind != "array":
                    continue
                mine = [i for i, item in enumerate(inner.node.items) if self.runs_us(item.node)]
                if mine and len(mine) == len(inner.node.items):
                    found.append((chain, index, key))
                elif mine:
                    found += [(chain + [group.node, inner.node], i, ()) for i in mine]
        return found

    def on_our_way(self, key: Key) -> bool:
        return key[:1] == ("hooks",) and len(key) <= 2

    def guess_made(self, key: Key) -> bool:
        return len(key) == 2

    def events(self, text: str) -> Dict[str, List[str]]:
        """The commands of ours, by event."""
        root = self.read(text)
        found: Dict[str, List[str]] = {}
        for chain, index, key in self.owned(root):
            event = key[1] if key else next(i.key or "" for i in chain[1].items
                                            if i.node is chain[2])
            node = chain[-1].items[index].node
            handlers = plain(node)["hooks"] if key else [plain(node)]
            found.setdefault(event, []).extend(
                handler["command"] if "args" not in handler else "" for handler in handlers)
        return found

    def state(self, text: str) -> str:
        if not text.strip():
            return "absent"
        found = self.events(text)
        if not found:
            return "absent"
        right = {event: [self.validator.hook] for event in self.MATCHERS}
        return "wired" if found == right and self.seen(text) else "repair"

    def add(self, text: str, hints: Hints) -> str:
        text = self.seeded(text, hints)
        root = self.read(text)
        hooks = self.one(root, "hooks")
        if hooks is None:
            groups = {event: [self.group(event)] for event in self.MATCHERS}
            return self.put(text, ("hooks",), groups, hints)
        if hooks.node.kind != "object":
            raise BadText('"hooks" should be an object', hooks.node.start)
        for event in self.MATCHERS:
            there = self.one(hooks.node, event)
            if there is not None and there.node.kind != "array":
                raise BadText('"%s" should be an array' % event, there.node.start)
        for event in self.MATCHERS:
            there = self.one(self.read(text).members("hooks")[0].node, event)
            group = self.group(event)
            text = self.put(text, ("hooks", event), group if there else [group], hints)
        return text

    def notes(self, text: str) -> List[str]:
        off = self.read(text).members("disableAllHooks")
        if off and off[-1].node.value == "true":
            return ['"disableAllHooks" is true, so that no hook runs, ours neither']
        return []


class Servers(JsonTool):
    """A tool whose configuration lists MCP servers by name."""

    way: Key = ("mcpServers",)

    def entry(self) -> Dict[str, Any]:
        return self.validator.server()

    def on_our_way(self, key: Key) -> bool:
        return self.way[:len(key)] == key

    def listed(self, root: Node) -> Tuple[List[Node], Optional[int]]:
        """The boxes on the way to the servers, as far as there are, and our index in the last."""
        chain = [root]
        for name in self.way:
            item = self.one(chain[-1], name)
            if item is None:
                return chain, None
            if item.node.kind != "object":
                raise BadText('"%s" should be an object' % name, item.node.start)
            chain.append(item.node)
        if self.one(chain[-1], SERVER) is None:
            return chain, None
        return chain, [item.key for item in chain[-1].items].index(SERVER)

    def runs_us(self, node: Node) -> bool:
        value = plain(node)
        return isinstance(value, dict) and \
            self.validator.runs(value.get("command"), value.get("args"))

    def owned(self, root: Node) -> List[Tuple[List[Node], int, Key]]:
        chain, index = self.listed(root)
        if index is None or not self.runs_us(chain[-1].items[index].node):
            return []
        return [(chain, index, self.way)]

    def state(self, text: str) -> str:
        if not text.strip():
            return "absent"
        root = self.read(text)
        _, index = self.listed(root)
        if index is None:
            return "absent"
        if not self.owned(root):
            return "foreign"
        return "wired" if self.seen(text) else "repair"

    def add(self, text: str, hints: Hints) -> str:
        text = self.seeded(text, hints)
        chain, index = self.listed(self.read(text))
        if index is not None:
            raise BadText('there is already a server named "%s", and it is not ours' % SERVER,
                          chain[-1].items[index].start)
        return self.put(text, self.way + (SERVER,), self.entry(), hints)

    def notes(self, text: str) -> List[str]:
        chain, index = self.listed(self.read(text))
        entry = plain(chain[-1].items[index].node) if index is not None else {}
        if entry.get("enabled") == ("raw", "false") or entry.get("disabled") == ("raw", "true"):
            return ["the server is switched off in this file"]
        return []


class OpenClaw(Servers):
    """OpenClaw. Its gateway refuses a file that holds only our entry, so none is made for it."""

    key, label, file = "openclaw", "OpenClaw", ".openclaw/openclaw.json"
    dialect, way, create = JSON5, ("mcp", "servers"), False
    moved_by = ("OPENCLAW_CONFIG_PATH", "OPENCLAW_STATE_DIR")

    def entry(self) -> Dict[str, Any]:
        return dict(self.validator.server(), requestTimeoutMs=300000)

    def add(self, text: str, hints: Hints) -> str:
        if text.strip():
            for box in self.listed(self.read(text))[0]:
                for include in box.members("$include"):
                    raise BadText("the servers come from another file through $include; add the "
                                  "entry there by hand", include.start)
        return super().add(text, hints)


class Cursor(Servers):
    """Cursor. Its file is JSON; comments that people put into it are kept."""

    key, label, file = "cursor", "Cursor", ".cursor/mcp.json"
    dialect = JSONC

    def entry(self) -> Dict[str, Any]:
        return dict({"type": "stdio"}, **self.validator.server())


class ProjectServers(Servers):
    """The project file in the home folder: we never write it, but an entry that runs our validator
    also counts as wired, so uninstalling takes it out."""

    key, label, file, create = "claude", "Claude Code", ".mcp.json", False
    dialect = JSONC


class Codex(Tool):
    """Codex, by a table at the end of its TOML file."""

    key, label, file = "codex", "Codex", ".codex/config.toml"
    moved_by = ("CODEX_HOME",)
    WAY = ("mcp_servers", SERVER)
    MARKER = "[mcp_servers.%s]" % SERVER
    markers = (MARKER,)

    def read(self, text: str) -> TomlReader:
        reader = TomlReader(text).read()
        if tomllib is not None:
            try:
                tomllib.loads(text.replace("\r\n", "\n"))
            except (ValueError, RecursionError) as error:
                found = re.search(r"line (\d+), column (\d+)", str(error))
                lines = text.split("\n")
                offset = sum(len(line) + 1 for line in lines[:int(found.group(1)) - 1]) + \
                    int(found.group(2)) - 1 if found else len(text)
                raise BadText(str(error).split(" (at ")[0], min(offset, len(text)))
        return reader

    def table(self) -> List[str]:
        server = self.validator.server()
        return [self.MARKER, "command = %s" % self.quoted(server["command"]),
                "args = [%s]" % ", ".join(self.quoted(arg) for arg in server["args"]),
                "startup_timeout_sec = 20", "tool_timeout_sec = 300"]

    @staticmethod
    def quoted(text: str) -> str:
        return json.dumps(text, ensure_ascii=False).replace("\x7f", "\\u007f")

    def ours(self, reader: TomlReader) -> Optional[bool]:
        """Is the server of our name ours? None when there is no such server."""
        servers = reader.root.items.get(self.WAY[0])
        entry = servers.items.get(SERVER) if isinstance(servers, TomlTable) else None
        if entry is None:
            return None
        value = toml_outline(entry)
        if not isinstance(value, dict):
            return False
        args = value.get("args")
        command = value.get("command")
        return self.validator.runs(
            command[1] if isinstance(command, tuple) else None,
            [arg[1] for arg in args if isinstance(arg, tuple)] if isinstance(args, list) else [])

    def headers(self, reader: TomlReader) -> List[TomlLine]:
        return [line for line in reader.lines if line.header and line.key == self.WAY]

    def state(self, text: str) -> str:
        reader = self.read(text)
        ours = self.ours(reader)
        if not ours:
            return "absent" if ours is None else "foreign"
        marked = any(text[line.pos:line.end] == self.MARKER for line in self.headers(reader))
        return "wired" if marked else "repair"

    def add(self, text: str, hints: Hints) -> str:
        reader = self.read(text)
        servers = reader.root.items.get(self.WAY[0])
        if servers is not None and not (isinstance(servers, TomlTable)
                                        and servers.origin != "braces"):
            shape = "braces" if isinstance(servers, TomlTable) else \
                "[[…]]" if isinstance(servers, TomlTables) else "a plain value"
            raise BadText("mcp_servers is written as %s, which a table cannot be added to; write "
                          "each server as a table of its own, [mcp_servers.NAME]" % shape,
                          servers.pos)
        if self.ours(reader) is not None:
            entry = servers.items[SERVER]  # type: ignore[union-attr]
            raise BadText("there is already a server named %s, and it is not ours" % SERVER,
                          getattr(entry, "pos", 0))
        eol = line_end_near(text, len(text))
        body = eol.join(self.table())
        if not text:
            return body + eol
        if text.endswith("\n"):
            return text + eol + body + eol
        return text + eol + eol + body

    def mended(self, text: str, hints: Hints) -> str:
        """Only the header is written anew, so that settings of the user's in the table stay."""
        reader = self.read(text)
        headers = self.headers(reader)
        if not headers:
            entry = reader.root.items[self.WAY[0]].items[SERVER]
            raise BadText("our server is not written as a table %s, so the companion does not see "
                          "it; write it so, or take it out and run this again" % self.MARKER,
                          entry.pos)
        return replaced(text, [(headers[0].pos, headers[0].end, self.MARKER)])

    def remove(self, text: str, hints: Hints) -> str:
        reader = self.read(text)
        if not self.ours(reader):
            return text
        servers = reader.root.items[self.WAY[0]]
        if servers.origin == "braces":
            raise BadText("our server stands in braces among others; take it out by hand",
                          servers.pos)
        pieces = []
        lines = reader.lines
        for index, line in enumerate(lines):
            if line.key[:2] != self.WAY:
                continue
            start = line.start
            if line.header:
                start = self.with_gap(text, line, self.section_end(lines, index))
            if index and lines[index - 1].key[:2] == self.WAY and \
                    (not line.header or not text[lines[index - 1].line_end:start].strip()):
                start = lines[index - 1].line_end
            pieces.append((start, line.line_end, ""))
        return replaced(text, pieces)

    @staticmethod
    def section_end(lines: Sequence[TomlLine], index: int) -> int:
        """Where the last pair of the section that a header opens ends."""
        for line in lines[index + 1:]:
            if line.header:
                break
            index += 1
        return lines[index].line_end

    @staticmethod
    def with_gap(text: str, header: TomlLine, end: int) -> int:
        """Where to begin so that the blank line goes that we put before the header: one line end,
        and a second one when ours is the last line and has none."""
        start = header.start
        if header.key != Codex.WAY:
            return start
        for _ in range(2 if end == len(text) and not text.endswith("\n") else 1):
            if text[:start].endswith("\r\n") and start > 1:
                start -= 2
            elif text[:start].endswith("\n"):
                start -= 1
        if start and start < header.start and text[start - 1] != "\n" and text[end - 1] == "\n":
            return header.start
        return start

    def others(self, text: str) -> Any:
        reader = self.read(text)
        content = toml_outline(reader.root)
        servers = content.get(self.WAY[0])
        if self.ours(reader):
            servers.pop(SERVER)
        if servers == {}:
            content.pop(self.WAY[0])
        return content

    def empty(self, text: str) -> bool:
        return not text.strip()

    def notes(self, text: str) -> List[str]:
        entry = toml_outline(self.read(text).root)[self.WAY[0]][SERVER]
        return ["the server is switched off in this file"] \
            if entry.get("enabled") == ("other", "false") else []


# ---- Files ----------------------------------------------------------------------------------


class Config(NamedTuple):
    """A file as it was read: `data` is None when there is none. `real` is the file itself, with
    every symlink on the way to it followed."""

    path: str
    real: str
    data: Optional[bytes]
    info: Optional[os.stat_result]

    @property
    def text(self) -> str:
        """The text without byte-order mark."""
        data = self.data or b""
        body = data[len(BOM):] if data.startswith(BOM) else data
        try:
            return body.decode("utf-8")
        except UnicodeDecodeError as error:
            before = body[:error.start].decode("utf-8")
            raise BadText("the file is not UTF-8", len(before)) from error

    def bytes_of(self, text: str) -> bytes:
        mark = BOM if (self.data or b"").startswith(BOM) else b""
        return mark + text.encode("utf-8")


def read_config(path: str) -> Config:
    """The file at `path`; Refused when there is something else, or nothing can be read from it."""
    real = os.path.realpath(path)
    try:
        if not os.path.lexists(path):
            folder = os.path.dirname(path)
            while not os.path.lexists(folder):
                folder = os.path.dirname(folder)
            if not os.path.isdir(folder):
                raise Refused("%s is in the way: it is not a folder" % folder)
            return Config(path, real, None, None)
        if not os.path.exists(real):
            raise Refused("%s is a symlink that leads nowhere (%s); mend or remove it"
                          % (path, real))
        info = os.stat(real)
        if not stat.S_ISREG(info.st_mode):
            kind = "a folder" if stat.S_ISDIR(info.st_mode) else "not a plain file"
            raise Refused("%s is %s; move it away" % (path, kind))
        if info.st_size > MAX_BYTES:
            raise Refused("%s has %d bytes, more than the %d that are looked at; add the entry by "
                          "hand" % (path, info.st_size, MAX_BYTES))
        return Config(path, real, contents(real), info)
    except OSError as error:
        raise Refused("%s cannot be read: %s" % (path, error.strerror)) from error


def contents(path: str) -> Optional[bytes]:
    """The bytes of a plain file, None when there is none."""
    try:
        with open(path, "rb") as file:
            return file.read()
    except FileNotFoundError:
        return None


def quietly(action: Callable[..., Any], *arguments: Any) -> bool:
    """Did the file operation work? For tidying up, where a failure changes nothing."""
    try:
        action(*arguments)
        return True
    except OSError:
        return False


def sweep(folder: str, name: str = "") -> None:
    """Removes what an installer that was killed left in a folder beside the file `name`, or beside
    any file. Only under the lock."""
    stray = re.compile(r"\.%s\.brask-[0-9a-f]{8}\.tmp" % (re.escape(name) if name else ".+"))
    try:
        names = os.listdir(folder)
    except OSError:
        return
    for found in names:
        if stray.fullmatch(found):
            quietly(os.unlink, os.path.join(folder, found))


def dress_like(descriptor: int, path: str, info: os.stat_result) -> None:
    """Gives an open file the owner, the extended attributes and the mode of an existing one."""
    if (info.st_uid, info.st_gid) != (os.geteuid(), os.getegid()):
        if not quietly(os.fchown, descriptor, info.st_uid, info.st_gid):
            quietly(os.fchown, descriptor, -1, info.st_gid)
    if hasattr(os, "listxattr"):
        try:
            for name in os.listxattr(path):
                quietly(os.setxattr, descriptor, name, os.getxattr(path, name))
        except OSError:
            pass
    os.fchmod(descriptor, stat.S_IMODE(info.st_mode))


def write_whole(descriptor: int, data: bytes) -> None:
    while data:
        data = data[os.write(descriptor, data):]


def replace_file(path: str, data: bytes, expected: Optional[bytes],
                 info: Optional[os.stat_result] = None, mode: int = 0o600) -> None:
    """Puts `data` in the place of the file at once: whoever looks sees the old bytes or the new.

    Raises Changed when the file no longer holds `expected` (None: no file). `path` is no symlink.
    After a failure the file is as it was, and nothing is left beside it.
    """
    folder, name = os.path.split(path)
    sweep(folder, name)
    temporary = os.path.join(folder, ".%s.brask-%s.tmp" % (name, secrets.token_hex(4)))
    flags = os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_NOFOLLOW | os.O_CLOEXEC
    descriptor = os.open(temporary, flags, 0o600)
    try:
        try:
            write_whole(descriptor, data)
            if info is not None:
                dress_like(descriptor, path, info)
            else:
                os.fchmod(descriptor, mode)
            os.fsync(descriptor)
        finally:
            os.close(descriptor)
        if contents(path) != expected:
            raise Changed()
        os.replace(temporary, path)
    except BaseException:
        quietly(os.unlink, temporary)
        raise
    settle(folder)


def settle(folder: str) -> None:
    """Asks for the folder's own entry changes to reach the disk, where that can be asked."""
    try:
        descriptor = os.open(folder, os.O_RDONLY)
    except OSError:
        return
    quietly(os.fsync, descriptor)
    os.close(descriptor)


def missing_folders(path: str) -> List[str]:
    """The folders above `path` that do not exist, outermost first."""
    missing: List[str] = []
    folder = os.path.dirname(path)
    while not os.path.lexists(folder):
        missing.insert(0, folder)
        folder = os.path.dirname(folder)
    return missing


# ---- The manifest ---------------------------------------------------------------------------


def sound(record: Any) -> bool:
    """Has this record of a manifest the shape that we give it? Somebody may have edited it."""
    def texts(value: Any) -> bool:
        return isinstance(value, list) and all(isinstance(item, str) for item in value)
    if not isinstance(record, dict) or not isinstance(record.get("createdFile"), bool):
        return False
    keys, empty = record.get("createdKeys"), record.get("emptyBefore")
    return texts(record.get("createdFolders")) and \
        isinstance(keys, list) and all(texts(key) for key in keys) and \
        isinstance(empty, list) and all(
            isinstance(e, dict) and texts(e.get("key")) and isinstance(e.get("text"), str)
            for e in empty) and \
        str(record.get("blankBefore", "")).strip() == ""


class Manifest:
    """What we put where: ~/.brask/installed.json. It only helps to restore what was there before
    (empty brackets, missing files and folders); what is ours is told from the files themselves, so
    that a lost manifest loses nothing else."""

    def __init__(self, path: str, say: Callable[[str], None]) -> None:
        self.path = path
        self.records: Dict[str, Dict[str, Any]] = {}
        data = contents(path) if os.path.isfile(path) else None
        try:
            found = json.loads(data.decode("utf-8")) if data is not None else {}
            entries = found.get("entries", {}) if isinstance(found, dict) else None
            if not isinstance(entries, dict):
                raise ValueError("not a manifest")
            self.records = {key: record for key, record in entries.items() if sound(record)}
        except (ValueError, RecursionError):
            say("%s is damaged and is not used; our entries are found without it" % path)

    def folders(self, key: str) -> List[str]:
        return list(self.records.get(key, {}).get("createdFolders", []))

    def save(self) -> None:
        """Writes it, or removes it when nothing is left to tell."""
        if not self.records:
            quietly(os.unlink, self.path)
            return
        body = {"version": 1, "entries": self.records}
        text = json.dumps(body, indent=2, ensure_ascii=False, sort_keys=True) + "\n"
        if contents(self.path) != text.encode("utf-8"):
            replace_file(self.path, text.encode("utf-8"), contents(self.path))


# ---- The command ----------------------------------------------------------------------------


class Launcher:
    """The command `brask`: a small script in ~/.local/bin that runs the validator."""

    HEAD = "#!/bin/sh\n# Runs the validator of Kelvane Companion; brask_install.py made this " \
           "file and removes it.\nexec python3 "
    FORM = re.compile(re.escape(HEAD) + r'"[^\n]*/validate\.py" "\$@"\n')

    def __init__(self, home: str, validator: Validator) -> None:
        self.path = os.path.join(home, ".local", "bin", "brask")
        self.data = (self.HEAD + validator.quoted + ' "$@"\n').encode("utf-8")

    def state(self) -> str:
        """"ours", "stale" (ours, for another folder), "foreign" or "absent"."""
        if not os.path.lexists(self.path):
            return "absent"
        if os.path.islink(self.path) or not os.path.isfile(self.path):
            return "foreign"
        with open(self.path, "rb") as file:
            data = file.read(len(self.data) + 65536)
        if data == self.data:
            return "ours"
        return "stale" if self.FORM.fullmatch(data.decode("utf-8", "replace")) else "foreign"


# ---- Doing it -------------------------------------------------------------------------------

WIRED_TOOLS = (Claude, Codex, OpenClaw, Cursor)
LAUNCHER = "launcher"


class Installer:
    """Carries the edits out: one account, one run."""

    def __init__(self, env: Dict[str, str], say: Callable[[str], None],
                 complain: Callable[[str], None], dry: bool = False,
                 pause: Callable[[float], None] = time.sleep) -> None:
        self.env, self.say, self.complain, self.dry, self.pause = env, say, complain, dry, pause
        home = env.get("HOME", "")
        if not os.path.isabs(home) or not os.path.isdir(home):
            raise Refused("HOME does not name a folder; set it to your home folder")
        self.home = os.path.normpath(home)
        self.brask = os.path.abspath(env.get("BRASK_HOME") or os.path.join(self.home, ".brask"))
        try:
            (self.home + self.brask).encode("utf-8")
        except UnicodeEncodeError as error:
            raise Refused("the path of the home folder is not UTF-8") from error
        self.backups = os.path.join(self.brask, "backups")
        self.validator = Validator(self.brask, self.home)
        self.launcher = Launcher(self.home, self.validator)
        self.tools: Dict[str, Tool] = {kind.key: kind(self.validator) for kind in WIRED_TOOLS}
        self.manifest = Manifest(os.path.join(self.brask, "installed.json"), complain)

    def path(self, tool: Tool) -> str:
        return os.path.join(self.home, *tool.file.split("/"))

    # -- the lock

    def locked(self) -> Optional[int]:
        """Waits until no other installer works here; the descriptor holds the lock. None where
        nothing can be locked."""
        if fcntl is None or self.dry or not os.path.isdir(self.brask):
            return None
        flags = os.O_RDWR | os.O_CREAT | os.O_NOFOLLOW | os.O_CLOEXEC
        lock = os.open(os.path.join(self.brask, "install.lock"), flags, 0o600)
        for _ in range(LOCK_TRIES):
            try:
                fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
                self.manifest = Manifest(self.manifest.path, lambda text: None)
                sweep(self.backups)
                return lock
            except OSError as error:
                if error.errno not in (errno.EAGAIN, errno.EACCES):
                    break
            self.pause(LOCK_PAUSE)
        os.close(lock)
        raise Refused("another installer is at work; try again when it has ended")

    # -- reading and writing

    def text_of(self, config: Config, tool: Tool, action: Callable[[str], Any]) -> Any:
        """What `action` makes of the text; a bad text is refused with its place."""
        text = ""
        try:
            text = config.text
            return action(text)
        except BadText as error:
            data = (config.data or b"").lstrip(BOM)
            text = text or data.decode("utf-8", "replace")
            raise Refused("%s:%s: %s. The file is left as it is; put this right and run this again"
                          % (config.path, place(text, error.offset), error)) from error

    def show(self, path: str, old: Optional[bytes], new: Optional[bytes]) -> None:
        """The change as a unified diff."""
        for line in difflib.unified_diff(
                split_lines(old), split_lines(new),
                "/dev/null" if old is None else path, "/dev/null" if new is None else path):
            self.say(line[:-1] if line.endswith("\n")
                     else line + "\n\\ No newline at end of file")

    def back_up(self, tool: Tool, config: Config) -> Optional[str]:
        """Copies the file as it is to ~/.brask/backups and says where."""
        if config.data is None:
            return None
        folder = self.backups
        for made in missing_folders(os.path.join(folder, "x")):
            os.mkdir(made, 0o700)
        stamp = time.strftime("%Y%m%dT%H%M%SZ", time.gmtime())
        name = "%s-%s-%s" % (stamp, tool.key, os.path.basename(config.path))
        for number in range(1000):
            path = os.path.join(folder, name + (".%d" % number if number else ""))
            if not os.path.lexists(path):
                replace_file(path, config.data, None)
                return path
        raise Refused("%s is full of copies made this second" % folder)

    def repeated(self, path: str, action: Callable[[], int]) -> int:
        """Does it again when somebody else wrote the file meanwhile."""
        for _ in range(ATTEMPTS):
            try:
                return action()
            except Changed:
                continue
        raise Refused("%s keeps being changed by another program; nothing was written. Close the "
                      "tool and try again" % path)

    # -- wiring

    def install(self, key: str) -> int:
        tool = self.tools[key]
        if not os.path.isfile(self.validator.path):
            raise Refused("there is no validator at %s, and a hook without it would disturb the "
                          "tool; install Kelvane Companion first" % self.validator.path)
        self.warn_when_moved(tool)
        code = self.repeated(self.path(tool), lambda: self.install_once(tool))
        if code == DONE:
            self.repeated(self.launcher.path, self.install_launcher)
        return code

    def warn_when_moved(self, tool: Tool) -> None:
        for variable in tool.moved_by:
            elsewhere = self.env.get(variable)
            usual = (os.path.dirname(self.path(tool)), self.path(tool))
            if elsewhere and os.path.realpath(elsewhere) not in map(os.path.realpath, usual):
                self.complain("%s: %s is set to %s, so %s may not read %s, which is what is wired"
                              % (tool.key, variable, elsewhere, tool.label, self.path(tool)))

    def install_once(self, tool: Tool) -> int:
        config = read_config(self.path(tool))
        if config.data is None and not tool.create:
            self.complain("%s: there is no %s, and %s does not start with one that holds only our "
                          "entry. Set the tool up first, then run this again"
                          % (tool.key, config.path, tool.label))
            return NOT_SET_UP
        return self.text_of(config, tool, lambda text: self.wire(tool, config, text))

    def wire(self, tool: Tool, config: Config, text: str) -> int:
        text = tool.seed if config.data is None else text
        state = tool.state(text)
        if state == "wired":
            self.say("%s: already wired in %s" % (tool.key, config.path))
            self.tell(tool, text)
            return DONE
        if config.info is not None and not config.info.st_mode & stat.S_IWUSR:
            raise Refused("%s is write-protected (mode %04o); allow writing with chmod u+w and run "
                          "this again" % (config.path, stat.S_IMODE(config.info.st_mode)))
        old = self.manifest.records.get(tool.key)
        hints = Hints(old if state == "repair" else None)
        new = tool.mended(text, hints) if state == "repair" else tool.add(text, hints)
        self.prove(tool, text, new, hints, state)
        record = dict(hints.record(), file=config.path, inserted=inserted(text, new))
        record["createdFile"] = bool(old and old["createdFile"]) if state == "repair" \
            else config.data is None
        folders = missing_folders(config.path)
        kept = [f for f in self.manifest.folders(tool.key) if os.path.isdir(f) and f not in folders]
        record["createdFolders"] = kept + folders
        if self.dry:
            self.show(config.path, config.data, config.bytes_of(new))
            return DONE
        backup = self.write(tool, config, config.bytes_of(new), record, folders)
        self.say("%s: wired in %s%s" % (tool.key, config.path,
                                        "" if backup is None else " (before: %s)" % backup))
        self.tell(tool, new)
        return DONE

    def tell(self, tool: Tool, text: str) -> None:
        for note in tool.notes(text):
            self.complain("%s: note: %s" % (tool.key, note))

    def prove(self, tool: Tool, old: str, new: str, hints: Hints, state: str) -> None:
        """Refuses an edit that does not hold what this file promises. It never should."""
        good = tool.state(new) == "wired" and tool.others(old) == tool.others(new)
        if good and state == "absent":
            good = tool.remove(new, Hints(hints.record())) == old
        try:
            tool.second_opinion(new)
        except (ValueError, RecursionError):
            good = False
        if not good:
            raise Refused("%s: this file cannot be edited safely, so it is left as it is; add the "
                          "entry by hand" % self.path(tool))

    def write(self, tool: Tool, config: Config, data: bytes, record: Dict[str, Any],
              folders: List[str]) -> Optional[str]:
        """The manifest first, so that whatever ends us, a later run knows what to undo."""
        before = self.manifest.records.get(tool.key)
        made: List[str] = []
        backup: Optional[str] = None
        try:
            self.manifest.records[tool.key] = record
            self.manifest.save()
            for folder in folders:
                os.mkdir(folder, 0o700)
                made.append(folder)
            backup = self.back_up(tool, config)
            replace_file(config.real, data, config.data, config.info)
        except BaseException:
            for folder in reversed(made):
                quietly(os.rmdir, folder)
            if backup is not None:
                quietly(os.unlink, backup)
            self.manifest.records.pop(tool.key)
            if before is not None:
                self.manifest.records[tool.key] = before
            quietly(self.manifest.save)
            raise
        return backup

    def install_launcher(self) -> int:
        path, state = self.launcher.path, self.launcher.state()
        if state == "foreign":
            self.complain("note: %s is somebody else's and is left alone; run the validator as "
                          "python3 %s" % (path, self.validator.quoted))
        if state in ("ours", "foreign"):
            return DONE
        old = contents(path)
        if self.dry:
            self.show(path, old, self.launcher.data)
            return DONE
        config = read_config(path)
        folders = missing_folders(path)
        kept = [f for f in self.manifest.folders(LAUNCHER) if os.path.isdir(f)]
        record = dict(Hints().record(), file=path, createdFile=True, createdFolders=kept + folders)
        before = self.manifest.records.get(LAUNCHER)
        made: List[str] = []
        try:
            self.manifest.records[LAUNCHER] = record
            self.manifest.save()
            for folder in folders:
                os.mkdir(folder, 0o700)
                made.append(folder)
            replace_file(config.real, self.launcher.data, old, None, 0o755)
        except BaseException:
            for folder in reversed(made):
                quietly(os.rmdir, folder)
            self.manifest.records.pop(LAUNCHER)
            if before is not None:
                self.manifest.records[LAUNCHER] = before
            quietly(self.manifest.save)
            raise
        self.say("the command brask is %s" % path)
        if not self.on_path():
            self.say("to type it by name, add this line to ~/.profile: %s" % self.path_line())
        return DONE

    # -- unwiring

    def uninstall(self, key: str) -> int:
        """Takes our entries out of one tool or of all. One that fails does not stop the others."""
        code = DONE
        tools = [self.tools[name] for name in self.tools if key in (name, "all")]
        if key in ("claude", "all"):
            tools.append(ProjectServers(self.validator))
        for tool in tools:
            code = max(code, self.attempt(lambda: self.repeated(
                self.path(tool), lambda: self.uninstall_once(tool))))
        if key == "all" or not any(self.still_wired(tool) for tool in self.tools.values()):
            code = max(code, self.attempt(self.uninstall_launcher))
        return code

    def attempt(self, action: Callable[[], int]) -> int:
        try:
            return action()
        except (Refused, OSError) as error:
            self.complain(reason(error))
            return FAILED

    def still_wired(self, tool: Tool) -> bool:
        try:
            return tool.state(read_config(self.path(tool)).text) in ("wired", "repair")
        except (Refused, BadText):
            return False

    def uninstall_once(self, tool: Tool) -> int:
        config = read_config(self.path(tool))
        if config.data is None or b"validate.py" not in config.data:
            if not isinstance(tool, ProjectServers):
                self.say("%s: nothing of ours in %s" % (tool.key, config.path))
                self.forget(tool.key, config.real)
            return DONE
        return self.text_of(config, tool, lambda text: self.unwire(tool, config, text))

    def unwire(self, tool: Tool, config: Config, text: str) -> int:
        record = None if isinstance(tool, ProjectServers) else \
            self.manifest.records.get(tool.key)
        new = tool.remove(text, Hints(record))
        if new == text:
            self.say("%s: nothing of ours in %s, though it mentions a validate.py"
                     % (tool.key, config.path))
            return DONE
        if tool.others(new) != tool.others(text) or tool.state(new) in ("wired", "repair"):
            raise Refused("%s: our entry cannot be taken out safely, so the file is left as it is; "
                          "take it out by hand" % config.path)
        gone = bool(record and record["createdFile"]) and tool.empty(new) and \
            not os.path.islink(config.path)
        data = None if gone else config.bytes_of(new)
        if self.dry:
            self.show(config.path, config.data, data)
            return DONE
        backup = self.back_up(tool, config)
        if data is not None:
            replace_file(config.real, data, config.data, config.info)
        elif contents(config.real) == config.data:
            sweep(*os.path.split(config.real))
            os.unlink(config.real)
            settle(os.path.dirname(config.real))
        else:
            raise Changed()
        self.say("%s: our entries are out of %s (before: %s)" % (tool.key, config.path, backup))
        if not isinstance(tool, ProjectServers):
            self.forget(tool.key, config.real)
        return DONE

    def forget(self, key: str, real: str) -> None:
        """Removes the folders that we made, if nothing else is in them, and the record."""
        if self.dry:
            return
        sweep(*os.path.split(real))
        ours = {os.path.join(self.home, name)
                for name in (".claude", ".codex", ".cursor", ".local", os.path.join(".local", "bin"))}
        for folder in sorted(self.manifest.folders(key), key=len, reverse=True):
            if folder in ours and not os.path.islink(folder):
                quietly(os.rmdir, folder)
        if self.manifest.records.pop(key, None) is not None:
            self.manifest.save()

    def uninstall_launcher(self) -> int:
        path, state = self.launcher.path, self.launcher.state()
        if state == "foreign":
            self.complain("note: %s is somebody else's and is left alone" % path)
        elif state in ("ours", "stale"):
            if self.dry:
                self.show(path, contents(path), None)
                return DONE
            os.unlink(path)
            self.say("the command %s is removed" % path)
        self.forget(LAUNCHER, path)
        return DONE

    # -- telling

    def on_path(self) -> bool:
        folder = os.path.dirname(self.launcher.path)
        return any(os.path.realpath(part) == os.path.realpath(folder)
                   for part in self.env.get("PATH", "").split(os.pathsep) if part)

    @staticmethod
    def path_line() -> str:
        return 'export PATH="$HOME/.local/bin:$PATH"'

    def status(self) -> Dict[str, Any]:
        """Everything there is to tell, as plain values."""
        return {"validator": {"path": self.validator.path,
                              "present": os.path.isfile(self.validator.path)},
                "tools": [self.tool_status(tool) for tool in self.tools.values()],
                "command": {"path": self.launcher.path, "state": self.launcher.state(),
                            "onPath": self.on_path(),
                            "lineToAdd": None if self.on_path() else self.path_line()}}

    def tool_status(self, tool: Tool) -> Dict[str, Any]:
        found: Dict[str, Any] = {"tool": tool.key, "label": tool.label, "file": self.path(tool),
                                 "state": "absent", "seen": False, "notes": []}
        try:
            config = read_config(self.path(tool))
            found["seen"] = tool.seen(config.text)
            if config.data is not None:
                found["state"] = self.text_of(config, tool, tool.state)
            if found["state"] in ("wired", "repair"):
                found["notes"] = tool.notes(config.text)
        except (Refused, BadText) as error:
            found["state"], found["notes"] = "unreadable", [str(error)]
        for variable in tool.moved_by:
            if self.env.get(variable):
                found["notes"].append("%s is set to %s" % (variable, self.env[variable]))
        return found


WORDS = {"wired": "wired", "absent": "not wired", "repair": "needs repair: run this again",
         "foreign": "somebody else's server has our name", "unreadable": "cannot be read",
         "ours": "installed", "stale": "for another folder"}


def split_lines(data: Optional[bytes]) -> List[str]:
    """Lines as a diff counts them: ended by a line feed and by nothing else."""
    text = (data or b"").decode("utf-8", "replace")
    return [line for line in re.split(r"(?<=\n)", text) if line]


def inserted(old: str, new: str) -> List[Dict[str, Any]]:
    """What is in `new` and not in `old`, and at which line, for people who undo it by hand."""
    matcher = difflib.SequenceMatcher(None, old.splitlines(True), new.splitlines(True), False)
    lines = new.splitlines(True)
    return [{"line": b1 + 1, "text": "".join(lines[b1:b2])}
            for kind, _, _, b1, b2 in matcher.get_opcodes() if kind in ("insert", "replace")]


def reason(error: Exception) -> str:
    """A sentence for people."""
    if isinstance(error, OSError):
        where = error.filename2 or error.filename
        return "%s%s; nothing was lost" % ("%s: " % where if where else "", error.strerror or error)
    return str(error)


def table(status: Dict[str, Any]) -> Iterator[str]:
    """The status for people."""
    yield "validator    %s%s" % (status["validator"]["path"],
                                 "" if status["validator"]["present"] else " (missing)")
    for tool in status["tools"]:
        yield "%-12s %s: %s" % (tool["label"], WORDS[tool["state"]], tool["file"])
        if tool["seen"] and tool["state"] != "wired":
            yield "%-12s the companion shows it as wired, because its marker is in the file" % ""
        for note in tool["notes"]:
            yield "%-12s %s" % ("", note)
    command = status["command"]
    yield "%-12s %s: %s" % ("brask", {"absent": "not installed", "foreign": "somebody else's"}.get(
        command["state"], WORDS.get(command["state"], "")), command["path"])
    if command["lineToAdd"]:
        yield "%-12s not on PATH; add this line to ~/.profile: %s" % ("", command["lineToAdd"])


# ---- Command line ---------------------------------------------------------------------------


class Parser(argparse.ArgumentParser):
    def error(self, message: str) -> NoReturn:
        self.exit(USAGE, "brask_install: %s\nTry --help.\n" % message)


def parsed(arguments: Sequence[str]) -> argparse.Namespace:
    """The command line; exits with 64 when it makes no sense."""
    tools = [kind.key for kind in WIRED_TOOLS]
    parser = Parser(prog="brask_install.py", description=__doc__, allow_abbrev=False,
                    usage="brask_install.py [TOOL | uninstall TOOL | uninstall all | status] "
                          "[--global] [--dry-run] [--json]",
                    formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("words", nargs="*", metavar="WORD", help=argparse.SUPPRESS)
    parser.add_argument("--global", dest="everywhere", action="store_true",
                        help="for the whole account; needed for wiring and unwiring")
    parser.add_argument("--dry-run", action="store_true", help="print the change, write nothing")
    parser.add_argument("--json", action="store_true", help="status as JSON")
    options = parser.parse_intermixed_args(arguments)
    words = options.words
    options.action = words[0] if words[:1] in (["uninstall"], ["status"]) else "install"
    options.tool = None if options.action == "status" else \
        (words[1:2] if options.action == "uninstall" else words[:1])
    if options.action == "status":
        if len(words) > 1:
            parser.error("status takes no tool")
        return options
    known = tools + ["all"] if options.action == "uninstall" else tools
    if len(options.tool) != 1 or options.tool[0] not in known or \
            len(words) != (2 if options.action == "uninstall" else 1):
        parser.error("which tool? One of: " + ", ".join(known))
    if not options.everywhere:
        parser.error("--global is needed: tools are wired for the whole account")
    if options.json:
        parser.error("--json is for status")
    options.tool = options.tool[0]
    return options


def main(arguments: Sequence[str], env: Dict[str, str], out: Any = None, err: Any = None) -> int:
    """The whole program. `env` is the environment; `out` and `err` take the messages."""
    def printer(stream: Any, prefix: str) -> Callable[[str], None]:
        def show(text: str) -> None:
            try:
                print(prefix + text, file=stream, flush=True)
            except (OSError, ValueError):
                pass  # nobody listens any more; the work goes on
        return show
    options = parsed(arguments)
    say = printer(out or sys.stdout, "")
    complain = printer(err or sys.stderr, "brask_install: ")
    lock = None
    try:
        installer = Installer(env, say, complain, options.dry_run)
        if options.action == "status":
            status = installer.status()
            for line in [json.dumps(status, indent=2)] if options.json else table(status):
                say(line)
            return DONE
        lock = installer.locked()
        work = installer.uninstall if options.action == "uninstall" else installer.install
        return work(options.tool)
    except (Refused, OSError) as error:
        complain(reason(error))
        return FAILED
    finally:
        if lock is not None:
            os.close(lock)


def stop(number: int, frame: Any) -> NoReturn:
    """Ends by an exception, so that half-written files are tidied up."""
    raise SystemExit(128 + number)


if __name__ == "__main__":
    for ending in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
        signal.signal(ending, stop)
    for output in (sys.stdout, sys.stderr):
        if output is not None:
            output.reconfigure(errors="backslashreplace")
    sys.exit(main(sys.argv[1:], dict(os.environ)))
