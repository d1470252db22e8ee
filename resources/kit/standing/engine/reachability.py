"""Whether the service is worth a try, or known to be down.

Asked before anything else is loaded, at the end of every turn that changed a file. A service on
this machine that is not running refuses a connection at once; any other is down only when trying
says so. The finding is kept for a short while as the time of change of the file `state/down`.
"""

import os
import time

from . import settings as settings_module

#: For how many seconds the service is left alone, by what was wrong with it.
DOWN_SECONDS = {"unreachable": 30, "refused": 300, "slow": 600}


def found_down(folder):
    """Whether the service of the settings refuses right now; remembered when it does."""
    if not _refuses(settings_module.load().base):
        return False
    note_down(os.path.join(folder, "state"), time.time() + DOWN_SECONDS["unreachable"])
    return True


def note_down(root, until):
    """The service is not worth a try until then, a wall clock time."""
    path = os.path.join(root, "down")
    try:
        make_folder(root)
        os.close(os.open(path, os.O_WRONLY | os.O_CREAT, 0o600))
        os.utime(path, (until, until))
    except OSError:
        pass


def make_folder(path):
    """With the one above it, each for its owner alone. A home that is not there is not made, and
    nothing in whatever folder happens to be the current one. Raises OSError."""
    if os.path.isdir(path):
        return
    if not os.path.isabs(path):
        raise FileNotFoundError(path)
    for folder in (os.path.dirname(path), path):
        try:
            os.mkdir(folder, 0o700)
        except FileExistsError:
            pass


def _refuses(base):
    """Whether a service on this machine refuses the connection. False for any other service."""
    if not base.startswith("http://"):
        return False
    host, _, port = base[len("http://"):].partition("/")[0].rpartition(":")
    if host not in ("127.0.0.1", "localhost") or not port.isdigit() or int(port) > 65535:
        return False
    try:
        import _socket as socket  # what `socket` is made of, without what makes it slow to load
    except ImportError:
        import socket
    probe = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    try:
        probe.settimeout(0.5)
        return probe.connect_ex(("127.0.0.1", int(port))) != 0
    finally:
        probe.close()
