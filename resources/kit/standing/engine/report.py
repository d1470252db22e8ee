"""Outcomes for people (a table) and for programs (JSON). SARIF is in `sarif`.

Functions from values to text; whoever prints decides about colour and width.
"""

import json
import re
import textwrap
import unicodedata
from typing import Any, Dict, List, Optional, Sequence

from .grading import CLEARS, HELD, NOT_JUDGED, Outcome, gaps, worst
from .settings import report_page
from .verdict import CheckedBy, Flaw

WORDS = {"ship": "clears", "route_to_fix": "fix first", "quarantine": "quarantine",
         "block": "blocked", "unknown": "no verdict"}
MOST_JUDGES = 4     # named in one line; the rest is counted
_COLOURS = {"red": "31", "yellow": "33", "green": "32", "dim": "2", "bold": "1"}
_SEVERITY_COLOURS = {"CRITICAL": "red", "HIGH": "red", "MEDIUM": "yellow", "LOW": "dim"}
_CONTROL = re.compile(r"[\x00-\x08\x0b-\x1f\x7f-\x9f\u202a-\u202e\u2066-\u2069]")


def table(outcomes: Sequence[Outcome], width: int = 80, colour: bool = False,
          base: Optional[str] = None) -> str:
    """One block per outcome: a headline, and a row for each flaw, wrapped to `width` columns."""
    width = max(40, width)
    blocks = [_block(outcome, width, colour, base) for outcome in outcomes]
    if len(outcomes) > 1:
        blocks.append(_summary(outcomes))
    return "\n\n".join(blocks) + "\n"


def as_json(outcomes: Sequence[Outcome]) -> str:
    """All outcomes as one JSON object."""
    document: Dict[str, Any] = {"exit_code": worst(outcomes),
                                "files": [outcome.to_json() for outcome in outcomes]}
    return json.dumps(document, ensure_ascii=False, indent=2) + "\n"


def facts(outcome: Outcome, most: int = 12) -> List[str]:
    """A headline and at most `most` flaws as plain lines, for an agent to read: what is, not what
    to do."""
    lines = ["{}: {}".format(clean(outcome.name), _verdict_words(outcome))]
    for flaw in outcome.flaws[:most]:
        lines.append("- {} {}: {}".format(clean(flaw.severity) or "FLAW",
                                          clean(flaw.rule or flaw.criterion), clean(flaw.detail)))
    left = len(outcome.flaws) - most
    if left > 0:
        lines.append("- and {} more".format(left))
    return lines


def dismissed(outcome: Outcome, most: int = 12) -> List[str]:
    """What does not count, a line each: dismissed by the user, or of a baseline."""
    gone = outcome.verdict.dismissed
    lines = ["{}: {} {}: {}{}".format(
        "known" if one.known else "dismissed", clean(one.flaw.severity) or "-",
        clean(one.flaw.rule or one.flaw.criterion), clean(one.flaw.detail),
        clean(" ({})".format(one.reason)) if one.reason and not one.known else "")
             for one in gone[:most]]
    if len(gone) > most:
        lines.append("and {} more that do not count".format(len(gone) - most))
    return lines


def coverage(outcome: Outcome) -> List[str]:
    """Who judged, and what nobody judged: a line each, none where the service does not tell.
    What the reason says already is not said again."""
    verdict, lines = outcome.verdict, []
    if verdict.checked_by:
        said = [_judge(by) for by in verdict.checked_by[:MOST_JUDGES]]
        left = len(verdict.checked_by) - len(said)
        lines.append("judged by: " + ", ".join(said)
                     + (" and {} more".format(left) if left > 0 else ""))
    if verdict.not_checked and outcome.state != NOT_JUDGED:
        lines.append("not checked: " + clean(gaps(verdict.not_checked)))
    return lines


def _judge(by: CheckedBy) -> str:
    name = "{} {}".format(by.engine, by.version) if by.version else by.engine
    return clean("{} ({})".format(name, by.knows) if by.knows else name)


def clean(text: str) -> str:
    """One line without anything that a terminal or a reader could take for more than text."""
    return _CONTROL.sub("\ufffd", text.replace("\r", " ").replace("\n", " "))


def display_width(text: str) -> int:
    """How many columns a terminal needs for the text."""
    return sum(0 if unicodedata.combining(c) else
               2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in text)


def _block(outcome: Outcome, width: int, colour: bool, base: Optional[str]) -> str:
    hue = {CLEARS: "green", HELD: "red"}.get(outcome.state, "yellow")
    name, words = clean(outcome.name), _verdict_words(outcome)
    apart = "  " if display_width(name) + len(words) + 2 <= width else "\n  "
    lines = [_paint(name, "bold", colour) + apart + _paint(words, hue, colour)]
    if outcome.reason is not None:
        lines += _wrapped(clean(outcome.reason), width, "  ")
    for flaw in outcome.flaws:
        lines += _flaw_rows(flaw, width, colour)
    for line in dismissed(outcome) + coverage(outcome):
        lines += _wrapped(line, width, "  ")
    for note in outcome.notes:
        lines += _wrapped("note: " + clean(note), width, "  ")
    if outcome.verdict.run_id:
        lines.append(_paint("  run {}".format(clean(outcome.verdict.run_id)), "dim", colour))
        page = report_page(base or "", clean(outcome.verdict.run_id))
        if page:
            lines.append(_paint("  " + page, "dim", colour))
    return "\n".join(lines)


def _flaw_rows(flaw: Flaw, width: int, colour: bool) -> List[str]:
    severity = clean(flaw.severity) or "-"
    label = "{} ".format(clean(flaw.criterion or flaw.rule))
    rows = _wrapped(label + "· " + clean(flaw.detail) if flaw.detail else label, width - 12, "")
    gap = " " * max(1, 10 - display_width(severity))
    first = "  " + _paint(severity, _SEVERITY_COLOURS.get(severity, "bold"), colour) + gap
    return [first + (rows[0] if rows else "")] + [" " * 12 + row for row in rows[1:]]


def _verdict_words(outcome: Outcome) -> str:
    if outcome.reason is not None:
        return "not judged" if outcome.state == NOT_JUDGED else "not graded"
    words = WORDS[outcome.verdict.band]
    verdict = outcome.verdict
    if outcome.state == HELD and (verdict.clears or verdict.is_beyond_the_service):
        words = "held on this machine"
    if outcome.state == CLEARS and not verdict.clears:
        words = "clears without what does not count"
    score = outcome.verdict.score
    shown = "" if score is None else ", score {:.2f}".format(score)
    flaws = len(outcome.flaws)
    return "{} ({}{}{} flaw{})".format(words, outcome.verdict.band, shown + ", ", flaws,
                                       "" if flaws == 1 else "s")


def _summary(outcomes: Sequence[Outcome]) -> str:
    cleared = sum(outcome.state == CLEARS for outcome in outcomes)
    held = sum(outcome.state == HELD for outcome in outcomes)
    beyond = sum(outcome.state == NOT_JUDGED for outcome in outcomes)
    return "{} of {} clear, {} held, {}{} not graded".format(
        cleared, len(outcomes), held, "{} not judged, ".format(beyond) if beyond else "",
        len(outcomes) - cleared - held - beyond)


def _wrapped(text: str, width: int, indent: str) -> List[str]:
    wrapper = textwrap.TextWrapper(width=max(20, width), initial_indent=indent,
                                   subsequent_indent=indent, break_long_words=True,
                                   break_on_hyphens=False)
    return wrapper.wrap(text)


def _paint(text: str, colour: str, wanted: bool) -> str:
    return "\033[{}m{}\033[0m".format(_COLOURS[colour], text) if wanted else text
