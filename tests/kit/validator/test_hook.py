"""The hook's decisions: what is remembered, what is sent, what is said, and to whom."""

import json
import os
import threading
import time
import unittest
from unittest import mock

import surroundings
from surroundings import FaultServer, answer, closed_port, silence
from engine import (client, grading, hook, judged, reachability, settings, standing,
                    state as state_module, stop)
from engine.state import State
from engine.verdict import failure

CLOUD = "AKIA" + "Q7Z3M9X2K5W8R4T6"
SUBMITTED = answer(202, {"job_id": "j1"})
FLAW = {"severity": "high", "criterion": "c", "rule": "code.x", "detail": "Line 1: bad.",
        "place": "line 1", "evidence": "bad"}


def verdict(band, *flaws, **more):
    return answer(200, {"status": "completed", "run_id": "r1", "result_summary": dict(
        {"band": band, "score": 0.5, "flaws": list(flaws)}, **more)})


BEYOND = verdict("unknown", not_checked=[
    {"what": "prose,\nFrisian", "why": "no dictionary is at hand", "remedy": "install one"}])


class HookTest(surroundings.HomeTest):
    """Calls the engine in this process, with the environment of a coding tool."""

    def setUp(self):
        super().setUp()
        before = dict(os.environ)
        self.addCleanup(lambda: (os.environ.clear(), os.environ.update(before)))
        for name in list(os.environ):
            if name.startswith("BRASK") or name.lower().endswith("_proxy"):
                del os.environ[name]
        os.environ.update(HOME=str(self.home), BRASK_API_KEY="the-key")

    def point_to(self, base):
        os.environ["BRASK_API_BASE"] = base

    def event(self, name, **more):
        payload = dict({"session_id": "s1", "cwd": str(self.work), "hook_event_name": name}, **more)
        said = hook.answer(json.dumps(payload).encode(), str(self.data))
        return json.loads(said.decode("ascii")) if said else None

    def edit(self, name, content, tool="Write", **more):
        path = self.write(name, content)
        return self.event("PostToolUse", tool_name=tool, tool_input={"file_path": path}, **more)

    def stop(self, active=False, **more):
        return self.event("Stop", stop_hook_active=active, **more)

    def changed(self, session="s1"):
        return [os.path.relpath(p, str(self.work)) for p in State(str(self.data),
                                                                  session).changed()]


class AfterATool(HookTest):
    def test_a_changed_file_is_remembered_once_and_nothing_is_said(self):
        for _ in range(3):
            self.assertIsNone(self.edit("a.py", "x = 1\n"))
        self.assertIsNone(self.edit("b.md", "# t\n", "Edit"))
        self.assertEqual(self.changed(), ["a.py", "b.md"])

    def test_a_notebook_is_named_by_its_own_key_and_a_path_may_be_relative(self):
        self.event("PostToolUse", tool_name="NotebookEdit", tool_input={"notebook_path": "n.ipynb"})
        self.event("PostToolUse", tool_name="Write", tool_response={"filePath": "c.py"})
        self.assertEqual(self.changed(), ["n.ipynb", "c.py"])

    def test_other_tools_and_odd_inputs_change_nothing(self):
        for more in ({"tool_name": "Bash", "tool_input": {"file_path": "a"}},
                     {"tool_name": "Write"},
                     {"tool_name": "Write", "tool_input": []},
                     {"tool_name": "Write", "tool_input": {"file_path": 5}},
                     {"tool_name": "Write", "tool_input": {"file_path": "a\0b"}},
                     {"tool_name": ["Write"], "tool_input": {"file_path": "a"}}, {}):
            self.assertIsNone(self.event("PostToolUse", **more))
        self.assertEqual(self.changed(), [])

    def test_a_secret_is_told_at_once_once_and_without_itself(self):
        said = self.edit("a.py", "x = 1\nkey = '" + CLOUD + "'\n")
        context = said["hookSpecificOutput"]
        self.assertEqual(context["hookEventName"], "PostToolUse")
        self.assertIn("a.py, line 2: this looks like a cloud access key (“AKIA…”)",
                      context["additionalContext"])
        self.assertNotIn(CLOUD, json.dumps(said))
        self.assertIsNone(self.edit("a.py", "# moved\nx = 1\nkey = '" + CLOUD + "'\n"))

    def test_nothing_is_said_of_secrets_where_they_belong(self):
        self.assertIsNone(self.edit(".env", "AWS_KEY=" + CLOUD + "\n"))

    def test_an_edit_never_touches_the_network(self):
        with FaultServer(silence) as server:
            self.point_to(server.base)
            self.edit("a.py", "x = 1\n")
            self.assertEqual(server.requests, [])


class AtTheEnd(HookTest):
    def test_a_verdict_that_does_not_clear_goes_back_with_its_flaws(self):
        with FaultServer(SUBMITTED, verdict("route_to_fix", FLAW)) as server:
            self.point_to(server.base)
            self.edit("src/a.py", "bad\n")
            said = self.stop()
        self.assertEqual(said["decision"], "block")
        self.assertIn("src/a.py: fix first (route_to_fix, score 0.50, 1 flaw)", said["reason"])
        self.assertIn("- HIGH code.x src/a.py:1: Line 1: bad. (clears once line 1", said["reason"])
        self.assertIn(server.base + "/console?run=r1", said["reason"])
        sent = server.requests[0].json()
        self.assertEqual(sent["artifact_parts"], [
            {"mime_type": "text/x-code", "logical_name": "src/a.py", "text": "bad\n"}])
        self.assertNotIn(str(self.home), json.dumps(sent))

    def turn(self):
        """What the end of a turn left for the desktop's message."""
        path = self.data / "state" / "turn.json"
        return json.loads(path.read_text()) if path.exists() else None

    def test_the_verdict_on_a_turn_is_left_for_the_desktop(self):
        with FaultServer(SUBMITTED, verdict("block", FLAW)) as server:
            self.point_to(server.base)
            self.edit("src/a.py", "bad\n")
            before = int(time.time() * 1000)
            self.stop()
        left = self.turn()
        self.assertEqual((left["band"], left["flaws"], left["run_id"], left["score"]),
                         ("block", 1, "r1", 0.5))
        self.assertEqual(left["project"], os.path.basename(str(self.work)))
        self.assertEqual(left["service"], server.base)
        self.assertGreaterEqual(left["at"], before)
        self.assertNotIn("a.py", json.dumps(left))
        self.assertEqual((self.data / "state" / "turn.json").stat().st_mode & 0o777, 0o600)

    def test_of_several_kinds_of_work_the_worst_verdict_counts(self):
        groups = []
        for kind, state, band, run in (("code", grading.CLEARS, "ship", "r1"),
                                       ("text", grading.HELD, "block", "r2"),
                                       ("document", grading.HELD, "route_to_fix", "r3"),
                                       ("image", grading.NOT_GRADED, "unknown", "r4")):
            group = stop.Group(kind)
            group.outcome = mock.Mock(state=state, flaws=(1, 2))
            group.outcome.verdict = mock.Mock(band=band, score=0.5, run_id=run)
            groups.append(group)
        found = stop._turn(groups, "/w/" + "p" * 200, mock.Mock(base="http://a"))
        self.assertEqual((found["band"], found["run_id"], found["flaws"]), ("block", "r2", 6))
        self.assertEqual(found["project"], "p" * stop.LONGEST_PROJECT)
        self.assertIsNone(stop._turn(groups[3:], "/w", mock.Mock(base="http://a")))

    def test_a_turn_that_clears_is_left_for_the_desktop_too(self):
        with FaultServer(SUBMITTED, verdict("ship")) as server:
            self.point_to(server.base)
            self.edit("a.py", "good\n")
            self.stop()
        self.assertEqual((self.turn()["band"], self.turn()["flaws"]), ("ship", 0))

    def test_a_turn_without_a_verdict_leaves_nothing(self):
        self.point_to("http://127.0.0.1:{}".format(closed_port()))
        self.edit("a.py", "x = 1\n")
        self.stop()
        self.assertIsNone(self.turn())

    def test_work_that_clears_is_silence(self):
        with FaultServer(SUBMITTED, verdict("ship")) as server:
            self.point_to(server.base)
            self.edit("a.py", "good\n")
            self.assertIsNone(self.stop())
        self.assertEqual(self.changed(), [])

    def test_the_same_unchanged_files_are_not_blocked_on_twice(self):
        with FaultServer(SUBMITTED, verdict("block", FLAW), SUBMITTED,
                         verdict("block", FLAW)) as server:
            self.point_to(server.base)
            self.edit("a.py", "bad\n")
            self.assertEqual(self.stop()["decision"], "block")
            self.assertIsNone(self.stop())
            self.edit("a.py", "bad\n")
            self.assertIsNone(self.stop())
            self.assertEqual(len(server.requests), 2)
            self.edit("a.py", "still bad\n")
            self.assertEqual(self.stop()["decision"], "block")

    def test_content_that_comes_back_is_not_sent_or_blocked_on_again(self):
        steps = [SUBMITTED, verdict("block", FLAW)] * 2
        with FaultServer(*steps) as server:
            self.point_to(server.base)
            for content, blocks in (("bad\n", True), ("other\n", True), ("bad\n", False)):
                self.edit("a.py", content)
                self.assertEqual("decision" in self.stop(), blocks, content)
            self.assertEqual(len(server.requests), 4)

    def test_while_a_stop_hook_keeps_the_turn_alive_only_the_user_is_told(self):
        with FaultServer(SUBMITTED, verdict("block", FLAW), SUBMITTED, verdict("ship")) as server:
            self.point_to(server.base)
            self.edit("a.py", "bad\n")
            self.assertEqual(list(self.stop(active=True)), ["systemMessage"])
            self.edit("a.py", "good\n")
            self.assertIn("a.py: clears", self.stop(active=True)["systemMessage"])

    def test_files_of_one_kind_are_one_submission_and_kinds_go_apart(self):
        bodies = []

        def serve(connection, seen):
            if seen.method == "POST":
                bodies.append(seen.json())
                return SUBMITTED(connection, seen)
            return verdict("ship")(connection, seen)
        with FaultServer(serve) as server:
            self.point_to(server.base)
            for name in ("a.py", "b.py", "c.md"):
                self.edit(name, "x\n")
            self.stop()
        self.assertEqual(sorted((b["modality"], len(b["artifact_parts"])) for b in bodies),
                         [("code", 2), ("document", 1)])

    def test_a_secret_is_taken_out_and_holds_the_work(self):
        with FaultServer(SUBMITTED, verdict("ship")) as server:
            self.point_to(server.base)
            self.edit("a.py", "key = '" + CLOUD + "'\n")
            said = self.stop()
        self.assertIn("standing.secret", said["reason"])
        self.assertIn(b"REDACTED", server.requests[0].body)
        self.assertNotIn(CLOUD.encode(), server.requests[0].body + json.dumps(said).encode())

    def test_what_must_not_leave_is_not_sent(self):
        with FaultServer(SUBMITTED, verdict("ship")) as server:
            self.point_to(server.base)
            self.edit(".env", "A=b\n")
            self.edit("empty.py", "")
            self.edit("thing.bin", b"\0\1")
            self.event("PostToolUse", tool_name="Write", tool_input={"file_path": "gone.py"})
            self.assertIsNone(self.stop())
            self.assertEqual(server.requests, [])
        self.assertEqual(self.changed(), [])

    def test_what_the_service_cannot_read_holds_nobody_up(self):
        flaw = dict(FLAW, rule="artifact.unreadable")
        with FaultServer(SUBMITTED, verdict("route_to_fix", flaw)) as server:
            self.point_to(server.base)
            self.edit("a.pdf", b"%PDF-1.7\n")
            self.assertIsNone(self.stop())
            self.assertIsNone(self.stop())
            self.assertEqual(len(server.requests), 2)

    def test_what_nobody_can_judge_is_a_fact_told_once_and_never_a_block(self):
        with FaultServer(SUBMITTED, BEYOND, SUBMITTED, BEYOND) as server:
            self.point_to(server.base)
            self.edit("a.py", "x\n")
            self.assertEqual(self.stop(), {"systemMessage": (
                "Kelvane: a.py: not judged: nobody here can judge this: prose, Frisian (no "
                "dictionary is at hand; install one)")})
            self.assertFalse(State(str(self.data), "s1").is_down())
            self.assertEqual(self.changed(), [])
            self.assertIsNone(self.stop())
            self.assertEqual(len(server.requests), 3)  # with the flaws asked for
            self.edit("a.py", "y\n")
            self.assertIsNone(self.stop(active=True))

    def test_what_nobody_can_judge_never_passes_for_cleared_while_a_turn_is_kept_alive(self):
        with FaultServer(SUBMITTED, BEYOND) as server:
            self.point_to(server.base)
            self.edit("a.py", "x\n")
            said = self.stop(active=True)["systemMessage"]
        self.assertIn("a.py: not judged", said)
        self.assertNotIn("clears", said)

    def test_a_secret_in_what_nobody_can_judge_is_held_all_the_same(self):
        with FaultServer(SUBMITTED, BEYOND) as server:
            self.point_to(server.base)
            self.edit("a.py", "key = '" + CLOUD + "'\n")
            said = self.stop()
        self.assertEqual(said["decision"], "block")
        self.assertIn("standing.secret", said["reason"])

    def test_a_flood_of_flaws_is_bounded(self):
        flaws = [dict(FLAW, detail="x" * 2000) for _ in range(3000)]
        with FaultServer(SUBMITTED, verdict("block", *flaws)) as server:
            self.point_to(server.base)
            self.edit("a.py", "bad\n")
            self.assertLess(len(self.stop()["reason"]), 10000)

    def test_more_files_than_are_graded_at_once_are_told(self):
        with FaultServer(SUBMITTED, verdict("block", FLAW)) as server:
            self.point_to(server.base)
            for number in range(stop.MOST_FILES + 2):
                self.edit("f%d.py" % number, "x\n")
            self.assertIn("2 more changed files", self.stop()["reason"])
        self.assertEqual(len(server.requests[0].json()["artifact_parts"]), stop.MOST_FILES)

    def test_without_a_key_or_switched_off_nothing_is_sent(self):
        with FaultServer(SUBMITTED, verdict("block")) as server:
            self.point_to(server.base)
            self.edit("a.py", "x\n")
            os.environ["BRASK_HOOK"] = "off"
            self.assertIsNone(self.stop())
            del os.environ["BRASK_HOOK"]
            os.environ["BRASK_API_KEY"] = ""
            self.assertIsNone(self.stop())
            self.assertEqual(server.requests, [])

    def test_a_broken_rule_file_is_told_to_the_user_once(self):
        broken = standing.load()._replace(problems=("mine.md:2: not a line",))
        with FaultServer(SUBMITTED, verdict("ship")) as server, \
                mock.patch.object(standing, "load", lambda: broken):
            self.point_to(server.base)
            self.edit("a.py", "x\n")
            self.assertIn("mine.md:2: not a line", self.stop()["systemMessage"])
            self.edit("a.py", "y\n")
            self.assertIsNone(self.stop())


class WhenTheServiceIsNotWell(HookTest):
    def test_a_service_that_is_down_is_silence_and_remembered(self):
        self.point_to("http://127.0.0.1:{}".format(closed_port()))
        self.edit("a.py", "x\n")
        self.assertIsNone(self.stop())
        self.assertTrue(State(str(self.data), "s1").is_down())
        self.assertEqual(self.changed(), ["a.py"])

    def test_while_it_is_known_to_be_down_nothing_is_tried(self):
        with FaultServer(SUBMITTED, verdict("block", FLAW)) as server:
            self.point_to(server.base)
            self.edit("a.py", "x\n")
            state = State(str(self.data), "s1")
            state.note_down(30)
            self.assertIsNone(self.stop())
            self.assertEqual(server.requests, [])
            state.note_up()
            self.assertEqual(self.stop()["decision"], "block")

    def test_a_key_that_is_not_known_is_told_to_the_user_only_and_not_again(self):
        for body, words in ((b"", "not authorized"), ({"error": "who are you"}, "who are you")):
            with FaultServer(answer(401, body)) as server:
                self.point_to(server.base)
                self.edit("a.py", "x\n")
                said = self.stop()
                self.assertEqual(list(said), ["systemMessage"])
                self.assertIn(words, said["systemMessage"])
                self.assertNotIn("the-key", json.dumps(said))
                self.assertIsNone(self.stop())
                self.assertEqual(len(server.requests), 1)
                State(str(self.data), "s1").note_up()

    def test_a_service_that_errs_blocks_nobody(self):
        for step in (answer(500, b"<html>"), answer(429, {"error": "full"}), answer(200, []),
                     answer(403, b"")):
            with self.subTest(), FaultServer(step) as server:
                self.point_to(server.base)
                self.edit("a.py", "x\n")
                self.assertNotIn("decision", self.stop() or {})
                State(str(self.data), "s1").note_up()

    def test_a_service_that_waits_long_before_it_fails_is_left_alone_for_long(self):
        lost = mock.Mock(outcome=grading.not_graded("text", "away"))
        lost.outcome = lost.outcome._replace(verdict=failure(client.UNREACHABLE))
        self.assertEqual(stop._trouble([lost], 0.1), "unreachable")
        self.assertEqual(stop._trouble([lost], reachability.SLOW_SECONDS), "slow")
        self.assertGreaterEqual(reachability.DOWN_SECONDS["slow"], 600)
        self.assertLessEqual(stop.PATIENCE, 10)

    def test_reading_is_part_of_the_time_that_there_is(self):
        moments = iter(range(0, 1000, 3))
        for name in ("a.py", "b.py", "c.py", "d.py", "e.py"):
            self.edit(name, "x\n")
        state = State(str(self.data), "s1")
        with mock.patch.object(stop.time, "monotonic", lambda: next(moments)):
            groups, left = stop._groups(state.changed(), str(self.work), standing.load(),
                                        state.load(), judged.Judged(settings.load()), 12)
        self.assertEqual(sum(len(group.artifacts) for group in groups) + left, 5)
        self.assertGreater(left, 0)

    def test_files_outside_the_project_are_neither_looked_through_nor_sent(self):
        secret = "key = '" + CLOUD + "'\n"
        outside = self.home / "notes.py"
        outside.write_text(secret)
        (self.work / "link.py").symlink_to(outside)
        with FaultServer(SUBMITTED, verdict("ship")) as server:
            self.point_to(server.base)
            for path in (str(outside), str(self.work / "link.py")):
                self.assertIsNone(self.event("PostToolUse", tool_name="Write",
                                             tool_input={"file_path": path}))
            self.assertIsNone(self.stop())
            self.assertEqual(server.requests, [])
            os.environ["BRASK_READ"] = str(self.home)
            self.assertIsNotNone(self.event("PostToolUse", tool_name="Write",
                                            tool_input={"file_path": str(outside)}))

    def test_a_file_of_secrets_is_not_even_opened(self):
        with mock.patch.object(hook, "open", side_effect=AssertionError, create=True):
            self.assertIsNone(self.edit(".env", "AWS_KEY=" + CLOUD + "\n"))

    def test_a_file_name_is_one_harmless_line(self):
        said = self.edit("a\n\u202egnp.py", "key = '" + CLOUD + "'\n")
        context = said["hookSpecificOutput"]["additionalContext"]
        self.assertEqual(context.count("\n"), 0)
        self.assertNotIn("\u202e", context)

    def test_a_file_name_that_is_not_utf_8_is_graded_under_another(self):
        path = os.fsencode(str(self.work)) + b"/caf\xe9.py"
        with open(path, "wb") as file:
            file.write(b"x\n")
        with FaultServer(SUBMITTED, verdict("ship")) as server:
            self.point_to(server.base)
            self.event("PostToolUse", tool_name="Write",
                       tool_input={"file_path": os.fsdecode(path)})
            self.stop()
            part, = server.requests[0].json()["artifact_parts"]
        self.assertEqual((part["logical_name"], part["text"]), ("caf?.py", "x\n"))

    def test_a_verdict_without_a_band_blocks_nobody(self):
        with FaultServer(SUBMITTED, verdict("re_prompt", FLAW)) as server:
            self.point_to(server.base)
            self.edit("a.py", "x\n")
            self.assertIsNone(self.stop())

    def test_a_service_that_is_slow_is_left_within_the_deadline(self):
        """However long reading the file takes here, of which the time there is would be a part."""
        read = stop._groups
        patched = mock.patch.object(stop, "_groups", lambda *given: read(*given[:-1], given[-1] + 3600))
        patched.start()
        self.addCleanup(patched.stop)
        for steps in ((silence,), (SUBMITTED, silence),
                      (SUBMITTED, answer(200, {"status": "running"}))):
            with self.subTest(), FaultServer(*steps) as server:
                self.point_to(server.base)
                self.edit("a.py", "x\n")
                payload = {"session_id": "s1", "cwd": str(self.work)}
                state = State(str(self.data), "s1")
                made = settings.load()._replace(hook_seconds=0.5)
                said = stop.grade_changes(state.changed(), payload["cwd"], made, state, False)
                self.assertNotIn("decision", said or {})
                self.assertTrue(state.is_down())
                state.note_up()

    def test_content_that_the_service_never_takes_is_given_up_after_three_times(self):
        with FaultServer(answer(400, {"error": "no"})) as server:
            self.point_to(server.base)
            self.edit("a.py", "x\n")
            for _ in range(6):
                self.stop()
                State(str(self.data), "s1").note_up()
            self.assertEqual(len(server.requests), stop.MOST_TRIES)


class BadEvents(HookTest):
    def test_anything_else_is_silence(self):
        cursor = {"hook_event_name": "stop", "cursor_version": "1.7", "workspace_roots": ["/x"],
                  "conversation_id": "c", "status": "completed", "loop_count": 0}
        for data in (b"", b"null", b"[]", b"5", b"not json", b"\xff\xfe", b"{", b"{}",
                     b"\xef\xbb\xbf" + json.dumps(cursor).encode(), b"[" * 100000,
                     b'{"hook_event_name":"PreToolUse"}', b'{"hook_event_name":["Stop"]}',
                     b'{"hook_event_name":"Stop","session_id":{}}', b'{"hook_event_name":"Stop"}',
                     b'{"hook_event_name":"PostToolUse","tool_name":null,"tool_input":null}',
                     json.dumps(dict(cursor, hook_event_name="Stop")).encode()):
            self.assertEqual(hook.answer(data, str(self.data)), b"", data[:40])

    def test_another_tool_that_runs_our_hook_changes_nothing(self):
        self.edit("a.py", "x\n", cursor_version="1.7", workspace_roots=[str(self.work)])
        self.assertEqual(self.changed(), [])

    def test_a_byte_order_mark_is_no_obstacle(self):
        path = self.write("a.py", "x\n")
        payload = {"session_id": "s1", "cwd": str(self.work), "hook_event_name": "PostToolUse",
                   "tool_name": "Write", "tool_input": {"file_path": path}}
        hook.answer(b"\xef\xbb\xbf" + json.dumps(payload).encode(), str(self.data))
        self.assertEqual(self.changed(), ["a.py"])


class Remembering(surroundings.HomeTest):
    def setUp(self):
        super().setUp()
        self.now = time.time()

    def state(self, session="s1"):
        return State(str(self.data), session, lambda: self.now)

    def test_files_and_folders_are_the_owners_alone(self):
        state = self.state()
        state.record("/a")
        state.save(state.load())
        state.note_down(5)
        state.clean()
        modes = self.modes(self.data)
        self.assertEqual(self.data.stat().st_mode & 0o777, 0o700)
        self.assertEqual({m for p, m in modes.items() if (self.data / p).is_dir()}, {0o700})
        self.assertEqual({m for p, m in modes.items() if not (self.data / p).is_dir()}, {0o600})

    def test_a_change_while_a_turn_is_graded_is_not_settled_with_it(self):
        turn, edit = self.state(), self.state()
        edit.record("/a")
        edit.record("/b")
        self.assertEqual(turn.changed(), ["/a", "/b"])
        edit.record("/a")  # again: it was read before this
        turn.settle()
        self.assertEqual(self.state().changed(), ["/a"])

    def test_two_turns_that_end_at_once_lose_nothing(self):
        first, second, edit = self.state(), self.state(), self.state()
        edit.record("/a")
        first.changed()
        second.changed()
        edit.record("/b")
        first.settle()
        edit.record("/c")
        second.settle()
        self.assertEqual(set(self.state().changed()), {"/b", "/c"})

    def test_many_edits_and_turns_at_once_lose_nothing(self):
        settled = []

        def edits(name):
            for number in range(20):
                self.state().record("/{}{}".format(name, number))

        def turns():
            for _ in range(20):
                state = self.state()
                settled.append(state.changed())
                state.settle()

        threads = [threading.Thread(target=edits, args=(name,)) for name in "abcd"]
        threads += [threading.Thread(target=turns) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        seen = {path for paths in settled for path in paths} | set(self.state().changed())
        self.assertEqual(len(seen), 80)

    def test_a_change_while_a_settling_turn_is_held_up_is_not_lost(self):
        """The turn has read the list and stops, for longer than anybody waits, before it writes."""
        self.state().record("/a")
        turn, write = self.state(), os.unlink
        turn.changed()

        def held_up(path):
            with mock.patch.object(state_module, "LOCK_TRIES", 2):
                self.state().record("/b")
                self.state().record("/a")
            write(path)
        with mock.patch.object(state_module.os, "unlink", held_up):
            turn.settle()
        self.assertEqual(set(self.state().changed()), {"/a", "/b"})
        self.assertEqual(self.listed(), ["s1"])

    def test_a_turn_that_never_has_the_list_settles_nothing(self):
        self.state().record("/a")
        turn = self.state()
        with state_module.Lock(str(self.data / "state" / "lock")) as alone:
            self.assertTrue(alone)
            with mock.patch.object(state_module, "LOCK_TRIES", 2):
                self.assertEqual(turn.changed(), ["/a"])
                self.state().record("/a")  # again: it was read before this
                turn.settle()
        turn.settle()
        self.assertEqual(self.state().changed(), ["/a"])

    def test_one_sessions_late_changes_are_no_other_sessions(self):
        with state_module.Lock(str(self.data / "state" / "lock")), \
                mock.patch.object(state_module, "LOCK_TRIES", 2):
            self.state("s1").record("/a")
            self.state("s11").record("/b")
        self.assertEqual(self.state("s1").changed(), ["/a"])
        self.assertEqual(self.state("s11").changed(), ["/b"])

    def listed(self):
        return sorted(os.listdir(str(self.data / "state" / "changed")))

    def test_turns_that_settle_nothing_do_not_fill_the_list(self):
        with mock.patch.object(state_module, "LONGEST_CHANGED", 1000):
            for _ in range(100):
                state = self.state()
                state.record("/x/" + "y" * 40)
                state.changed()
            self.state().record("/new")
        self.assertEqual(set(self.state().changed()), {"/x/" + "y" * 40, "/new"})

    def test_of_many_marks_none_is_forgotten(self):
        state = self.state()
        memory = state.load()
        memory["told"] = ["{:032x}".format(number) for number in range(1000)]
        state.save(memory)
        self.assertEqual(len(self.state().load()["told"]), 1000)

    def test_a_session_of_any_name_has_its_own_file(self):
        sessions = ("a", "../../etc/passwd", "A b", "ü", "x" * 500, "", None, 5, "a/b", ".", "..")
        names = {state_module.file_name(session) for session in sessions}
        self.assertEqual(len(names), 9)  # "", None and 5 are all no session
        for name in names:
            self.assertRegex(name, r"^[A-Za-z0-9_-]{1,80}$")

    def test_settling_keeps_what_came_meanwhile(self):
        state = self.state()
        state.record("/a")
        self.assertEqual(state.changed(), ["/a"])
        self.state().record("/b")
        state.settle()
        self.assertEqual(self.state().changed(), ["/b"])

    def test_many_hooks_at_once_lose_nothing(self):
        threads = [threading.Thread(target=lambda n=n: self.state().record("/f%d" % n))
                   for n in range(40)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        self.assertEqual(len(self.state().changed()), 40)

    def test_the_list_of_changes_is_bounded(self):
        state = self.state()
        for number in range(700):
            state.record("/" + "x" * 120 + str(number))
        size = (self.data / "state" / "changed" / "s1").stat().st_size
        self.assertLessEqual(size, state_module.LONGEST_CHANGED)

    def test_damaged_memory_is_no_memory(self):
        state = self.state()
        state.save(state.load())
        for content in (b"", b"[]", b"{", b"\xff", b'{"graded":5,"reported":{},"told":[5,"x"]}'):
            (self.data / "state" / "sessions" / "s1.json").write_bytes(content)
            found = state.load()
            self.assertEqual((found["graded"], found["reported"]), ({}, []))
        (self.data / "state" / "changed").mkdir()
        (self.data / "state" / "changed" / "s1").write_bytes(b'\xff\n"/a"\n5\n[]\n"/a"\n')
        self.assertEqual(state.changed(), ["/a"])

    def test_a_folder_that_cannot_be_written_is_no_error(self):
        self.data.write_text("a file where the folder should be")
        state = self.state()
        state.record("/a")
        state.save(state.load())
        state.note_down(5)
        state.note_up()
        state.settle()
        state.clean()
        self.assertFalse(state.is_down())

    def test_old_sessions_go_and_too_many_do(self):
        for number in range(state_module.MOST_SESSIONS + 5):
            self.state("s%d" % number).record("/a")
        folder = self.data / "state" / "changed"
        os.utime(str(folder / "s0"), (1, 1))
        self.state().clean()
        left = {p.name for p in folder.iterdir()}
        self.assertEqual(len(left), state_module.MOST_SESSIONS)
        self.assertNotIn("s0", left)
        self.state("more").record("/a")
        self.state().clean()  # the same day: not again
        self.assertIn("more", {p.name for p in folder.iterdir()})

    def test_down_ends_by_itself(self):
        state = self.state()
        state.note_down(30)
        self.assertTrue(state.is_down())
        self.now += 31
        self.assertFalse(state.is_down())

    def test_a_clock_that_is_set_back_does_not_make_down_last(self):
        state = self.state()
        state.note_down(30)
        self.now -= 86400
        self.assertFalse(state.is_down())

    def test_both_ends_know_the_same_limit(self):
        text = (surroundings.KIT / "validate.py").read_text(encoding="utf-8")
        self.assertIn("LONGEST_DOWN = {}".format(state_module.LONGEST_DOWN), text)


if __name__ == "__main__":
    unittest.main()
