"""Outcomes as SARIF 2.1.0, which code hosts and editors read.

A finding that names a line is placed there when the lines graded are the file's own. What was read
out of a document has no lines that an editor could open: it is placed at the file as a whole, and
its place stands in the message.
"""

import hashlib
import json
import os
import re
import urllib.parse
from typing import Any, Dict, List, NamedTuple, Optional, Sequence, Tuple

from .version import VERSION
from .grading import NOT_JUDGED, Outcome, gaps
from .verdict import DismissedFlaw, Flaw

SCHEMA = "https://json.schemastore.org/sarif-2.1.0.json"
_LEVELS = {"CRITICAL": "error", "HIGH": "error", "MEDIUM": "warning", "LOW": "note"}
_RANKS = {"CRITICAL": 100.0, "HIGH": 75.0, "MEDIUM": 50.0, "LOW": 25.0}
_PLACE = re.compile(r"(?:^|, )lines? (\d{1,9})(?:, columns? (\d{1,9}))?")
_PART = re.compile(r"^part (\d{1,6})\b")


class _At(NamedTuple):
    """Where a flaw is: the artifact's part it belongs to, and the line in it."""

    part: int
    line: Optional[int]
    column: Optional[int]


def document(outcomes: Sequence[Outcome]) -> str:
    """One run with a result for each flaw. What could not be graded is a notification, and so, as a
    note, is what was not checked; whoever judged besides the validator is an extension of it."""
    rules: List[Dict[str, Any]] = []
    index: Dict[str, int] = {}
    results = [_result(outcome, flaw, rules, index)
               for outcome in outcomes for flaw in outcome.flaws]
    results += [_suppressed(outcome, gone, rules, index)
                for outcome in outcomes for gone in outcome.verdict.dismissed]
    troubles = [_notification(
        outcome, "warning" if outcome.state == NOT_JUDGED else "error", outcome.reason)
                for outcome in outcomes if outcome.reason is not None]
    notes = [_notification(outcome, "note", "not checked: " + gaps((gap,)))
             for outcome in outcomes for gap in outcome.verdict.not_checked]
    tool: Dict[str, Any] = {"driver": {"name": "Kelvane validator", "version": VERSION,
                                       "semanticVersion": VERSION, "rules": rules}}
    judges = _extensions(outcomes)
    if judges:
        tool["extensions"] = judges
    run = {
        "tool": tool,
        "columnKind": "unicodeCodePoints",
        "invocations": [{"executionSuccessful": not troubles,
                         "toolExecutionNotifications": troubles + notes}],
        "results": results,
    }
    return json.dumps({"$schema": SCHEMA, "version": "2.1.0", "runs": [run]},
                      ensure_ascii=False, indent=2) + "\n"


def _result(outcome: Outcome, flaw: Flaw, rules: List, index: Dict[str, int]) -> Dict[str, Any]:
    rule = flaw.rule or _slug(flaw.criterion)
    if rule not in index:
        index[rule] = len(rules)
        rules.append({"id": rule, "shortDescription": {"text": flaw.criterion or rule}})
    result: Dict[str, Any] = {
        "ruleId": rule, "ruleIndex": index[rule],
        "level": _LEVELS.get(flaw.severity, "warning"),
        "rank": _RANKS.get(flaw.severity, 50.0),
        "message": {"text": flaw.detail or flaw.criterion or rule},
        "partialFingerprints": {"kelvane/v1": _fingerprint(outcome, rule, flaw)},
        "properties": {"severity": flaw.severity, "band": outcome.verdict.band}}
    location = _location(outcome, flaw)
    if location:
        result["locations"] = [location]
    return result


def _suppressed(outcome: Outcome, gone: DismissedFlaw, rules: List,
                index: Dict[str, int]) -> Dict[str, Any]:
    """A result that viewers hide and count apart: what is dismissed, or of the baseline."""
    result = _result(outcome, gone.flaw, rules, index)
    suppression: Dict[str, Any] = {"kind": "external", "status": "accepted"}
    if gone.reason:
        suppression["justification"] = gone.reason
    result["suppressions"] = [suppression]
    if gone.known:
        result["baselineState"] = "unchanged"
    return result


def _location(outcome: Outcome, flaw: Flaw) -> Optional[Dict[str, Any]]:
    if outcome.path is None:
        return None
    physical: Dict[str, Any] = {"artifactLocation": {"uri": uri(outcome.path)}}
    at = _where(flaw.place)
    parts = outcome.artifact.parts if outcome.artifact else ()
    known = at.part < len(parts) and parts[at.part].same_lines
    if at.line and known:
        physical["region"] = {"startLine": at.line}
        if at.column:
            physical["region"]["startColumn"] = at.column
    location: Dict[str, Any] = {"physicalLocation": physical}
    if flaw.place and not (at.line and known):
        location["logicalLocations"] = [{"name": flaw.place, "kind": "member"}]
    return location


def _where(place: str) -> _At:
    part = _PART.match(place)
    line = _PLACE.search(place)
    return _At(int(part.group(1)) - 1 if part else 0,
               int(line.group(1)) or None if line else None,
               int(line.group(2)) or None if line and line.group(2) else None)


def _extensions(outcomes: Sequence[Outcome]) -> List[Dict[str, Any]]:
    """Each engine once, with everything that it judged."""
    knows: Dict[Tuple[str, str], List[str]] = {}
    for outcome in outcomes:
        for by in outcome.verdict.checked_by:
            known = knows.setdefault((by.engine, by.version), [])
            if by.knows and by.knows not in known:
                known.append(by.knows)
    found = []
    for (engine, version), known in knows.items():
        component: Dict[str, Any] = {"name": engine}
        if version:
            component["version"] = version
        if known:
            component["properties"] = {"knows": known}
        found.append(component)
    return found


def _notification(outcome: Outcome, level: str, text: Optional[str]) -> Dict[str, Any]:
    found: Dict[str, Any] = {"level": level, "message": {"text": "{}: {}".format(
        outcome.name, text)}}
    if outcome.path is not None:
        found["locations"] = [
            {"physicalLocation": {"artifactLocation": {"uri": uri(outcome.path)}}}]
    return found


def uri(path: str) -> str:
    """A relative reference for a path below the current folder, else a file address."""
    if os.path.isabs(path):
        relative = os.path.relpath(path)
        if relative.split(os.sep)[0] == os.pardir:
            return "file://" + urllib.parse.quote(path.replace(os.sep, "/"))
        path = relative
    return urllib.parse.quote(os.path.normpath(path).replace(os.sep, "/"))


def _fingerprint(outcome: Outcome, rule: str, flaw: Flaw) -> str:
    """Stays the same while the finding only moves."""
    said = flaw.evidence or re.sub(r"\d+", "#", flaw.detail)
    text = "\0".join((uri(outcome.path) if outcome.path else outcome.name, rule, said))
    return hashlib.sha256(text.encode("utf-8", "replace")).hexdigest()[:32]


def _slug(text: str) -> str:
    return re.sub(r"[^a-z0-9]+", "-", text.lower()).strip("-") or "flaw"
