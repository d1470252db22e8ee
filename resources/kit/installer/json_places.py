"""JSON with places: what a text holds, and where a value goes in or out of it."""

import json
import re
import unicodedata
from typing import Any, Callable, Iterator, List, NamedTuple, Optional, Sequence, Tuple

from .text import BadText, Key, Piece, indent_unit, line_end_near, line_indent


class Dialect(NamedTuple):
    """What a tool accepts beyond strict JSON."""

    name: str
    comments: bool  # and commas after the last item
    json5: bool


STRICT = Dialect("JSON", False, False)
JSONC = Dialect("JSON", True, False)
JSON5 = Dialect("JSON5", True, True)
DIALECTS = {"json": STRICT, "jsonc": JSONC, "json5": JSON5}
MAX_NESTED = 128  # levels; far below what Python itself can call itself


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
        if depth > MAX_NESTED:
            raise BadText("nested deeper than %d levels" % MAX_NESTED, pos)
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
