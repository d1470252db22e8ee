"""What does a line from an MCP client ask for, and how is it answered?

The protocol alone: no streams, no threads, no clock, so that everything here can be tried on
literals. `Session.receive` turns one line into actions; whoever owns the streams performs them and
asks the session for the messages to send.

Two eras are spoken at once. A *modern* request says its protocol version in its own `_meta` and
stands for itself. A *legacy* client opens with `initialize`, and from then on its requests carry no
version. A request that does neither is refused, since nobody can tell how to answer it.
"""

import json
import re
from typing import Any, Dict, List, NamedTuple, Optional, Sequence, Union

LEGACY_VERSIONS = ("2024-11-05", "2025-03-26", "2025-06-18", "2025-11-25")
MODERN_VERSIONS = ("2026-07-28",)
BATCH_VERSIONS = ("2024-11-05", "2025-03-26")  # later ones have no batches

PARSE_ERROR = -32700
INVALID_REQUEST = -32600
METHOD_NOT_FOUND = -32601
INVALID_PARAMS = -32602
INTERNAL_ERROR = -32603
RESOURCE_NOT_FOUND = -32002     # in the legacy era; INVALID_PARAMS in the modern one
UNSUPPORTED_VERSION = -32022

LONGEST_LINE = 16 * 1024 * 1024  # bytes
LARGEST_BATCH = 64

_MOST_DIGITS = 1000

# An escaped backslash or a whole pair, to be kept; or a lone half.
_SURROGATES = re.compile(r"(\\\\|\\ud[89ab]..\\ud[c-f]..)|\\ud[89a-f]..")

_PREFIX = "io.modelcontextprotocol/"
_VERSION = _PREFIX + "protocolVersion"
_CAPABILITIES = _PREFIX + "clientCapabilities"
_CLIENT = _PREFIX + "clientInfo"
_SERVER = _PREFIX + "serverInfo"
_SUBSCRIPTION = _PREFIX + "subscriptionId"

# The tools are part of the program: they change when it is replaced, not while it runs.
_FRESH_MS = 3600 * 1000

RequestId = Union[str, int]
Message = Dict[str, Any]


class Rejection(Exception):
    """A message that is answered with a JSON-RPC error."""

    def __init__(self, code: int, message: str, data: Any = None):
        super().__init__(message)
        self.code = code
        self.message = message
        self.data = data


class Reply(NamedTuple):
    """Send this."""

    message: Message


class Call(NamedTuple):
    """Run this tool and send `Session.finished` with its result."""

    id: RequestId
    tool: str
    arguments: Dict[str, Any]
    progress_token: Optional[RequestId]  # 0 and "" are tokens, None is not
    modern: bool


class Read(NamedTuple):
    """Read this resource and send `Session.finished` with its result, or `Session.unknown`."""

    id: RequestId
    uri: str
    modern: bool
    progress_token: Optional[RequestId] = None
    tool: str = "resources/read"


class Resources(NamedTuple):
    """List the resources that there are now, and send `Session.listed`."""

    id: RequestId
    modern: bool


class Listen(NamedTuple):
    """Send `acknowledgement` and keep the subscription until it is cancelled or all ends. With
    `resources`, `Session.changed` is sent whenever there are other resources than before."""

    id: RequestId
    resources: bool = False


class Cancel(NamedTuple):
    """Stop what runs under this id, if anything does, and send nothing more for it."""

    id: RequestId


class Batch(NamedTuple):
    """Perform the actions and send all their replies as one array; none means no array."""

    actions: List[Any]


def split_lines(chunks, limit: int = LONGEST_LINE):
    """The lines of a stream of bytes, without their line feeds; None for one beyond `limit`.

    No more than `limit` bytes and one chunk are held at any time, whatever the client sends. What
    stands behind the last line feed counts as a line.
    """
    pending = bytearray()
    too_long = False
    for chunk in chunks:
        start = 0
        while start <= len(chunk):
            end = chunk.find(b"\n", start)
            piece = chunk[start:] if end < 0 else chunk[start:end]
            too_long = too_long or len(pending) + len(piece) > limit
            if too_long:
                pending.clear()
            else:
                pending += piece
            if end < 0:
                break
            yield None if too_long else bytes(pending)
            pending.clear()
            too_long = False
            start = end + 1
    if too_long:
        yield None
    elif pending:
        yield bytes(pending)


def decode(line: bytes) -> Any:
    """The JSON value of a line. Raises Rejection when it is none."""
    if line.startswith(b"\xef\xbb\xbf"):
        line = line[3:]
    try:
        return json.loads(line.decode("utf-8"), parse_constant=_refuse_constant,
                          parse_int=_whole_number)
    except UnicodeDecodeError as error:
        problem = "not UTF-8 at byte %d" % error.start
    except json.JSONDecodeError as error:
        problem = "not JSON at column %d: %s" % (error.colno, error.msg)
    except ValueError:  # a constant that JSON has not, a number of thousands of digits
        problem = "it holds a number that JSON does not have or nobody can use"
    except RecursionError:
        problem = "nested too deeply"
    except MemoryError:
        problem = "too large"
    raise Rejection(PARSE_ERROR, "Parse error: " + problem)


def _refuse_constant(name: str):
    raise ValueError(name)


def _whole_number(digits: str) -> int:
    if len(digits) > _MOST_DIGITS:  # reading them takes time that grows with their square
        raise ValueError("too many digits")
    return int(digits)


def encode(message: Any) -> bytes:
    """One line. Pure ASCII: no client can trip over encodings or Unicode's own line ends.

    Half of a surrogate pair, which a file name may bring in and strict readers refuse, becomes a
    replacement character.
    """
    text = json.dumps(message, separators=(",", ":"), allow_nan=False)
    text = _SURROGATES.sub(lambda match: match.group(1) or "\\ufffd", text)
    return text.encode("ascii") + b"\n"


def error_reply(request_id: Optional[RequestId], rejection: Rejection) -> Message:
    """The error message for a request; `request_id` is None when its id could not be read."""
    error: Dict[str, Any] = {"code": rejection.code, "message": rejection.message}
    if rejection.data is not None:
        error["data"] = rejection.data
    return {"jsonrpc": "2.0", "id": request_id, "error": error}


def result_reply(request_id: RequestId, result: Dict[str, Any]) -> Message:
    return {"jsonrpc": "2.0", "id": request_id, "result": result}


def progress_message(token: RequestId, progress: int, text: str) -> Message:
    """A progress notification. `progress` must grow from one to the next of a request."""
    params = {"progressToken": token, "progress": progress, "message": text}
    return {"jsonrpc": "2.0", "method": "notifications/progress", "params": params}


def is_id(value: Any) -> bool:
    """Whether the value can be an id or a progress token: a string or a whole number."""
    return isinstance(value, (str, int)) and not isinstance(value, bool)


class Session:
    """One client on the other end of the streams. Used by one thread, but for `finished`."""

    def __init__(self, identity: Dict[str, str], instructions: str,
                 tools: Sequence[Dict[str, Any]], templates: Sequence[Dict[str, Any]] = ()):
        """`identity` has "name" and "version"; `tools` are the definitions, in their order, and
        `templates` those of resources; there are no resources without one."""
        self._templates = list(templates)
        self._identity = identity
        self._instructions = instructions
        self._tools = list(tools)
        self._names = frozenset(tool["name"] for tool in tools)
        self._agreed: Optional[str] = None  # the legacy version, once there was an `initialize`

    def receive(self, line: Optional[bytes]) -> List[Any]:
        """The actions that a line asks for. None stands for a line that was too long."""
        if line is None:
            problem = "Invalid Request: a message may have %d bytes" % LONGEST_LINE
            return [Reply(error_reply(None, Rejection(INVALID_REQUEST, problem)))]
        if not line.strip():
            return []
        try:
            value = decode(line)
        except Rejection as rejection:
            return [Reply(error_reply(None, rejection))]
        if isinstance(value, list):
            return self._batch(value)
        return self._message(value)

    def finished(self, call: Union[Call, Read], result: Dict[str, Any]) -> Message:
        """The reply to a call whose tool gave `result` ("content", "isError", ...), or to a reading
        that gave "contents"."""
        if not call.modern:
            return result_reply(call.id, result)
        if isinstance(call, Read):
            result = dict(result, ttlMs=0, cacheScope="private")
        return result_reply(call.id, self._complete(result))

    def listed(self, asked: Resources, resources: Sequence[Dict[str, Any]]) -> Message:
        """The reply to a request for the list of resources, which changes with every verdict."""
        answer: Dict[str, Any] = {"resources": list(resources)}
        if asked.modern:
            answer = self._complete(dict(answer, ttlMs=0, cacheScope="private"))
        return result_reply(asked.id, answer)

    @staticmethod
    def unknown(asked: Read) -> Message:
        """The reply to a request for a resource that is not there."""
        code = INVALID_PARAMS if asked.modern else RESOURCE_NOT_FOUND
        return error_reply(asked.id, Rejection(code, "Resource not found", {"uri": asked.uri}))

    def wants_changes(self) -> bool:
        """Whether the client, by what it agreed to, is told of other resources unasked."""
        return self._agreed is not None and bool(self._templates)

    @staticmethod
    def changed(listen: Optional[Listen] = None) -> Message:
        """There are other resources than before; said within a subscription, if there is one."""
        message: Message = {"jsonrpc": "2.0",
                            "method": "notifications/resources/list_changed"}
        if listen is not None:
            message["params"] = {"_meta": {_SUBSCRIPTION: listen.id}}
        return message

    def _capabilities(self) -> Dict[str, Any]:
        found: Dict[str, Any] = {"tools": {}}
        if self._templates:
            found["resources"] = {"listChanged": True}
        return found

    def acknowledgement(self, listen: Listen) -> Message:
        """What a subscriber hears first: what of all it asked for it will be told."""
        told = {"resourcesListChanged": True} if listen.resources else {}
        params = {"_meta": {_SUBSCRIPTION: listen.id}, "notifications": told}
        method = "notifications/subscriptions/acknowledged"
        return {"jsonrpc": "2.0", "method": method, "params": params}

    def end_of_subscription(self, listen: Listen) -> Message:
        """What a subscriber hears last, when the server ends."""
        result = self._complete({})
        result["_meta"][_SUBSCRIPTION] = listen.id
        return result_reply(listen.id, result)

    def _batch(self, values: List[Any]) -> List[Any]:
        problem = None
        if self._agreed not in BATCH_VERSIONS:
            problem = "batches are not part of this protocol version"
        elif not values:
            problem = "an empty batch"
        elif len(values) > LARGEST_BATCH:
            problem = "a batch may hold %d messages" % LARGEST_BATCH
        if problem:
            return [Reply(error_reply(None, Rejection(INVALID_REQUEST,
                                                      "Invalid Request: " + problem)))]
        actions: List[Any] = []
        for value in values:
            if isinstance(value, dict) and value.get("method") == "initialize":
                late = Rejection(INVALID_REQUEST, "initialize must not be part of a batch")
                request_id = value.get("id")
                actions.append(Reply(error_reply(request_id if is_id(request_id) else None, late)))
            else:
                actions += self._message(value)
        return [Batch(actions)]

    def _message(self, value: Any) -> List[Any]:
        """The actions of one message: a request, a notification, an answer, or something wrong."""
        if not isinstance(value, dict):
            return [Reply(error_reply(None, Rejection(INVALID_REQUEST,
                                                      "Invalid Request: not an object")))]
        if "id" not in value and isinstance(value.get("method"), str):
            return self._notification(value)
        if "method" not in value and ("result" in value or "error" in value):
            return []  # an answer, though nothing was asked
        request_id = value.get("id")
        try:
            if not is_id(request_id):
                request_id = None
                raise Rejection(INVALID_REQUEST, "Invalid Request: id must be a string or integer")
            if value.get("jsonrpc") != "2.0":
                raise Rejection(INVALID_REQUEST, 'Invalid Request: jsonrpc must be "2.0"')
            if not isinstance(value.get("method"), str):
                raise Rejection(INVALID_REQUEST, "Invalid Request: method must be a string")
            return [self._request(request_id, value["method"],
                                  {} if value.get("params") is None else value["params"])]
        except Rejection as rejection:
            return [Reply(error_reply(request_id, rejection))]

    @staticmethod
    def _notification(value: Message) -> List[Any]:
        """Notifications are never answered, not even wrong ones."""
        params = value.get("params")
        if value["method"] == "notifications/cancelled" and isinstance(params, dict):
            if is_id(params.get("requestId")):
                return [Cancel(params["requestId"])]
        return []

    def _request(self, request_id: RequestId, method: str, params: Any) -> Any:
        if not isinstance(params, dict):
            raise Rejection(INVALID_PARAMS, "Invalid params: params must be an object")
        meta = params.get("_meta", {})
        if not isinstance(meta, dict):
            raise Rejection(INVALID_PARAMS, "Invalid params: params._meta must be an object")
        if method == "initialize":
            return Reply(result_reply(request_id, self._initialize(params)))
        modern = any(key in meta for key in (_VERSION, _CAPABILITIES, _CLIENT))
        if modern:
            _check_modern(meta)
        known = (_MODERN_METHODS if modern else _METHODS) | \
            (_RESOURCE_METHODS if self._templates else frozenset())
        if method not in known:
            raise Rejection(METHOD_NOT_FOUND, "Method not found: " + method[:100])
        if not modern and (method in _MODERN_ONLY or not self._may_go_bare(method)):
            raise Rejection(INVALID_PARAMS, "Invalid params: params._meta lacks %s; a client of %s "
                            "or before sends initialize first" % (_VERSION, LEGACY_VERSIONS[-1]))
        if method == "tools/call":
            return self._call(request_id, params, meta, modern)
        if method == "subscriptions/listen":
            if not isinstance(params.get("notifications"), dict):
                raise Rejection(INVALID_PARAMS, "Invalid params: notifications must be an object")
            wanted = params["notifications"].get("resourcesListChanged") is True
            return Listen(request_id, wanted and bool(self._templates))
        if method == "resources/read":
            if not isinstance(params.get("uri"), str):
                raise Rejection(INVALID_PARAMS, "Invalid params: uri must be a string")
            return Read(request_id, params["uri"], modern)
        if method == "resources/list":
            _check_cursor(params)
            return Resources(request_id, modern)
        answer = {"ping": dict, "tools/list": lambda: self._list("tools", self._tools, params, modern),
                  "resources/templates/list": lambda: self._list(
                      "resourceTemplates", self._templates, params, modern),
                  "server/discover": self._discover}[method]()
        return Reply(result_reply(request_id, self._complete(answer) if modern else answer))

    def _may_go_bare(self, method: str) -> bool:
        """Whether a request without a version of its own is one of a legacy client."""
        return self._agreed is not None or method == "ping"

    def _initialize(self, params: Dict[str, Any]) -> Dict[str, Any]:
        version = params.get("protocolVersion")
        if not isinstance(version, str):
            raise Rejection(INVALID_PARAMS, "Invalid params: protocolVersion must be a string")
        self._agreed = version if version in LEGACY_VERSIONS else LEGACY_VERSIONS[-1]
        return {"protocolVersion": self._agreed, "capabilities": self._capabilities(),
                "serverInfo": self._identity, "instructions": self._instructions}

    def _discover(self) -> Dict[str, Any]:
        return {"supportedVersions": list(MODERN_VERSIONS), "capabilities": self._capabilities(),
                "instructions": self._instructions, "ttlMs": _FRESH_MS, "cacheScope": "public"}

    @staticmethod
    def _list(name: str, items: List[Dict[str, Any]], params: Dict[str, Any],
              modern: bool) -> Dict[str, Any]:
        _check_cursor(params)
        answer: Dict[str, Any] = {name: items}
        if modern:
            answer.update(ttlMs=_FRESH_MS, cacheScope="public")
        return answer

    def _call(self, request_id: RequestId, params: Dict[str, Any], meta: Dict[str, Any],
              modern: bool) -> Call:
        name = params.get("name")
        if not isinstance(name, str):
            raise Rejection(INVALID_PARAMS, "Invalid params: name must be a string")
        if name not in self._names:
            raise Rejection(INVALID_PARAMS, "Unknown tool: " + name[:100])
        arguments = params.get("arguments", {})
        if not isinstance(arguments, dict):
            raise Rejection(INVALID_PARAMS, "Invalid params: arguments must be an object")
        token = meta.get("progressToken")
        return Call(request_id, name, arguments, token if is_id(token) else None, modern)

    def _complete(self, result: Dict[str, Any]) -> Dict[str, Any]:
        """A result as the modern era wants it."""
        return {"resultType": "complete", **result, "_meta": {_SERVER: self._identity}}


_MODERN_ONLY = frozenset(["server/discover", "subscriptions/listen"])
_MODERN_METHODS = _MODERN_ONLY | {"tools/list", "tools/call"}
_METHODS = _MODERN_METHODS | {"ping"}
_RESOURCE_METHODS = frozenset(["resources/list", "resources/read", "resources/templates/list"])


def _check_cursor(params: Dict[str, Any]) -> None:
    if params.get("cursor") is not None:
        raise Rejection(INVALID_PARAMS, "Invalid params: no such cursor; the list has one page")


def _check_modern(meta: Dict[str, Any]) -> None:
    """Raises Rejection unless the request says a version that is spoken here, and all it must."""
    version = meta.get(_VERSION)
    if not isinstance(version, str):
        raise Rejection(INVALID_PARAMS, "Invalid params: _meta lacks the string " + _VERSION)
    if version not in MODERN_VERSIONS:
        raise Rejection(UNSUPPORTED_VERSION, "Unsupported protocol version",
                        {"supported": list(MODERN_VERSIONS), "requested": version})
    if not isinstance(meta.get(_CAPABILITIES), dict):
        raise Rejection(INVALID_PARAMS, "Invalid params: _meta lacks the object " + _CAPABILITIES)
