#!/usr/bin/env python3
"""Uses the panel as somebody at the screen would, on an X11 desktop with a tray.

    scripts/panel_driver.py open           click the icon in the tray until the panel is drawn
    scripts/panel_driver.py click NAME     click the button or menu item of that name
    scripts/panel_driver.py grade NAME     click it and wait until the grade that it starts has ended
    scripts/panel_driver.py say            print what the panel says
    scripts/panel_driver.py place          print where the panel is: X Y WIDTH HEIGHT

The product must have been started with KELVANE_PANEL_TRACE naming a file, and this with the same
value. Needs xdotool and xprop. Exits 1, saying what the panel said last, when something does not
come within a minute. The icon is taken to be the only one in the tray.
"""

import json
import os
import pathlib
import re
import subprocess
import sys
import time

PATIENCE = 60


class PanelError(Exception):
    """The panel did not do what was waited for."""


class Panel:
    def __init__(self, trace, environment=None):
        self.trace = pathlib.Path(trace)
        self.environment = environment or os.environ

    def events(self):
        """All whole lines of the trace, oldest first."""
        try:
            text = self.trace.read_text(encoding="utf-8")
        except FileNotFoundError:
            return []
        return [json.loads(line) for line in text.splitlines(keepends=True) if line.endswith("\n")]

    def frame(self):
        """What was drawn last, or None while the panel is not shown."""
        last = None
        for event in self.events():
            if event["event"] == "frame":
                last = event
            elif event["event"] == "hidden":
                last = None
        return last

    def texts(self):
        """What the panel says, from top to bottom."""
        frame = self.frame()
        return [control["name"] for control in frame["controls"]
                if control["role"] == "text"] if frame else []

    def wait_for(self, what, wanted, patience=PATIENCE):
        """The first frame (None while hidden) for which `wanted` holds."""
        deadline = time.monotonic() + patience
        while True:
            frame = self.frame()
            if wanted(frame):
                return frame
            if time.monotonic() > deadline:
                raise PanelError(f"{what}: it never came; the panel says {self.texts()}")
            time.sleep(0.01)

    def wait_for_text(self, *texts):
        def says(frame):
            return frame and any(text in control["name"] for control in frame["controls"]
                                 for text in texts)
        return self.wait_for(" or ".join(texts), says)

    def run(self, *command):
        return subprocess.run(command, env=self.environment, check=True, capture_output=True,
                              text=True).stdout

    def icon(self):
        """Where the icon is in the tray, or None."""
        for window in self.tray_windows():
            geometry = dict(line.split("=") for line in self.run(
                "xdotool", "getwindowgeometry", "--shell", window).split())
            width, height = int(geometry["WIDTH"]), int(geometry["HEIGHT"])
            if width >= 12:  # a host without an icon is a sliver
                return int(geometry["X"]) + width // 2, int(geometry["Y"]) + height // 2
        return None

    def tray_windows(self):
        owned = self.run("xprop", "-root", "_NET_CLIENT_LIST")
        windows = re.findall(r"0x[0-9a-f]+", owned)
        return [window for window in windows
                if "trayer" in self.run("xprop", "-id", window, "WM_CLASS")]

    def wait_for_icon(self):
        deadline = time.monotonic() + PATIENCE
        while time.monotonic() < deadline:
            place = self.icon()
            if place:
                return place
            time.sleep(0.05)
        raise PanelError("no icon came into the tray")

    def click_at(self, x, y):
        self.run("xdotool", "mousemove", str(x), str(y), "click", "1")

    def open(self):
        # A tray host makes room for an icon before the icon can hear of clicks; a person whose
        # click did nothing clicks again.
        for attempts_left in (2, 1, 0):
            if self.frame() is not None:
                return
            self.click_at(*self.wait_for_icon())
            try:
                self.wait_for("the panel", lambda frame: frame is not None, patience=6)
            except PanelError:
                if not attempts_left:
                    raise

    def click(self, name):
        def there(frame):
            return self.control(frame, name) is not None
        x, y, width, height = self.control(self.wait_for(name, there), name)["rect"]
        self.click_at(x + width // 2, y + height // 2)

    def grade(self, name):
        """Clicks what starts a grade and waits for the frame that shows what came of it."""
        before = len(self.events())
        self.click(name)
        deadline = time.monotonic() + PATIENCE
        while time.monotonic() < deadline:
            # All frames since, lest a grade be missed that is over before anybody looks.
            frames = [event for event in self.events()[before:] if event["event"] == "frame"]
            if any(map(self.is_grading, frames)) and not self.is_grading(frames[-1]):
                return frames[-1]
            time.sleep(0.05)
        raise PanelError(f"{name}: the grade did not end; the panel says {self.texts()}")

    @staticmethod
    def is_grading(frame):
        return any("Grading…" in control["name"] for control in frame["controls"])

    @staticmethod
    def control(frame, name):
        """The enabled button or menu item of that name in the frame, or None."""
        for control in frame["controls"] if frame else []:
            if (control["name"] == name and control["enabled"]
                    and control["role"] in ("button", "menuitem")):
                return control
        return None


def main(arguments):
    trace = os.environ.get("KELVANE_PANEL_TRACE")
    if not arguments or not trace:
        print(__doc__, file=sys.stderr)
        return 2
    panel = Panel(trace)
    command, *rest = arguments
    try:
        if command == "open":
            panel.open()
        elif command == "click" and len(rest) == 1:
            panel.click(rest[0])
        elif command == "grade" and len(rest) == 1:
            panel.grade(rest[0])
        elif command == "say":
            print("\n".join(panel.texts()))
        elif command == "place":
            frame = panel.frame()
            if frame is None:
                raise PanelError("the panel is not shown")
            print(*frame["window"])
        else:
            print(__doc__, file=sys.stderr)
            return 2
    except (PanelError, subprocess.CalledProcessError, FileNotFoundError) as error:
        print(f"panel_driver: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
