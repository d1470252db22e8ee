"""The command line: words, exit codes, messages, status, and the command `brask`."""

import json
import os
import shutil
import subprocess
import sys
import unittest
from unittest import mock

from home import FILES, HomeTest, SCRIPT, install


class WordsTest(HomeTest):
    def test_wrong_words_end_with_64_and_change_nothing(self):
        tree = self.tree(skip=())
        for words in ([], ["claude"], ["nothing", "--global"], ["uninstall", "--global"],
                      ["uninstall", "all"], ["uninstall", "nothing", "--global"],
                      ["claude", "codex", "--global"], ["all", "--global"], ["--global"],
                      ["status", "claude"], ["claude", "--global", "--json"], ["claude", "--glob"],
                      ["claude", "--global", "--no-such"]):
            with self.subTest(words=words):
                result = self.run_main(*words)
                self.assertEqual(64, result.code)
                self.assertIn("brask_install: ", result.err)
        self.assertEqual(tree, self.tree(skip=()))

    def test_help_documents_the_exit_codes(self):
        result = self.run_main("--help")
        self.assertEqual(0, result.code)
        for word in ("uninstall", "status", "--dry-run", "64  wrong usage"):
            self.assertIn(word, result.out)

    def test_the_order_of_the_words_does_not_matter(self):
        self.assertEqual(0, self.run_main("--global", "codex").code)
        self.assertEqual(0, self.run_main("uninstall", "--global", "all").code)

    def test_no_home(self):
        for home in ("", "relative", self.at("nowhere")):
            with self.subTest(home=home):
                result = self.wire("claude", HOME=home)
                self.assertEqual(1, result.code)
                self.assertIn("HOME", result.err)
        self.env.pop("HOME")
        self.assertEqual(1, self.wire("claude").code)

    def test_without_a_validator_nothing_is_wired(self):
        os.unlink(self.at(".brask/validate.py"))
        result = self.wire("claude")
        self.assertEqual(1, result.code)
        self.assertIn("no validator", result.err)
        self.assertEqual({}, self.tree())

    def test_uninstalling_without_a_data_folder_makes_none(self):
        shutil.rmtree(self.at(".brask"))
        self.assertEqual(0, self.unwire().code)
        self.assertEqual({}, self.tree(skip=()))

    def test_another_data_folder(self):
        self.put("data/validate.py", b"")
        self.assertEqual(0, self.wire("codex", BRASK_HOME=self.at("data")).code)
        self.assertIn(self.at("data/validate.py").encode(), self.get(FILES["codex"]))
        self.assertEqual(0, self.unwire(BRASK_HOME=self.at("data")).code)
        self.assertFalse(os.path.exists(self.at(".codex")))

    def test_a_tool_whose_home_was_moved_is_warned_about(self):
        for tool, variable in (("claude", "CLAUDE_CONFIG_DIR"), ("codex", "CODEX_HOME"),
                               ("openclaw", "OPENCLAW_CONFIG_PATH"),
                               ("openclaw", "OPENCLAW_STATE_DIR")):
            with self.subTest(variable=variable):
                result = self.wire(tool, **{variable: self.at("elsewhere")})
                self.assertIn("%s is set to" % variable, result.err)
        usual = self.wire("codex", CODEX_HOME=self.at(".codex"))
        self.assertNotIn("CODEX_HOME", usual.err)

    def test_both_tools_of_a_machine_without_any_are_wired_and_undone(self):
        tree = self.tree()
        for tool in ("claude", "codex"):
            self.assertEqual(0, self.wire(tool).code)
        self.assertEqual(0, self.unwire().code)
        self.assertEqual(tree, self.tree())
        self.assertFalse(os.path.exists(self.at(".brask/installed.json")))

    def test_uninstalling_one_tool_leaves_the_others(self):
        self.wire("claude")
        self.wire("codex")
        self.assertEqual(0, self.unwire("claude").code)
        self.assertEqual([False, True, True], [os.path.exists(self.at(name)) for name in (
            ".claude", ".codex/config.toml", ".local/bin/brask")])
        self.assertEqual(0, self.unwire("codex").code)
        self.assertEqual({}, self.tree())

    def test_a_dry_uninstall_changes_nothing(self):
        self.put(FILES["claude"], b'{"model": "x"}')
        self.wire("claude")
        self.wire("codex")
        tree = self.tree(skip=())
        result = self.unwire("all", "--dry-run")
        self.assertEqual(0, result.code)
        self.assertIn("+++ /dev/null", result.out)
        self.assertEqual(tree, self.tree(skip=()))

    @unittest.skipUnless(shutil.which("patch"), "no patch here")
    def test_the_printed_change_is_one_that_patch_understands(self):
        for before in (b'{\n  "model": "x"\n}\n', b'{\n  "model": "x"\n}', b'{\r\n  "a": 1\r\n}\r\n'):
            with self.subTest(before=before):
                path = self.put(FILES["claude"], before)
                diff = self.wire("claude", "--dry-run").out.split("--- /dev/null")[0]
                subprocess.run(["patch", "--binary", "-s", path], input=diff.encode(), check=True,
                               cwd=self.home)
                patched = self.get(FILES["claude"])
                self.put(FILES["claude"], before)
                self.wire("claude")
                self.assertEqual(self.get(FILES["claude"]), patched)
                self.unwire()


class StatusTest(HomeTest):
    def status(self, **env):
        result = self.run_main("status", "--json", **env)
        self.assertEqual(0, result.code)
        return json.loads(result.out)

    def states(self):
        return {tool["tool"]: (tool["state"], tool["seen"]) for tool in self.status()["tools"]}

    def test_tells_what_is_wired_and_what_the_companion_sees(self):
        self.wire("claude")
        self.put(FILES["codex"], b"# [mcp_servers.trevix]\n")
        self.put(FILES["openclaw"], b"{mcp: {servers: {trevix: {command: 'x'}}}}")
        self.put(FILES["cursor"], b"{ broken")
        self.assertEqual({"claude": ("wired", True), "codex": ("absent", True),
                          "openclaw": ("foreign", True), "cursor": ("unreadable", False)},
                         {key: state for key, state in self.states().items() if key in FILES})
        self.assertEqual({("absent", False)},
                         {state for key, state in self.states().items() if key not in FILES})
        text = self.run_main("status").out
        self.assertIn("somebody else's server", text)
        self.assertIn("mcp.json:1:3", text)

    def test_tells_of_hooks_that_are_switched_off(self):
        self.put(FILES["claude"], b'{"disableAllHooks": true}')
        self.wire("claude")
        self.assertIn("disableAllHooks", self.status()["tools"][0]["notes"][0])

    def test_tells_whether_the_command_can_be_typed(self):
        self.assertEqual("absent", self.status()["command"]["state"])
        self.wire("codex")
        self.assertEqual(("ours", False, 'export PATH="$HOME/.local/bin:$PATH"'),
                         tuple(self.status()["command"][key]
                               for key in ("state", "onPath", "lineToAdd")))
        there = self.status(PATH="/bin:" + self.at(".local/bin"))["command"]
        self.assertEqual((True, None), (there["onPath"], there["lineToAdd"]))

    def test_writes_nothing(self):
        tree = self.tree(skip=())
        self.status()
        self.assertEqual(tree, self.tree(skip=()))


class LauncherTest(HomeTest):
    NAME = ".local/bin/brask"

    def test_runs_the_validator_with_its_arguments(self):
        self.put(".brask/validate.py", b"import sys; print(sys.argv[1:])")
        self.wire("codex")
        done = subprocess.run([self.at(self.NAME), "grade", "a b"], stdout=subprocess.PIPE,
                              universal_newlines=True)
        self.assertEqual("['grade', 'a b']\n", done.stdout)

    def test_a_foreign_file_of_that_name_is_never_touched(self):
        self.put(self.NAME, b"#!/bin/sh\necho mine\n", 0o755)
        tree = self.tree()
        result = self.wire("codex")
        self.assertEqual(0, result.code)
        self.assertIn("somebody else's", result.err)
        self.unwire()
        self.assertEqual(tree, self.tree())

    def test_a_symlink_or_a_folder_of_that_name_is_foreign(self):
        os.makedirs(self.at(".local/bin"))
        os.symlink("elsewhere", self.at(self.NAME))
        self.wire("codex")
        self.assertEqual("elsewhere", os.readlink(self.at(self.NAME)))
        os.unlink(self.at(self.NAME))
        os.mkdir(self.at(self.NAME))
        self.assertEqual(0, self.wire("codex").code)
        self.unwire()
        self.assertTrue(os.path.isdir(self.at(self.NAME)))

    def test_one_for_another_folder_is_renewed(self):
        self.put("old/validate.py", b"")
        self.wire("codex", BRASK_HOME=self.at("old"))
        os.unlink(self.at(FILES["codex"]))
        self.assertEqual("stale", install.Installer(self.env, print, print).launcher.state())
        self.wire("codex")
        self.assertIn(self.at(".brask/validate.py").encode(), self.get(self.NAME))

    def test_without_a_manifest_it_is_still_removed(self):
        self.wire("codex")
        os.unlink(self.at(".brask/installed.json"))
        self.unwire()
        self.assertFalse(os.path.exists(self.at(self.NAME)))

    def test_a_place_where_it_cannot_be_put_is_said(self):
        self.put(".local", b"a file")
        result = self.wire("codex")
        self.assertEqual(1, result.code)
        self.assertIn(".local", result.err)
        self.assertIn(b"[mcp_servers.trevix]", self.get(FILES["codex"]))


class ProcessTest(HomeTest):
    """The script as the companion starts it."""

    def script(self, *arguments, **more):
        return subprocess.run([sys.executable, "-B", str(SCRIPT)] + list(arguments), env=self.env,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60, **more)

    def test_wires_and_unwires(self):
        self.assertEqual(0, self.script("claude", "--global").returncode)
        self.assertIn(b"--harness claude", self.get(FILES["claude"]))
        self.assertEqual(0, self.script("uninstall", "all", "--global").returncode)
        self.assertEqual({}, self.tree())

    def test_does_its_work_when_nobody_listens(self):
        reader, writer = os.pipe()
        os.close(reader)
        done = subprocess.run([sys.executable, "-B", str(SCRIPT), "codex", "--global"],
                              env=self.env, stdout=writer, stderr=writer, timeout=60)
        os.close(writer)
        self.assertIn(b"trevix", self.get(FILES["codex"]))
        self.assertIn(done.returncode, (0, 120))

    def test_does_its_work_in_a_locale_without_letters(self):
        self.env.update(LC_ALL="C", PYTHONIOENCODING="ascii", PYTHONCOERCECLOCALE="0")
        home = self.at("Zoë")
        os.mkdir(home)
        os.rename(self.at(".brask"), os.path.join(home, ".brask"))
        self.env["HOME"] = home
        done = self.script("claude", "--global")
        self.assertEqual(0, done.returncode, done.stderr)
        self.assertIn("Zoë".encode(), self.get("Zoë/" + FILES["claude"]))

    def test_an_odd_home_is_wired_and_undone(self):
        for name in ("a b", "it's", 'quo"te', "dol$HOME", "back\\slash", "tick`s"):
            with self.subTest(name=name):
                home = self.at(name)
                os.makedirs(os.path.join(home, ".brask"))
                open(os.path.join(home, ".brask", "validate.py"), "w").close()
                env = dict(HOME=home)
                for tool in ("claude", "codex", "cursor"):
                    self.assertEqual(0, self.wire(tool, **env).code)
                    self.assertIn("already", self.wire(tool, **env).out)
                self.assertEqual(0, self.unwire(**env).code)
                self.assertEqual([".brask"], os.listdir(home))

    def test_an_unforeseen_signal_leaves_no_temporary_file(self):
        with mock.patch.object(os, "replace", side_effect=SystemExit(143)):
            self.assertEqual(143, self.wire("codex").code)
        self.assertEqual([], self.strays())
        self.assertEqual({}, self.tree())


if __name__ == "__main__":
    unittest.main()
