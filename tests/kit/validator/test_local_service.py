"""The whole way, against the real local service: files in, verdicts out."""

import contextlib
import io
import json
import os
import sys
import unittest
import urllib.error
import urllib.request
from unittest import mock

import office_files as office
import surroundings
from engine import cli, client, standing

CLEAN = "# A note\n\nThe office is closed on Tuesday, 15 September 2026, for the move.\n"
BAD = "# A note\n\nThe office is closed on Tuesday, 14 September 2026, for the the move.\n"
CLOUD = "AKIA" + "Q7Z3M9X2K5W8R4T6"


def setUpModule():
    global SERVICE
    SERVICE = surroundings.LocalService()


def tearDownModule():
    SERVICE.stop()


class ServiceTest(surroundings.HomeTest):
    """Runs commands in this process, so that the time between two polls need not pass; the hook,
    once, as the program that it is."""

    def setUp(self):
        super().setUp()
        self.environment.update(SERVICE.variables())
        before = os.getcwd()
        self.addCleanup(os.chdir, before)
        os.chdir(str(self.work))

    def run_kit(self, *arguments, data=b"", **more):
        streams = [io.TextIOWrapper(io.BytesIO(content)) for content in (data, b"", b"")]
        with contextlib.ExitStack() as stack:
            for name, value in zip(("_FIRST_INTERVAL", "_LAST_GROWING", "_GROWTH"),
                                   (0.002, 0.02, 0)):
                stack.enter_context(mock.patch.object(client, name, value))
            for name, stream in zip(("stdin", "stdout", "stderr"), streams):
                stack.enter_context(mock.patch.object(sys, name, stream))
            stack.enter_context(mock.patch.dict(os.environ, dict(self.environment, **more),
                                                clear=True))
            code = cli.main(list(arguments))
            for stream in streams[1:]:
                stream.flush()
        return (code,) + tuple(stream.buffer.getvalue() for stream in streams[1:])

    def grade(self, *arguments, data=b""):
        """The exit code and the JSON that was printed."""
        code, said, errors = self.run_kit("grade", "--json", *arguments, data=data)
        self.assertEqual(errors, b"")
        return code, json.loads(said.decode("utf-8"))

    def rules_broken(self, *arguments, **more):
        code, found = self.grade(*arguments, **more)
        return code, sorted({flaw["rule"] for file in found["files"] for flaw in file["flaws"]})

    def test_work_that_clears_is_zero_and_work_that_does_not_is_one(self):
        self.write("good.md", CLEAN)
        self.write("bad.md", BAD)
        self.assertEqual(self.rules_broken("good.md"), (0, []))
        self.assertEqual(self.rules_broken("bad.md"), (1, ["text.doubled_word", "text.weekday"]))
        code, found = self.grade("good.md", "bad.md")
        self.assertEqual((code, [f["state"] for f in found["files"]]), (1, ["clears", "held"]))
        code, found = self.grade("good.md", "none.md")
        self.assertEqual((code, [f["state"] for f in found["files"]]),
                         (3, ["clears", "not_graded"]))

    def test_the_table_is_for_people(self):
        self.write("bad.md", BAD)
        code, said, errors = self.run_kit("grade", "bad.md", NO_COLOR="1")
        text = said.decode()
        self.assertEqual((code, errors), (1, b""))
        self.assertIn("bad.md", text.splitlines()[0])
        self.assertIn("names the wrong day", " ".join(text.split()))
        self.assertIn(SERVICE.base + "/console?run=", text)

    def test_sarif_points_at_the_line(self):
        self.write("src/a.py", "def f(x):\n    return eval(x)\n")
        code, said, _ = self.run_kit("grade", "src/a.py", "--sarif")
        result, = json.loads(said.decode())["runs"][0]["results"]
        self.assertEqual((code, result["ruleId"]), (1, "code.runs_text"))
        self.assertEqual(result["locations"][0]["physicalLocation"], {
            "artifactLocation": {"uri": "src/a.py"}, "region": {"startLine": 2, "startColumn": 12}})

    def test_the_outcome_may_go_into_a_file(self):
        self.write("a.md", CLEAN)
        code, said, _ = self.run_kit("grade", "a.md", "--sarif", "--output", "out.sarif")
        self.assertEqual((code, said), (0, b""))
        self.assertEqual(json.loads((self.work / "out.sarif").read_text())["version"], "2.1.0")
        self.assertEqual(self.run_kit("grade", "a.md", "--output", "no/such/x")[0], 3)

    def test_of_a_folder_everything_below_it_is_graded(self):
        self.write("w/good.md", CLEAN)
        self.write("w/sub/bad.md", BAD)
        self.write("w/made/bad.md", BAD)
        self.write("w/.gitignore", "made/\n")
        code, said, errors = self.run_kit("grade", "--json", "w")
        files = json.loads(said.decode("utf-8"))["files"]
        self.assertEqual((code, [file["name"] for file in files]),
                         (1, ["w/good.md", "w/sub/bad.md"]))
        self.assertIn(b"1 of 2, w/good.md", errors)
        self.assertEqual(self.run_kit("grade", "--quiet", "w")[2], b"")
        self.assertEqual(self.run_kit("grade", "--sarif", "w")[0], 1)

    def test_a_folder_with_nothing_to_grade_is_three(self):
        self.write("w/a.o", "x")
        code, said, _ = self.run_kit("grade", "w")
        self.assertEqual(code, 3)
        self.assertIn(b"nothing below it", said)

    def test_standard_input_is_graded_by_the_name_it_is_given(self):
        self.assertEqual(self.rules_broken("-", data=BAD.encode()),
                         (1, ["text.doubled_word", "text.weekday"]))
        self.assertEqual(self.rules_broken("-", "--name", "x.py", data=b"x = input()\neval(x)\n"),
                         (1, ["code.runs_text"]))
        self.assertIn("sheet.formula_error", self.rules_broken(
            "-", "--modality", "spreadsheet", data=b"a\tb\nx\t1\ny\t#REF!\n")[1])

    def test_fixing_the_work_and_iterating_clears_it(self):
        self.write("a.md", BAD)
        _, found = self.grade("a.md")
        run = found["files"][0]["run_id"]
        self.write("a.md", CLEAN)
        code, found = self.grade("a.md", "--iterate", run)
        self.assertEqual((code, found["files"][0]["run_id"], found["files"][0]["flaws"]),
                         (0, run, []))

    def test_a_report_opens_by_its_command_and_not_by_its_address(self):
        self.write("note.md", BAD)
        run = self.grade("note.md")[1]["files"][0]["run_id"]
        stated = "{}/console?run={}".format(self.environment["BRASK_API_BASE"], run)
        with self.assertRaises(urllib.error.HTTPError) as refused:
            urllib.request.urlopen(stated)
        self.assertEqual(refused.exception.code, 403)
        self.assertIn(b"brask report", refused.exception.read())
        opened = []
        with mock.patch.object(cli.webbrowser, "open", lambda url: opened.append(url) or True):
            self.assertEqual(self.run_kit("report", run), (0, b"", b""))
        self.assertTrue(opened[0].startswith(stated + "&ticket="), opened)
        browser = urllib.request.build_opener(urllib.request.HTTPCookieProcessor())
        with browser.open(opened[0]) as page:
            self.assertEqual(page.geturl(), stated)
            self.assertIn(b"the the", page.read())
        with browser.open(stated) as page:
            self.assertEqual(page.status, 200)
        with self.assertRaises(urllib.error.HTTPError):
            urllib.request.urlopen(opened[0])

    def test_a_report_is_printed_where_there_is_no_browser(self):
        with mock.patch.object(cli.webbrowser, "open", lambda url: False):
            code, said, errors = self.run_kit("report", "run_none")
        self.assertEqual((code, errors), (0, b""))
        self.assertIn(b"/console?run=run_none\n", said)
        self.assertEqual(self.run_kit("report", "a/b")[0], 3)

    def test_iterating_on_a_run_that_is_none_is_three_with_the_reason(self):
        self.write("a.md", CLEAN)
        code, found = self.grade("a.md", "--iterate", "run_none")
        self.assertEqual((code, found["files"][0]["reason"]), (3, "there is no such run"))

    def test_a_wrong_key_is_three_with_the_reason(self):
        self.environment["BRASK_API_KEY"] = "wrong"
        self.write("a.md", CLEAN)
        code, found = self.grade("a.md")
        self.assertEqual((code, found["files"][0]["reason"]),
                         (3, "not authorized — check your Trevix key (HTTP 401)"))

    def test_a_key_file_and_settings_do_for_a_stripped_environment(self):
        for name in list(SERVICE.variables()):
            del self.environment[name]
        self.data.mkdir()
        (self.data / "key").write_text(SERVICE.key + "\n")
        (self.data / "settings").write_text("base: " + SERVICE.base + "/\n")
        self.write("a.md", CLEAN)
        self.assertEqual(self.grade("a.md")[0], 0)

    def test_the_choice_of_a_person_does_for_a_stripped_environment(self):
        for name in list(SERVICE.variables()):
            del self.environment[name]
        self.data.mkdir()
        key = self.data / "its-key"
        key.write_text(SERVICE.key + "\n")
        key.chmod(0o600)
        choice = self.data / "service"
        choice.write_text("service: this machine\nbase: {}\nkey_file: {}\n".format(
            SERVICE.base, key))
        choice.chmod(0o600)
        self.write("a.md", CLEAN)
        self.assertEqual(self.grade("a.md")[0], 0)

    def test_a_deadline_of_nothing_is_three(self):
        self.write("a.md", CLEAN)
        code, found = self.grade("a.md", "--timeout", "0")
        self.assertEqual((code, found["files"][0]["reason"]), (3, "grade timed out after 0s"))

    def test_office_files_are_judged_by_their_text(self):
        self.write("a.docx", office.docx(office.paragraph("Plan", "T") + office.paragraph(
            "We meet on Tuesday, 14 September 2026, in the the hall.")))
        self.assertEqual(self.rules_broken("a.docx"), (1, ["text.doubled_word", "text.weekday"]))
        cells = "".join("<row>" + "".join('<c{}><v>{}</v></c>'.format(
            "" if value.isdigit() else ' t="str"', value) for value in row) + "</row>" for row in (
                ("Item", "Cost"), ("a", "10"), ("b", "20"), ("c", "30"), ("Total", "70")))
        self.write("b.xlsx", office.xlsx(cells))
        self.assertIn("sheet.wrong_total", self.rules_broken("b.xlsx")[1])
        self.write("c.pptx", office.pptx(["Launch"], ["We start on 31 April 2026 with all of it."]))
        self.assertEqual(self.rules_broken("c.pptx"), (1, ["text.impossible_date"]))

    def test_pages_of_a_deck_go_together(self):
        for number in (1, 2):
            self.write("p%d.png" % number, office.png())
        code, found = self.grade("p1.png", "p2.png", "--together", "--modality", "deck")
        self.assertEqual((code, len(found["files"]), found["files"][0]["modality"]), (1, 1, "deck"))
        self.assertTrue(any(f["place"].startswith("part 2") for f in found["files"][0]["flaws"]))

    def test_what_the_service_cannot_read_is_not_graded_rather_than_held(self):
        self.write("a.pdf", b"%PDF-1.7\n\0")
        code, found = self.grade("a.pdf")
        self.assertEqual((code, found["files"][0]["state"]), (3, "not_graded"))
        self.assertIn("cannot read this kind of work", found["files"][0]["reason"])

    def test_work_in_a_language_that_nobody_here_knows_is_not_judged(self):
        self.write("a.md", "# ᎧᏃᎮᏓ\n\nᎣᏏᏲ ᏙᎯᏧ ᎠᏂᏴᏫᏯ ᎤᏂᏬᏂᏍᏗ ᏣᎳᎩ ᎦᏬᏂᎯᏍᏗ ᎠᏎᏊ ᎢᎦ ᏂᎦᏓ.\n")
        code, found = self.grade("a.md")
        file, = found["files"]
        self.assertEqual((code, file["state"], file["band"]), (3, "not_judged", "unknown"))
        self.assertTrue(file["not_checked"] and file["checked_by"], file)
        self.assertTrue(file["reason"].startswith(
            "nobody here can judge this: " + file["not_checked"][0]["what"]), file)

    def test_work_that_clears_names_who_judged(self):
        self.write("a.md", CLEAN)
        engines = [by["engine"] for by in self.grade("a.md")[1]["files"][0]["checked_by"]]
        self.assertIn("trevix", engines)

    def test_a_secret_never_arrives_and_holds_the_work_all_the_same(self):
        self.write("a.py", "KEY = '" + CLOUD + "'\nPASSWORD = \"hunter2xyz9\"\n")
        code, found = self.grade("a.py")
        file = found["files"][0]
        self.assertEqual((code, file["state"], file["band"]), (1, "held", "ship"))
        # What stands in its place is no flaw of its own to the service.
        self.assertEqual({flaw["rule"] for flaw in file["flaws"]}, {"standing.secret"})

    def test_what_is_redacted_in_a_text_is_no_placeholder_to_the_service(self):
        self.write("a.md", "# Access\n\nThe key of the build is " + CLOUD + " and it works.\n")
        self.assertEqual(self.rules_broken("a.md"), (1, ["standing.secret"]))

    def test_the_users_own_rules_are_applied(self):
        self.install_kit()
        folder = self.data / "standing"
        (folder / "client.local.md").write_text(
            "---\nnever_send_text: Bluebird\nnever_send: drafts/\n---\n")
        self.write("drafts/a.md", CLEAN)
        self.write("b.md", CLEAN + "\nThis is about bluebird.\n")
        for name in ("drafts/a.md", "b.md"):
            with mock.patch.object(standing, "default_folder", lambda: str(folder)):
                code, found = self.grade(name)
            self.assertEqual(code, 3)
            self.assertIn("never send", found["files"][0]["reason"])

    def hook(self, **payload):
        payload = dict({"session_id": "s1", "cwd": str(self.work)}, **payload)
        code, said, errors = super().run_kit("--harness", "claude",
                                             data=json.dumps(payload).encode())
        self.assertEqual((code, errors), (0, b""))
        return json.loads(said.decode("ascii")) if said else None

    def test_a_turn_of_a_coding_tool_from_edit_to_verdict(self):
        def edit(content):
            return self.hook(hook_event_name="PostToolUse", tool_name="Write", tool_response={},
                             tool_input={"file_path": self.write("a.py", content)})
        self.assertIsNone(edit("def f(x):\n    return eval(x)\n"))
        said = self.hook(hook_event_name="Stop", stop_hook_active=False)
        self.assertEqual(said["decision"], "block")
        self.assertIn("- HIGH code.runs_text ", said["reason"])
        self.assertIn(":2:12: Line 2, column 12", said["reason"])
        self.assertIsNone(edit("def f(x):\n    return x\n"))
        said = self.hook(hook_event_name="Stop", stop_hook_active=True)
        self.assertEqual(list(said), ["systemMessage"])
        self.assertIn("a.py: clears", said["systemMessage"])
        self.assertIsNone(self.hook(hook_event_name="Stop", stop_hook_active=False))


if __name__ == "__main__":
    unittest.main()
