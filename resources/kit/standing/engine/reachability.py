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
#: A service that kept a submission waiting for so long is slow, and not merely away.
SLOW_SECONDS = 5.0


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
    if base[:12].lower() == "http+unix://":
        return _socket_refuses(base)
    if not base.startswith("http://"):
        return False
    host, _, port = base[len("http://"):].partition("/")[0].rpartition(":")
    if host not in ("127.0.0.1", "localhost", "[::1]") or not port.isdigit() or int(port) > 65535:
        return False
    hosts = {"127.0.0.1": ("127.0.0.1",), "[::1]": ("::1",)}.get(host, ("127.0.0.1", "::1"))
    socket = _sockets()
    return not any(_answers(socket.AF_INET6 if ":" in one else socket.AF_INET, (one, int(port)))
                   for one in hosts)


def _socket_refuses(base):
    from . import links
    try:
        return not _answers(_sockets().AF_UNIX, links.socket_path(base))
    except ValueError:
        return False  # the client tells why nothing can be there


def _sockets():
    try:
        import _socket as socket  # what `socket` is made of, without what makes it slow to load
    except ImportError:
        import socket
    return socket


def _answers(family, address):
    """Whether anybody takes a connection there."""
    try:
        probe = _sockets().socket(family, _sockets().SOCK_STREAM)
    except OSError:
        return False  # a family that this machine does not have
    try:
        probe.settimeout(0.5)
        return probe.connect_ex(address) == 0
    finally:
        probe.close()
