#!/usr/bin/env python3
"""What does a detection report cost beside the process list that it cannot do without?

    bench/detect_startup.py EXECUTABLE [PAIRS]

Runs the whole process `EXECUTABLE --detect` and the whole process `ps -axo comm=` in turn, and prints
both times and the median of the ratios of the pairs. In four settings: as started, and with 2,000
more processes in the list; each without a display, and on a virtual desktop with an editor in front.
"""

import contextlib
import os
import statistics
import subprocess
import sys
import tempfile
import time


def run(command, environment):
    start = time.perf_counter()
    subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                   stderr=subprocess.DEVNULL, env=environment, check=True)
    return (time.perf_counter() - start) * 1000


def pairs(executable, environment, count):
    detect, ps = [executable, "--detect"], ["ps", "-axo", "comm="]
    for command in (detect, ps):
        run(command, environment)
    results = []
    for number in range(count):
        if number % 2:
            second = run(ps, environment)
            first = run(detect, environment)
        else:
            first = run(detect, environment)
            second = run(ps, environment)
        results.append((first, second))
    return results


@contextlib.contextmanager
def desktop():
    """The environment of a virtual desktop with a window manager and an editor in front."""
    with contextlib.ExitStack() as running, tempfile.TemporaryDirectory() as home:
        def start(command, **options):
            child = subprocess.Popen(command, stdout=subprocess.DEVNULL,
                                     stderr=subprocess.DEVNULL, **options)
            running.callback(child.wait)
            running.callback(child.terminate)

        read, write = os.pipe()
        # A server that starts anew whenever its last client leaves would be what is measured.
        start(["Xvfb", "-displayfd", str(write), "-nolisten", "tcp", "-noreset"],
              pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as answer:
            number = answer.readline().strip()
        environment = dict(os.environ, DISPLAY=f":{number}", XDG_SESSION_TYPE="x11", HOME=home,
                           GSETTINGS_BACKEND="memory", NO_AT_BRIDGE="1")
        environment.pop("WAYLAND_DISPLAY", None)
        start(["openbox"], env=environment)
        start(["mousepad"], env=environment)
        time.sleep(2)
        yield environment


@contextlib.contextmanager
def sleepers(count):
    children = [subprocess.Popen(["sleep", "1000"]) for _ in range(count)]
    try:
        yield
    finally:
        for child in children:
            child.kill()
        for child in children:
            child.wait()


def print_row(name, results):
    ratios = [first / second for first, second in results]
    first, second = zip(*results)
    low, _, high = statistics.quantiles(ratios, n=4)
    print(f"| {name} | {statistics.median(first):.1f} ms | {statistics.median(second):.1f} ms "
          f"| {statistics.median(ratios):.2f} | {low:.2f} to {high:.2f} |", flush=True)


def main():
    executable = os.path.abspath(sys.argv[1])
    count = int(sys.argv[2]) if len(sys.argv) > 2 else 100
    plain = {name: value for name, value in os.environ.items()
             if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
    print("| setting | `--detect` | `ps -axo comm=` | ratio | middle half of the ratios |")
    print("|---|---|---|---|---|")
    with desktop() as shown:
        for processes in (0, 2000):
            with sleepers(processes):
                more = f", {processes} more processes" if processes else ""
                print_row("no display" + more, pairs(executable, plain, count))
                print_row("a desktop" + more, pairs(executable, shown, count))


if __name__ == "__main__":
    main()
