#!/usr/bin/env python3
"""bench/team_wire.py [--seconds N]: a team's service whose line to the database stops, or drips.

A relay stands between the database and the processes, one that takes work in and one that judges. For a
while it lets nothing through, and then what the database says a byte at a time; connections stay open
all along, so that nothing but the service's own limits ends a wait. Clients ask meanwhile. Every request
must be answered, and every job that was accepted must have its verdict once the line is whole again.
Prints the longest waits; exit status 1 where one is not answered or a job is lost. Needs the build and
what scripts/bootstrap test installs, and takes some three minutes.
"""

import argparse
import collections
import pathlib
import select
import socket
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "scripts"))
import team_harness  # noqa: E402

# A request may ask the database a few times, each bounded by 15 s, and wait for a connection as long.
ANSWERED_WITHIN = 120


class Relay:
    """Passes connections on to a Unix socket. `mode` is pass, stop or drip."""

    def __init__(self, server):
        self.server = str(server)
        self.mode = "pass"
        self.listener = socket.create_server(("127.0.0.1", 0), backlog=64)
        self.port = self.listener.getsockname()[1]
        team_harness.in_background(self.accept)

    def accept(self):
        while True:
            client, _ = self.listener.accept()
            database = socket.socket(socket.AF_UNIX)
            database.connect(self.server)
            threading.Thread(target=self.carry, args=(client, database), daemon=True).start()

    def carry(self, client, database):
        with client, database:
            while True:
                if self.mode == "stop":
                    time.sleep(0.1)
                    continue
                for ready in select.select([client, database], [], [], 0.1)[0]:
                    drips = self.mode == "drip" and ready is database
                    try:
                        data = ready.recv(1 if drips else 65536)
                        (database if ready is client else client).sendall(data)
                    except OSError:
                        return
                    if not data:
                        return
                    if drips:
                        time.sleep(0.2)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--seconds", type=int, default=40, help="that the line is stopped, and that it drips")
    options = parser.parse_args()
    with team_harness.Team(apis=0, workers=0) as team:
        relay = Relay(team.database.folder / ".s.PGSQL.5432")
        direct = team.database.address
        team.database.address = f"postgresql://trevix@127.0.0.1:{relay.port}/postgres?sslmode=disable"
        api = team.add("api", "api 1")
        worker = team.add("worker", "worker 1")
        team.database.address = direct
        team.apis, team.workers = [api], [worker]
        key = team.key("ada", "--per-minute", "0")
        accepted, problems = [], []
        longest = collections.defaultdict(float)
        statuses = collections.defaultdict(collections.Counter)
        stop = threading.Event()

        def client(number):
            count = 0
            while not stop.is_set():
                count += 1
                asked = [("POST", "/api/v1/eval/jobs"), ("GET", "/api/v1/eval/jobs/job_none"),
                         ("GET", "/healthz"), ("GET", "/readyz")][count % 4]
                mode, began = relay.mode, time.monotonic()
                body = team_harness.work(f"Report {number}.{count}\n\nTODO: name the the owner.\n")
                status, answer = team_harness.ask(api.port, key, *asked, body if asked[0] == "POST" else None,
                                                  limit=ANSWERED_WITHIN)
                longest[mode] = max(longest[mode], time.monotonic() - began)
                statuses[mode][status] += 1
                if status == 0:
                    problems.append(f"{asked} was not answered while the line was: {mode}")
                if status == 202:
                    accepted.append(answer["job_id"])
                stop.wait(0.2)

        threads = [team_harness.in_background(lambda number=number: client(number)) for number in range(4)]
        for mode, seconds in (("pass", 5), ("stop", options.seconds), ("drip", options.seconds), ("pass", 30)):
            relay.mode = mode
            time.sleep(seconds)
        stop.set()
        for thread in threads:
            thread.join(ANSWERED_WITHIN)
        team_harness.await_that(lambda: team.database.query("SELECT count(*) FROM jobs WHERE status = 'pending'")
                                == [["0"]], "jobs are left")
        ends = dict(team.database.query("SELECT id, status FROM jobs"))
        problems += [f"{job} is {ends.get(job)}" for job in accepted if ends.get(job) != "completed"]
        for mode, seconds in longest.items():
            print(f"{mode}: longest wait for an answer {seconds:.1f} s, answers {dict(statuses[mode])}")
        print(f"{len(accepted)} jobs accepted, each with its verdict" if not problems else "\n".join(problems))
    sys.exit(1 if problems else 0)


main()
