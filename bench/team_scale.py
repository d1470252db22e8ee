#!/usr/bin/env python3
"""bench/team_scale.py [PART...]: what a team's service carries, on this machine.

  throughput  jobs a second with one and with two processes that judge, each on a core of its own
  waiting     how long jobs wait at 50, 80 and 95 % of what one such process judges
  idle        processor time and memory of processes that have nothing to do
  rows        rows and bytes a run, and how long the service's questions take over a million runs

Without a PART all of them. --times FILE writes the times that works took, for bench/team_model.py.
Needs the build (TREVIX_LOCAL) and what scripts/bootstrap test installs. Figures of one run belong
together; between runs the machine may be another. All of them take some fifteen minutes.
"""

import argparse
import json
import os
import pathlib
import random
import statistics
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "scripts"))
import team_harness  # noqa: E402

TICKS = os.sysconf("SC_CLK_TCK")
# What people hand in, in turn: a note, a page, a page with code, and a long report.
SENTENCES = ["The report tells what was done in the first quarter and why it took longer.",
             "Everybody who was asked has has answered within a week.",
             "TODO: name the the owner of the second part.",
             "The figures of the third table are those of the year before.",
             "Nobody knows yet which of the two proposals will be taken."]
CODE = "def total(rows):\n    result = 0\n    for row in rows:\n        result += row[1]\n    return result\n\n\n"


def sample(number):
    chance = random.Random(number)
    kind = number % 4
    if kind == 2:
        text = CODE * 20
        part = {"mime_type": "text/x-code", "logical_name": f"part{number}.py", "text": text}
    else:
        sentences = (6, 60, 0, 400)[kind]
        text = f"Report {number}\n\n" + "\n\n".join(chance.choice(SENTENCES) for _ in range(sentences)) + "\n"
        part = {"mime_type": "text/plain", "logical_name": "selection", "text": text}
    return {"submission": "async", "modality": "text", "user_prompt": "Validate this work.",
            "artifact_parts": [part]}


def pinned(member, cores):
    """The process and all that it starts stay on these cores."""
    for thread in os.listdir(f"/proc/{member.process.pid}/task"):
        os.sched_setaffinity(int(thread), cores)


def ready(team, count):
    team_harness.await_that(lambda: team.database.query(
        "SELECT count(*) FROM workers WHERE ready AND until >= now()") == [[str(count)]], "workers are not ready")


def hand_in(team, key, number):
    status, answer = team_harness.ask(team.apis[0].port, key, "POST", "/api/v1/eval/jobs", sample(number))
    if status != 202:
        raise SystemExit(f"not taken: {status} {answer}")
    return answer["job_id"]


def settled(team, limit=1800):
    until = time.monotonic() + limit
    while time.monotonic() < until:
        if team.database.query("SELECT count(*) FROM jobs WHERE status = 'pending'") == [["0"]]:
            return
        time.sleep(0.2)
    raise SystemExit("jobs are left")


def judged_times(team):
    """Milliseconds by job, as those who judged them logged them."""
    text = (team.folder / "service.log").read_text(encoding="utf-8")
    lines = [json.loads(line) for line in text.splitlines() if line.startswith("{")]
    return {line["job"]: line["ms"] for line in lines if line["event"] == "judged"}


def rate(team, key, workers, jobs, first):
    """Works a second of so many processes, each with one core, over works that wait already; and the
    processor time that each work took, which does not depend on who else uses the cores."""
    ids = [hand_in(team, key, first + number) for number in range(jobs)]
    members = [team.add("worker", f"rate {first} {core}") for core in range(workers)]
    for core, member in enumerate(members):
        pinned(member, {core})
    ready(team, workers)
    before = sum(cost(member.process.pid)[0] for member in members)
    settled(team)
    used = sum(cost(member.process.pid)[0] for member in members) - before
    for member in members:
        member.end()
        del team.members[member.name]
    low, high = team.database.query("SELECT min(finished), max(finished) FROM jobs WHERE id IN ('"
                                    + "','".join(ids) + "')")[0]
    return (jobs - 1) * 1000 / (int(high) - int(low)), used / jobs


def throughput(options):
    cores = os.cpu_count() or 1
    with team_harness.Team(apis=1, workers=0, options=["--queue", "4096"]) as team:
        key = team.key("bench", "--per-minute", "0")
        first = 0
        rates = {count: [] for count in range(1, cores + 1)}
        # In turn, so that what else the machine does hits all alike.
        for _ in range(options.rounds):
            for count, measured in rates.items():
                measured.append(rate(team, key, count, options.jobs * count, first))
                first += options.jobs * count
        print("| processes that judge, a core each | works a second | against one | processor time a work | "
              "against one |\n|---|---|---|---|---|")
        for count, measured in rates.items():
            speeds = [speed for speed, _ in measured]
            costs = [used for _, used in measured]
            faster = [speed / alone for speed, (alone, _) in zip(speeds, rates[1])]
            dearer = [used / alone for used, (_, alone) in zip(costs, rates[1])]
            print(f"| {count} | {statistics.median(speeds):.1f} ({min(speeds):.1f} to {max(speeds):.1f}) "
                  f"| {statistics.median(faster):.2f} x | {statistics.median(costs):.2f} s "
                  f"| {statistics.median(dearer):.2f} x |")
        times = list(judged_times(team).values())
    print(f"times: median {statistics.median(times):.0f} ms, mean {statistics.mean(times):.0f} ms, "
          f"longest {max(times)} ms, two at once on one core")
    return {"milliseconds": times, "processor_seconds": statistics.median(used for _, used in rates[1])}


def quantile(values, which):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(which * len(ordered)))]


def waiting(options):
    print("| load | works | waited, median | 99 % | offered against judged a second before |\n|---|---|---|---|---|")
    for load in (0.5, 0.8, 0.95):
        with team_harness.Team(apis=1, workers=0, options=["--queue", "4096"]) as team:
            key = team.key("bench", "--per-minute", "0")
            # Measured anew: what the machine gives changes within minutes.
            capacity, _ = rate(team, key, 1, options.jobs, 0)
            worker = team.add("worker", "worker 1")
            pinned(worker, {0})
            ready(team, 1)
            chance = random.Random(1)
            until = time.monotonic() + options.seconds
            due = time.monotonic()
            ids = []
            while time.monotonic() < until:
                due += chance.expovariate(capacity * load)
                time.sleep(max(0.0, due - time.monotonic()))
                ids.append(hand_in(team, key, len(ids)))
            settled(team)
            took = {}
            team_harness.await_that(lambda: took.update(judged_times(team)) or all(job in took for job in ids),
                                    "the log is not whole")
            rows = dict(team.database.query("SELECT id, finished - created FROM jobs"))
            waits = [max(0, int(rows[job]) - took[job]) for job in ids]
        print(f"| {load:.0%} | {len(ids)} | {statistics.median(waits):.0f} ms | {quantile(waits, 0.99):.0f} ms "
              f"| {len(ids) / options.seconds:.2f} / {capacity:.2f} |")


def processes_below(pid):
    children = {}
    for entry in pathlib.Path("/proc").iterdir():
        if entry.name.isdigit():
            try:
                parent = int((entry / "stat").read_text().rpartition(")")[2].split()[1])
            except OSError:
                continue
            children.setdefault(parent, []).append(int(entry.name))
    found, todo = [], [pid]
    while todo:
        found.append(todo.pop())
        todo += children.get(found[-1], [])
    return found


def cost(pid):
    """Seconds of processor time, of those that have ended too, and MiB (PSS) of a process and all below it."""
    seconds = kilobytes = 0
    for each in processes_below(pid):
        try:
            fields = pathlib.Path(f"/proc/{each}/stat").read_text().rpartition(")")[2].split()
            seconds += sum(int(field) for field in fields[11:15]) / TICKS
            for line in pathlib.Path(f"/proc/{each}/smaps_rollup").read_text().splitlines():
                if line.startswith("Pss:"):
                    kilobytes += int(line.split()[1])
        except OSError:
            pass  # It ended meanwhile.
    return seconds, kilobytes / 1024


def idle(options):
    with team_harness.Team(apis=1, workers=1) as team:
        ready(team, 1)
        time.sleep(5)  # What starting leaves to do.
        watched = {"api": team.apis[0].process.pid, "worker": team.workers[0].process.pid,
                   "database": team.database.process.pid}
        before = {name: cost(pid)[0] for name, pid in watched.items()}
        time.sleep(options.seconds)
        print("| idle | of one core | memory (PSS) |\n|---|---|---|")
        for name, pid in watched.items():
            seconds, memory = cost(pid)
            print(f"| {name} | {(seconds - before[name]) / options.seconds:.2%} | {memory:.0f} MB |")


# What a run of the samples has, and the tables filled in that shape. The ids are as long as real ones.
FILL = """
SET session_replication_role = replica; -- What belongs to what is right already.
INSERT INTO jobs (id, kind, status, run_id, attempts, created, finished, bytes, owner_group, owner_key)
  SELECT 'job_' || md5(n::text), 'grade', 'completed', 'run_' || md5(n::text), 1, {start} + n * 100,
         {start} + n * 100 + 900, 2000, 'group' || n % 1000, 'key' || n % 10000 FROM generate_series(1, {runs}) AS n;
INSERT INTO runs SELECT 'run_' || md5(n::text), 'text', '', '', {start} + n * 100, 'group' || n % 1000
  FROM generate_series(1, {runs}) AS n;
INSERT INTO iterations SELECT 'run_' || md5(n::text), 0, {start} + n * 100, 'Validate this work.', 'revise', 71,
  300, 40, 0, true FROM generate_series(1, {runs}) AS n;
INSERT INTO parts SELECT 'run_' || md5(n::text), 0, 0, 'selection', 'text/plain', 2000
  FROM generate_series(1, {runs}) AS n;
INSERT INTO findings SELECT 'run_' || md5(n::text), 0, o, 2, 'text.repeated-word', 'clarity', 'paragraph ' || o,
  repeat('e', {evidence}), repeat('d', {detail}) FROM generate_series(1, {runs}) AS n, generate_series(1, {findings}) AS o;
INSERT INTO coverage SELECT 'run_' || md5(n::text), 0, o, true, 'an engine''s name', '1.2.3', repeat('a', {about})
  FROM generate_series(1, {runs}) AS n, generate_series(1, {coverage}) AS o;
INSERT INTO uses (at, key, action, status) SELECT now(), 'key' || n % 10000, 'POST /api/v1/eval/jobs', 202
  FROM generate_series(1, {runs}) AS n;
INSERT INTO jobs (id, kind, status, run_id, created, bytes, owner_group, owner_key)
  SELECT 'job_waits' || n, 'grade', 'pending', '', {start}, 2000, 'group1', 'key1' FROM generate_series(1, 256) AS n;
INSERT INTO payloads SELECT 'job_waits' || n, repeat('w', 2000)::bytea FROM generate_series(1, 256) AS n;
ANALYZE;
"""
RUN = "'run_' || md5('4711')"
JOB = "'job_' || md5('4711')"
QUESTIONS = {
    "whose a job is": f"SELECT owner_group FROM jobs WHERE id = {JOB}",
    "how far a waiting job is, and its place": "SELECT status, (SELECT count(*) FROM jobs AS o WHERE "
        "o.status = 'pending' AND o.seq <> j.seq AND (coalesce(o.lease_until >= now(), false) OR "
        "(o.attempts >= 3, o.seq) < (j.attempts >= 3, j.seq))) FROM jobs AS j WHERE id = 'job_waits200'",
    "a run: its versions": f"SELECT * FROM iterations WHERE run_id = {RUN} ORDER BY number",
    "a run: its findings": f"SELECT * FROM findings WHERE run_id = {RUN} ORDER BY number, ordinal",
    "a run: who checked it": f"SELECT * FROM coverage WHERE run_id = {RUN} ORDER BY number, ordinal",
    "room and quota, for a new job": "SELECT (SELECT count(*) FROM jobs WHERE status = 'pending' AND "
        "(lease_until IS NULL OR lease_until < now())), (SELECT count(*) FROM jobs WHERE owner_key = 'key7' "
        "AND created > {now} - 86400000)",
    "a new job": "INSERT INTO jobs (id, kind, run_id, created, bytes) VALUES ('job_new', 'grade', '', 1, 1)",
    "taking a job": "UPDATE jobs SET worker = 'w', attempts = attempts + 1, lease_until = now() + interval '30 s' "
        "WHERE seq = (SELECT seq FROM jobs WHERE status = 'pending' AND (lease_until IS NULL OR lease_until < "
        "now()) AND worker IS DISTINCT FROM 'w' ORDER BY attempts >= 3, seq FOR UPDATE SKIP LOCKED LIMIT 1)",
    "a verdict's job": "UPDATE jobs SET status = 'completed' WHERE id = 'job_waits9' AND status = 'pending'",
    "metrics": "SELECT count(*) FILTER (WHERE free), min(created) FILTER (WHERE free) FROM (SELECT created, "
        "(lease_until IS NULL OR lease_until < now()) AS free FROM jobs WHERE status = 'pending') AS p",
    "the oldest 1,000 runs, to be forgotten": "SELECT id FROM runs WHERE newest < {start} + 100000 AND NOT EXISTS "
        "(SELECT 1 FROM jobs WHERE jobs.run_id = runs.id AND status = 'pending' AND kind = 'iterate') "
        "ORDER BY newest LIMIT 1000 FOR UPDATE SKIP LOCKED",
}
TABLES = ("jobs", "runs", "iterations", "parts", "findings", "coverage", "uses")


def rows(options):
    settings = ["max_wal_size=4GB", "fsync=off", "full_page_writes=off", "shared_buffers=256MB"]
    with team_harness.Team(apis=1, workers=1, settings=settings) as team:
        key = team.key("bench", "--per-minute", "0")
        count = 40
        for number in range(count):
            hand_in(team, key, 2 * number)  # Notes and pages of code: the others repeat their flaws too often.
        settled(team)
        query = team.database.query
        mean = [float(value) for value in query(
            f"SELECT (SELECT count(*) FROM findings) / {count}.0, (SELECT count(*) FROM coverage) / {count}.0, "
            "(SELECT avg(length(evidence)) FROM findings), (SELECT avg(length(detail)) FROM findings), "
            "(SELECT avg(length(about)) FROM coverage)")[0]]
        print(f"a run of the samples: {mean[0]:.1f} findings, {mean[1]:.1f} lines of coverage")
        shape = dict(zip(("findings", "coverage", "evidence", "detail", "about"), (round(value) for value in mean)))
        team.apis[0].end()
        team.workers[0].end()
        query("TRUNCATE jobs, payloads, runs, iterations, parts, findings, coverage, works, uses")
        now = int(query("SELECT floor(extract(epoch FROM now()) * 1000)::bigint")[0][0])
        start = now - options.runs * 100
        query(FILL.format(start=start, runs=options.runs, **shape))
        print("| table | rows a run | bytes a run, indexes included |\n|---|---|---|")
        together = 0
        for table in TABLES:
            size, lines = (int(value) for value in query(
                f"SELECT pg_total_relation_size('{table}'), (SELECT count(*) FROM {table})")[0])
            together += size
            print(f"| {table} | {lines / options.runs:.1f} | {size / options.runs:.0f} |")
        print(f"| together | | {together / options.runs:.0f} |")
        print("| question | median of 9 | longest | by |\n|---|---|---|---|")
        for name, sql in QUESTIONS.items():
            times, plan = [], []
            for _ in range(9):
                # What it changes is undone: the next one finds what this one found.
                plan = query("BEGIN; EXPLAIN (ANALYZE) " + sql.format(now=now, start=start) + "; ROLLBACK")
                text = [line[0] for line in plan]
                times.append(sum(float(line.split(": ")[1].split()[0]) for line in text
                                 if line.startswith(("Planning Time", "Execution Time"))))
            ways = sorted({line.split("using ")[1].split()[0] for line in text if "using " in line}
                          | {line.split("on ")[1].split()[0] for line in text if "Bitmap Index Scan on " in line}
                          | {"every row of " + line.split("Seq Scan on ")[1].split()[0] for line in text
                             if "Seq Scan on " in line})
            print(f"| {name} | {statistics.median(times):.2f} ms | {max(times):.2f} ms | {', '.join(ways) or '-'} |")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("parts", nargs="*", metavar="PART", help="throughput, waiting, idle, rows")
    parser.add_argument("--jobs", type=int, default=40, help="works for each process and round")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--seconds", type=int, default=60, help="of waiting at each load, and of idling")
    parser.add_argument("--runs", type=int, default=1_000_000)
    parser.add_argument("--times", help="file for what works took, for bench/team_model.py")
    options = parser.parse_args()
    parts = options.parts or ["throughput", "waiting", "idle", "rows"]
    if "throughput" in parts:
        measured = throughput(options)
        if options.times:
            pathlib.Path(options.times).write_text(json.dumps(measured), encoding="utf-8")
    if "waiting" in parts:
        waiting(options)
    if "idle" in parts:
        idle(options)
    if "rows" in parts:
        rows(options)


main()
