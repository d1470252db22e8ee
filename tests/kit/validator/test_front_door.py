"""validate.py as a program: whatever comes in, what goes out and with which exit code.

As a hook: always 0, and JSON or nothing. Otherwise: 0, 1 or 3, never 2.
"""

import io
import json
import os
import shutil
import subprocess
import sys
import time
import unittest
from unittest import mock

import surroundings
from surroundings import KIT, FaultServer, answer, closed_port

STOP = {"session_id": "s1", "hook_event_name": "Stop", "stop_hook_active": False}
CURSOR = {"conversation_id": "c", "hook_event_name": "afterFileEdit", "cursor_version": "1.7.2",
          "workspace_roots": ["C:\\x"], "file_path": "C:\\x\\a.py", "edits": []}


class Harness(surroundings.HomeTest):
    def hook(self, data=b"", *arguments, **more):
        variables = dict({"BRASK_API_KEY": "k", "BRASK_API_BASE":
                          "http://127.0.0.1:{}".format(closed_port())}, **more)
        return self.run_kit(*(arguments or ("--harness", "claude")), data=data, **variables)

    def event(self, **payload):
        return json.dumps(dict({"cwd": str(self.work)}, **payload)).encode()

    def test_every_bad_input_is_silence(self):
        for data in (b"", b"\n", b"not json", b"{", b"[]", b"null", b"\xff\xfe\0\0", b"\0" * 1000,
                     json.dumps(CURSOR).encode(), b"\xef\xbb\xbf" + json.dumps(CURSOR).encode(),
                     self.event(hook_event_name="SessionStart"), self.event(hook_event_name="stop"),
                     self.event(hook_event_name="Stop", session_id=["x"]),
                     b'"hook_event_name""Stop"', b'{"hook_event_name":"Stop"', b"[" * 200000):
            with self.subTest(data=data[:40]):
                self.assert_silent(self.hook(data))

    def test_fifty_megabytes_are_read_and_passed_over(self):
        huge = self.event(hook_event_name="PostToolUse", tool_name="Write",
                          tool_input={"file_path": "a.py", "content": "x" * (50 << 20)})
        self.assert_silent(self.hook(huge))
        self.assertFalse((self.data / "state").exists())

    def test_an_event_of_some_megabytes_counts(self):
        path = self.write("a.py", "x")
        self.assert_silent(self.hook(self.event(
            session_id="s1", hook_event_name="PostToolUse", tool_name="Write",
            tool_input={"file_path": path, "content": "x" * (3 << 20)})))
        self.assertTrue((self.data / "state" / "changed" / "s1").exists())

    def test_wrong_arguments_are_silence(self):
        for arguments in (("--harness",), ("--harness", "cursor"), ("--harness", "claude", "x"),
                          ("grade", "--harness"), ("--harness", "claude\n"),
                          ("x", "--harness", "claude")):
            self.assert_silent(self.hook(self.event(**STOP), *arguments))

    def test_without_a_home_or_with_a_strange_one_it_is_silence(self):
        nowhere = self.work / "nowhere"
        for home in ("", str(nowhere / "x"), "relative", "/dev/null"):
            self.assert_silent(self.hook(self.event(**STOP), HOME=home))
            self.assert_silent(self.hook(self.event(
                session_id="s1", hook_event_name="PostToolUse", tool_name="Write",
                tool_input={"file_path": "a.py"}), HOME=home, BRASK_HOME=home))
        self.assertEqual([], sorted(os.listdir(str(self.work))))

    def test_a_standard_output_that_is_gone_is_no_error(self):
        # A secret makes the hook speak, into a pipe that nobody reads.
        path = self.write("a.py", "key = '" + "AKIA" + "Q7Z3M9X2K5W8R4T6'\n")
        event = self.event(session_id="s1", hook_event_name="PostToolUse", tool_name="Write",
                           tool_input={"file_path": path})
        code, said, _ = self.hook(event)
        self.assertEqual((code, json.loads(said.decode())["hookSpecificOutput"]["hookEventName"]),
                         (0, "PostToolUse"))
        shutil.rmtree(str(self.data / "state"))
        reader, writer = os.pipe()
        os.close(reader)
        done = subprocess.Popen([sys.executable, str(KIT / "validate.py"), "--harness", "claude"],
                                stdin=subprocess.PIPE, stdout=writer, stderr=subprocess.PIPE,
                                env=dict(self.environment, BRASK_API_KEY="k"))
        os.close(writer)
        _, errors = done.communicate(event)
        self.assertEqual((done.returncode, errors), (0, b""))

    def test_closed_standard_streams_are_no_error(self):
        for closing in ("<&-", ">&-", "2>&-", "<&- >&- 2>&-"):
            done = subprocess.run(["sh", "-c", '"$0" "$1" --harness claude ' + closing,
                                   sys.executable, str(KIT / "validate.py")],
                                  env=dict(self.environment, BRASK_API_KEY="k"),
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE)
            self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""), closing)

    def test_an_engine_that_is_missing_or_damaged_is_silence(self):
        script = self.install_kit()
        (self.data / "state" / "changed").mkdir(parents=True)
        (self.data / "state" / "changed" / "s1").write_text('"/x"\n')
        for damage in ("raise SystemExit(2)", "raise KeyboardInterrupt", "raise MemoryError",
                       "def (",
                       "import nothing_of_that_name", "print('x')\n1/0", None):
            if damage is None:
                shutil.rmtree(str(self.data / "standing"))
            else:
                (self.data / "standing" / "engine" / "hook.py").write_text(damage)
            code, said, errors = self.run_kit("--harness", "claude", script=script,
                                              data=self.event(**STOP), BRASK_API_KEY="k")
            self.assertEqual((code, errors), (0, b""), damage)
            if damage != "print('x')\n1/0":
                self.assertEqual(said, b"")

    def test_a_thread_that_is_left_behind_keeps_nobody_waiting(self):
        script = self.install_kit()
        (self.data / "standing" / "engine" / "hook.py").write_text(
            "import threading\nthreading.Thread(target=threading.Event().wait).start()\n"
            "def answer(event, folder, tool): return b'{}'\n")
        outcome = self.run_kit("--harness", "claude", script=script, BRASK_API_KEY="k",
                               data=self.event(hook_event_name="PostToolUse"))
        self.assertEqual(outcome, (0, b"{}", b""))

    def test_the_script_alone_says_what_is_missing(self):
        lonely = self.work / "validate.py"
        shutil.copy(str(KIT / "validate.py"), str(lonely))
        self.assert_silent(self.run_kit("--harness", "claude", script=lonely,
                                        data=self.event(**STOP), BRASK_API_KEY="k"))
        for arguments in (("grade", "a"), ("mcp",), ()):
            code, said, errors = self.run_kit(*arguments, script=lonely)
            self.assertEqual((code, said), (3, b""))
            self.assertIn(b"'standing'", errors)

    def test_the_quiet_path_loads_nothing(self):
        script = self.install_kit()
        shutil.rmtree(str(self.data / "standing"))
        (self.data / "standing" / "engine").mkdir(parents=True)
        (self.data / "standing" / "engine" / "__init__.py").write_text(
            "import os; os.write(1, b'loaded')")
        state = self.data / "state"
        (state / "changed").mkdir(parents=True)
        cases = [("no key", self.event(**STOP), {"BRASK_API_KEY": ""}, False),
                 ("nothing changed", self.event(**STOP), {}, False),
                 ("another event", self.event(hook_event_name="SessionStart"), {}, False),
                 ("something changed", self.event(**STOP), {}, True),
                 ("an edit", self.event(hook_event_name="PostToolUse"), {}, True),
                 ("known to be down", self.event(**STOP), {}, False),
                 ("down by a clock that was set back", self.event(**STOP), {}, True)]
        for name, event, more, loads in cases:
            if name == "something changed":
                (state / "changed" / "s1").write_text('"/x"\n')
            if "down" in name:
                (state / "down").touch()
                later = time.time() + (600 if name == "known to be down" else 90000)
                os.utime(str(state / "down"), (later, later))
            code, said, errors = self.run_kit("--harness", "claude", script=script, data=event,
                                              **dict({"BRASK_API_KEY": "k"}, **more))
            self.assertEqual((code, said == b"loaded", errors), (0, loads, b""), name)

    def test_a_service_found_down_is_silence_and_then_the_quiet_path(self):
        path = self.write("a.py", "x = 1\n")
        self.assert_silent(self.hook(self.event(
            session_id="s1", hook_event_name="PostToolUse", tool_name="Write",
            tool_input={"file_path": path})))
        self.assert_silent(self.hook(self.event(**STOP)))
        self.assertTrue((self.data / "state" / "down").exists())
        self.assert_silent(self.hook(self.event(**STOP)))

    def test_the_key_is_in_no_output_whatever_happens(self):
        path = self.write("a.py", "x = 1\n")
        edit = self.event(session_id="s1", hook_event_name="PostToolUse", tool_name="Write",
                          tool_input={"file_path": path})
        for step in (answer(401, b""), answer(500, {"error": "x"}), answer(200, b"junk")):
            with FaultServer(step) as server:
                more = {"BRASK_API_KEY": "s3cret-key", "BRASK_API_BASE": server.base}
                for arguments, data in ((("--harness", "claude"), edit),
                                        (("--harness", "claude"), self.event(**STOP)),
                                        (("grade", path, "--json"), b"")):
                    outcome = self.run_kit(*arguments, data=data, **more)
                    self.assertNotIn(b"s3cret", outcome[1] + outcome[2])
        for _, _, names in os.walk(str(self.data)):
            for name in names:
                self.assertNotIn("s3cret", name)
        outcome = self.run_kit("grade", path, BRASK_API_KEY="s3cret\r\nX: y",
                               BRASK_API_BASE="http://127.0.0.1:{}".format(closed_port()))
        self.assertEqual(outcome[0], 3)
        self.assertNotIn(b"s3cret", outcome[1] + outcome[2])


class CommandLine(surroundings.HomeTest):
    def test_wrong_usage_is_three_and_never_two(self):
        self.write("a.py", "x")
        for arguments in ((), ("nonsense",), ("grade",), ("grade", "--bogus", "a.py"), ("--bogus",),
                          ("grade", "a.py", "--modality", "poem"), ("rules", "poem"),
                          ("grade", "a.py", "--timeout", "soon"),
                          ("grade", "a.py", "--timeout", "-1"),
                          ("grade", "a.py", "--timeout", "nan"),
                          ("grade", "a.py", "--json", "--sarif"),
                          ("grade", "a.py", "a.py", "--iterate", "r"), ("grade", "-", "-"),
                          ("grade", "a.py", "--iterate", ""), ("grade", "a.py", "--iterate", "a/b"),
                          ("grade", "a.py", "--js"), ("mcp", "x"), ("report",),
                          ("report", "run_1", "run_2")):
            code, said, errors = self.run_kit(*arguments)
            self.assertEqual((code, said), (3, b""), arguments)
            self.assertIn(b"usage: brask", errors) if arguments and "-" not in arguments \
                and "--iterate" not in arguments else self.assertTrue(errors)
            self.assertNotIn(b"Traceback", errors)

    def test_a_current_folder_that_is_gone_is_told_and_never_taken_for_a_verdict(self):
        path = self.write("a.txt", "Twelve words.\n")
        gone = self.work / "gone"
        for arguments, wanted in ((("grade", "b.txt"), b"current folder"),
                                  (("grade", "../a.txt"), b"current folder"),
                                  (("grade", "-", "--name", "c.txt"), b"current folder"),
                                  (("grade", path), b"no key"),
                                  (("grade", path, "--together"), b"no key"),
                                  (("grade", "id_rsa", "--sarif"), b"current folder")):
            gone.mkdir()
            done = subprocess.run(
                [sys.executable, "-c", "import os, sys; os.rmdir(os.getcwd()); "
                 "os.execv(sys.executable, [sys.executable] + sys.argv[1:])",
                 str(KIT / "validate.py")] + list(arguments),
                input=b"Twelve words.\n", env=self.environment, cwd=str(gone),
                stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60)
            self.assertEqual((done.returncode, done.stderr), (3, b""), arguments)
            self.assertIn(wanted, done.stdout, arguments)

    @unittest.skipUnless(os.path.exists("/dev/full"), "no /dev/full here")
    def test_a_report_that_cannot_be_written_is_told_and_never_taken_for_a_verdict(self):
        for arguments in (("rules",), ("grade", self.write("a.txt", "x")), ("--help",)):
            with open("/dev/full", "wb") as full:
                done = subprocess.run(
                    [sys.executable, str(KIT / "validate.py")] + list(arguments),
                    env=self.environment, stdin=subprocess.DEVNULL, stdout=full,
                    stderr=subprocess.PIPE, timeout=60)
            self.assertEqual(done.returncode, 3, arguments)
            self.assertEqual(done.stderr, b"brask: No space left on device\n", arguments)

    def test_a_defect_of_ours_is_told_without_quoting_anything(self):
        from engine import cli, grading
        said = io.StringIO()
        with mock.patch.object(grading, "grade_file", side_effect=KeyError("the key k-123")), \
                mock.patch.object(cli.sys, "stderr", said), \
                mock.patch.object(cli, "_prepare_streams"):
            self.assertEqual(cli.main(["grade", "a.txt"]), 3)
        self.assertIn("brask: a defect of ours (KeyError, ", said.getvalue())
        self.assertNotIn("k-123", said.getvalue())

    def test_help_version_and_rules_are_zero(self):
        for arguments, text in ((("--help",), b"exit codes"), (("grade", "--help"), b"--sarif"),
                                (("--version",), b"brask "), (("rules",), b"# Spreadsheets"),
                                (("rules", "code"), b"# Code")):
            code, said, errors = self.run_kit(*arguments)
            self.assertEqual((code, errors), (0, b""), arguments)
            self.assertIn(text, said)
        self.assertNotIn(b"# Code", self.run_kit("rules", "deck")[1])

    def test_without_a_key_it_says_how_to_get_one(self):
        code, said, _ = self.run_kit("grade", self.write("a.py", "x"))
        self.assertEqual(code, 3)
        self.assertIn(b"BRASK_API_KEY", said.replace(b"\n", b" "))

    def test_a_file_that_must_not_leave_is_refused_unread(self):
        self.write(".env", "A=b\n")
        os.chmod(str(self.work / ".env"), 0)
        with FaultServer(answer(500, b"")) as server:
            code, said, _ = self.run_kit("grade", ".env", BRASK_API_KEY="k",
                                         BRASK_API_BASE=server.base)
            self.assertEqual(server.requests, [])
        self.assertEqual(code, 3)
        self.assertIn(b"never send", said)

    def test_files_that_cannot_be_graded_are_three(self):
        self.write("x.bin", b"\0\1\2")
        for name in ("none.txt", ".", "x.bin", "/dev/null", "/dev/zero"):
            code, said, errors = self.run_kit("grade", name, BRASK_API_KEY="k")
            self.assertEqual(code, 3, name)
            self.assertIn(b"not graded", said)
            self.assertEqual(errors, b"")

    def test_a_broken_rule_file_and_settings_are_told_and_not_fatal(self):
        script = self.install_kit()
        (self.data / "standing" / "mine.local.md").write_text("---\nnonsense\n---\n")
        (self.data / "settings").write_text("nonsense\n")
        code, said, errors = self.run_kit("rules", script=script)
        self.assertEqual(code, 0)
        self.assertIn(b"mine.local.md:2:", errors)
        code, said, errors = self.run_kit("grade", self.write("a.py", "x"), script=script)
        self.assertIn(b"settings:1:", errors)

    def test_a_reader_that_goes_away_is_no_traceback(self):
        done = subprocess.run(["sh", "-c", '"$0" "$1" rules | true', sys.executable,
                               str(KIT / "validate.py")], env=self.environment,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertNotIn(b"Traceback", done.stderr)

    def test_any_locale_will_do(self):
        for locale in ("C", "POSIX", "de_DE.ISO-8859-1"):
            code, said, _ = self.run_kit("rules", LC_ALL=locale, LANG=locale, PYTHONUTF8="0",
                                         PYTHONCOERCECLOCALE="0", PYTHONIOENCODING="ascii")
            self.assertEqual(code, 0)
            said.decode("utf-8")

    def test_the_front_door_is_small(self):
        text = (KIT / "validate.py").read_text(encoding="utf-8")
        self.assertLess(text.count("\n"), 170)
        self.assertTrue(os.access(str(KIT / "validate.py"), os.X_OK))


if __name__ == "__main__":
    unittest.main()
