#!/usr/bin/env python3
"""A team's service as it is run: processes of their own, a database, and nginx in front of them.

    TREVIX_LOCAL=... team_test.py

The configuration of nginx is the one in docs/samples, with the ports and the certificate of this test.
Disks that are full are mounted in a namespace of this test's own, which takes root.
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
import tempfile
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "scripts"))
import team_harness  # noqa: E402

SAMPLE = ROOT / "docs" / "samples" / "team-nginx.conf"
SKIPPED = 77
# Says that this program has its mounts to itself.
OWN_MOUNTS = "TEAM_TEST_OWN_MOUNTS"
MIB = 1 << 20
# Debian's Python, which is not always the one that runs this test.
PARSE = ["/usr/bin/python3", "-c", """
import json, sys
from prometheus_client.parser import text_string_to_metric_families
json.dump([[f.name, f.type, f.documentation, [[s.name, s.labels, s.value] for s in f.samples]]
           for f in text_string_to_metric_families(sys.stdin.read())], sys.stdout)
"""]


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
        raw = socket.create_connection(("127.0.0.1", self.port), timeout=team_harness.PATIENCE)
        connection = http.client.HTTPConnection("judge.example.org", timeout=team_harness.PATIENCE)
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

    def watched(self, member, path):
        connection = http.client.HTTPConnection("127.0.0.1", member.metrics, timeout=team_harness.PATIENCE)
        try:
            connection.request("GET", path)
            answer = connection.getresponse()
            return answer.status, answer.read().decode()
        finally:
            connection.close()

    def test_who_watches_reads_metrics_of_every_process(self):
        self.assertEqual(self.finished(self.submit("TODO: name the the owner.\n"))["status"], "completed")
        families = {}
        taken = 0
        for member in (*self.team.apis, self.team.workers[0]):
            self.assertEqual(self.watched(member, "/readyz")[0], 200)
            status, text = self.watched(member, "/metrics")
            self.assertEqual(status, 200)
            try:
                parsed = subprocess.run(PARSE, input=text, text=True, capture_output=True, check=True).stdout
            except (FileNotFoundError, subprocess.CalledProcessError) as error:
                self.skipTest(f"NOT TESTED: no parser of Prometheus here: {error}")
            families[member.role] = {name: (kind, samples) for name, kind, _, samples in json.loads(parsed)}
            for name, kind, documentation, samples in json.loads(parsed):
                self.assertTrue(documentation, name)
                self.assertIn(kind, ("gauge", "counter", "histogram"), name)
                self.histogram_adds_up(name, kind, samples)
            taken += sum(s[2] for s in families[member.role]["trevix_requests"][1] if s[1]["code"] == "202")
        judged = dict(families["worker"])
        self.assertIn("trevix_judging_seconds", judged)
        self.assertIn(["trevix_workers", {"state": "ready"}, 1.0], judged["trevix_workers"][1])
        self.assertGreaterEqual(sum(s[2] for s in judged["trevix_engine_seconds"][1] if s[0].endswith("_count")), 1)
        self.assertGreaterEqual(taken, 1, "by whom the proxy asked")

    def histogram_adds_up(self, name, kind, samples):
        if kind != "histogram":
            return
        last = {}
        for sample, labels, value in samples:
            key = next((of for label, of in labels.items() if label != "le"), "")
            if sample.endswith("_bucket"):
                self.assertGreaterEqual(value, last.get(key, 0), name)
                last[key] = value
            elif sample.endswith("_count"):
                self.assertEqual(value, last[key], name)

    def test_logs_tell_what_was_done_and_neither_work_nor_key_nor_ticket(self):
        work = "Heliotrope is the word that nobody else writes.\n\nTODO: name the the owner of quincunxes.\n"
        job = self.submit(work)
        run = self.finished(job)["run_id"]
        ticket = self.ask("POST", f"/api/v1/eval/runs/{run}/ticket", {})[2]["report"].rsplit("=", 1)[1]
        self.assertEqual(self.proxy.ask("", "GET", f"/console?run={run}&ticket={ticket}")[0], 303)
        self.assertEqual(self.ask("GET", f"/api/v1/eval/runs/{run}")[0], 200)
        self.ask("GET", "/api/v1/eval/jobs/" + self.key)
        self.proxy.ask("Heliotrope", "GET", "/Heliotrope")

        def lines():
            text = (self.team.folder / "service.log").read_text(encoding="utf-8")
            return text, [json.loads(line) for line in text.splitlines() if line.startswith("{")]

        # It is told after the verdict is there for all.
        team_harness.await_that(lambda: any(line["event"] == "judged" and line["job"] == job
                                            for line in lines()[1]), "the judged job is not told")
        text, told = lines()
        self.assertTrue(all(line["time"].endswith("Z") for line in told))
        routes = {(line["method"], line["route"], line["status"]) for line in told if line["event"] == "request"}
        for expected in (("POST", "/api/v1/eval/jobs", 202), ("GET", "/console", 303), ("GET", "other", 404),
                         ("POST", "/api/v1/eval/runs/{id}/ticket", 200)):
            self.assertIn(expected, routes)
        for secret in ("heliotrope", "quincunx", self.key, ticket):
            self.assertNotIn(secret.lower(), text.lower())
        # As a word: an id may have these letters.
        self.assertNotRegex(text, r"\bada\b")

    def test_a_log_that_cannot_be_written_costs_nothing_else(self):
        with open("/dev/full", "wb") as full:
            api = self.team.add("api", "without a log", log=full)
            self.addCleanup(api.end)
            status, answer = team_harness.ask(api.port, self.key, "POST", "/api/v1/eval/jobs",
                                              team_harness.work("TODO: name the the owner.\n"))
        self.assertEqual(status, 202, answer)
        self.assertEqual(self.finished(answer["job_id"])["status"], "completed")

    def test_a_log_that_nobody_reads_holds_nobody_up(self):
        reading, writing = os.pipe()
        self.addCleanup(os.close, reading)
        self.addCleanup(os.close, writing)
        api = self.team.add("api", "a log unread", log=writing)
        self.addCleanup(api.end)
        # Many times what a pipe holds, each line refused by the thread that serves all connections.
        for _ in range(1500):
            self.assertEqual(team_harness.ask(api.port, "none", "GET", "/api/v1/eval/jobs/none")[0], 401)
        self.assertEqual(team_harness.ask(api.port, self.key, "GET", "/api/v1/eval/jobs/none")[0], 404)


class ClocksApartTest(unittest.TestCase):
    def test_leases_and_times_are_the_databases(self):
        library = next(iter(sorted(pathlib.Path("/usr/lib").glob("*/faketime/libfaketime.so.1"))), None)
        if library is None:
            self.skipTest("NOT TESTED: there is no libfaketime here")

        def apart(hours):
            return {"LD_PRELOAD": str(library), "FAKETIME": f"{hours:+d}h", "FAKETIME_DONT_FAKE_MONOTONIC": "1"}

        with team_harness.Team(apis=0, workers=0) as team:
            for name, hours in (("late", -1), ("early", 1)):
                team.apis.append(team.add("api", f"{name} api", apart(hours)))
                team.workers.append(team.add("worker", f"{name} worker", apart(hours)))
            now = int(team.database.query("SELECT floor(extract(epoch FROM now()) * 1000)::bigint")[0][0])
            key = team.key("ada", "--expires", "1")
            jobs = []
            for number in range(12):
                status, answer = team_harness.ask(team.apis[number % 2].port, key, "POST", "/api/v1/eval/jobs",
                                                  team_harness.work("A paragraph of the the report.\n\n" * 300))
                self.assertEqual(status, 202, answer)
                jobs.append(answer["job_id"])
            team_harness.await_that(lambda: team.database.query(
                "SELECT count(*) FROM jobs WHERE status = 'pending'") == [["0"]], "jobs are left")
            rows = team.database.query("SELECT status, attempts, created, finished, worker FROM jobs")
            log = (team.folder / "service.log").read_text(encoding="utf-8")
        self.assertEqual(len(rows), len(jobs))
        for status, attempts, created, finished, _ in rows:
            self.assertEqual((status, attempts), ("completed", "1"), "nobody took what another held")
            self.assertTrue(now <= int(created) <= int(finished) < now + 1_800_000, (now, created, finished))
        # So that this test cannot pass because the clocks were not apart.
        hours = {line["time"][:13] for line in map(json.loads, re.findall("^{.*$", log, re.M))
                 if line["event"] == "started"}
        self.assertEqual(len(hours), 2, hours)


@unittest.skipUnless(os.environ.get(OWN_MOUNTS), "NOT TESTED: no mount namespace here")
class FullDiskTest(unittest.TestCase):
    # Several questions to a database that ends in the middle, each with a limit of its own.
    ANSWERED_WITHIN = 120

    def text(self):
        # What does not pack: the room that it takes is what it says.
        return "TODO: name the the owner.\n\n" + os.urandom(100_000).hex()

    def hand_in_until_refused(self, port, key):
        """The jobs that were accepted, and the answer that refused one more."""
        accepted = []
        for _ in range(1000):
            status, answer = team_harness.ask(port, key, "POST", "/api/v1/eval/jobs",
                                              team_harness.work(self.text()), limit=self.ANSWERED_WITHIN)
            if status != 202:
                return accepted, status, answer
            accepted.append(answer["job_id"])
        self.fail("the disk does not fill")

    def all_judged(self, port, key, jobs):
        for job in jobs:
            def over(job=job):
                status, answer = team_harness.ask(port, key, "GET", f"/api/v1/eval/jobs/{job}",
                                                  limit=self.ANSWERED_WITHIN)
                self.assertIn(status, (200, 503), answer)
                return answer.get("status") in ("completed", "failed")
            team_harness.await_that(over, f"{job} has no verdict")
            _, answer = team_harness.ask(port, key, "GET", f"/api/v1/eval/jobs/{job}")
            self.assertEqual(answer["status"], "completed", answer)

    def fill(self, folder, left):
        """All of the disk but so many bytes, until the file that is returned is removed."""
        ballast = folder / "ballast"
        room = os.statvfs(folder)
        with open(ballast, "wb") as file:
            os.posix_fallocate(file.fileno(), 0, max(1, room.f_bavail * room.f_frsize - left))
        return ballast

    def test_the_database_loses_nothing_that_was_accepted(self):
        settings = ["max_wal_size=32MB", "min_wal_size=32MB"]
        with team_harness.Team(apis=1, workers=0, settings=settings, room=200 * MIB) as team:
            api, key = team.apis[0], team.key("ada", "--per-minute", "0")
            ballast = self.fill(team.database.folder, 4 * MIB)
            accepted, status, answer = self.hand_in_until_refused(api.port, key)
            self.assertEqual(status, 503, answer)
            self.assertIn("the run store: ", answer["error"])
            self.assertGreater(len(accepted), 0)
            self.assertEqual(team_harness.ask(api.port, "", "GET", "/healthz")[0], 200)
            ballast.unlink()
            # Where not even its log had room the server has ended.
            team.database.start()
            team.add("worker", "worker 1")
            self.all_judged(api.port, key, accepted)
            status, answer = team_harness.ask(api.port, key, "POST", "/api/v1/eval/jobs",
                                              team_harness.work(self.text()))
            self.assertEqual(status, 202, answer)
            self.all_judged(api.port, key, [answer["job_id"]])

    def test_the_file_of_one_person_loses_nothing_either(self):
        folder = pathlib.Path(tempfile.mkdtemp(prefix="trevix-full-"))
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"mode=700,size={8 * MIB}", "tmpfs", folder], check=True)
        service = subprocess.Popen([team_harness.find_program(), "--data", folder, "--port", "0", "--socket", "none",
                                    "--key", "the-right-key"], stdout=subprocess.PIPE, text=True)
        try:
            port = int(service.stdout.readline().strip().rsplit(":", 1)[1])
            ballast = self.fill(folder, MIB)
            accepted, status, answer = self.hand_in_until_refused(port, "the-right-key")
            self.assertEqual(status, 503, answer)
            self.assertIn("full", answer["error"])
            self.assertEqual(team_harness.ask(port, "", "GET", "/healthz")[0], 200)
            ballast.unlink()
            self.all_judged(port, "the-right-key", accepted)
            status, answer = team_harness.ask(port, "the-right-key", "POST", "/api/v1/eval/jobs",
                                              team_harness.work(self.text()))
            self.assertEqual(status, 202, answer)
            self.all_judged(port, "the-right-key", [answer["job_id"]])
        finally:
            service.terminate()
            service.wait()
            service.stdout.close()
            subprocess.run(["umount", "--lazy", folder], check=True)
            folder.rmdir()


def have_own_mounts():
    """Goes on in a mount namespace of this program's own, where that is allowed."""
    own = ["unshare", "--mount", "--propagation", "private"]
    if os.environ.get(OWN_MOUNTS) or os.geteuid() != 0 or not shutil.which("unshare"):
        return
    if subprocess.run([*own, "true"], capture_output=True, check=False).returncode == 0:
        os.environ[OWN_MOUNTS] = "1"
        os.execvp(own[0], [*own, sys.executable, "-B", *sys.argv])


if __name__ == "__main__":
    for needed in ("nginx", "openssl", "pg_config"):
        if not shutil.which(needed, path=os.environ["PATH"] + ":/usr/sbin"):
            print(f"NOT TESTED: there is no {needed} here")
            sys.exit(SKIPPED)
    os.environ["PATH"] += ":/usr/sbin"
    have_own_mounts()
    unittest.main()
