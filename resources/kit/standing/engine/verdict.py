"""The verdict, and the two conversions from the service's loosely typed JSON.

The same rules as the application's own model, to the letter: a wrong type counts as a missing key,
the band comes from the service and is never reckoned from the score.
"""

from typing import Any, Dict, List, NamedTuple, Optional

#: Most severe first, as the service ranks them.
BANDS = ("block", "quarantine", "route_to_fix", "ship")


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


class Verdict(NamedTuple):
    """The result of one grading. `error` is present only on failure; `notice` may explain a
    verdict without band where the protocol gives it no error (an iteration that was refused);
    `status` is the HTTP status of a submission that was refused."""

    band: str = "unknown"
    score: Optional[float] = None
    flaws: tuple = ()
    run_id: Optional[str] = None
    warming: bool = False
    error: Optional[str] = None
    notice: Optional[str] = None
    status: Optional[int] = None

    @property
    def clears(self) -> bool:
        """Whether the work clears the user's bar."""
        return self.band == "ship"

    def to_json(self) -> Dict[str, Any]:
        """As an object with the fields of the application's own record."""
        return {"band": self.band, "clears": self.clears, "score": self.score,
                "flaws": [flaw.to_json() for flaw in self.flaws], "run_id": self.run_id,
                "warming": self.warming, "error": self.error}


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


def verdict_from(summary: Dict[str, Any], run_id: Optional[str]) -> Verdict:
    """The verdict in a job's result_summary or an iteration's critic_verdict."""
    band = string(summary, "band")
    if band is None:
        band = string(summary, "decision")
    return Verdict(parse_band(band), _number(summary.get("score")),
                   tuple(parse_flaws(summary.get("flaws"))), run_id)


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
