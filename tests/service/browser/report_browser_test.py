#!/usr/bin/env python3
"""The report page in a real browser: filter, keyboard, dismissing and undoing, other widths, paper.

    TREVIX_LOCAL=build/dev/trevix-local tests/service/browser/report_browser_test.py

Skips, loudly and with status 77, where there is no Chromium. `SHOTS=DIR` keeps pictures of the pages.
"""

import base64
import json
import os
import signal
import struct
import subprocess
import sys
import tempfile
import threading
import unittest
import urllib.error
import urllib.parse
import urllib.request
import zlib

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import chromium  # noqa: E402

KEY = "a-key-of-the-test"
PROSE = ("# Notes\n\nThe the panel opens at once, and she don't like it.\n\n"
         "It was recieve by all. TODO: say more about it.\n")
REVISED = PROSE.replace("The the", "The")
CODE = "def run(command):\n    print('DEBUG', command)\n    return eval(command)\n"
TABLE = "Name,Amount\n" + "".join("n%d,%d\n" % (i, i) for i in range(30)) + "last,#REF!\n"


# The lowest contrast of any text with what lies behind it, as WCAG reckons it, with its element.
CONTRAST = """(() => {
  const channels = colour => {
    const canvas = document.createElement('canvas');
    canvas.width = canvas.height = 1;
    const context = canvas.getContext('2d');
    context.fillStyle = colour;
    context.fillRect(0, 0, 1, 1);
    return [...context.getImageData(0, 0, 1, 1).data];
  };
  const light = colour => {
    const [r, g, b] = colour.map(c => c / 255).map(
        c => c <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4);
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
  };
  const over = (top, below, share) => below.map((c, i) => top[i] * share + c * (1 - share));
  const ground = element => {
    const layers = [];
    for (let each = element; each; each = each.parentElement) {
      const colour = channels(getComputedStyle(each).backgroundColor);
      if (colour[3] > 0) layers.unshift(colour);
      if (colour[3] === 255) break;
    }
    return layers.reduce((below, layer) => over(layer, below, layer[3] / 255), [255, 255, 255]);
  };
  let lowest = [99, ''];
  for (const element of document.querySelectorAll('main *')) {
    const speaks = [...element.childNodes].some(n => n.nodeType === 3 && n.textContent.trim());
    if (!speaks || element.closest('svg') || element.getClientRects().length === 0) continue;
    let share = 1;
    for (let each = element; each; each = each.parentElement) {
      share *= Number(getComputedStyle(each).opacity);
    }
    const below = ground(element);
    const text = over(channels(getComputedStyle(element).color), below, share);
    const [a, b] = [light(text), light(below)].sort((x, y) => y - x);
    const contrast = (a + 0.05) / (b + 0.05);
    if (contrast < lowest[0]) lowest = [contrast, element.tagName + '.' + element.className];
  }
  return lowest;
})()"""


def picture(width=320, height=200):
    """A grey picture with a darker block: a window with nothing in it."""
    rows = b"".join(b"\0" + bytes((200,)) * width for _ in range(height))

    def chunk(kind, data):
        return (struct.pack(">I", len(data)) + kind + data
                + struct.pack(">I", zlib.crc32(kind + data)))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, 0))
            + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


class Service:
    """The built service over folders of its own."""

    def __init__(self, program, folder):
        self.home = os.path.join(folder, "home")
        os.makedirs(self.home)
        self._process = subprocess.Popen(
            [program, "--port", "0", "--data", os.path.join(folder, "data"), "--key", KEY],
            env={"PATH": os.environ.get("PATH", ""), "HOME": self.home},
            stdout=subprocess.PIPE, text=True)
        self.base = self._process.stdout.readline().split()[-1]

    def call(self, path, body=None):
        request = urllib.request.Request(
            self.base + path, None if body is None else json.dumps(body).encode("utf-8"),
            {"Authorization": "Bearer " + KEY, "Content-Type": "application/json"})
        with urllib.request.urlopen(request, timeout=120) as answer:
            return json.loads(answer.read().decode("utf-8"))

    def graded(self, modality, *parts):
        job = self.call("/api/v1/eval/jobs", {
            "submission": "async", "modality": modality, "user_prompt": "x",
            "artifact_parts": list(parts)})["job_id"]
        pause = threading.Event()
        while True:
            status = self.call("/api/v1/eval/jobs/" + job)
            if status["status"] == "completed":
                return status["run_id"]
            if status["status"] == "failed":
                raise AssertionError(status["error"])
            pause.wait(0.05)

    def run(self, run):
        return self.call("/api/v1/eval/runs/" + run)["run"]

    def address(self, run):
        """Where a browser opens the report: by a ticket, where reports need one."""
        try:
            return self.call("/api/v1/eval/runs/%s/ticket" % run, {})["report"]
        except urllib.error.HTTPError as error:
            if error.code != 404:
                raise
            return self.base + "/console?run=" + run

    def end(self):
        self._process.send_signal(signal.SIGKILL)
        self._process.wait()
        self._process.stdout.close()


def text(name, content, kind="text/markdown"):
    return {"mime_type": kind, "logical_name": name, "text": content}


class ReportInABrowser(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="report-browser-")
        cls.service = Service(os.environ["TREVIX_LOCAL"], cls.folder.name)
        cls.browser = chromium.Chromium(chromium.find())
        cls.prose = cls.service.graded("document", text("notes.md", PROSE))
        cls.code = cls.service.graded("code", text("run.py", CODE, "text/x-code"))
        cls.table = cls.service.graded("spreadsheet", text("t.csv", TABLE, "text/csv"))
        cls.image = cls.service.graded("ui_ux", {
            "mime_type": "image/png", "logical_name": "window.png",
            "data_b64": base64.b64encode(picture()).decode("ascii")})
        cls.revised = cls.service.graded("document", text("notes.md", PROSE))
        cls.service.call("/api/v1/eval/runs/%s/iterate" % cls.revised, {
            "decision": "re_prompt", "user_prompt": "x",
            "new_artifact_parts": [text("notes.md", REVISED)]})

    @classmethod
    def tearDownClass(cls):
        cls.browser.close()
        cls.service.end()
        cls.folder.cleanup()

    def setUp(self):
        self.browser.scripts(True)
        self.browser.prefer("light")
        self.browser.size(1100, 900)

    def show(self, run):
        self.browser.open(self.service.address(run))

    def shot(self, name):
        folder = os.environ.get("SHOTS")
        if folder:
            self.browser.picture(os.path.join(folder, name + ".png"))

    def visible(self, selector):
        return self.browser.evaluate(
            "[...document.querySelectorAll(%s)].filter(e => e.getClientRects().length > 0).length"
            % json.dumps(selector))

    def focused(self):
        return self.browser.evaluate("document.activeElement.id")

    def test_every_kind_of_work_is_shown_with_its_flaws(self):
        for name, run, marked in (("text", self.prose, ".prose mark"), ("code", self.code, ".code mark"),
                                  ("table", self.table, "td.marked")):
            self.show(run)
            self.assertGreater(self.visible(marked), 0, name)
            self.assertEqual(self.browser.complaints(), [], name)
            self.shot(name)
        self.show(self.image)
        self.assertEqual(self.browser.evaluate(
            "(() => { const i = new Image(); return new Promise(done => {"
            " i.onload = () => done(i.width); i.onerror = () => done(0);"
            " i.src = document.querySelector('image').getAttribute('href'); }); })()"), 320)
        self.assertEqual(self.browser.complaints(), [])
        self.shot("picture")

    def test_the_filter_hides_flaws_and_their_marks(self):
        self.show(self.prose)
        medium = self.visible(".flaw.f-medium")
        other = self.visible(".flaw:not(.f-medium)")
        self.assertGreater(medium, 0)
        self.assertGreater(other, 0)
        self.browser.click("#show-medium")
        self.assertEqual(self.visible(".flaw.f-medium"), 0)
        self.assertEqual(self.visible(".ref.f-medium"), 0)
        self.assertEqual(self.visible(".flaw:not(.f-medium)"), other)
        self.show(self.prose)
        self.assertEqual(self.visible(".flaw.f-medium"), 0, "kept over a reload")
        self.browser.click("#show-medium")
        self.assertEqual(self.visible(".flaw.f-medium"), medium)

    def test_the_filter_works_without_the_script(self):
        self.browser.scripts(False)
        self.show(self.code)
        self.browser.click("#show-high")
        self.browser.scripts(True)
        self.assertEqual(self.visible(".flaw.f-high"), 0)
        self.assertEqual(self.visible(".steps"), 0, "buttons that would do nothing are not shown")
        self.assertGreater(self.visible(".flaw"), 0)

    def test_keys_step_from_flaw_to_flaw(self):
        self.show(self.prose)
        count = self.visible(".flaw[id]")
        self.browser.press("n")
        self.assertEqual(self.focused(), "f1")
        self.browser.press("j")
        self.assertEqual(self.focused(), "f2")
        self.browser.press("p")
        self.browser.press("k")
        self.assertEqual(self.focused(), "f%d" % count, "round the end")
        self.assertNotEqual(self.browser.evaluate(
            "getComputedStyle(document.activeElement).outlineStyle"), "none")
        self.browser.click(".say > summary")
        self.browser.click(".say[open] input[name=reason]")
        self.browser.type("nope")
        self.assertEqual(self.browser.evaluate("document.activeElement.value"), "nope",
                         "keys belong to who writes")

    def test_the_first_stop_skips_to_the_content(self):
        self.show(self.prose)
        self.browser.press("Tab")
        self.assertEqual(self.browser.evaluate("document.activeElement.className"), "skip")
        self.browser.press("Enter")
        self.assertEqual(self.focused(), "main")

    def test_a_flaw_is_dismissed_with_a_reason_and_that_is_undone(self):
        for scripts in (True, False):
            with self.subTest(scripts=scripts):
                self.browser.scripts(scripts)
                self.show(self.code)
                before = self.service.run(self.code)
                flaw = ".flaw.f-high"
                self.browser.click(flaw + " .say > summary")
                self.browser.click(flaw + " input[name=reason]")
                self.browser.type("it is a console")
                self.browser.follow(flaw + " .say button")
                self.browser.scripts(True)
                self.assertIn("it is a console",
                              self.browser.evaluate("document.querySelector('.flaw.f-off').innerText"))
                after = self.service.run(self.code)
                self.assertGreater(after["score"], before["score"])
                self.assertEqual(len(after["dismissed"]), 1)
                self.shot("dismissed")
                self.browser.scripts(scripts)
                self.browser.follow(".flaw.f-off button[value=undo]")
                self.browser.scripts(True)
                self.assertEqual(self.visible(".flaw.f-off"), 0)
                self.assertEqual(self.service.run(self.code)["score"], before["score"])

    def test_a_word_goes_into_the_dictionary_and_out(self):
        self.show(self.prose)
        self.browser.follow("button[value=add-word]")
        with open(os.path.join(self.service.home, ".config/kelvane/dictionary.txt"),
                  encoding="utf-8") as file:
            self.assertEqual(file.read(), "recieve\n")
        self.assertEqual(self.visible(".flaw.f-off"), 1)
        self.browser.follow("button[value=remove-word]")
        self.assertEqual(self.visible(".flaw.f-off"), 0)

    def test_another_page_cannot_speak_for_the_person(self):
        self.show(self.prose)
        token = self.browser.evaluate("document.querySelector('[name=token]').value")
        finding = self.browser.evaluate("document.querySelector('[name=finding]').value")
        form = ("<form method=post action='%s/console?run=%s'><input name=token value=%s>"
                "<input name=finding value=%s><button name=do value=dismiss>x</button></form>"
                % (self.service.base, self.prose, token, finding))
        self.browser.open("data:text/html," + urllib.parse.quote(form))
        self.browser.follow("button")
        self.assertIn("other web pages", self.browser.evaluate("document.body.innerText"))
        self.assertEqual(self.service.run(self.prose)["dismissed"], [])

    def test_a_revision_shows_what_changed(self):
        self.show(self.revised)
        self.browser.click(".changes > summary")
        self.assertEqual(self.visible(".diff del"), 1)
        self.assertEqual(self.visible(".diff ins"), 1)
        self.assertGreater(self.visible(".diff del mark"), 0)
        self.shot("changes")

    def test_a_phone_is_wide_enough(self):
        self.browser.size(400, 800, True)
        for run in (self.prose, self.code, self.table, self.image, self.revised):
            self.show(run)
            self.assertLessEqual(
                self.browser.evaluate("document.documentElement.scrollWidth"), 400)
        self.show(self.prose)
        self.shot("phone")

    def test_dark_and_light_are_different_and_readable(self):
        grounds = {}
        for scheme in ("light", "dark"):
            self.browser.prefer(scheme)
            self.show(self.prose)
            grounds[scheme] = self.browser.evaluate(
                "[getComputedStyle(document.body).backgroundColor,"
                " getComputedStyle(document.body).color]")
            self.shot(scheme)
        self.assertGreater(_brightness(grounds["light"][0]), 200)
        self.assertLess(_brightness(grounds["light"][1]), 60)
        self.assertLess(_brightness(grounds["dark"][0]), 60)
        self.assertGreater(_brightness(grounds["dark"][1]), 200)

    def test_every_text_stands_out_from_what_is_behind_it(self):
        for scheme in ("light", "dark"):
            self.browser.prefer(scheme)
            for run in (self.prose, self.code, self.table, self.image, self.revised):
                self.show(run)
                self.browser.evaluate(
                    "document.querySelectorAll('details').forEach(each => { each.open = true; })")
                contrast, where = self.browser.evaluate(CONTRAST)
                self.assertGreaterEqual(contrast, 4.5, (scheme, where))

    def test_paper_has_the_flaws_and_no_controls(self):
        self.browser.prefer("light", "print")
        self.show(self.prose)
        self.assertGreater(self.visible(".flaw"), 0)
        self.assertGreater(self.visible("mark"), 0)
        self.assertEqual(self.visible("button, input, .tools, .say"), 0)


def _brightness(colour):
    numbers = [float(n) for n in colour[colour.index("(") + 1:-1].split(",")[:3]]
    return sum(numbers) / 3


if __name__ == "__main__":
    if chromium.find() is None:
        print("SKIPPED: there is no Chromium here (scripts/bootstrap test), so nobody has looked at "
              "the report page", file=sys.stderr)
        sys.exit(77)
    unittest.main(verbosity=2)
