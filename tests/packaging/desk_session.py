#!/usr/bin/env python3
"""A person's session at a desktop, in the Debian that fresh_root_test.py makes.

    desk_session.py first EDITOR...   starts the program from the menu, has work graded on this machine by one
                                      click, grades in each editor
    desk_session.py again EDITOR...   what login starts starts; grades in each editor, and is asked nothing
    desk_session.py away              what login starts starts; uninstalls by the menu in the panel

An EDITOR is a command, blanks included, that takes a file. Everything that a session starts runs on when this
ends, as when the power fails: whoever runs it ends its namespace. Window manager, tray and editors have a
home folder of their own, so that what is in the person's is the product's doing.
"""

import os
import pathlib
import shlex
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from panel_driver import Panel  # noqa: E402

ID = "example.trevix.kelvane.menubar"
HOME = pathlib.Path(os.environ["HOME"])
CHOICE = HOME / ".brask/service"
FLAWED = "We recieved the the report on Tuesday, 14 September 2026.\n"
# Seconds; it only says when something is not going to happen.
PATIENCE = 120


def step(text):
    print(time.strftime("%H:%M:%S"), text, flush=True)


def wait_until(what, told):
    """The first answer of what() that counts as true."""
    until = time.monotonic() + PATIENCE
    while time.monotonic() < until:
        answer = what()
        if answer:
            return answer
        time.sleep(0.05)
    raise SystemExit(f"{told}: it never came")


class Session:
    def __init__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        runtime, other = self.folder / "runtime", self.folder / "home"
        runtime.mkdir(mode=0o700)
        other.mkdir()
        os.environ.update(XDG_RUNTIME_DIR=str(runtime), XDG_SESSION_TYPE="x11", LANG="C.UTF-8",
                          GSETTINGS_BACKEND="memory")
        self.others = {**os.environ, "HOME": str(other), "NO_AT_BRIDGE": "1"}
        self.log = open(self.folder / "log", "wb")
        read, write = os.pipe()
        self.start(["dbus-daemon", "--session", "--nofork", "--nosyslog", f"--print-address={write}"],
                   pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as told:
            bus = told.readline().strip()
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = self.others["DBUS_SESSION_BUS_ADDRESS"] = bus
        self.start(["openbox"])
        wait_until(lambda: "window id" in self.said("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"),
                   "the window manager")
        self.start(["trayer", "--edge", "top", "--align", "right", "--widthtype", "request", "--height", "28"])
        # What lets a test read the product's alerts, and know what its panel draws.
        os.environ.update(QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", KELVANE_PANEL_TRACE=str(self.folder / "trace"))
        self.panel = Panel(self.folder / "trace")
        self.alerts = Alerts()

    def start(self, command, **options):
        return subprocess.Popen(command, env=self.others, stdin=subprocess.DEVNULL, stdout=self.log,
                                stderr=self.log, **options)

    def said(self, *command):
        return subprocess.run(command, env=self.others, capture_output=True, text=True, check=False).stdout

    def launched(self, *command):
        """A desktop's way to start a program of an entry, which does not wait for it."""
        subprocess.run(command, check=True, stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log)

    def log_in(self):
        entry = HOME / f".config/autostart/{ID}.desktop"
        self.launched("gio", "launch", str(entry))
        self.panel.wait_for_icon()

    def click(self, button):
        self.panel.click_at(*self.alerts.place_of(button))
        wait_until(lambda: not self.alerts.has(button), f"the alert with {button} to go")

    def says(self, switch, status, *texts):
        told = subprocess.run(["kelvane", switch], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              check=False)
        missing = [text for text in texts if text not in told.stdout]
        if told.returncode != status or missing:
            raise SystemExit(f"kelvane {switch} ends with {told.returncode} and lacks {missing}: "
                             f"{told.stdout}{told.stderr}")

    def note(self, name):
        path = self.folder / f"{name}.txt"
        path.write_text(FLAWED, encoding="utf-8")
        return path

    def grade(self, editor):
        note = self.note(shlex.split(editor)[0])
        process = self.start([*shlex.split(editor), str(note)])
        window = wait_until(lambda: self.said("xdotool", "search", "--onlyvisible", "--name", note.name).split(),
                            f"{editor} with {note.name}")[0]
        for _ in range(5):
            # A window can be there before it takes keys.
            self.said("xdotool", "windowactivate", "--sync", window)
            self.said("xdotool", "key", "--clearmodifiers", "ctrl+a")
            self.panel.open()
            self.panel.grade("Grade this")
            said = self.panel.texts()
            self.said("xdotool", "key", "Escape")
            self.panel.wait_for("the panel to close", lambda frame: frame is None)
            if any("recieved" in text for text in said):
                break
        else:
            raise SystemExit(f"{editor}: no verdict on its text; the panel says {said}")
        if not any(text.startswith("Trevix ") for text in said) or any("SHIP" in text for text in said):
            raise SystemExit(f"{editor}: no verdict of a flawed text: {said}")
        process.terminate()
        process.wait()
        step(f"graded in {editor}")


class Alerts:
    """The product's alerts, as they are told to who has them read aloud."""

    def __init__(self):
        import gi  # It asks for the bus of the session at once.
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi, GLib
        self.atspi, self.error = Atspi, GLib.Error
        Atspi.init()
        Atspi.get_desktop(0).set_cache_mask(Atspi.Cache.NONE)

    def buttons(self):
        """{name: where its middle is}, of all alerts."""
        found = {}

        def read(node):
            for number in range(node.get_child_count()):
                child = node.get_child_at_index(number)
                if child is None:
                    continue
                if child.get_role() == self.atspi.Role.PUSH_BUTTON:
                    place = child.get_component_iface().get_extents(self.atspi.CoordType.SCREEN)
                    if place.width > 0:
                        found[child.get_name()] = (place.x + place.width // 2, place.y + place.height // 2)
                read(child)

        desktop = self.atspi.get_desktop(0)
        try:
            for number in range(desktop.get_child_count()):
                program = desktop.get_child_at_index(number)
                for window in range(program.get_child_count()):
                    alert = program.get_child_at_index(window)
                    if alert.get_role() in (self.atspi.Role.ALERT, self.atspi.Role.DIALOG):
                        read(alert)
        except (self.error, AttributeError):
            return {}  # It went away meanwhile.
        return found

    def has(self, button):
        return button in self.buttons()

    def place_of(self, button):
        """Once it stays where it is: a window manager moves a window after it can be read."""
        places = []

        def still():
            places.append(self.buttons().get(button))
            return places[-1] and places[-4:].count(places[-1]) == 4
        wait_until(still, f"an alert with {button}")
        return places[-1]


def main(which, *editors):
    session = Session()
    if which == "first":
        session.says("--status", 1, "Kelvane:  does not run", "Wired:    no coding tool")
        session.says("--doctor", 1, "It does not start when you log in.", "There is no key.",
                     "The local service is /usr/bin/trevix-local.")
        session.launched("gtk-launch", ID)
        session.click("Grade on this machine")
        wait_until(lambda: CHOICE.exists() and "service: this machine\n" in CHOICE.read_text(encoding="utf-8"),
                   "the choice")
        step("chosen by one click")
    else:
        session.log_in()
        step("started by the login")
    for editor in editors:
        session.grade(editor)
    if session.alerts.buttons():
        raise SystemExit(f"something is asked: {session.alerts.buttons()}")
    if which == "away":
        session.panel.open()
        session.panel.click("Settings")
        session.panel.click("Uninstall Kelvane…")
        session.click("Uninstall")
        session.click("OK")
        wait_until(lambda: not session.said("pgrep", "-f", "Kelvane.app").strip(), "the end of the program")
        step("uninstalled")
        return
    graded = subprocess.run(["brask", "grade", "--quiet", session.note("brask")], capture_output=True, text=True,
                            check=False)
    if graded.returncode != 1 or "recieved" not in graded.stdout:
        raise SystemExit(f"brask does not know where to grade: {graded.stdout}{graded.stderr}")
    step("graded by brask")
    session.says("--status", 0, "Kelvane:  runs", "Grade:    route_to_fix", "Service:  this machine", ", answers")
    session.says("--doctor", 0, "It starts when you log in.", "The key is the local service's own.",
                 "Claude Code is wired.")
    step("all is well, says the doctor")


if __name__ == "__main__":
    if len(sys.argv) < 2 or sys.argv[1] not in ("first", "again", "away"):
        sys.exit(__doc__)
    main(*sys.argv[1:])
