"""Verdicts as an agent can use them: the same lines in every tool.

A flaw is a line of its own: severity, rule, file:line:column, what is wrong, what stands there, and
what would be the smallest step. These are facts to weigh, not orders: what stands in a file is
quoted, never spoken. The most serious come first, whichever file they are in, and what does not fit
is counted.
"""

import re
from typing import Dict, List, NamedTuple, Optional, Sequence

from . import report
from .grading import Outcome
from .verdict import Flaw

SEVERITIES = ("CRITICAL", "HIGH", "MEDIUM", "LOW")
LONGEST_EVIDENCE = 200  # characters of what stands at a place; the service quotes at most 120
LONGEST_LINE = 900      # characters of one flaw, so that one cannot crowd out the others
_PLACE = re.compile(r"(?:^|, )lines? (\d{1,9})(?:, columns? (\d{1,9}))?")
_PART = re.compile(r"^part (\d{1,6})\b")

# What clears a flaw of a rule, by how the rule's name begins.
_STEPS = (
    ("secret", "clears once the secret is out of the file, for instance in the environment"),
    ("text.placeholder", "clears once the placeholder is filled in or taken out"),
    ("text.spelling", "clears once the word is spelled right, or is one that the project knows"),
    ("model.", "advice of a model: holds nothing back by itself"),
)


class Place(NamedTuple):
    """Where a flaw is. The line is None where the place is none in a file's lines."""

    file: str
    line: Optional[int] = None
    column: Optional[int] = None
    rest: str = ""  # the place in words, where there is no line

    def __str__(self) -> str:
        if self.line is None:
            return self.file + (" ({})".format(self.rest) if self.rest else "")
        return ":".join([self.file, str(self.line)] + ([str(self.column)] if self.column else []))


class Located(NamedTuple):
    """A flaw and where it is."""

    flaw: Flaw
    place: Place


def located(outcome: Outcome) -> List[Located]:
    """The flaws of an outcome, each with the file that it is in."""
    return [Located(flaw, _place(outcome, flaw)) for flaw in outcome.flaws]


def _place(outcome: Outcome, flaw: Flaw) -> Place:
    parts = outcome.artifact.parts if outcome.artifact else ()
    part = _PART.match(flaw.place)
    index = int(part.group(1)) - 1 if part else 0
    name = parts[index].logical_name if index < len(parts) and len(parts) > 1 else None
    name = report.clean(name or outcome.name)
    found = _PLACE.search(flaw.place)
    if found and (index >= len(parts) or parts[index].same_lines):
        return Place(name, int(found.group(1)), int(found.group(2)) if found.group(2) else None)
    return Place(name, rest=report.clean(flaw.place))


def most_serious_first(flaws: Sequence[Located]) -> List[Located]:
    """Sorted by severity; those of one severity stay in their order."""
    return sorted(flaws, key=lambda one: SEVERITIES.index(one.flaw.severity)
                  if one.flaw.severity in SEVERITIES else len(SEVERITIES))


def line(one: Located) -> str:
    """One flaw, for an agent."""
    flaw = one.flaw
    said = "- {} {} {}: {}".format(report.clean(flaw.severity) or "FLAW",
                                   report.clean(flaw.rule or flaw.criterion), one.place,
                                   report.clean(flaw.detail))
    evidence = report.clean(flaw.evidence)[:LONGEST_EVIDENCE]
    if evidence and evidence not in flaw.detail:
        said += " There: “{}”.".format(evidence)
    step = " ({})".format(next_step(one))
    if len(said) + len(step) > LONGEST_LINE:
        said = said[:LONGEST_LINE - len(step) - 1] + "…"
    return said + step


def next_step(one: Located) -> str:
    """What would clear this flaw with the least change."""
    for begin, step in _STEPS:
        if one.flaw.rule.startswith(begin):
            return step
    if one.place.line is None:
        return "clears once this is no longer so"
    return "clears once line {} no longer does this; nothing else needs to change".format(
        one.place.line)


def lines(flaws: Sequence[Located], room: int) -> List[str]:
    """As many as fit into so many characters, the most serious first, and how many do not."""
    found: List[str] = []
    ordered = most_serious_first(flaws)
    room -= 60  # for what says how many are left
    for number, one in enumerate(ordered):
        said = line(one)
        if len(said) + 1 > room:
            return found + ["- and {} more, none of them more serious".format(
                len(ordered) - number)]
        room -= len(said) + 1
        found.append(said)
    return found


def mark(one: Located) -> str:
    """Tells a flaw from the others of its file, wherever it moves to."""
    said = one.flaw.evidence or re.sub(r"\d+", "#", one.flaw.detail)
    return "{} {}".format(one.flaw.rule or one.flaw.criterion, said)[:300]


def settled(before: Dict[str, List[str]], files: Sequence[str],
            now: Sequence[Located]) -> Dict[str, List[str]]:
    """What was open in these files and is no longer: rules by file."""
    found: Dict[str, List[str]] = {}
    for name in files:
        left = [mark(one) for one in now if one.place.file == name]
        for old in before.get(name, []):
            if old in left:
                left.remove(old)
            else:
                found.setdefault(name, []).append(old.split(" ", 1)[0])
    return found


def told_settled(fixed: Dict[str, List[str]]) -> List[str]:
    """What was fixed since the last verdict, a line for each file."""
    return ["fixed in {}: {}".format(name, ", ".join(
        "{}{}".format(rule, " ({} times)".format(rules.count(rule)) if rules.count(rule) > 1
                      else "") for rule in dict.fromkeys(rules)))
            for name, rules in sorted(fixed.items())]
