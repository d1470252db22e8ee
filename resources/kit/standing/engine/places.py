"""Where an agent may have files read: below the project's root, and where the user allowed it.

A tool call of an agent can name any file of this machine, and what is graded is sent away. So a call
reaches the project that the coding tool works in, and the folders that the setting `read` names.
What the user types at a terminal is not asked about: they name the file themselves.
"""

import os

#: What tells the root of a project: the folder that holds one of these.
MARKS = (".git", ".hg", ".svn", ".jj")


class Allowed:
    """The folders in and below which files may be read; none at all when there are none."""

    def __init__(self, folders):
        self.folders = tuple(os.path.realpath(folder) for folder in folders)

    @classmethod
    def around(cls, folder, more, environ):
        """The project around this folder, and `more` folders. A coding tool that names its project
        in CLAUDE_PROJECT_DIR is believed."""
        named = environ.get("CLAUDE_PROJECT_DIR", "")
        start = named if os.path.isabs(named) else folder
        root = project_root(start, home_of(environ)) if start else None
        return cls(([root] if root else []) + list(more))

    def holds(self, path):
        """Whether the file that this path leads to, by whatever links, lies in one of them."""
        try:
            real = os.path.realpath(path)
        except (OSError, ValueError):
            return False
        return any(real == folder or real.startswith(folder.rstrip(os.sep) + os.sep)
                   for folder in self.folders)


def home_of(environ):
    return os.path.realpath(environ.get("HOME") or os.path.expanduser("~"))


def project_root(folder, home):
    """The nearest folder from this one upwards that is under version control, else this one. None
    for a home folder, what is above it, and the folder of all: these are nobody's project."""
    start = os.path.realpath(folder)
    if _is_too_wide(start, home):
        return None
    at = start
    while not _is_too_wide(at, home):
        if any(os.path.lexists(os.path.join(at, mark)) for mark in MARKS):
            return at
        at = os.path.dirname(at)
    return start


def _is_too_wide(folder, home):
    return os.path.dirname(folder) == folder or home == folder or home.startswith(folder + os.sep)
