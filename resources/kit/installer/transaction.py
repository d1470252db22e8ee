"""One change to one file, and what is remembered of it: all of it, or nothing."""

import os
import time
from typing import Any, Dict, List, NamedTuple, Optional, Sequence

from .files import (Changed, Config, Refused, contents, missing_folders, quietly, replace_file,
                    settle, shorten_in_place, sweep)
from .manifest import Manifest


class Change(NamedTuple):
    """What becomes of one file."""

    key: str                   # whose file it is, in the manifest and in the copy's name
    config: Config             # the file as it was read
    data: Optional[bytes]      # what it will hold; None when it is to go
    record: Optional[Dict[str, Any]] = None  # for the manifest; None leaves it alone
    folders: Sequence[str] = ()  # to be made for it, outermost first
    mode: Optional[int] = None   # None: as before, and for the owner alone when the file is new


def carry_out(change: Change, manifest: Manifest, backups: str = "",
              whatever: bool = False) -> Optional[str]:
    """Carries out the change. With `backups`, a folder, the file as it was is copied there, and the
    result is the copy's path. With `whatever`, for what must not be left behind, neither a copy nor
    a second file beside the first is insisted on: the file is shortened in its place.

    The commit point is the rename that puts the new file in the place of the old one, or the
    removal of the file. What is done before it (the record first, so that a later run knows what to
    undo even when this one is killed) is undone when anything fails or a signal ends us. What
    happens after it changes nothing: the file is the new one and the manifest says so.
    """
    before = manifest.records.get(change.key)
    made: List[str] = []
    copy: Optional[str] = None
    try:
        if change.record is not None:
            manifest.records[change.key] = change.record
            manifest.save()
        for folder in change.folders:
            made.append(folder)  # first, since a signal may come as soon as it is there
            try:
                os.mkdir(folder, 0o700)
            except OSError:
                made.pop()
                raise
        if backups and change.config.data is not None:
            copy = copied(change, backups, whatever)
        put_in_place(change, whatever)
    except BaseException:
        if not committed(change):
            for folder in reversed(made):
                quietly(os.rmdir, folder)
            if copy is not None:
                quietly(os.unlink, copy)
            if change.record is not None:
                manifest.records.pop(change.key, None)
                if before is not None:
                    manifest.records[change.key] = before
                quietly(manifest.save)
        raise
    return copy


def committed(change: Change) -> bool:
    """Is the file the new one? Asked of the file, for no flag of ours could be set at the very
    moment at which the file changes."""
    try:
        return contents(change.config.real) == change.data
    except OSError:
        return False


def copied(change: Change, backups: str, whatever: bool) -> Optional[str]:
    """The path of the new copy; with `whatever`, None where none can be made."""
    try:
        copy = place_for_copy(change, backups)
        replace_file(copy, change.config.data or b"", None)
        return copy
    except (OSError, Refused):
        if not whatever:
            raise
        return None


def put_in_place(change: Change, whatever: bool) -> None:
    path, before = change.config.real, change.config.data
    if change.data is None:
        if contents(path) != before:
            raise Changed()
        folder, name = os.path.split(path)
        sweep(folder, name)
        os.unlink(path)
        settle(folder)
    elif change.mode is None:
        try:
            replace_file(path, change.data, before, change.config.info)
        except OSError:
            if not whatever or before is None or len(before) <= len(change.data):
                raise
            shorten_in_place(path, change.data, before)
    else:
        replace_file(path, change.data, before, None, change.mode)


def place_for_copy(change: Change, backups: str) -> str:
    """A name in the folder of copies that says when, whose and which file, and is not taken."""
    for made in missing_folders(os.path.join(backups, "x")):
        os.mkdir(made, 0o700)
    stamp = time.strftime("%Y%m%dT%H%M%SZ", time.gmtime())
    name = "%s-%s-%s" % (stamp, change.key, os.path.basename(change.config.path))
    for number in range(1000):
        path = os.path.join(backups, name + (".%d" % number if number else ""))
        if not os.path.lexists(path):
            return path
    raise Refused("%s is full of copies made this second" % backups)
