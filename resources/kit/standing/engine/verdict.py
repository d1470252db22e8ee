"""The verdict, and the two conversions from the service's loosely typed JSON.

The same rules as the application's own model, to the letter: a wrong type counts as a missing key,
the band comes from the service and is never reckoned from the score.
"""

import itertools
from typing import Any, Dict, List, NamedTuple, Optional, Sequence, Tuple

#: Most severe first, as the service ranks them.
BANDS = ("block", "quarantine", "route_to_fix", "ship")
#: Entries of each list of who judged and what nobody judged, and characters of one of their texts.
#: A service of today tells a dozen of some sixty characters; the rest is room.
MOST_ENTRIES = 50
LONGEST_ENTRY = 300


class Flaw(NamedTuple):
    """One itemised finding. The last three are there when the service (or a rule) tells them."""

    severity: str
    criterion: str
    detail: str
    rule: str = ""
    place: str = ""
    evidence: str = ""

    def to_json(self) -> Dict[str, str]:
        """As an object; what is empty and optional is left out."""
        keep = ("severity", "criterion", "detail")
        return {k: v for k, v in self._asdict().items() if v or k in keep}


class DismissedFlaw(NamedTuple):
    """A flaw that does not count: the user said that it is none, or it is `known`, of a baseline."""

    flaw: Flaw
    reason: str = ""
    known: bool = False

    def to_json(self) -> Dict[str, Any]:
        """The flaw's object with the reason."""
        return dict(self.flaw.to_json(), reason=self.reason, known=self.known)


class CheckedBy(NamedTuple):
    """An engine that looked at the work: "hunspell", "1.7.1", "spelling, English"."""

    engine: str
    version: str = ""
    knows: str = ""

    def to_json(self) -> Dict[str, str]:
        """As an object with all three."""
        return dict(self._asdict())


class NotChecked(NamedTuple):
    """Something about the work that nobody there judged, why, and what would change that."""

    what: str
    why: str = ""
    remedy: str = ""

    def to_json(self) -> Dict[str, str]:
        """As an object with all three."""
        return dict(self._asdict())


class Verdict(NamedTuple):
    """The result of one grading. `error` is present only on failure; `notice` may explain a
    verdict without band where the protocol gives it no error (an iteration that was refused);
    `status` is the HTTP status of a submission that was refused. The last two are empty where the
    service does not tell them."""

    band: str = "unknown"
    score: Optional[float] = None
    flaws: tuple = ()
    run_id: Optional[str] = None
    warming: bool = False
    error: Optional[str] = None
    notice: Optional[str] = None
    status: Optional[int] = None
    checked_by: Tuple[CheckedBy, ...] = ()
    not_checked: Tuple[NotChecked, ...] = ()
    dismissed: Tuple[DismissedFlaw, ...] = ()

    @property
    def clears(self) -> bool:
        """Whether the work clears the user's bar."""
        return self.band == "ship"

    @property
    def is_beyond_the_service(self) -> bool:
        """Whether the service answered, and says that nobody there knows this kind of work."""
        return self.band == "unknown" and self.error is None and bool(self.not_checked)

    def to_json(self) -> Dict[str, Any]:
        """As an object with the fields of the application's own record."""
        return {"band": self.band, "clears": self.clears, "score": self.score,
                "flaws": [flaw.to_json() for flaw in self.flaws], "run_id": self.run_id,
                "warming": self.warming, "error": self.error,
                "checked_by": [by.to_json() for by in self.checked_by],
                "not_checked": [gap.to_json() for gap in self.not_checked]}


def failure(message: str, warming: bool = False, notice: Optional[str] = None) -> Verdict:
    """The verdict of a grading that did not come to one."""
    return Verdict(error=message, warming=warming, notice=notice)


def string(value: Any, key: str) -> Optional[str]:
    """The string under `key`; None when the key is missing or holds anything else."""
    found = value.get(key) if isinstance(value, dict) else None
    return found if isinstance(found, str) else None


def obj(value: Any, key: str) -> Dict[str, Any]:
    """The object under `key`, or an empty one."""
    found = value.get(key) if isinstance(value, dict) else None
    return found if isinstance(found, dict) else {}


def parse_band(text: Optional[str]) -> str:
    """Lower-cased and matched exactly; anything else is "unknown"."""
    lowered = (text or "").lower()
    return lowered if lowered in BANDS else "unknown"


def parse_flaws(value: Any) -> List[Flaw]:
    """All flaws in the service's order; none at all when the value is not a list of objects."""
    if not isinstance(value, list) or not all(isinstance(item, dict) for item in value):
        return []
    return [Flaw((string(item, "severity") or "").upper(),
                 _first(item, "criterion", "name"),
                 _first(item, "detail", "evidence", "description"),
                 _first(item, "rule"), _first(item, "place"), _first(item, "evidence"))
            for item in value]


def parse_dismissed(value: Any) -> Tuple[DismissedFlaw, ...]:
    """What the service says the user has dismissed, with the reasons."""
    flaws = parse_flaws(value)
    return tuple(DismissedFlaw(flaw, _bounded(string(item, "reason") or ""))
                 for flaw, item in zip(flaws, value or ()))


def parse_checked_by(value: Any) -> Tuple[CheckedBy, ...]:
    """The engines in a list of objects, in its order; what has no name is passed over."""
    return tuple(CheckedBy(*texts) for texts in _entries(value, CheckedBy._fields))


def parse_not_checked(value: Any) -> Tuple[NotChecked, ...]:
    """The gaps in a list of objects, in its order; what does not say what it is is passed over."""
    return tuple(NotChecked(*texts) for texts in _entries(value, NotChecked._fields))


def verdict_from(summary: Dict[str, Any], run_id: Optional[str]) -> Verdict:
    """The verdict in a job's result_summary or an iteration's critic_verdict."""
    band = string(summary, "band")
    if band is None:
        band = string(summary, "decision")
    return Verdict(parse_band(band), _number(summary.get("score")),
                   tuple(parse_flaws(summary.get("flaws"))), run_id,
                   checked_by=parse_checked_by(summary.get("checked_by")),
                   not_checked=parse_not_checked(summary.get("not_checked")),
                   dismissed=parse_dismissed(summary.get("dismissed")))


def _entries(value: Any, keys: Sequence[str]) -> List[List[str]]:
    """At most MOST_ENTRIES rows of bounded texts; the first text of each is not empty."""
    if not isinstance(value, list) or not all(isinstance(item, dict) for item in value):
        return []
    rows = ([_bounded(string(item, key) or "") for key in keys] for item in value)
    return list(itertools.islice((row for row in rows if row[0]), MOST_ENTRIES))


def _bounded(text: str) -> str:
    return text if len(text) <= LONGEST_ENTRY else text[:LONGEST_ENTRY - 1] + "…"


def _first(item: Dict[str, Any], *keys: str) -> str:
    for key in keys:
        text = string(item, key)
        if text is not None:
            return text
    return ""


def _number(value: Any) -> Optional[float]:
    if isinstance(value, bool) or not isinstance(value, (int, float)):
        return None
    try:
        return float(value)
    except OverflowError:
        return None
