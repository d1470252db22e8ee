"""Files as they are read and replaced.

Symlinks, modes, owners and extended attributes stay; bytes that change meanwhile are noticed.
"""

import errno
import os
import re
import secrets
import stat
from typing import Any, Callable, List, NamedTuple, Optional

from .text import BadText

MAX_BYTES = 1 << 20  # of a configuration file; what is larger was not written by hand
BOM = b"\xef\xbb\xbf"


class Refused(Exception):
    """Something that we will not or cannot do. The text says what, where, and what helps."""


class Changed(Exception):
    """Somebody else wrote the file while we were editing it."""


class Config(NamedTuple):
    """A file as it was read: `data` is None when there is none. `real` is the file itself, with
    every symlink on the way to it followed."""

    path: str
    real: str
    data: Optional[bytes]
    info: Optional[os.stat_result]

    @property
    def text(self) -> str:
        """The text without byte-order mark."""
        data = self.data or b""
        body = data[len(BOM):] if data.startswith(BOM) else data
        try:
            return body.decode("utf-8")
        except UnicodeDecodeError as error:
            before = body[:error.start].decode("utf-8")
            raise BadText("the file is not UTF-8", len(before)) from error

    def bytes_of(self, text: str) -> bytes:
        mark = BOM if (self.data or b"").startswith(BOM) else b""
        return mark + text.encode("utf-8")


def read_config(path: str) -> Config:
    """The file at `path`; Refused when there is something else, or nothing can be read from it."""
    real = os.path.realpath(path)
    try:
        if not os.path.lexists(path):
            folder = os.path.dirname(path)
            while not os.path.lexists(folder):
                folder = os.path.dirname(folder)
            if not os.path.isdir(folder):
                raise Refused("%s is in the way: it is not a folder" % folder)
            return Config(path, real, None, None)
        if not os.path.exists(real):
            raise Refused("%s is a symlink that leads nowhere (%s); mend or remove it"
                          % (path, real))
        info = os.stat(real)
        if not stat.S_ISREG(info.st_mode):
            kind = "a folder" if stat.S_ISDIR(info.st_mode) else "not a plain file"
            raise Refused("%s is %s; move it away" % (path, kind))
        if info.st_size > MAX_BYTES:
            raise Refused("%s has %d bytes, more than the %d that are looked at; add the entry by "
                          "hand" % (path, info.st_size, MAX_BYTES))
        return Config(path, real, contents(real), info)
    except OSError as error:
        raise Refused("%s cannot be read: %s" % (path, error.strerror)) from error


def contents(path: str) -> Optional[bytes]:
    """The bytes of a plain file, None when there is none."""
    try:
        with open(path, "rb") as file:
            return file.read()
    except FileNotFoundError:
        return None


def quietly(action: Callable[..., Any], *arguments: Any) -> bool:
    """Did the file operation work? For tidying up, where a failure changes nothing."""
    try:
        action(*arguments)
        return True
    except OSError:
        return False


def sweep(folder: str, name: str = "") -> None:
    """Removes what an installer that was killed left in a folder beside the file `name`, or beside
    any file. Only under the lock."""
    stray = re.compile(r"\.%s\.brask-[0-9a-f]{8}\.tmp" % (re.escape(name) if name else ".+"))
    try:
        names = os.listdir(folder)
    except OSError:
        return
    for found in names:
        if stray.fullmatch(found):
            quietly(os.unlink, os.path.join(folder, found))


def dress_like(descriptor: int, path: str, info: os.stat_result) -> None:
    """Gives an open file the owner, the extended attributes and the mode of an existing one.

    Raises OSError when it cannot have that owner: a file that is another user's stays theirs.
    """
    if (info.st_uid, info.st_gid) != (os.geteuid(), os.getegid()):
        if not quietly(os.fchown, descriptor, info.st_uid, info.st_gid):
            if info.st_uid != os.geteuid():
                raise PermissionError(errno.EPERM, "it belongs to another user, and a new file "
                                      "would not", path)
            quietly(os.fchown, descriptor, -1, info.st_gid)
    if hasattr(os, "listxattr"):
        try:
            for name in os.listxattr(path):
                quietly(os.setxattr, descriptor, name, os.getxattr(path, name))
        except OSError:
            pass
    os.fchmod(descriptor, stat.S_IMODE(info.st_mode))


def write_whole(descriptor: int, data: bytes) -> None:
    while data:
        data = data[os.write(descriptor, data):]


def replace_file(path: str, data: bytes, expected: Optional[bytes],
                 info: Optional[os.stat_result] = None, mode: int = 0o600) -> None:
    """Puts `data` in the place of the file at once: whoever looks sees the old bytes or the new.

    Raises Changed when the file no longer holds `expected` (None: no file). `path` is no symlink.
    A new file gets `mode`; otherwise `info` says what the old one was like. Whatever ends this,
    nothing is left beside the file, and the file holds the old bytes or the new.
    """
    folder, name = os.path.split(path)
    sweep(folder, name)
    temporary = os.path.join(folder, ".%s.brask-%s.tmp" % (name, secrets.token_hex(4)))
    flags = os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_NOFOLLOW | os.O_CLOEXEC
    try:
        descriptor = os.open(temporary, flags, 0o600)
        try:
            write_whole(descriptor, data)
            if info is not None:
                dress_like(descriptor, path, info)
            else:
                os.fchmod(descriptor, mode)
            os.fsync(descriptor)
        finally:
            os.close(descriptor)
        if contents(path) != expected:
            raise Changed()
        os.replace(temporary, path)
    except BaseException:
        quietly(os.unlink, temporary)
        raise
    settle(folder)


def shorten_in_place(path: str, data: bytes, expected: bytes) -> None:
    """Makes the file hold `data`, which is shorter than what it holds, where no second file can be
    made beside it: the disk is full, the folder may not be written, or the file is another user's.
    Everything from the first byte that differs is written at once, and then the rest cut off.

    Raises Changed when the file no longer holds `expected`, OSError when it cannot be written.
    """
    same = len(os.path.commonprefix([data, expected]))
    descriptor = os.open(path, os.O_RDWR | os.O_NOFOLLOW | os.O_CLOEXEC)
    try:
        with open(descriptor, "rb", closefd=False) as file:
            if file.read() != expected:
                raise Changed()
        os.lseek(descriptor, same, os.SEEK_SET)
        write_whole(descriptor, data[same:])
        os.ftruncate(descriptor, len(data))
        os.fsync(descriptor)
    finally:
        os.close(descriptor)


def settle(folder: str) -> None:
    """Asks for the folder's own entry changes to reach the disk, where that can be asked."""
    try:
        descriptor = os.open(folder, os.O_RDONLY)
    except OSError:
        return
    quietly(os.fsync, descriptor)
    os.close(descriptor)


def missing_folders(path: str) -> List[str]:
    """The folders above `path` that do not exist, outermost first."""
    missing: List[str] = []
    folder = os.path.dirname(path)
    while not os.path.lexists(folder):
        missing.insert(0, folder)
        folder = os.path.dirname(folder)
    return missing
