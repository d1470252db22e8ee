#!/usr/bin/env python3
"""Is anything lost when the product is killed at any moment of its work?

    bench/product_siege.py KELVANE.APP SERVICE [--kills N] [--seed N]

Brings up a virtual display with a window manager and an editor whose text is selected, a local
service, and a home folder whose coding tools and product have settings of the user's. Then, so many
times: starts the product, has it grade what is in front again and again, or presses keys in its window
of settings, or has it install itself beside, and kills all of it after a random time. After each
kill, what bench/install_siege.py looks at has to be whole, and beside it the product's settings with
what the user wrote there, every verdict of the history, every note of a job under way; the document
has to be what it was, and no key may be held. A job that was noted as under way has to have exactly
one verdict in the history once the product has run undisturbed at the end. The random numbers start
from the seed, which is printed, and so is every kill. Ends with 1 when anything was lost.

Needs Linux with Xvfb, openbox, mousepad and xdotool. Kills only processes whose home folder is the one
that it made.
"""

import argparse
import ctypes
import json
import os
import pathlib
import random
import signal
import subprocess
import sys
import tempfile
import threading
import time
import urllib.request

import install_siege

PATIENCE = 60       # seconds for what comes by itself
DOCUMENT = "# Launch note\n\nThe feature ships on Monday. It was tested by two people.\n" * 3
USERS_SETTINGS = '{\n  "mine": {"kept": true},\n  "preview": "elsewhere"\n}\n'
KEYS = ["Tab", "shift+Tab", "space", "Down", "Up"]
WAYS = ("grade", "grade", "settings", "install", "everything")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("bundle", type=pathlib.Path)
    parser.add_argument("service", type=pathlib.Path)
    parser.add_argument("--kills", type=int, default=200)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1 << 32))
    options = parser.parse_args()
    print("seed", options.seed, flush=True)
    with tempfile.TemporaryDirectory(prefix="kelvane-siege-") as folder:
        folder = pathlib.Path(folder).resolve()
        with Desk(folder / "desk", options.service.resolve()) as desk:
            siege = ProductSiege(folder, options.bundle.resolve(), desk)
            try:
                lost = siege.run(options.kills, random.Random(options.seed))
            finally:
                siege.kill_all()
    for line in lost:
        print("LOST", line)
    print("{} kills ({}): settings changed before {} of them, {} jobs under way, {} verdicts kept; "
          "{} losses".format(
        options.kills, ", ".join("{} {}".format(n, way) for way, n in sorted(siege.ways.items())),
        siege.changes, len(siege.under_way), siege.kept, len(lost)))
    return 1 if lost else 0


def until(what, wanted, patience=PATIENCE):
    deadline = time.monotonic() + patience
    while True:
        found = wanted()
        if found:
            return found
        if time.monotonic() > deadline:
            raise SystemExit("{}: it never came".format(what))
        time.sleep(0.05)


class Desk:
    """A display, a window manager, a service, and an editor with a document. Nobody kills those."""

    def __init__(self, folder, service):
        self.folder, self.service, self.started = folder, service, []
        (folder / "home").mkdir(parents=True)
        (folder / "runtime").mkdir(mode=0o700)
        self.environment = {"HOME": str(folder / "home"), "PATH": os.environ["PATH"], "LANG": "C.UTF-8",
                            "XDG_RUNTIME_DIR": str(folder / "runtime"), "GSETTINGS_BACKEND": "memory",
                            "NO_AT_BRIDGE": "1", "DBUS_SESSION_BUS_ADDRESS": "disabled:"}

    def __enter__(self):
        try:
            self.set_up()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for program in reversed(self.started):
            program.terminate()
            program.wait()

    def start(self, *command, **more):
        program = subprocess.Popen([str(word) for word in command], env=self.environment,
                                   stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   **{"stdout": subprocess.DEVNULL, **more})
        self.started.append(program)
        return program

    def set_up(self):
        read, write = os.pipe()
        self.start("Xvfb", "-displayfd", write, "-screen", "0", "1280x800x24", "-nolisten", "tcp",
                   "-noreset", pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as told:
            self.display = self.environment["DISPLAY"] = ":" + told.readline().strip()
        self.start("openbox")
        service = self.start(self.service, "--port", "0", "--data", self.folder / "service",
                             stdout=subprocess.PIPE)
        self.base = service.stdout.readline().decode().split()[-1]
        self.key = (self.folder / "service/key").read_text().strip()
        page = self.folder / "launch-note.md"
        page.write_text(DOCUMENT)
        self.start("mousepad", page)
        self.editor = until("the editor", lambda: self.windows("--name", "launch-note.md"))[0]
        self.select_all()

    def select_all(self):
        """As the user has it before every round. Clicks nothing, so nothing is deselected."""
        self.xdotool("windowactivate", "--sync", self.editor, "key", "--clearmodifiers", "ctrl+a")

    def windows(self, *search):
        return self.xdotool("search", "--onlyvisible", *search).split()

    def xdotool(self, *words):
        """What it prints; a window that has gone meanwhile is no error."""
        return subprocess.run(["xdotool", *words], env=self.environment, capture_output=True,
                              text=True, timeout=PATIENCE, check=False).stdout

    def document_was_changed(self):
        """Editors of this kind begin their title with a star then. It is undone for the next round."""
        changed = self.xdotool("getwindowname", self.editor).strip().startswith("*")
        if changed:
            self.xdotool("windowactivate", "--sync", self.editor, "key", "--repeat", "99", "ctrl+z")
        return changed

    def held_keys(self):
        x11 = ctypes.CDLL("libX11.so.6")
        x11.XOpenDisplay.restype = ctypes.c_void_p
        link = x11.XOpenDisplay(self.display.encode())
        keys = ctypes.create_string_buffer(32)
        x11.XQueryKeymap(ctypes.c_void_p(link), keys)
        x11.XCloseDisplay(ctypes.c_void_p(link))
        return [code for code in range(256) if keys.raw[code // 8] >> code % 8 & 1]

    def job(self, job_id):
        request = urllib.request.Request(self.base + "/api/v1/eval/jobs/" + job_id,
                                         headers={"Authorization": "Bearer " + self.key})
        with urllib.request.urlopen(request, timeout=PATIENCE) as answer:
            return json.load(answer)


class ProductSiege(install_siege.Siege):
    def __init__(self, folder, bundle, desk):
        super().__init__(folder, bundle)
        self.desk = desk
        self.environment.update({"DISPLAY": desk.display, "QT_QPA_PLATFORM": "xcb",
                                 "BRASK_API_BASE": desk.base, "BRASK_API_KEY": desk.key})
        self.under_way, self.kept, self.changes = set(), 0, 0
        self.ways = dict.fromkeys(WAYS, 0)
        self.ended, self.may_grade = threading.Event(), threading.Event()
        (self.home / ".brask").mkdir()
        self.settings = self.home / ".brask/settings.json"
        self.settings.write_text(USERS_SETTINGS)

    def run(self, kills, chance):
        began = time.monotonic()
        self.install_undisturbed(0)
        usual = time.monotonic() - began
        lost = self.losses("the first installation")
        self.start_product(0)
        until("the product", self.is_there)
        began = time.monotonic()
        self.kelvane("--grade")
        until("a verdict", lambda: list((self.home / ".brask/history").glob("*.json")))
        a_grade = time.monotonic() - began
        self.kill_all()
        print("an installation takes {:.1f} s, a grade {:.1f} s".format(usual, a_grade), flush=True)
        for number in range(kills):
            way = chance.choice(WAYS)
            self.ways[way] += 1
            if way == "settings":
                self.settings.write_text(USERS_SETTINGS)
            after, ended = self.besiege(way, chance, usual, a_grade)
            found = self.losses("kill {} ({}, after {:.2f} s)".format(number, way, after))
            if ended is not None:
                found.append("kill {}: the product had ended with {}".format(number, ended))
            print("kill {}: {} after {:.2f} s, {} verdicts, {} under way{}".format(
                number, way, after, self.kept, len(self.notes()), "".join("\n  LOST " + f for f in found)),
                flush=True)
            lost += found
            self.changes += way == "settings" and self.settings.read_text() != USERS_SETTINGS
        return lost + self.losses_at_the_end()

    def besiege(self, way, chance, usual, a_grade):
        """One round. How long the product was left to itself, and how it ended if it did before."""
        installs = way in ("install", "everything")
        self.desk.select_all()
        if installs:
            (self.home / ".brask/validate.py").unlink(missing_ok=True)
        product = self.start_product(chance.randrange(2))
        if installs and chance.random() < 0.5:
            self.start_installer(*chance.choice(
                [(tool, "--global") for tool in install_siege.TOOLS] + [("uninstall", "all", "--global")]))
        most = usual if installs else a_grade
        # What is done in the window of settings, and a grade, begin when there is somebody to do them.
        if not installs or chance.random() < 0.5:
            until("the product", self.is_there)
            most = max(a_grade, 0.5)
        keys = [chance.choice(KEYS) for _ in range(400)]
        after = chance.uniform(0, 1.3 * most)
        self.ended.clear()
        self.may_grade.clear()
        grading = threading.Thread(target=self.keep_grading)
        pressing = threading.Thread(target=self.press, args=(keys,))
        if way != "settings":
            grading.start()
        if way in ("settings", "everything"):
            after += 0.5
            pressing.start()
        else:
            self.may_grade.set()
        time.sleep(after)
        self.ended.set()
        if pressing.ident:
            # Killed between a key's press and its release, the editor would get the rest.
            pressing.join()
            time.sleep(chance.uniform(0, 0.05))
        ended = product.poll()
        self.kill_all()
        if grading.ident:
            grading.join()
        self.kill_all()
        return after, ended

    def kelvane(self, *switches):
        program = self.bundles[0] / "Contents/MacOS/Kelvane"
        return subprocess.run([str(program), *switches], env=self.environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                              check=False, timeout=PATIENCE)

    def is_there(self):
        return self.kelvane("--status").returncode == 0

    def keep_grading(self):
        # A window that opens within a capture loses the keyboard to it again, faster than anybody types.
        while not self.ended.is_set() and not self.may_grade.wait(0.05):
            pass
        while not self.ended.is_set():
            self.kelvane("--grade")
            self.ended.wait(0.1)

    def press(self, keys):
        """Presses keys while the window of settings has the keyboard; in the panel they might choose
        to quit, or to go to a line in the editor."""
        # Without an instance this would be one, whose end nobody waits for.
        while not self.ended.is_set() and not self.is_there():
            self.ended.wait(0.05)
        if not self.ended.is_set():
            self.kelvane("--settings")
        while not self.ended.is_set() and keys:
            if self.desk.xdotool("getactivewindow", "getwindowname").startswith("Kelvane Settings"):
                self.may_grade.set()
                self.desk.xdotool("key", *keys[:3])
                del keys[:3]
            self.ended.wait(0.02)

    def notes(self):
        """The files about jobs under way."""
        return list((self.home / ".brask/under-way").glob("*.json"))

    def losses(self, when):
        lost = super().losses(when)
        text = self.settings.read_text() if self.settings.exists() else ""
        try:
            kept = json.loads(text).get("mine") == {"kept": True}
        except ValueError:
            kept = False
        if not kept:
            lost.append("{}: the settings are {!r}".format(when, text))
        verdicts = list((self.home / ".brask/history").glob("*.json"))
        if len(verdicts) < self.kept:
            lost.append("{}: {} verdicts of {}".format(when, len(verdicts), self.kept))
        self.kept = len(verdicts)
        for file in verdicts + self.notes():
            try:
                said = json.loads(file.read_text())
            except ValueError:
                lost.append("{}: {} cannot be read".format(when, file.name))
                continue
            if file.parent.name == "under-way":
                self.under_way.add(said["job_id"])
            if file.stat().st_mode & 0o077:
                lost.append("{}: others may read {}".format(when, file.name))
        if self.desk.document_was_changed():
            lost.append("{}: the document is not what it was".format(when))
        held = self.desk.held_keys()
        if held:
            lost.append("{}: the keys {} are held".format(when, held))
        return lost

    def losses_at_the_end(self):
        """Of what was noted as under way, and of what kills leave behind."""
        self.settings.write_text(USERS_SETTINGS)
        self.install_undisturbed(1)
        self.start_product(1)
        until("the product", self.is_there)
        until("the verdicts of what was under way", lambda: not self.notes(), 2 * PATIENCE)
        self.kelvane("--grade")
        count = self.kept
        until("one more verdict", lambda: len(list((self.home / ".brask/history").glob("*.json"))) > count)
        until("its note to go", lambda: not self.notes())
        self.kill_all()
        lost = self.losses("the end")
        runs = [json.loads(file.read_text()).get("run_id")
                for file in (self.home / ".brask/history").glob("*.json")]
        for job in sorted(self.under_way):
            told = self.desk.job(job)
            run = told.get("run_id")
            if told.get("status") == "completed" and runs.count(run) != 1:
                lost.append("job {}: {} verdicts in the history".format(job, runs.count(run)))
        for run in set(runs):
            if run and runs.count(run) > 1:
                lost.append("run {}: {} verdicts in the history".format(run, runs.count(run)))
        left = [str(path.relative_to(self.home)) for path in self.home.rglob("*")
                if path.name.startswith(".kelvane-") or path.name.endswith(".new")]
        if left:
            lost.append("left over: {}".format(left))
        return lost


if __name__ == "__main__":
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    sys.exit(main())
