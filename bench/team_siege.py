#!/usr/bin/env python3
"""bench/team_siege.py [--kills N] [--seed N]: what a team's service loses when its processes are killed.

Clients hand work in without a pause while a process at random, of those that take work in, those that
judge and the database, is killed with SIGKILL and started again. In the end every job that a client was
told was accepted must have exactly one verdict, every run one job, and no version of a run may stand
twice. Prints what happened; exit status 1 where something was lost or judged twice, or took too long.

Needs the build and what scripts/bootstrap test installs. 200 kills take some ten minutes on two cores.
"""

import argparse
import collections
import pathlib
import random
import sys
import threading
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "scripts"))
import team_harness  # noqa: E402

# A lease, the look for leases that ran out, and the judging; many jobs may stand in line.
LONGEST_WAIT = 300


class Client:
    """Hands work in, revises a part of it, and remembers what it was promised."""

    def __init__(self, team, key, number, chance):
        self.team, self.key, self.number, self.random = team, key, number, random.Random(chance)
        self.accepted, self.refused, self.cut_off, self.revised = [], 0, 0, 0
        self.longest = 0.0
        self.stop = threading.Event()
        self.thread = team_harness.in_background(self.run)

    def run(self):
        count = 0
        while not self.stop.is_set():
            count += 1
            api = self.random.choice(self.team.apis)
            began = time.monotonic()
            text = f"Client {self.number}, report {count}\n\nTODO: name the the owner.\n"
            status, answer = team_harness.ask(api.port, self.key, "POST", "/api/v1/eval/jobs",
                                              team_harness.work(text))
            self.longest = max(self.longest, time.monotonic() - began)
            if status == 202:
                self.accepted.append(answer["job_id"])
            elif status == 0:
                self.cut_off += 1
            else:
                self.refused += 1
            if self.accepted and self.random.random() < 0.1:
                self.revise(api)
            # So that work neither runs out nor piles up: what two cores judge is a few a second.
            self.stop.wait(0.3)

    def revise(self, api):
        status, answer = team_harness.ask(api.port, self.key, "GET",
                                          f"/api/v1/eval/jobs/{self.random.choice(self.accepted)}")
        if status != 200 or answer.get("status") != "completed":
            return
        body = {"decision": "re_prompt", "user_prompt": "Validate this work.",
                "new_artifact_parts": team_harness.work("It is named now.\n")["artifact_parts"]}
        status, _ = team_harness.ask(api.port, self.key, "POST",
                                     f"/api/v1/eval/runs/{answer['run_id']}/iterate", body)
        self.revised += status == 200


def kill_one(team, chance, killed):
    """Kills a process and starts it again after a moment."""
    victim = chance.choice(["api", "worker", "worker", "database"])
    killed[victim] += 1
    if victim == "database":
        team.database.kill()
        time.sleep(chance.random() * 0.5)
        team.database.start()
        return
    member = chance.choice(team.apis if victim == "api" else team.workers)
    member.kill()
    time.sleep(chance.random() * 0.5)
    # The database is there: a process that starts finds it.
    while not member.start():
        time.sleep(0.2)


def settle(team):
    """Waits until nothing is pending, and returns how long that took."""
    began = time.monotonic()
    while time.monotonic() - began < LONGEST_WAIT:
        if team.database.query("SELECT count(*) FROM jobs WHERE status = 'pending'") == [["0"]]:
            break
        time.sleep(0.5)
    return time.monotonic() - began


def verdicts(team, accepted):
    """What is wrong, in sentences."""
    problems = []
    rows = team.database.query("SELECT id, status, run_id, coalesce(error, '') FROM jobs")
    jobs = {row[0]: row[1:] for row in rows}
    for job in accepted:
        if job not in jobs:
            problems.append(f"{job} was accepted and is gone")
        elif jobs[job][0] != "completed":
            problems.append(f"{job} was accepted and is {jobs[job][0]}: {jobs[job][2]}")
    for what, sql in {
            "jobs with a run that is not there": "SELECT id FROM jobs WHERE status = 'completed' AND NOT "
            "EXISTS (SELECT 1 FROM iterations WHERE iterations.run_id = jobs.run_id AND number = iteration)",
            "runs that no job made, or two": "SELECT runs.id FROM runs LEFT JOIN jobs ON run_id = runs.id "
            "AND kind = 'grade' AND status = 'completed' GROUP BY runs.id HAVING count(jobs.id) <> 1",
            "versions that no job made, or two": "SELECT iterations.run_id FROM iterations LEFT JOIN jobs "
            "ON jobs.run_id = iterations.run_id AND iteration = number AND status = 'completed' "
            "GROUP BY iterations.run_id, number HAVING count(jobs.id) <> 1",
            "bodies of jobs that are over": "SELECT job_id FROM payloads JOIN jobs ON id = job_id "
            "WHERE status <> 'pending'"}.items():
        found = team.database.query(sql)
        if found:
            problems.append(f"{len(found)} {what}: {found[0][0]}")
    return problems


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--kills", type=int, default=200)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--clients", type=int, default=4)
    options = parser.parse_args()
    chance = random.Random(options.seed)
    killed = collections.Counter()
    with team_harness.Team() as team:
        clients = [Client(team, team.key(f"client-{number}"), number, options.seed * 100 + number)
                   for number in range(options.clients)]
        began = time.monotonic()
        for _ in range(options.kills):
            time.sleep(chance.random() * 1.5)
            kill_one(team, chance, killed)
        for client in clients:
            client.stop.set()
        for client in clients:
            client.thread.join(team_harness.PATIENCE)
        lasted = time.monotonic() - began
        settled = settle(team)
        accepted = [job for client in clients for job in client.accepted]
        problems = verdicts(team, accepted)
        attempts = team.database.query("SELECT attempts, count(*) FROM jobs GROUP BY 1 ORDER BY 1")
        print(f"{sum(killed.values())} kills in {lasted:.0f} s ({dict(killed)}), seed {options.seed}")
        print(f"{len(accepted)} jobs accepted, {sum(c.revised for c in clients)} revisions answered, "
              f"{sum(c.refused for c in clients)} requests refused, "
              f"{sum(c.cut_off for c in clients)} cut off")
        print(f"longest wait for an answer {max(c.longest for c in clients):.1f} s; "
              f"settled {settled:.1f} s after the last kill")
        print("taken " + ", ".join(f"{row[0]} times: {row[1]} jobs" for row in attempts))
        for problem in problems:
            print(problem)
        print("nothing lost, nothing judged twice" if not problems else f"{len(problems)} problems")
    sys.exit(1 if problems else 0)


main()
