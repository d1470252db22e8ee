"""What each line means and how it is answered, on literals: no process, no pipe, no thread."""

import json
import random
import sys
import unittest

from mcp_client import STANDING

sys.path.insert(0, STANDING)

from engine import mcp_protocol as protocol  # noqa: E402
from engine.mcp_protocol import Batch, Call, Cancel, Listen, Reply  # noqa: E402

IDENTITY = {"name": "trevix", "version": "1.2.3"}
TOOLS = [{"name": "grade", "inputSchema": {"type": "object"}},
         {"name": "rules", "inputSchema": {"type": "object"}}]
VERSION = "io.modelcontextprotocol/protocolVersion"
CAPABILITIES = "io.modelcontextprotocol/clientCapabilities"
CLIENT = "io.modelcontextprotocol/clientInfo"
SERVER = "io.modelcontextprotocol/serverInfo"
MODERN = {VERSION: "2026-07-28", CAPABILITIES: {}, CLIENT: {"name": "c", "version": "1"}}


def line(method=None, request_id=1, params=None, **more):
    """A request as a client writes it; without id when that is None."""
    message = {"jsonrpc": "2.0"}
    if request_id is not None:
        message["id"] = request_id
    if method is not None:
        message["method"] = method
    if params is not None:
        message["params"] = params
    message.update(more)
    return json.dumps(message).encode()


def modern(method, request_id=1, **params):
    return line(method, request_id, dict(params, _meta=MODERN))


class ProtocolTest(unittest.TestCase):
    def setUp(self):
        self.session = protocol.Session(IDENTITY, "Facts about it.", TOOLS)

    def agree(self, version="2025-11-25"):
        """Opens as a legacy client does."""
        return self.answer(line("initialize", 0, {"protocolVersion": version,
                                                  "capabilities": {}, "clientInfo": {}}))

    def only(self, data):
        actions = self.session.receive(data)
        self.assertEqual(len(actions), 1, actions)
        return actions[0]

    def answer(self, data):
        action = self.only(data)
        self.assertIsInstance(action, Reply)
        return action.message

    def error(self, data, code, request_id=1):
        message = self.answer(data)
        self.assertEqual(message["jsonrpc"], "2.0")
        self.assertEqual(message["id"], request_id)
        self.assertEqual(type(message["id"]), type(request_id))
        self.assertNotIn("result", message)
        self.assertEqual(message["error"]["code"], code, message)
        self.assertTrue(message["error"]["message"])
        return message["error"]


class LegacyTest(ProtocolTest):
    def test_supported_versions_are_echoed(self):
        for version in ("2024-11-05", "2025-03-26", "2025-06-18", "2025-11-25"):
            with self.subTest(version):
                self.assertEqual(self.agree(version)["result"]["protocolVersion"], version)

    def test_other_versions_are_answered_with_the_latest_legacy_one(self):
        for version in ("1900-01-01", "2026-07-28", "", "latest"):
            with self.subTest(version):
                self.assertEqual(self.agree(version)["result"]["protocolVersion"], "2025-11-25")

    def test_initialize_result(self):
        self.assertEqual(self.agree(), {"jsonrpc": "2.0", "id": 0, "result": {
            "protocolVersion": "2025-11-25", "capabilities": {"tools": {}},
            "serverInfo": IDENTITY, "instructions": "Facts about it."}})

    def test_initialize_without_a_version(self):
        for params in (None, {}, {"protocolVersion": 3}, {"protocolVersion": None}):
            with self.subTest(params=params):
                self.error(line("initialize", 1, params), -32602)

    def test_ping_before_and_after_initialize(self):
        self.assertEqual(self.answer(line("ping"))["result"], {})
        self.agree()
        self.assertEqual(self.answer(line("ping", "p"))["result"], {})

    def test_list_has_nothing_of_the_modern_era(self):
        self.agree()
        self.assertEqual(self.answer(line("tools/list"))["result"], {"tools": TOOLS})

    def test_list_with_a_progress_token(self):
        self.agree("2025-06-18")
        answer = self.answer(line("tools/list", 1, {"_meta": {"progressToken": 0}}))
        self.assertEqual(answer["result"], {"tools": TOOLS})

    def test_meta_of_other_extensions_does_not_make_a_request_modern(self):
        self.agree()
        meta = {"io.modelcontextprotocol/related-task": {"taskId": "t"}, "traceparent": "00"}
        self.assertEqual(self.answer(line("tools/list", 1, {"_meta": meta}))["result"],
                         {"tools": TOOLS})

    def test_modern_methods_are_none_of_a_legacy_client(self):
        self.agree()
        self.error(line("server/discover"), -32602)
        self.error(line("subscriptions/listen", 1, {"notifications": {}}), -32602)

    def test_a_second_initialize_agrees_anew(self):
        self.agree("2025-11-25")
        self.assertEqual(self.agree("2025-03-26")["result"]["protocolVersion"], "2025-03-26")
        self.assertIsInstance(self.only(b"[" + line("ping") + b"]"), Batch)

    def test_result_of_a_call_is_passed_on_as_it_is(self):
        self.agree()
        call = self.only(line("tools/call", 7, {"name": "grade", "arguments": {"path": "a"}}))
        self.assertEqual(call, Call(7, "grade", {"path": "a"}, None, False))
        result = {"content": [], "isError": False}
        self.assertEqual(self.session.finished(call, result),
                         {"jsonrpc": "2.0", "id": 7, "result": result})


class ModernTest(ProtocolTest):
    def test_discover(self):
        result = self.answer(modern("server/discover", "d"))["result"]
        self.assertEqual(result.pop("instructions"), "Facts about it.")
        self.assertGreaterEqual(result.pop("ttlMs"), 0)
        self.assertEqual(result, {
            "resultType": "complete", "supportedVersions": ["2026-07-28"],
            "capabilities": {"tools": {}}, "cacheScope": "public", "_meta": {SERVER: IDENTITY}})

    def test_list(self):
        result = self.answer(modern("tools/list"))["result"]
        self.assertIsInstance(result.pop("ttlMs"), int)
        self.assertEqual(result, {"resultType": "complete", "tools": TOOLS,
                                  "cacheScope": "public", "_meta": {SERVER: IDENTITY}})

    def test_result_of_a_call(self):
        call = self.only(modern("tools/call", 0, name="rules"))
        self.assertEqual(call, Call(0, "rules", {}, None, True))
        self.assertEqual(self.session.finished(call, {"content": [], "isError": True}), {
            "jsonrpc": "2.0", "id": 0, "result": {
                "resultType": "complete", "content": [], "isError": True,
                "_meta": {SERVER: IDENTITY}}})

    def test_unsupported_version(self):
        for method in ("server/discover", "tools/list", "tools/call", "of/tomorrow"):
            for version in ("1900-01-01", "2025-11-25", "2027-01-01", ""):
                with self.subTest(method=method, version=version):
                    meta = dict(MODERN, **{VERSION: version})
                    error = self.error(line(method, 1, {"_meta": meta}), -32022)
                    self.assertEqual(error["data"],
                                     {"supported": ["2026-07-28"], "requested": version})

    def test_required_fields(self):
        cases = {
            "no version": {CAPABILITIES: {}, CLIENT: {}},
            "version is a number": {VERSION: 20260728, CAPABILITIES: {}},
            "no capabilities": {VERSION: "2026-07-28"},
            "capabilities are a list": {VERSION: "2026-07-28", CAPABILITIES: []},
            "only the client's name": {CLIENT: {"name": "c", "version": "1"}},
        }
        for name, meta in cases.items():
            for method in ("server/discover", "tools/list", "tools/call"):
                with self.subTest(name, method=method):
                    self.error(line(method, 1, {"_meta": meta, "name": "grade"}), -32602)

    def test_client_info_is_not_required(self):
        meta = {VERSION: "2026-07-28", CAPABILITIES: {}}
        self.assertIn("result", self.answer(line("tools/list", 1, {"_meta": meta})))

    def test_a_request_that_says_no_era_is_refused(self):
        for method in ("server/discover", "tools/list", "tools/call"):
            for params in (None, {}, {"_meta": {}}, {"_meta": {"progressToken": 1}}):
                with self.subTest(method, params=params):
                    error = self.error(line(method, 1, params), -32602)
                    self.assertIn("initialize", error["message"])

    def test_no_ping_and_no_log_level(self):
        for method in ("ping", "logging/setLevel", "prompts/list"):
            self.error(modern(method), -32601)

    def test_modern_requests_beside_a_legacy_client(self):
        self.agree()
        self.assertEqual(self.answer(modern("tools/list"))["result"]["resultType"], "complete")
        self.assertNotIn("resultType", self.answer(line("tools/list"))["result"])

    def test_subscription(self):
        listen = self.only(modern("subscriptions/listen", 5,
                                  notifications={"toolsListChanged": True}))
        self.assertEqual(listen, Listen(5))
        self.assertEqual(self.session.acknowledgement(listen), {
            "jsonrpc": "2.0", "method": "notifications/subscriptions/acknowledged",
            "params": {"_meta": {"io.modelcontextprotocol/subscriptionId": 5},
                       "notifications": {}}})
        end = self.session.end_of_subscription(listen)
        self.assertEqual(end["id"], 5)
        self.assertEqual(end["result"]["resultType"], "complete")
        self.assertEqual(end["result"]["_meta"]["io.modelcontextprotocol/subscriptionId"], 5)

    def test_subscription_without_a_filter(self):
        self.error(modern("subscriptions/listen"), -32602)


class MessageTest(ProtocolTest):
    def test_unknown_methods_whatever_the_era(self):
        for data in (line("nope"), modern("nope")):
            self.error(data, -32601)
        self.agree()
        for method in ("nope", "resources/list", "prompts/list", "logging/setLevel",
                       "completion/complete", "tools/", "x" * 5000, ""):
            with self.subTest(method[:20]):
                self.assertLess(len(self.error(line(method), -32601)["message"]), 200)

    def test_ids_come_back_as_they_were(self):
        for request_id in (0, 1, -1, 2 ** 60, "", "0", "ü", "a" * 300):
            with self.subTest(request_id):
                self.assertEqual(self.answer(line("ping", request_id)),
                                 {"jsonrpc": "2.0", "id": request_id, "result": {}})

    def test_values_that_are_no_ids(self):
        for text in ("null", "true", "1.5", "[]", "{}"):
            with self.subTest(text):
                data = b'{"jsonrpc":"2.0","method":"ping","id":' + text.encode() + b"}"
                self.error(data, -32600, None)

    def test_wrong_requests(self):
        cases = {
            "version of JSON-RPC": (line("ping", jsonrpc="1.0"), 1),
            "no version of JSON-RPC": (b'{"id":1,"method":"ping"}', 1),
            "method is a number": (line(method=3), 1),
            "no method": (line(), 1),
            "nothing": (b"{}", None),
            "a string": (b'"ping"', None),
            "a number": (b"1", None),
            "null": (b"null", None),
            "only params": (b'{"params":{}}', None),
        }
        for name, (data, request_id) in cases.items():
            with self.subTest(name):
                self.error(data, -32600, request_id)

    def test_wrong_params(self):
        self.agree()
        for params in ([], "x", 1, True):
            with self.subTest(params=params):
                self.error(line("tools/list", 1, params), -32602)
                self.error(line("tools/list", 1, {"_meta": params}), -32602)
        self.assertIn("result", self.answer(
            b'{"jsonrpc":"2.0","id":1,"method":"tools/list","params":null}'))

    def test_cursor(self):
        self.agree()
        self.error(line("tools/list", 1, {"cursor": "next"}), -32602)
        self.assertIn("result", self.answer(line("tools/list", 1, {"cursor": None})))

    def test_wrong_calls(self):
        for params in ({}, {"name": 3}, {"name": None}, {"name": "nope"}, {"name": "Grade"},
                       {"name": "grade", "arguments": []}, {"name": "grade", "arguments": "x"},
                       {"name": "grade", "arguments": None}):
            with self.subTest(params=params):
                self.error(modern("tools/call", **params), -32602)
        self.assertEqual(self.error(modern("tools/call", name="nope"), -32602)["message"],
                         "Unknown tool: nope")

    def test_progress_tokens(self):
        for token, taken in ((0, 0), ("", ""), ("t", "t"), (7, 7), (None, None), (True, None),
                             (1.5, None), ([], None)):
            with self.subTest(token=token):
                meta = dict(MODERN, progressToken=token)
                call = self.only(line("tools/call", 1, {"name": "grade", "_meta": meta}))
                self.assertEqual(call.progress_token, taken)
                self.assertEqual(type(call.progress_token), type(taken))

    def test_notifications_are_never_answered(self):
        cases = [line("notifications/initialized", None), line("nope", None),
                 line("tools/call", None, {"name": "nope"}), line("initialize", None, {}),
                 line("ping", None, []), b'{"method":"notifications/initialized"}',
                 line("notifications/cancelled", None), line("notifications/cancelled", None, []),
                 line("notifications/cancelled", None, {}),
                 line("notifications/cancelled", None, {"requestId": [1]}),
                 line("notifications/cancelled", None, {"requestId": True})]
        for data in cases:
            with self.subTest(data=data):
                self.assertEqual(self.session.receive(data), [])

    def test_cancellation(self):
        for request_id in (0, "", "x", 9):
            data = line("notifications/cancelled", None, {"requestId": request_id, "reason": "r"})
            self.assertEqual(self.only(data), Cancel(request_id))

    def test_answers_to_what_nobody_asked(self):
        for data in (line(result={}), line(request_id="s", error={"code": 1, "message": "m"})):
            self.assertEqual(self.session.receive(data), [])


class LineTest(ProtocolTest):
    def test_byte_order_mark_and_line_ends(self):
        data = line("ping")
        for variant in (b"\xef\xbb\xbf" + data, data + b"\r", b"  " + data + b" \t\r",
                        b"\xef\xbb\xbf" + data + b"\r"):
            with self.subTest(variant=variant):
                self.assertEqual(self.answer(variant)["result"], {})

    def test_empty_lines_mean_nothing(self):
        for data in (b"", b"\r", b"   ", b"\t"):
            self.assertEqual(self.session.receive(data), [])

    def test_lines_that_are_no_json(self):
        cases = {
            "text": b"hello", "half": b'{"jsonrpc":"2.0"', "two": b"{}{}", "NaN": b'{"id":NaN}',
            "infinity": b"[-Infinity]", "invalid UTF-8": b'{"id":"\xff"}',
            "UTF-16": '{"id":1}'.encode("utf-16"), "a NUL": b"\0", "single quotes": b"{'id':1}",
            "deep": b"[" * 200000, "deep and whole": b"[" * 100000 + b"]" * 100000,
            "deep objects": b'{"a":' * 100000, "long number": b"9" * 100000,
            "number that every Python could read": b"9" * 2000,
            "control character": b'{"a":"\x01"}', "only a mark": b"\xef\xbb\xbf",
        }
        for name, data in cases.items():
            with self.subTest(name):
                message = self.error(data, -32700, None)["message"]
                self.assertTrue(message.startswith("Parse error: "), message)
                self.assertLess(len(message), 200)
        self.assertEqual(self.answer(line("ping"))["result"], {})  # and life goes on

    def test_line_that_was_too_long(self):
        self.error(None, -32600, None)

    def test_split_lines(self):
        cases = [
            ([b"a\nb\n"], [b"a", b"b"]), ([b"a\nb"], [b"a", b"b"]), ([], []), ([b"\n"], [b""]),
            ([b"a", b"b", b"c\nd"], [b"abc", b"d"]), ([b"a\n", b"\n", b"b"], [b"a", b"", b"b"]),
            ([b"12345\n"], [b"12345"]), ([b"123456\na\n"], [None, b"a"]),
            ([b"123", b"456", b"7\n", b"a"], [None, b"a"]), ([b"1234567890"], [None]),
            ([b"12345\n123456\n12345"], [b"12345", None, b"12345"]),
            ([b"1234567\n1234567\n"], [None, None]), ([b"a\r\n"], [b"a\r"]),
        ]
        for chunks, lines in cases:
            with self.subTest(chunks=chunks):
                self.assertEqual(list(protocol.split_lines(chunks, 5)), lines)

    def test_endless_line_is_not_kept(self):
        chunks = (b"x" * 65536 for _ in range(1000))
        self.assertEqual(list(protocol.split_lines(chunks, 1000)), [None])

    def test_encoded_messages_are_one_line_of_ascii(self):
        for text in ("a\nb", "\u2028\u2029\x85", "ü😀", "\ud800", "\udfff x", "\\ud800", '\\"',
                     "\ud83d", "\udcff"):
            with self.subTest(text=ascii(text)):
                data = protocol.encode({"text": text})
                self.assertEqual(data.count(b"\n"), 1)
                self.assertTrue(data.endswith(b"\n"))
                back = json.loads(data.decode("ascii"))["text"]
                back.encode("utf-8")  # no lone surrogate
                self.assertEqual(back, "".join(
                    "\ufffd" if "\ud800" <= c <= "\udfff" else c for c in text))

    def test_numbers_that_json_does_not_have_are_not_sent(self):
        with self.assertRaises(ValueError):
            protocol.encode({"score": float("nan")})


    def test_damaged_lines_of_any_kind(self):
        seeds = [line("initialize", 0, {"protocolVersion": "2025-03-26"}), modern("tools/list"),
                 modern("tools/call", 3, name="grade", arguments={"path": "\u00fc"}),
                 modern("subscriptions/listen", "s", notifications={}), line("ping"),
                 line("notifications/cancelled", None, {"requestId": 3}), modern("server/discover"),
                 b"[" + line("ping") + b"," + line("tools/call", 5, {"name": "rules"}) + b"]"]
        pieces = [b"null", b"[]", b"{}", b"1e999", b"-0", b'"', b"\\", b"\\ud800", b"\xff", b"\0",
                  b",", b":", b"true", b'"id"', b'"method"', b'"_meta"', b'"params"', b"[" * 50]
        chance = random.Random(20260728)
        for _ in range(4000):
            data = bytearray(chance.choice(seeds))
            for _ in range(chance.randint(1, 4)):
                start = chance.randrange(len(data) + 1)
                end = start + chance.choice((0, 0, 1, 2, 8, 40))
                data[start:end] = chance.choice(pieces + [bytes([chance.randrange(256)])])
            with self.subTest(data=bytes(data)):
                for action in self.session.receive(bytes(data)):
                    self.assertIsInstance(action, (Reply, Call, Cancel, Listen, Batch))
                    if isinstance(action, Reply):
                        self.assertTrue(protocol.encode(action.message).endswith(b"}\n"))


class BatchTest(ProtocolTest):
    def batch(self, *lines):
        return b"[" + b",".join(lines) + b"]"

    def test_batch_of_all_kinds(self):
        for version in ("2024-11-05", "2025-03-26"):
            self.agree(version)
            batch = self.only(self.batch(
                line("ping", 1), line("notifications/initialized", None), line("nope", 2), b"3",
                line("tools/call", "c", {"name": "grade"}),
                line("notifications/cancelled", None, {"requestId": "c"})))
            self.assertIsInstance(batch, Batch)
            kinds = [type(action) for action in batch.actions]
            self.assertEqual(kinds, [Reply, Reply, Reply, Call, Cancel])
            self.assertEqual([a.message["id"] for a in batch.actions[:3]], [1, 2, None])

    def test_batch_of_notifications_has_no_replies(self):
        self.agree("2025-03-26")
        batch = self.only(self.batch(line("notifications/initialized", None)))
        self.assertEqual(batch, Batch([]))

    def test_initialize_in_a_batch(self):
        self.agree("2025-03-26")
        batch = self.only(self.batch(line("initialize", 4, {"protocolVersion": "2025-11-25"})))
        self.assertEqual(batch.actions[0].message["error"]["code"], -32600)
        self.assertEqual(batch.actions[0].message["id"], 4)
        self.assertIsInstance(self.only(self.batch(line("ping"))), Batch)  # nothing was agreed

    def test_empty_and_too_large_batches(self):
        self.agree("2025-03-26")
        self.error(b"[]", -32600, None)
        self.error(self.batch(*[line("ping")] * 65), -32600, None)
        self.assertIsInstance(self.only(self.batch(*[line("ping")] * 64)), Batch)

    def test_no_batches_in_later_versions_or_before_any(self):
        self.error(self.batch(line("ping")), -32600, None)
        for version in ("2025-06-18", "2025-11-25"):
            self.agree(version)
            self.error(self.batch(line("ping")), -32600, None)


if __name__ == "__main__":
    unittest.main()
