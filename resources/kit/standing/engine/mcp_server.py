"""Who reads the client's lines, runs its tool calls and writes the answers?

`serve` does, until the client closes its end. The calling thread decides, in the order of the
lines; one thread reads, one writes, and each running call has its own, so that a list is answered
while a grade polls for minutes. All of them are daemons that hold no lock of a Python stream:
nothing that hangs in the network keeps the process from ending at once.
"""

import collections
import os
import queue
import signal
import threading

from . import mcp_protocol as protocol

MOST_RUNNING = 8  # calls at once
MOST_WAITING = 56  # calls that wait for one of those to end
MOST_SUBSCRIPTIONS = 16
MOST_UNREAD = 1024  # messages that the client has not read yet
UNREAD_PATIENCE = 30.0  # seconds for it to read one of them, before it counts as gone
LAST_WORDS = 1.0  # seconds at the end for calls that need no network, and for what is written

_END = object()


def serve(stdin, stdout, tools=None):
    """Serves the client on the other end of two binary streams until it closes one of them.

    Standard output belongs to the protocol alone: where `stdout` is the process's own, whatever
    else prints there afterwards comes out on standard error. `tools` are those of `mcp_tools`
    unless given: `definitions`, `is_local(name)` and `run(name, arguments, progress, cancelled)`.
    Returns the exit status. A stream that is None was closed before all began.
    """
    if stdin is None or stdout is None:
        return 0
    if tools is None:
        from .mcp_tools import Tools
        tools = Tools()
    _end_at_interrupts()
    source, sink = _own(stdin, 0), _own(stdout, 1)
    Server(tools, _chunks(source), Sink(sink)).run()
    return 0


def _end_at_interrupts():
    """Lets an interrupt end the process as a termination does: there is nothing to save, and an
    exception between any two steps could leave a lock held."""
    if threading.current_thread() is threading.main_thread():
        signal.signal(signal.SIGINT, signal.SIG_DFL)


def _own(stream, number):
    """A descriptor for the stream that nobody else knows, or the stream when it has none."""
    try:
        descriptor = stream.fileno()
    except (AttributeError, OSError, ValueError):
        return stream
    private = os.dup(descriptor)
    if descriptor == number:
        _redirect(number)
    return private


def _redirect(number):
    """Turns standard input into nothing, and standard output into standard error."""
    nothing = os.open(os.devnull, os.O_RDWR)
    try:
        os.dup2(nothing if number == 0 else 2, number)
    except OSError:  # there is no standard error
        os.dup2(nothing, number)
    os.close(nothing)


def _chunks(source):
    """What comes from the client, piece by piece, until it ends or breaks."""
    own = isinstance(source, int)
    try:
        yield from iter(lambda: os.read(source, 65536) if own else source.read(65536), b"")
    except (OSError, ValueError):
        pass
    if own:
        os.close(source)


class Sink:
    """Writes all bytes to the client, or raises OSError. For one thread."""

    def __init__(self, target):
        """`target` is a descriptor, which `close` closes, or a binary stream."""
        self._target = target
        self._own = isinstance(target, int)

    def write(self, line):
        if not self._own:
            self._target.write(line)
            self._target.flush()
        while self._own and line:
            line = line[os.write(self._target, line):]

    def close(self):
        if self._own:
            os.close(self._target)


def _encoded(message):
    try:
        return protocol.encode(message)
    except ValueError:  # a number that JSON does not have
        problem = protocol.Rejection(protocol.INTERNAL_ERROR, "Internal error: unsendable")
        return protocol.encode(protocol.error_reply(message.get("id"), problem))


class Outlet:
    """Sends messages in the order of `send`, from a thread of its own. For any thread.

    Nobody waits for a client that reads slowly, unless too much is unread already.
    """

    def __init__(self, sink, on_broken, patience=UNREAD_PATIENCE):
        """`on_broken` is called once, when nothing can be sent any more."""
        self._sink = sink
        self._on_broken = on_broken
        self._patience = patience
        self._lines = queue.Queue(MOST_UNREAD)
        self._broken = threading.Event()
        self._thread = threading.Thread(target=self._work, daemon=True)
        self._thread.start()

    def send(self, message):
        self._put(_encoded(message), self._patience)

    def send_all(self, messages):
        """Sends an array of messages, as the answer to a batch."""
        lines = [_encoded(message).rstrip() for message in messages]
        self._put(b"[" + b",".join(lines) + b"]\n", self._patience)

    def close(self, patience):
        """Waits until all is written and the sink closed, or until that takes too long."""
        self._put(_END, patience)
        self._thread.join(patience)

    def _put(self, line, patience):
        if self._broken.is_set() and line is not _END:
            return
        try:
            self._lines.put(line, timeout=patience)
        except queue.Full:
            self._break()

    def _work(self):
        for line in iter(self._lines.get, _END):
            if self._broken.is_set():
                continue  # whoever waits in `send` goes on
            try:
                self._sink.write(line)
            except (OSError, ValueError):
                self._break()
        self._sink.close()

    def _break(self):
        if not self._broken.is_set():
            self._broken.set()
            self._on_broken()


class Direct:
    """Where the reply to a message of its own goes: straight to the client."""

    def __init__(self, outlet):
        self._outlet = outlet

    def reply(self, message):
        self._outlet.send(message)

    def no_reply(self):
        """There will be none, since the call was cancelled."""


class Gathered:
    """Where the replies to the messages of a batch go: into one array, sent with the last one."""

    def __init__(self, outlet, expected):
        self._outlet = outlet
        self._missing = expected
        self._replies = []
        self._lock = threading.Lock()

    def reply(self, message):
        self._arrived([message])

    def no_reply(self):
        self._arrived([])

    def _arrived(self, messages):
        with self._lock:
            self._replies += messages
            self._missing -= 1
            complete = self._missing == 0
        if complete and self._replies:
            self._outlet.send_all(self._replies)


class Running:
    """A call on its way. Whatever is said about it is said before it is over, and once."""

    def __init__(self, call, replies, outlet):
        self.call = call
        self.cancelled = threading.Event()
        self._replies = replies
        self._outlet = outlet
        self._lock = threading.Lock()
        self._over = False
        self._progress = 0

    def report(self, text):
        """Tells the client how far the call is, if it wants to know."""
        with self._lock:
            if not self._over and self.call.progress_token is not None:
                self._progress += 1
                self._outlet.send(protocol.progress_message(self.call.progress_token,
                                                            self._progress, text))

    def finish(self, message):
        with self._lock:
            if not self._over:
                self._over = True
                self._replies.reply(message)

    def cancel(self):
        with self._lock:
            if not self._over:
                self._over = True
                self._replies.no_reply()
        self.cancelled.set()


class Calls:
    """The calls in progress: a thread for each, of which there are so many and no more."""

    def __init__(self, run, most_running=MOST_RUNNING, most_waiting=MOST_WAITING):
        """`run` takes a Running to its end and does not raise."""
        self._run = run
        self._most_running = most_running
        self._most_waiting = most_waiting
        self._changed = threading.Condition()
        self._by_id = {}
        self._waiting = collections.deque()
        self._threads = 0

    def __contains__(self, request_id):
        with self._changed:
            return request_id in self._by_id

    def start(self, running):
        """Whether the call is taken; it is not when too many are waiting."""
        with self._changed:
            if self._threads < self._most_running:
                threading.Thread(target=self._work, args=(running,), daemon=True).start()
                self._threads += 1
            elif len(self._waiting) < self._most_waiting:
                self._waiting.append(running)
            else:
                return False
            self._by_id[running.call.id] = running
            return True

    def cancel(self, request_id):
        with self._changed:
            running = self._by_id.pop(request_id, None)
            if running in self._waiting:
                self._waiting.remove(running)
            self._changed.notify_all()
        if running:
            running.cancel()

    def end(self, is_short, patience):
        """Cancels all calls, after `patience` seconds for those that are short anyway."""
        def cancel_but(keep):
            with self._changed:
                ids = [key for key, one in self._by_id.items() if not keep(one.call)]
            for key in ids:
                self.cancel(key)

        cancel_but(is_short)
        with self._changed:
            self._changed.wait_for(lambda: not self._by_id, patience)
        cancel_but(lambda call: False)
        with self._changed:  # what was cancelled tells the service so
            self._changed.wait_for(lambda: not self._threads, patience)

    def _work(self, running):
        while running:
            self._run(running)
            with self._changed:
                if self._by_id.get(running.call.id) is running:
                    del self._by_id[running.call.id]
                running = self._waiting.popleft() if self._waiting else None
                self._threads -= 0 if running else 1
                self._changed.notify_all()


class Server:
    """One client, from its first line to its last."""

    def __init__(self, tools, chunks, sink):
        self._tools = tools
        self._chunks = chunks
        self._session = protocol.Session(tools.identity, tools.instructions, tools.definitions,
                                         getattr(tools, "templates", ()))
        self._events = queue.Queue(2)  # a client that is faster than we are has to wait
        self._over = threading.Event()
        self._outlet = Outlet(sink, self._stop)
        self._calls = Calls(self._run_tool)
        self._subscriptions = {}
        self._perform = {protocol.Reply: self._reply, protocol.Call: self._call,
                         protocol.Read: self._call, protocol.Resources: self._resources,
                         protocol.Cancel: self._cancel, protocol.Listen: self._listen,
                         protocol.Batch: self._batch}

    def run(self):
        """Returns when the client has closed its end, or stopped reading."""
        threading.Thread(target=self._read, daemon=True).start()
        direct = Direct(self._outlet)
        for line in iter(self._events.get, _END):
            for action in self._session.receive(line):
                self._perform[type(action)](action, direct)
            if self._over.is_set():
                break
        self._calls.end(lambda call: self._tools.is_local(call.tool), LAST_WORDS)
        for listen in self._subscriptions.values():
            self._outlet.send(self._session.end_of_subscription(listen))
        self._outlet.close(LAST_WORDS)

    def _stop(self):
        """Nothing can be sent any more. Called by whichever thread finds out: the one that takes
        events from the queue must not wait for room in it."""
        self._over.set()
        try:
            self._events.put_nowait(_END)
        except queue.Full:
            pass  # then there is a line to wake up for

    def _read(self):
        for line in protocol.split_lines(self._chunks):
            self._events.put(line)
        self._events.put(_END)

    @staticmethod
    def _reply(action, replies):
        replies.reply(action.message)

    def _batch(self, action, _):
        expected = [a for a in action.actions if not isinstance(a, protocol.Cancel)]
        replies = Gathered(self._outlet, len(expected))
        for one in action.actions:
            self._perform[type(one)](one, replies)

    def _call(self, call, replies):
        if self._is_taken(call.id, replies):
            return
        running = Running(call, replies, self._outlet)
        try:
            taken = self._calls.start(running)
        except RuntimeError:  # the system gives no more threads
            taken = False
        if not taken and isinstance(call, protocol.Read):
            replies.reply(protocol.error_reply(call.id, protocol.Rejection(
                protocol.INTERNAL_ERROR, "Too many calls are in progress")))
        elif not taken:
            busy = self._tools.failure("Too many calls are in progress. Nothing was sent; call "
                                       "again when one of them has ended.")
            replies.reply(self._session.finished(call, busy))

    def _resources(self, asked, replies):
        replies.reply(self._session.listed(asked, self._tools.resources()))

    def _tell_of_resources(self):
        """Tells everybody who wants to know that there are other resources than before."""
        if self._session.wants_changes():
            self._outlet.send(self._session.changed())
        for listen in list(self._subscriptions.values()):
            if listen.resources:
                self._outlet.send(self._session.changed(listen))

    def _listen(self, listen, replies):
        if self._is_taken(listen.id, replies):
            return
        if len(self._subscriptions) >= MOST_SUBSCRIPTIONS:
            replies.reply(self._session.end_of_subscription(listen))
            return
        self._subscriptions[listen.id] = listen
        self._outlet.send(self._session.acknowledgement(listen))

    def _cancel(self, cancel, _):
        self._subscriptions.pop(cancel.id, None)
        self._calls.cancel(cancel.id)

    def _is_taken(self, request_id, replies):
        """Refuses an id that still waits for its answer: two answers could not be told apart."""
        taken = request_id in self._calls or request_id in self._subscriptions
        if taken:
            problem = "Invalid Request: this id is still in use"
            replies.reply(protocol.error_reply(
                request_id, protocol.Rejection(protocol.INVALID_REQUEST, problem)))
        return taken

    def _run_tool(self, running):
        call = running.call
        if isinstance(call, protocol.Read):
            running.finish(self._read_resource(call, running.cancelled))
            return
        before = self._known_resources()
        try:
            result = self._tools.run(call.tool, call.arguments, running.report, running.cancelled)
            message = self._session.finished(call, result)
        except BaseException as error:  # no text of it: that could quote what was not to be told
            problem = "Internal error: %s in %s" % (type(error).__name__, call.tool)
            message = protocol.error_reply(
                call.id, protocol.Rejection(protocol.INTERNAL_ERROR, problem))
        running.finish(message)
        if self._known_resources() != before:
            self._tell_of_resources()

    def _known_resources(self):
        """How often there were other resources; None of tools that have none."""
        return getattr(self._tools, "resource_changes", None)

    def _read_resource(self, asked, cancelled):
        """The reply to a reading, which may ask the service."""
        try:
            contents = self._tools.read(asked.uri, cancelled)
            if contents is None:
                return self._session.unknown(asked)
            return self._session.finished(asked, {"contents": contents})
        except BaseException as error:  # no text of it, as above
            problem = "Internal error: %s in %s" % (type(error).__name__, asked.tool)
            return protocol.error_reply(
                asked.id, protocol.Rejection(protocol.INTERNAL_ERROR, problem))
