"""Files as people have them, each with what wiring makes of it, or where and why it is refused.

`NAME.in` is the file before, `NAME.out` after wiring, `NAME.refused` the place and the beginning of
the reason when the file must be left alone.
"""

import copy
import json
import os
import unittest

from home import CORPUS, FILES, MARKERS, HomeTest, install

try:
    import tomllib
except ImportError:
    tomllib = None

TOOLS = tuple(FILES)


def cases(tool, suffix):
    """(name, bytes before, bytes of the other file) of each case of a tool."""
    return [(path.stem, path.with_suffix(".in").read_bytes(), path.read_bytes())
            for path in sorted((CORPUS / tool).glob("*" + suffix))]


class CorpusTest(HomeTest):
    def each(self, suffix, check):
        """Runs `check` for each case in a home folder of its own."""
        for tool in TOOLS:
            for name, before, after in cases(tool, suffix):
                with self.subTest(tool=tool, case=name):
                    self.doCleanups()
                    self.setUp()
                    check(tool, self.for_home(before), self.for_home(after))

    def test_has_enough_cases_and_each_has_one_expectation(self):
        befores = list(CORPUS.glob("*/*.in"))
        self.assertGreaterEqual(len(befores), 80)
        for path in befores:
            ends = [end for end in (".out", ".refused") if path.with_suffix(end).exists()]
            self.assertEqual(1, len(ends), path)
        self.assertEqual(len(befores) * 2, len(list(CORPUS.glob("*/*.*"))))

    def test_wiring_gives_the_expected_bytes(self):
        def check(tool, before, after):
            self.put(FILES[tool], before)
            self.assertEqual(0, self.wire(tool).code)
            self.assertEqual(after, self.get(FILES[tool]))
            for marker in MARKERS[tool]:
                self.assertIn(marker, after)

        self.each(".out", check)

    def test_wiring_twice_writes_nothing_the_second_time(self):
        def check(tool, before, _):
            path = self.put(FILES[tool], before)
            self.wire(tool)
            first, tree = os.stat(path), self.tree(skip=())
            self.assertEqual(0, self.wire(tool).code)
            second = os.stat(path)
            self.assertEqual((first.st_mtime_ns, first.st_ino), (second.st_mtime_ns, second.st_ino))
            self.assertEqual(tree, self.tree(skip=()))

        self.each(".out", check)

    def test_unwiring_gives_back_the_bytes_of_before(self):
        def check(tool, before, _):
            self.put(FILES[tool], before)
            tree = self.tree()
            self.wire(tool)
            # A command of the user's that runs our validator among others stays, and is named.
            stays = b"&& python3 " + self.home.encode() in before
            self.assertEqual(1 if stays else 0, self.unwire().code)
            self.assertEqual(tree, self.tree())

        self.each(".out", check)

    def test_unwiring_without_manifest_leaves_nothing_of_ours_and_all_of_theirs(self):
        def check(tool, before, _):
            self.put(FILES[tool], before)
            self.wire(tool)
            os.unlink(self.at(".brask/installed.json"))
            self.unwire()
            after = self.get(FILES[tool])
            one = install.Installer(self.env, print, print).tools[tool]
            text = after.decode("utf-8-sig")
            self.assertIn(one.state(text), ("absent", "foreign"))
            self.assertEqual(one.others(before.decode("utf-8-sig")), one.others(text))
            if tool == "codex":
                self.assertEqual(before, after)

        self.each(".out", check)

    def test_wiring_again_after_unwiring_gives_the_expected_bytes(self):
        def check(tool, before, after):
            self.put(FILES[tool], before)
            self.wire(tool)
            self.unwire(tool)
            self.wire(tool)
            self.assertEqual(after, self.get(FILES[tool]))

        self.each(".out", check)

    def test_a_dry_run_prints_the_change_and_writes_nothing(self):
        def check(tool, before, after):
            self.put(FILES[tool], before)
            tree = self.tree(skip=())
            result = self.wire(tool, "--dry-run")
            self.assertEqual(0, result.code)
            self.assertIn("+++ " + self.at(FILES[tool]), result.out)
            self.assertIn("validate.py", result.out)
            self.assertEqual(tree, self.tree(skip=()))

        self.each(".out", check)

    def test_a_refused_file_is_left_alone_and_its_place_is_named(self):
        def check(tool, before, expected):
            path = self.put(FILES[tool], before)
            tree, info = self.tree(skip=()), os.stat(path)
            result = self.wire(tool)
            self.assertEqual(1, result.code)
            self.assertIn("%s:%s" % (path, expected.decode().strip()), result.err)
            tree_after = self.tree(skip=())
            tree_after.pop(os.path.join(".brask", "install.lock"))
            self.assertEqual(tree, tree_after)
            self.assertEqual(info.st_mtime_ns, os.stat(path).st_mtime_ns)

        self.each(".refused", check)

    def test_unwiring_leaves_a_refused_file_alone(self):
        def check(tool, before, _):
            if b"/.brask/validate.py" in before:
                return  # ours in an odd shape: taken out, see test_shapes
            self.put(FILES[tool], before)
            self.unwire()
            self.assertEqual(before, self.get(FILES[tool]))

        self.each(".refused", check)


class ExpectationTest(unittest.TestCase):
    """The expected bytes themselves, judged by readers that are not ours."""

    HOOK = 'python3 -I "/home/u/.brask/validate.py" --harness claude || true'
    SERVER = {"command": "python3", "args": ["-I", "/home/u/.brask/validate.py", "mcp"]}

    def loads(self, data):
        text = data.decode("utf-8-sig")
        return json.loads(text) if text.strip() else {}

    def test_claude_expectations_are_the_file_and_two_hooks(self):
        for name, before, after in cases("claude", ".out"):
            with self.subTest(case=name):
                wanted = self.loads(before)
                hooks = wanted.setdefault("hooks", {})
                hooks.setdefault("PostToolUse", []).append(
                    {"matcher": "Write|Edit|NotebookEdit",
                     "hooks": [{"type": "command", "command": self.HOOK, "timeout": 60}]})
                hooks.setdefault("Stop", []).append(
                    {"hooks": [{"type": "command", "command": self.HOOK, "timeout": 120}]})
                self.assertEqual(wanted, self.loads(after))

    def test_cursor_expectations_are_the_file_and_one_server(self):
        for name, before, after in cases("cursor", ".out"):
            if b"//" in before:
                continue  # the standard reader knows no comments
            with self.subTest(case=name):
                wanted = self.loads(before)
                wanted.setdefault("mcpServers", {})["trevix"] = dict({"type": "stdio"},
                                                                     **self.SERVER)
                self.assertEqual(wanted, self.loads(after))

    @unittest.skipIf(tomllib is None, "this Python has no TOML reader of its own (from 3.11 on)")
    def test_codex_expectations_are_the_file_and_one_table(self):
        for name, before, after in cases("codex", ".out"):
            with self.subTest(case=name):
                wanted = copy.deepcopy(tomllib.loads(before.decode("utf-8-sig")))
                wanted.setdefault("mcp_servers", {})["trevix"] = dict(
                    self.SERVER, env_vars=["BRASK_API_BASE", "BRASK_API_KEY", "BRASK_POLICY_ID"],
                    startup_timeout_sec=20, tool_timeout_sec=300,
                    default_tools_approval_mode="approve")
                self.assertEqual(repr(sorted(wanted.items())), repr(sorted(
                    tomllib.loads(after.decode("utf-8-sig")).items())))

    def test_expectations_only_add(self):
        """What was there before is still there, in order, byte for byte."""
        for tool in TOOLS:
            for name, before, after in cases(tool, ".out"):
                with self.subTest(tool=tool, case=name):
                    rest = iter(after)
                    self.assertTrue(all(byte in rest for byte in before))


if __name__ == "__main__":
    unittest.main()
