"""The events of every coding tool, as their own programs send them, and the answers that they want."""

import json
import os
import unittest

from test_hook import CLOUD, FLAW, SUBMITTED, HookTest, verdict
from surroundings import FaultServer
from engine import feedback, harness, hook
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
        "opencode": {"event": "tool.execute.after", "sessionID": "s1", "directory": work,
                     "tool": "write", "args": {"filePath": path}},
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
        "opencode": {"event": "session.idle", "sessionID": "s1", "directory": work,
                     "going_on": going_on},
        "windsurf": {"agent_action_name": "post_cascade_response", "trajectory_id": "s1",
                     "tool_info": {"response": "Done."}}}


#: Where the texts of an answer to the end of a turn stand: for the agent, and for the user. Cursor
#: and Copilot CLI have no place for the user's; Windsurf's agent hears nothing.
TOLD = {"claude": ("reason", "systemMessage"), "codex": ("reason", "systemMessage"),
        "copilot": ("reason", None), "cursor": ("followup_message", None),
        "gemini": ("reason", "systemMessage"), "opencode": ("reason", "systemMessage"),
        "windsurf": (None, "")}


class ToolsTest(HookTest):
    """What the tests of all tools share."""

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

    def told(self, tool, said):
        """What an answer tells the agent, what it tells the user, and whether the turn goes on."""
        for_agent, for_user = TOLD[tool]
        if tool == "windsurf":
            return "", said.decode(), False
        value = json.loads(said.decode()) if said else {}
        agent = value.get(for_agent, "")
        goes_on = tool in ("cursor", "opencode") or \
            value.get("decision") == ("deny" if tool == "gemini" else "block")
        return agent, value.get(for_user, ""), bool(agent) and goes_on

    def graded(self, tool, *flaws, going_on=False):
        """The answer to the end of a turn with a verdict of these flaws."""
        with FaultServer(SUBMITTED, verdict("route_to_fix", *flaws)) as server:
            self.point_to(server.base)
            return self.told(tool, self.through(tool, ends(str(self.work), going_on)[tool]))

    def forget(self):
        import shutil
        shutil.rmtree(str(self.data / "state"))


class EveryToolTest(ToolsTest):
    def test_a_changed_file_is_remembered_and_graded_at_the_end(self):
        self.write("a.py", "bad\n")
        for tool, payload in edits(str(self.work)).items():
            with self.subTest(tool=tool):
                self.assertEqual(b"", self.through(tool, payload))
                self.assertEqual(["a.py"], self.changed())
                agent, user, goes_on = self.graded(tool, FLAW)
                self.assertEqual(tool != "windsurf", goes_on)
                self.assertIn("- HIGH code.x a.py:1: Line 1: bad. (clears once", agent or user)
                self.assertEqual([], self.changed())
                self.forget()

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

    def test_vs_code_which_runs_the_hooks_of_others_is_told_nothing(self):
        common = {"timestamp": "2026-02-09T10:30:00.000Z", "cwd": "/w", "sessionId": "s1"}
        edit = dict(common, hookEventName="PostToolUse", tool_name="editFiles", tool_use_id="t",
                    tool_input={"files": ["a.py"]}, tool_response="File edited successfully")
        end = dict(common, hookEventName="Stop", stop_hook_active=False)
        for tool in ("claude", "copilot"):
            for payload in (edit, dict(edit, hook_event_name="PostToolUse"), end):
                self.assertIsNone(harness.event_of(tool, payload), (tool, payload))

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


class EveryAnswerTest(ToolsTest):
    """What an agent is told, by the tool that it works in; without the front door."""

    def through(self, tool, payload):
        return hook.answer(json.dumps(payload).encode(), str(self.data), tool)

    def test_a_flaw_has_file_line_rule_evidence_and_step_in_every_tool_and_the_same(self):
        flaw = dict(FLAW, detail="Line 3: a word too many.", place="line 3, column 7", evidence="eval(x)")
        self.write("a.py", "bad\n")
        lines = set()
        for tool, payload in edits(str(self.work)).items():
            with self.subTest(tool=tool):
                self.through(tool, payload)
                agent, user, _ = self.graded(tool, flaw)
                lines.update(line for line in (agent or user).split("\n") if line.startswith("- "))
                self.forget()
        self.assertEqual({"- HIGH code.x a.py:3:7: Line 3: a word too many. There: “eval(x)”. (clears "
                          "once line 3 no longer does this; nothing else needs to change)"}, lines)

    def test_the_most_serious_come_first_and_no_answer_is_put_aside_for_its_length(self):
        flaws = [dict(FLAW, severity="low", detail="d" * 300, place="line %d" % n) for n in range(200)]
        flaws.append(dict(FLAW, severity="critical", rule="code.worst"))
        self.write("a.py", "bad\n")
        for tool, payload in edits(str(self.work)).items():
            with self.subTest(tool=tool):
                self.through(tool, payload)
                agent, user, _ = self.graded(tool, *flaws)
                text = agent or user
                self.assertLessEqual(len(text), 10000)
                lines = [line for line in text.split("\n") if line.startswith("- ")]
                self.assertIn("code.worst", lines[0])
                self.assertRegex(lines[-1], r"^- and \d+ more, none of them more serious$")
                self.forget()

    def test_what_was_fixed_is_acknowledged_once_and_the_turn_is_not_kept_alive_twice(self):
        """Cursor and Copilot CLI show their users nothing, so it waits for the next verdict there."""
        other = dict(FLAW, rule="code.y", detail="Line 2: worse.", place="line 2", evidence="worse")
        for tool, payload in edits(str(self.work)).items():
            with self.subTest(tool=tool):
                heard = []
                for content, flaws, going_on in (("one\n", (FLAW, other), False),
                                                 ("two\n", (other,), True),
                                                 ("three\n", (other,), False),
                                                 ("four\n", (other,), False)):
                    self.write("a.py", content)
                    self.through(tool, payload)
                    heard.append(self.graded(tool, *flaws, going_on=going_on))
                if tool != "windsurf":  # whose payloads do not say that a turn goes on
                    self.assertEqual(("", False), heard[1][::2])
                said = ["fixed in a.py: code.x" in agent + user for agent, user, _ in heard]
                late = TOLD[tool][1] is None
                self.assertEqual([False, not late, late, False], said)
                self.forget()


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
