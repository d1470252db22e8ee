"""The `name: value` lines that settings and rule files are made of.

Deliberately little: one name and one value a line, `#` begins a comment line, a name may come
again. No quotes, no nesting, nothing that two readers could understand in two ways.

This module and `settings` do without `typing`, which is slow to load: a hook needs them to find out
that there is nothing to do.
"""

from __future__ import annotations

from collections import namedtuple

LONGEST_LINE = 4096
_LINE = r"([a-z][a-z0-9_]{0,40})[ \t]*:(?:[ \t]+(.*))?$"  # compiled when there is a line


#: One such line; `number` counts from 1 in the file it came from.
Line = namedtuple("Line", "number name value")

#: The lines between two `---` at the top of a Markdown file, what stands below, and whether there
#: were any such marks.
FrontMatter = namedtuple("FrontMatter", "lines body found")


def parse_lines(texts: list[str], where: str, first: int) -> tuple[list[Line], list[str]]:
    """The entries of these lines, and one sentence for each line that is none."""
    import re  # only where there is something to read: it is slow to load
    lines, problems = [], []
    for number, text in enumerate(texts, first):
        stripped = text.strip()
        if not stripped or stripped.startswith("#"):
            continue
        match = re.match(_LINE, stripped) if len(stripped) <= LONGEST_LINE else None
        if match is None:
            problems.append("{}:{}: not a “name: value” line".format(where, number))
        else:
            lines.append(Line(number, match.group(1), (match.group(2) or "").strip()))
    return lines, problems


def split(text: str, where: str) -> tuple[FrontMatter, list[str]]:
    """Takes a Markdown text apart: a head between two lines of `---`, and the rest."""
    rows = text.splitlines()
    if not rows or rows[0].rstrip() != "---":
        return FrontMatter([], text, False), []
    for end, row in enumerate(rows[1:], 1):
        if row.rstrip() == "---":
            lines, problems = parse_lines(rows[1:end], where, 2)
            body = "\n".join(rows[end + 1:]).strip("\n") + "\n"
            return FrontMatter(lines, body, True), problems
    problem = "{}:1: the head is not closed by a line “---”".format(where)
    return FrontMatter([], text, False), [problem]
