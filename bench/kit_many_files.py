#!/usr/bin/env python3
"""What does `brask grade` add to the time that judging many files takes?

    bench/kit_many_files.py TREVIX_LOCAL [--files N] [--check]

N small files of prose, tables and code, 1,000 of them by default, are judged twice by the same service:
by a bare client, which hands in four works at a time and asks again every 5 ms, and by one run of
`brask grade` over their folder. The first is what the engines themselves take, near enough. The files
of the two runs differ in a number, so that nothing is remembered from one to the other. With --check
the exit code is 1 when the run takes more than twice as long, or does not name every file in its turn.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time
import urllib.request

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUDGET = 2.0
KINDS = (("md", "document", "# Note %d\n\nThis is a short note, and it says what it has to say.\n"),
         ("csv", "spreadsheet", "name,amount\nrent,%d\nfood,20\n"),
         ("py", "code", "def answer():\n    return %d\n"))

sys.path.insert(0, str(ROOT / "tests" / "kit" / "validator"))
sys.path.insert(0, str(ROOT / "resources" / "kit" / "standing"))


def works(count, first):
    for number in range(count):
        ending, modality, text = KINDS[number % len(KINDS)]
        yield "f%04d.%s" % (number, ending), modality, text % (first + number)


def ask(base, key, path, body=None):
    request = urllib.request.Request(base + path, headers={
        "Authorization": "Bearer " + key, "Content-Type": "application/json"},
        data=None if body is None else json.dumps(body).encode())
    with urllib.request.urlopen(request, timeout=60) as answer:
        return json.load(answer)


def judged(base, key, work):
    name, modality, text = work
    job = ask(base, key, "/api/v1/eval/jobs", {
        "submission": "async", "modality": modality, "user_prompt": "Validate this.",
        "artifact_parts": [{"mime_type": "text/plain", "logical_name": name, "text": text}]})["job_id"]
    while ask(base, key, "/api/v1/eval/jobs/" + job)["status"] not in ("completed", "failed"):
        time.sleep(0.005)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("service")
    parser.add_argument("--files", type=int, default=1000)
    parser.add_argument("--check", action="store_true")
    options = parser.parse_args()
    os.environ["TREVIX_LOCAL"] = os.path.abspath(options.service)
    import surroundings
    service = surroundings.LocalService()
    try:
        variables = service.variables()
        base, key = variables["BRASK_API_BASE"], variables["BRASK_API_KEY"]
        for work in works(len(KINDS), 10 ** 6):
            judged(base, key, work)  # the engines are warm in both
        start = time.perf_counter()
        with concurrent.futures.ThreadPoolExecutor(4) as four:
            list(four.map(lambda work: judged(base, key, work), works(options.files, 0)))
        bare = time.perf_counter() - start
        with tempfile.TemporaryDirectory() as folder:
            for name, _, text in works(options.files, 500000):
                (pathlib.Path(folder) / name).write_text(text, encoding="utf-8")
            start = time.perf_counter()
            done = subprocess.run(
                [sys.executable, "-I", str(ROOT / "resources/kit/validate.py"), "grade", "--json", folder],
                env=dict(variables, HOME=folder, PATH=os.environ["PATH"]), stdout=subprocess.PIPE,
                stderr=subprocess.PIPE, check=False)
            run = time.perf_counter() - start
    finally:
        service.stop()
    files = json.loads(done.stdout)["files"]
    named = done.stderr.count(b" of %d, " % options.files)
    print("%d files: bare %.1f s, brask %.1f s, %.2f x; %d named in their turn, %d without a verdict"
          % (len(files), bare, run, run / bare, named,
             sum(file["band"] == "unknown" for file in files)))
    whole = len(files) == named == options.files
    sys.exit(1 if options.check and (run > BUDGET * bare or not whole) else 0)


if __name__ == "__main__":
    main()
