#!/usr/bin/env python3
"""A team's service as it is run: processes of their own, a database, and nginx in front of them.

    TREVIX_LOCAL=... team_test.py

The configuration of nginx is the one in docs/samples, with the ports and the certificate of this test.
"""

import http.client
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import ssl
import subprocess
import sys
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "scripts"))
import team_harness  # noqa: E402

SAMPLE = ROOT / "docs" / "samples" / "team-nginx.conf"
SKIPPED = 77


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


class Proxy:
    """nginx with the sample's server in front of a team's processes."""

    def __init__(self, team):
        folder = team.folder / "nginx"
        folder.mkdir()
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj",
                        "/CN=judge.example.org", "-addext", "subjectAltName=DNS:judge.example.org",
                        "-keyout", folder / "key.pem", "-out", folder / "cert.pem"],
                       check=True, capture_output=True)
        self.port = free_port()
        text = SAMPLE.read_text(encoding="utf-8")
        text = re.sub(r"    server 127\.0\.0\.1:\d+;\n", "", text)
        text = text.replace("    ip_hash;\n", "    ip_hash;\n" + "".join(
            f"    server 127.0.0.1:{api.port};\n" for api in team.apis))
        text = text.replace("listen 443 ssl", f"listen 127.0.0.1:{self.port} ssl")
        text = re.sub(r"(ssl_certificate) .*;", rf"\1 {folder}/cert.pem;", text)
        text = re.sub(r"(ssl_certificate_key) .*;", rf"\1 {folder}/key.pem;", text)
        places = "".join(f"{kind}_temp_path {folder}/{kind};\n"
                         for kind in ("client_body", "proxy", "fastcgi", "uwsgi", "scgi"))
        user = "user root;\n" if os.geteuid() == 0 else ""
        (folder / "nginx.conf").write_text(
            f"{user}daemon off;\npid {folder}/pid;\nerror_log {folder}/error.log;\nevents {{}}\n"
            f"http {{\naccess_log off;\n{places}{text}\n}}\n", encoding="utf-8")
        self.trust = ssl.create_default_context(cafile=folder / "cert.pem")
        self.process = subprocess.Popen(["nginx", "-p", folder, "-c", folder / "nginx.conf",
                                         "-e", folder / "error.log"])
        team_harness.await_that(self.answers, "nginx does not start")

    def answers(self):
        try:
            return self.ask("", "GET", "/healthz")[0] == 200
        except OSError:
            return False

    def ask(self, key, method, path, body=None):
        """(status, headers, text)"""
        raw = socket.create_connection(("127.0.0.1", self.port), timeout=30)
        connection = http.client.HTTPConnection("judge.example.org", timeout=30)
        connection.sock = self.trust.wrap_socket(raw, server_hostname="judge.example.org")
        headers = {"Host": "judge.example.org", "Authorization": f"Bearer {key}"}
        if body is not None:
            headers["Content-Type"] = "application/json"
        try:
            connection.request(method, path, None if body is None else json.dumps(body), headers)
            answer = connection.getresponse()
            return answer.status, dict(answer.getheaders()), answer.read().decode()
        finally:
            connection.close()

    def end(self):
        self.process.send_signal(signal.SIGQUIT)
        self.process.wait()


class TeamTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.team = team_harness.Team(apis=2, workers=1, options=["--public-url", "https://judge.example.org"])
        cls.addClassCleanup(lambda: cls.team.__exit__(None, None, None))
        cls.proxy = Proxy(cls.team)
        cls.addClassCleanup(cls.proxy.end)
        cls.key = cls.team.key("ada", "--per-minute", "0")

    def ask(self, method, path, body=None):
        status, headers, text = self.proxy.ask(self.key, method, path, body)
        return status, headers, json.loads(text)

    def submit(self, text):
        status, _, answer = self.ask("POST", "/api/v1/eval/jobs", team_harness.work(text))
        self.assertEqual(status, 202, answer)
        return answer["job_id"]

    def finished(self, job):
        until = time.monotonic() + team_harness.PATIENCE
        while time.monotonic() < until:
            status, _, answer = self.ask("GET", f"/api/v1/eval/jobs/{job}")
            self.assertEqual(status, 200, answer)
            if answer["status"] in ("completed", "failed"):
                return answer
            time.sleep(0.02)
        self.fail(f"{job} has no verdict")

    def test_work_goes_in_and_its_report_comes_out(self):
        run = self.finished(self.submit("TODO: name the the owner.\n"))["run_id"]
        status, _, ticket = self.ask("POST", f"/api/v1/eval/runs/{run}/ticket", {})
        self.assertEqual(status, 200)
        self.assertTrue(ticket["report"].startswith("https://judge.example.org/console?run="), ticket)
        status, headers, _ = self.proxy.ask("", "GET", ticket["report"].removeprefix("https://judge.example.org"))
        self.assertEqual(status, 303)
        self.assertIn("; Secure", headers["Set-Cookie"])
        status, _, answer = self.ask("POST", f"/api/v1/eval/runs/{run}/iterate", {
            "decision": "re_prompt", "user_prompt": "Validate.",
            "new_artifact_parts": team_harness.work("It is named.\n")["artifact_parts"]})
        self.assertEqual((status, answer["iteration"]["number"]), (200, 1))

    def test_large_work_passes(self):
        status, _, answer = self.ask("POST", "/api/v1/eval/jobs", team_harness.work("word " * 4_000_000))
        self.assertEqual(status, 202, answer)
        self.assertEqual(self.ask("DELETE", f"/api/v1/eval/jobs/{answer['job_id']}")[0], 200)

    def test_who_ends_hands_on_what_it_does_not_take(self):
        leaving = self.team.apis[0]
        jobs = []
        ended = team_harness.in_background(leaving.end)
        while ended.is_alive() or len(jobs) < 20:
            jobs.append(self.submit("work"))
        self.assertEqual(leaving.process.returncode, 0)
        for job in jobs:
            self.assertEqual(self.finished(job)["status"], "completed")
        self.assertTrue(leaving.start())

    def test_who_judges_ends_after_what_it_judges(self):
        worker = self.team.workers[0]
        jobs = [self.submit("Report\n\n" + "A paragraph of the report tells what was done.\n\n" * 2000)
                for _ in range(3)]
        team_harness.await_that(lambda: self.team.database.query(
            "SELECT 1 FROM jobs WHERE status = 'pending' AND worker IS NOT NULL"), "nobody judges")
        worker.end()
        self.assertEqual(worker.process.returncode, 0)
        held = self.team.database.query("SELECT count(*) FROM jobs WHERE status = 'pending' AND worker IS NOT NULL")
        self.assertEqual(held, [["0"]], "what it had taken it has finished")
        self.assertTrue(worker.start())
        for job in jobs:
            self.assertEqual(self.finished(job)["status"], "completed")

    def test_nobody_listens_in_the_clear_by_mistake(self):
        for arguments in (["--listen", "0.0.0.0"], ["--role", "worker", "--listen", "127.0.0.1"]):
            ended = subprocess.run([self.team.program, "--store", self.team.database.address, *arguments],
                                   capture_output=True, text=True, check=False)
            self.assertEqual(ended.returncode, 2, ended.stderr)

    def test_a_backup_is_put_back_whole(self):
        run = self.finished(self.submit("TODO: name the the owner.\n"))["run_id"]
        database = self.team.database
        told = self.ask("GET", f"/api/v1/eval/runs/{run}")[2]
        dump = subprocess.run([database.bin / "pg_dump", "--schema=trevix", database.address], check=True,
                              capture_output=True).stdout
        subprocess.run([database.bin / "createdb", "-h", database.folder, "-U", "trevix", "copy"], check=True)
        address = database.address.replace("/postgres?", "/copy?")
        subprocess.run([database.bin / "psql", "-q", "-X", "-v", "ON_ERROR_STOP=1", address], input=dump,
                       check=True, capture_output=True)
        copy = team_harness.Member(self.team, "api", "copy")
        copy.address = address
        self.assertTrue(copy.start())
        self.addCleanup(copy.end)
        status, answer = team_harness.ask(copy.port, self.key, "GET", f"/api/v1/eval/runs/{run}")
        self.assertEqual((status, answer), (200, told))


if __name__ == "__main__":
    for needed in ("nginx", "openssl", "pg_config"):
        if not shutil.which(needed, path=os.environ["PATH"] + ":/usr/sbin"):
            print(f"NOT TESTED: there is no {needed} here")
            sys.exit(SKIPPED)
    os.environ["PATH"] += ":/usr/sbin"
    unittest.main()
