"""What is no flaw, because the user said so: `brask dismiss`, and what it does to a verdict.

    said = dismissals.load()
    left, gone = dismissals.applied(verdict.flaws, said)

A dismissal is remembered by rule and evidence, so that it holds wherever the same words stand and no
longer once they change. Where the evidence does not tell one case from another, because it is empty,
hides a part of what it quotes or counts what is not listed, it holds at its place alone. Nothing that
is dismissed is dropped: every report shows it as that, with its reason.

They stand in `$XDG_CONFIG_HOME/kelvane/dismissed.tsv`, else under `~/.config`, where the local service
reads and writes them too: time, rule, evidence, place and reason, parted by tabs. A change is whole
or not there at all, and whoever else edits the file takes turns with us by locking its folder.
"""

import os
import re
import time
from typing import Callable, List, NamedTuple, Optional, Sequence, Tuple

from .verdict import DismissedFlaw, Flaw

LARGEST = 4 << 20           # bytes
LONGEST_REASON = 500
LONGEST_EVIDENCE = 120      # characters that a service quotes at most
_HEAD = ("# What is no flaw: time, rule, evidence, place, reason, parted by tabs. "
         "A line that is deleted is undone.\n")
_PLACE = re.compile(
    r"(?i:(?<![a-z])(lines?|rows?|columns?|pages?|cells?|parts?|slides?)) "
    r"([A-Z]{0,3}[0-9]+)(?![A-Za-z0-9])")
_COUNT = re.compile(r"[0-9]+ more\Z")
_CONTROL = re.compile(r"[\x00-\x1f\x7f]")
#: Of the standing rules: what never leaves this machine is not for a list of opinions.
_HELD_HERE = "standing."


class Dismissal(NamedTuple):
    """One line of the file. An empty place means wherever it stands."""

    rule: str
    evidence: str = ""
    place: str = ""
    reason: str = ""
    when: str = ""

    @property
    def key(self) -> Tuple[str, str, str]:
        """What it is about."""
        return self.rule, self.evidence, self.place


class NotChanged(Exception):
    """The file could not be changed, with the sentence to show."""


def path() -> str:
    """Where the dismissals stand."""
    folder = os.environ.get("XDG_CONFIG_HOME", "")
    if not os.path.isabs(folder):
        folder = os.path.join(os.path.expanduser("~"), ".config")
    return os.path.join(folder, "kelvane", "dismissed.tsv")


def without_places(evidence: str) -> str:
    """The evidence without what only tells where it stands: "line 12" and "line 14" are the same."""
    return _PLACE.sub(r"\1 #", evidence)


def needs_place(evidence: str) -> bool:
    """Whether such evidence does not tell one case from another."""
    at = evidence.find("…")
    hides = at >= 0 and (at + 1 < len(evidence) or len(evidence) < LONGEST_EVIDENCE)
    return not evidence or hides or _COUNT.match(evidence) is not None


def of(flaw: Flaw) -> Dismissal:
    """What dismissing this very flaw remembers."""
    return Dismissal(flaw.rule, _line(without_places(flaw.evidence)),
                     _line(flaw.place) if needs_place(flaw.evidence) else "")


def load(file: Optional[str] = None) -> List[Dismissal]:
    """All of them, in the order of saying; none where the file cannot be read."""
    try:
        text = _read(file or path())
    except NotChanged:
        return []
    return [found for found in map(_parsed, text.splitlines()) if found is not None]


def applied(flaws: Sequence[Flaw], said: Sequence[Dismissal]):
    """The flaws that are left, and those that are dismissed, each in their order."""
    known = {one.key: one for one in said}
    left, gone = [], []
    for flaw in flaws:
        one = None
        if flaw.rule and not flaw.rule.startswith(_HELD_HERE):
            key = of(flaw)
            one = known.get(key.key) or known.get(key._replace(place=_line(flaw.place)).key)
        if one is None:
            left.append(flaw)
        else:
            gone.append(DismissedFlaw(flaw, one.reason))
    return tuple(left), tuple(gone)


def add(dismissal: Dismissal, file: Optional[str] = None,
        now: Callable[[], float] = time.time) -> bool:
    """Remembers it; False when it is there already. Raises NotChanged."""
    when = time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(now()))
    line = "\t".join([when] + [_line(part) for part in (
        dismissal.rule, dismissal.evidence, dismissal.place, dismissal.reason[:LONGEST_REASON])])
    wanted = _parsed(line)
    if wanted is None:
        raise NotChanged("a dismissal needs a rule")

    def change(text: str) -> str:
        if any(_is(each, wanted) for each in text.splitlines()):
            return text
        text = text or _HEAD
        return text + ("" if text.endswith("\n") else "\n") + line + "\n"
    return _edit(file or path(), change)


def remove(dismissal: Dismissal, file: Optional[str] = None) -> bool:
    """Forgets it, whatever its reason; False when it is not there. Raises NotChanged."""
    def change(text: str) -> str:
        return "".join(each for each in text.splitlines(True) if not _is(each, dismissal))
    return _edit(file or path(), change)


def _line(text: str) -> str:
    return _CONTROL.sub(" ", text).strip(" ")


def _is(line: str, dismissal: Dismissal) -> bool:
    found = _parsed(line.rstrip("\r\n"))
    return found is not None and found.key == dismissal.key


def _parsed(line: str) -> Optional[Dismissal]:
    fields = line.split("\t", 4)
    if line.startswith("#") or len(fields) < 3 or not fields[1]:
        return None
    when, rule, evidence, place, reason = (fields + ["", ""])[:5]
    return Dismissal(rule, evidence, place, reason, when)


def _read(file: str) -> str:
    try:
        with open(file, "rb") as source:
            data = source.read(LARGEST + 1)
    except FileNotFoundError:
        return ""
    except OSError as error:
        raise NotChanged("{}: {}".format(file, error.strerror)) from None
    if len(data) > LARGEST:
        raise NotChanged("{} is too large".format(file))
    return data.decode("utf-8", "surrogateescape")


def _edit(file: str, change: Callable[[str], str]) -> bool:
    """Replaces the content while nobody else does; the file that a link leads to changes, and the
    link stays. Whether it became another one."""
    file = os.path.realpath(file)
    folder = os.path.dirname(file)
    try:
        os.makedirs(folder, mode=0o700, exist_ok=True)
        lock = _locked(folder)
        try:
            before = _read(file)
            after = change(before)
            if after == before:
                return False
            if len(after) > LARGEST:
                raise NotChanged("{} would become too large".format(file))
            replace_file(file, after.encode("utf-8", "surrogateescape"), 0o600)
            return True
        finally:
            if lock is not None:
                os.close(lock)
    except OSError as error:
        raise NotChanged("{}: {}".format(file, error.strerror)) from None


def _locked(folder: str) -> Optional[int]:
    try:
        import fcntl
    except ImportError:     # a system without it has no local service either
        return None
    handle = os.open(folder, os.O_RDONLY)
    fcntl.flock(handle, fcntl.LOCK_EX)
    return handle


def replace_file(file: str, data: bytes, mode: int) -> None:
    """Writes a file whole or not at all. One that is there keeps its mode; a new one gets `mode`
    without what the user's mask takes away. Raises OSError."""
    try:
        kept: Optional[int] = os.stat(file).st_mode & 0o777
    except OSError:
        kept = None
    aside = "{}.{}.{}".format(file, os.getpid(), os.urandom(4).hex())
    handle = os.open(aside, os.O_WRONLY | os.O_CREAT | os.O_EXCL, mode)
    try:
        with os.fdopen(handle, "wb") as target:
            target.write(data)
            target.flush()
            os.fsync(target.fileno())
        if kept is not None:
            os.chmod(aside, kept)
        os.replace(aside, file)
    except OSError:
        os.unlink(aside)
        raise


# The command.

def arguments(command) -> None:
    """Adds what `brask dismiss` takes to its parser."""
    command.add_argument("rule", nargs="?", metavar="RULE", help="as reports name it")
    command.add_argument("evidence", nargs="?", metavar="EVIDENCE", default="",
                         help="what stands there, as reports quote it")
    command.add_argument("--place", metavar="PLACE", default="",
                         help="where, for evidence that does not tell one case from another")
    command.add_argument("--run", metavar="RUN", help="the run whose flaws are meant")
    command.add_argument("--flaw", metavar="N", type=int, action="append", default=[],
                         help="with --run: the number of a flaw there; without it they are listed")
    command.add_argument("--reason", metavar="TEXT", default="", help="why it is no flaw")
    what = command.add_mutually_exclusive_group()
    what.add_argument("--undo", action="store_true", help="it is a flaw again")
    what.add_argument("--list", action="store_true", help="show what is dismissed")


def wrong_usage(options) -> Optional[str]:
    """What is wrong with the arguments, if anything is."""
    if options.list:
        wrong = options.rule or options.run or options.flaw
        return "--list takes nothing else" if wrong else None
    if options.run is not None:
        if not options.run or "/" in options.run:
            return "--run needs the id of a run"
        return "name a rule or a run, not both" if options.rule else None
    if options.flaw:
        return "--flaw goes with --run"
    return None if options.rule else "say what is no flaw: RULE EVIDENCE, or --run RUN"


def run(options, flaws_of: Callable[[str], Tuple[Sequence[Flaw], Sequence[Flaw]]],
        clean: Callable[[str], str]) -> Tuple[str, bool]:
    """Does it, and returns what to print and whether it went well. `flaws_of` gets the flaws of a
    run and those that are dismissed in it, and raises NotChanged."""
    if options.list:
        return _listing(load(), clean), True
    if options.run is None:
        return _said(options, Dismissal(options.rule, without_places(options.evidence),
                                        options.place, options.reason), clean)
    flaws, gone = flaws_of(options.run)
    listed = list(flaws) + list(gone)
    if not options.flaw:
        return _numbered(flaws, gone, clean), True
    lines, well = [], True
    for number in options.flaw:
        if not 1 <= number <= len(listed):
            raise NotChanged("the run has no flaw {}; it has {}".format(number, len(listed)))
        text, fine = _said(options, of(listed[number - 1])._replace(reason=options.reason), clean)
        lines.append(text)
        well = well and fine
    return "".join(lines), well


def _said(options, dismissal: Dismissal, clean) -> Tuple[str, bool]:
    if not dismissal.rule:
        raise NotChanged("this service names no rule of the flaw, so it cannot be remembered")
    if dismissal.rule.startswith(_HELD_HERE):
        raise NotChanged("what the standing rules hold back cannot be dismissed; change the work")
    if not dismissal.place and needs_place(dismissal.evidence):
        raise NotChanged("this evidence does not tell one case from another: name its --place")
    shown = clean("{} “{}”".format(dismissal.rule, dismissal.evidence))
    if dismissal.place:
        shown += clean(" at " + dismissal.place)
    if options.undo:
        if remove(dismissal):
            return "a flaw again: {}\n".format(shown), True
        return "was not dismissed: {}\n".format(shown), False
    if add(dismissal):
        return "dismissed: {}\n".format(shown), True
    return "was dismissed already: {}\n".format(shown), True


def _listing(said: Sequence[Dismissal], clean) -> str:
    if not said:
        return "nothing is dismissed\n"
    lines = []
    for one in said:
        lines.append("{}  {}  “{}”{}{}\n".format(
            clean(one.when or "-"), clean(one.rule), clean(one.evidence),
            clean(", at " + one.place) if one.place else "",
            clean(": " + one.reason) if one.reason else ""))
    return "".join(lines)


def _numbered(flaws: Sequence[Flaw], gone: Sequence[Flaw], clean) -> str:
    lines = []
    for number, flaw in enumerate(list(flaws) + list(gone), 1):
        lines.append("{:3} {} {}{} “{}”{}\n".format(
            number, clean(flaw.severity) or "-", clean(flaw.rule or flaw.criterion),
            clean(", " + flaw.place) if flaw.place else "", clean(flaw.evidence),
            " (dismissed)" if number > len(flaws) else ""))
    return "".join(lines) or "the run has no flaws\n"
