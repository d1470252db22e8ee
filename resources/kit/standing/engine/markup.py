"""The text of web pages, as Markdown: what a reader sees, without scripts and hidden parts."""

import re
from html.parser import HTMLParser
from typing import List, Optional

from .parts import NotGradable, Part, decode

_SILENT = {"script", "style", "template", "noscript", "svg", "math", "head", "iframe", "object"}
_BLOCKS = {"p", "div", "section", "article", "header", "footer", "main", "aside", "nav", "ul", "ol",
           "table", "tr", "blockquote", "pre", "figure", "figcaption", "form", "dl", "dt", "dd",
           "address", "hr", "details", "summary", "body", "h1", "h2", "h3", "h4", "h5", "h6", "li"}
_VOID = {"br", "hr", "img", "input", "meta", "link", "wbr", "source", "area", "base", "col",
         "embed", "param", "track"}


def read_html(data: bytes, shown: str, kind):
    """One web page or part of one."""
    text = decode(data)
    if text is None:
        raise NotGradable("{} is not a text, whatever its name says".format(shown))
    reader = _Reader()
    reader.feed(text)
    reader.close()
    return [Part(kind.mime_type, shown, reader.markdown())], []


class _Reader(HTMLParser):
    """Gathers blocks of text. Unclosed elements are what people write, so nothing is balanced;
    only what must be silent is counted."""

    def __init__(self):
        super().__init__(convert_charrefs=True)
        self._blocks: List[str] = []
        self._line = ""
        self._prefix = ""
        self._silent: List[str] = []
        self._href: Optional[str] = None
        self._lists: List[int] = []  # 0: bullets; else the number of the next entry
        self._pre = False

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        hidden = "hidden" in attributes or attributes.get("aria-hidden") == "true"
        if tag in _SILENT or self._silent or (hidden and tag not in _VOID):
            if tag not in _VOID:
                self._silent.append(tag)
            return
        if tag in _BLOCKS:
            self._end_block()
        if re.match(r"h[1-6]$", tag):
            self._prefix = "#" * int(tag[1]) + " "
        elif tag in ("ul", "ol"):
            self._lists.append(0 if tag == "ul" else 1)
        elif tag == "li":
            self._prefix = self._bullet()
        elif tag == "br":
            self._line += "\n"
        elif tag == "a":
            self._href = attributes.get("href")
            self._line += "[" if self._href is not None else ""
        elif tag == "img":
            self._line += "![{}]({})".format(attributes.get("alt") or "",
                                             attributes.get("src") or "")
        elif tag == "pre":
            self._pre = True
        elif tag in ("td", "th") and self._line.strip():
            self._line += " | "

    def handle_endtag(self, tag):
        if self._silent:
            if tag in self._silent:
                while self._silent and self._silent.pop() != tag:
                    pass
            return
        if tag == "a" and self._href is not None:
            self._line += "]({})".format(self._href)
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
            self._line += data if self._pre else re.sub(r"\s+", " ", data)

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
        if self._pre and self._line.strip():
            self._blocks.append("```\n" + self._line.strip("\n") + "\n```")
        elif self._line.strip():
            self._blocks.append(self._prefix + self._line.strip())
        elif self._prefix.startswith("#"):
            self._blocks.append(self._prefix.strip())  # a heading without words is a flaw to see
        self._line, self._prefix = "", ""
