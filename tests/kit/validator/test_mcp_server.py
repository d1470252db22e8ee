"""The server between pipes, with tools that do as they are told: threads, order, cancelling, ends.

Calls wait for the test, never for time.
"""

import json
import os
import signal
import subprocess
import sys
import tempfile
import threading
import unittest
import unittest.mock

from mcp_client import MODERN, PATIENCE, STANDING, Client, Process

sys.path.insert(0, STANDING)

from engine import mcp_protocol, mcp_server, mcp_tools  # noqa: E402


class ScriptedTools:
    """`wait` ends when the test says so or when it is cancelled, `local` does the same but counts
    as needing no network, `steps` reports what it is given, `fail` raises, `unsendable` says NaN,
    `echo` answers at once."""

    identity = {"name": "trevix", "version": "0"}
    instructions = "Facts."
    definitions = [{"name": name, "inputSchema": {"type": "object"}}
                   for name in ("wait", "local", "steps", "fail", "unsendable", "echo")]

    def __init__(self):
        self.gate = threading.Event()
        self.started = threading.Semaphore(0)
        self.cancelled = threading.Semaphore(0)
        self.names = []

    @staticmethod
    def is_local(name):
        return name == "local"

    @staticmethod
    def failure(text):
        return {"content": [{"type": "text", "text": text}], "isError": True}

    def run(self, name, arguments, progress, cancelled):
        self.names.append(arguments.get("as"))
        self.started.release()
        return getattr(self, name)(arguments, progress, cancelled)

    def wait(self, arguments, progress, cancelled):
        progress("waiting")
        while not self.gate.is_set() and not cancelled.is_set():
            cancelled.wait(0.001)
        if cancelled.is_set():
            progress("too late to tell")
            self.cancelled.release()
        return self.echo(arguments)

    def local(self, arguments, _progress, _cancelled):
        self.gate.wait(PATIENCE)
        return self.echo(arguments)

    def steps(self, arguments, progress, _cancelled):
        for step in arguments["steps"]:
            progress(step)
        return self.echo(arguments)

    def fail(self, _arguments, _progress, _cancelled):
        raise KeyError("the secret key abc123")

    def unsendable(self, _arguments, _progress, _cancelled):
        return {"content": [], "structuredContent": {"score": float("nan")}}

    @staticmethod
    def echo(arguments, *_):
        return {"content": [{"type": "text", "text": repr(arguments.get("as"))}],
                "isError": False}


class ServerTest(unittest.TestCase):
    def setUp(self):
        self.tools = ScriptedTools()
        from_client, to_server = os.pipe()
        from_server, to_client = os.pipe()
        ours = os.fdopen(from_client, "rb"), os.fdopen(to_client, "wb")
        self.client = Client(os.fdopen(to_server, "wb"), os.fdopen(from_server, "rb"))
        self.status = []

        def serve():
            self.status.append(mcp_server.serve(*ours, tools=self.tools))
            for stream in ours:  # the process would end here
                stream.close()

        self.server = threading.Thread(target=serve, daemon=True)
        self.server.start()
        self.addCleanup(self.finish)

    def finish(self):
        self.tools.gate.set()
        try:
            self.client.to_server.close()
        except OSError:
            pass
        self.assert_ended()
        self.client._reader.join(PATIENCE)
        self.client.close()

    def assert_ended(self):
        self.server.join(PATIENCE)
        self.assertFalse(self.server.is_alive())
        self.assertEqual(self.status, [0])

    def start(self, name="wait", **arguments):
        """A call that has begun to run; its id."""
        request_id = self.client.request("tools/call", name=name, arguments=arguments)
        self.assertTrue(self.tools.started.acquire(timeout=PATIENCE))
        return request_id

    def assert_text(self, message, text):
        self.assertEqual(message["result"]["content"][0]["text"], text)

    def test_other_requests_are_answered_while_a_call_runs(self):
        running = self.start(**{"as": "a"})
        self.assertEqual(len(self.client.result("tools/list")["tools"]), 6)
        self.assert_text(self.client.ask("tools/call", name="echo", arguments={"as": "b"}), "'b'")
        self.tools.gate.set()
        self.assert_text(self.client.answer(running), "'a'")
        self.assertEqual(self.client.early, [])

    def test_progress_grows_and_comes_before_the_result(self):
        for token in (0, 7, "", "token"):
            self.client.early.clear()
            self.client.call("steps", token=token, steps=["one", "two", "three"])
            self.assertEqual(self.client.early, [
                {"jsonrpc": "2.0", "method": "notifications/progress",
                 "params": {"progressToken": token, "progress": n, "message": text}}
                for n, text in enumerate(["one", "two", "three"], 1)])

    def test_no_progress_without_a_token(self):
        self.client.call("steps", steps=["one", "two"])
        self.assertEqual(self.client.early, [])

    def test_cancelled_call_stops_and_says_nothing_more(self):
        running = self.client.request("tools/call", token="t", name="wait", arguments={})
        self.assertEqual(self.client.next()["method"], "notifications/progress")
        self.client.notify("notifications/cancelled", requestId=running, reason="no more need")
        self.assertTrue(self.tools.cancelled.acquire(timeout=PATIENCE))
        self.client.result("tools/list")
        self.assertEqual(self.client.early, [])
        self.assertEqual(self.client.rest(), [])

    def test_id_of_a_cancelled_call_is_free_again(self):
        running = self.start()
        self.client.notify("notifications/cancelled", requestId=running)
        self.client.request("tools/call", running, name="echo", arguments={"as": "again"})
        self.assert_text(self.client.answer(running), "'again'")

    def test_cancelling_what_is_unknown_or_done_means_nothing(self):
        done = self.client.request("tools/call", name="echo", arguments={})
        self.client.answer(done)
        running = self.start()
        for request_id in (done, "nope", str(running), -1):
            self.client.notify("notifications/cancelled", requestId=request_id)
        self.client.result("tools/list")
        self.tools.gate.set()
        self.assertIn("result", self.client.answer(running))

    def test_id_zero(self):
        self.client.request("tools/call", 0, name="wait", arguments={})
        self.client.notify("notifications/cancelled", requestId=0)
        self.assertTrue(self.tools.cancelled.acquire(timeout=PATIENCE))
        self.client.request("tools/call", 0, name="echo", arguments={})
        self.assertIn("result", self.client.answer(0))

    def test_id_in_use_is_refused_and_the_first_call_goes_on(self):
        running = self.start(**{"as": "first"})
        self.client.request("tools/call", running, name="echo", arguments={"as": "second"})
        self.assertEqual(self.client.answer(running)["error"]["code"], -32600)
        self.tools.gate.set()
        self.assert_text(self.client.answer(running), "'first'")

    def test_so_many_calls_run_and_the_others_wait(self):
        running = [self.start(**{"as": n}) for n in range(mcp_server.MOST_RUNNING)]
        waiting = [self.client.request("tools/call", name="wait", arguments={"as": "w%d" % n})
                   for n in range(mcp_server.MOST_WAITING)]
        refused = self.client.call("echo")
        self.assertTrue(refused["isError"])
        self.assertIn("in progress", refused["content"][0]["text"])
        self.assertEqual(sorted(self.tools.names), list(range(mcp_server.MOST_RUNNING)))
        self.client.notify("notifications/cancelled", requestId=waiting[3])
        self.client.result("tools/list")
        self.tools.gate.set()
        expected = set(running + waiting) - {waiting[3]}
        self.assertEqual({self.client.next()["id"] for _ in expected}, expected)
        self.assertNotIn("w3", self.tools.names)
        self.assertEqual(self.client.rest(), [])

    def test_waiting_calls_run_in_their_order(self):
        running = [self.start() for _ in range(mcp_server.MOST_RUNNING)]
        later = [self.client.request("tools/call", name="echo", arguments={"as": n})
                 for n in range(10)]
        self.client.result("tools/list")
        # One place alone, or several calls would run at once and be answered in any order.
        self.client.notify("notifications/cancelled", requestId=running[3])
        self.assertEqual([self.client.next()["id"] for _ in later], later)
        self.assertEqual([n for n in self.tools.names if n is not None], list(range(10)))

    def test_defect_of_a_tool_is_an_error_that_quotes_nothing(self):
        error = self.client.ask("tools/call", name="fail", arguments={})["error"]
        self.assertEqual(error, {"code": -32603, "message": "Internal error: KeyError in fail"})
        self.assertIn("result", self.client.ask("tools/call", name="echo", arguments={}))

    def test_result_that_cannot_be_sent(self):
        answer = self.client.ask("tools/call", name="unsendable", arguments={})
        self.assertEqual(answer["error"]["code"], -32603)

    def test_end_of_input_ends_calls_and_server(self):
        self.start()
        self.assertEqual(self.client.rest(), [])
        self.assert_ended()
        self.assertTrue(self.tools.cancelled.acquire(timeout=PATIENCE))

    def test_end_of_input_lets_a_short_call_answer(self):
        short = self.start("local", **{"as": "short"})
        self.start(**{"as": "long"})
        self.client.to_server.close()
        self.assertTrue(self.tools.cancelled.acquire(timeout=PATIENCE))
        self.tools.gate.set()
        self.assert_text(self.client.answer(short), "'short'")
        self.assertIsNone(self.client.next())

    def test_last_line_without_its_end(self):
        self.client.write(b'{"jsonrpc":"2.0","id":1,"method":"nope"}')
        self.assertEqual([m["id"] for m in self.client.rest()], [1])

    def test_parse_errors_and_then_life_goes_on(self):
        self.client.write(b"what\n\xff\xfe\n\xef\xbb\xbf{}\r\n\n[[[\n")
        codes = [self.client.next()["error"]["code"] for _ in range(4)]
        self.assertEqual(codes, [-32700, -32700, -32600, -32700])
        self.assertIn("result", self.client.ask("tools/list"))

    def test_line_that_is_too_long(self):
        piece = b"x" * (1 << 20)
        for _ in range(mcp_protocol.LONGEST_LINE // len(piece) + 1):
            self.client.write(piece)
        self.client.write(b"\n")
        message = self.client.next()
        self.assertEqual((message["id"], message["error"]["code"]), (None, -32600))
        self.assertIn("result", self.client.ask("tools/list"))

    def test_long_line_that_is_not_too_long(self):
        name = "n" * (mcp_protocol.LONGEST_LINE - 1000)
        text = self.client.call("echo", **{"as": name})["content"][0]["text"]
        self.assertEqual(text, repr(name))

    def test_batch_is_answered_by_one_array_when_all_is_done(self):
        self.client.open_legacy("2025-03-26")
        call = {"name": "wait", "arguments": {"as": "x"}}
        self.client.send([
            {"jsonrpc": "2.0", "id": 1, "method": "ping"},
            {"jsonrpc": "2.0", "id": "w", "method": "tools/call", "params": call},
            {"jsonrpc": "2.0", "id": "c", "method": "tools/call", "params": call},
            {"jsonrpc": "2.0", "method": "notifications/cancelled", "params": {"requestId": "c"}},
            {"jsonrpc": "2.0", "id": 2, "method": "nope"}])
        self.client.result("tools/list")
        self.assertEqual(self.client.early, [])
        self.tools.gate.set()
        batch = self.client.next()
        self.assertEqual({m["id"]: "error" in m for m in batch}, {1: False, "w": False, 2: True})
        self.client.send([{"jsonrpc": "2.0", "method": "notifications/initialized"}])
        self.assertEqual(self.client.rest(), [])

    def test_batch_whose_only_call_is_cancelled_is_not_answered(self):
        self.client.open_legacy("2025-03-26")
        self.client.send([{"jsonrpc": "2.0", "id": 1, "method": "tools/call",
                           "params": {"name": "wait"}}])
        self.client.notify("notifications/cancelled", requestId=1)
        self.client.result("tools/list")
        self.assertEqual((self.client.early, self.client.rest()), ([], []))

    def test_subscription_is_held_until_the_end(self):
        listen = self.client.request("subscriptions/listen", notifications={})
        key = "io.modelcontextprotocol/subscriptionId"
        self.assertEqual(self.client.next()["params"]["_meta"], {key: listen})
        self.assertIn("result", self.client.ask("tools/list"))
        end, = self.client.rest()
        self.assertEqual((end["id"], end["result"]["_meta"][key]), (listen, listen))

    def test_cancelled_subscription_hears_nothing_more(self):
        listen = self.client.request("subscriptions/listen", notifications={})
        self.client.next()
        self.client.notify("notifications/cancelled", requestId=listen)
        self.assertEqual(self.client.rest(), [])

    def test_only_so_many_subscriptions(self):
        for n in range(mcp_server.MOST_SUBSCRIPTIONS):
            self.client.request("subscriptions/listen", "s%d" % n, notifications={})
            self.assertIn("method", self.client.next())
        self.client.request("subscriptions/listen", "more", notifications={})
        self.assertEqual(self.client.next()["id"], "more")
        self.client.request("subscriptions/listen", "s1", notifications={})
        self.assertEqual(self.client.next()["error"]["code"], -32600)


class ScriptedSink:
    """Writes with the function that it is given; `closed` says whether it is."""

    def __init__(self, write):
        self.write = write
        self.closed = False

    def close(self):
        self.closed = True


class OutletTest(unittest.TestCase):
    """What happens with a client that reads nothing, and with one that is gone."""

    def test_unread_messages_have_an_end(self):
        stuck, broken = threading.Event(), threading.Event()
        self.addCleanup(stuck.set)
        sink = ScriptedSink(lambda line: stuck.wait(PATIENCE))
        outlet = mcp_server.Outlet(sink, broken.set, patience=0.001)
        for _ in range(mcp_server.MOST_UNREAD + 2):
            outlet.send({})
        self.assertTrue(broken.is_set())
        outlet.send({})  # goes nowhere, and waits for nothing

    def test_a_server_whose_client_reads_nothing_ends(self):
        """The thread that decides is the one that finds out that nothing is read."""
        stuck = threading.Event()
        self.addCleanup(stuck.set)
        sink = ScriptedSink(lambda line: stuck.wait(PATIENCE))
        ping = b'{"jsonrpc":"2.0","id":%d,"method":"ping"}\n'
        chunks = (ping % number for number in range(4 * mcp_server.MOST_UNREAD))
        with unittest.mock.patch.object(mcp_server, "UNREAD_PATIENCE", 0.001), \
                unittest.mock.patch.object(mcp_server, "LAST_WORDS", 0.001), \
                unittest.mock.patch.object(mcp_server.Outlet.__init__, "__defaults__", (0.001,)):
            server = mcp_server.Server(mcp_tools.Tools(), chunks, sink)
            running = threading.Thread(target=server.run, daemon=True)
            running.start()
            running.join(PATIENCE)
        self.assertFalse(running.is_alive())

    def test_broken_stream_is_told_once(self):
        told = threading.Semaphore(0)

        def write(_line):
            raise BrokenPipeError

        outlet = mcp_server.Outlet(ScriptedSink(write), told.release)
        for _ in range(5):
            outlet.send({})
        outlet.close(PATIENCE)
        self.assertTrue(told.acquire(timeout=PATIENCE))
        self.assertFalse(told.acquire(blocking=False))

    def test_pipe_that_takes_a_few_bytes_at_a_time(self):
        read_end, write_end = os.pipe()
        write = os.write
        with unittest.mock.patch.object(mcp_server.os, "write",
                                        lambda target, line: write(target, line[:3])):
            sink = mcp_server.Sink(write_end)
            sink.write(b'{"jsonrpc":"2.0"}\n')
            sink.close()
        with os.fdopen(read_end, "rb") as stream:
            self.assertEqual(stream.read(), b'{"jsonrpc":"2.0"}\n')

    def test_all_is_written_before_it_closes(self):
        lines = []
        sink = ScriptedSink(lines.append)
        outlet = mcp_server.Outlet(sink, self.fail)
        for n in range(100):
            outlet.send({"n": n})
        outlet.close(PATIENCE)
        self.assertEqual(lines, [b'{"n":%d}\n' % n for n in range(100)])
        self.assertTrue(sink.closed)


SCRIPT = """
import os, sys, threading
sys.path.insert(0, {standing!r})
from engine import mcp_server

class Tools:
    identity = {{"name": "trevix", "version": "0"}}
    instructions = "Facts."
    definitions = [{{"name": "noisy", "inputSchema": {{"type": "object"}}}},
                   {{"name": "hang", "inputSchema": {{"type": "object"}}}}]
    is_local = staticmethod(lambda name: False)

    def run(self, name, arguments, progress, cancelled):
        if name == "hang":
            progress("hanging")
            threading.Event().wait()  # not even cancelling ends it
        print("stray")
        sys.stdout.flush()
        os.write(1, b"stray\\n")
        os.system("echo stray; cat")
        return {{"content": []}}

sys.exit(mcp_server.serve(sys.stdin.buffer, sys.stdout.buffer, Tools()))
"""


class ProcessTest(unittest.TestCase):
    """What only a process of its own shows: its standard streams, signals and its end."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = folder.name

    def server(self, script=SCRIPT):
        process = Process(["-c", script.format(standing=STANDING)], self.home)
        self.addCleanup(process.close)
        return process

    def test_what_is_printed_by_accident_is_no_message(self):
        server = self.server()
        self.assertEqual(server.call("noisy")["content"], [])
        self.assertEqual(server.early, [])
        self.assertEqual(server.rest(), [])
        status, errors = server.end()
        self.assertEqual((status, errors.split()), (0, [b"stray"] * 3))

    def test_end_of_input_while_a_call_hangs(self):
        server = self.server()
        server.request("tools/call", token=1, name="hang", arguments={})
        server.next()
        self.assertEqual(server.rest(), [])
        self.assertEqual(server.end(), (0, b""))

    def test_client_that_closes_its_reading_end(self):
        script = SCRIPT.format(standing=STANDING)
        call = {"jsonrpc": "2.0", "id": 1, "method": "tools/call",
                "params": {"name": "hang", "_meta": dict(MODERN, progressToken=1)}}
        with subprocess.Popen([sys.executable, "-B", "-c", script], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE) as server:
            self.addCleanup(server.kill)
            server.stdin.write(json.dumps(call).encode() + b"\n")
            server.stdin.flush()
            self.assertIn(b"hanging", server.stdout.readline())
            server.stdout.close()
            server.stdin.write(b"what\n")
            server.stdin.flush()
            self.assertEqual(server.wait(timeout=PATIENCE), 0)
            self.assertEqual(server.stderr.read(), b"")

    def test_interrupt_ends_it_quietly(self):
        server = self.server()
        server.result("tools/list")
        server.process.send_signal(signal.SIGINT)
        self.assertEqual(server.end(), (-signal.SIGINT, b""))

    def test_streams_closed_from_the_start(self):
        script = "import os\nfor n in (0, 1, 2):\n    os.close(n)\n" + SCRIPT
        server = self.server(script)
        self.assertEqual(server.end()[1], b"")


if __name__ == "__main__":
    unittest.main()
