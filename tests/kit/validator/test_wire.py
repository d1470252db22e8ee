"""The client over real sockets, against a server that misbehaves on purpose."""

import json
import threading
import time
import unittest

import surroundings
from surroundings import FaultServer, answer, closed_port, half_body, raw, reset, silence
from engine import client, settings, transport
from engine.parts import Part
from engine.verdict import failure

SUBMITTED = {"job_id": "j1"}
SHIPPED = {"status": "completed", "run_id": "r1",
           "result_summary": {"band": "ship", "score": 0.9, "flaws": [{"severity": "low"}]}}
UNREACHABLE = failure(client.UNREACHABLE)


class Impatient(threading.Event):
    """A cancel event that does not wait between polls."""

    def wait(self, timeout=None):
        return self.is_set()


class WireTest(unittest.TestCase):
    def settings(self, base, **more):
        return settings.Settings("/nowhere", base, "the-key")._replace(**more)

    def grade(self, base, **more):
        made = more.pop("settings", None) or self.settings(base)
        return client.grade([Part("text/plain", "sel", "wörk")], "text", intent="Validate this.",
                            settings=made, cancel=Impatient(), **more)

    def get(self, url, timeout=5.0, until=None, **more):
        return transport.send(transport.Request("GET", url, {"Authorization": "Bearer the-key"},
                                                None, timeout), self.settings("", **more), until)

    def test_a_grade_goes_over_the_wire_as_stated(self):
        with FaultServer(answer(202, SUBMITTED), answer(200, SHIPPED)) as server:
            verdict = self.grade(server.base)
        self.assertTrue(verdict.clears)
        first, second = server.requests
        self.assertEqual((first.method, first.target), ("POST", "/api/v1/eval/jobs"))
        self.assertEqual((second.method, second.target), ("GET", "/api/v1/eval/jobs/j1"))
        self.assertEqual(first.headers["authorization"], "Bearer the-key")
        self.assertEqual(first.headers["accept"], "application/json")
        self.assertEqual(first.headers["user-agent"], "Kelvane-Companion")
        self.assertEqual(first.headers["content-type"], "application/json")
        self.assertNotIn("content-type", second.headers)
        self.assertEqual(first.json()["artifact_parts"][0]["text"], "wörk")

    def test_every_bad_answer_to_a_submission_has_its_verdict(self):
        body = json.dumps(SUBMITTED).encode()
        not_authorized = "not authorized — check your Trevix key (HTTP {})"
        cases = [
            ("401", answer(401, b""), not_authorized.format(401)),
            ("403 with a detail", answer(403, {"detail": "x"}), not_authorized.format(403)),
            ("404", answer(404, {"error": "there is nothing"}), "there is nothing"),
            ("429", answer(429, {"error": "too many"}, "Retry-After: 5"), "too many"),
            ("500 HTML", answer(500, b"<html>oops</html>"), "eval API error (HTTP 500)"),
            ("500 with a detail", answer(500, {"detail": "why"}), "why"),
            ("success that is HTML", answer(200, b"<html>"), client.UNREACHABLE),
            ("success that is a list", answer(200, []), client.UNREACHABLE),
            ("no content", answer(204, b""), client.UNREACHABLE),
            ("half a body", half_body(body), client.UNREACHABLE),
            ("less than announced, though whole by itself",
             raw(b"HTTP/1.1 200 X\r\nContent-Length: 99\r\n\r\n" + body), client.UNREACHABLE),
            ("half a chunk", raw(b"HTTP/1.1 200 X\r\nTransfer-Encoding: chunked\r\n\r\n40\r\n{"),
             client.UNREACHABLE),
            ("half a head", raw(b"HTTP/1.1 200 X\r\nContent-Le"), client.UNREACHABLE),
            ("no HTTP", raw(b"SSH-2.0-x\r\n"), client.UNREACHABLE),
            ("nothing", raw(b""), client.UNREACHABLE),
            ("reset", reset, client.UNREACHABLE),
            ("a huge head", raw(b"HTTP/1.1 200 X\r\nA: " + b"x" * 200000 + b"\r\n\r\n{}"),
             client.UNREACHABLE),
        ]
        for name, step, error in cases:
            with self.subTest(name), FaultServer(step) as server:
                verdict = self.grade(server.base)
                self.assertEqual(verdict._replace(status=None), failure(error))
                self.assertEqual(len(server.requests), 1, "a POST is never sent twice")

    def test_a_silent_server_is_unreachable(self):
        with FaultServer(silence) as server:
            self.assertIsNone(self.get(server.base, timeout=0.05))

    def test_a_hard_deadline_ends_a_silent_submission(self):
        with FaultServer(silence) as server:
            self.assertEqual(self.grade(server.base, hard=True, deadline=0.05),
                             failure("grade timed out after 0s"))

    def test_an_answer_that_trickles_past_the_deadline_is_none(self):
        def trickle(connection, _):
            connection.sendall(b"HTTP/1.1 200 X\r\nContent-Length: 9000000\r\n\r\n")
            while True:
                connection.sendall(b"x" * 65536)
                time.sleep(0.002)
        with FaultServer(trickle) as server:
            self.assertIsNone(self.get(server.base, until=time.monotonic() + 0.02))

    def test_a_closed_port_is_unreachable(self):
        self.assertEqual(self.grade("http://127.0.0.1:{}".format(closed_port())), UNREACHABLE)

    def test_addresses_that_are_none_are_unreachable(self):
        for base in ("", "x", "http://", "http://[", "http://127.0.0.1:x", "ftp://127.0.0.1",
                     "file:///etc/passwd", "http://a b", "https://u:p@127.0.0.1", "http:///x",
                     "https://x.test\r\nX: y", "http://127.0.0.1:99999"):
            with self.subTest(base):
                self.assertEqual(self.grade(base), UNREACHABLE)

    def test_plain_http_is_for_the_loopback_alone(self):
        for url, may in (("http://127.0.0.1:1", True), ("http://localhost", True),
                         ("http://[::1]:9", True), ("http://127.9.9.9", True),
                         ("http://service.test", False), ("http://10.0.0.1", False),
                         ("http://127.0.0.1.evil.test", False),
                         ("http://localhost.evil.test", False),
                         ("http://0.0.0.0", False), ("https://service.test", True),
                         ("http://127.0.0.1@evil.test", False), ("ws://127.0.0.1", False)):
            self.assertEqual(transport.may_send_to(url), may, url)

    def test_a_key_with_a_line_break_reaches_nobody_and_no_text(self):
        for key in ("s3cret\r\nX-Other: y", "s3cret\r\n folded", "s3cret\n", "s3\0cret"):
            with FaultServer(answer(200, SUBMITTED)) as server:
                made = self.settings(server.base, key=key)
                self.assertEqual(self.grade(server.base, settings=made), UNREACHABLE)
            self.assertEqual(server.requests, [])

    def test_a_key_outside_latin_1_goes_as_its_bytes(self):
        with FaultServer(answer(200, SUBMITTED), answer(200, SHIPPED)) as server:
            self.grade(server.base, settings=self.settings(server.base, key="ключ"))
        sent = server.requests[0].headers["authorization"]
        self.assertEqual(sent.encode("latin-1").decode("utf-8"), "Bearer ключ")

    def test_a_redirect_within_the_origin_is_followed(self):
        steps = (answer(307, b"", "Location: /elsewhere"), answer(202, SUBMITTED),
                 answer(302, b"", "Location: ?again#part"), answer(200, SHIPPED))
        with FaultServer(*steps) as server:
            self.assertTrue(self.grade(server.base).clears)
        self.assertEqual([(r.method, r.target, bool(r.body)) for r in server.requests],
                         [("POST", "/api/v1/eval/jobs", True), ("POST", "/elsewhere", True),
                          ("GET", "/api/v1/eval/jobs/j1", False),
                          ("GET", "/api/v1/eval/jobs/j1?again", False)])
        self.assertTrue(all("authorization" in r.headers for r in server.requests))

    def test_a_post_goes_on_as_a_get_after_301_302_and_303(self):
        for status in (301, 302, 303):
            with FaultServer(answer(status, b"", "Location: /x"), answer(200, {})) as server:
                self.assertEqual(self.grade(server.base), failure("no job_id in response"))
            self.assertEqual(server.requests[1].method, "GET")
            self.assertEqual(server.requests[1].body, b"")
            self.assertNotIn("content-type", server.requests[1].headers)

    def test_the_key_is_not_carried_to_another_origin(self):
        with FaultServer(answer(200, SUBMITTED)) as other:
            for location in (other.base + "/x", "//127.0.0.1:{}/x".format(other.port),
                             "http://localhost:1/", "https://evil.test/", "file:///etc/passwd"):
                with FaultServer(answer(302, b"", "Location: " + location)) as server:
                    self.assertEqual(self.grade(server.base), UNREACHABLE)
                    self.assertEqual(len(server.requests), 1)
            self.assertEqual(other.requests, [])

    def test_it_gives_up_after_ten_redirects(self):
        with FaultServer(answer(307, b"", "Location: /again")) as server:
            self.assertEqual(self.grade(server.base), UNREACHABLE)
        self.assertEqual(len(server.requests), 11)

    def test_a_poll_survives_every_fault(self):
        steps = [answer(202, SUBMITTED), reset, raw(b""), answer(500, b"<html>"), answer(401, b""),
                 half_body(b"{}"), answer(200, []), answer(302, b"", "Location: https://evil.test"),
                 answer(200, SHIPPED)]
        with FaultServer(*steps) as server:
            self.assertTrue(self.grade(server.base).clears)
        self.assertEqual(len(server.requests), len(steps))

    def test_ten_thousand_flaws_arrive_in_order(self):
        flaws = [{"severity": "low", "criterion": str(i), "detail": "d" * 50} for i in range(10000)]
        done = dict(SHIPPED, result_summary={"band": "block", "flaws": flaws})
        with FaultServer(answer(202, SUBMITTED), answer(200, done)) as server:
            verdict = self.grade(server.base)
        self.assertEqual([f.criterion for f in verdict.flaws], [str(i) for i in range(10000)])

    def test_chunked_and_unannounced_bodies_count(self):
        chunked = raw(b"HTTP/1.1 200 X\r\nTransfer-Encoding: chunked\r\n\r\n"
                      b"8\r\n{\"job_id\r\n7\r\n\":\"j1\"}\r\n0\r\n\r\n")
        ended = raw(b"HTTP/1.0 200 X\r\n\r\n" + json.dumps(SHIPPED).encode())
        with FaultServer(chunked, ended) as server:
            self.assertTrue(self.grade(server.base).clears)

    def test_an_answer_that_is_too_large_is_none(self):
        before = transport.LARGEST_ANSWER
        transport.LARGEST_ANSWER = 1000
        self.addCleanup(setattr, transport, "LARGEST_ANSWER", before)
        with FaultServer(answer(200, b"x" * 1001)) as server:
            self.assertIsNone(self.get(server.base))

    def test_this_machine_is_reached_without_a_proxy(self):
        with FaultServer(answer(200, {})) as server:
            proxies = {"http": "http://127.0.0.1:{}".format(closed_port())}
            self.assertEqual(self.get(server.base, proxies=proxies).status, 200)

    def test_other_machines_are_reached_through_the_settings_proxy(self):
        with FaultServer(answer(502, b"")) as proxy:
            found = self.get("https://service.test/x", proxies={"https": proxy.base})
        self.assertIsNone(found)
        self.assertEqual((proxy.requests[0].method, proxy.requests[0].target),
                         ("CONNECT", "service.test:443"))
        self.assertNotIn("authorization", proxy.requests[0].headers)

    def test_hosts_without_a_proxy_are_told_by_name(self):
        excepted = transport._is_excepted
        for host, words, found in (("a.test", "a.test", True), ("b.a.test", ".a.test", True),
                                   ("ba.test", "a.test", False), ("x", "*", True),
                                   ("a.test", "b.test, a.test:443", True), ("x", "", False)):
            self.assertEqual(excepted(host, words), found, (host, words))

    def test_no_tls_is_spoken_where_there_is_none(self):
        with FaultServer(answer(200, {})) as server:
            self.assertIsNone(self.get(server.base.replace("http:", "https:")))
        self.assertEqual(server.requests, [])

    def test_cancelling_from_another_thread_ends_a_wait_at_once(self):
        cancel = threading.Event()
        with FaultServer(answer(202, SUBMITTED), answer(200, {"status": "running"})) as server:
            def told(step):
                if step.message == "running":
                    threading.Timer(0.01, cancel.set).start()
            verdict = client.grade([], "text", settings=self.settings(server.base),
                                   progress=told, cancel=cancel)
        self.assertEqual(verdict, failure(client.CANCELLED))


@unittest.skipUnless(__import__("shutil").which("openssl"), "openssl is needed for a certificate")
class TlsTest(surroundings.HomeTest):
    """A server with a certificate of its own making."""

    def setUp(self):
        super().setUp()
        import ssl
        import subprocess
        self.certificate, key = str(self.work / "c.pem"), str(self.work / "k.pem")
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                        "ec_paramgen_curve:prime256v1", "-nodes", "-keyout", key, "-out",
                        self.certificate, "-days", "2", "-subj", "/CN=localhost",
                        "-addext", "subjectAltName=DNS:localhost"], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        self.context.load_cert_chain(self.certificate, key)

    def exchange(self, host, ca_file):
        """The status, and whether the server got to see a request."""
        import socket
        listener = socket.socket()
        listener.bind(("127.0.0.1", 0))
        listener.listen(1)
        seen = []

        def serve():
            try:
                connection = self.context.wrap_socket(listener.accept()[0], server_side=True)
                seen.append(connection.recv(65536))
                connection.sendall(b"HTTP/1.1 200 X\r\nContent-Length: 2\r\n\r\n{}")
                connection.close()
            except OSError:
                pass
        thread = threading.Thread(target=serve, daemon=True)
        thread.start()
        url = "https://{}:{}/".format(host, listener.getsockname()[1])
        made = settings.Settings("/nowhere", "", "k", ca_file=ca_file)
        found = transport.send(transport.Request("GET", url, {"Authorization": "Bearer k"}), made)
        listener.shutdown(socket.SHUT_RDWR)  # wakes a server that still waits
        thread.join(5)
        listener.close()
        return found and found.status, bool(seen and seen[0])

    def test_it_talks_to_a_server_whose_authority_the_settings_name(self):
        self.assertEqual(self.exchange("localhost", self.certificate), (200, True))

    def test_it_tells_nothing_to_a_server_that_nobody_vouches_for(self):
        self.assertEqual(self.exchange("localhost", None), (None, False))

    def test_it_tells_nothing_to_a_server_of_another_name(self):
        self.assertEqual(self.exchange("127.0.0.1", self.certificate), (None, False))

    def test_an_authorities_file_that_is_missing_reaches_nobody(self):
        self.assertEqual(self.exchange("localhost", str(self.work / "none.pem")), (None, False))


if __name__ == "__main__":
    unittest.main()
