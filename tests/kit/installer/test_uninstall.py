"""Taking the wiring out works whatever is wrong around it, and leaves no hook without its script."""

import errno
import json
import os
import subprocess
import unittest
from unittest import mock

from home import FILES, HomeTest, install

SETTINGS, CODEX = FILES["claude"], FILES["codex"]
CLAW, CURSOR = FILES["openclaw"], FILES["cursor"]
THEIRS = b'{\n  "model": "x",\n  "note": "%s"\n}\n' % (b"y" * 2000)


class HookTest(HomeTest):
    def command(self):
        data = json.loads(self.get(SETTINGS).decode())
        return data["hooks"]["Stop"][0]["hooks"][0]["command"]

    def change_command(self, change):
        data = json.loads(self.get(SETTINGS).decode())
        for event in data["hooks"].values():
            for group in event:
                for handler in group["hooks"]:
                    handler["command"] = change(handler["command"])
        self.put(SETTINGS, json.dumps(data, indent=2).encode())

    def test_a_hook_whose_script_is_gone_disturbs_nobody(self):
        self.wire("claude")
        os.unlink(self.at(".brask/validate.py"))
        done = subprocess.run(["sh", "-c", self.command()], stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, env=self.env)
        self.assertEqual((0, b""), (done.returncode, done.stdout))

    def test_no_module_of_a_project_is_loaded_by_the_hook(self):
        self.put(".brask/validate.py", b"import json\nprint(json.loads('1'))\n")
        self.put("project/json.py", b"print('theirs')\n")
        self.wire("claude")
        done = subprocess.run(["sh", "-c", self.command()], stdout=subprocess.PIPE,
                              cwd=self.at("project"), env=dict(self.env, PYTHONPATH="."))
        self.assertEqual(b"1\n", done.stdout)

    def test_what_the_user_made_of_our_command_is_kept_by_wiring_and_taken_out(self):
        ours = 'python3 "%s" --harness claude' % self.at(".brask/validate.py")
        for command in (ours + " || true", ours + " 2>/dev/null",
                        ours.replace("python3", "python3.11 -X utf8")):
            with self.subTest(command=command):
                self.put(SETTINGS, THEIRS)
                self.wire("claude")
                self.change_command(lambda _: command)
                text = self.get(SETTINGS)
                self.assertIn("already", self.wire("claude").out)
                self.assertEqual(text, self.get(SETTINGS))
                self.assertEqual(0, self.unwire().code)
                self.assertEqual(json.loads(THEIRS.decode()), json.loads(self.get(SETTINGS).decode()))

    def test_the_command_of_an_earlier_version_is_brought_up_to_date(self):
        self.put(SETTINGS, THEIRS)
        self.wire("claude")
        good = self.get(SETTINGS)
        self.put(SETTINGS, good.replace(b"python3 -I", b"python3").replace(b" || true", b""))
        self.assertIn("needs repair", self.run_main("status").out)
        self.assertEqual(0, self.wire("claude").code)
        self.assertEqual(json.loads(good.decode()), json.loads(self.get(SETTINGS).decode()))
        self.unwire()
        self.assertEqual(THEIRS, self.get(SETTINGS))

    def test_servers_of_an_earlier_version_are_brought_up_to_date(self):
        path = self.at(".brask/validate.py")
        self.put(CLAW, b"{gateway: {mode: 'local'}}\n")
        for tool in ("codex", "cursor", "openclaw"):
            self.wire(tool)
            good = self.get(FILES[tool])
            old = good.replace(b'"-I", ', b"").replace(b'"-I",\n', b"") \
                .replace(b'default_tools_approval_mode = "approve"\n', b"").replace(
                    b'env_vars = ["BRASK_API_BASE", "BRASK_API_KEY", "BRASK_POLICY_ID"]\n', b"")
            self.assertNotEqual(good, old)
            self.put(FILES[tool], old)
            self.assertEqual(0, self.wire(tool).code)
            text = self.get(FILES[tool])
            self.assertIn(b"-I", text)
            self.assertIn("already", self.wire(tool).out)
            # Whoever changed the entry has decided.
            self.put(FILES[tool], old.replace(b"python3", b"/usr/bin/python3"))
            self.assertIn("already", self.wire(tool).out)
            self.put(FILES[tool], text)
            self.assertEqual(0, self.unwire(tool).code)
            self.assertNotIn(path.encode(), self.get(FILES[tool]) if os.path.exists(
                self.at(FILES[tool])) else b"")

    def test_codex_hands_on_the_environment_and_has_the_users_consent(self):
        self.wire("codex")
        text = self.get(CODEX).decode()
        self.assertIn('env_vars = ["BRASK_API_BASE", "BRASK_API_KEY", "BRASK_POLICY_ID"]\n', text)
        self.assertIn('default_tools_approval_mode = "approve"\n', text)


class WhateverTest(HomeTest):
    def setUp(self):
        super().setUp()
        self.put(SETTINGS, THEIRS)
        self.assertEqual(0, self.wire("claude").code)
        self.assertEqual(0, self.wire("codex").code)

    def assert_gone(self, code=0):
        result = self.unwire()
        self.assertEqual(code, result.code, result.err)
        self.assertEqual(THEIRS, self.get(SETTINGS))
        self.assertFalse(os.path.exists(self.at(CODEX)))
        self.assertFalse(os.path.exists(self.at(".local/bin/brask")))
        return result

    def failing(self, name, number, below=""):
        """The operating system's call fails for every path in the folder `below`."""
        real = getattr(os, name)

        def call(path, *more, **named):
            if isinstance(path, str) and path.startswith(self.at(below)) and \
                    (name != "open" or more[0] & os.O_CREAT):
                raise OSError(number, os.strerror(number), path)
            return real(path, *more, **named)
        return mock.patch.object(os, name, call)

    def test_with_another_brask_home_than_at_wiring(self):
        os.mkdir(self.at("elsewhere"))
        self.env["BRASK_HOME"] = self.at("elsewhere")
        self.assert_gone()

    def test_on_a_full_disk(self):
        with self.failing("open", errno.ENOSPC), self.failing("mkdir", errno.ENOSPC):
            result = self.assert_gone()
        self.assertIn("no copy of it could be kept", result.out)
        self.assertEqual([], self.strays())

    def test_with_a_data_folder_that_cannot_be_written(self):
        with self.failing("open", errno.EROFS, ".brask"), self.failing("mkdir", errno.EROFS, ".brask"):
            self.assert_gone()

    def test_without_permission_to_read_the_manifest(self):
        real = install.contents

        def contents(path):
            if path.endswith("installed.json"):
                raise PermissionError(errno.EACCES, "Permission denied", path)
            return real(path)
        with mock.patch.object(install, "contents", contents):
            self.assertEqual(0, self.unwire().code)
        self.assertNotIn(b"validate.py", self.get(SETTINGS))
        self.assertIn(THEIRS[:-3], self.get(SETTINGS))
        self.assertEqual(b"", self.get(CODEX))  # that it was not there before is not known

    def test_where_nothing_can_be_locked(self):
        with mock.patch.object(install.fcntl, "flock", side_effect=OSError(errno.ENOLCK, "No locks")):
            self.assertIn("already", self.wire("claude").out)
            self.assert_gone()

    def test_while_another_installer_does_not_end(self):
        with mock.patch.object(install.fcntl, "flock", side_effect=OSError(errno.EAGAIN, "busy")), \
                mock.patch.object(install, "LOCK_TRIES", 2), \
                mock.patch.object(install, "LOCK_PAUSE", 0):
            self.assertEqual(1, self.wire("claude").code)
            self.assert_gone()

    def test_what_it_could_not_take_out_is_named(self):
        broken = self.get(SETTINGS)[:-3]
        self.put(SETTINGS, broken)
        result = self.unwire()
        self.assertEqual(1, result.code)
        self.assertIn(self.at(SETTINGS), result.err)

    def test_nothing_is_shortened_that_changed_meanwhile(self):
        path = self.put("x", b"something longer than before")
        with self.assertRaises(install.Changed):
            install.shorten_in_place(path, b"some", b"something long")
        self.assertEqual(b"something longer than before", self.get("x"))


class TheirsTest(HomeTest):
    def test_a_comment_in_a_file_that_we_made_is_content(self):
        self.wire("cursor")
        self.put(CURSOR, b"// mine\n" + self.get(CURSOR))
        self.unwire()
        self.assertTrue(self.get(CURSOR).startswith(b"// mine\n"))
        self.put(CLAW, b"{gateway: {mode: 'local'}}\n")
        self.wire("openclaw")
        self.put(CLAW, self.get(CLAW).replace(b'"servers": {', b'"servers": { // mine\n'))
        self.unwire()
        self.assertIn(b"// mine\n", self.get(CLAW))

    def test_events_of_others_may_be_there_twice(self):
        text = b'{"hooks": {"SessionEnd": [], "SessionEnd": []}}\n'
        self.put(SETTINGS, text)
        self.assertEqual(0, self.wire("claude").code)
        self.assertEqual(0, self.unwire().code)
        self.assertEqual(text, self.get(SETTINGS))

    def test_an_empty_event_of_the_users_stays_without_a_manifest(self):
        self.put(SETTINGS, b'{"hooks": {"Stop": []}}\n')
        self.wire("claude")
        os.unlink(self.at(".brask/installed.json"))
        self.unwire()
        self.assertEqual([], json.loads(self.get(SETTINGS).decode())["hooks"]["Stop"])

    def test_a_file_that_the_user_may_not_write_is_refused(self):
        self.put(SETTINGS, THEIRS)
        access = os.access
        with mock.patch.object(os, "access", lambda path, mode, **more: path != self.at(
                SETTINGS) and access(path, mode, **more)):
            result = self.wire("claude")
        self.assertEqual((1, THEIRS), (result.code, self.get(SETTINGS)))
        self.assertIn("write-protected", result.err)

    def test_a_file_of_another_user_stays_theirs(self):
        self.put(SETTINGS, THEIRS)
        real = os.stat

        def stat(path, **more):
            info = real(path, **more)
            if path != self.at(SETTINGS):
                return info
            return os.stat_result(list(info)[:4] + [info.st_uid + 1] + list(info)[5:])
        denied = mock.patch.object(os, "fchown", side_effect=OSError(errno.EPERM, "no"))
        with mock.patch.object(os, "stat", stat), denied:
            result = self.wire("claude")
        self.assertEqual((1, THEIRS), (result.code, self.get(SETTINGS)))
        self.assertIn("belongs to another user", result.err)
        self.assertEqual(0, self.wire("claude").code)
        inode = os.stat(self.at(SETTINGS)).st_ino
        with mock.patch.object(os, "stat", stat), denied:
            self.assertEqual(0, self.unwire().code)
        self.assertEqual((inode, THEIRS), (os.stat(self.at(SETTINGS)).st_ino, self.get(SETTINGS)))


if __name__ == "__main__":
    unittest.main()
