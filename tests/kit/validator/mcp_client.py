"""The client's end of a conversation with the MCP server, for tests.

Nothing here waits for time to pass: every read ends with the message that is expected, with the
server's end, or, when the server is broken, with a failure after PATIENCE seconds.
"""

import json
import os
import queue
import subprocess
import sys
import threading

from surroundings import KIT

PATIENCE = 30  # seconds; only a defect makes anybody wait for them
STANDING = os.path.join(str(KIT), "standing")

MODERN = {"io.modelcontextprotocol/protocolVersion": "2026-07-28",
          "io.modelcontextprotocol/clientCapabilities": {},
          "io.modelcontextprotocol/clientInfo": {"name": "test", "version": "1"}}


class Client:
    """Writes requests to one stream and reads messages from another. Both are closed by `close`."""

    def __init__(self, to_server, from_server, era="modern"):
        self.to_server = to_server
        self.from_server = from_server
        self.era = era
        self.early = []  # messages that came while another was waited for
        self._ids = iter(range(1000, 1 << 30))
        self._lines = queue.Queue()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        try:
            for line in self.from_server:
                self._lines.put(line)
        except (OSError, ValueError):
            pass
        self._lines.put(b"")

    def write(self, data):
        self.to_server.write(data)
        self.to_server.flush()

    def send(self, message):
        self.write(json.dumps(message).encode() + b"\n")

    def notify(self, method, **params):
        self.send({"jsonrpc": "2.0", "method": method, "params": params})

    def request(self, method, request_id=None, token=None, **params):
        """Sends a request and returns its id."""
        request_id = next(self._ids) if request_id is None else request_id
        meta = dict(MODERN) if self.era == "modern" and method != "initialize" else {}
        if token is not None:
            meta["progressToken"] = token
        if meta:
            params["_meta"] = meta
        self.send({"jsonrpc": "2.0", "id": request_id, "method": method, "params": params})
        return request_id

    def line(self):
        """The next line; b"" when the server has closed its end."""
        return self._lines.get(timeout=PATIENCE)

    def next(self):
        """The next message, which must be one line of JSON; None at the end."""
        line = self.line()
        if not line:
            return None
        assert line.endswith(b"\n"), line
        return json.loads(line.decode("ascii"))

    def answer(self, request_id):
        """The reply to a request; what comes before it is kept in `early`."""
        while True:
            message = self.next()
            assert message is not None, "the server ended; before: %r" % self.early
            if isinstance(message, dict) and message.get("id") == request_id \
                    and "method" not in message:
                return message
            self.early.append(message)

    def ask(self, method, **params):
        return self.answer(self.request(method, **params))

    def result(self, method, **params):
        message = self.ask(method, **params)
        assert "result" in message, message
        return message["result"]

    def call(self, tool, token=None, **arguments):
        """The result of a tool."""
        return self.result("tools/call", token=token, name=tool, arguments=arguments)

    def open_legacy(self, version="2025-11-25"):
        self.era = "legacy"
        result = self.result("initialize", protocolVersion=version, capabilities={},
                             clientInfo={"name": "test", "version": "1"})
        self.notify("notifications/initialized")
        return result

    def rest(self):
        """Closes the client's end and returns all that still comes."""
        self.to_server.close()
        return list(iter(self.next, None))

    def close(self):
        for stream in (self.to_server, self.from_server):
            try:
                stream.close()
            except OSError:
                pass


class Process(Client):
    """A server in a process of its own; what it says on standard error is told by `end`."""

    def __init__(self, arguments, home, era="modern", environment=None, cwd=None):
        self._errors = open(os.path.join(home, "standard-error"), "w+b")
        self.process = subprocess.Popen(
            [sys.executable, "-B"] + arguments, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=self._errors, cwd=cwd or home,
            env=dict({"HOME": home, "PATH": os.environ["PATH"]}, **environment or {}))
        super().__init__(self.process.stdin, self.process.stdout, era)

    def end(self):
        """The exit status and standard error, once the process has ended."""
        status = self.process.wait(timeout=PATIENCE)
        self._errors.seek(0)
        return status, self._errors.read()

    def close(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self._reader.join()
        super().close()
        self._errors.close()
