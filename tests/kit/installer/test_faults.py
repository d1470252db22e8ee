"""Whatever fails or ends the installer at whatever step: a file is the old one or the new one, and
running it again finishes the work."""

import errno
import os
import shutil
import signal
import subprocess
import tempfile
import unittest
from unittest import mock

from home import FILES, HomeTest, install

STEPS = ("open", "write", "fsync", "replace", "mkdir", "unlink", "rmdir", "fchmod")
BEFORE = {"claude": b'{\n  "model": "x",\n  "hooks": {"Stop": [ ]}\n}\n', "codex": b'model = "x"',
          "openclaw": b"{ gateway: {mode: 'local'} }\n", "cursor": b'{"mcpServers": {}}'}


class Fuse:
    """Stands in for the operating system's file calls and does something at the N-th."""

    def __init__(self, steps, at, action):
        self.left, self.action, self.fired = at, action, False
        self.patches = [mock.patch.object(os, name, self.wrap(name, getattr(os, name)))
                        for name in steps]

    def wrap(self, name, real):
        def call(*arguments, **named):
            self.left -= 1
            if self.left < 0:
                self.fired = True
                self.action(name, real, arguments, self.left == -1)
            return real(*arguments, **named)
        return call

    def __enter__(self):
        for patch in self.patches:
            patch.start()
        return self

    def __exit__(self, *_):
        for patch in self.patches:
            patch.stop()


def fail_once(name, real, arguments, first):
    if first:
        raise OSError(errno.EIO, "injected")


def disk_full(name, real, arguments, first):
    if name in ("write", "mkdir"):
        if name == "write" and first:
            real(arguments[0], arguments[1][:1])
        raise OSError(errno.ENOSPC, "No space left on device")


def kill_before(name, real, arguments, first):
    os.kill(os.getpid(), signal.SIGKILL)


def kill_after(name, real, arguments, first):
    if name == "write":
        real(arguments[0], arguments[1][:len(arguments[1]) // 2 + 1])
    elif name != "open":
        real(*arguments)
    os.kill(os.getpid(), signal.SIGKILL)


def end_before(name, real, arguments, first):
    if first:
        raise SystemExit(143)


def end_after(name, real, arguments, first):
    """A signal that comes as soon as the step is done, before anybody could note that it is."""
    if first:
        done = real(*arguments)
        if name == "open":
            os.close(done)
        raise SystemExit(143)


class FaultTest(HomeTest):
    def start(self, tool, with_file, wired):
        """A home folder in one of the states from which a run may start."""
        self.doCleanups()
        self.setUp()
        if with_file:
            self.put(FILES[tool], BEFORE[tool])
        self.before = self.tree()
        if wired:
            self.assertEqual(0, self.wire(tool).code)

    def content(self, tool):
        path = self.at(FILES[tool])
        return self.get(FILES[tool]).replace(self.home.encode(), b"~") \
            if os.path.exists(path) else None

    def everywhere(self, steps, action, check, killed=False):
        """Runs each kind of run with the fuse at each step; `check(tool, old, new)` looks after."""
        for tool in FILES:
            for with_file in (True, False):
                for wired in (False, True):
                    if tool == "openclaw" and not with_file:
                        continue
                    run = self.unwire if wired else lambda: self.wire(tool)
                    self.start(tool, with_file, wired)
                    old = self.content(tool)
                    self.assertEqual(0, run().code)
                    new = self.content(tool)
                    at, fired = 0, True
                    while fired:
                        with self.subTest(tool=tool, file=with_file, wired=wired, step=at):
                            self.start(tool, with_file, wired)
                            fired = self.with_fuse(run, steps, at, action, killed)
                            check(tool, run, old, new, fired)
                        at += 1
                    self.assertGreater(at, 1)

    def with_fuse(self, run, steps, at, action, killed):
        if not killed:
            with Fuse(steps, at, action) as fuse:
                self.code = run().code
            return fuse.fired
        child = os.fork()
        if child == 0:
            try:
                with Fuse(steps, at, action):
                    run()
            finally:
                os._exit(0)
        status = os.waitpid(child, 0)[1]
        return os.WIFSIGNALED(status)

    def check_again(self, tool, run, old, new):
        """The same run again does the work, and unwiring then leaves no trace."""
        self.assertEqual(0, run().code)
        self.assertEqual(new, self.content(tool))
        self.assertEqual([], self.strays())
        self.assertEqual(0, self.unwire().code)
        self.assertEqual(self.before, self.tree())

    def test_a_failing_call_loses_nothing_and_leaves_no_temporary_file(self):
        def check(tool, run, old, new, fired):
            self.assertIn(self.content(tool), (old, new))
            if fired and self.code == 0:
                self.assertEqual(new, self.content(tool))
            self.check_again(tool, run, old, new)
        self.everywhere(("write", "fsync", "replace", "mkdir", "fchmod", "open"), fail_once, check)

    def test_a_failing_replacement_is_rolled_back_to_the_last_folder_and_backup(self):
        for tool in FILES:
            for with_file in (True, tool == "openclaw"):
                with self.subTest(tool=tool, file=with_file):
                    self.start(tool, with_file, False)
                    path = os.path.realpath(self.at(FILES[tool]))

                    def fail(name, real, arguments, first):
                        if arguments[1] == path:
                            raise OSError(errno.EROFS, "injected", path)
                    with Fuse(("replace",), 0, fail):
                        result = self.wire(tool)
                    self.assertEqual(1, result.code)
                    self.assertIn("%s: injected" % path, result.err)
                    self.assertEqual(self.before, self.tree())
                    kept = {name for _, _, names in os.walk(self.at(".brask")) for name in names}
                    self.assertEqual({"validate.py", "install.lock"}, kept)

    def test_a_disk_that_is_full_loses_nothing(self):
        def check(tool, run, old, new, fired):
            self.assertIn(self.content(tool), (old, new))
            self.assertEqual([], self.strays())
            self.check_again(tool, run, old, new)
        self.everywhere(("write", "mkdir"), disk_full, check)

    def check_ended(self, tool, run, old, new, fired):
        """What the manifest says is what the file holds: nothing is undone by halves."""
        self.assertIn(self.content(tool), (old, new))
        self.assertEqual([], self.strays())
        self.check_again(tool, run, old, new)

    def test_ended_by_a_signal_before_any_step(self):
        self.everywhere(STEPS, end_before, self.check_ended)

    def test_ended_by_a_signal_as_soon_as_any_step_is_done(self):
        self.everywhere(STEPS, end_after, self.check_ended)

    def test_ended_as_soon_as_the_command_is_there(self):
        self.before, launcher = self.tree(), self.at(".local/bin/brask")

        def end(name, real, arguments, first):
            if arguments[1] == launcher:
                real(*arguments)
                raise SystemExit(143)
        with Fuse(("replace",), 0, end):
            self.assertEqual(143, self.wire("codex").code)
        self.assertTrue(os.path.exists(launcher))
        self.assertEqual(0, self.unwire().code)
        self.assertEqual(self.before, self.tree())

    def check_killed(self, tool, run, old, new, fired):
        self.assertIn(self.content(tool), (old, new))
        self.check_again(tool, run, old, new)

    @unittest.skipUnless(hasattr(os, "fork"), "no fork here")
    def test_killed_before_any_step(self):
        self.everywhere(STEPS, kill_before, self.check_killed, killed=True)

    @unittest.skipUnless(hasattr(os, "fork"), "no fork here")
    def test_killed_in_the_middle_of_any_step(self):
        self.everywhere(STEPS, kill_after, self.check_killed, killed=True)


class ChangedMeanwhileTest(HomeTest):
    def meddle(self, times):
        """Another program that appends to the file each time just before we replace it."""
        path, real, left = self.at(FILES["codex"]), install.contents, [times]

        def contents(asked):
            if asked == path and left[0]:
                left[0] -= 1
                with open(path, "ab") as file:
                    file.write(b"# %d\n" % left[0])
            return real(asked)
        return mock.patch.object(install, "contents", contents)

    def test_an_edit_is_redone_on_what_another_program_wrote(self):
        self.put(FILES["codex"], b"a = 1\n")
        with self.meddle(4):
            self.assertEqual(0, self.wire("codex").code)
        text = self.get(FILES["codex"])
        self.assertIn(b"# 0\n", text)
        self.assertIn(b"[mcp_servers.trevix]", text)
        self.assertEqual(1, len(os.listdir(self.at(".brask/backups"))))

    def test_one_that_never_stops_is_given_up_on(self):
        self.put(FILES["codex"], b"a = 1\n")
        with self.meddle(1000):
            result = self.wire("codex")
        self.assertEqual(1, result.code)
        self.assertIn("keeps being changed", result.err)
        self.assertNotIn(b"mcp_servers", self.get(FILES["codex"]))
        self.assertEqual([], self.strays())

    def test_a_file_that_appears_meanwhile_is_not_overwritten(self):
        path, real = self.at(FILES["cursor"]), install.replace_file

        def replace_file(asked, *more):
            if asked == path and not os.path.exists(path):
                self.put(FILES["cursor"], b'{"mine": 1}')
            return real(asked, *more)
        with mock.patch.object(install, "replace_file", replace_file):
            self.assertEqual(0, self.wire("cursor").code)
        self.assertIn(b'"mine"', self.get(FILES["cursor"]))


class RealFullDiskTest(HomeTest):
    def test_a_real_full_disk(self):
        place = tempfile.mkdtemp(prefix="full-")
        self.addCleanup(shutil.rmtree, place, True)
        mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=256k", "tmpfs", place],
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if mounted.returncode != 0:
            self.skipTest("mounting a small disk is not permitted here")
        self.addCleanup(subprocess.run, ["umount", place])
        self.home, self.env["HOME"] = place, place
        self.put(".brask/validate.py", b"")
        before = b'{"model": "' + b"x" * 20000 + b'"}\n'
        self.put(FILES["claude"], before)
        tree = self.tree()
        filler = os.open(self.at("filler"), os.O_WRONLY | os.O_CREAT)
        with self.assertRaises(OSError):
            while True:
                os.write(filler, b"x" * 512)
        os.close(filler)
        result = self.wire("claude")
        self.assertEqual(1, result.code)
        self.assertIn("No space left", result.err)
        self.assertEqual([], self.strays())
        os.unlink(self.at("filler"))
        self.assertEqual(tree, self.tree())
        self.assertEqual(0, self.wire("claude").code)
        self.assertEqual(0, self.unwire().code)
        self.assertEqual(before, self.get(FILES["claude"]))


if __name__ == "__main__":
    unittest.main()
