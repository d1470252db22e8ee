"""Resources of the MCP server: the standing rules, and the reports of what was graded."""

import json
import os
import unittest

from test_mcp_protocol import IDENTITY, TOOLS, ProtocolTest, line, modern, protocol
from test_mcp_server import ScriptedTools, ServerTest
from test_mcp_tools import ToolsTest
from engine import mcp_tools

TEMPLATES = [{"uriTemplate": "trevix://runs/{run_id}", "name": "report"}]
SUBSCRIPTION = "io.modelcontextprotocol/subscriptionId"


class ResourceProtocolTest(ProtocolTest):
    def setUp(self):
        super().setUp()
        self.session = protocol.Session(IDENTITY, "Facts about it.", TOOLS, TEMPLATES)

    def test_they_are_announced_in_both_eras(self):
        wanted = {"tools": {}, "resources": {"listChanged": True}}
        discovered = self.answer(modern("server/discover"))["result"]
        self.assertEqual(wanted, discovered["capabilities"])
        self.assertEqual(wanted, self.agree()["result"]["capabilities"])

    def test_lists_carry_how_long_they_are_fresh_in_the_modern_era_only(self):
        asked = self.only(modern("resources/list", 7))
        self.assertEqual(protocol.Resources(7, True), asked)
        found = self.session.listed(asked, [{"uri": "trevix://rules"}])["result"]
        self.assertEqual((0, "private", "complete"),
                         (found["ttlMs"], found["cacheScope"], found["resultType"]))
        self.assertEqual(TEMPLATES, self.answer(
            modern("resources/templates/list"))["result"]["resourceTemplates"])
        self.agree()
        asked = self.only(line("resources/list", 8))
        self.assertEqual({"resources": []}, self.session.listed(asked, [])["result"])

    def test_a_resource_that_is_not_there_is_an_error_of_its_era(self):
        asked = self.only(modern("resources/read", 5, uri="trevix://x"))
        self.assertEqual(protocol.Read(5, "trevix://x", True), asked)
        self.assertEqual(-32602, self.session.unknown(asked)["error"]["code"])
        self.agree()
        asked = self.only(line("resources/read", 6, {"uri": "trevix://x"}))
        self.assertEqual(-32002, self.session.unknown(asked)["error"]["code"])

    def test_odd_requests(self):
        self.error(modern("resources/read"), -32602)
        self.error(modern("resources/read", uri=5), -32602)
        self.error(modern("resources/list", cursor="x"), -32602)
        self.error(line("resources/list"), -32602)

    def test_only_a_subscription_that_asks_is_told(self):
        for wanted, told in (({"resourcesListChanged": True}, {"resourcesListChanged": True}),
                             ({"toolsListChanged": True}, {}),
                             ({"resourcesListChanged": "yes"}, {})):
            listen = self.only(modern("subscriptions/listen", 5, notifications=wanted))
            self.assertEqual(bool(told), listen.resources)
            self.assertEqual(told,
                             self.session.acknowledgement(listen)["params"]["notifications"])

    def error(self, data, code):
        self.assertEqual(code, self.answer(data)["error"]["code"])


class WithResources(ScriptedTools):
    templates = TEMPLATES

    def __init__(self):
        super().__init__()
        self.resource_changes = 0

    def resources(self):
        return [{"uri": "trevix://runs/%d" % self.resource_changes, "name": "r"}]

    def read(self, uri, cancelled):
        if uri == "trevix://broken":
            raise ValueError("what nobody is to be told")
        return [{"uri": uri, "text": "t"}] if uri == "trevix://rules" else None

    def run(self, name, arguments, progress, cancelled):
        if name == "echo" and arguments.get("as") == "graded":
            self.resource_changes += 1
        return super().run(name, arguments, progress, cancelled)


class ResourceServerTest(ServerTest):
    """The server's own tests hold for tools with resources too; and these."""

    def setUp(self):
        import test_mcp_server
        before = test_mcp_server.ScriptedTools
        test_mcp_server.ScriptedTools = WithResources
        try:
            super().setUp()
        finally:
            test_mcp_server.ScriptedTools = before

    def test_reading(self):
        read = self.client.result("resources/read", uri="trevix://rules")
        self.assertEqual("t", read["contents"][0]["text"])
        self.assertEqual(-32602, self.client.ask("resources/read", uri="x")["error"]["code"])
        broken = self.client.ask("resources/read", uri="trevix://broken")["error"]
        self.assertEqual(-32603, broken["code"])
        self.assertNotIn("nobody", json.dumps(broken))

    def test_a_reading_that_is_one_too_many_is_an_error_and_no_result(self):
        import mcp_client
        from engine import mcp_server
        for number in range(mcp_server.MOST_RUNNING + mcp_server.MOST_WAITING):
            self.client.request("tools/call", name="wait", arguments={"as": number})
        for _ in range(mcp_server.MOST_RUNNING):
            self.assertTrue(self.tools.started.acquire(timeout=mcp_client.PATIENCE))
        refused = self.client.ask("resources/read", uri="trevix://rules")
        self.assertIn("Too many", refused["error"]["message"])

    def test_a_subscriber_hears_of_a_new_report_and_nobody_else(self):
        listening = self.client.request("subscriptions/listen",
                                        notifications={"resourcesListChanged": True})
        self.client.request("subscriptions/listen", notifications={})
        self.client.result("tools/call", name="echo", arguments={"as": "graded"})
        self.client.result("tools/call", name="echo", arguments={"as": "other"})
        heard = [message for message in self.client.early + self.client.rest()
                 if message.get("method") == "notifications/resources/list_changed"]
        self.assertEqual([{SUBSCRIPTION: listening}],
                         [message["params"]["_meta"] for message in heard])

    def test_a_legacy_client_hears_of_it_too(self):
        self.client.open_legacy()
        self.client.result("tools/call", name="echo", arguments={"as": "graded"})
        heard = [message for message in self.client.early + self.client.rest()
                 if message.get("method") == "notifications/resources/list_changed"]
        self.assertEqual([None], [message.get("params") for message in heard])


class ResourceToolsTest(ToolsTest):
    def test_the_rules_are_there_and_so_are_those_of_each_kind(self):
        tools = self.tools()
        uris = [resource["uri"] for resource in tools.resources()]
        self.assertEqual("trevix://rules", uris[0])
        self.assertIn("trevix://rules/code", uris)
        for uri in uris:
            found, = tools.read(uri, None)
            self.assertEqual(("text/markdown", uri), (found["mimeType"], found["uri"]))
            self.assertTrue(found["text"])

    def test_what_was_graded_can_be_read_again_without_asking_anybody(self):
        tools = self.tools()
        graded = self.run_tool("grade", tools, text="x")["structuredContent"]
        self.assertEqual(1, tools.resource_changes)
        asked = len(self.service.requests)
        uri = "trevix://runs/" + graded["run_id"]
        self.assertIn(uri, [resource["uri"] for resource in tools.resources()])
        found, = tools.read(uri, None)
        self.assertEqual(graded, json.loads(found["text"]))
        self.assertEqual(asked, len(self.service.requests))

    def test_no_more_reports_are_kept_than_are_listed(self):
        tools = self.tools()
        for number in range(mcp_tools.MOST_RUNS + 5):
            tools._remember({"run_id": "r%d" % number, "name": "n", "band": "ship"})
        runs = [resource["uri"] for resource in tools.resources() if "runs" in resource["uri"]]
        self.assertEqual(mcp_tools.MOST_RUNS, len(runs))
        self.assertEqual("trevix://runs/r%d" % (mcp_tools.MOST_RUNS + 4), runs[0])

    def test_names_that_are_none(self):
        tools = self.tools()
        for uri in ("", "file:///etc/passwd", "trevix://rules/..", "trevix://rules/nothing",
                    "trevix://runs/", "trevix://runs/../jobs", "trevix://runs/a b", "trevix://x"):
            self.assertIsNone(tools.read(uri, None), uri)


# Tests of other files, imported to be built upon, run where they stand.
del ProtocolTest, ServerTest, ToolsTest


class RegistryTest(unittest.TestCase):
    ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), *[os.pardir] * 3))

    def test_the_entry_of_the_registry_says_what_the_server_says(self):
        with open(os.path.join(self.ROOT, "server.json"), encoding="utf-8") as file:
            entry = json.load(file)
        self.assertEqual(mcp_tools.Tools.identity["version"], entry["version"])
        self.assertEqual(mcp_tools.Tools.identity["title"], entry["title"])
        self.assertLessEqual(len(entry["description"]), 100)  # what the registry takes
        self.assertRegex(entry["name"], r"^[a-zA-Z0-9.-]{1,100}/[a-zA-Z0-9._-]{1,99}$")
        self.assertRegex(entry["version"], r"^\d+\.\d+\.\d+$")  # one, and no range
        self.assertRegex(entry["$schema"], r"^https://[^/]+/schemas/\d{4}-\d\d-\d\d/server\.schema\.json$")


if __name__ == "__main__":
    unittest.main()
