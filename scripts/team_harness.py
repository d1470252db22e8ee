"""A team's service on this machine, thrown away afterwards: a database server, api and worker processes.

For scripts/run-team, bench/team_siege.py and tests/service/team_test.py. Everything lives in one temporary
folder, listens on 127.0.0.1 and on Unix sockets in it, and ends with the `with` block. PostgreSQL refuses
root: as root the server runs as the user postgres, or nobody.
"""

import http.client
import json
import os
import pathlib
import pwd
import shutil
import signal
import subprocess
import tempfile
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
# Whatever is waited for comes within seconds, and within a minute from what is sanitized, on a busy machine;
# when it has not by then it will not.
PATIENCE = 120


def find_program():
    """The built service: TREVIX_LOCAL, or the newest build's."""
    named = os.environ.get("TREVIX_LOCAL")
    if named:
        return pathlib.Path(named)
    built = [ROOT / "build" / preset / "trevix-local" for preset in ("release", "bench", "dev")]
    there = [path for path in built if path.exists()]
    if not there:
        raise SystemExit("build trevix-local first, or say where it is with TREVIX_LOCAL")
    return max(there, key=lambda path: path.stat().st_mtime)


def server_programs():
    """The folder of initdb and postgres."""
    out = subprocess.run(["pg_config", "--bindir"], capture_output=True, text=True, check=False)
    folder = pathlib.Path(out.stdout.strip() or "/nowhere")
    if not (folder / "initdb").exists():
        raise SystemExit("no PostgreSQL server here: scripts/bootstrap test")
    return folder


def await_that(what, told):
    """Waits until what() is true."""
    until = time.monotonic() + PATIENCE
    while time.monotonic() < until:
        if what():
            return
        time.sleep(0.02)
    raise SystemExit(f"{told}: not within {PATIENCE} s")


class Database:
    """One throw-away cluster. What is on the disk survives kill(), as it is written through."""

    def __init__(self, folder, settings=(), room=None):
        """`settings` are the server's, name=value; `room` bytes are all that its disk has, which takes
        root in a mount namespace of its own."""
        self.folder = folder / "database"
        self.folder.mkdir()
        self.settings = [word for setting in settings for word in ("-c", setting)]
        self.mounted = room is not None
        if self.mounted:
            subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={room}", "tmpfs", self.folder], check=True)
        self.bin = server_programs()
        self.user = None
        if os.geteuid() == 0:
            names = {entry.pw_name for entry in pwd.getpwall()}
            self.user = pwd.getpwnam("postgres" if "postgres" in names else "nobody")
            os.chown(self.folder, self.user.pw_uid, self.user.pw_gid)
            os.chmod(folder, 0o755)
        self.process = None
        self.log = open(folder / "database.log", "ab")
        subprocess.run([self.bin / "initdb", "-D", self.folder / "data", "-A", "trust", "-U", "trevix",
                        "-E", "UTF8", "--locale=C", "--no-sync"], check=True, stdout=self.log,
                       stderr=self.log, cwd="/", **self._as_user())
        self.address = f"postgresql://trevix@/postgres?host={self.folder}"
        try:
            self.start()
        except BaseException:
            self.end()
            raise

    def _as_user(self):
        if self.user is None:
            return {}
        return {"user": self.user.pw_uid, "group": self.user.pw_gid, "extra_groups": []}

    def start(self):
        def answers():
            if self.process is None or self.process.poll() is not None:
                # Killed, its processes hold its memory until they notice.
                self.process = subprocess.Popen(
                    [self.bin / "postgres", "-D", self.folder / "data", "-k", self.folder, "-h", "",
                     "-c", "max_connections=200", *self.settings],
                    stdout=self.log, stderr=self.log, cwd="/", **self._as_user())
            return subprocess.run([self.bin / "pg_isready", "-q", "-h", self.folder],
                                  check=False).returncode == 0

        await_that(answers, "the database does not start")

    def kill(self):
        # The server alone would leave its children, who go on answering for a while.
        for row in self.query("SELECT pid FROM pg_stat_activity WHERE pid <> pg_backend_pid()"):
            try:
                os.kill(int(row[0]), signal.SIGKILL)
            except ProcessLookupError:
                pass
        self.process.kill()
        self.process.wait()

    def query(self, sql):
        """Rows as lists of texts."""
        out = subprocess.run([self.bin / "psql", "-X", "-A", "-t", "-F", "\t", "-c",
                              f"SET search_path TO trevix; {sql}", self.address],
                             capture_output=True, text=True, check=True)
        return [line.split("\t") for line in out.stdout.splitlines() if line and line != "SET"]

    def end(self):
        if self.process is not None and self.process.poll() is None:
            self.process.send_signal(signal.SIGQUIT)
            self.process.wait()
        self.log.close()
        if self.mounted:
            subprocess.run(["umount", "--lazy", self.folder], check=True)


class Member:
    """One process of the service."""

    def __init__(self, team, role, name):
        self.team, self.role, self.name = team, role, name
        self.data = team.folder / name
        self.address = team.database.address
        self.environment = {}  # beside this process's
        self.log = team.log
        self.process = None
        self.port = 0
        self.metrics = 0  # the port for who watches
        self.workers = []  # what it was called in the store, start for start

    def start(self):
        arguments = [self.team.program, "--store", self.address, "--role", self.role,
                     "--data", self.data, "--metrics", "0", "--log", "json"]
        if self.role != "worker":
            arguments += ["--port", str(self.port), *self.team.options]
        self.process = subprocess.Popen(arguments, stdout=subprocess.PIPE, stderr=self.log, text=True,
                                        env={**os.environ, **self.environment})
        line = self.process.stdout.readline().strip()
        if line.startswith("trevix-local listening on "):
            self.port = int(line.rsplit(":", 1)[1])
        elif line.startswith("trevix-local judging as "):
            self.workers.append(line.rsplit(" ", 1)[1])
        watched = self.process.stdout.readline().strip()
        if watched:
            self.metrics = int(watched.removesuffix("/metrics").rsplit(":", 1)[1])
        return bool(watched)

    def kill(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()

    def end(self):
        if self.process is None or self.process.poll() is not None:
            return
        self.process.terminate()
        try:
            self.process.wait(PATIENCE)
            self.process.stdout.close()
        except subprocess.TimeoutExpired:
            self.kill()


class Team:
    """All of it. `members` by name."""

    def __init__(self, apis=2, workers=2, options=(), settings=(), room=None):
        self.program = find_program()
        self.options = options  # of those that listen
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="trevix-team-"))
        self.log = open(self.folder / "service.log", "ab")
        self.members = {}
        self.database = None
        try:
            self.database = Database(self.folder, settings, room)
            self.apis = [self.add("api", f"api {number + 1}") for number in range(apis)]
            self.workers = [self.add("worker", f"worker {number + 1}") for number in range(workers)]
        except BaseException as error:
            self.end(type(error))
            raise

    def add(self, role, name, environment=None, log=None):
        member = Member(self, role, name)
        member.environment = environment or {}
        member.log = log or self.log
        self.members[name] = member
        if not member.start():
            raise SystemExit(f"{name} does not start: see {self.folder}/service.log")
        return member

    def key(self, name, *options):
        """A new key, once every process that listens knows it."""
        out = subprocess.run([self.program, "keys", "add", name, "--store", self.database.address,
                              *options], capture_output=True, text=True, check=True)
        text = out.stdout.strip()
        await_that(lambda: all(ask(api.port, text, "GET", "/api/v1/eval/jobs/none")[0] == 404
                               for api in self.apis), f"the key of {name} is not known")
        return text

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        self.end(kind)

    def end(self, kind):
        """`kind` is that of the exception that ended it; None where all went well."""
        for member in self.members.values():
            member.end()
        if self.database is not None:
            self.database.end()
        self.log.close()
        # Who ends it early does not ask what went wrong.
        if kind in (None, KeyboardInterrupt):
            shutil.rmtree(self.folder, ignore_errors=True)
        else:
            print(f"what the processes said stands in {self.folder}")


def ask(port, key, method, path, body=None, limit=30):
    """(status, object); status 0 where there was no answer."""
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=limit)
    headers = {"Authorization": f"Bearer {key}"}
    if body is not None:
        headers["Content-Type"] = "application/json"
    try:
        connection.request(method, path, None if body is None else json.dumps(body), headers)
        answer = connection.getresponse()
        data = answer.read()
        return answer.status, json.loads(data)
    except (OSError, http.client.HTTPException, ValueError):
        return 0, {}
    finally:
        connection.close()


def work(text):
    return {"submission": "async", "modality": "text", "user_prompt": "Validate this work.",
            "artifact_parts": [{"mime_type": "text/plain", "logical_name": "selection", "text": text}]}


def in_background(function):
    thread = threading.Thread(target=function, daemon=True)
    thread.start()
    return thread
