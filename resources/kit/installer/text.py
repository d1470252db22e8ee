"""Text and places in it.

A place is an offset in characters; an edit puts pieces of text in at their places.
"""

import re
from typing import Any, Dict, List, Sequence, Tuple

Key = Tuple[str, ...]
Piece = Tuple[int, int, str]  # replace text[start:end] by this


class BadText(Exception):
    """A text that cannot be read, or must not be edited, and the offset that shows why."""

    def __init__(self, message: str, offset: int) -> None:
        super().__init__(message)
        self.offset = offset


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


class Edit:
    """A text on its way from what it was to what it will be, and where it holds something new."""

    def __init__(self, text: str) -> None:
        self.text = text
        self.new: List[Tuple[int, int]] = []  # in the text as it is now; none overlaps another

    def apply(self, pieces: Sequence[Piece]) -> None:
        """Puts each piece in its place. A piece lies inside what is new, or outside of it."""
        self.text = replaced(self.text, pieces)
        for start, end, piece in sorted(pieces, reverse=True):
            grown, inside, moved = len(piece) - (end - start), False, []
            for first, last in self.new:
                if first >= end:
                    first, last = first + grown, last + grown
                elif first <= start and end <= last:
                    last, inside = last + grown, True
                moved.append((first, last))
            self.new = moved if inside or not piece else moved + [(start, start + len(piece))]

    def new_lines(self) -> List[Dict[str, Any]]:
        """The lines that hold something new, in order: each stretch with the number of its first
        line, for people who undo it by hand."""
        found: List[Dict[str, Any]] = []
        counted, number, end = 0, 1, 0
        for first, last in sorted(self.new):
            piece = self.text[first:last]
            body = piece.strip(" \t\r\n")
            if not body:
                continue
            first += piece.index(body)
            start = self.text.rfind("\n", 0, first) + 1
            after = self.text.find("\n", first + len(body)) + 1 or len(self.text)
            if found and start < end:  # goes on where the stretch before ends
                found[-1]["text"] += self.text[end:after]
            else:
                number += self.text.count("\n", counted, start)
                counted = start
                found.append({"line": number, "text": self.text[start:after]})
            end = max(end, after)
        return found
