"""What has been judged already, by content: so that the end of a turn asks nobody a second time.

    known = judged.Judged(settings)
    question = known.question()
    known.verdict(artifact, question)           # None: it has to be asked for
    known.remember(artifact, question, verdict)

Whoever asks for a verdict remembers it: an agent by MCP, `brask grade`, the hook of any coding
tool. Only the hook, which nobody asked, looks here first; who asks is given an answer of now.

A verdict holds for the same content, asked in the same way of the same service, as long as the
user's own words and dismissals are the same, and for a day: whoever judges may have learnt since.
It stands in `state/judged` of the data folder, one a line, the newest last: what tells the
question, the words and the work, the time, and the verdict as the service gave it. What goes wrong
with that file means that nothing is remembered, and no error.
"""

import hashlib
import json
import os
import time
from typing import Callable, Dict, List, Optional

from . import dismissals, transport
from .parts import Artifact
from .reachability import make_folder
from .settings import Settings
from .state import Lock
from .verdict import BANDS, Verdict, verdict_from

FRESH_SECONDS = 86400
#: Bytes of the file, whose older half goes then. A verdict with five flaws takes two thousand.
LARGEST = 2 << 20
#: Bytes of one verdict. More flaws than that are not read by anybody, and asked for again.
LONGEST = 128 << 10
_FIRST_LINE = 256       # bytes of a line that hold its mark and its time


class Judged:
    """The verdicts that a data folder remembers; what others remember after the first question is
    not seen. For any thread. `now` is the wall clock, in seconds."""

    def __init__(self, settings: Settings, now: Callable[[], float] = time.time):
        self._settings = settings
        self._now = now
        self._folder = os.path.join(settings.folder, "state")
        self._file = os.path.join(self._folder, "judged")
        self._told: Optional[Dict[str, bytes]] = None   # mark -> verdict

    def question(self, policy: Optional[str] = None, vertical: Optional[str] = None,
                 intent: Optional[str] = None) -> str:
        """Tells what is asked from all else that could be: which service, by which policy. What
        the work is for counts where it may be weighed; a service of this machine only notes it."""
        if transport.is_of_this_machine(self._settings.base):
            intent = None
        asked = [self._settings.base, policy or self._settings.policy_id, vertical, intent]
        return _digest(json.dumps(asked).encode("ascii"))

    def verdict(self, artifact: Artifact, question: str) -> Optional[Verdict]:
        """The verdict on this content; None when nobody gave one."""
        said = self._all().get(_mark(artifact, question))
        try:
            kept = json.loads(said.decode("ascii")) if said else None
        except (ValueError, RecursionError):
            return None
        if not isinstance(kept, dict):
            return None
        run = kept.get("run_id")
        found = verdict_from(kept, run if isinstance(run, str) else None)
        return found if found.band in BANDS else None

    def has_run(self, run_id: str, question: str) -> bool:
        """Whether this run answered this question, whatever the work was."""
        said = "\"run_id\": {}".format(json.dumps(run_id)).encode("ascii")
        return any(mark.startswith(question) and said in kept for mark, kept in self._all().items())

    def remember(self, artifact: Artifact, question: str, verdict: Verdict) -> None:
        """Keeps a verdict; what is none is not kept."""
        if verdict.error is not None or verdict.band not in BANDS:
            return
        kept = dict(verdict.to_json(), dismissed=[one.to_json() for one in verdict.dismissed])
        line = "{} {} {}\n".format(_mark(artifact, question), int(self._now()),
                                   json.dumps(kept)).encode("ascii")
        if len(line) > LONGEST:
            return
        try:
            make_folder(self._folder)
            with Lock(os.path.join(self._folder, "lock")) as alone:
                if not alone:
                    return
                self._make_room(len(line))
                handle = os.open(self._file, os.O_WRONLY | os.O_APPEND | os.O_CREAT, 0o600)
                try:
                    os.write(handle, line)
                finally:
                    os.close(handle)
        except OSError:
            pass

    def _make_room(self, size: int) -> None:
        """Drops what is too old, a line that was cut short, and the older half of too much."""
        try:
            with open(self._file, "rb") as file:
                is_full = os.fstat(file.fileno()).st_size + size > LARGEST
                if not is_full and self._is_fresh(file.readline(_FIRST_LINE)):
                    file.seek(-1, os.SEEK_END)
                    if file.read() == b"\n":
                        return
                file.seek(0)
                lines = [line for line in file.read(LARGEST).splitlines(True)
                         if line.endswith(b"\n") and self._is_fresh(line)]
        except FileNotFoundError:
            return
        dismissals.replace_file(self._file, b"".join(_newest(lines, LARGEST // 2)), 0o600)

    def _is_fresh(self, line: bytes) -> bool:
        when = line[:_FIRST_LINE].split(b" ", 2)[1:2]
        return bool(when) and when[0].isdigit() and 0 <= self._now() - int(when[0]) <= FRESH_SECONDS

    def _all(self) -> Dict[str, bytes]:
        """Mark -> verdict as JSON, of all that still hold; the newest of one mark counts."""
        if self._told is None:
            try:
                with open(self._file, "rb") as file:
                    lines = [line.split(b" ", 2) for line in file.read(LARGEST).splitlines()
                             if self._is_fresh(line)]
            except OSError:
                lines = []
            self._told = {line[0].decode("ascii", "replace"): line[2]
                          for line in lines if len(line) == 3}
        return self._told


def _mark(artifact: Artifact, question: str) -> str:
    """Tells this question about this work. A name counts without its folder: the same file is
    called otherwise from another one."""
    work = hashlib.sha256(artifact.modality.encode("utf-8", "replace"))
    for part in artifact.parts:
        for piece in (part.mime_type, os.path.basename(part.logical_name), part.text or ""):
            work.update(_digest(piece.encode("utf-8", "replace")).encode("ascii"))
        work.update(_digest(part.data or b"").encode("ascii"))
    return "-".join((question, _words(), work.hexdigest()[:32]))


def _words() -> str:
    """Tells what the user says of words and flaws: of this depends what is one."""
    said = dismissals.path()
    whole = hashlib.sha256()
    for path in (said, os.path.join(os.path.dirname(said), "dictionary.txt")):
        try:
            with open(path, "rb") as file:
                whole.update(_digest(file.read(dismissals.LARGEST)).encode("ascii"))
        except OSError:
            whole.update(b"none")
    return whole.hexdigest()[:32]


def _digest(data: bytes) -> str:
    return hashlib.sha256(data).hexdigest()[:32]


def _newest(lines: List[bytes], most: int) -> List[bytes]:
    """As many from the end as fit into so many bytes."""
    room, first = most, len(lines)
    while first > 0 and len(lines[first - 1]) <= room:
        first -= 1
        room -= len(lines[first])
    return lines[first:]
