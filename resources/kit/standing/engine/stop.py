"""The end of a turn: the changed files are graded, and the verdicts become one answer.

Files of one kind go out as one submission, all submissions at once, within one deadline. What came
of it is remembered by content, so that a file is graded again when it changed and only then. What
anybody else has had judged meanwhile, the agent itself by MCP for one, is not sent either: that
verdict counts.
"""

import hashlib
import os
import threading
import time

from . import LONGEST_ANSWER, feedback, file_types, grading, parts, report, standing
from .judged import Judged
from .reachability import DOWN_SECONDS, SLOW_SECONDS
from .settings import report_page
from .verdict import BANDS

MOST_FILES = 40
MOST_SUBMISSIONS = 4
MOST_TRIES = 3
PATIENCE = 10.0         # seconds for which the service may stay silent, where somebody waits
MOST_OPEN = 50          # flaws of a file that are remembered, to tell which were fixed
LONGEST_PROJECT = 100   # characters of the name of its folder
LONGEST_FACT = 1000     # characters of one line for the user


class Group:
    """The changed files of one modality on their way to a verdict, or one that has its outcome."""

    def __init__(self, modality, outcome=None):
        self.modality = modality
        self.artifacts = []
        self.hashes = {}    # path -> digest of the content
        self.outcome = outcome

    def add(self, path, artifact, digest):
        """One file more."""
        self.artifacts.append(artifact)
        self.hashes[path] = digest

    def artifact(self):
        """All of it as one submission."""
        if len(self.artifacts) == 1:
            return self.artifacts[0]
        return parts.together(self.artifacts, self.modality)

    def digest(self):
        """Tells this content from any other."""
        text = "\n".join("{} {}".format(d, p) for p, d in sorted(self.hashes.items()))
        return hashlib.sha256(text.encode("utf-8", "replace")).hexdigest()[:32]


def grade_changes(paths, project, settings, state, going_on, is_shown=True):
    """The hook's answer, or None. `going_on`: a Stop hook already keeps the turn alive. `is_shown`:
    the tool shows its user something; where it does not, what was fixed waits for the next thing
    that the agent is told. What reading the files takes is part of the time that there is."""
    start = time.monotonic()
    until = start + settings.hook_seconds
    memory = state.load()
    rules, judged = standing.load(), Judged(settings)
    groups, left = _groups(paths, project, rules, memory, judged, until)
    if not groups:
        state.settle()
        return None
    asked = time.monotonic()
    _grade([g for g in groups if g.outcome is None], settings, rules, judged, until)
    trouble = _trouble(groups, time.monotonic() - asked)
    for group in groups:
        if _is_over(group, memory):
            memory["graded"].update(group.hashes)
    beyond = _beyond(groups, memory)
    fixed = _joined(memory["unsaid"], _settled(groups, memory))
    held = [g for g in groups if g.outcome.state == grading.HELD]
    fresh = [g for g in held if g.digest() not in memory["reported"]]
    memory["reported"] += [g.digest() for g in fresh]
    turn = _turn(groups, project, settings)
    if turn:
        state.note_turn(turn)
    broken = [problem for problem in rules.problems if problem not in memory["told"]][:5]
    memory["told"] += broken
    said = _answer(groups, held, fresh, going_on, trouble, left, settings, fixed)
    memory["unsaid"] = {} if is_shown or "reason" in (said or {}) else fixed
    state.save(memory)
    if trouble is None:
        state.settle()
        state.note_up()
    else:
        state.note_down(DOWN_SECONDS[trouble])
    return _with_lines(said, beyond + ["standing rules: " + report.clean(p) for p in broken])


def _groups(paths, project, rules, memory, judged, until):
    """What has its verdict already, each file apart; what is to be graded, by modality; and how
    many files are more than are graded at once, or than were read in half of the time."""
    until -= (until - time.monotonic()) / 2
    known, groups, count, left = [], {}, 0, 0
    for path in paths:
        kind = file_types.of_name(path, source=True)
        modality = kind.modality if kind else "text"
        if not os.path.isfile(path) or rules.refusal(path, modality):
            continue
        if count >= MOST_FILES or time.monotonic() > until:
            left += 1
            continue
        try:
            artifact = parts.from_file(path, name=parts.shown_name(path, project), source=True)
        except parts.NotGradable:
            continue
        digest = _digest(artifact)
        if memory["graded"].get(path) == digest:
            continue
        if _is_kept(rules, artifact) or not any(p.text or p.data for p in artifact.parts):
            continue
        artifact = artifact._replace(name=artifact.parts[0].logical_name)
        outcome = grading.known(artifact, rules, judged)
        if outcome is not None:
            known.append(Group(artifact.modality, outcome))
            known[-1].add(path, artifact, digest)
            continue
        groups.setdefault(artifact.modality, Group(artifact.modality)).add(path, artifact, digest)
        count += 1
    chosen = list(groups.values())
    left += sum(len(group.artifacts) for group in chosen[MOST_SUBMISSIONS:])
    return known + chosen[:MOST_SUBMISSIONS], left


def _is_kept(rules, artifact):
    """Whether the standing rules keep this file here. Its secrets are looked for only where one of
    them would: what is sent is looked through on its way, within the deadline."""
    if rules.rules(artifact.modality).secrets == "stop":
        return standing.screen(rules, artifact).refused is not None
    return standing.refusal(rules, artifact) is not None


def _digest(artifact):
    whole = hashlib.sha256()
    for part in artifact.parts:
        whole.update((part.text or "").encode("utf-8", "replace") + (part.data or b"") + b"\0")
    return whole.hexdigest()[:32]


def _grade(groups, settings, rules, judged, until):
    """Gives every group its outcome, within the deadline in any case."""
    cancel = threading.Event()

    def one(group):
        artifact, several = group.artifact(), len(group.artifacts) > 1
        found = grading.known(artifact, rules, judged) if several else None
        if found is None:
            found = grading.grade(artifact, settings, rules, intent=grading.TURN_INTENT,
                                  cancel=cancel, hard=True, judged=judged, patience=PATIENCE,
                                  deadline=max(0.0, until - time.monotonic()))
        if several:
            _remember_apart(group, found, judged)
        group.outcome = found

    threads = [threading.Thread(target=one, args=(g,), daemon=True) for g in groups]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(max(0.0, until - time.monotonic()))
    cancel.set()
    for group in groups:
        if group.outcome is None:
            group.outcome = grading.not_graded(
                group.modality, "grade timed out after {}s".format(int(settings.hook_seconds)))


def _remember_apart(group, outcome, judged):
    """Several files in which nothing at all was found clear apart too. Of any others only the
    verdict on just these files together is known."""
    if outcome.state == grading.CLEARS and not (outcome.verdict.flaws or outcome.verdict.dismissed):
        for artifact in group.artifacts:
            judged.remember(artifact, judged.question(), outcome.verdict)


def _turn(groups, project, settings):
    """The verdict on the whole turn, which is the worst one, without the work or the names of its
    files; None when there is none."""
    judged = [g.outcome for g in groups if g.outcome.state in (grading.HELD, grading.CLEARS)
              and g.outcome.verdict.band in BANDS]
    if not judged:
        return None
    worst = min(judged, key=lambda outcome: BANDS.index(outcome.verdict.band))
    return {"project": os.path.basename(project.rstrip(os.sep))[:LONGEST_PROJECT],
            "band": worst.verdict.band, "score": worst.verdict.score,
            "flaws": sum(len(outcome.flaws) for outcome in judged),
            "run_id": worst.verdict.run_id, "service": settings.base}


def _is_over(group, memory):
    """Whether this content need not be sent again: it has been judged, or never will be."""
    outcome = group.outcome
    if outcome.state != grading.NOT_GRADED or _is_unreadable(outcome) or _was_kept(outcome):
        return True
    # The service may object to this very content. Three times are enough to find out.
    memory["tried"].append(group.digest())
    return memory["tried"].count(group.digest()) >= MOST_TRIES


def _trouble(groups, seconds):
    """Why the service is better left alone for a while; None when it is well. `seconds` is how long
    it was waited for: one that is merely away says so at once."""
    lost = [g.outcome for g in groups if g.outcome.state == grading.NOT_GRADED
            and not _is_unreadable(g.outcome) and not _was_kept(g.outcome)]
    if any(outcome.verdict.status in (401, 403) for outcome in lost):
        return "refused"
    if any(outcome.reason.startswith("grade timed out") for outcome in lost):
        return "slow"
    if lost and seconds >= SLOW_SECONDS:
        return "slow"
    return "unreachable" if lost else None


def _beyond(groups, memory):
    """What nobody at the service can judge, as facts for the user, each told once."""
    facts = []
    for group in groups:
        if group.outcome.state != grading.NOT_JUDGED:
            continue
        fact = "{}: {}".format(report.facts(group.outcome, 0)[0],
                               report.clean(group.outcome.reason))[:LONGEST_FACT]
        mark = hashlib.sha256(fact.encode("utf-8", "replace")).hexdigest()[:32]
        if mark not in memory["told"]:
            memory["told"].append(mark)
            facts.append(fact)
    return facts


def _was_kept(outcome):
    """Whether the standing rules kept the work on this machine."""
    return outcome.state == grading.NOT_GRADED and outcome.kept


def _is_unreadable(outcome):
    return outcome.reason is not None and outcome.verdict.error is None \
        and outcome.verdict.band != "unknown"


def _answer(groups, held, fresh, going_on, trouble, left, settings, fixed):
    if fresh and not going_on:
        return {"decision": "block", "reason": _facts(fresh, left, settings, fixed)}
    lines = []
    if held:
        lines = [report.facts(g.outcome, 0)[0] for g in held]
    elif going_on and trouble is None:
        lines = [report.facts(g.outcome, 0)[0] for g in groups
                 if g.outcome.state == grading.CLEARS]
    elif trouble in ("refused", "slow"):
        lines = [report.clean(g.outcome.reason) for g in groups if g.outcome.reason][:1]
    lines += feedback.told_settled(fixed)
    return {"systemMessage": "Kelvane: " + "; ".join(lines)[:1000]} if lines else None


def _with_lines(said, lines):
    """The answer, and further lines for the user."""
    if not lines:
        return said
    said = dict(said or {})
    told = [said["systemMessage"]] if "systemMessage" in said else []
    told += ["Kelvane: " + line for line in lines]
    said["systemMessage"] = "\n".join(told)
    return said


def _facts(groups, left, settings, fixed):
    """What an agent needs to know, without telling it what to do."""
    lines = ["Kelvane graded the files changed in this turn. This work does not clear yet:"]
    for group in groups:
        lines.append(report.facts(group.outcome, 0)[0])
        lines += ["  note: " + report.clean(note)[:LONGEST_FACT] for note in group.outcome.notes[:5]]
        run_id = group.outcome.verdict.run_id
        page = report_page(settings.base, report.clean(run_id)) if run_id else None
        if page:
            lines.append("  report: " + page)
    more = feedback.told_settled(fixed)
    if left:
        more.append("{} more changed files were not graded.".format(left))
    around = "\n".join(lines + more)[:LONGEST_ANSWER // 2]
    flaws = [one for group in groups for one in feedback.located(group.outcome)]
    said = feedback.lines(flaws, LONGEST_ANSWER - len(around) - 2)
    return "\n".join(lines + said + more)[:LONGEST_ANSWER]


def _joined(unsaid, fixed):
    """What was fixed by file: of earlier turns as far as nobody was told, and of this one."""
    return {name: (unsaid.get(name, []) + fixed.get(name, []))[-MOST_OPEN:]
            for name in list(dict.fromkeys(list(unsaid) + list(fixed)))}


def _settled(groups, memory):
    """What of the flaws that were told is fixed; what is open now is remembered."""
    fixed = {}
    for group in groups:
        if group.outcome.state not in (grading.HELD, grading.CLEARS):
            continue
        now = feedback.located(group.outcome)
        files = [report.clean(artifact.name) for artifact in group.artifacts]
        fixed.update(feedback.settled(memory["open"], files, now))
        for name in files:
            memory["open"].pop(name, None)
            left = [feedback.mark(one) for one in now if one.place.file == name]
            if left:
                memory["open"][name] = left[:MOST_OPEN]
    return fixed
