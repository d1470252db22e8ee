"""OpenCode's plugin: what of its events reaches the validator, and what of the answers the agent."""

import json
import os
import shutil
import subprocess
import sys
import unittest

from test_hook import CLOUD, FLAW, SUBMITTED, HookTest, verdict
from surroundings import KIT, FaultServer

CLIENT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "opencode_client.mjs")
ENGINE = str(KIT / "standing" / "engine" / "opencode.mjs")
NODE = shutil.which("node")
LIMIT = 120  # seconds; a guard against a plugin that hangs


@unittest.skipUnless(NODE, "there is no node to run OpenCode's plugin with")
class PluginTest(HookTest):
    HELD = (SUBMITTED, verdict("route_to_fix", FLAW))

    def opencode(self, version, *steps, command=None):
        """What came of the steps: the tools' outputs, the turns begun, what the user was shown."""
        command = command or '"%s" -I "%s" --harness opencode || true' % (
            sys.executable, KIT / "validate.py")
        done = subprocess.run([NODE, CLIENT, ENGINE, str(version), command, str(self.work)],
                              input=json.dumps(steps).encode(), env=dict(os.environ, **self.environment),
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=LIMIT)
        self.assertEqual((0, b""), (done.returncode, done.stderr))
        return json.loads(done.stdout.decode())

    def edit(self, content, session="s1", tool="write", **given):
        return ["edit", session, tool, given or {"filePath": str(self.work / "a.py")}, "a.py", content]

    def versions(self):
        for version in (1, 2):
            with self.subTest(version=version):
                yield version
            shutil.rmtree(str(self.data), ignore_errors=True)

    def test_a_verdict_begins_another_turn_and_that_one_no_third(self):
        for version in self.versions():
            with FaultServer(*(self.HELD * 3)) as server:
                self.point_to(server.base)
                found = self.opencode(
                    version, self.edit("one\n"), ["end", "s1"],
                    self.edit("two\n"), ["end", "s1"],  # the turn that the verdict began
                    self.edit("three\n"), ["stop", "s1"],
                    self.edit("four\n"), ["end", "s1"])
                sent = [json.dumps(seen.json()) for seen in server.requests if seen.method == "POST"]
            self.assertEqual(["done"] * 4, found["outputs"])
            self.assertEqual(["s1", "s1"], [prompt["id"] for prompt in found["prompts"]])
            for prompt in found["prompts"]:
                self.assertIn("- HIGH code.x a.py:1: Line 1: bad. (clears once", prompt["text"])
            self.assertEqual(0, sum("three" in body for body in sent), "a stopped turn was graded")
            self.assertEqual(1, sum("four" in body for body in sent))

    def test_a_secret_is_told_behind_the_output_of_the_tool_that_wrote_it(self):
        for version in self.versions():
            secret = "key = '" + CLOUD + "'\n"
            found = self.opencode(
                version, self.edit(secret), self.edit("x\n", tool="bash"),
                self.edit("token = '" + CLOUD[:-1] + "A'\n", tool="edit", path="a.py"),
                self.edit("pass_ = '" + CLOUD[:-1] + "B'\n", tool="apply_patch",
                          patchText="*** Begin Patch\n*** Update File: a.py\n@@\n-x\n+y\n*** End Patch"))
            first, other, by_path, by_patch = found["outputs"]
            for said in (first, by_path, by_patch):
                self.assertRegex(said, r"^done\n\na\.py, line 1: this looks like")
            self.assertEqual("done", other)

    def test_a_subagents_edits_belong_to_the_session_that_the_user_sees(self):
        for version in self.versions():
            with FaultServer(*self.HELD) as server:
                self.point_to(server.base)
                found = self.opencode(version, self.edit("one\n", "child"), ["end unasked", "child"],
                                      ["end", "s1"])
            self.assertEqual(["s1"], [prompt["id"] for prompt in found["prompts"]])

    def test_the_agent_and_the_model_of_the_turn_go_on(self):
        with FaultServer(*self.HELD) as server:
            self.point_to(server.base)
            found = self.opencode(1, self.edit("one\n"), ["end", "s1"])
        self.assertEqual(("plan", {"providerID": "p", "modelID": "m"}),
                         (found["prompts"][0]["agent"], found["prompts"][0]["model"]))

    def test_what_was_fixed_is_shown_to_the_user(self):
        with FaultServer(*(self.HELD + (SUBMITTED, verdict("ship")))) as server:
            self.point_to(server.base)
            found = self.opencode(1, self.edit("one\n"), ["end", "s1"], self.edit("two\n"),
                                  ["end", "s1"])
        self.assertEqual(1, len(found["shown"]), found)
        self.assertIn("fixed in a.py: code.x", found["shown"][0])

    def test_a_validator_that_is_gone_or_odd_changes_nothing(self):
        for version in self.versions():
            for command in ("exec 0<&-; exit 3", "echo rubbish; echo null",
                            "echo '{\"additionalContext\": 5, \"reason\": [], \"systemMessage\": {}}'"):
                found = self.opencode(version, self.edit("one\n"), self.edit("one\n", "gone"),
                                      ["end", "s1"], ["end", "gone"], command=command)
                self.assertEqual({"outputs": ["done", "done"], "prompts": [], "shown": []}, found)


if __name__ == "__main__":
    unittest.main()
