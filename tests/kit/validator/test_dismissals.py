"""What is no flaw, and what is known: the files, the commands, and what they do to verdicts."""

import contextlib
import io
import json
import os
import subprocess
import sys
import unittest
from unittest import mock

import surroundings
from engine import baseline, cli, client, dismissals, report, sarif
from engine.dismissals import Dismissal
from engine.grading import CLEARS, HELD, NOT_GRADED, Outcome
from engine.verdict import DismissedFlaw, Flaw, Verdict, failure, verdict_from

SLIP = Flaw("MEDIUM", "spelling", "Line 3, column 1: “teh” is misspelt.", "text.spelling",
            "line 3, column 1", "teh")
KEY = Flaw("CRITICAL", "kept secrets", "A key.", "code.secret", "line 4", "AKIA…")
SMALL = Flaw("LOW", "readable", "Long.", "text.long_sentence", "line 9", "It was")
BAD = "# A note\n\nThe office is closed for the the move.\n\nTODO: say when it opens.\n"


def outcome(flaws=(SLIP,), state=HELD, band="route_to_fix", path="a.md", **more):
    made = Outcome(path, path, "document", state, Verdict(band, 0.9, tuple(flaws), "r1"))
    return made._replace(**more)


class Files(surroundings.HomeTest):
    def setUp(self):
        super().setUp()
        self.file = str(self.home / ".config" / "kelvane" / "dismissed.tsv")

    def content(self):
        with open(self.file, "rb") as file:
            return file.read().decode("utf-8")

    def test_nobody_has_said_anything_yet(self):
        self.assertEqual(dismissals.load(self.file), [])
        self.assertFalse(dismissals.remove(Dismissal("r"), self.file))
        self.assertFalse(os.path.exists(self.file))

    def test_one_is_remembered_once_and_forgotten(self):
        one = dismissals.of(SLIP)._replace(reason="a\tname\nof mine")
        self.assertTrue(dismissals.add(one, self.file, now=lambda: 0))
        self.assertFalse(dismissals.add(one._replace(reason="other"), self.file))
        self.assertEqual(self.content().splitlines()[1:],
                         ["1970-01-01T00:00:00Z\ttext.spelling\tteh\t\ta name of mine"])
        self.assertEqual(os.stat(self.file).st_mode & 0o777, 0o600)
        self.assertFalse(dismissals.remove(one._replace(place="line 1"), self.file))
        self.assertTrue(dismissals.remove(one, self.file))
        self.assertEqual(dismissals.load(self.file), [])
        self.assertEqual(os.listdir(os.path.dirname(self.file)), ["dismissed.tsv"])

    def test_the_rest_of_the_file_stays_byte_for_byte(self):
        os.makedirs(os.path.dirname(self.file))
        before = b"# mine \xff\r\nnonsense\r\n\tr\tev\r\n"
        with open(self.file, "wb") as file:
            file.write(before)
        dismissals.add(Dismissal("r2", "x"), self.file, now=lambda: 0)
        dismissals.remove(Dismissal("r2", "x"), self.file)
        with open(self.file, "rb") as file:
            self.assertEqual(file.read(), before)
        self.assertTrue(dismissals.remove(Dismissal("r", "ev"), self.file))

    def test_a_link_stays_a_link(self):
        real = self.write("dotfiles.tsv", "")
        os.makedirs(os.path.dirname(self.file))
        os.symlink(real, self.file)
        dismissals.add(Dismissal("r", "x"), self.file)
        self.assertTrue(os.path.islink(self.file))
        self.assertEqual(len(dismissals.load(real)), 1)

    def test_what_cannot_be_edited_is_told(self):
        os.makedirs(self.file)
        with self.assertRaises(dismissals.NotChanged):
            dismissals.add(Dismissal("r"), self.file)
        self.assertEqual(dismissals.load(self.file), [])

    def test_many_writers_lose_nothing(self):
        program = ("import sys; sys.path.insert(0, sys.argv[1])\n"
                   "from engine import dismissals\n"
                   "for i in range(10):\n"
                   "    dismissals.add(dismissals.Dismissal(sys.argv[2] + str(i), 'x'), sys.argv[3])\n")
        writers = [subprocess.Popen([sys.executable, "-c", program,
                                     str(surroundings.KIT / "standing"), name, self.file])
                   for name in "abcd"]
        self.assertEqual([writer.wait() for writer in writers], [0] * 4)
        self.assertEqual(len(dismissals.load(self.file)), 40)


class Meaning(unittest.TestCase):
    def test_places_do_not_count(self):
        for text, without in (("see line 12", "see line #"), ("cell AB17 of Row 3", "cell # of Row #"),
                              ("line 12b", "line 12b"), ("baseline 4", "baseline 4"),
                              ("cell ABCD1", "cell ABCD1"), ("Cells c4", "Cells c4"),
                              ("total 12", "total 12")):
            self.assertEqual(dismissals.without_places(text), without)

    def test_it_holds_by_rule_and_evidence(self):
        said = [dismissals.of(SLIP)._replace(reason="why")]
        moved = SLIP._replace(place="line 90")
        other = SLIP._replace(evidence="hte")
        self.assertEqual(dismissals.applied([other, moved], said),
                         ((other,), (DismissedFlaw(moved, "why"),)))

    def test_what_hides_its_evidence_holds_at_its_place_alone(self):
        for evidence in ("", "AKIA…", "key = \"hunt…\"", "12 more"):
            flaw = KEY._replace(evidence=evidence)
            left, gone = dismissals.applied([flaw._replace(place="line 5"), flaw],
                                            [dismissals.of(flaw)])
            self.assertEqual([f.place for f in left], ["line 5"], evidence)
            self.assertEqual(len(gone), 1)
        self.assertEqual(dismissals.of(KEY._replace(evidence="x" * 119 + "…")).place, "")

    def test_one_with_a_place_holds_there_alone(self):
        said = [Dismissal("text.spelling", "teh", "line 3, column 1")]
        elsewhere = SLIP._replace(place="line 4")
        self.assertEqual(dismissals.applied([SLIP, elsewhere], said),
                         ((elsewhere,), (DismissedFlaw(SLIP, ""),)))

    def test_what_the_standing_rules_find_is_no_opinion(self):
        flaw = KEY._replace(rule="standing.secret")
        self.assertEqual(dismissals.applied([flaw], [dismissals.of(flaw)]), ((flaw,), ()))

    def test_the_service_tells_what_it_has_put_aside(self):
        found = verdict_from({"band": "ship", "flaws": [], "dismissed": [
            dict(SLIP.to_json(), reason="why")]}, "r")
        self.assertEqual(found.dismissed, (DismissedFlaw(SLIP, "why"),))
        for broken in (None, {}, "x", [1], [{"severity": 3}]):
            verdict_from({"dismissed": broken}, "r")

    def test_reports_show_it_as_that(self):
        made = outcome((), CLEARS, "route_to_fix")
        made = made._replace(verdict=made.verdict._replace(
            dismissed=(DismissedFlaw(SLIP, "a name"), DismissedFlaw(SMALL, "", True))))
        table = report.table([made])
        self.assertIn("clears without what does not count (route_to_fix", table)
        self.assertIn("dismissed: MEDIUM text.spelling: Line 3, column 1: “teh” is misspelt.", table)
        self.assertIn("known: LOW text.long_sentence", table)
        self.assertEqual(made.to_json()["dismissed"][0]["reason"], "a name")
        results = json.loads(sarif.document([made]))["runs"][0]["results"]
        self.assertEqual([r["suppressions"][0]["kind"] for r in results], ["external"] * 2)
        self.assertEqual(results[0]["suppressions"][0]["justification"], "a name")
        self.assertEqual(results[1]["baselineState"], "unchanged")
        self.assertNotIn("baselineState", results[0])


class Known(surroundings.HomeTest):
    def known(self, *flaws, path="a.md"):
        return baseline.updated(baseline.Baseline("b.json", {}), [outcome(flaws, path=path)])

    def test_only_what_is_new_counts(self):
        known = self.known(SLIP, SMALL)
        same = baseline.applied(outcome((SMALL, SLIP._replace(place="line 70"))), known)
        self.assertEqual((same.state, same.flaws), (CLEARS, ()))
        self.assertEqual([gone.known for gone in same.verdict.dismissed], [True, True])
        twice = baseline.applied(outcome((SLIP, SLIP)), known)
        self.assertEqual((twice.state, len(twice.flaws)), (HELD, 1), "as many as there were")
        small = baseline.applied(outcome((SLIP, SMALL, SMALL)), known)
        self.assertEqual(small.state, CLEARS, "a low one holds nothing")
        elsewhere = baseline.applied(outcome((SLIP,), path="b.md"), known)
        self.assertEqual(elsewhere.state, HELD)

    def test_what_was_not_graded_or_found_here_is_no_matter_of_it(self):
        known = self.known(SLIP)
        dark = Outcome("a.md", "a.md", "document", NOT_GRADED, failure("no"), reason="no")
        self.assertIs(baseline.applied(dark, known), dark)
        secret = outcome((SLIP,), findings=(KEY._replace(rule="standing.secret"),))
        self.assertEqual(baseline.applied(secret, known).state, HELD)
        self.assertEqual(baseline.updated(known, [secret, dark]).files, known.files)

    def test_it_is_written_and_read_again(self):
        path = str(self.work / "b.json")
        known = baseline.Baseline(path, {})
        known = baseline.updated(known, [outcome((SLIP, SLIP, KEY),
                                                 path=str(self.work / "src" / "é.md"))])
        baseline.save(known)
        again = baseline.load(path)
        self.assertEqual(again.files, known.files)
        self.assertEqual(list(again.files), ["src/é.md"])
        with open(path, encoding="utf-8") as file:
            lines = file.read().splitlines()
        self.assertEqual(sum("rule" in line for line in lines), 2, "a line for each flaw")
        emptied = baseline.updated(again, [outcome((), CLEARS, "ship",
                                                   path=str(self.work / "src" / "é.md"))])
        baseline.save(emptied)
        self.assertEqual(baseline.load(path).files, {})

    def test_what_is_no_baseline_is_told(self):
        for content in ("", "[]", "{}", '{"kelvane_baseline": 2, "files": {}}',
                        '{"kelvane_baseline": 1, "files": []}',
                        '{"kelvane_baseline": 1, "files": {"a": [{"rule": "r"}]}}',
                        '{"kelvane_baseline": 1, "files": {"a": [{"rule": "r", "evidence": "", '
                        '"count": 0}]}}', "[" * 100000):
            path = self.write("b.json", content)
            with self.assertRaises(baseline.NotUsable, msg=content[:60]):
                baseline.load(path)
        with self.assertRaises(baseline.NotUsable):
            baseline.load(str(self.work / "none.json"))


class Commands(surroundings.HomeTest):
    """Through the program, with the real service; its own home is another one."""

    @classmethod
    def setUpClass(cls):
        cls.service = surroundings.LocalService()

    @classmethod
    def tearDownClass(cls):
        cls.service.stop()

    def setUp(self):
        super().setUp()
        self.environment.update(self.service.variables())
        before = os.getcwd()
        self.addCleanup(os.chdir, before)
        os.chdir(str(self.work))

    def brask(self, *arguments):
        streams = [io.TextIOWrapper(io.BytesIO()) for _ in range(2)]
        with contextlib.ExitStack() as stack:
            for name, value in zip(("_FIRST_INTERVAL", "_LAST_GROWING", "_GROWTH"),
                                   (0.002, 0.02, 0)):
                stack.enter_context(mock.patch.object(client, name, value))
            for name, stream in zip(("stdout", "stderr"), streams):
                stack.enter_context(mock.patch.object(sys, name, stream))
            stack.enter_context(mock.patch.dict(os.environ, self.environment, clear=True))
            code = cli.main(list(arguments))
            for stream in streams:
                stream.flush()
        return (code,) + tuple(stream.buffer.getvalue().decode("utf-8") for stream in streams)

    def graded(self, *arguments):
        code, said, errors = self.brask("grade", "--json", *arguments)
        self.assertEqual(errors, "")
        return code, json.loads(said)["files"][0]

    def test_flaws_are_dismissed_one_by_one_until_the_work_clears(self):
        self.write("bad.md", BAD)
        code, found = self.graded("bad.md")
        self.assertEqual(code, 1)
        code, listed, _ = self.brask("dismiss", "--run", found["run_id"])
        self.assertEqual((code, len(listed.splitlines())), (0, len(found["flaws"])))
        first = found["flaws"][0]
        code, said, _ = self.brask("dismiss", first["rule"], first["evidence"], "--reason", "mine")
        self.assertEqual(code, 0)
        self.assertIn(first["rule"], said)
        code, less = self.graded("bad.md")
        self.assertEqual(code, 1)
        self.assertEqual(len(less["flaws"]), len(found["flaws"]) - 1)
        self.assertEqual(less["dismissed"][0]["reason"], "mine")
        rest = [word for n in range(1, len(less["flaws"]) + 1) for word in ("--flaw", str(n))]
        self.assertEqual(self.brask("dismiss", "--run", less["run_id"], *rest)[0], 0)
        self.assertEqual(self.graded("bad.md")[0], 0, "nothing is left that anybody holds against it")
        code, said, _ = self.brask("dismiss", "--list")
        self.assertIn("mine", said)
        self.assertEqual(
            self.brask("dismiss", "--undo", first["rule"], first["evidence"])[0], 0)
        self.assertEqual(self.graded("bad.md")[0], 1)
        self.assertEqual(
            self.brask("dismiss", "--undo", first["rule"], first["evidence"])[0], 3)

    def test_wrong_usage_is_told(self):
        for arguments in ((), ("--list", "rule"), ("--run", "a/b"), ("--run", "r", "rule"),
                          ("--flaw", "1"), ("standing.secret", "x"), ("code.secret", "AKIA…"),
                          ("rule",), ("--undo", "--list"),
                          ("--run", "run_none")):
            code, said, errors = self.brask("dismiss", *arguments)
            self.assertEqual((code, said), (3, ""), arguments)
            self.assertTrue(errors.startswith("brask: "), arguments)

    def test_a_baseline_lets_only_what_is_new_count(self):
        self.write("bad.md", BAD)
        code, _, _ = self.brask("grade", "--write-baseline", "known.json", "bad.md")
        self.assertEqual(code, 0, "all of it is known from now on")
        self.assertEqual(self.graded("--baseline", "known.json", "bad.md")[0], 0)
        self.write("bad.md", "A first line.\n\n" + BAD)
        self.assertEqual(self.graded("--baseline", "known.json", "bad.md")[0], 0, "it only moved")
        self.write("bad.md", BAD + "\nLorem ipsum dolor sit amet.\n")
        code, found = self.graded("--baseline", "known.json", "bad.md")
        self.assertEqual(code, 1)
        self.assertIn("text.placeholder", [flaw["rule"] for flaw in found["flaws"]])
        self.assertNotIn("text.doubled_word", [flaw["rule"] for flaw in found["flaws"]])
        self.assertEqual(self.graded("bad.md")[0], 1, "without it everything counts")
        self.assertEqual(self.brask("grade", "--baseline", "none.json", "bad.md")[0], 3)


if __name__ == "__main__":
    unittest.main()
