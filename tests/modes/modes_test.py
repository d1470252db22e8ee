#!/usr/bin/env python3
"""The built executable in its command-line modes.

    tests/modes/modes_test.py EXECUTABLE [unittest options]

Every run has a home folder and an environment of its own; none needs a display but the ones that
bring up a virtual one.
"""

import contextlib
import fcntl
import json
import os
import pathlib
import resource
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

EXECUTABLE = None
PATH = "/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin"


def app(number, **more):
    return dict({"id": f"app{number}", "name": f"App {number}"}, **more)


def good_catalog(count):
    """A catalog that passes every check but, perhaps, the one of its size."""
    apps = [
        app(1, id="figma", bundle_ids=["com.figma.Desktop"], web_hosts=["figma.com"]),
        app(2, id="figjam", web_hosts=["figma.com/board"]),
        app(3, id="vscode", bundle_ids=["com.microsoft.VSCode"], workflow_nodes=["build"]),
        app(4, id="notion", bundle_ids=["notion.id"]),
        app(5, id="premiere", bundle_ids=["com.adobe.PremierePro"]),
        app(6, id="jetbrains", bundle_ids=["com.jetbrains."]),
        app(7, id="google_docs", web_hosts=["docs.google.com/document"]),
        app(8, id="google_sheets", web_hosts=["docs.google.com/spreadsheets"]),
    ]
    apps += [app(number) for number in range(9, count + 1)]
    return {"version": "1", "modalities": ["text"], "apps": apps}


@contextlib.contextmanager
def stopped_display():
    """The name of a display whose server stands still."""
    read, write = os.pipe()
    with subprocess.Popen(["Xvfb", "-displayfd", str(write), "-nolisten", "tcp", "-noreset"],
                          pass_fds=[write], stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL) as server:
        os.close(write)
        try:
            with os.fdopen(read) as answer:
                display = ":" + answer.readline().strip()
            server.send_signal(signal.SIGSTOP)
            os.waitid(os.P_PID, server.pid, os.WSTOPPED | os.WNOWAIT)
            yield display
        finally:
            server.kill()


@contextlib.contextmanager
def silent_service():
    """The address of a service that takes connections and says nothing."""
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        listener.listen()
        yield "http://127.0.0.1:%d" % listener.getsockname()[1]


@contextlib.contextmanager
def proxy(status):
    """The address of a proxy that answers one request with `status`, and the lines that it was asked
    with."""
    asked = []
    with socket.create_server(("127.0.0.1", 0)) as listener:
        def serve():
            peer, _ = listener.accept()
            with peer, peer.makefile("rb") as stream:
                asked.append(stream.readline().decode().rstrip())
                while stream.readline().strip():
                    pass
                peer.sendall(b"HTTP/1.1 %d -\r\nContent-Length: 0\r\nConnection: close\r\n\r\n"
                             % status)

        thread = threading.Thread(target=serve, daemon=True)
        thread.start()
        yield "http://127.0.0.1:%d" % listener.getsockname()[1], asked
        thread.join(timeout=30)


@contextlib.contextmanager
def starting_service(refusals):
    """The address of a service that hangs up on so many connections and says to one more that it is
    well."""
    with socket.create_server(("127.0.0.1", 0)) as listener:
        def serve():
            with contextlib.suppress(OSError):  # where nobody comes as often
                for _ in range(refusals):
                    listener.accept()[0].close()
                peer, _ = listener.accept()
                with peer, peer.makefile("rb") as stream:
                    while stream.readline().strip():
                        pass
                    peer.sendall(b"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n")

        thread = threading.Thread(target=serve, daemon=True)
        thread.start()
        yield "http://127.0.0.1:%d" % listener.getsockname()[1]
        listener.shutdown(socket.SHUT_RDWR)
        thread.join(timeout=30)


class ExecutableTest(unittest.TestCase):
    def test_links_no_qt(self):
        libraries = subprocess.run(["ldd", EXECUTABLE], stdout=subprocess.PIPE, check=True,
                                   encoding="utf-8").stdout
        self.assertIn("libxcb", libraries)
        self.assertNotIn("Qt", libraries)

    def test_panel_talks_to_the_network_without_the_toolkit(self):
        # What it links itself: the toolkit's own libraries link one another as they like.
        module = pathlib.Path(EXECUTABLE).parent.parent / "Frameworks/libKelvaneShell.so"
        needed = subprocess.run(["readelf", "--wide", "--dynamic", str(module)], check=True,
                                stdout=subprocess.PIPE, encoding="utf-8",
                                env={"LC_ALL": "C", "PATH": PATH}).stdout
        self.assertRegex(needed, r"\(NEEDED\).*libcurl")
        self.assertRegex(needed, r"\(NEEDED\).*libQt6Core")
        self.assertNotRegex(needed, r"\(NEEDED\).*libQt6Network")


class ModesTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kelvane-modes."))
        self.addCleanup(shutil.rmtree, self.folder, True)
        self.home = self.folder / "home"
        self.home.mkdir()

    def environment(self, **more):
        return dict({"HOME": str(self.home), "PATH": PATH}, **more)

    def run_product(self, *arguments, environment=None, **options):
        options.setdefault("stdout", subprocess.PIPE)
        options.setdefault("timeout", 30)
        return subprocess.run([EXECUTABLE, *arguments], stdin=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, check=False,
                              env=self.environment() if environment is None else environment,
                              **options)

    def catalog(self, content):
        path = self.folder / "catalog.json"
        text = content if isinstance(content, str) else json.dumps(content, ensure_ascii=False)
        path.write_text(text, encoding="utf-8")
        return str(path)

    def report(self, *arguments, **options):
        result = self.run_product("--detect", *arguments, **options)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stdout.count(b"\n"), 1)
        self.assertTrue(result.stdout.endswith(b"\n"))
        return result.stdout.decode()


class FromOutside(ModesTest):
    """What is said to the instance that runs, and what is said without one."""

    @contextlib.contextmanager
    def instance(self, *replies):
        """Stands in for a running instance: answers one line for each connection. Gives the environment
        that leads to it, and the lines that were said."""
        runtime = self.folder / "run"
        place = runtime / "example.trevix.kelvane.menubar"
        place.mkdir(parents=True, exist_ok=True)
        path = place / "console.socket"
        path.unlink(missing_ok=True)
        said = []
        with socket.socket(socket.AF_UNIX) as listener:
            listener.bind(str(path))
            listener.listen()

            def serve():
                for reply in replies:
                    peer, _ = listener.accept()
                    with peer, peer.makefile("rw") as stream:
                        said.append(stream.readline().rstrip("\n"))
                        stream.write(reply)

            thread = threading.Thread(target=serve, daemon=True)
            thread.start()
            yield self.environment(XDG_RUNTIME_DIR=str(runtime)), said
            thread.join(timeout=30)

    def test_a_grade_is_asked_of_the_instance_and_its_answer_is_the_status(self):
        for arguments, line in ((["--grade"], "grade"), (["--grade", "--window"], "grade window"),
                                (["--selection", "--grade"], "grade selection")):
            with self.instance("done\n") as (environment, said):
                result = self.run_product(*arguments, environment=environment)
            self.assertEqual((result.returncode, result.stdout, result.stderr), (0, b"", b""))
            self.assertEqual(said, [line])
        for reply, status, word in (("nothing in front that can be graded", 3, b"catalog"),
                                    ("no key", 4, b"--service"),
                                    ("grading already", 5, b"under way"),
                                    ("unknown", 1, b"start kelvane first")):
            with self.instance(reply + "\n") as (environment, _):
                result = self.run_product("--grade", environment=environment)
            self.assertEqual((result.returncode, result.stdout), (status, b""), reply)
            self.assertIn(word, result.stderr)

    def test_without_an_instance_a_grade_says_so(self):
        result = self.run_product("--grade")
        self.assertEqual((result.returncode, result.stdout), (1, b""))
        self.assertEqual(result.stderr,
                         b"kelvane: no instance runs here that answers; start kelvane first\n")

    def test_an_instance_that_hangs_is_given_up(self):
        with self.instance("") as (environment, _):
            self.assertEqual(self.run_product("--grade", environment=environment).returncode, 1)

    def test_what_excludes_each_other_is_refused(self):
        result = self.run_product("--grade", "--window", "--selection")
        self.assertEqual((result.returncode, result.stdout), (2, b""))
        self.assertIn(b"exclude each other", result.stderr)

    def test_the_question_is_asked_by_the_instance(self):
        with self.instance("done\n") as (environment, said):
            result = self.run_product("--service", environment=environment)
        self.assertEqual((result.returncode, said), (0, ["service"]))

    def choose(self, base):
        """The file in which a person's choice stands."""
        data = self.home / ".brask"
        data.mkdir(exist_ok=True)
        key = data / "its-key"
        key.write_text("trevix_local_secret\n")
        key.chmod(0o600)
        choice = data / "service"
        choice.write_text(f"service: this machine\nbase: {base}\nkey_file: {key}\n")
        choice.chmod(0o600)

    def test_status_without_an_instance_says_what_can_be_seen(self):
        with silent_service() as base:
            self.choose(base)
            result = self.run_product("--status", "--json")
        self.assertEqual((result.returncode, result.stderr), (1, b""))
        self.assertEqual(result.stdout.count(b"\n"), 1)
        told = json.loads(result.stdout)
        self.assertEqual((told["running"], told["key"], told["verdict"]), (False, True, None))
        self.assertEqual(told["service"], {"place": "this machine", "base": base, "answers": False,
                                           "problem": ""})
        self.assertEqual([row["tool"] for row in told["wiring"]],
                         ["Claude Code", "Codex", "OpenClaw", "Cursor"])
        self.assertNotIn(b"secret", result.stdout)

    def test_status_is_the_instances_word(self):
        word = json.dumps({"running": True, "version": "9", "front": {"name": "Mousepad",
                           "supported": True}, "service": {"base": "http://127.0.0.1:1"}})
        with self.instance(word + "\n") as (environment, said):
            result = self.run_product("--status", environment=environment)
        self.assertEqual((result.returncode, said), (0, ["status"]))
        self.assertEqual(result.stdout.decode(), "Kelvane:  runs, version 9\nIn front: Mousepad\n"
                         "Grade:    none yet\nKey:      none\n"
                         "Service:  http://127.0.0.1:1, does not answer\nWired:    no coding tool\n")

    def test_a_service_that_the_instance_is_starting_is_waited_for(self):
        for place, problem, answers in (("this machine", "", True), ("account", "", False),
                                        ("this machine", "it has no key", False)):
            with starting_service(3) as base:
                word = json.dumps({"running": True, "service": {"place": place, "base": base,
                                                                "problem": problem}})
                with self.instance(word + "\n") as (environment, _):
                    result = self.run_product("--status", "--json", environment=environment)
            self.assertIs(json.loads(result.stdout)["service"]["answers"], answers, place + problem)

    def test_the_doctor_ends_in_time_and_keeps_secrets(self):
        with silent_service() as base, stopped_display() as display:
            base = base.replace("http://", "http://me:geheim@")
            result = self.run_product("--doctor", timeout=60, environment=self.environment(
                BRASK_API_BASE=base, BRASK_API_KEY="trevix_local_secret", DISPLAY=display,
                XDG_SESSION_TYPE="x11"))
        text = result.stdout.decode()
        self.assertEqual(result.returncode, 1, result.stderr)
        self.assertIn(f"BAD    display       The display {display} does not answer.", text)
        self.assertIn("does not answer (BRASK_API_BASE names it).", text)
        self.assertIn("The key is in BRASK_API_KEY.", text)
        for secret in ("geheim", "secret", str(self.home)):
            self.assertNotIn(secret, text)

    def test_a_service_elsewhere_is_looked_for_through_the_proxy(self):
        for code, answers in ((200, True), (502, False)):
            with proxy(code) as (address, asked):
                result = self.run_product("--status", "--json", environment=self.environment(
                    BRASK_API_BASE="http://service.example.invalid:8080", http_proxy=address))
            self.assertIs(json.loads(result.stdout)["service"]["answers"], answers, result.stderr)
            self.assertEqual(asked, ["GET http://service.example.invalid:8080/healthz HTTP/1.1"])

    def test_the_doctor_speaks_to_programs(self):
        # A copy of an older version, as an update of the package leaves it.
        version = (self.home / "Applications/Kelvane.app/Contents/Resources/kit/standing/engine"
                   / "version.txt")
        version.parent.mkdir(parents=True)
        version.write_text("0.0.1\n")
        result = self.run_product("--doctor", "--json", timeout=60)
        told = json.loads(result.stdout)
        self.assertEqual((result.returncode, result.stdout.count(b"\n")), (1, 1))
        self.assertIs(told["healthy"], False)
        areas = [line["area"] for line in told["lines"]]
        self.assertEqual([area for at, area in enumerate(areas) if area not in areas[:at]],
                         ["program", "display", "bus", "service", "key", "tools", "engines"])
        self.assertTrue(all(line["todo"] for line in told["lines"] if line["health"] != "ok"))
        self.assertIn("Your copy in ~/Applications, which starts when you log in, is Kelvane 0.0.1.",
                      [line["what"] for line in told["lines"]])


class SelfTest(ModesTest):
    def test_shipped_catalog_passes(self):
        result = self.run_product("--selftest")
        lines = result.stdout.decode().split("\n")
        self.assertEqual(len(lines), 26)
        self.assertTrue(all(line.startswith("PASS  ") for line in lines[:23]), result.stdout)
        self.assertEqual(lines[23], "")
        self.assertRegex(lines[24], r"^selftest: ALL PASS \(\d+ apps\)$")
        self.assertEqual(lines[25], "")
        self.assertEqual((result.returncode, result.stderr), (0, b""))

    def test_fifty_apps_pass(self):
        result = self.run_product("--selftest", "--catalog", self.catalog(good_catalog(50)))
        self.assertTrue(result.stdout.startswith(b"PASS  catalog has >= 50 apps (50)\n"))
        self.assertTrue(result.stdout.endswith(b"\n\nselftest: ALL PASS (50 apps)\n"))
        self.assertEqual(result.returncode, 0)

    def test_forty_nine_apps_fail_and_say_so_first(self):
        result = self.run_product("--selftest", "--catalog", self.catalog(good_catalog(49)))
        self.assertTrue(result.stdout.startswith(b"FAIL  catalog has >= 50 apps (49)\n"))
        self.assertTrue(result.stdout.endswith(b"\n\nselftest: 1 FAILURE(S)\n"))
        self.assertEqual(result.returncode, 1)

    def test_broken_catalog_falls_back_to_the_shipped_one(self):
        shipped = self.run_product("--selftest")
        result = self.run_product("--selftest", "--catalog", self.catalog("{broken"))
        self.assertEqual(result.stdout, shipped.stdout)

    def test_no_catalog_at_all_warns_and_fails_what_needs_one(self):
        bare = self.folder / "Bare.app/Contents/MacOS/Kelvane"
        bare.parent.mkdir(parents=True)
        shutil.copy(EXECUTABLE, bare)
        result = subprocess.run([str(bare), "--selftest"], env=self.environment(), check=False,
                                capture_output=True, timeout=30)
        self.assertTrue(result.stdout.endswith(b"\n\nselftest: 11 FAILURE(S)\n"), result.stdout)
        self.assertEqual(result.stderr.count(b"\n"), 1)
        self.assertEqual(result.returncode, 1)

    def test_wins_over_the_report_in_whatever_order(self):
        for arguments in (["--detect", "--selftest"], ["--selftest", "--detect"],
                          ["--demo", "--help", "--version", "--detect", "--selftest"]):
            self.assertIn(b"selftest: ", self.run_product(*arguments).stdout, arguments)


class Detect(ModesTest):
    SHAPE = (r'^\{"frontmost_bundle":"[^"]*","detected_app":"[^"]*","app_name":"[^"]*",'
             r'"modality":"[^"]*","supported":(true|false),"catalog_apps":\d+,"agents":\['
             r'(\{"id":"[^"]*","running":(true|false),"wired":(true|false|null)\},?)*\]\}\n$')

    def test_without_a_display_texts_are_empty(self):
        line = self.report()
        self.assertRegex(line, self.SHAPE)
        self.assertTrue(line.startswith('{"frontmost_bundle":"","detected_app":"","app_name":"",'
                                        '"modality":"","supported":false,'))
        self.assertGreaterEqual(json.loads(line)["catalog_apps"], 150)

    def test_agents_are_present_by_their_configuration(self):
        (self.home / ".codex").mkdir()
        (self.home / ".codex/config.toml").write_text("[mcp_servers.trevix]\n")
        (self.home / ".cursor").mkdir()
        agents = {agent["id"]: agent for agent in json.loads(self.report())["agents"]}
        self.assertIs(agents["codex"]["wired"], True)
        self.assertIs(agents["cursor"]["wired"], False)

    def agent(self, name):
        """The path of a program of that name, which sleeps for as long as it is told."""
        program = self.folder / name
        program.symlink_to(shutil.which("sleep"))
        return str(program)

    def test_an_agent_that_runs_is_seen(self):
        with subprocess.Popen([self.agent("ollama"), "60"]) as child:
            try:
                agents = {one["id"]: one for one in json.loads(self.report())["agents"]}
            finally:
                child.kill()
        self.assertEqual(agents["ollama"], {"id": "ollama", "running": True, "wired": None})

    def test_the_catalog_switch_may_swallow_the_mode(self):
        result = self.run_product("--catalog", "--detect")
        self.assertEqual(result.returncode, 0)
        self.assertRegex(result.stdout.decode(), self.SHAPE)
        self.assertGreater(json.loads(result.stdout)["catalog_apps"], 0)

    def test_a_catalog_of_ones_own_is_counted(self):
        for count in (49, 50):
            line = self.report("--catalog", self.catalog(good_catalog(count)))
            self.assertEqual(json.loads(line)["catalog_apps"], count)

    def test_broken_catalog_falls_back_to_the_shipped_one(self):
        self.assertEqual(self.report("--catalog", self.catalog("{")), self.report())

    def test_the_catalog_may_be_a_pipe(self):
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        with subprocess.Popen(["cp", self.catalog(good_catalog(50)), str(pipe)]) as writer:
            line = self.report("--catalog", str(pipe))
            self.assertEqual(writer.wait(timeout=30), 0)
        self.assertEqual(json.loads(line)["catalog_apps"], 50)

    def test_help_and_version_as_values_of_other_switches_are_values(self):
        for value in ("--help", "--version", "--check-catalog"):
            picture = self.folder / value
            result = self.run_product("--render", str(picture), "--catalog", value)
            self.assertEqual((result.returncode, picture.exists()), (0, True), result)
            result = self.run_product("--check-catalog", value)
            self.assertIn(b"cannot be read", result.stdout)

    def test_a_display_that_stands_still_is_named_and_not_waited_for(self):
        with stopped_display() as display:
            result = self.run_product("--detect", environment=self.environment(
                DISPLAY=display, XDG_SESSION_TYPE="x11"))
        self.assertRegex(result.stdout.decode(), self.SHAPE)
        self.assertTrue(result.stdout.startswith(b'{"frontmost_bundle":"",'))
        self.assertEqual(result.stderr.decode(), f"kelvane: the display {display} does not answer\n")
        self.assertEqual(result.returncode, 0)

    def test_a_display_that_is_not_there(self):
        line = self.report(environment=self.environment(DISPLAY=":6543", XDG_SESSION_TYPE="x11"))
        self.assertTrue(line.startswith('{"frontmost_bundle":"",'))

    def test_home_that_does_not_exist(self):
        line = self.report(environment=self.environment(HOME=str(self.folder / "nowhere")))
        self.assertRegex(line, self.SHAPE)
        self.assertFalse((self.folder / "nowhere").exists())

    def test_no_environment_at_all(self):
        self.assertRegex(self.report(environment={}), self.SHAPE)

    def test_five_thousand_processes(self):
        limit = resource.getrlimit(resource.RLIMIT_NPROC)[0]
        if limit != resource.RLIM_INFINITY and limit < 6000:
            self.skipTest(f"only {limit} processes allowed")
        # The agent comes last, behind the whole crowd. Whatever else runs on the machine may come
        # and go meanwhile: nothing is said of it.
        command = ["sh", "-c", "i=0; while [ $i -lt 5000 ]; do sleep 600 & i=$((i+1)); done; "
                   "$0 600 & echo ready; wait", self.agent("ollama")]
        with subprocess.Popen(command, stdout=subprocess.PIPE, start_new_session=True) as crowd:
            try:
                self.assertEqual(crowd.stdout.readline(), b"ready\n")
                line = self.report()
            finally:
                os.killpg(crowd.pid, 9)
        self.assertRegex(line, self.SHAPE)
        agents = {one["id"]: one for one in json.loads(line)["agents"]}
        self.assertEqual(agents["ollama"], {"id": "ollama", "running": True, "wired": None})


class Output(ModesTest):
    def test_closed_standard_output_is_quiet(self):
        for mode in ("--detect", "--selftest", "--help", "--version"):
            result = self.run_product(mode, stdout=None, preexec_fn=lambda: os.close(1))
            self.assertEqual((result.returncode, result.stderr), (0, b""), mode)

    def test_all_standard_descriptors_closed(self):
        result = subprocess.run([EXECUTABLE, "--detect"], env=self.environment(), check=False,
                                preexec_fn=lambda: os.closerange(0, 3), timeout=30)
        self.assertEqual(result.returncode, 0)

    def test_reader_that_has_gone_is_quiet(self):
        for mode in ("--detect", "--selftest"):
            read, write = os.pipe()
            os.close(read)
            result = self.run_product(mode, stdout=write)
            os.close(write)
            self.assertEqual((result.returncode, result.stderr), (0, b""), mode)

    def test_a_full_device_is_quiet_and_not_a_success(self):
        for mode in ("--detect", "--selftest"):
            with open("/dev/full", "wb", buffering=0) as full:
                result = self.run_product(mode, stdout=full)
            self.assertEqual((result.returncode, result.stderr), (1, b""), mode)

    def test_a_full_pipe_is_waited_for(self):
        read, write = os.pipe()
        os.set_blocking(write, False)
        filling = 0
        with contextlib.suppress(BlockingIOError):
            while True:
                filling += os.write(write, b"x" * 4096)
        with subprocess.Popen([EXECUTABLE, "--selftest"], stdout=write,
                              env=self.environment()) as child:
            os.close(write)
            with os.fdopen(read, "rb") as reader:
                everything = reader.read()
            self.assertEqual(child.wait(timeout=30), 0)
        self.assertEqual(everything[filling:].count(b"\n"), 25)

    def test_a_full_pipe_whose_reader_goes_is_quiet(self):
        read, write = os.pipe()
        fcntl.fcntl(write, fcntl.F_SETPIPE_SZ, 4096)
        os.write(write, b"x" * 4096)
        with subprocess.Popen([EXECUTABLE, "--selftest"], stdout=write, stderr=subprocess.PIPE,
                              env=self.environment()) as child:
            os.close(write)
            time.sleep(0.05)
            os.close(read)
            self.assertEqual(child.stderr.read(), b"")
            self.assertEqual(child.wait(timeout=30), 0)


class CheckCatalog(ModesTest):
    SHIPPED = pathlib.Path(__file__).resolve().parent.parent.parent / "resources/app-catalog.json"

    def check(self, path):
        result = self.run_product("--check-catalog", str(path))
        self.assertEqual(result.stderr, b"")
        return result.returncode, result.stdout.decode().splitlines()

    def test_the_shipped_catalog_is_right(self):
        status, lines = self.check(self.SHIPPED)
        self.assertEqual(status, 0)
        self.assertEqual(len(lines), 1)
        self.assertRegex(lines[0], r": nothing wrong \(\d+ apps\)$")

    def test_what_does_not_decode_says_why_and_no_other_catalog_is_looked_at(self):
        path = self.catalog({"apps": [app(1, tier=7)]})
        self.assertEqual(self.check(path), (1, [
            f"{path}: does not decode: apps[0].tier: expected string, found number"]))

    def test_what_decodes_is_held_to_the_rules(self):
        path = self.catalog(good_catalog(50))
        status, lines = self.check(path)
        self.assertEqual(status, 1)
        self.assertGreater(len(lines), 10)

    def test_a_pipe_is_read(self):
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        with subprocess.Popen(["cp", str(self.SHIPPED), str(pipe)]) as writer:
            self.assertEqual(self.check(pipe)[0], 0)
            self.assertEqual(writer.wait(timeout=30), 0)

    def test_what_cannot_be_read_is_wrong(self):
        for path in (self.folder / "none", self.folder, "/dev/zero"):
            status, lines = self.check(path)
            self.assertEqual((status, len(lines)), (1, 1), path)
            self.assertIn("cannot be read", lines[0])

    def test_without_a_path_it_says_so(self):
        result = self.run_product("--check-catalog")
        self.assertEqual((result.returncode, result.stdout), (1, b""))
        self.assertEqual(result.stderr, b"kelvane: --check-catalog needs the path of a catalog\n")

    def test_a_valid_catalog_larger_than_memory_does_not_end_the_program(self):
        path = self.catalog('{"apps":[' + ",".join(['{"id":"","name":""}'] * 1_100_000) + "]}")
        status, lines = self.check(path)
        self.assertEqual((status, len(lines)), (1, 1))
        self.assertIn("does not decode: more than", lines[0])

        def little_memory():
            resource.setrlimit(resource.RLIMIT_AS, (150 << 20, 150 << 20))
        path = self.catalog('{"apps":[' + ",".join(['{"id":"","name":""}'] * 160_000) + "]}")
        result = self.run_product("--check-catalog", path, preexec_fn=little_memory)
        self.assertEqual(result.returncode, 1)
        self.assertIn(b"does not decode: not enough memory", result.stdout)
        result = self.run_product("--detect", "--catalog", path, preexec_fn=little_memory)
        self.assertEqual(result.returncode, 0)
        self.assertGreater(json.loads(result.stdout)["catalog_apps"], 100)


class HelpAndVersion(ModesTest):
    def test_help_names_every_switch(self):
        result = self.run_product("--help")
        for switch in ("--catalog", "--render", "--demo", "--detect", "--selftest",
                       "--check-catalog", "--version"):
            self.assertIn(switch.encode(), result.stdout)
        self.assertTrue(all(len(line) <= 80 for line in result.stdout.split(b"\n")))
        self.assertEqual((result.returncode, result.stderr), (0, b""))

    def test_version_is_one_line(self):
        result = self.run_product("--version")
        self.assertRegex(result.stdout.decode(), r"^kelvane \d+\.\d+\.\d+\n$")
        self.assertEqual(result.returncode, 0)

    def test_the_report_wins_over_both(self):
        result = self.run_product("--version", "--help", "--detect")
        self.assertRegex(result.stdout.decode(), Detect.SHAPE)


class OnADesktop(ModesTest):
    """A virtual display with a window manager and one real editor in front."""

    def setUp(self):
        super().setUp()
        for program in ("Xvfb", "openbox", "mousepad", "dbus-run-session"):
            self.assertIsNotNone(shutil.which(program), f"{program} is needed for this test")
        read, write = os.pipe()
        # -noreset: between two clients that come and go it would throw away who manages its windows.
        self.start(["Xvfb", "-displayfd", str(write), "-nolisten", "tcp", "-noreset"],
                   pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as answer:
            number = answer.readline().strip()
        self.desktop = self.environment(DISPLAY=f":{number}", XDG_SESSION_TYPE="x11",
                                        XDG_RUNTIME_DIR=str(self.folder), NO_AT_BRIDGE="1",
                                        GSETTINGS_BACKEND="memory")
        self.start(["openbox"], env=self.desktop)
        self.start(["dbus-run-session", "mousepad"], env=self.desktop)

    def start(self, command, **options):
        child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                 start_new_session=True, **options)
        self.addCleanup(child.wait)
        self.addCleanup(os.killpg, child.pid, 15)

    def front(self, *arguments):
        deadline = time.monotonic() + 20
        while time.monotonic() < deadline:
            line = self.report(*arguments, environment=self.desktop)
            if not line.startswith('{"frontmost_bundle":""'):
                return line
            time.sleep(0.1)
        return self.fail("no window ever came to the front")

    def test_the_editor_in_front_is_recognised(self):
        report = json.loads(self.front())
        self.assertEqual(report["frontmost_bundle"], "org.xfce.mousepad")
        self.assertEqual(report["app_name"], "Mousepad")
        self.assertEqual(report["modality"], "text")
        self.assertIs(report["supported"], True)

    def test_the_program_itself_is_no_window_class(self):
        self.front()
        with subprocess.Popen([EXECUTABLE, "--demo"], env=self.desktop, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL) as demo:
            try:
                self.assertTrue(demo.stdout.readline().startswith(b"WINDOW_ID="))
                deadline = time.monotonic() + 20
                bundle = ""
                while time.monotonic() < deadline and "mousepad" in bundle or not bundle:
                    bundle = json.loads(self.front())["frontmost_bundle"]
            finally:
                demo.kill()
        self.assertFalse(bundle.startswith("wmclass:"), bundle)
        self.assertNotIn("mousepad", bundle)

    def test_quotes_and_backslashes_in_the_catalog_go_through_raw(self):
        path = self.catalog({"apps": [app(1, id='i"d', name='The "Best" \\ Editor',
                                          modalities=['te"xt'],
                                          bundle_ids=["org.xfce.mousepad"])]})
        self.assertTrue(self.front("--catalog", path).startswith(
            '{"frontmost_bundle":"org.xfce.mousepad","detected_app":"i"d",'
            '"app_name":"The "Best" \\ Editor","modality":"te"xt","supported":true,'
            '"catalog_apps":1,'))


if __name__ == "__main__":
    EXECUTABLE = os.path.abspath(sys.argv.pop(1))
    unittest.main()
