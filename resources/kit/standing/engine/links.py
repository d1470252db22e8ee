"""Connections to the evaluation service that end in time, and know whom they reach.

Every wait of a connection ends at the time that was given for the whole exchange, however slowly
the other side lets its bytes drip. A service on this machine is reached by TCP or, at an address
http+unix://PATH, by a Unix socket, whose other end must be the user's own process or root's.

A key that the local service made (`trevix_local_…`) goes over plain TCP only to a process that has
proved, on the same connection, that it knows the key: another user of this machine could listen at
the service's port while it is not running.
"""

import hashlib
import hmac
import http.client
import os
import re
import socket
import struct
import sys
import time
import urllib.parse
from typing import Optional

UNIX = "http+unix"
PROVED_KEYS = "trevix_local_"
PROOF_PATH = "/api/v1/proof?nonce="
#: Bytes of a Unix socket's path, without its final NUL.
LONGEST_SOCKET = 103 if sys.platform == "darwin" else 107
LARGEST_PROOF = 4096
_PROOF = re.compile(rb'\s*\{\s*"proof"\s*:\s*"([0-9a-f]{64})"\s*\}\s*')


class Stranger(OSError):
    """The other end is not who it should be. Nothing was sent to it that it must not have."""


def socket_path(address: str) -> Optional[str]:
    """The path in http+unix://PATH[/base]; None for an address of another kind.

    Raises ValueError with a sentence when no socket can be at such a path.
    """
    scheme, found, rest = address.partition("://")
    if not found or scheme.lower() != UNIX:
        return None
    authority = re.split(r"[/?#]", rest, maxsplit=1)[0]
    path = urllib.parse.unquote_to_bytes(authority)
    if not path.startswith(b"/"):
        raise ValueError("the path of a socket is absolute, with %2F for each slash")
    if b"\0" in path:
        raise ValueError("the path of a socket holds no NUL")
    if len(path) > LONGEST_SOCKET:
        raise ValueError("the path of a socket has at most {} bytes".format(LONGEST_SOCKET))
    return os.fsdecode(path)


def over_socket(address: str) -> str:
    """An http+unix address as the http address that the request names."""
    rest = address.partition("://")[2]
    at = re.search(r"[/?#]|$", rest).start()
    return "http://localhost" + rest[at:]


def peer_is_ours(peer: socket.socket) -> bool:
    """Whether the process at the other end of a Unix socket is this user's own, or root's."""
    return peer_user(peer) in (os.getuid(), 0)


def peer_user(peer: socket.socket) -> Optional[int]:
    """The user id of the other end's process; None where the system does not tell."""
    try:
        if hasattr(socket, "SO_PEERCRED"):
            size = struct.calcsize("3i")
            data = peer.getsockopt(socket.SOL_SOCKET, socket.SO_PEERCRED, size)
            return struct.unpack("3i", data)[1]
        if sys.platform == "darwin":  # LOCAL_PEERCRED at level SOL_LOCAL: a version, then the user
            return struct.unpack("=II", peer.getsockopt(0, 1, 76)[:8])[1]
    except (OSError, struct.error):
        pass
    return None


def proof(key: str, nonce: str, address: str) -> str:
    """What whoever holds the key answers to this question at this address."""
    message = "trevix-local proof\n{}\n{}\n".format(nonce, address)
    return hmac.new(key.encode("utf-8", "surrogateescape"), message.encode("ascii"),
                    hashlib.sha256).hexdigest()


def timed(kind, patience: float, until: Optional[float], clock=time.monotonic):
    """A kind of socket none of whose reads takes longer than `patience`, or ends after `until`."""
    class Timed(kind):
        def recv_into(self, *arguments, **named):
            if until is not None:
                left = until - clock()
                if left <= 0:
                    raise socket.timeout("the time for the exchange is over")
                self.settimeout(min(patience, left))
            return super().recv_into(*arguments, **named)
    return Timed


class Link:
    """How one exchange is connected. `key` is what the other end may have to prove to know."""

    def __init__(self, patience: float, until: Optional[float], path: Optional[str] = None,
                 key: Optional[str] = None, draw=lambda: os.urandom(32).hex()):
        self._patience, self._until, self._path, self._key = patience, until, path, key
        self._draw = draw
        self._kind = timed(socket.socket, patience, until)

    def plain(self, host, **options):
        """A connection over TCP, or over the Unix socket."""
        made = http.client.HTTPConnection(host, **options)
        made._create_connection = self._connected
        if self._path is not None:  # the library would set options of TCP
            made.connect = lambda: setattr(made, "sock", self._over_unix(made.timeout))
        return made

    def encrypted(self, host, **options):
        """A connection over TLS. Its context is the caller's."""
        import ssl
        context = options["context"]
        context.sslsocket_class = timed(ssl.SSLSocket, self._patience, self._until)
        made = http.client.HTTPSConnection(host, **options)
        made._create_connection = self._connected
        return made

    def _connected(self, address, timeout=None, source_address=None):
        raw = socket.create_connection(address, timeout, source_address)
        made = self._kind(fileno=raw.detach())
        made.settimeout(timeout)
        try:
            if self._key is not None:
                self._ask_for_proof(made)
        except BaseException:
            made.close()
            raise
        return made

    def _over_unix(self, timeout) -> socket.socket:
        made = self._kind(socket.AF_UNIX, socket.SOCK_STREAM)
        try:
            made.settimeout(timeout)
            made.connect(self._path)
            if not peer_is_ours(made):
                raise Stranger("somebody else's process listens at {}".format(self._path))
        except BaseException:
            made.close()
            raise
        return made

    def _ask_for_proof(self, made):
        nonce = self._draw()
        host, port = made.getpeername()[:2]
        address = "{}:{}".format("[{}]".format(host) if ":" in host else host, port)
        made.sendall("GET {}{} HTTP/1.1\r\nHost: {}\r\nConnection: keep-alive\r\n\r\n".format(
            PROOF_PATH, nonce, address).encode("ascii"))
        answer = http.client.HTTPResponse(made, method="GET")
        try:
            answer.begin()
            said = _PROOF.fullmatch(answer.read(LARGEST_PROOF))
            whole = answer.status == 200 and answer.isclosed() and not answer.will_close
        finally:
            answer.close()
        wanted = proof(self._key, nonce, address)
        told = said.group(1).decode("ascii") if said is not None else ""
        if not whole or not hmac.compare_digest(told, wanted):
            raise Stranger("who listens at {} does not know the key".format(address))
