"""Is a file judged once for each content, whoever asked first, and does every verdict count?"""

import json
import os
import threading
import unittest
from unittest import mock

from surroundings import FaultServer, LocalService, answer
from test_hook import FLAW, SUBMITTED, HookTest, verdict
from engine import cli, dismissals, hook, judged, mcp_tools, parts, settings, standing
from engine.state import CLEAN_SECONDS, State
from engine.verdict import CheckedBy, DismissedFlaw, Flaw, NotChecked, Verdict, failure

NOTE = "# Launch\n\nDear [Name],\n\nthe the launch is on 31 April 2026.\n"


class AcrossTest(HookTest):
    """An agent's call by MCP, `brask grade` and the hooks of two tools, with one service."""

    def setUp(self):
        super().setUp()
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(str(self.work))

    def serve(self, *verdicts, revised=None):
        """A service that gives its first submission the first verdict, and so on; the last one stays."""
        left = list(verdicts)

        def step(connection, seen):
            if seen.target.endswith("/iterate"):
                return answer(200, {"iteration": {"critic_verdict": revised}})(connection, seen)
            if seen.method == "POST":
                self.given = left.pop(0) if len(left) > 1 else left[0]
                return SUBMITTED(connection, seen)
            return self.given(connection, seen)
        server = FaultServer(step)
        self.addCleanup(server.__exit__)
        self.point_to(server.base)
        return server

    def call(self, tool, **arguments):
        """What a tool of the MCP server says."""
        result = mcp_tools.Tools().run(tool, arguments, lambda text: None, threading.Event())
        self.assertFalse(result["isError"], result["content"])
        return result["structuredContent"]

    def edit_and_stop(self, name="a.py", content="bad\n", **more):
        self.edit(name, content, **more)
        return self.stop(**more)

    def submissions(self, server):
        return sum(seen.method == "POST" for seen in server.requests)


class Across(AcrossTest):
    def test_what_an_agent_had_judged_is_not_sent_again_and_holds_all_the_same(self):
        server = self.serve(verdict("route_to_fix", FLAW))
        self.edit("src/a.py", "bad\n")
        self.assertFalse(self.call("grade", path="src/a.py")["clears"])
        said = self.stop()
        self.assertEqual(said["decision"], "block")
        self.assertIn("src/a.py: fix first (route_to_fix, score 0.50, 1 flaw)", said["reason"])
        self.assertIn("- HIGH code.x src/a.py:1: Line 1: bad.", said["reason"])
        self.assertIn(server.base + "/console?run=r1", said["reason"])
        self.assertEqual(self.submissions(server), 1)
        self.assertIsNone(self.stop())
        self.assertEqual(self.changed(), [])

    def test_what_an_agent_had_judged_and_clears_is_silence(self):
        server = self.serve(verdict("ship"))
        self.write("a.py", "good\n")
        self.assertTrue(self.call("grade", path="a.py")["clears"])
        self.assertIsNone(self.edit_and_stop(content="good\n"))
        self.assertEqual(self.submissions(server), 1)
        left = json.loads((self.data / "state" / "turn.json").read_text())
        self.assertEqual((left["band"], left["run_id"]), ("ship", "r1"))

    def test_other_content_is_sent(self):
        server = self.serve(verdict("ship"), verdict("block", FLAW))
        self.write("a.py", "good\n")
        self.call("grade", path="a.py")
        self.assertEqual(self.edit_and_stop()["decision"], "block")
        self.assertEqual(server.requests[-2].json()["artifact_parts"][0]["text"], "bad\n")

    def test_a_text_without_a_file_counts_for_the_file_of_that_name(self):
        server = self.serve(verdict("block", FLAW))
        self.call("grade", text="bad\n", name="a.py")
        self.assertEqual(self.edit_and_stop("src/a.py")["decision"], "block")
        self.assertEqual(self.submissions(server), 1)
        self.call("grade", text="bad\n", name="other.py")
        self.assertEqual(self.submissions(server), 2)

    def test_a_revision_of_a_known_run_counts(self):
        server = self.serve(verdict("block", FLAW), revised={"band": "ship", "score": 1, "flaws": []})
        self.edit("a.py", "bad\n")
        run = self.call("grade", path="a.py")["run_id"]
        self.edit("a.py", "good\n")
        self.assertTrue(self.call("iterate", run_id=run, path="a.py")["clears"])
        self.assertIsNone(self.stop())
        self.assertEqual(self.submissions(server), 2)
        # Of another run nobody knows what it was asked.
        self.edit("b.py", "good\n")
        self.call("iterate", run_id="r9", path="b.py")
        self.stop()
        self.assertEqual(self.submissions(server), 4)

    def test_another_question_is_another_verdict(self):
        for asked in ({"policy": "lenient"}, {"vertical": "poetry"}, {"modality": "text"}):
            with self.subTest(asked):
                server = self.serve(verdict("ship"), verdict("block", FLAW))
                self.write("a.py", "bad\n")
                self.call("grade", path="a.py", **asked)
                self.assertEqual(self.edit_and_stop(session_id=str(asked))["decision"], "block")
                self.assertEqual(self.submissions(server), 2)

    def test_what_it_is_for_matters_where_it_may_be_weighed(self):
        here = judged.Judged(settings.Settings("/d", "http://127.0.0.1:1", "k"))
        away = judged.Judged(settings.Settings("/d", "https://a.example", "k"))
        self.assertEqual(here.question(intent="a draft"), here.question())
        self.assertNotEqual(away.question(intent="a draft"), away.question())
        self.assertNotEqual(here.question(), away.question())
        server = self.serve(verdict("ship"))
        self.write("a.py", "good\n")
        self.call("grade", path="a.py", intent="a draft")
        self.assertIsNone(self.edit_and_stop(content="good\n"))
        self.assertEqual(self.submissions(server), 1)

    def test_what_brask_judged_is_not_sent_again(self):
        server = self.serve(verdict("block", FLAW))
        self.write("a.py", "bad\n")
        self.assertEqual(cli.main(["grade", "--quiet", "--output", "said", "a.py"]), 1)
        self.assertEqual(self.edit_and_stop()["decision"], "block")
        self.assertEqual(self.submissions(server), 1)

    def test_who_asks_is_answered_anew(self):
        server = self.serve(verdict("block", FLAW), verdict("ship"))
        self.assertEqual(self.edit_and_stop()["decision"], "block")
        self.assertTrue(self.call("grade", path="a.py")["clears"])
        self.assertEqual(self.submissions(server), 2)
        # Of two verdicts the later one counts.
        self.assertIsNone(self.edit_and_stop(session_id="s2"))
        self.assertEqual(self.submissions(server), 2)

    def test_each_tool_and_session_hears_of_it_and_one_asks(self):
        server = self.serve(verdict("block", FLAW))
        for session in ("s1", "s2"):
            self.assertEqual(self.edit_and_stop(session_id=session)["decision"], "block")
        path = self.write("a.py", "bad\n")
        for payload in ({"hook_event_name": "afterFileEdit", "file_path": path},
                        {"hook_event_name": "stop", "status": "completed", "loop_count": 0}):
            payload.update(conversation_id="c1", workspace_roots=[str(self.work)])
            said = hook.answer(json.dumps(payload).encode(), str(self.data), "cursor")
        self.assertIn("a.py: blocked", json.loads(said)["followup_message"])
        self.assertEqual(self.submissions(server), 1)

    def test_several_files_that_were_judged_together_are_known_together(self):
        server = self.serve(verdict("block", dict(FLAW, place="part 2, line 1")))
        for session in ("s1", "s2"):
            for name in ("a.py", "b.py"):
                self.edit(name, "x\n", session_id=session)
            said = self.stop(session_id=session)
            self.assertIn("code.x b.py:1", said["reason"])
        self.assertEqual(self.submissions(server), 1)
        # One of them alone might clear.
        self.edit_and_stop("a.py", "x\n", session_id="s3")
        self.assertEqual(self.submissions(server), 2)

    def test_files_in_which_nothing_was_found_are_known_apart(self):
        for flaws, more in (((), 0), ((dict(FLAW, severity="low"),), 1)):
            server = self.serve(verdict("ship", *flaws))
            for name in ("a.py", "b.py"):
                self.edit(name, "x\n", session_id="first%d" % more)
            self.stop(session_id="first%d" % more)
            self.edit_and_stop("b.py", "x\n", session_id="second%d" % more)
            self.assertEqual(self.submissions(server), 1 + more)

    def test_known_and_unknown_files_are_told_in_one_answer(self):
        server = self.serve(verdict("block", FLAW), verdict("quarantine", FLAW))
        self.edit("a.py", "bad\n")
        self.edit("b.py", "worse\n")
        self.call("grade", path="a.py")
        said = self.stop()["reason"]
        self.assertIn("a.py: blocked", said)
        self.assertIn("b.py: quarantine", said)
        part, = server.requests[-2].json()["artifact_parts"]
        self.assertEqual(part["logical_name"], "b.py")

    def test_a_dismissal_or_a_word_since_then_counts(self):
        server = self.serve(verdict("block", FLAW), verdict("ship"),
                            verdict("block", FLAW))
        self.write("a.py", "bad\n")
        self.call("grade", path="a.py")
        dismissals.add(dismissals.of(Flaw("HIGH", "c", "Line 1: bad.", "code.x", "line 1", "bad")))
        self.assertIsNone(self.edit_and_stop())
        self.assertEqual(self.submissions(server), 2)
        with open(os.path.join(os.path.dirname(dismissals.path()), "dictionary.txt"), "w",
                  encoding="utf-8") as file:
            file.write("bad\n")
        self.edit_and_stop(session_id="s2")
        self.assertEqual(self.submissions(server), 3)

    def test_a_rule_since_then_counts(self):
        server = self.serve(verdict("ship"))
        path = self.write("a.py", "good\n")
        self.call("grade", path="a.py")
        rules = standing.load()
        with mock.patch.object(standing, "load", lambda: rules), \
                mock.patch.object(standing, "refusal", lambda *_: "kept"):
            self.event("PostToolUse", tool_name="Write", tool_input={"file_path": path})
            self.assertIsNone(self.stop())
        self.assertFalse((self.data / "state" / "turn.json").exists())
        self.assertEqual(self.submissions(server), 1)

    def test_a_secret_holds_what_the_service_let_pass(self):
        server = self.serve(verdict("ship"))
        content = "key = 'AKIA" + "Q7Z3M9X2K5W8R4T6'\n"
        self.write("a.py", content)
        self.call("grade", path="a.py")
        self.assertIn("standing.secret", self.edit_and_stop(content=content)["reason"])
        self.assertEqual(self.submissions(server), 1)
        kept = (self.data / "state" / "judged").read_bytes()
        self.assertNotIn(b"Q7Z3M9X2K5W8R4T6", kept)

    def test_what_nobody_judged_is_asked_again(self):
        for number, no in enumerate((verdict("unknown", not_checked=[{"what": "prose"}]), verdict("re_prompt"))):
            server = self.serve(no)
            self.write("a.py", "x\n")
            mcp_tools.Tools().run("grade", {"path": "a.py"}, lambda text: None, threading.Event())
            before = self.submissions(server)
            self.edit_and_stop(content="x\n", session_id=str(number))
            self.assertEqual(self.submissions(server), before + 1)


class RealService(AcrossTest):
    @classmethod
    def setUpClass(cls):
        cls.service = LocalService()
        cls.addClassCleanup(cls.service.stop)

    def test_one_verdict_for_agent_and_hook(self):
        os.environ.update(self.service.variables())
        self.edit("note.md", NOTE)
        first = self.call("grade", path="note.md", intent="A note to customers.")
        self.assertFalse(first["clears"])
        said = self.stop()
        self.assertEqual(said["decision"], "block")
        self.assertIn(first["run_id"], said["reason"])
        self.assertIn("text.placeholder note.md:3", said["reason"])
        fixed = "# Launch\n\nDear Jordan,\n\nThe launch is on 30 April 2026, at noon.\n"
        self.edit("note.md", fixed)
        self.assertTrue(self.call("iterate", run_id=first["run_id"], path="note.md")["clears"])
        self.assertIn("note.md: clears", self.stop(active=True)["systemMessage"])
        left = json.loads((self.data / "state" / "turn.json").read_text())
        self.assertEqual(left["run_id"], first["run_id"])


class Memory(HookTest):
    """The file itself."""

    def setUp(self):
        super().setUp()
        self.data.mkdir()
        self.settings = settings.Settings(str(self.data), "https://a.example", "k")
        self.file = self.data / "state" / "judged"
        self.time = 1e9

    def memory(self):
        return judged.Judged(self.settings, lambda: self.time)

    @staticmethod
    def text(text):
        return parts.from_text(text, name="a.py")

    def known(self, text):
        memory = self.memory()
        return memory.verdict(self.text(text), memory.question())

    def remember(self, text, said):
        memory = self.memory()
        memory.remember(self.text(text), memory.question(), said)

    def test_a_verdict_comes_back_whole(self):
        said = Verdict("block", 0.25, (Flaw("HIGH", "c", "d", "r", "line 1", "“é”"), Flaw("", "", "")),
                       "r1", checked_by=(CheckedBy("e", "1", "k"),),
                       not_checked=(NotChecked("w", "y", "r"),),
                       dismissed=(DismissedFlaw(Flaw("LOW", "c", "d"), "mine"),))
        self.assertIsNone(self.known("x"))
        self.remember("x", said)
        self.assertEqual(self.known("x"), said)
        self.assertIsNone(self.known("y"))
        self.assertEqual(self.file.stat().st_mode & 0o777, 0o600)
        memory = self.memory()
        self.assertTrue(memory.has_run("r1", memory.question()))
        self.assertFalse(memory.has_run("r1", memory.question(policy="p")))
        self.assertFalse(memory.has_run("r", memory.question()))

    def test_no_verdict_is_kept_of_a_failure(self):
        for said in (failure("grade timed out after 1s"), Verdict("unknown")):
            self.remember("x", said)
        self.assertFalse(self.file.exists())

    def test_names_and_contents_cannot_be_taken_for_one_another(self):
        memory, question = self.memory(), self.memory().question()
        two = parts.together([self.text("a"), self.text("b")])
        memory.remember(two, question, Verdict("ship"))
        for other in (parts.together([self.text("ab"), self.text("")]), self.text("ab"),
                      parts.together([self.text("b"), self.text("a")]),
                      parts.from_text("a", name="b.py"), parts.from_text("a", "text", "a.py")):
            self.assertIsNone(self.memory().verdict(other, question))
        self.assertIsNotNone(self.memory().verdict(two, question))

    def test_a_day_later_it_is_asked_again_and_gone(self):
        self.remember("x", Verdict("ship"))
        self.time += judged.FRESH_SECONDS
        self.assertIsNotNone(self.known("x"))
        self.time += 1
        self.assertIsNone(self.known("x"))
        self.remember("y", Verdict("ship"))
        self.assertEqual(self.file.read_bytes().count(b"\n"), 1)
        self.time -= 2 * judged.FRESH_SECONDS   # a clock that was set back
        self.assertIsNone(self.known("y"))

    def test_a_file_that_nobody_adds_to_goes(self):
        self.remember("x", Verdict("ship"))
        later = self.file.stat().st_mtime + CLEAN_SECONDS + 1
        State(str(self.data), "s", lambda: later - 2).clean()
        self.assertTrue(self.file.exists())
        State(str(self.data), "s", lambda: later + CLEAN_SECONDS).clean()
        self.assertFalse(self.file.exists())

    def test_it_stays_bounded_and_the_newest_stay(self):
        big = Verdict("block", flaws=(Flaw("HIGH", "c", "x" * 50000),))
        for number in range(100):
            self.remember(str(number), big)
            self.assertLessEqual(self.file.stat().st_size, judged.LARGEST)
        self.assertIsNone(self.known("0"))
        for number in (90, 99):
            self.assertIsNotNone(self.known(str(number)))
        self.remember("too big", Verdict("block", flaws=(Flaw("HIGH", "c", "x" * judged.LONGEST),)))
        self.assertIsNone(self.known("too big"))

    def test_damage_is_nothing_known(self):
        self.remember("x", Verdict("ship"))
        whole = self.file.read_bytes()
        mark = whole.split(b" ")[0]
        for damaged in (b"", b"\0" * 100, b"x", whole[:-4], b"\xff\xfe " + whole, mark + b" 1000000000 []\n",
                        mark + b" 1000000000 {\"band\": 3}\n", mark + b" x {}\n", mark + b"\n",
                        mark + b" 1000000000 " + b"[" * 100000 + b"\n",
                        mark + b" 1000000000 {\"band\": \"ship\", \"run_id\": []" + b"\n"):
            self.file.write_bytes(damaged)
            self.assertIsNone(self.known("x"), damaged[:60])
            self.remember("y", Verdict("ship"))
            self.assertEqual(self.known("y"), Verdict("ship"), damaged[:60])

    def test_where_nothing_can_be_written_nothing_is_known(self):
        (self.data / "state").write_bytes(b"")
        self.remember("x", Verdict("ship"))
        self.assertIsNone(self.known("x"))

    def test_many_at_once_lose_nothing(self):
        threads = [threading.Thread(target=self.remember, args=(str(number), Verdict("ship")))
                   for number in range(8)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        for number in range(8):
            self.assertIsNotNone(self.known(str(number)))


if __name__ == "__main__":
    unittest.main()
