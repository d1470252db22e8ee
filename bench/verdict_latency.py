#!/usr/bin/env python3
"""How long does a verdict take, and how much of that is not the engines'?

    bench/verdict_latency.py [--runs N] [--check] TREVIX_LOCAL

Starts the service on a free port of the loopback with a data folder of its own, hands it a page of
prose, 500 lines of shell and of Python, and a picture of a window, and times each from the request
to the verdict, as the one client. Beside it the programs that are asked about such work are run
bare, as they are run on such a file, in turns with the verdicts; the figure is the ratio of the
medians, against the slowest of them. Prose and pictures are judged in process: there is no
program to hold them against.
With --check the exit code is 1 when a budget is not kept.
"""

import argparse
import base64
import http.client
import json
import os
import pathlib
import re
import secrets
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUDGET_MS = {"prose": 150, "shell": 600, "Python": 600, "window": 3000}
BUDGET_RATIO = 1.3
IDLE_PSS_MB = 25
PAUSE_S = 0.4  # As between two works of a person in a hurry; the next child is begun meanwhile.

SENTENCE = ("The parcel left the depot on a Monday and reached the harbour two days later. "
            "Nobody had asked for it, and so it stayed in the hall until the porter came back. ")
SHELL = 'name_%d() {\n  local file="$1"\n  if [ -f "$file" ]; then\n    echo "$file: %d"\n  fi\n}\n\n'
PYTHON = ("def weigh_%d(parcels):\n    total = %d\n    for parcel in parcels:\n"
          "        total += parcel.weight\n    return total\n\n\n")
RULES = "E9,F4,F50,F52,F6,F7,F811,F82,PLE,B002,B003,B006,S1,S2,S3,S5,S6,S7"


def repeated(piece, lines, header=""):
    text, number = header, 0
    while text.count("\n") < lines:
        text += piece % (number, number)
        number += 1
    return text


class Service:
    def __init__(self, program):
        self.folder = tempfile.mkdtemp(prefix="verdict-latency-")
        self.key = secrets.token_hex(20)
        self.process = subprocess.Popen(
            [program, "--port", "0", "--data", self.folder + "/data", "--key", self.key],
            stdout=subprocess.PIPE, text=True, env=dict(os.environ, HOME=self.folder))
        found = re.search(r":(\d+)", self.process.stdout.readline().partition("//")[2])
        self.connection = http.client.HTTPConnection("127.0.0.1", int(found[1]), timeout=60)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(20)
        shutil.rmtree(self.folder, ignore_errors=True)

    def call(self, method, path, body=None):
        self.connection.request(method, path, body and json.dumps(body).encode(), {
            "Authorization": "Bearer " + self.key, "Content-Type": "application/json"})
        return json.loads(self.connection.getresponse().read())

    def verdict_ms(self, part, modality):
        begun = time.monotonic()
        job = self.call("POST", "/api/v1/eval/jobs", {
            "submission": "async", "modality": modality, "user_prompt": "",
            "artifact_parts": [part]})["job_id"]
        while self.call("GET", "/api/v1/eval/jobs/" + job)["status"] not in ("completed", "failed"):
            time.sleep(0.002)
        return 1000 * (time.monotonic() - begun)

    def children(self):
        """The processes below the service."""
        below = {}
        for stat in pathlib.Path("/proc").glob("[0-9]*/stat"):
            try:
                parent = int(stat.read_text().rpartition(")")[2].split()[1])
            except OSError:
                continue
            below.setdefault(parent, []).append(int(stat.parent.name))
        found, left = [], [self.process.pid]
        while left:
            more = below.get(left.pop(), [])
            found += more
            left += more
        return found

    def pss_mb(self):
        return pss_kb(self.process.pid) / 1024


def pss_kb(process):
    rollup = pathlib.Path(f"/proc/{process}/smaps_rollup").read_text()
    return int(re.search(r"^Pss:\s+(\d+)", rollup, re.MULTILINE)[1])


def bare(command, folder):
    begun = time.monotonic()
    subprocess.run(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                   check=False)
    return 1000 * (time.monotonic() - begun)


def window(folder):
    """A picture of writing as large as a window; None without ImageMagick."""
    if not shutil.which("convert"):
        return None
    text = "\n".join((SENTENCE * 40)[i:i + 110] for i in range(0, 4400, 110))
    (folder / "window.txt").write_text(text)
    subprocess.run(["convert", "-size", "1280x800", "xc:white", "-pointsize", "15", "-fill", "black",
                    "-annotate", "+20+30", "@" + str(folder / "window.txt"),
                    str(folder / "window.png")], check=False, stderr=subprocess.DEVNULL)
    file = folder / "window.png"
    return base64.b64encode(file.read_bytes()).decode() if file.exists() else None


def works(folder):
    """Name, part, modality, and the commands of the programs that may be the slowest, by name."""
    def part(name, mime, text):
        return {"mime_type": mime, "logical_name": name, "text": text}
    shell = repeated(SHELL, 500, "#!/bin/bash\n")
    python = repeated(PYTHON, 500)
    (folder / "work.sh").write_text(shell)
    (folder / "work.py").write_text(python)
    yield "prose", part("a.txt", "text/plain", SENTENCE * 14), "document", {}
    checker = shutil.which("shellcheck")
    yield ("shell", part("a.sh", "text/x-code", shell), "code",
           {"ShellCheck": [checker, "--norc", "--format=json1", "--shell", "bash", "work.sh"]}
           if checker else {})
    ruff = ROOT / "build/engines/node_modules/@astral-sh/ruff-wasm-nodejs/ruff_wasm.js"
    node = shutil.which("node")
    asked = {}
    if node and ruff.exists():
        shutil.copy(ROOT / "resources/engines/ruff_runner.mjs", folder)
        asked["Ruff"] = [node, "ruff_runner.mjs", str(ruff), "work.py", RULES]
    if shutil.which("bandit"):
        asked["Bandit"] = ["bandit", "-q", "-f", "json", "work.py"]
    yield "Python", part("a.py", "text/x-code", python), "code", asked
    picture = window(folder)
    if picture:
        yield ("window", {"mime_type": "image/png", "logical_name": "a.png", "data_b64": picture},
               "ui_ux", {})
    else:
        print("window    NOT RUN: there is no ImageMagick to draw it")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("program", metavar="TREVIX_LOCAL")
    parser.add_argument("--runs", type=int, default=9)
    parser.add_argument("--check", action="store_true")
    options = parser.parse_args()
    kept = True
    with tempfile.TemporaryDirectory() as name, Service(options.program) as service:
        folder = pathlib.Path(name)
        print("work      first     p50     max   slowest program   ratio")
        for work, part, modality, asked in works(folder):
            first = service.verdict_ms(part, modality)
            times, alone = [], {program: [] for program in asked}
            for _ in range(options.runs):
                time.sleep(PAUSE_S)
                times.append(service.verdict_ms(part, modality))
                for program, command in asked.items():
                    alone[program].append(bare(command, folder))
            p50 = statistics.median(times)
            row = f"{work:8}{first:6.0f} ms{p50:5.0f} ms{max(times):5.0f} ms"
            kept = kept and p50 <= BUDGET_MS[work]
            if alone:
                against, slowest = max((statistics.median(took), program)
                                       for program, took in alone.items())
                row += f"{against:12.0f} ms{p50 / against:12.2f} x  {slowest}"
                kept = kept and p50 <= BUDGET_RATIO * against
            print(row, flush=True)
        waited = time.monotonic()
        while service.children() and time.monotonic() - waited < 90:
            time.sleep(1)
        idle = service.pss_mb()
        kept = kept and not service.children() and idle <= IDLE_PSS_MB
        print(f"idle: {idle:.1f} MB (PSS), {len(service.children())} children, "
              f"{time.monotonic() - waited:.0f} s after the last work")
    return 1 if options.check and not kept else 0


if __name__ == "__main__":
    sys.exit(main())
