"""What the tools take and give, with a service of a few lines in place of the network."""

import json
import os
import sys
import tempfile
import threading
import unittest

from mcp_client import STANDING

sys.path.insert(0, STANDING)

from engine import grading, mcp_tools, settings, standing, transport  # noqa: E402

KEY = "key-that-nobody-may-see-0123456789"
SECRET = "AKIA" + "QX7RT2M4LK9PZW3N"
SHIP = {"band": "ship", "score": 0.98, "flaws": []}
FIX = {"band": "route_to_fix", "score": 0.62, "flaws": [
    {"severity": "high", "criterion": "Placeholder", "detail": "Line 1 holds [Name].",
     "rule": "text.placeholder", "place": "line 1, column 6", "evidence": "[Name]"},
    {"severity": "low", "name": "Spacing", "evidence": "a ,b"}]}


class Service:
    """Answers as the evaluation service does, and keeps what it was sent."""

    def __init__(self, summary=None, status=200, error=None, down=False):
        self.summary = summary
        self.status = status
        self.error = error
        self.down = down
        self.requests = []

    def send(self, request, _settings, _until):
        self.requests.append(request)
        if self.down:
            return None
        if self.status >= 400:
            return self.answer({"error": self.error} if self.error else {})
        if request.url.endswith("/iterate"):
            return self.answer({"iteration": {"critic_verdict": self.summary}})
        if request.method == "POST":
            return self.answer({"job_id": "j1"})
        if self.summary is None:
            return self.answer({"status": "running", "progress": {"warming": True}})
        if "/runs/" in request.url:
            return self.answer({"run": {"flaws": []}})
        return self.answer({"status": "completed", "run_id": "r1",
                            "result_summary": self.summary})

    def answer(self, value):
        return transport.Response(self.status, json.dumps(value).encode())

    @property
    def body(self):
        """What was submitted."""
        return json.loads(self.requests[0].body.decode())


class Impatient(threading.Event):
    """Says that time has passed, without any passing."""

    def wait(self, timeout=None):
        return self.is_set()


class ToolsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = os.path.realpath(folder.name)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)
        self.settings = settings.Settings(os.path.join(self.folder, ".brask"),
                                          "http://127.0.0.1:1", KEY)
        self.service = Service(SHIP)
        self.progress = []
        self.time = 0.0

    def tools(self, **more):
        def clock():
            self.time += 1.0
            return self.time

        return mcp_tools.Tools(load_settings=lambda: self.settings, send=self.service.send,
                               clock=clock, **more)

    def run_tool(self, tool, tools=None, **arguments):
        """The result, which must be one that the definition announces."""
        tools = tools or self.tools()
        result = tools.run(tool, arguments, self.progress.append, Impatient())
        self.assertNotIn(KEY, json.dumps(result))
        self.assertEqual([item["type"] for item in result["content"]], ["text"])
        definition, = [d for d in tools.definitions if d["name"] == tool]
        if not result["isError"] and "outputSchema" in definition:
            conform(result["structuredContent"], definition["outputSchema"])
        else:
            self.assertNotIn("structuredContent", result)
        return result

    def refused(self, tool, *words, sent=0, **arguments):
        """The text of a result that is an error and holds these words."""
        result = self.run_tool(tool, **arguments)
        text = result["content"][0]["text"]
        self.assertTrue(result["isError"], text)
        for word in words:
            self.assertIn(word, text)
        self.assertEqual(len(self.service.requests), sent)
        return text

    def write(self, name, content="Fine work, all of it.\n"):
        path = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(content)
        return path


def conform(value, schema, where="$"):
    """Raises AssertionError unless the value is as the schema says (of what is used of it)."""
    kinds = {"object": dict, "array": list, "string": str, "boolean": bool, "integer": int,
             "number": (int, float)}
    unknown = set(schema) - {"type", "properties", "required", "additionalProperties", "items",
                             "enum", "minimum", "description"}
    assert not unknown, unknown
    assert isinstance(value, kinds[schema["type"]]), (where, value)
    assert schema["type"] == "boolean" or not isinstance(value, bool), where
    assert value in schema.get("enum", [value]), (where, value)
    if schema["type"] == "object":
        assert set(schema.get("required", [])) <= set(value), (where, value)
        assert schema["additionalProperties"] is False
        for name, inner in value.items():
            conform(inner, schema["properties"][name], where + "." + name)
    for inner in value if schema["type"] == "array" else []:
        conform(inner, schema["items"], where + "[]")


class DefinitionTest(unittest.TestCase):
    def test_names_and_order(self):
        self.assertEqual([d["name"] for d in mcp_tools.DEFINITIONS],
                         ["grade", "iterate", "rules", "status"])

    def test_definitions_are_complete_and_strict(self):
        for tool in mcp_tools.DEFINITIONS:
            with self.subTest(tool["name"]):
                self.assertTrue(tool["title"] and len(tool["description"]) > 60)
                schema = tool["inputSchema"]
                self.assertEqual(schema["type"], "object")
                self.assertIs(schema["additionalProperties"], False)
                self.assertLessEqual(set(schema["required"]), set(schema["properties"]))
                for rule in schema["properties"].values():
                    self.assertEqual(rule["type"], "string")
                    self.assertTrue(rule["description"])
                # Some clients refuse tools whose schema begins with a choice.
                self.assertFalse({"oneOf", "anyOf", "allOf", "$ref"} & set(schema))

    def test_annotations(self):
        for tool in mcp_tools.DEFINITIONS:
            hints = tool["annotations"]
            # A tool that sends work away is not one that only reads.
            self.assertIs(hints["readOnlyHint"], tool["name"] in ("rules", "status"))
            self.assertIs(hints["openWorldHint"], tool["name"] in ("grade", "iterate"))
            self.assertIs(hints["destructiveHint"], False)
            self.assertIs(hints["openWorldHint"], tool["name"] in ("grade", "iterate"))
            self.assertEqual(mcp_tools.Tools.is_local(tool["name"]), not hints["openWorldHint"])

    def test_definitions_are_json(self):
        self.assertEqual(json.loads(json.dumps(mcp_tools.DEFINITIONS)), mcp_tools.DEFINITIONS)


class ArgumentTest(ToolsTest):
    def test_wrong_arguments_are_results_that_say_what_would_be_right(self):
        self.write("a.md")
        cases = [
            ("grade", {}, ["Exactly one of path and text"]),
            ("grade", {"path": "a.md", "text": "x"}, ["Exactly one of path and text"]),
            ("grade", {"path": 3}, ["path must be a string"]),
            ("grade", {"path": None}, ["path must be a string"]),
            ("grade", {"path": ["a.md"]}, ["path must be a string"]),
            ("grade", {"path": ""}, ["path must not be empty"]),
            ("grade", {"path": "a.md", "name": "b.md"}, ["name goes with text"]),
            ("grade", {"text": "x", "modality": "poem"}, ["modality must be one of", "code"]),
            ("grade", {"text": "x", "modality": "Code"}, ["modality must be one of"]),
            ("grade", {"text": "x", "policy": ""}, ["policy must not be empty"]),
            ("grade", {"text": "x", "intent": True}, ["intent must be a string"]),
            ("grade", {"text": "x", "timeout": 3}, ["no argument “timeout”", "path", "vertical"]),
            ("grade", {"text": "x", "a\x1bb" * 999: 1}, ["no argument “a\ufffdb"]),
            ("iterate", {"text": "x"}, ["run_id is needed"]),
            ("iterate", {"run_id": "r1"}, ["Exactly one of path and text"]),
            ("iterate", {"run_id": "r1", "text": "x", "vertical": "v"}, ["no argument"]),
            ("rules", {"modality": "poem"}, ["modality must be one of"]),
            ("status", {"verbose": "yes"}, ["no argument “verbose”", "none"]),
        ]
        for tool, arguments, words in cases:
            with self.subTest(tool, arguments=str(arguments)[:80]):
                text = self.refused(tool, *words, **arguments)
                self.assertLess(len(text), 1000)

    def test_paths_that_cannot_be_one(self):
        for path in ("a\0b", "\ud800", "x\udfffy\0"):
            with self.subTest(path=ascii(path)):
                self.refused("grade", "not a name that a file can have", path=path)

    def test_files_that_cannot_be_read(self):
        os.mkfifo(os.path.join(self.folder, "pipe.md"))
        os.symlink("nowhere", os.path.join(self.folder, "dangling.md"))
        for path, word in ((".", "folder"), ("pipe.md", "plain"),
                           ("dangling.md", "No such file")):
            with self.subTest(path):
                self.refused("grade", "Not graded", word, path=path)

    def test_files_that_are_not_there(self):
        self.write("a.md")
        for path in ("missing.md", "a.md/b", "x" * 5000, "\x1b[2J"):
            with self.subTest(path[:20]):
                text = self.refused("grade", "There is no file", self.folder, path=path)
                self.assertLess(len(text), 2000)
                self.assertNotIn("\x1b", text)

    def test_run_ids_that_are_none(self):
        for run_id in ("../jobs", "a/b", "a?b", "a b", "", "r" * 201, "ü", "r1\n", ".", "#"):
            with self.subTest(run_id=run_id):
                self.refused("iterate", "run_id", run_id=run_id, text="x")


class GradeTest(ToolsTest):
    def test_text_that_ships(self):
        result = self.run_tool("grade", text="Fine work.")
        self.assertEqual(result["structuredContent"], {
            "name": "text.txt", "modality": "text", "band": "ship", "clears": True, "score": 0.98,
            "run_id": "r1", "report": "http://127.0.0.1:1/console?run=r1", "flaws": [],
            "flaws_left_out": 0, "notes": []})
        self.assertIn("clears (ship, score 0.98, 0 flaws)", result["content"][0]["text"])
        self.assertEqual(self.service.body, {
            "submission": "async", "modality": "text", "user_prompt": grading.INTENT,
            "artifact_parts": [{"mime_type": "text/plain", "logical_name": "text.txt",
                                "text": "Fine work."}]})

    def test_work_that_is_held_is_a_result_and_no_error(self):
        self.service.summary = FIX
        result = self.run_tool("grade", text="Dear [Name], a ,b")
        facts = result["structuredContent"]
        self.assertFalse(result["isError"])
        self.assertEqual((facts["band"], facts["clears"]), ("route_to_fix", False))
        self.assertEqual(facts["flaws"][0], {
            "severity": "HIGH", "criterion": "Placeholder", "detail": "Line 1 holds [Name].",
            "rule": "text.placeholder", "place": "line 1, column 6", "evidence": "[Name]"})
        self.assertEqual(facts["flaws"][1], {"severity": "LOW", "criterion": "Spacing",
                                             "detail": "a ,b", "evidence": "a ,b"})
        text = result["content"][0]["text"]
        for word in ("- HIGH text.placeholder text.txt:1:6: Line 1 holds [Name].", "- LOW Spacing text.txt: a ,b",
                     "run_id: r1", "report: http://127.0.0.1:1/console?run=r1"):
            self.assertIn(word, text)

    def test_who_judged_and_what_nobody_did(self):
        self.service.summary = dict(SHIP, checked_by=[
            {"engine": "trevix", "version": "0.1.0", "knows": "English\x1b[2J"}], not_checked=[
            {"what": "links", "why": "nothing is fetched", "remedy": ""}])
        result = self.run_tool("grade", text="x")
        facts, text = result["structuredContent"], result["content"][0]["text"]
        self.assertEqual(facts["checked_by"], [
            {"engine": "trevix", "version": "0.1.0", "knows": "English\ufffd[2J"}])
        self.assertEqual(facts["not_checked"], [
            {"what": "links", "why": "nothing is fetched", "remedy": ""}])
        self.assertIn("\njudged by: trevix 0.1.0 (English\ufffd[2J)\n"
                      "not checked: links (nothing is fetched)\n", text)

    def test_work_that_nobody_there_can_judge_is_a_result_and_no_clearance(self):
        self.service.summary = {"band": "unknown", "score": 1, "flaws": [], "not_checked": [
            {"what": "prose, Frisian", "why": "no dictionary is at hand", "remedy": "install it"}]}
        result = self.run_tool("grade", text="x")
        facts = result["structuredContent"]
        self.assertFalse(result["isError"])
        self.assertEqual((facts["band"], facts["clears"], facts["score"]), ("unknown", False, 1.0))
        self.assertTrue(result["content"][0]["text"].startswith(
            "text.txt: not judged: nobody here can judge this: prose, Frisian (no dictionary is at "
            "hand; install it)\n"))

    def test_all_arguments_reach_the_service(self):
        self.run_tool("grade", text="print(1)", name="src/a.py", modality="code", intent="Run it.",
                      vertical="", policy="p1")
        body = self.service.body
        self.assertEqual((body["modality"], body["user_prompt"], body["vertical"],
                          body["policy_id"]), ("code", "Run it.", "", "p1"))
        self.assertEqual(body["artifact_parts"], [
            {"mime_type": "text/x-code", "logical_name": "a.py", "text": "print(1)"}])
        self.assertEqual(dict(self.service.requests[0].headers)["Authorization"], "Bearer " + KEY)

    def test_policy_of_the_settings_applies_where_none_is_given(self):
        self.settings = self.settings._replace(policy_id="mine")
        self.run_tool("grade", text="x")
        self.assertEqual(self.service.body["policy_id"], "mine")

    def test_relative_path_is_below_the_current_folder(self):
        self.write("notes/a.md", "# Fine\n\nWork.\n")
        for path in ("notes/a.md", "./notes/../notes/a.md",
                     os.path.join(self.folder, "notes", "a.md")):
            self.service.requests.clear()
            self.run_tool("grade", path=path)
            part, = self.service.body["artifact_parts"]
            self.assertEqual(part, {"mime_type": "text/markdown", "logical_name": "notes/a.md",
                                    "text": "# Fine\n\nWork.\n"})

    def test_home_folder_in_a_path(self):
        self.write("project/a.md")
        os.chdir("project")
        before = os.environ.get("HOME")
        os.environ["HOME"] = self.folder
        try:
            result = self.run_tool("grade", path="~/project/a.md")
        finally:
            os.environ["HOME"] = before if before is not None else ""
        self.assertEqual(result["structuredContent"]["modality"], "document")

    def test_text_with_half_a_surrogate_pair(self):
        self.run_tool("grade", text="a\ud800b\U0001f600", intent="i\udfff", vertical="\ud800")
        self.assertEqual(self.service.body["artifact_parts"][0]["text"], "a\ufffdb\U0001f600")
        self.assertEqual(self.service.body["user_prompt"], "i\ufffd")

    def test_verdict_without_score_run_or_flaws(self):
        self.service.summary = {"decision": "BLOCK"}
        facts = self.run_tool("grade", text="x")["structuredContent"]
        self.assertEqual(facts["band"], "block")
        self.assertNotIn("score", facts)

    def test_so_many_flaws_and_the_most_severe_of_them(self):
        words = ["low"] * 80 + ["critical"] * 5 + ["odd"] * 30 + ["medium"] * 40
        self.service.summary = {"band": "block", "flaws": [
            {"severity": word, "criterion": "c%d" % n, "detail": "d"}
            for n, word in enumerate(words)]}
        facts = self.run_tool("grade", text="x")["structuredContent"]
        self.assertEqual((len(facts["flaws"]), facts["flaws_left_out"]), (100, 55))
        kept = [f["severity"] for f in facts["flaws"]]
        self.assertEqual(kept, ["LOW"] * 55 + ["CRITICAL"] * 5 + ["MEDIUM"] * 40)

    def test_what_the_service_says_is_made_harmless(self):
        self.service.summary = {"band": "block", "flaws": [
            {"severity": "h\x1b[2J", "criterion": "a\nb", "detail": "x" * 5000 + "\u202e",
             "evidence": "\u2066"}]}
        result = self.run_tool("grade", text="x")
        flaw, = result["structuredContent"]["flaws"]
        self.assertEqual((flaw["criterion"], flaw["evidence"], len(flaw["detail"])),
                         ("a b", "\ufffd", mcp_tools.LONGEST_TEXT + 1))
        self.assertNotIn("\x1b", flaw["severity"] + result["content"][0]["text"])

    def test_progress_tells_step_and_time(self):
        self.service.summary = None
        self.run_tool("grade", self.tools(deadline=10), text="x")
        self.assertEqual(self.progress[0].split(" (")[0], "submitted")
        self.assertIn("the grader is warming up (", self.progress[1])


    def test_cancelled_grade_asks_the_service_no_more(self):
        self.service.summary = None
        cancelled = Impatient()

        def progress(text):
            if "warming" in text:
                cancelled.set()

        self.tools(deadline=5).run("grade", {"text": "x"}, progress, cancelled)
        self.assertEqual([r.method for r in self.service.requests], ["POST", "GET", "DELETE"])


class PlacesTest(ToolsTest):
    """A call reaches the project, and what the user allowed."""

    def setUp(self):
        super().setUp()
        for name in ("home/project/.git/HEAD", "home/project/deep/a.md", "home/other/b.md",
                     "home/secrets.txt"):
            self.write(name)
        self.environ = {"HOME": os.path.join(self.folder, "home")}

    def grade(self, path, here="home/project/deep", **more):
        os.chdir(os.path.join(self.folder, here))
        return self.run_tool("grade", self.tools(environ=dict(self.environ, **more)), path=path)

    def assert_kept(self, result):
        self.assertTrue(result["isError"])
        self.assertIn("lies outside the folders", result["content"][0]["text"])
        self.assertEqual(self.service.requests, [])

    def test_below_the_root_of_the_project_files_are_graded(self):
        self.write("home/project/top.md")
        for path in ("a.md", "../top.md", os.path.join(self.folder, "home/project/top.md")):
            self.assertFalse(self.grade(path)["isError"], path)

    def test_elsewhere_they_are_neither_read_nor_sent(self):
        os.symlink("../../secrets.txt", os.path.join(self.folder, "home/project/deep/link.md"))
        for path in ("../../secrets.txt", "~/secrets.txt", "/etc/hostname", "link.md", "/dev/zero",
                     "../../other/b.md", "/etc/there-is-no-such-file"):
            self.assert_kept(self.grade(path))

    def test_a_folder_whose_name_begins_alike_is_another(self):
        self.write("home/project-2/c.md")
        self.assert_kept(self.grade("../../project-2/c.md"))

    def test_a_home_folder_is_no_project(self):
        self.write("home/.git/HEAD")
        for here in ("home", "."):
            self.assert_kept(self.grade(os.path.join(self.folder, "home/secrets.txt"), here))

    def test_a_folder_without_version_control_is_its_own_project(self):
        self.assertFalse(self.grade("b.md", "home/other")["isError"])
        self.service.requests.clear()
        self.assert_kept(self.grade("../secrets.txt", "home/other"))

    def test_what_the_user_allowed_is_read_too(self):
        self.settings = self.settings._replace(read=(os.path.join(self.folder, "home/other"),))
        self.assertFalse(self.grade("../../other/b.md")["isError"])

    def test_a_project_that_the_tool_names_is_the_project(self):
        named = os.path.join(self.folder, "home/other")
        self.assertFalse(self.grade(named + "/b.md", CLAUDE_PROJECT_DIR=named)["isError"])

    def test_status_tells_where_files_are_read(self):
        os.chdir(os.path.join(self.folder, "home/project/deep"))
        result = self.run_tool("status", self.tools(environ=self.environ))
        self.assertEqual(result["structuredContent"]["reads"],
                         [os.path.join(self.folder, "home/project")])


class NotSentTest(ToolsTest):
    def test_files_that_are_never_sent(self):
        for name in (".env", "id_rsa", "server.pem", ".git/config", ".ssh/config"):
            with self.subTest(name):
                self.write(name, "TOKEN=1\n")
                self.refused("grade", "Not graded", "never send", path=name)

    def test_link_to_a_file_that_is_never_sent(self):
        os.symlink(self.write(".env", "TOKEN=1\n"), os.path.join(self.folder, "notes.md"))
        self.refused("grade", "never send", path="notes.md")

    def test_text_that_is_called_like_such_a_file(self):
        self.refused("grade", "never send", text="TOKEN=1", name=".env")

    def test_revision_from_such_a_file(self):
        self.write(".env", "TOKEN=1\n")
        self.refused("iterate", "never send", run_id="r1", path=".env")

    def test_secret_is_taken_out_and_holds_the_work(self):
        result = self.run_tool("grade", text="key = '%s'\n" % SECRET, name="a.py")
        self.assertNotIn(SECRET, self.service.requests[0].body.decode())
        facts = result["structuredContent"]
        self.assertEqual((facts["band"], facts["clears"]), ("ship", False))
        self.assertEqual(facts["flaws"][0]["rule"], "standing.secret")
        self.assertNotIn(SECRET, json.dumps(result))

    def test_secret_in_the_intent_is_taken_out(self):
        self.run_tool("grade", text="x", intent="Deploy with %s." % SECRET)
        self.assertNotIn(SECRET, self.service.requests[0].body.decode())

    def test_rules_that_cannot_be_found(self):
        tools = self.tools(load_rules=lambda: standing.load(os.path.join(self.folder, "nowhere")))
        result = self.run_tool("grade", tools, text="x")
        self.assertTrue(result["isError"])
        self.assertEqual(self.service.requests, [])


class FailureTest(ToolsTest):
    def test_no_key(self):
        self.settings = self.settings._replace(key=None)
        self.refused("grade", "there is no key", "BRASK_API_KEY", ".brask/key", text="x")

    def test_service_that_is_down(self):
        self.service.down = True
        self.refused("grade", "could not reach the eval API", "http://127.0.0.1:1",
                     "BRASK_API_BASE", "trevix-local", text="x", sent=1)
        self.service.requests.clear()
        self.refused("iterate", "could not reach the eval API", run_id="r1", text="x", sent=1)

    def test_empty_address(self):
        self.settings = self.settings._replace(base="")
        self.service.down = True
        self.refused("grade", "the empty address", text="x", sent=1)

    def test_wrong_key(self):
        for status in (401, 403):
            self.service = Service(status=status)
            self.refused("grade", "not authorized", "HTTP %d" % status, ".brask/key", text="x",
                         sent=1)

    def test_service_that_refuses(self):
        self.service = Service(status=429, error="the queue is full")
        self.refused("grade", "the queue is full", text="x", sent=1)
        self.service = Service(status=500)
        self.refused("grade", "eval API error (HTTP 500)", text="x", sent=1)

    def test_time_that_is_up(self):
        self.service.summary = None
        result = self.run_tool("grade", self.tools(deadline=5), text="x")
        text = result["content"][0]["text"]
        self.assertTrue(result["isError"])
        for word in ("timed out after 5s", "warming up", "may succeed later"):
            self.assertIn(word, text)

    def test_service_that_cannot_read_the_work(self):
        self.service.summary = {"band": "route_to_fix", "flaws": [
            {"severity": "high", "rule": "artifact.unreadable", "detail": "A recording."}]}
        self.refused("grade", "cannot read this kind of work", "A recording.", text="x", sent=2)

    def test_band_that_nobody_knows(self):
        self.service.summary = {"band": "re_prompt"}
        self.refused("grade", "no verdict", text="x", sent=3)

    def test_run_that_the_service_does_not_know(self):
        self.service = Service(status=404, error="there is no such run")
        self.refused("iterate", "there is no such run", run_id="r9", text="x", sent=1)


class IterateTest(ToolsTest):
    def test_revision(self):
        path = self.write("a.md", "# Fine\n\nWork.\n")
        result = self.run_tool("iterate", run_id="run-1.a_b~c", path=path, intent="As asked.")
        self.assertEqual(result["structuredContent"]["run_id"], "run-1.a_b~c")
        request, = self.service.requests
        self.assertEqual((request.method, request.url),
                         ("POST", "http://127.0.0.1:1/api/v1/eval/runs/run-1.a_b~c/iterate"))
        self.assertEqual(self.service.body["decision"], "re_prompt")
        self.assertEqual(self.service.body["user_prompt"], "As asked.")
        self.assertEqual(self.service.body["new_artifact_parts"][0]["text"], "# Fine\n\nWork.\n")


class LocalTest(ToolsTest):
    def test_rules_of_all_kinds_and_of_one(self):
        every = self.run_tool("rules")["content"][0]["text"]
        code = self.run_tool("rules", modality="code")["content"][0]["text"]
        self.assertLess(len(code), len(every))
        rules = standing.load()
        self.assertEqual(code, rules.text("code"))
        self.assertEqual(self.service.requests, [])

    def test_rules_that_are_broken_are_reported(self):
        for name, content in (("every.md", "---\ntitle: All\nnever_send: .env\n---\nBody.\n"),
                              ("mine.local.md", "---\nnever: x\n---\nMy own.\n")):
            self.write("rules/" + name, content)
        tools = self.tools(load_rules=lambda: standing.load(os.path.join(self.folder, "rules")))
        text = self.run_tool("rules", tools)["content"][0]["text"]
        for word in ("Body.", "My own.", "Could not be used:", "mine.local.md:2"):
            self.assertIn(word, text)
        facts = self.run_tool("status", tools)["structuredContent"]
        self.assertIn("mine.local.md:2", facts["problems"][0])
        notes = self.run_tool("grade", tools, text="x")["structuredContent"]["notes"]
        self.assertIn("mine.local.md:2", notes[0])

    def test_no_rules_at_all(self):
        tools = self.tools(load_rules=lambda: standing.load(os.path.join(self.folder, "nowhere")))
        self.assertTrue(self.run_tool("rules", tools)["isError"])

    def test_status(self):
        facts = self.run_tool("status")["structuredContent"]
        self.assertEqual((facts["service"], facts["signed_in"], facts["problems"]),
                         ("http://127.0.0.1:1", True, []))
        self.assertIn("code", facts["modalities"])
        self.settings = self.settings._replace(key=None, base="")
        result = self.run_tool("status")
        self.assertIs(result["structuredContent"]["signed_in"], False)
        self.assertIn("key: absent", result["content"][0]["text"])
        self.assertEqual(self.service.requests, [])


if __name__ == "__main__":
    unittest.main()
