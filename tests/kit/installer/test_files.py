"""What is around the text: symlinks, modes, folders, other kinds of files, and what may not be
touched."""

import os
import socket
import stat
import unittest
from unittest import mock

from home import FILES, HomeTest, install

SETTINGS = FILES["claude"]
BEFORE = b'{\n  "model": "x"\n}\n'
ROOT_USER = hasattr(os, "geteuid") and os.geteuid() == 0


class SurvivalTest(HomeTest):
    def mode(self, name):
        return stat.S_IMODE(os.stat(self.at(name)).st_mode)

    def test_the_mode_of_a_file_survives(self):
        for mode in (0o600, 0o640, 0o644, 0o664, 0o755):
            with self.subTest(mode=oct(mode)):
                self.put(SETTINGS, BEFORE, mode)
                self.wire("claude")
                self.assertEqual(mode, self.mode(SETTINGS))
                self.unwire()
                self.assertEqual(mode, self.mode(SETTINGS))

    def test_what_we_make_is_for_the_owner_alone(self):
        os.umask(os.umask(0o022))
        self.wire("codex")
        self.assertEqual((0o600, 0o700), (self.mode(".codex/config.toml"), self.mode(".codex")))
        self.assertEqual(0o600, self.mode(".brask/installed.json"))
        self.put(SETTINGS, BEFORE)
        self.wire("claude")
        self.assertEqual(0o700, self.mode(".brask/backups"))
        for name in os.listdir(self.at(".brask/backups")):
            self.assertEqual(0o600, self.mode(".brask/backups/" + name))

    def test_a_chain_of_symlinks_is_followed_to_the_file(self):
        real = self.put("dotfiles/real.json", BEFORE, 0o640)
        os.mkdir(self.at(".claude"))
        os.symlink("../dotfiles/hop", self.at(SETTINGS))
        os.symlink(real, self.at("dotfiles/hop"))
        tree = self.tree()
        self.assertEqual(0, self.wire("claude").code)
        self.assertTrue(os.path.islink(self.at(SETTINGS)))
        self.assertTrue(os.path.islink(self.at("dotfiles/hop")))
        self.assertIn(b"--harness claude", self.get("dotfiles/real.json"))
        self.assertEqual(0, self.unwire().code)
        self.assertEqual(tree, self.tree())

    def test_a_folder_that_is_a_symlink_stays_one(self):
        self.put("dotfiles/codex/config.toml", b"a = 1\n")
        os.symlink("dotfiles/codex", self.at(".codex"))
        tree = self.tree()
        self.assertEqual(0, self.wire("codex").code)
        self.assertTrue(os.path.islink(self.at(".codex")))
        self.assertEqual(0, self.unwire().code)
        self.assertEqual(tree, self.tree())

    def test_a_file_we_made_that_became_a_symlink_is_not_removed(self):
        self.wire("codex")
        os.rename(self.at(".codex/config.toml"), self.at("kept.toml"))
        os.symlink("../kept.toml", self.at(".codex/config.toml"))
        self.assertEqual(0, self.unwire().code)
        self.assertEqual(b"", self.get("kept.toml"))

    def test_extended_attributes_survive(self):
        path = self.put(SETTINGS, BEFORE)
        try:
            os.setxattr(path, "user.note", b"keep")
        except (AttributeError, OSError):
            self.skipTest("no extended attributes on this file system")
        self.wire("claude")
        self.assertEqual(b"keep", os.getxattr(path, "user.note"))

    @unittest.skipUnless(ROOT_USER, "only root can give files away")
    def test_the_owner_of_a_file_survives(self):
        path = self.put(SETTINGS, BEFORE)
        os.chown(path, 12345, 23456)
        self.wire("claude")
        self.assertEqual((12345, 23456), (os.stat(path).st_uid, os.stat(path).st_gid))

    def test_folders_that_we_made_stay_when_somebody_uses_them(self):
        self.wire("claude")
        self.put(".claude/history", b"x")
        self.put(".local/bin/theirs", b"x")
        self.unwire()
        self.assertEqual({".claude", ".claude/history", ".local", ".local/bin",
                          ".local/bin/theirs"}, set(self.tree()))

    def test_one_backup_for_each_real_change(self):
        self.put(SETTINGS, BEFORE)
        self.wire("claude")
        self.wire("claude")
        self.assertEqual(1, len(os.listdir(self.at(".brask/backups"))))
        name = os.listdir(self.at(".brask/backups"))[0]
        self.assertRegex(name, r"^\d{8}T\d{6}Z-claude-settings\.json$")
        self.assertEqual(BEFORE, self.get(".brask/backups/" + name))
        self.unwire()
        self.assertEqual(2, len(os.listdir(self.at(".brask/backups"))))

    def test_the_new_text_is_on_the_disk_before_it_takes_its_place(self):
        self.put(SETTINGS, BEFORE)
        calls, fsync, replace = [], os.fsync, os.replace
        with mock.patch.object(os, "fsync", lambda fd: (calls.append("fsync"), fsync(fd))), \
                mock.patch.object(os, "replace",
                                  lambda a, b: (calls.append("replace"), replace(a, b))):
            self.wire("claude")
        # Each file: itself, its name, and then the folder that holds the name.
        self.assertEqual(["fsync", "replace", "fsync"] * (len(calls) // 3), calls)
        self.assertGreaterEqual(calls.count("replace"), 4)

    def test_what_a_killed_run_left_is_swept_and_nothing_else(self):
        self.put(SETTINGS, BEFORE)
        self.put(".brask/backups/.20200101T000000Z-codex-config.toml.brask-89abcdef.tmp", b"half")
        self.put(".claude/.settings.json.brask-0123abcd.tmp", b"half")
        self.put(".claude/.settings.json.brask-mine.tmp", b"not ours")
        self.wire("claude")
        self.assertEqual([".settings.json.brask-mine.tmp"], self.strays())


class LeftAloneTest(HomeTest):
    def refused(self, tool, *words):
        tree = self.tree()
        result = self.wire(tool)
        self.assertEqual(1, result.code, result.out)
        for word in words:
            self.assertIn(word, result.err)
        self.assertEqual(tree, self.tree())
        self.unwire()
        self.assertEqual(tree, self.tree())

    def test_a_configuration_that_is_a_folder(self):
        for tool in FILES:
            with self.subTest(tool=tool):
                os.makedirs(self.at(FILES[tool]))
                self.refused(tool, FILES[tool], "is a folder")

    def test_a_dangling_symlink(self):
        os.mkdir(self.at(".claude"))
        os.symlink("nowhere", self.at(SETTINGS))
        self.refused("claude", SETTINGS, "leads nowhere")

    def test_a_symlink_loop(self):
        os.mkdir(self.at(".claude"))
        os.symlink("settings.json", self.at(SETTINGS))
        self.refused("claude", SETTINGS)

    def test_a_folder_that_is_a_dangling_symlink_or_a_file(self):
        os.symlink("nowhere", self.at(".claude"))
        self.put(".codex", b"file")
        self.refused("claude", "is in the way")
        self.refused("codex", "is in the way")

    def test_a_pipe_does_not_hang(self):
        os.mkdir(self.at(".codex"))
        os.mkfifo(self.at(".codex/config.toml"))
        self.refused("codex", "not a plain file")

    def test_a_socket(self):
        os.mkdir(self.at(".cursor"))
        listener = socket.socket(socket.AF_UNIX)
        self.addCleanup(listener.close)
        listener.bind(self.at(".cursor/mcp.json"))
        self.refused("cursor", "not a plain file")

    def test_twenty_megabytes(self):
        self.put(SETTINGS, b'{"a": "' + b"x" * (20 << 20) + b'"}')
        self.refused("claude", "20971529 bytes")

    def test_a_write_protected_file(self):
        self.put(SETTINGS, BEFORE, 0o444)
        self.refused("claude", "write-protected", "chmod u+w")

    def test_a_file_protected_after_wiring_is_still_unwired(self):
        self.put(SETTINGS, BEFORE)
        self.wire("claude")
        os.chmod(self.at(SETTINGS), 0o444)
        self.assertEqual(0, self.unwire().code)
        self.assertEqual(BEFORE, self.get(SETTINGS))

    @unittest.skipIf(ROOT_USER, "root reads everything; another test becomes somebody else")
    def test_an_unreadable_file(self):
        path = self.put(SETTINGS, BEFORE, 0o200)
        self.addCleanup(os.chmod, path, 0o600)
        self.assertEqual(1, self.wire("claude").code)

    @unittest.skipUnless(ROOT_USER and hasattr(os, "fork"), "needs root to become somebody else")
    def test_as_somebody_who_may_not_read_or_write(self):
        """Runs as another user: an unreadable file, a read-only folder, a read-only home."""
        self.put(SETTINGS, BEFORE, 0o200)
        self.put(FILES["codex"], b"a = 1\n")
        for folder, _, names in os.walk(self.home):
            for path in [folder] + [os.path.join(folder, name) for name in names]:
                os.chown(path, 12345, 12345)
        os.chmod(self.at(".codex"), 0o500)
        tree = self.tree()
        self.as_other_user("claude", "cannot be read")
        self.as_other_user("codex", "Permission denied")
        os.chmod(self.home, 0o500)
        self.as_other_user("cursor", "Permission denied")
        os.chmod(self.home, 0o700)
        os.chmod(self.at(".brask"), 0o500)
        os.chmod(self.at(".codex"), 0o700)
        self.as_other_user("codex", "Permission denied")
        os.chmod(self.at(".codex"), 0o500)
        self.assertEqual(tree, self.tree())
        self.assertEqual([], self.strays())

    def as_other_user(self, tool, word):
        read, write = os.pipe()
        child = os.fork()
        if child == 0:
            os.setgid(12345)
            os.setuid(12345)
            result = self.wire(tool)
            os.write(write, ("%d %s" % (result.code, result.err)).encode())
            os._exit(0)
        os.close(write)
        os.waitpid(child, 0)
        with open(read) as file:
            said = file.read()
        self.assertTrue(said.startswith("1 "), said)
        self.assertIn(word, said)

    def test_two_installers_do_not_work_at_once(self):
        import fcntl
        with open(self.at(".brask/install.lock"), "wb") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            waited = []
            installer = install.Installer(self.env, print, print, pause=waited.append)
            with self.assertRaisesRegex(install.Refused, "another installer"):
                installer.locked()
            self.assertEqual(install.LOCK_TRIES, len(waited))


if __name__ == "__main__":
    unittest.main()
