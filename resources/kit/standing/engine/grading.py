"""One artifact in, one outcome out: the standing rules, the service, and what it all means.

    outcome = grading.grade(artifact, settings=settings.load(), rules=standing.load(), intent="…")
    outcome.state       # CLEARS, HELD, NOT_JUDGED or NOT_GRADED
    outcome.reason      # a sentence when NOT_JUDGED or NOT_GRADED
    outcome.flaws       # the service's and those found on this machine

A secret found here holds the work even when the service, which never saw it, lets it pass or
cannot judge the rest. NOT_JUDGED is work that the service looked at and that nobody there knows: an
answer, not a failure, and no clearance either.
"""

import time
from typing import Any, Dict, NamedTuple, Optional, Sequence, Tuple

from . import client, dismissals, standing, transport
from .judged import Judged
from .parts import Artifact, NotGradable, from_file
from .settings import Settings
from .verdict import Flaw, NotChecked, Verdict, failure

CLEARS, HELD, NOT_JUDGED, NOT_GRADED = "clears", "held", "not_judged", "not_graded"
EXIT_CODES = {CLEARS: 0, HELD: 1, NOT_JUDGED: 3, NOT_GRADED: 3}
MOST_GAPS = 3   # named in one sentence; the rest is counted
INTENT = "Validate this work before it ships."
#: What is said of work that nobody said anything of, at the end of a turn.
TURN_INTENT = "Validate the files that a coding agent changed before they ship."
NO_KEY = ("there is no key: set BRASK_API_KEY or put the key into {}; "
          "the local service prints its own with `trevix-local --print-key`")


class Outcome(NamedTuple):
    """What came of grading one artifact."""

    name: str
    path: Optional[str]
    modality: str
    state: str
    verdict: Verdict
    findings: Tuple[Flaw, ...] = ()     # of the standing rules, on this machine
    reason: Optional[str] = None        # why it neither clears nor is held; present exactly then
    notes: Tuple[str, ...] = ()
    artifact: Optional[Artifact] = None     # what was sent
    kept: bool = False      # the standing rules, or a file that cannot be read, kept it here

    @property
    def flaws(self) -> Tuple[Flaw, ...]:
        """Found here first, then the service's."""
        return self.findings + tuple(self.verdict.flaws)

    @property
    def exit_code(self) -> int:
        """0 clears, 1 held, 3 could not be graded: nobody could, or nobody was reached."""
        return EXIT_CODES[self.state]

    def to_json(self) -> Dict[str, Any]:
        """As an object; the work itself is not in it."""
        return {"name": self.name, "modality": self.modality, "state": self.state,
                "band": self.verdict.band, "score": self.verdict.score,
                "run_id": self.verdict.run_id, "flaws": [f.to_json() for f in self.flaws],
                "reason": self.reason, "notes": list(self.notes),
                "checked_by": [by.to_json() for by in self.verdict.checked_by],
                "not_checked": [gap.to_json() for gap in self.verdict.not_checked],
                "dismissed": [gone.to_json() for gone in self.verdict.dismissed]}


def worst(outcomes) -> int:
    """The exit code of several: what could not be graded is worse than what is held."""
    return max((outcome.exit_code for outcome in outcomes), default=EXIT_CODES[NOT_GRADED])


def grade_file(path: str, settings: Settings, rules: standing.RuleSet,
               modality: Optional[str] = None, *, name: Optional[str] = None,
               source: bool = False, **options) -> Outcome:
    """Grades one file. What the rules never send is not even read."""
    from .file_types import of_name
    start = time.monotonic()
    kind = of_name(path, source)
    declared = modality or (kind.modality if kind else "text")
    shown = name or path
    refused = rules.refusal(path, declared)
    if refused:
        return not_graded(shown, "{}: {}".format(shown, refused), declared, path, kept=True)
    try:
        artifact = from_file(path, modality, name=name, source=source)
    except NotGradable as error:
        return not_graded(shown, str(error), declared, path, kept=True)
    if "deadline" in options:  # what reading took is part of it
        options["deadline"] = max(0.0, options["deadline"] - int(time.monotonic() - start))
    return grade(artifact, settings, rules, **options)


def grade(artifact: Artifact, settings: Settings, rules: standing.RuleSet, *,
          vertical: Optional[str] = None, intent: Optional[str] = None,
          policy: Optional[str] = None, iterate: Optional[str] = None,
          deadline: float = client.DEADLINE, first: Optional[float] = None,
          judged: Optional[Judged] = None, **options) -> Outcome:
    """Screens the artifact and grades what may be sent; with `iterate`, the id of a run, as its
    revision. A service of this machine is asked again after `first` seconds. `judged` remembers the
    verdict, on a revision where it knows the run. `options` go to the client: progress, cancel,
    hard."""
    screened = standing.screen(rules, artifact)
    if screened.refused is not None or screened.artifact is None:
        return not_graded(artifact.name, screened.refused or "", artifact.modality,
                          artifact.path, screened.findings, screened.notes, kept=True)
    if not settings.key:
        return not_graded(artifact.name, NO_KEY.format(settings.folder + "/key"),
                          artifact.modality, artifact.path, screened.findings, screened.notes)
    words = standing.screen_text(INTENT if intent is None else intent)
    sent = screened.artifact
    problem = transport.problem_with(settings.base)
    if problem is not None:
        notes = screened.notes + ("nothing can be reached at {}: {}".format(
            settings.base, problem),)
        screened = screened._replace(notes=notes)
    if iterate is not None:
        verdict = client.iterate(iterate, sent.parts, words, settings=settings,
                                 deadline=deadline, **options)
    else:
        if first is not None and transport.is_of_this_machine(settings.base):
            options["first"] = first
        verdict = client.grade(sent.parts, sent.modality, vertical, words,
                               policy or settings.policy_id, deadline, settings=settings,
                               **options)
    if judged is not None:
        own = None if intent in (INTENT, TURN_INTENT) else intent
        question = judged.question(policy, vertical, own)
        if iterate is None or judged.has_run(iterate, question):
            judged.remember(artifact, question, verdict)
    return _outcome(sent, verdict, screened)


def known(artifact: Artifact, rules: standing.RuleSet, judged: Judged) -> Optional[Outcome]:
    """The outcome of what has been judged already, with the rules of now; None where it has to be
    asked for. Nothing is sent."""
    verdict = judged.verdict(artifact, judged.question())
    screened = standing.screen(rules, artifact) if verdict is not None else None
    if screened is None or screened.artifact is None or screened.refused is not None:
        return None
    return _outcome(screened.artifact, verdict, screened)


def not_graded(name: str, reason: str, modality: str = "text", path: Optional[str] = None,
               findings=(), notes=(), *, kept: bool = False) -> Outcome:
    """The outcome of something that never reached the service."""
    return Outcome(name, path, modality, NOT_GRADED, failure(reason), tuple(findings), reason,
                   tuple(notes), None, kept)


def gaps(not_checked: Sequence[NotChecked]) -> str:
    """What nobody judged, as part of a sentence: at most MOST_GAPS, and how many more."""
    said = [_gap(gap) for gap in not_checked[:MOST_GAPS]]
    left = len(not_checked) - len(said)
    return ", ".join(said) + (" and {} more".format(left) if left > 0 else "")


def _gap(gap: NotChecked) -> str:
    why = "; ".join(text for text in (gap.why, gap.remedy) if text)
    return "{} ({})".format(gap.what, why) if why else gap.what


def _outcome(sent: Artifact, verdict: Verdict, screened: standing.Screened) -> Outcome:
    # The local service has put them aside already; others do not know them.
    left, gone = dismissals.applied(verdict.flaws, dismissals.load())
    by_word = bool(gone) and not left
    verdict = verdict._replace(flaws=left, dismissed=tuple(verdict.dismissed) + gone)
    reason = None
    if not verdict.is_beyond_the_service:
        reason = _why_no_verdict(verdict)
    elif not screened.findings:
        reason = "nobody here can judge this: " + gaps(verdict.not_checked)
    if reason is not None:
        state = NOT_JUDGED if verdict.is_beyond_the_service else NOT_GRADED
    elif screened.findings or not (verdict.clears or by_word):
        state = HELD
    else:
        state = CLEARS
    return Outcome(sent.name, sent.path, sent.modality, state, verdict, screened.findings, reason,
                   screened.notes, sent)


def _why_no_verdict(verdict: Verdict) -> Optional[str]:
    if verdict.error is not None:
        return verdict.error + (" (the grader was still warming up)" if verdict.warming else "")
    if verdict.band == "unknown":
        return verdict.notice or "the service gave no verdict"
    # A service that cannot read a kind of work has not judged it.
    if verdict.flaws and all(flaw.rule == "artifact.unreadable" for flaw in verdict.flaws):
        return "the service cannot read this kind of work: " + verdict.flaws[0].detail
    return None
