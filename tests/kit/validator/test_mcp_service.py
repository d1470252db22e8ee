"""The whole way: `validate.py mcp` as a client starts it, and the evaluation service behind it."""

import os
import subprocess
import sys
import threading
import unittest

from mcp_client import PATIENCE, Process
from surroundings import KIT, FaultServer, HomeTest, LocalService, answer, closed_port, silence

VALIDATE = str(KIT / "validate.py")
NOTE = "# Launch\n\nDear [Name],\n\nthe the launch is on 31 April 2026.\n"
BETTER = "# Launch\n\nDear Jordan,\n\nThe launch is on 30 April 2026, at noon.\n"


class McpTest(HomeTest):
    def start(self, era="modern", **environment):
        process = Process([VALIDATE, "mcp"], str(self.home), era,
                          dict(self.environment, **environment), str(self.work))
        self.addCleanup(process.close)
        return process

    def assert_clean_end(self, server):
        """The server ends when its input does, says nothing more, and complains about nothing."""
        self.assertEqual(server.rest(), [])
        self.assertEqual(server.end(), (0, b""))


class RealServiceTest(McpTest):
    @classmethod
    def setUpClass(cls):
        cls.service = LocalService()
        cls.addClassCleanup(cls.service.stop)

    def grade_and_iterate(self, server):
        self.write("note.md", NOTE)
        facts = server.call("grade", token=0, path="note.md", intent="A note to customers.")
        steps = [m["params"] for m in server.early]
        self.assertEqual([s["progress"] for s in steps], list(range(1, len(steps) + 1)))
        self.assertTrue(steps[0]["message"].startswith("submitted"))
        first = facts["structuredContent"]
        self.assertFalse(facts["isError"])
        self.assertEqual((first["band"], first["clears"]), ("route_to_fix", False))
        rules = {flaw["rule"] for flaw in first["flaws"]}
        self.assertLessEqual({"text.placeholder", "text.doubled_word", "text.impossible_date"},
                             rules)
        again = server.call("iterate", run_id=first["run_id"], text=BETTER, name="note.md")
        second = again["structuredContent"]
        self.assertEqual((second["band"], second["clears"], second["run_id"]),
                         ("ship", True, first["run_id"]))

    def test_modern_client(self):
        server = self.start(**self.service.variables())
        discovered = server.result("server/discover")
        self.assertEqual(discovered["supportedVersions"], ["2026-07-28"])
        names = [tool["name"] for tool in server.result("tools/list")["tools"]]
        self.assertEqual(names, ["grade", "iterate", "rules", "status"])
        self.grade_and_iterate(server)
        self.assert_clean_end(server)

    def test_legacy_client(self):
        server = self.start(**self.service.variables())
        opened = server.open_legacy("2025-06-18")
        self.assertEqual(opened["serverInfo"]["name"], "trevix")
        self.grade_and_iterate(server)
        news = {message.get("method") for message in server.rest()}
        self.assertLessEqual(news, {"notifications/resources/list_changed"})
        self.assertEqual(server.end(), (0, b""))

    def test_environment_of_home_and_path_alone(self):
        self.data.mkdir()
        (self.data / "key").write_text(self.service.key + "\n")
        (self.data / "settings").write_text("base: %s\n" % self.service.base)
        server = self.start()
        self.assertEqual(server.call("status")["structuredContent"]["service"], self.service.base)
        result = server.call("grade", text="print(eval(x))\n", name="a.py")
        self.assertEqual(result["structuredContent"]["flaws"][0]["rule"], "code.runs_text")

    def test_run_that_is_not_there(self):
        server = self.start(**self.service.variables())
        result = server.call("iterate", run_id="nope", text="x")
        self.assertTrue(result["isError"])
        self.assertIn("no such run", result["content"][0]["text"])

    def test_wrong_key(self):
        server = self.start(BRASK_API_BASE=self.service.base, BRASK_API_KEY="wrong")
        text = server.call("grade", text="x")["content"][0]["text"]
        self.assertIn("not authorized", text)
        self.assertNotIn("wrong", text)

    def test_kit_as_it_is_installed(self):
        script = self.install_kit()
        server = Process([str(script), "mcp"], str(self.home), "modern",
                         dict(self.environment, **self.service.variables()), str(self.work))
        self.addCleanup(server.close)
        self.assertIn("# ", server.call("rules")["content"][0]["text"])
        self.assert_clean_end(server)


class SlowService(FaultServer):
    """Accepts every job and never finishes one. `polled` tells of each time somebody asked."""

    def __init__(self):
        self.polled = threading.Semaphore(0)
        super().__init__(self.step)

    def step(self, connection, seen):
        if seen.method == "POST":
            return answer(202, {"job_id": "j", "status": "queued"})(connection, seen)
        answer(200, {"status": "running", "progress": {"warming": True}})(connection, seen)
        self.polled.release()
        return None


class UnreadyServiceTest(McpTest):
    def start_with(self, service):
        return self.start(BRASK_API_BASE=service.base, BRASK_API_KEY="k")

    def test_requests_are_answered_while_a_grade_polls(self):
        with SlowService() as service:
            server = self.start_with(service)
            server.request("tools/call", token="t", name="grade", arguments={"text": "x"})
            self.assertTrue(service.polled.acquire(timeout=PATIENCE))
            self.assertIn("signed_in", server.call("status")["structuredContent"])
            self.assertTrue(server.call("grade", path="missing")["isError"])
            messages = [m["params"]["message"] for m in server.early]
            self.assertTrue(messages[0].startswith("submitted"), messages)
            self.assert_clean_end_after_poll(server)

    def assert_clean_end_after_poll(self, server):
        """Progress may still be on its way when the input ends, and nothing else."""
        for message in server.rest():
            self.assertEqual(message["method"], "notifications/progress")
        self.assertEqual(server.end(), (0, b""))

    def test_cancelled_grade_asks_the_service_no_more(self):
        with SlowService() as service:
            server = self.start_with(service)
            running = server.request("tools/call", token=0, name="grade", arguments={"text": "x"})
            self.assertTrue(service.polled.acquire(timeout=PATIENCE))
            while "warming" not in server.next()["params"]["message"]:
                pass
            server.notify("notifications/cancelled", requestId=running, reason="enough")
            server.result("tools/list")
            self.assertEqual(server.early, [])
            self.assert_clean_end(server)
            self.assertEqual([seen.method for seen in service.requests], ["POST", "GET", "DELETE"])

    def test_end_of_input_while_the_service_says_nothing(self):
        with FaultServer(silence) as service:
            server = self.start_with(service)
            server.request("tools/call", name="grade", arguments={"text": "x"})
            while not service.requests:
                server.result("tools/list")
            self.assert_clean_end(server)

    def test_service_that_is_down(self):
        base = "http://127.0.0.1:%d" % closed_port()
        server = self.start(BRASK_API_BASE=base, BRASK_API_KEY="k")
        text = server.call("grade", text="x")["content"][0]["text"]
        self.assertIn("Nothing usable answers at " + base, text)

    def test_answer_that_is_no_json(self):
        with FaultServer(answer(500, b"<html>oops")) as service:
            text = self.start_with(service).call("grade", text="x")["content"][0]["text"]
            self.assertIn("HTTP 500", text)

    def test_no_key(self):
        result = self.start().call("grade", text="x")
        self.assertTrue(result["isError"])
        self.assertIn("there is no key", result["content"][0]["text"])

    def test_file_that_is_never_sent(self):
        with FaultServer(answer(500, {})) as service:
            self.write("app/.env", "TOKEN=1\n")
            result = self.start_with(service).call("grade", path="app/.env")
            self.assertTrue(result["isError"])
            self.assertIn("never send", result["content"][0]["text"])
            self.assertEqual(service.requests, [])


class StreamTest(McpTest):
    def test_nothing_at_all(self):
        self.assertEqual(self.run_kit("mcp"), (0, b"", b""))

    def test_streams_that_were_never_open(self):
        done = subprocess.run(["/bin/sh", "-c", 'exec "$0" "$1" mcp <&- >&-', sys.executable,
                               VALIDATE], env=self.environment, stderr=subprocess.PIPE,
                              timeout=PATIENCE)
        self.assertEqual((done.returncode, done.stderr), (0, b""))

    def test_file_of_requests_instead_of_a_client(self):
        data = (b'\xef\xbb\xbf{"jsonrpc":"2.0","id":0,"method":"initialize","params":'
                b'{"protocolVersion":"2025-11-25","capabilities":{},"clientInfo":{}}}\r\n\r\n'
                b'{"jsonrpc":"2.0","method":"notifications/initialized"}\r\n'
                b'{"jsonrpc":"2.0","id":"r","method":"tools/call","params":{"name":"rules"}}\r\n'
                b'not json\r\n{"jsonrpc":"2.0","id":2,"method":"nope"}')
        status, output, errors = self.run_kit("mcp", data=data)
        self.assertEqual((status, errors), (0, b""))
        self.assertEqual(output.count(b"\n"), 4)
        for part in (b'"id":0,"result"', b'"id":"r","result"', b'"id":null,"error"',
                     b'"id":2,"error"'):
            self.assertIn(part, output)

    def test_environment_without_a_usable_locale(self):
        for environment in ({"LC_ALL": "C"}, {"PYTHONIOENCODING": "cp1252"}, {"LANG": "xx_YY"}):
            server = self.start(**environment)
            server.request("ping", "\u00fc\u2028\U0001f600")
            self.assertEqual(server.next()["id"], "\u00fc\u2028\U0001f600")
            self.assert_clean_end(server)

    def test_home_that_is_not_there(self):
        server = self.start(HOME=str(self.work / "nowhere" / "home"))
        self.assertFalse(server.call("status")["structuredContent"]["signed_in"])
        self.assert_clean_end(server)

    def test_work_folder_that_is_gone(self):
        self.write("gone/a.md", "x")
        gone = str(self.work / "gone")
        self.environment["BRASK_READ"] = str(self.work)
        server = Process([VALIDATE, "mcp"], str(self.home), "modern", self.environment, gone)
        self.addCleanup(server.close)
        server.result("tools/list")
        os.unlink(os.path.join(gone, "a.md"))
        os.rmdir(gone)
        result = server.call("grade", path="a.md")
        self.assertTrue(result["isError"])
        self.assertIn("is gone", result["content"][0]["text"])
        path = self.write("b.md", "x")
        self.assertIn("no key", server.call("grade", path=path)["content"][0]["text"])
        self.assertFalse(server.call("status")["isError"])


if __name__ == "__main__":
    unittest.main()
