"""One HTTP exchange with the evaluation service.

The same decisions as the application's own session: a connection for each request, a POST is never
sent twice, redirects are followed within the origin only (the headers carry the key), at most ten
of them, TLS is always verified, this machine is never reached through a proxy, an answer that is
shorter than it announced is no answer. Plain http is for the loopback alone: a key or somebody's
work must not cross a network in the open. Who may be at the other end of a connection within this
machine, and how each wait ends in time, is said in `links`.

No exception leaves this module, and no text made here can hold the key.
"""

import http.client
import time
import urllib.error
import urllib.parse
import urllib.request
from typing import Dict, NamedTuple, Optional

from . import links

LARGEST_ANSWER = 64 * 1024 * 1024
MOST_REDIRECTS = 10
_REDIRECTS = (301, 302, 303, 307, 308)
_CHUNK = 64 * 1024


class Request(NamedTuple):
    """What to send. `timeout` is how long the connection may stay silent, in seconds."""

    method: str
    url: str
    headers: Dict[str, str]
    body: Optional[bytes] = None
    timeout: float = 30.0

    def __repr__(self):
        return "Request({} {})".format(self.method, self.url)  # no headers: they hold the key


class Response(NamedTuple):
    """What came back, an HTTP error included."""

    status: int
    body: bytes


class _NoRedirect(urllib.request.HTTPRedirectHandler):
    """Leaves redirects to `send`, which knows about origins."""

    def redirect_request(self, *_args, **_kwargs):
        return None


def is_loopback(host: Optional[str]) -> bool:
    """Whether this name is this machine, without asking any resolver."""
    name = (host or "").lower().rstrip(".")
    if name == "localhost" or name.endswith(".localhost") or name == "::1":
        return True
    parts = name.split(".")
    return (len(parts) == 4 and parts[0] == "127"
            and all(p.isdigit() and len(p) <= 3 and int(p) < 256 for p in parts))


def may_send_to(url: str) -> bool:
    """Whether the key and the work may go there: https, or http to this machine."""
    try:
        if links.socket_path(url) is not None:
            return True
    except ValueError:
        return False
    parts = _split(url)
    if parts is None:
        return False
    return parts.scheme == "https" or (parts.scheme == "http" and is_loopback(parts.hostname))


def problem_with(base: str) -> Optional[str]:
    """Why nothing can be sent to this address, as a sentence; None when it can."""
    try:
        links.socket_path(base)
    except ValueError as error:
        return str(error)
    if base and not may_send_to(base):
        return "only https, http to this machine itself and http+unix are used"
    return None


def is_of_this_machine(url: str) -> bool:
    """Whether that is a service of this machine: http to the loopback, or a Unix socket."""
    if url.lower().startswith("http+unix://"):
        return True
    parts = _split(url)
    return parts is not None and parts.scheme == "http" and is_loopback(parts.hostname)


def send(request: Request, settings, until: Optional[float] = None) -> Optional[Response]:
    """Performs the exchange. None on every transport failure. `until` is a time.monotonic() at
    which it counts as failed in any case."""
    try:
        return _send(request, settings, until)
    except (OSError, http.client.HTTPException, ValueError, UnicodeError):
        return None


def _send(request: Request, settings, until: Optional[float]) -> Optional[Response]:
    if not all(_is_one_line(value) for value in request.headers.values()):
        return None
    for _ in range(MOST_REDIRECTS + 1):
        if not may_send_to(request.url):
            return None
        answer = _open(request, settings, _patience(request.timeout, until), until)
        with answer:
            status = answer.status if hasattr(answer, "status") else answer.code
            location = answer.headers.get("Location") if status in _REDIRECTS else None
            body = _read(answer, until)
        following = _following(request, status, location)
        if following is None:
            return None if body is None else Response(status, body)
        request = following
    return None


def _open(request: Request, settings, timeout: float, until: Optional[float]):
    path = links.socket_path(request.url)
    url = request.url if path is None else links.over_socket(request.url)
    message = urllib.request.Request(url, data=request.body, method=request.method)
    for name, value in request.headers.items():
        # A key that is no Latin-1 goes as the UTF-8 bytes that it is.
        message.add_unredirected_header(name, value.encode("utf-8").decode("latin-1"))
    if request.body is not None and "Content-Type" not in request.headers:
        message.add_unredirected_header("Content-Type", "application/json")
    proved = settings.key if path is None and _needs_proof(url, settings.key) else None
    link = links.Link(timeout, until, path, proved)
    opener = urllib.request.build_opener(*_handlers(url, settings, link))
    opener.addheaders = []
    try:
        return opener.open(message, timeout=timeout)
    except urllib.error.HTTPError as error:
        return error  # it is an answer like any other


def _needs_proof(url: str, key: Optional[str]) -> bool:
    return url[:5].lower() == "http:" and bool(key) and key.startswith(links.PROVED_KEYS)


class _Plain(urllib.request.HTTPHandler):
    """Opens http by a link."""

    def __init__(self, link):
        super().__init__()
        self._link = link

    def http_open(self, request):
        return self.do_open(self._link.plain, request)


def _handlers(url: str, settings, link):
    parts = _split(url)
    handlers = [_NoRedirect(), urllib.request.ProxyHandler(_proxies(parts, settings)), _Plain(link)]
    if parts.scheme == "https":
        import ssl  # only here: it is slow to load and the local service does without
        context = ssl.create_default_context()
        if settings.ca_file:
            context.load_verify_locations(cafile=settings.ca_file)
        handlers.append(_encrypted(link, context))
    return handlers


def _encrypted(link, context):
    """Opens https by a link, where Python has TLS."""
    class Encrypted(urllib.request.HTTPSHandler):
        def https_open(self, request):
            return self.do_open(link.encrypted, request, context=context)

    return Encrypted(context=context)


def _proxies(parts, settings) -> Dict[str, str]:
    if is_loopback(parts.hostname):
        return {}
    if settings.no_proxy and _is_excepted(parts.hostname, settings.no_proxy):
        return {}
    if settings.proxies:
        return dict(settings.proxies)
    if urllib.request.proxy_bypass(parts.hostname):
        return {}
    return urllib.request.getproxies()


def _is_excepted(host: str, exceptions: str) -> bool:
    for word in exceptions.lower().replace(",", " ").split():
        name = word.lstrip(".").split(":")[0]
        if word == "*" or host == name or host.endswith("." + name):
            return True
    return False


def _read(answer, until: Optional[float]) -> Optional[bytes]:
    """The whole body; None when it is too large, too slow, or shorter than announced."""
    pieces, size = [], 0
    while True:
        piece = answer.read(_CHUNK)
        if not piece:
            break
        pieces.append(piece)
        size += len(piece)
        if size > LARGEST_ANSWER or (until is not None and time.monotonic() > until):
            return None
    announced = (answer.headers.get("Content-Length") or "").strip()
    if announced.isdigit() and int(announced) != size:
        return None
    return b"".join(pieces)


def _following(request: Request, status: int, location: Optional[str]) -> Optional[Request]:
    """The request that a redirect asks for; None when the answer is the answer."""
    if not location:
        return None
    target = _joined(request.url, location.strip())
    if _origin(target) is None or _origin(target) != _origin(request.url):
        return None
    target = urllib.parse.urldefrag(target).url
    if status == 303 or (request.method == "POST" and status in (301, 302)):
        headers = {k: v for k, v in request.headers.items()
                   if not k.lower().startswith("content-")}
        return request._replace(method="GET", url=target, headers=headers, body=None)
    return request._replace(url=target)


def _joined(url: str, location: str) -> str:
    """The address that a location names, seen from an address. What the library joins is http."""
    if links.socket_path(url) is None or "://" in location:
        return urllib.parse.urljoin(url, location)
    joined = urllib.parse.urljoin(links.over_socket(url), location)
    prefix = url[:len(url) - len(links.over_socket(url)) + len("http://localhost")]
    return prefix + joined[len("http://localhost"):] if joined.startswith("http://localhost/") else ""


def _origin(url: str):
    path = links.socket_path(url)
    if path is not None:
        return links.UNIX, path, 0
    parts = _split(url)
    if parts is None or parts.scheme not in ("http", "https"):
        return None
    return parts.scheme, parts.hostname, parts.port or (443 if parts.scheme == "https" else 80)


def _split(url: str):
    """The parts of an absolute address with a host; None for anything else."""
    if not _is_one_line(url) or " " in url:
        return None
    try:
        parts = urllib.parse.urlsplit(url)
        parts.port  # raises for one that is no number
    except ValueError:
        return None
    return parts if parts.hostname and parts.username is None else None


def _is_one_line(value: str) -> bool:
    return not any(c in value for c in "\r\n\0")


def _patience(timeout: float, until: Optional[float]) -> float:
    if until is None:
        return timeout
    left = until - time.monotonic()
    if left <= 0:
        raise TimeoutError
    return min(timeout, left)
