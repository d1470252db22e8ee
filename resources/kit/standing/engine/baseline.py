"""Only what is new: the flaws of today as a file, and what later verdicts have beyond it.

    known = baseline.load("brask-baseline.json")
    outcomes = [baseline.applied(outcome, known) for outcome in outcomes]

A flaw is known by its file (as the path from the baseline's folder), its rule and its evidence without
what only tells its place; of several equal ones as many are known as there were. What is known is shown
as that and does not hold the work: with a baseline, work is held by new flaws of more than low severity.
What the standing rules find, secrets above all, is never part of a baseline.

The file is JSON, sorted, a line for each flaw, so that version control shows what came and went. It is
an ordinary file of the project: to undo a baseline, restore or delete it.
"""

import json
import os
from collections import Counter
from typing import Dict, List, Sequence, Tuple

from . import dismissals, grading
from .grading import CLEARS, HELD, Outcome
from .verdict import DismissedFlaw, Flaw

FORMAT = 1
LARGEST = 32 << 20      # bytes
KNOWN = "in the baseline"
Key = Tuple[str, str]


class NotUsable(Exception):
    """The file is no baseline, or cannot be read or written, with the sentence to show."""


class Baseline:
    """The known flaws of each file."""

    def __init__(self, path: str, files: Dict[str, Counter]):
        self.path = path
        self.files = files

    def name_of(self, outcome: Outcome) -> str:
        """The file as the baseline calls it: below its folder, with slashes."""
        folder = os.path.dirname(os.path.abspath(self.path))
        named = outcome.path if outcome.path is not None else outcome.name
        try:
            shown = os.path.relpath(os.path.join(os.getcwd(), named), folder)
        except ValueError:      # another drive
            shown = named
        return shown.replace(os.sep, "/")


def load(path: str) -> Baseline:
    """The baseline in the file. Raises NotUsable."""
    try:
        with open(path, "rb") as file:
            data = file.read(LARGEST + 1)
    except OSError as error:
        raise NotUsable("{}: {}".format(path, error.strerror)) from None
    try:
        if len(data) > LARGEST:
            raise ValueError
        found = json.loads(data.decode("utf-8"))
        if found["kelvane_baseline"] != FORMAT:
            raise ValueError
        files = {name: Counter({(_text(entry, "rule"), _text(entry, "evidence")):
                                _count(entry) for entry in entries})
                 for name, entries in found["files"].items()}
    except (ValueError, KeyError, TypeError, AttributeError, RecursionError):
        raise NotUsable("{} is no baseline of this version".format(path)) from None
    return Baseline(path, files)


def load_or_new(path: str) -> Baseline:
    """As `load`; an empty one where there is no such file."""
    return load(path) if os.path.lexists(path) else Baseline(path, {})


def applied(outcome: Outcome, known: Baseline) -> Outcome:
    """The outcome with the known flaws put aside."""
    if outcome.state not in (CLEARS, HELD):
        return outcome
    left_of = Counter(known.files.get(known.name_of(outcome), {}))
    new: List[Flaw] = []
    old: List[DismissedFlaw] = []
    for flaw in outcome.verdict.flaws:
        key = _key(flaw)
        if left_of[key] > 0:
            left_of[key] -= 1
            old.append(DismissedFlaw(flaw, KNOWN, known=True))
        else:
            new.append(flaw)
    verdict = outcome.verdict._replace(flaws=tuple(new),
                                       dismissed=tuple(outcome.verdict.dismissed) + tuple(old))
    held = outcome.findings or any(flaw.severity != "LOW" for flaw in new) \
        or (not old and not verdict.clears)
    return outcome._replace(verdict=verdict, state=HELD if held else CLEARS)


def updated(known: Baseline, outcomes: Sequence[Outcome]) -> Baseline:
    """With the flaws of these outcomes in the place of what was known of the same files; files
    that were not graded keep what is known of them."""
    files = dict(known.files)
    for outcome in outcomes:
        if outcome.state in (grading.NOT_GRADED, grading.NOT_JUDGED):
            continue
        counted = Counter(_key(flaw) for flaw in outcome.verdict.flaws)
        counted.update(_key(gone.flaw) for gone in outcome.verdict.dismissed if gone.known)
        name = known.name_of(outcome)
        files.pop(name, None)
        if counted:
            files[name] = counted
    return Baseline(known.path, files)


def save(known: Baseline) -> None:
    """Writes it, whole or not at all. Raises NotUsable."""
    try:
        dismissals.replace_file(os.path.realpath(known.path), text(known).encode("utf-8"), 0o666)
    except OSError as error:
        raise NotUsable("{}: {}".format(known.path, error.strerror)) from None


def text(known: Baseline) -> str:
    """The file's content: a line for each flaw."""
    files = []
    for name in sorted(known.files):
        entries = ["      " + json.dumps({"rule": rule, "evidence": evidence, "count": count},
                                         ensure_ascii=True)
                   for (rule, evidence), count in sorted(known.files[name].items())]
        files.append("    {}: [\n{}\n    ]".format(json.dumps(name), ",\n".join(entries)))
    body = "{\n" + ",\n".join(files) + "\n  }" if files else "{}"
    return "{{\n  \"kelvane_baseline\": {},\n  \"files\": {}\n}}\n".format(FORMAT, body)


def _key(flaw: Flaw) -> Key:
    said = flaw.evidence or flaw.detail
    return flaw.rule or flaw.criterion, dismissals.without_places(said)


def _text(entry, key: str) -> str:
    if not isinstance(entry[key], str):
        raise ValueError
    return entry[key]


def _count(entry) -> int:
    count = entry["count"]
    if not isinstance(count, int) or isinstance(count, bool) or count < 1:
        raise ValueError
    return count
