"""A Chromium without a window, driven over the pipe of its DevTools protocol.

    with Chromium(find()) as browser:
        browser.open("http://127.0.0.1:8797/")
        browser.evaluate("document.title")

Every call blocks until the browser has answered, or raises `BrowserError` after `LONGEST` seconds, which
only says that it is not going to happen. The browser has a profile of its own that goes with it.
"""

import base64
import json
import os
import select
import shutil
import subprocess
import tempfile
import time

LONGEST = 60.0
KEYS = {"Enter": ("Enter", 13, "\r"), "Tab": ("Tab", 9, "")}


class BrowserError(Exception):
    """The browser did not do as asked, or ended."""


def find():
    """The program, or None where there is none."""
    for name in ("chromium", "chromium-browser", "google-chrome"):
        path = shutil.which(name)
        if path:
            return path
    return None


class Chromium:
    """One browser with one page."""

    def __init__(self, program, width=1100, height=900):
        self._profile = tempfile.mkdtemp(prefix="report-browser-")
        to_read, self._write = os.pipe()
        self._read, to_write = os.pipe()

        def hand_over():
            # 3 and 4 are what the protocol is spoken over.
            read, write = os.dup(to_read), os.dup(to_write)
            os.dup2(read, 3)
            os.dup2(write, 4)
        self._process = subprocess.Popen(
            [program, "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
             "--no-first-run", "--disable-extensions", "--disable-background-networking",
             "--disable-component-update", "--hide-scrollbars", "--remote-debugging-pipe",
             # What is pressed before the first picture of a page is passed over otherwise.
             "--allow-pre-commit-input",
             "--window-size=%d,%d" % (width, height), "--user-data-dir=" + self._profile,
             "about:blank"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            # A browser that is killed leaves a folder of its own behind there.
            env={**os.environ, "TMPDIR": self._profile}, preexec_fn=hand_over, close_fds=False)
        os.close(to_read)
        os.close(to_write)
        self._buffer = b""
        self._number = 0
        self._events = []
        self._session = None
        try:
            target = self.call("Target.createTarget", url="about:blank")["targetId"]
            self._session = self.call("Target.attachToTarget", targetId=target,
                                      flatten=True)["sessionId"]
            for domain in ("Page", "Runtime", "Log"):
                self.call(domain + ".enable")
            self.call("Page.setLifecycleEventsEnabled", enabled=True)
            self.size(width, height)
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        """Ends the browser."""
        self._process.kill()
        self._process.wait()
        os.close(self._read)
        os.close(self._write)
        shutil.rmtree(self._profile, ignore_errors=True)

    def call(self, method, **parameters):
        """One command of the protocol; its result."""
        self._number += 1
        message = {"id": self._number, "method": method, "params": parameters}
        if self._session and not method.startswith("Target."):
            message["sessionId"] = self._session
        os.write(self._write, json.dumps(message).encode("ascii") + b"\0")
        while True:
            answer = self._message()
            if answer.get("id") == self._number:
                if "error" in answer:
                    raise BrowserError("%s: %s" % (method, answer["error"].get("message")))
                return answer["result"]
            if "method" in answer:
                self._events.append(answer)

    def open(self, address):
        """Goes to the address and waits until it is loaded."""
        self._events.clear()
        answer = self.call("Page.navigate", url=address)
        if "errorText" in answer:
            raise BrowserError("%s: %s" % (address, answer["errorText"]))
        self._loaded(answer["loaderId"])

    def evaluate(self, expression):
        """The value of an expression in the page, as JSON has it."""
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True,
                           awaitPromise=True)
        if "exceptionDetails" in answer:
            raise BrowserError("%s: %s" % (expression, answer["exceptionDetails"].get("text")))
        return answer["result"].get("value")

    def press(self, key):
        """One key, as from a keyboard."""
        name, code, text = KEYS.get(key, (key, ord(key[0].upper()), key))
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=name, windowsVirtualKeyCode=code,
                      text=text if kind == "keyDown" else "")

    def click(self, selector):
        """The left button of the mouse on the middle of the first element."""
        place = self.evaluate(
            "(() => { const e = document.querySelector(%s); if (!e) return null;"
            " e.scrollIntoView({block: 'center', behavior: 'instant'});"
            " const r = e.getBoundingClientRect();"
            " return [r.x + r.width / 2, r.y + r.height / 2]; })()" % json.dumps(selector))
        if place is None:
            raise BrowserError("there is no " + selector)
        for kind in ("mousePressed", "mouseReleased"):
            self.call("Input.dispatchMouseEvent", type=kind, x=place[0], y=place[1], button="left",
                      clickCount=1)

    def follow(self, selector):
        """Clicks on what leads to another page, and waits until that is loaded."""
        self._events.clear()
        self.click(selector)
        arrived = self._await(lambda event: event["method"] == "Page.frameNavigated"
                              and "parentId" not in event["params"]["frame"])
        self._loaded(arrived["params"]["frame"]["loaderId"])

    def type(self, text):
        """Text into what has the focus."""
        self.call("Input.insertText", text=text)

    def size(self, width, height, mobile=False):
        """Of the page, in CSS pixels."""
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height,
                  deviceScaleFactor=1, mobile=mobile)

    def prefer(self, scheme, media=""):
        """"light" or "dark"; `media` "print" for paper. Nothing moves by itself: what glides still
        would not be pressed where it was seen."""
        self.call("Emulation.setEmulatedMedia", media=media,
                  features=[{"name": "prefers-color-scheme", "value": scheme},
                            {"name": "prefers-reduced-motion", "value": "reduce"}])

    def scripts(self, run):
        """Whether pages may run scripts."""
        self.call("Emulation.setScriptExecutionDisabled", value=not run)

    def complaints(self):
        """What the browser logged since the last page was opened: breaches of the page's policy
        are there, and errors of scripts."""
        self.evaluate("1")
        return [event["params"]["entry"]["text"] for event in self._events
                if event["method"] == "Log.entryAdded"] + [
                    event["params"]["exceptionDetails"].get("text", "") for event in self._events
                    if event["method"] == "Runtime.exceptionThrown"]

    def picture(self, path, whole=True):
        """Writes a PNG picture of the page."""
        data = self.call("Page.captureScreenshot", format="png", captureBeyondViewport=whole)["data"]
        with open(path, "wb") as file:
            file.write(base64.b64decode(data))

    def _loaded(self, loader):
        """Waits for the end of one page's loading: another's, the empty first one's above all, may be
        told late."""
        self._await(lambda event: event["method"] == "Page.lifecycleEvent"
                    and event["params"]["name"] == "load"
                    and event["params"]["loaderId"] == loader)

    def _await(self, wanted):
        """The first event of that kind, those included that came before."""
        while True:
            for number, event in enumerate(self._events):
                if wanted(event):
                    del self._events[number]
                    return event
            message = self._message()
            if "method" in message:
                self._events.append(message)

    def _message(self):
        until = time.monotonic() + LONGEST
        while b"\0" not in self._buffer:
            ready, _, _ = select.select([self._read], [], [], max(0.0, until - time.monotonic()))
            data = os.read(self._read, 1 << 16) if ready else b""
            if not data:
                raise BrowserError("the browser ended" if ready else "the browser does not answer")
            self._buffer += data
        message, self._buffer = self._buffer.split(b"\0", 1)
        return json.loads(message.decode("utf-8"))
