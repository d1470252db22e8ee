#!/usr/bin/env python3
"""Does turn-on set the extension of GNOME Shell up, and take it away, and touch nothing else?

    gnome_turn_on_test.py BUNDLE

Runs the script of the built bundle in a made-up home, with a made-up GNOME.
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

BUNDLE = pathlib.Path(sys.argv.pop(1))
UUID = "kelvane-companion@trevix.example"
# Keeps the setting in a file beside it.
GSETTINGS = """#!/bin/sh
case $1 in
  get) cat "$0.value" ;;
  set) printf '%s\\n' "$4" > "$0.value" ;;
esac
"""


class TurnOn(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = pathlib.Path(folder.name) / "a home"
        self.programs = self.home / "bin"
        self.programs.mkdir(parents=True)
        self.program("gsettings", GSETTINGS)
        self.extension = self.home / ".local/share/gnome-shell/extensions" / UUID
        self.enabled("@as []")
        self.shell("43.9")

    def program(self, name, text):
        path = self.programs / name
        path.write_text(text, encoding="utf-8")
        path.chmod(0o755)

    def shell(self, version):
        self.program("gnome-shell", f"#!/bin/sh\necho GNOME Shell {version}\n")

    def enabled(self, value=None):
        path = self.programs / "gsettings.value"
        if value is not None:
            path.write_text(value + "\n", encoding="utf-8")
        return path.read_text(encoding="utf-8").strip()

    def run_it(self, *arguments):
        return subprocess.run([BUNDLE / "Contents/Resources/gnome-shell/turn-on", *arguments], text=True,
                              env={"HOME": str(self.home), "PATH": f"{self.programs}:{os.environ['PATH']}"},
                              capture_output=True, check=False)

    def test_sets_up_the_form_that_fits_for_the_program_of_this_bundle(self):
        for version, mark in [("43.9", "imports.gi"), ("44.1", "imports.gi"), ("45.0", "import Gio from"),
                              ("48.2", "import Gio from")]:
            self.shell(version)
            result = self.run_it()
            self.assertEqual(result.returncode, 0, result.stderr)
            self.assertIn("Log out and in again", result.stdout)
            self.assertIn(mark, (self.extension / "extension.js").read_text(encoding="utf-8"), version)
        program = (self.extension / "programs").read_text(encoding="utf-8").strip()
        self.assertEqual(program, str((BUNDLE / "Contents/MacOS/Kelvane").resolve()))

    def test_what_was_enabled_stays_enabled_and_nothing_is_listed_twice(self):
        self.enabled("['one@a', 'two@b']")
        self.run_it()
        self.run_it()
        self.assertEqual(self.enabled(), f"['one@a', 'two@b', '{UUID}']")
        self.run_it("--off")
        self.assertEqual(self.enabled(), "['one@a', 'two@b']")
        self.assertFalse(self.extension.exists())

    def test_alone_it_comes_and_goes(self):
        self.run_it()
        self.assertEqual(self.enabled(), f"['{UUID}']")
        self.run_it("--off")
        self.assertEqual(self.enabled(), "[]")

    def test_an_older_shell_and_a_wrong_word_change_nothing(self):
        self.shell("42.5")
        self.assertEqual(self.run_it().returncode, 1)
        self.assertEqual(self.run_it("--now").returncode, 2)
        self.assertEqual(self.enabled(), "@as []")
        self.assertFalse(self.extension.exists())


if __name__ == "__main__":
    unittest.main()
