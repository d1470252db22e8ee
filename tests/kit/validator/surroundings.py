"""What the validator's tests share: a home of their own, the kit in it, and two services.

Nothing of this machine comes in: the home is a temporary folder, the environment holds what a test
puts there, and every service listens on 127.0.0.1 at a port of its own.
"""

import json
import os
import pathlib
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

RESOURCES = pathlib.Path(__file__).resolve().parents[3] / "resources"
#: The kit that is tested: a copy that is compiled already (run_all_pythons.py), or the checkout's.
KIT = pathlib.Path(os.environ.get("COMPILED_KIT") or RESOURCES / "kit")
sys.path.insert(0, str(KIT / "standing"))
sys.dont_write_bytecode = True

TREVIX_LOCAL = os.environ.get("TREVIX_LOCAL")


class HomeTest(unittest.TestCase):
    """A test with a home folder and a work folder, both gone afterwards."""

    def setUp(self):
        root = pathlib.Path(os.path.realpath(tempfile.mkdtemp(prefix="validator-")))
        self.addCleanup(shutil.rmtree, str(root), ignore_errors=True)
        self.home = root / "home"
        self.data = self.home / ".brask"
        self.work = root / "work"
        self.home.mkdir()
        self.work.mkdir()
        self.environment = {"HOME": str(self.home), "PATH": os.environ.get("PATH", ""),
                            "PYTHONDONTWRITEBYTECODE": "1"}

    def install_kit(self):
        """Copies the kit as the application does. Returns the path of validate.py."""
        self.data.mkdir(exist_ok=True)
        shutil.copy(str(KIT / "validate.py"), str(self.data))
        shutil.copytree(str(KIT / "standing"), str(self.data / "standing"),
                        ignore=shutil.ignore_patterns("__pycache__"))
        return self.data / "validate.py"

    def write(self, name, content):
        """Makes a file of the work folder and returns its path as text."""
        path = self.work / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content.encode("utf-8") if isinstance(content, str) else content)
        return str(path)

    def run_kit(self, *arguments, data=b"", script=None, **more):
        """Runs validate.py to its end: exit code, standard output, standard error."""
        script = script or KIT / "validate.py"
        done = subprocess.run([sys.executable, str(script)] + list(arguments), input=data,
                              env=dict(self.environment, **more), cwd=str(self.work),
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120)
        return done.returncode, done.stdout, done.stderr

    def assert_silent(self, outcome):
        """Exit code 0 and not a byte."""
        self.assertEqual(outcome, (0, b"", b""))

    def modes(self, folder):
        """Path below `folder` -> permission bits, of everything in it."""
        return {str(p.relative_to(folder)): p.lstat().st_mode & 0o777 for p in folder.rglob("*")}


def grown(small, large, least, most):
    """How many times the processor seconds of `small` the action `large` takes; what takes less than
    `least` seconds counts as that. Only when it is not below `most` is it measured again, and the
    lesser told: other work on the machine makes an action slower, never faster."""
    base = max(least, min(_processor_seconds(small) for _ in range(2)))
    ratio = max(least, _processor_seconds(large)) / base
    return ratio if ratio < most else min(ratio, max(least, _processor_seconds(large)) / base)


def _processor_seconds(action):
    start = time.process_time()
    action()
    return time.process_time() - start


class LocalService:
    """The real service on a free port. `base` and `key` tell how to reach it."""

    def __init__(self):
        if not TREVIX_LOCAL:
            raise unittest.SkipTest("TREVIX_LOCAL does not name the local service's program")
        self._folder = tempfile.mkdtemp(prefix="trevix-")
        self._process = subprocess.Popen(
            [TREVIX_LOCAL, "--port", "0", "--data", self._folder], stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL, env={"PATH": os.environ.get("PATH", "")})
        line = self._process.stdout.readline().decode()
        if "listening on " not in line:
            self.stop()
            raise AssertionError("the local service did not start: " + line)
        self.base = line.rpartition("listening on ")[2].strip()
        self.key = pathlib.Path(self._folder, "key").read_text().strip()

    def variables(self):
        """The environment that points the validator here."""
        return {"BRASK_API_BASE": self.base, "BRASK_API_KEY": self.key}

    def stop(self):
        self._process.kill()
        self._process.wait()
        self._process.stdout.close()
        shutil.rmtree(self._folder, ignore_errors=True)


class Seen:
    """One request as it arrived."""

    def __init__(self, head, body):
        lines = head.decode("latin-1").split("\r\n")
        self.method, self.target = lines[0].split(" ")[:2]
        self.headers = dict((n.lower(), v) for n, _, v in (x.partition(": ") for x in lines[1:]))
        self.body = body

    def json(self):
        return json.loads(self.body.decode("utf-8"))


class FaultServer:
    """A server that answers by a script: a function per request that gets the socket and what was
    seen. The last one stays. One connection, one request."""

    def __init__(self, *steps):
        self.requests = []
        self._steps = list(steps)
        self._socket = socket.socket()
        self._socket.bind(("127.0.0.1", 0))
        self._socket.listen(32)
        self.port = self._socket.getsockname()[1]
        self.base = "http://127.0.0.1:{}".format(self.port)
        self._open = []
        threading.Thread(target=self._accept, daemon=True).start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._socket.close()
        for connection in self._open:
            connection.close()

    def _accept(self):
        while True:
            try:
                connection, _ = self._socket.accept()
            except OSError:
                return
            self._open.append(connection)
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        try:
            seen = _read_request(connection)
            if seen is None:
                connection.close()
                return
            self.requests.append(seen)
            step = self._steps.pop(0) if len(self._steps) > 1 else self._steps[0]
            if step(connection, seen) is not KEEP:
                connection.close()
        except OSError:
            pass


KEEP = object()


def _read_request(connection):
    data = b""
    while b"\r\n\r\n" not in data:
        piece = connection.recv(65536)
        if not piece or piece.startswith(b"\x16"):  # the end, or the beginning of TLS
            return None
        data += piece
    head, _, body = data.partition(b"\r\n\r\n")
    seen = Seen(head, body)
    while len(seen.body) < int(seen.headers.get("content-length", 0)):
        piece = connection.recv(65536)
        if not piece:
            return None
        seen.body += piece
    return seen


def answer(status, body, *headers):
    """A step: a proper answer. `body` is bytes, or an object to write as JSON."""
    data = body if isinstance(body, bytes) else json.dumps(body).encode()
    lines = ["HTTP/1.1 {} X".format(status), "Content-Length: {}".format(len(data)),
             "Connection: close"] + list(headers)
    return raw("\r\n".join(lines).encode() + b"\r\n\r\n" + data)


def raw(data):
    """A step: these bytes, then the end."""
    def step(connection, _):
        connection.sendall(data)
    return step


def silence(connection, _):
    """A step: nothing, and the connection stays open."""
    return KEEP


def reset(connection, _):
    """A step: the connection is torn."""
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


def half_body(data):
    """A step: half of what the head announces."""
    return raw("HTTP/1.1 200 X\r\nContent-Length: {}\r\n\r\n".format(len(data)).encode()
               + data[:len(data) // 2])


def closed_port():
    """A port of this machine on which nobody listens."""
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]
