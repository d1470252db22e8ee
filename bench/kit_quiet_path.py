#!/usr/bin/env python3
"""What does the validator's hook cost when there is nothing to do?

    bench/kit_quiet_path.py [--python PATH] [--pairs N] [--check]

A coding tool runs the hook on every edit and at the end of every turn. Each case is measured
against a bare `python3 -c pass`, pair by pair, so that what else the machine does weighs on both
sides; the figure is the median of the ratios. With --check the exit code is 1 when a quiet path
costs more than twice the bare start. The kit is a copy in a temporary data folder, with compiled
files as in use.
"""

import argparse
import os
import pathlib
import shutil
import socket
import statistics
import subprocess
import sys
import tempfile
import time

KIT = pathlib.Path(__file__).resolve().parent.parent / "resources" / "kit"
BUDGET = 2.0
STOP = b'{"session_id":"bench","cwd":"/","hook_event_name":"Stop","stop_hook_active":false}'
OTHER = b'{"session_id":"bench","cwd":"/","hook_event_name":"SessionStart"}'


def edit(path):
    """An edit of this file, as the coding tool reports it."""
    return ('{"session_id":"bench","cwd":"/","hook_event_name":"PostToolUse","tool_name":"Edit",'
            '"tool_input":{"file_path":"%s"}}' % path).encode()


def closed_port():
    """A port of this machine on which nobody listens."""
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def seconds(command, event, environment):
    start = time.perf_counter()
    subprocess.run(command, input=event, env=environment, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, check=True)
    return time.perf_counter() - start


def measure(python, script, event, environment, pairs, prepare=None):
    """The median ratio, and the medians of both sides in milliseconds."""
    bare, hook, ratios = [], [], []
    for _ in range(pairs + 3):
        if prepare:
            prepare()
        first = seconds([python, "-c", "pass"], b"", environment)
        second = seconds([python, str(script), "--harness", "claude"], event, environment)
        bare.append(first * 1e3)
        hook.append(second * 1e3)
        ratios.append(second / first)
    return tuple(statistics.median(values[3:]) for values in (ratios, bare, hook))


def cases(data, work):
    """(name, event, with a key, what to do before each run, whether the budget holds)."""
    source = work / "a.py"
    source.write_text("def f(x):\n    return x + 1\n" * 200)
    state = data / "state"
    changed = state / "changed" / "bench"

    def record():
        changed.parent.mkdir(parents=True, exist_ok=True)
        changed.write_text('"%s"\n' % source)

    def forget():
        shutil.rmtree(state, ignore_errors=True)

    def known_down():
        record()
        (state / "down").touch()
        later = time.time() + 600
        os.utime(state / "down", (later, later))

    def found_down():
        forget()
        record()

    yield "no key, an edit", edit(source), False, None, True
    yield "no key, end of a turn", STOP, False, None, True
    yield "another event", OTHER, True, None, True
    yield "end of a turn without changes", STOP, True, forget, True
    yield "end of a turn, service known to be down", STOP, True, known_down, True
    yield "end of a turn, service found down", STOP, True, found_down, True
    yield "an edit, first of the session", edit(source), True, forget, False
    yield "an edit, file known", edit(source), True, None, False


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--python", default=sys.executable)
    parser.add_argument("--pairs", type=int, default=41)
    parser.add_argument("--check", action="store_true")
    options = parser.parse_args()
    over = False
    with tempfile.TemporaryDirectory() as folder:
        home = pathlib.Path(folder, "home")
        data = home / ".brask"
        work = pathlib.Path(folder, "work")
        work.mkdir()
        shutil.copytree(KIT / "standing", data / "standing",
                        ignore=shutil.ignore_patterns("__pycache__"))
        shutil.copy(KIT / "validate.py", data / "validate.py")
        subprocess.run([options.python, "-m", "compileall", "-q", str(data / "standing")],
                       check=True)
        print("| Case | Ratio (median) | Bare start | Hook |\n|---|---|---|---|")
        for name, event, keyed, prepare, budgeted in cases(data, work):
            environment = {"HOME": str(home), "PATH": os.environ["PATH"],
                           "BRASK_API_BASE": "http://127.0.0.1:%d" % closed_port()}
            if keyed:
                environment["BRASK_API_KEY"] = "bench"
            ratio, bare, hook = measure(options.python, data / "validate.py", event, environment,
                                        options.pairs, prepare)
            over = over or (budgeted and ratio > BUDGET)
            print("| %s%s | %.2f x | %.1f ms | %.1f ms |"
                  % (name, "" if budgeted else " (not the quiet path)", ratio, bare, hook))
    return 1 if options.check and over else 0


if __name__ == "__main__":
    sys.exit(main())
