"""What the hook remembers between two events: small files in `state` of the data folder.

    changed/SESSION        paths that the session changed, one JSON string a line; an empty line
                           stands behind those that the end of a turn has read
    changed/SESSION.*.late a change that was noted while somebody else kept the list
    lock                   held while that list, or `judged`, is read and written
    sessions/SESSION.json  what was graded and reported, so that nothing is said twice
    turn.json              the verdict on the last turn that had one, for the desktop's message
    judged                 verdicts of the last day by content (`judged`)
    down                   its time of change is when the service is worth another try

All of it may be deleted at any time. Folders are 0700 and files 0600; a folder that cannot be
written means that nothing is remembered, and no error.
"""

import json
import os
import time

from .reachability import make_folder, note_down

LONGEST_CHANGED = 64 * 1024
LONGEST_SESSION = 512 * 1024
MOST_SESSIONS = 200
MOST_MARKS = 2000       # of 36 bytes each: a file may hold a thousand secrets, and is told of once
KEEP_SECONDS = 7 * 86400
CLEAN_SECONDS = 86400
LONGEST_DOWN = 3600     # further ahead is no promise but a clock that was set back
LOCK_TRIES, LOCK_PAUSE = 200, 0.005     # seconds: one in all, for a stuck process
_LATE = ".late"
_READ = b"\n"           # an empty line of the list: everything before it has been read by a turn
_NAME = frozenset("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-")


class State:
    """The state of one session. `now` is the wall clock, in seconds."""

    def __init__(self, folder, session, now=time.time):
        self.folder = folder
        self._root = os.path.join(folder, "state")
        self._name = file_name(session)
        self._now = now
        self._changed = os.path.join(self._root, "changed", self._name)
        self._session = os.path.join(self._root, "sessions", self._name + ".json")
        self._seen = b""

    def record(self, path):
        """Notes that the session changed this file. Several at once are fine, and none is lost to a
        turn that ends at the same moment, however long that takes."""
        line = (json.dumps(path) + "\n").encode("ascii")
        try:
            make_folder(self._root)
            make_folder(os.path.dirname(self._changed))
            with self._alone() as alone:
                if not alone:
                    self._set_aside(line)
                    return
                known = self._read(self._changed, LONGEST_CHANGED)
                # A path that a turn is just grading may have changed again since it was read.
                if line in _unread(known):
                    return
                if len(known) + len(line) > LONGEST_CHANGED:
                    known = b"".join(dict.fromkeys(known.splitlines(True)))
                    if len(known) + len(line) > LONGEST_CHANGED:
                        return
                    self._replace(known)  # no turn's reading any more: all is looked at again
                self._append(line)
        except OSError:
            pass

    def _append(self, data):
        handle = os.open(self._changed, os.O_WRONLY | os.O_APPEND | os.O_CREAT, 0o600)
        try:
            os.write(handle, data)
        finally:
            os.close(handle)

    def _set_aside(self, line):
        """Keeps a change beside the list, which somebody may be about to put another in place of.
        It appears whole, so that nobody takes it away before it is written."""
        aside = "{}.{}".format(self._changed, os.urandom(8).hex())
        _write_file(aside, line)
        os.replace(aside, aside + _LATE)

    def _take_late(self):
        """Puts what was set aside into the list."""
        folder, start = os.path.dirname(self._changed), self._name + "."
        for name in os.listdir(folder):
            if name.startswith(start) and name.endswith(_LATE):
                late = os.path.join(folder, name)
                self._append(self._read(late, LONGEST_CHANGED))
                os.unlink(late)

    def _replace(self, data):
        aside = "{}.{}".format(self._changed, os.getpid())
        _write_file(aside, data)
        os.replace(aside, self._changed)

    def _alone(self):
        """One process at a time works with the list of changes."""
        return Lock(os.path.join(self._root, "lock"))

    def changed(self):
        """The recorded paths in the order of their first change."""
        alone = False
        try:
            with self._alone() as alone:
                if alone:
                    self._take_late()
                data = self._read(self._changed, LONGEST_CHANGED)
                if alone and _unread(data):
                    self._append(_READ)
                    data += _READ
        except OSError:
            data = self._read(self._changed, LONGEST_CHANGED)
        # What was not marked as read may change again without being noted again: it stays.
        self._seen = data if alone else None
        paths = []
        for line in data.splitlines():
            try:
                path = json.loads(line.decode("ascii"))
            except ValueError:
                continue
            if isinstance(path, str) and path not in paths:
                paths.append(path)
        return paths

    def settle(self):
        """Forgets what the last `changed` returned; what was recorded since stays. While somebody
        else keeps the list all of it stays, and is looked at again."""
        if self._seen is None:
            return
        try:
            with self._alone() as alone:
                if not alone:
                    return
                data = self._read(self._changed, 2 * LONGEST_CHANGED)
                if not data.startswith(self._seen):
                    return  # another turn settled meanwhile; what is there is looked at again
                late = data[len(self._seen):]
                if not late.strip():
                    os.unlink(self._changed)
                    return
                self._replace(late)
        except OSError:
            return

    def load(self):
        """The session's memory: an object with "graded" (path -> digest), "open" (name of a file ->
        its flaws as they were told), "unsaid" (name of a file -> the rules of what was fixed and
        told nobody) and, as lists, "reported", "told" and "tried"."""
        try:
            found = json.loads(self._read(self._session, LONGEST_SESSION).decode("utf-8") or "{}")
        except (ValueError, RecursionError):
            found = {}
        if not isinstance(found, dict):
            found = {}
        graded = found.get("graded")
        return {"graded": graded if isinstance(graded, dict) else {},
                "reported": _strings(found.get("reported")), "told": _strings(found.get("told")),
                "tried": _strings(found.get("tried")),
                "open": _by_file(found.get("open")), "unsaid": _by_file(found.get("unsaid"))}

    def save(self, memory):
        """Keeps the newest entries of each kind."""
        kept = {"graded": dict(list(memory["graded"].items())[-1000:]),
                "reported": memory["reported"][-MOST_MARKS:], "told": memory["told"][-MOST_MARKS:],
                "tried": memory["tried"][-50:], "open": dict(list(memory["open"].items())[-100:]),
                "unsaid": dict(list(memory["unsaid"].items())[-100:])}
        self._write(self._session, kept)

    def note_turn(self, verdict):
        """Leaves the verdict on a turn, an object, where the desktop's program looks for it."""
        self._write(os.path.join(self._root, "turn.json"),
                    dict(verdict, at=int(self._now() * 1000)))

    def _write(self, path, found):
        data = json.dumps(found).encode("ascii")
        try:
            make_folder(self._root)
            make_folder(os.path.dirname(path))
            aside = "{}.{}".format(path, os.getpid())
            _write_file(aside, data)
            os.replace(aside, path)
        except OSError:
            pass

    def is_down(self):
        """Whether the service was found down a short while ago."""
        try:
            left = os.stat(os.path.join(self._root, "down")).st_mtime - self._now()
            return 0 < left <= LONGEST_DOWN
        except OSError:
            return False

    def note_down(self, seconds):
        """The service is not worth a try for so long."""
        note_down(self._root, self._now() + seconds)

    def note_up(self):
        """The service answered."""
        try:
            os.unlink(os.path.join(self._root, "down"))
        except OSError:
            pass

    def clean(self):
        """Once a day: deletes what is old, and the oldest of too many."""
        mark = os.path.join(self._root, "cleaned")
        now = self._now()
        try:
            if abs(now - os.stat(mark).st_mtime) < CLEAN_SECONDS:
                return
        except OSError:
            pass
        try:
            make_folder(self._root)
            os.close(os.open(mark, os.O_WRONLY | os.O_CREAT, 0o600))
            os.utime(mark, (now, now))
        except OSError:
            return
        for name in ("changed", "sessions"):
            _sweep(os.path.join(self._root, name), now)
        judged = os.path.join(self._root, "judged")
        try:
            if now - os.stat(judged).st_mtime > CLEAN_SECONDS:
                os.unlink(judged)
        except OSError:
            pass

    @staticmethod
    def _read(path, limit):
        try:
            with open(path, "rb") as file:
                return file.read(limit)
        except OSError:
            return b""


def _unread(data):
    """The lines that no turn has read yet."""
    lines = data.splitlines(True)
    last = max((number for number, line in enumerate(lines) if line == _READ), default=-1)
    return lines[last + 1:]


def _write_file(path, data):
    with os.fdopen(os.open(path, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600), "wb") as file:
        file.write(data)


class Lock:
    """Holds a file's lock for as long as it takes to read and write a list.

        with Lock(path) as alone:

    `alone` is False after a second in which somebody else kept it: a process that is stuck, or that
    has had no turn on a busy machine. What is read then may be replaced at any moment, and nothing
    is to be written. Where nothing can be locked nobody waits, and `alone` is True."""

    def __init__(self, path):
        self._path = path
        self._handle = None

    def __enter__(self):
        try:
            import fcntl
            self._handle = os.open(self._path, os.O_RDWR | os.O_CREAT, 0o600)
            for _ in range(LOCK_TRIES):
                try:
                    fcntl.flock(self._handle, fcntl.LOCK_EX | fcntl.LOCK_NB)
                    return True
                except BlockingIOError:
                    time.sleep(LOCK_PAUSE)
            return False
        except (ImportError, OSError):
            return True

    def __exit__(self, *_):
        if self._handle is not None:
            os.close(self._handle)


def file_name(session):
    """A session's id as a file name; a strange one is told by its digest."""
    if not isinstance(session, str) or not session:
        return "no-session"
    if len(session) <= 80 and _NAME.issuperset(session):
        return session
    import hashlib
    return "sha-" + hashlib.sha256(session.encode("utf-8", "replace")).hexdigest()[:40]


def _strings(value):
    return [v for v in value if isinstance(v, str)] if isinstance(value, list) else []


def _by_file(value):
    return {name: _strings(marks) for name, marks in value.items()} \
        if isinstance(value, dict) else {}


def _sweep(folder, now):
    try:
        entries = sorted((e for e in os.scandir(folder) if e.is_file(follow_symlinks=False)),
                         key=lambda e: e.stat().st_mtime, reverse=True)
    except OSError:
        return
    for number, entry in enumerate(entries):
        try:
            if number >= MOST_SESSIONS or now - entry.stat().st_mtime > KEEP_SECONDS:
                os.unlink(entry.path)
        except OSError:
            pass
