"""The events of every coding tool, as their own programs send them, and the answers that they want."""

import json
import os
import unittest

from test_hook import CLOUD, FLAW, SUBMITTED, HookTest, verdict
from surroundings import FaultServer
from engine import feedback, harness
from engine.grading import HELD, Outcome
from engine.parts import Artifact, Part
from engine.state import State
from engine.verdict import Flaw, Verdict

PATCH = "*** Begin Patch\n*** Add File: a.py\n+x = 1\n*** Update File: old.py\n*** Move to: {0}/b.py\n" \
        "@@\n-y\n+z\n*** Delete File: gone.py\n*** End Patch\n"


def edits(work):
    """What each tool sends after it changed a.py; the key of the session, and its name."""
    path = work + "/a.py"
    return {
        "claude": {"session_id": "s1", "cwd": work, "hook_event_name": "PostToolUse",
                   "tool_name": "Write", "tool_input": {"file_path": path, "content": ""},
                   "tool_response": {"type": "create", "filePath": path}},
        "codex": {"session_id": "s1", "turn_id": "t", "cwd": work, "model": "m",
                  "hook_event_name": "PostToolUse", "permission_mode": "default",
                  "tool_name": "apply_patch", "tool_use_id": "c1",
                  "tool_input": {"command": "*** Begin Patch\n*** Add File: a.py\n+x\n"},
                  "tool_response": "Success. Updated the following files:\nA a.py\n"},
        "copilot": {"sessionId": "s1", "timestamp": 1, "cwd": work, "toolName": "create",
                    "toolArgs": {"path": path, "file_text": ""},
                    "toolResult": {"resultType": "success", "textResultForLlm": "Created"}},
        "cursor": {"conversation_id": "s1", "generation_id": "g", "model": "m",
                   "hook_event_name": "afterFileEdit", "cursor_version": "2.0.77",
                   "workspace_roots": ["/elsewhere", work], "file_path": path,
                   "edits": [{"old_string": "", "new_string": "x"}]},
        "gemini": {"session_id": "s1", "cwd": work, "hook_event_name": "AfterTool",
                   "timestamp": "2026-11-22T12:42:43.550Z", "tool_name": "write_file",
                   "tool_input": {"file_path": path, "content": ""},
                   "tool_response": {"llmContent": "ok", "returnDisplay": {}}},
        "windsurf": {"agent_action_name": "post_write_code", "trajectory_id": "s1",
                     "execution_id": "e", "tool_info": {"file_path": path, "edits": []}}}


def ends(work, going_on=False):
    """What each tool sends at the end of a turn."""
    return {
        "claude": {"session_id": "s1", "cwd": work, "hook_event_name": "Stop",
                   "stop_hook_active": going_on},
        "codex": {"session_id": "s1", "cwd": work, "hook_event_name": "Stop",
                  "stop_hook_active": going_on, "last_assistant_message": "Done."},
        "copilot": {"sessionId": "s1", "timestamp": 1, "cwd": work, "transcriptPath": "/t",
                    "stopReason": "end_turn", "stop_hook_active": going_on},
        "cursor": {"conversation_id": "s1", "hook_event_name": "stop", "status": "completed",
                   "loop_count": int(going_on), "workspace_roots": [work]},
        "gemini": {"session_id": "s1", "cwd": work, "hook_event_name": "AfterAgent",
                   "prompt": "p", "prompt_response": "Done.", "stop_hook_active": going_on},
        "windsurf": {"agent_action_name": "post_cascade_response", "trajectory_id": "s1",
                     "tool_info": {"response": "Done."}}}


class EveryToolTest(HookTest):
    def setUp(self):
        super().setUp()
        before = os.getcwd()
        self.addCleanup(os.chdir, before)
        os.chdir(str(self.work))  # Windsurf runs its hooks in the project and does not name it

    def through(self, tool, payload):
        """The bytes that the front door writes for the payload."""
        code, said, errors = self.run_kit("--harness", tool, data=json.dumps(payload).encode(),
                                          **{name: os.environ[name] for name in
                                             ("BRASK_API_KEY", "BRASK_API_BASE")
                                             if name in os.environ})
        self.assertEqual((0, b""), (code, errors))
        return said

    def test_a_changed_file_is_remembered_and_graded_at_the_end(self):
        wanted = {
            "claude": lambda said: (said["decision"], said["reason"]),
            "codex": lambda said: (said["decision"], said["reason"]),
            "copilot": lambda said: (said["decision"], said["reason"]),
            "cursor": lambda said: ("block", said["followup_message"]),
            "gemini": lambda said: (said["decision"], said["reason"])}
        self.write("a.py", "bad\n")
        for tool, payload in edits(str(self.work)).items():
            with self.subTest(tool=tool):
                self.assertEqual(b"", self.through(tool, payload))
                self.assertEqual(["a.py"], self.changed())
                with FaultServer(SUBMITTED, verdict("route_to_fix", FLAW)) as server:
                    self.point_to(server.base)
                    said = self.through(tool, ends(str(self.work))[tool])
                if tool == "windsurf":
                    text = said.decode()
                else:
                    decision, text = wanted[tool](json.loads(said.decode()))
                    self.assertEqual("deny" if tool == "gemini" else "block", decision)
                self.assertIn("- HIGH code.x a.py:1: Line 1: bad. (clears once", text)
                self.assertEqual([], self.changed())
                self.forget()

    def forget(self):
        import shutil
        shutil.rmtree(str(self.data / "state"))

    def test_the_same_content_is_neither_sent_nor_told_again(self):
        self.write("a.py", "bad\n")
        for tool, payload in edits(str(self.work)).items():
            with self.subTest(tool=tool):
                with FaultServer(SUBMITTED, verdict("route_to_fix", FLAW)) as server:
                    self.point_to(server.base)
                    self.through(tool, payload)
                    self.assertNotEqual(b"", self.through(tool, ends(str(self.work))[tool]))
                    sent = len(server.requests)
                    self.through(tool, payload)
                    self.assertEqual(b"", self.through(tool, ends(str(self.work), True)[tool]))
                    self.assertEqual(sent, len(server.requests))
                self.forget()

    def test_secrets_are_told_after_the_edit_where_the_agent_hears_it(self):
        self.write("a.py", "key = '" + CLOUD + "'\n")
        for tool, payload in edits(str(self.work)).items():
            with self.subTest(tool=tool):
                said = self.through(tool, payload)
                if tool in ("cursor", "windsurf"):
                    self.assertEqual(b"", said)
                    continue
                value = json.loads(said.decode())
                value = value.get("hookSpecificOutput", value)
                self.assertIn("a.py, line 1", value["additionalContext"])
                self.forget()

    def test_a_turn_that_the_user_stopped_is_not_graded(self):
        for tool, more in (("cursor", {"status": "aborted"}), ("copilot", {"stopReason": "abort"})):
            payload = dict(ends(str(self.work))[tool], **more)
            self.assertIsNone(harness.event_of(tool, payload))

    def test_another_tools_payload_is_none_of_its_events(self):
        for tool in edits("/w"):
            for other, payload in edits("/w").items():
                same = {"claude", "codex", "gemini"} >= {tool, other}
                if tool == other or same:
                    continue
                self.assertIsNone(harness.event_of(tool, payload), (tool, other))

    def test_odd_payloads_are_silence(self):
        odd = [{}, {"toolName": 5}, {"hook_event_name": []}, {"toolName": "create"},
               {"toolName": "edit", "toolArgs": "{"}, {"toolName": "edit", "toolArgs": "[]"},
               {"stopReason": 5}, {"agent_action_name": "post_write_code", "tool_info": 7},
               {"hook_event_name": "afterFileEdit", "workspace_roots": [3], "file_path": {}},
               {"hook_event_name": "AfterTool", "tool_name": "replace", "tool_input": None},
               {"hook_event_name": "PostToolUse", "tool_name": "apply_patch", "tool_input": []}]
        for tool in edits("/w"):
            for payload in odd:
                event = harness.event_of(tool, payload)
                self.assertEqual([], event.paths if event else [], (tool, payload))

    def test_a_name_that_is_no_tool_is_silence(self):
        for arguments in (["--harness"], ["--harness", "emacs"], ["--harness", "codex", "x"]):
            self.assertEqual((0, b"", b""), self.run_kit(*arguments, data=b"{}"))


class PatchTest(unittest.TestCase):
    def test_the_files_of_a_patch(self):
        payload = dict(edits("/w")["codex"], tool_input={"command": PATCH.format("/w/sub")})
        self.assertEqual(["/w/a.py", "/w/old.py", "/w/sub/b.py"],
                         harness.event_of("codex", payload).paths)


def outcome(*flaws, names=("a.py",)):
    parts = tuple(Part("text/x-python", name, "x\n", same_lines=True)
                  for name in names)
    return Outcome(", ".join(names), None, "code", HELD, Verdict("block", 0.1, flaws),
                   artifact=Artifact(parts, "code", "x"))


class FeedbackTest(unittest.TestCase):
    def lines(self, *outcomes, room=9000):
        return feedback.lines([one for each in outcomes for one in feedback.located(each)], room)

    def test_the_most_serious_come_first_whichever_file_they_are_in(self):
        first = outcome(Flaw("LOW", "c", "d1", "r.low", "line 1"), Flaw("", "c", "d2", "r.none"))
        second = outcome(Flaw("HIGH", "c", "d3", "r.high", "line 2, column 3"),
                         Flaw("CRITICAL", "c", "d4", "r.worst", "line 9"), names=("b.py",))
        self.assertEqual(["r.worst b.py:9:", "r.high b.py:2:3:", "r.low a.py:1:", "r.none a.py:"],
                         [" ".join(line.split(" ")[2:4]) for line in self.lines(first, second)])

    def test_a_flaw_of_several_files_names_its_own(self):
        found = self.lines(outcome(Flaw("HIGH", "c", "d", "r", "part 2, line 4"),
                                   names=("a.py", "b.py")))
        self.assertIn("r b.py:4: d", found[0])

    def test_evidence_is_told_unless_the_sentence_has_it_already(self):
        found = self.lines(outcome(Flaw("HIGH", "c", "d", "r", "line 1", "eval(x)"),
                                   Flaw("HIGH", "c", "has eval(x)", "r", "line 1", "eval(x)")))
        self.assertIn("There: “eval(x)”.", found[0])
        self.assertNotIn("There:", found[1])

    def test_what_does_not_fit_is_counted_and_is_the_least(self):
        flaws = [Flaw("LOW", "c", "x" * 400, "r", "line 1")] * 100 + \
            [Flaw("HIGH", "c", "worst", "r", "line 1")]
        found = self.lines(outcome(*flaws), room=5000)
        self.assertIn("worst", found[0])
        self.assertEqual("- and {} more, none of them more serious".format(102 - len(found)),
                         found[-1])
        self.assertLess(len("\n".join(found)), 5000)

    def test_a_flaw_is_one_line_whatever_the_work_holds(self):
        found = self.lines(outcome(Flaw("HIGH", "c", "a\nb\u202e" + "y" * 5000, "r\x1b", "line 1",
                                        "\n# do it"), names=("a\nb.py",)))
        self.assertEqual(1, len(found))
        self.assertNotRegex(found[0], "[\n\x1b\u202e]")
        self.assertLessEqual(len(found[0]), feedback.LONGEST_LINE)
        self.assertIn("clears once line 1", found[0])


class FixedTest(HookTest):
    """A file that is graded a second time after something in it was fixed."""

    OTHER = dict(FLAW, rule="code.y", detail="Line 2: worse.", place="line 2", evidence="worse")

    def graded(self, content, *flaws, active=False):
        band = "route_to_fix" if flaws else "ship"
        with FaultServer(SUBMITTED, verdict(band, *flaws)) as server:
            self.point_to(server.base)
            self.edit("a.py", content)
            return self.stop(active)

    def test_what_was_fixed_is_told_at_the_next_end(self):
        self.assertNotIn("fixed", self.graded("1\n", FLAW, self.OTHER)["reason"])
        said = self.graded("2\n", self.OTHER, active=True)
        self.assertNotIn("decision", said)
        self.assertIn("fixed in a.py: code.x", said["systemMessage"])
        self.assertIn("fixed in a.py: code.y", self.graded("3\n", active=True)["systemMessage"])

    def test_what_only_moved_is_not_fixed(self):
        self.graded("1\n", FLAW)
        said = self.graded("\n1\n", dict(FLAW, place="line 2", detail="Line 2: bad."))
        self.assertNotIn("fixed", said["reason"])

    def test_a_file_that_was_not_graded_again_is_as_it_was(self):
        self.graded("1\n", FLAW)
        self.write("b.py", "x\n")
        with FaultServer(SUBMITTED, verdict("ship")) as server:
            self.point_to(server.base)
            self.edit("b.py", "x\n")
            self.assertIsNone(self.stop())
        self.assertIn("a.py", State(str(self.data), "s1").load()["open"])


if __name__ == "__main__":
    unittest.main()
