"""The text of web pages, as Markdown: what a reader sees, without scripts and hidden parts."""

import re
from collections import Counter
from html import unescape
from typing import List, Optional

from .archive import MOST_TEXT
from .parts import NotGradable, Part, decode

_SILENT = {"script", "style", "template", "noscript", "svg", "math", "head", "iframe", "object"}
_BLOCKS = {"p", "div", "section", "article", "header", "footer", "main", "aside", "nav", "ul", "ol",
           "table", "tr", "blockquote", "pre", "figure", "figcaption", "form", "dl", "dt", "dd",
           "address", "hr", "details", "summary", "body", "h1", "h2", "h3", "h4", "h5", "h6", "li"}
_VOID = {"br", "hr", "img", "input", "meta", "link", "wbr", "source", "area", "base", "col",
         "embed", "param", "track"}


#: Characters of a page that are read: some two seconds of the densest.
MOST_MARKUP = 4 * 1024 * 1024
LONGEST_TAG = 64 * 1024     # characters; a "<" that no ">" follows within so many is text
MOST_ATTRIBUTES = 200       # of one tag
DEEPEST = 1000              # lists in lists, and hidden parts in hidden parts

#: What begins at a "<": a comment, a declaration, a tag. Each is looked for from where it begins to
#: its first end and no further, so that a page takes the time of its length.
_TAG = re.compile(r"<(/?)([A-Za-z][^\s/<>]{0,100})")
_ATTRIBUTE = re.compile(r"""[\s/]*([^\s/<>=][^\s/<>=]{0,200})"""
                        r"""(?:\s*=\s*(?:"([^"]*)"|'([^']*)'|([^\s<>]*)))?""")
_RAW = ("script", "style", "title", "textarea", "xmp", "iframe", "noembed", "noframes")


def read_html(data: bytes, shown: str, kind):
    """One web page or part of one."""
    text = decode(data)
    if text is None:
        raise NotGradable("{} is not a text, whatever its name says".format(shown))
    reader = _Reader()
    for token in _tokens(text[:MOST_MARKUP]):
        reader.take(*token)
    notes = ["{} is larger than what is read of a page".format(shown)] \
        if len(text) > MOST_MARKUP else []
    return [Part(kind.mime_type, shown, reader.markdown())], notes


def _tokens(text: str):
    """(kind, name or text, attributes) of each piece: "start", "end" or "text". Python's own parser
    takes quadratic time for tags without an end."""
    at, end = 0, len(text)
    missing = set()     # ends that do not follow any more
    while at < end:
        sign = text.find("<", at)
        if sign < 0:
            sign = end
        if sign > at:
            yield "text", unescape(text[at:sign]), None
        at = sign
        if at >= end:
            return
        opened = _TAG.match(text, at)
        if opened is None:
            at = yield from _odd(text, at, missing)
            continue
        close, attributes = _attributes(text, opened.end())
        if close is None:
            yield "text", "<", None
            at += 1
            continue
        name = opened.group(2).lower()
        at = close
        if opened.group(1):
            yield "end", name, None
            continue
        yield "start", name, attributes
        if text[close - 2:close] == "/>" and name not in _RAW and name not in _VOID:
            yield "end", name, None
        if name in _RAW:
            at = yield from _raw(text, at, name, missing)


def _attributes(text: str, at: int):
    """Where the tag ends and its attributes; None for one that does not end."""
    found, most = {}, at + LONGEST_TAG
    while at < most:
        pair = _ATTRIBUTE.match(text, at, most)
        if pair is None:
            break
        if len(found) < MOST_ATTRIBUTES:
            value = next((v for v in pair.groups()[1:] if v is not None), None)
            found.setdefault(pair.group(1).lower(), None if value is None else unescape(value))
        at = pair.end()
    close = re.compile(r"[\s/]*>").match(text, at, most)
    return (close.end() if close else None), found


def _until(text: str, word: str, at: int, missing) -> int:
    """Where the word is found, -1 when it is not. One that was missed is not looked for again."""
    found = -1 if word in missing else text.find(word, at)
    if found < 0:
        missing.add(word)
    return found


def _odd(text: str, at: int, missing):
    """A "<" that begins no tag. Returns where what it begins ends."""
    for begin, end in (("<!--", "-->"), ("<![CDATA[", "]]>"), ("<!", ">"), ("<?", ">"), ("</", ">")):
        if text.startswith(begin, at):
            close = _until(text, end, at + len(begin), missing)
            return len(text) if close < 0 else close + len(end)
    yield "text", "<", None
    return at + 1


def _raw(text: str, at: int, name: str, missing):
    """The text of an element that holds no tags but its own end."""
    close = -1
    if name not in missing:
        found = re.compile("</" + name, re.I).search(text, at)
        close = found.start() if found else -1
    if close < 0:
        missing.add(name)
        close = len(text)
    yield "text", text[at:close], None
    return close


class _Reader:
    """Gathers blocks of text. Unclosed elements are what people write, so nothing is balanced;
    only what must be silent is counted."""

    def __init__(self):
        self._blocks: List[str] = []
        self._line: List[str] = []
        self._blank = True      # whether nothing but blanks stands in the line
        self._prefix = ""
        self._silent: List[str] = []
        self._silenced: Counter = Counter()     # of each name, how often it is in _silent
        self._href: Optional[str] = None
        self._lists: List[int] = []  # 0: bullets; else the number of the next entry
        self._pre = False
        self._left = MOST_TEXT  # of the line, of which a link or a picture may make more

    def take(self, kind: str, what: str, attributes) -> None:
        """One piece of the page."""
        if kind == "start":
            self.handle_starttag(what, attributes)
        elif kind == "end":
            self.handle_endtag(what)
        else:
            self.handle_data(what)

    def _add(self, text: str) -> None:
        if len(text) <= self._left:
            self._left -= len(text)
            self._line.append(text)
            self._blank = self._blank and not text.strip()

    def handle_starttag(self, tag, attributes):
        hidden = "hidden" in attributes or attributes.get("aria-hidden") == "true"
        if tag in _SILENT or self._silent or (hidden and tag not in _VOID):
            if tag not in _VOID and len(self._silent) < DEEPEST:
                self._silent.append(tag)
                self._silenced[tag] += 1
            return
        if tag in _BLOCKS:
            self._end_block()
        if re.match(r"h[1-6]$", tag):
            self._prefix = "#" * int(tag[1]) + " "
        elif tag in ("ul", "ol"):
            if len(self._lists) < DEEPEST:
                self._lists.append(0 if tag == "ul" else 1)
        elif tag == "li":
            self._prefix = self._bullet()
        elif tag == "br":
            self._add("\n")
        elif tag == "a":
            self._href = attributes.get("href")
            self._add("[" if self._href is not None else "")
        elif tag == "img":
            self._add("![{}]({})".format(attributes.get("alt") or "", attributes.get("src") or ""))
        elif tag == "pre":
            self._pre = True
        elif tag in ("td", "th") and not self._blank:
            self._add(" | ")

    def handle_endtag(self, tag):
        if self._silent:
            last = None
            while last != tag and self._silenced[tag]:
                last = self._silent.pop()
                self._silenced[last] -= 1
            return
        if tag == "a" and self._href is not None:
            self._add("]({})".format(self._href))
            self._href = None
        elif tag == "pre":
            self._end_block()
            self._pre = False
        elif tag in ("ul", "ol") and self._lists:
            self._end_block()
            self._lists.pop()
        elif tag in _BLOCKS:
            self._end_block()

    def handle_data(self, data):
        if not self._silent:
            self._add(data if self._pre else re.sub(r"\s+", " ", data))

    def markdown(self) -> str:
        """Everything read so far."""
        self._end_block()
        return "\n\n".join(self._blocks) + "\n"

    def _bullet(self) -> str:
        if not self._lists or self._lists[-1] == 0:
            return "- "
        self._lists[-1] += 1
        return "{}. ".format(self._lists[-1] - 1)

    def _end_block(self):
        line = "".join(self._line)
        if self._pre and line.strip():
            self._blocks.append("```\n" + line.strip("\n") + "\n```")
        elif line.strip():
            self._blocks.append(self._prefix + line.strip())
        elif self._prefix.startswith("#"):
            self._blocks.append(self._prefix.strip())  # a heading without words is a flaw to see
        self._line, self._prefix, self._blank = [], "", True
