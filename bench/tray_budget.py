#!/usr/bin/env python3
"""What does the product cost while it waits in the tray, and how fast is its panel there?

    bench/tray_budget.py EXECUTABLE SERVICE [--minutes N] [--openings N]

On one virtual desktop with a real tray host and a real editor, side by side with CopyQ's tray program:
the memory of both process trees (proportional set size) and the processor time of ours over some
minutes with the four-second tick running; then the time from a click on the tray icon to the drawn
panel, first and later; the growth of private memory over many openings; how late frames come during
a grade; and how long Quit takes while a grade polls.

Needs what scripts/bootstrap desktop bench installs.
"""

import argparse
import contextlib
import os
import pathlib
import signal
import statistics
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "scripts"))
from panel_driver import Panel  # noqa: E402

TICKS_PER_SECOND = os.sysconf("SC_CLK_TCK")


class Desktop:
    """A display, a bus, a window manager and a tray host with a home folder of their own."""

    def __init__(self, running):
        self.running = running
        self.home = pathlib.Path(running.enter_context(tempfile.TemporaryDirectory()))
        runtime = self.home / "runtime"
        runtime.mkdir(mode=0o700)
        read, write = os.pipe()
        self.environment = {
            "PATH": os.environ["PATH"], "HOME": str(self.home), "LANG": "C.UTF-8",
            "XDG_RUNTIME_DIR": str(runtime), "XDG_SESSION_TYPE": "x11",
            "GSETTINGS_BACKEND": "memory", "NO_AT_BRIDGE": "1",
        }
        self.start(["Xvfb", "-displayfd", str(write), "-screen", "0", "1280x800x24", "-nolisten",
                    "tcp", "-noreset"], pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as answer:
            self.environment["DISPLAY"] = ":" + answer.readline().strip()
        bus = self.start(["dbus-daemon", "--session", "--nofork", "--nosyslog", "--print-address=1"],
                         stdout=subprocess.PIPE, text=True)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip()
        self.start(["openbox"])
        self.start(["trayer", "--edge", "top", "--align", "right", "--widthtype", "request",
                    "--height", "28"])

    def start(self, command, **options):
        options.setdefault("stdout", subprocess.DEVNULL)
        options.setdefault("env", self.environment)
        child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                 **options)
        self.running.callback(end, child)
        return child

    def run(self, *command):
        return subprocess.run(command, env=self.environment, check=True, capture_output=True,
                              text=True).stdout


def end(child):
    if child.poll() is None:
        child.terminate()
        with contextlib.suppress(subprocess.TimeoutExpired):
            child.wait(timeout=5)
    if child.poll() is None:
        child.kill()
        child.wait()


def tree(root):
    """The process and everything that descends from it, as far as it runs now."""
    parents = {}
    for entry in pathlib.Path("/proc").iterdir():
        if entry.name.isdigit():
            with contextlib.suppress(OSError):
                fields = (entry / "stat").read_text().rpartition(")")[2].split()
                parents[int(entry.name)] = int(fields[1])
    found = [root]
    for pid in found:
        found += [child for child, parent in parents.items() if parent == pid]
    return found


def rollup(pid, *fields):
    total = 0
    with contextlib.suppress(OSError):
        for line in pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text().splitlines():
            if line.startswith(fields):
                total += int(line.split()[1])
    return total


def proportional(root):
    return sum(rollup(pid, "Pss:") for pid in tree(root)) / 1024


def private(pid):
    return rollup(pid, "Private_") / 1024


def processor_seconds(pid):
    """Of the process and of the children that it has waited for."""
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return sum(int(field) for field in fields[11:15]) / TICKS_PER_SECOND


class Product:
    """The product in the tray of a desktop, with its service."""

    def __init__(self, desktop, executable, service):
        self.desktop = desktop
        data = desktop.home / "service"
        self.service = answering = desktop.start([service, "--port", "0", "--data", str(data)],
                                  stdout=subprocess.PIPE, text=True)
        address = answering.stdout.readline().strip().rpartition(" ")[2]
        (desktop.home / ".brask").mkdir()
        (desktop.home / ".brask/validate.py").touch()  # not a first start
        trace = desktop.home / "trace.jsonl"
        environment = dict(desktop.environment, BRASK_API_BASE=address,
                           BRASK_API_KEY=(data / "key").read_text().strip(),
                           KELVANE_PANEL_TRACE=str(trace))
        self.process = desktop.start([executable], env=environment)
        self.pid = self.process.pid
        self.panel = Panel(trace, desktop.environment)
        self.icon = self.panel.wait_for_icon()

    def forget_trace(self):
        """Long traces take long to read; a new one is begun when the product writes next."""
        self.panel.trace.unlink(missing_ok=True)

    def click_to_frame(self):
        """Milliseconds from the click on the icon to the first frame of the panel."""
        self.forget_trace()
        self.desktop.run("xdotool", "mousemove", *map(str, self.icon))
        clicked = time.monotonic()
        self.desktop.run("xdotool", "click", "1")
        frame = self.panel.wait_for("the panel", lambda shown: shown is not None)
        first = next(event for event in self.panel.events() if event["event"] == "frame")
        assert first["time"] <= frame["time"]
        return (first["time"] - clicked) * 1000

    def close(self):
        self.desktop.run("xdotool", "key", "Escape")
        self.panel.wait_for("the panel's end", lambda shown: shown is None)


def idle_memory(desktop, product):
    copyq = desktop.start(["copyq"])
    time.sleep(20)
    ours, theirs = proportional(product.pid), proportional(copyq.pid)
    print(f"idle, proportional set size   {ours:8.1f} MB   CopyQ {theirs:.1f} MB   "
          f"ratio {ours / theirs:.2f} (budget 0.70)", flush=True)
    end(copyq)


def idle_processor(product, minutes):
    before, start = processor_seconds(product.pid), time.monotonic()
    time.sleep(minutes * 60)
    used, passed = processor_seconds(product.pid) - before, time.monotonic() - start
    print(f"idle, processor time          {100 * used / passed:8.2f} % of one core over "
          f"{passed:.0f} s (budget 0.40 %)", flush=True)


def opening(product, openings):
    first = product.click_to_frame()
    product.close()
    after_first, later = None, []
    for number in range(openings):
        later.append(product.click_to_frame())
        product.close()
        if number == openings // 10:
            after_first = private(product.pid)
    print(f"click to drawn panel, first   {first:8.1f} ms (budget 60)")
    print(f"click to drawn panel, later   {statistics.median(later):8.1f} ms, 95 % under "
          f"{statistics.quantiles(later, n=20)[-1]:.1f} ms (budget 15)")
    print(f"private memory after {openings // 10:4} openings {after_first:6.1f} MB, after "
          f"{openings} {private(product.pid):.1f} MB", flush=True)


def grading(product):
    """How late frames come while a grade is captured, sent and polled for."""
    product.forget_trace()
    product.panel.open()
    product.panel.click("Grade this")
    product.panel.wait_for_text("Grading…")
    product.panel.wait_for_text("Trevix ", "Held", "Clears")
    times = [event["time"] for event in product.panel.events() if event["event"] == "frame"
             and any("Grading…" in control["name"] for control in event["controls"])]
    gaps = sorted((later - earlier) * 1000 for earlier, later in zip(times, times[1:]))
    print(f"frames during a grade         {len(times):8} frames, the longest gap {gaps[-1]:.1f} ms, "
          f"median {statistics.median(gaps):.1f} ms (budget 50)", flush=True)


def quitting(product):
    """From Quit to the end of the process while a grade polls a service that says nothing."""
    product.panel.open()
    product.panel.click("Grade this")
    product.panel.wait_for_text("Grading…")
    time.sleep(0.5)
    os.kill(product.service.pid, signal.SIGSTOP)
    time.sleep(2)
    product.panel.open()
    product.panel.click("Settings")
    control = product.panel.control(
        product.panel.wait_for("Quit", lambda f: product.panel.control(f, "Quit")), "Quit")
    x, y, width, height = control["rect"]
    clicked = time.monotonic()
    product.panel.click_at(x + width // 2, y + height // 2)
    product.process.wait(timeout=10)
    passed = (time.monotonic() - clicked) * 1000
    os.kill(product.service.pid, signal.SIGCONT)
    print(f"Quit while a grade polls      {passed:8.1f} ms (budget 200)", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("executable", type=os.path.abspath)
    parser.add_argument("service", type=os.path.abspath)
    parser.add_argument("--minutes", type=float, default=5)
    parser.add_argument("--openings", type=int, default=500)
    options = parser.parse_args()
    with contextlib.ExitStack() as running:
        desktop = Desktop(running)
        document = desktop.home / "work.txt"
        document.write_text("All is well here, and stays so.\n" * 20)
        desktop.start(["mousepad", "--disable-server", str(document)])
        time.sleep(2)
        desktop.run("xdotool", "key", "ctrl+a")
        product = Product(desktop, options.executable, options.service)
        idle_memory(desktop, product)
        idle_processor(product, options.minutes)
        opening(product, options.openings)
        grading(product)
        quitting(product)


if __name__ == "__main__":
    main()
