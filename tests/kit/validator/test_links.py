"""Connections: they end in time, and know whom they reach."""

import hashlib
import hmac
import json
import os
import shutil
import socket
import tempfile
import threading
import time
import unittest
from unittest import mock

import surroundings
from surroundings import FaultServer
from engine import client, grading, links, reachability, settings, standing, transport
from engine.parts import Part, from_text

LOCAL_KEY = links.PROVED_KEYS + "0123456789abcdefABCDEF"


def dripping(data, every=0.02):
    """A step: one byte after the other, for ever."""
    def step(connection, _):
        connection.sendall(data)
        try:
            while True:
                connection.sendall(b"x")
                time.sleep(every)
        except OSError:
            return None
    return step


class Talker:
    """Serves whole conversations: several requests on one connection, each answered by `say`."""

    def __init__(self, listener, say):
        self.seen = []
        self._listener, self._say = listener, say
        threading.Thread(target=self._accept, daemon=True).start()

    def _accept(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        try:
            self._talk(connection)
        except OSError:
            pass  # whoever asked has heard enough

    def _talk(self, connection):
        with connection:
            while True:
                seen = surroundings._read_request(connection)
                if seen is None:
                    return
                self.seen.append(seen)
                body = self._say(seen, connection)
                if body is None:
                    return
                connection.sendall("HTTP/1.1 200 OK\r\nContent-Length: {}\r\n\r\n".format(
                    len(body)).encode() + body)


def proved(key):
    """Answers the question for the proof as whoever holds `key`; anything else with an object."""
    def say(seen, connection):
        if not seen.target.startswith(links.PROOF_PATH):
            return b'{"n": 1}'
        nonce = seen.target[len(links.PROOF_PATH):]
        host, port = connection.getsockname()[:2]
        message = "trevix-local proof\n{}\n{}:{}\n".format(nonce, host, port)
        return json.dumps({"proof": hmac.new(key.encode(), message.encode(),
                                             hashlib.sha256).hexdigest()}).encode()
    return say


class LinkTest(unittest.TestCase):
    def setUp(self):
        self.folder = os.path.realpath(tempfile.mkdtemp(prefix="link-"))
        self.addCleanup(shutil.rmtree, self.folder, True)

    def listen(self, say, family=socket.AF_INET, address=("127.0.0.1", 0)):
        listener = socket.socket(family)
        self.addCleanup(listener.close)
        listener.bind(address)
        listener.listen(8)
        self.address = listener.getsockname()
        return Talker(listener, say)

    def send(self, base, key="the-key", until=None, method="GET", path="/api/v1/x", body=None):
        made = settings.Settings(self.folder, base, key)
        request = transport.Request(method, base + path, {"Authorization": "Bearer " + key}, body)
        return transport.send(request, made, until)

    def http(self):
        return "http://127.0.0.1:{}".format(self.address[1])


class DripTest(LinkTest):
    """The time that is given holds, whatever the other side does."""

    def test_a_service_that_drips_does_not_hold_an_exchange_beyond_its_time(self):
        head = b"HTTP/1.1 200 X\r\n"
        for name, step in (
                ("a body", dripping(head + b"Content-Length: 100000\r\n\r\n")),
                ("a head", dripping(head + b"A: ")), ("a status", dripping(b"HTTP/1.1 200 ")),
                ("chunks", dripping(head + b"Transfer-Encoding: chunked\r\n\r\nfffff\r\n"))):
            with self.subTest(name), FaultServer(step) as server:
                start = time.monotonic()
                self.assertIsNone(self.send(server.base, until=start + 0.15))
                self.assertLess(time.monotonic() - start, 5)

    def test_a_wait_ends_with_the_exchange(self):
        # By the clock alone: the time is over before the byte is waited for.
        left, right = socket.socketpair()
        self.addCleanup(right.close)
        kind = links.timed(socket.socket, 30.0, 10.0, clock=lambda: 10.0)
        with kind(fileno=left.detach()) as made:
            right.sendall(b"x")
            with self.assertRaises(socket.timeout):
                made.recv_into(bytearray(1))

    def test_interim_answers_without_end_are_one_wait_too(self):
        def forever(connection, _):
            try:
                while True:
                    connection.sendall(b"HTTP/1.1 100 Continue\r\n\r\n")
                    time.sleep(0.01)
            except OSError:
                return None
        with FaultServer(forever) as server:
            start = time.monotonic()
            self.assertIsNone(self.send(server.base, until=start + 0.15))
            self.assertLess(time.monotonic() - start, 5)


class CommandTest(surroundings.HomeTest):
    def test_the_time_that_a_command_is_given_holds_against_drops(self):
        name = self.write("a.txt", "work")
        with FaultServer(dripping(b"HTTP/1.1 200 X\r\nContent-Length: 99999\r\n\r\n")) as server:
            start = time.monotonic()
            code, out, _ = self.run_kit("grade", "--timeout", "0.4", name, BRASK_API_KEY="k",
                                        BRASK_API_BASE=server.base)
            self.assertLess(time.monotonic() - start, 20)
        self.assertEqual(code, 3)
        self.assertIn(b"grade timed out", out)


class SocketTest(LinkTest):
    def setUp(self):
        super().setUp()
        self.path = os.path.join(self.folder, "a b", "api.sock")
        os.mkdir(os.path.dirname(self.path))
        self.base = "http+unix://" + self.path.replace("/", "%2F").replace(" ", "%20")

    def test_a_service_at_a_socket_is_asked_without_a_proof(self):
        talker = self.listen(proved(LOCAL_KEY), socket.AF_UNIX, self.path)
        for base, target in ((self.base, "/api/v1/x"), (self.base + "/sub", "/sub/api/v1/x"),
                             (self.base.replace("http+unix", "HTTP+Unix"), "/api/v1/x")):
            found = self.send(base, LOCAL_KEY, method="POST", body=b"{}")
            self.assertEqual((found.status, found.body), (200, b'{"n": 1}'))
            seen = talker.seen.pop()
            self.assertEqual((seen.method, seen.target, seen.headers["host"], seen.body),
                             ("POST", target, "localhost", b"{}"))
            self.assertEqual(seen.headers["authorization"], "Bearer " + LOCAL_KEY)
            self.assertEqual(talker.seen, [])

    def test_no_proxy_is_asked_for_a_socket(self):
        self.listen(proved(LOCAL_KEY), socket.AF_UNIX, self.path)
        with mock.patch.dict(os.environ, {"http_proxy": "http://127.0.0.1:1", "no_proxy": ""}):
            self.assertIsNotNone(self.send(self.base))

    def test_a_stranger_at_the_socket_is_sent_nothing(self):
        talker = self.listen(proved(LOCAL_KEY), socket.AF_UNIX, self.path)
        for user in (os.getuid() + 1, None):
            with mock.patch.object(links, "peer_user", lambda _: user):
                self.assertIsNone(self.send(self.base))
        self.assertEqual(talker.seen, [])

    def test_the_users_own_process_and_roots_are_no_strangers(self):
        for user in (os.getuid(), 0):
            with mock.patch.object(links, "peer_user", lambda _: user):
                self.assertTrue(links.peer_is_ours(None))

    @unittest.skipUnless(hasattr(socket, "SO_PEERCRED"), "told in another way here")
    def test_the_system_tells_who_is_at_the_other_end(self):
        left, right = socket.socketpair()
        with left, right:
            self.assertEqual(links.peer_user(left), os.getuid())

    def test_an_address_that_no_socket_can_have_reaches_nobody_and_is_explained(self):
        for address, words in (("http+unix://relative.sock", "absolute"),
                               ("http+unix://%2Fa%00b", "NUL"), ("http+unix://", "absolute"),
                               ("http+unix://" + "%2Fabcdefghi" * 12, "at most"),
                               ("http://service.test", "only https")):
            made = settings.Settings(self.folder, address, "the-key")
            outcome = grading.grade(from_text("work", "text"), made, standing.load())
            self.assertEqual(outcome.reason, client.UNREACHABLE)
            self.assertTrue(any(words in note for note in outcome.notes), address)

    def test_redirects_stay_at_the_socket(self):
        where = []

        def say(seen, connection):
            if seen.target != "/api/v1/x":
                return b'{"n": 2}'
            connection.sendall("HTTP/1.1 302 X\r\nLocation: {}\r\nContent-Length: 0\r\n\r\n".format(
                where[0]).encode())
            return None
        talker = self.listen(say, socket.AF_UNIX, self.path)
        where.append("/elsewhere?a=b")
        self.assertEqual(self.send(self.base).body, b'{"n": 2}')
        self.assertEqual(talker.seen[-1].target, "/elsewhere?a=b")
        for other in ("http://localhost/elsewhere", "http://127.0.0.1:1/x", "//other/x",
                      "http+unix://%2Ftmp%2Fother.sock/x"):
            where[0] = other
            talker.seen.clear()
            found = self.send(self.base)
            self.assertEqual(found.status, 302)
            self.assertEqual(len(talker.seen), 1)

    def test_a_socket_on_which_nobody_listens_is_known_to_be_down(self):
        self.assertTrue(reachability._refuses(self.base))
        self.listen(proved(LOCAL_KEY), socket.AF_UNIX, self.path)
        self.assertFalse(reachability._refuses(self.base))


class ProofTest(LinkTest):
    def test_who_knows_the_key_gets_it_on_the_same_connection(self):
        connections = []

        def say(seen, connection):
            connections.append(connection.fileno())
            return proved(LOCAL_KEY)(seen, connection)
        talker = self.listen(say)
        self.assertEqual(self.send(self.http(), LOCAL_KEY, method="POST", body=b"{}").status, 200)
        question, request = talker.seen
        self.assertRegex(question.target, r"^/api/v1/proof\?nonce=[0-9a-f]{64}$")
        self.assertNotIn("authorization", question.headers)
        self.assertEqual(request.headers["authorization"], "Bearer " + LOCAL_KEY)
        self.assertEqual(len(set(connections)), 1)

    def test_the_question_is_another_one_each_time(self):
        talker = self.listen(proved(LOCAL_KEY))
        for _ in range(2):
            self.send(self.http(), LOCAL_KEY)
        self.assertEqual(len({seen.target for seen in talker.seen[::2]}), 2)

    def test_who_does_not_is_sent_nothing_else(self):
        def echo(seen, _):
            return json.dumps({"proof": seen.target[-64:]}).encode()

        for say in (proved("trevix_local_another"), echo, lambda *_: b"{}", lambda *_: None,
                    lambda *_: b'{"proof": ""}', lambda *_: b"x" * 100000, lambda *_: b"[]"):
            talker = self.listen(say)
            self.assertIsNone(self.send(self.http(), LOCAL_KEY, method="POST", body=b"{}"))
            self.assertEqual(len(talker.seen), 1)
            self.assertEqual(talker.seen[0].method, "GET")

    def test_a_proof_for_another_address_is_none(self):
        def handed_on(seen, connection):
            host, _ = connection.getsockname()[:2]
            nonce = seen.target[len(links.PROOF_PATH):]
            return json.dumps({"proof": links.proof(LOCAL_KEY, nonce, host + ":8797")}).encode()
        talker = self.listen(handed_on)
        self.assertIsNone(self.send(self.http(), LOCAL_KEY))
        self.assertEqual(len(talker.seen), 1)

    def test_the_proof_is_the_agreed_one(self):
        nonce = "0f" * 32
        self.assertEqual(links.proof("trevix_local_key", nonce, "[::1]:8797"), hmac.new(
            b"trevix_local_key", b"trevix-local proof\n" + nonce.encode() + b"\n[::1]:8797\n",
            hashlib.sha256).hexdigest())

    def test_other_keys_go_without_a_question(self):
        for key in ("the-key", "trevix_0123456789abcdef"):
            talker = self.listen(proved(key))
            self.assertEqual(self.send(self.http(), key).status, 200)
            self.assertEqual([seen.target for seen in talker.seen], ["/api/v1/x"])

    def test_a_whole_grade_proves_each_connection(self):
        def say(seen, connection):
            if seen.target.startswith(links.PROOF_PATH):
                return proved(LOCAL_KEY)(seen, connection)
            if seen.method == "POST":
                return b'{"job_id": "j1"}'
            return b'{"status": "failed", "error": "no"}'
        talker = self.listen(say)
        made = settings.Settings(self.folder, self.http(), LOCAL_KEY)
        verdict = client.grade([Part("text/plain", "a", "b")], "text", settings=made)
        self.assertEqual(verdict.error, "no")
        self.assertEqual([seen.method for seen in talker.seen], ["GET", "POST", "GET", "GET"])


if __name__ == "__main__":
    unittest.main()
