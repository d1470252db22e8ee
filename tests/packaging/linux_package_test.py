#!/usr/bin/env python3
"""Does an installation hold all that belongs to it, each thing where a Linux system looks for it?

    linux_package_test.py BUILD CMAKE IDENTIFIER

Installs the finished build in folder BUILD into a made-up root, as the Debian package does.
"""

import configparser
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
BUILD, CMAKE = (pathlib.Path(argument) for argument in sys.argv[1:3])
ID = sys.argv[3]


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.prefix = pathlib.Path(cls.folder.name) / "a root" / "usr"
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", cls.prefix], check=True,
                       stdout=subprocess.DEVNULL)
        cls.contents = cls.prefix / "lib/kelvane/Kelvane.app/Contents"

    def entry(self, name=ID):
        found = configparser.ConfigParser(interpolation=None)
        found.optionxform = str
        found.read(self.prefix / f"share/applications/{name}.desktop", encoding="utf-8")
        return found["Desktop Entry"]

    def test_bundle_is_whole(self):
        for name in ["MacOS/Kelvane", "Frameworks/libKelvaneShell.so", "Resources/app-catalog.json",
                     "Resources/brask.png"]:
            self.assertTrue((self.contents / name).is_file(), name)
        self.assertTrue(os.access(self.contents / "MacOS/Kelvane", os.X_OK))

    def test_extension_of_gnome_shell_is_there_in_both_forms(self):
        folder = self.contents / "Resources/gnome-shell"
        for form in ["43", "45"]:
            told = json.loads((folder / form / "metadata.json").read_text(encoding="utf-8"))
            self.assertIn(form, told["shell-version"])
            script = (folder / form / "extension.js").read_text(encoding="utf-8")
            self.assertIn("class CompanionService", script)
            self.assertNotIn("@", script.split("class CompanionService", 1)[0])
        self.assertTrue(os.access(folder / "turn-on", os.X_OK))

    def test_kit_is_the_one_of_the_build_without_pythons_leftovers(self):
        def files(folder):
            return {path.relative_to(folder): path.read_bytes() for path in folder.rglob("*")
                    if path.is_file() and path.suffix != ".pyc"}
        kit = self.contents / "Resources/kit"
        there, wanted = files(kit), files(BUILD / "kit")
        self.assertEqual(sorted(there), sorted(wanted))
        self.assertEqual([name for name in wanted if there[name] != wanted[name]], [])
        self.assertEqual(list(kit.rglob("__pycache__")), [])

    def test_command_leads_into_the_bundle_wherever_the_root_is(self):
        command = self.prefix / "bin/kelvane"
        self.assertFalse(os.path.isabs(os.readlink(command)))
        self.assertEqual(command.resolve(), (self.contents / "MacOS/Kelvane").resolve())

    def test_command_finds_the_resources_of_its_own_bundle(self):
        with tempfile.TemporaryDirectory() as home:
            result = subprocess.run([self.prefix / "bin/kelvane", "--selftest"], text=True,
                                    env={"HOME": home, "PATH": os.environ["PATH"]},
                                    capture_output=True, check=False)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_local_service_is_a_command(self):
        result = subprocess.run([self.prefix / "bin/trevix-local", "--version"], text=True,
                                capture_output=True, check=False)
        self.assertRegex(result.stdout, r"^trevix-local \d+(\.\d+)+\n$")

    def test_entry_in_the_menu_starts_what_is_there_and_shows_what_is_there(self):
        entry = self.entry()
        program = entry["Exec"].split()[0]
        self.assertTrue(os.access(self.prefix / "bin" / pathlib.Path(program).name, os.X_OK), program)
        self.assertEqual(entry["Icon"], ID)
        self.assertTrue((self.prefix / f"share/icons/hicolor/scalable/apps/{ID}.svg").is_file())

    def test_kwin_knows_the_program_by_its_file(self):
        entry = self.entry(f"{ID}.kwin")
        installed = pathlib.Path("/usr") / (self.contents / "MacOS/Kelvane").relative_to(self.prefix)
        self.assertEqual(entry["Exec"], str(installed))
        self.assertEqual(entry["NoDisplay"], "true")
        self.assertEqual(entry["X-KDE-Wayland-Interfaces"],
                         "org_kde_kwin_fake_input,org_kde_plasma_window_management")
        self.assertEqual(entry["X-KDE-DBUS-Restricted-Interfaces"], "org.kde.KWin.ScreenShot2")

    def test_manual_is_there(self):
        self.assertIn(".Dt KELVANE 1", (self.prefix / "share/man/man1/kelvane.1").read_text(encoding="utf-8"))

    def test_nothing_else_is_installed(self):
        found = {path.relative_to(self.prefix).as_posix() for path in self.prefix.rglob("*")
                 if not path.is_dir() and self.contents not in path.parents}
        # The engines that come from npm, where they could be had.
        engines = {name for name in found if name.startswith("lib/kelvane/engines/node_modules/")}
        self.assertLessEqual({name.split("/")[4] for name in engines},
                             {"@astral-sh", "@oxlint", "oxlint", "@biomejs", "harper.js",
                              "markdownlint", "markdownlint-micromark", "markdown-it", "argparse",
                              "entities", "linkify-it", "mdurl", "punycode.js", "uc.micro"})
        self.assertEqual(found - engines, {"bin/kelvane", "bin/trevix-local", "share/man/man1/kelvane.1",
                                 f"share/applications/{ID}.desktop",
                                 f"share/applications/{ID}.kwin.desktop",
                                 f"share/icons/hicolor/scalable/apps/{ID}.svg"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
