"""Which files changed since a commit: what git knows of the current folder.

Git is run with nothing that a repository's own settings could have it run: no external diff, no
conversion of texts, no monitor of files.
"""

import os
import subprocess
from typing import Callable, List, Optional, Sequence, Tuple

from . import file_types

_GIT = ("git", "-c", "core.fsmonitor=false", "-c", "core.quotepath=false", "--no-pager",
        "--no-optional-locks")
PATIENCE = 60   # seconds for one question; the largest repository tried took two

#: Runs a command and returns its exit status and what it wrote to each stream.
Run = Callable[[Sequence[str]], Tuple[int, bytes, bytes]]


class NotTold(Exception):
    """Git did not tell; the text says why."""


def _run(command: Sequence[str]) -> Tuple[int, bytes, bytes]:
    try:
        done = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, timeout=PATIENCE, check=False)
    except FileNotFoundError:
        raise NotTold("git is not installed, so nobody knows what changed") from None
    except subprocess.TimeoutExpired:
        raise NotTold("git did not answer within {} seconds".format(PATIENCE)) from None
    return done.returncode, done.stdout, done.stderr


def since(ref: str, names: Sequence[str] = (), run: Optional[Run] = None) -> List[str]:
    """The files, relative to the current folder, that differ from what they were where the current
    commit left `ref`, or that git does not know yet; sorted. What is gone, what is a link, and what
    is of no kind that is graded are left out. With `names`, only those and what is below them."""
    run = run or _run
    base = _told(run, ["merge-base", ref, "HEAD"], strict=False).decode("utf-8", "replace").strip()
    if not base:  # two histories without a common commit
        base = _told(run, ["rev-parse", "--verify", "--quiet", "--end-of-options",
                           ref + "^{commit}"], "there is no commit {}".format(ref)) \
            .decode("utf-8", "replace").strip()
    only = ["--"] + list(names)
    told = _told(run, ["diff", "--name-only", "-z", "--relative", "--no-ext-diff", "--no-textconv",
                       "--no-renames", "--diff-filter=d", base] + only)
    told += _told(run, ["ls-files", "-z", "--others", "--exclude-standard"] + only)
    found = {os.fsdecode(name) for name in told.split(b"\0") if name}
    return sorted(name for name in found if file_types.of_name(name) is not None
                  and os.path.isfile(name) and not os.path.islink(name))


def _told(run: Run, arguments: Sequence[str], problem: Optional[str] = None,
          strict: bool = True) -> bytes:
    status, said, errors = run(list(_GIT) + list(arguments))
    if status == 0:
        return said
    if not strict:
        return b""
    lines = errors.decode("utf-8", "replace").strip().splitlines()
    raise NotTold(problem or (lines[-1] if lines else "git ended with {}".format(status)))
