#!/usr/bin/env python3
"""Does an installation hold all that belongs to it, each thing where a Linux system looks for it?

    linux_package_test.py BUILD CMAKE IDENTIFIER

Installs the finished build in folder BUILD into a made-up prefix; scripts/package packs the same.
"""

import configparser
import json
import os
import pathlib
import re
import shlex
import struct
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree

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

    def test_validator_is_a_command_that_writes_nothing_where_it_lies(self):
        before = sorted(self.prefix.rglob("*"))
        with tempfile.TemporaryDirectory() as home:
            work = pathlib.Path(home) / "work.txt"
            work.write_text("The the work.\n", encoding="utf-8")
            environment = {"HOME": home, "PATH": os.environ["PATH"]}
            said = subprocess.run([self.prefix / "bin/brask", "--version"], text=True, env=environment,
                                  capture_output=True, check=True).stdout
            # Without a key it goes all the way to the service's door.
            graded = subprocess.run([self.prefix / "bin/brask", "grade", work], text=True, env=environment,
                                    capture_output=True, check=False)
        self.assertRegex(said, r"^brask \d+(\.\d+)+\n$")
        self.assertEqual(graded.returncode, 3, graded.stdout + graded.stderr)
        self.assertEqual(sorted(self.prefix.rglob("*")), before)

    def test_entry_in_the_menu_starts_what_is_there_and_shows_what_is_there(self):
        entry = self.entry()
        program = self.contents / "MacOS/Kelvane"
        self.assertEqual(entry["Exec"], f'"{program}"')
        self.assertEqual(entry["TryExec"], str(program))
        self.assertEqual(entry["Icon"], ID)

    def test_entries_say_to_kwin_what_the_program_may_ask_for(self):
        # The second one stays when the user's own entry takes the place of the first.
        for entry in [self.entry(), self.entry(f"{ID}.kwin")]:
            # KWin compares the program that asks with the first word of Exec, links resolved.
            self.assertEqual(os.path.realpath(shlex.split(entry["Exec"])[0]),
                             os.path.realpath(self.contents / "MacOS/Kelvane"))
            self.assertEqual(entry["X-KDE-Wayland-Interfaces"],
                             "org_kde_kwin_fake_input,org_kde_plasma_window_management")
            self.assertEqual(entry["X-KDE-DBUS-Restricted-Interfaces"], "org.kde.KWin.ScreenShot2")
        self.assertEqual(self.entry(f"{ID}.kwin")["NoDisplay"], "true")

    def test_entries_are_valid(self):
        for entry in self.prefix.rglob("*.desktop"):
            result = subprocess.run(["desktop-file-validate", entry], text=True, capture_output=True,
                                    check=False)
            # It takes a path with a blank for TryExec without a word, and for Exec in quotes.
            self.assertEqual((result.returncode, result.stdout), (0, ""), entry)

    def test_shops_of_software_are_told_what_it_is(self):
        told = self.prefix / f"share/metainfo/{ID}.metainfo.xml"
        result = subprocess.run(["appstreamcli", "validate", "--no-net", "--pedantic", told], text=True,
                                capture_output=True, check=False)
        self.assertEqual(result.returncode, 0, result.stdout)
        root = xml.etree.ElementTree.parse(told).getroot()
        self.assertEqual(root.findtext("launchable"), f"{ID}.desktop")
        self.assertEqual({one.text for one in root.findall("provides/binary")},
                         {path.name for path in (self.prefix / "bin").iterdir()})
        version = (ROOT / "resources/kit/standing/engine/version.txt").read_text(encoding="ascii").strip()
        self.assertTrue(root.find("releases/release").get("version").startswith(version))

    def test_mark_is_there_in_each_size_in_its_own_pixels(self):
        icons = self.prefix / "share/icons/hicolor"
        self.assertTrue((icons / f"scalable/apps/{ID}.svg").is_file())
        found = {path.parts[-3]: path.read_bytes() for path in icons.rglob("*.png")}
        self.assertEqual(sorted(found, key=lambda name: int(name.split("x")[0])),
                         [f"{side}x{side}" for side in (16, 22, 24, 32, 48, 64, 96, 128, 256, 512)])
        for name, picture in found.items():
            # The size stands in the first chunk of a PNG file.
            width, height = struct.unpack(">II", picture[16:24])
            self.assertEqual(f"{width}x{height}", name)

    def start_at_login(self, home):
        """What the login's entry does with a home folder; a stand-in tells of the program's start."""
        with tempfile.TemporaryDirectory() as folder:
            place = pathlib.Path(folder) / "lib/kelvane"
            program = place / "Kelvane.app/Contents/MacOS/Kelvane"
            program.parent.mkdir(parents=True)
            program.write_text("#!/bin/sh\necho started\n", encoding="utf-8")
            program.chmod(0o755)
            script = place / "start-at-login"
            script.write_bytes((self.prefix / "lib/kelvane/start-at-login").read_bytes())
            script.chmod(0o755)
            return subprocess.run([script], text=True, env={"HOME": str(home), "PATH": os.environ["PATH"]},
                                  capture_output=True, check=True).stdout

    def test_login_starts_it_for_those_who_have_started_it_before(self):
        with tempfile.TemporaryDirectory() as home:
            self.assertEqual(self.start_at_login(home), "")
            kit = pathlib.Path(home) / ".brask"
            kit.mkdir()
            (kit / "validate.py").write_text("", encoding="utf-8")
            self.assertEqual(self.start_at_login(home), "started\n")

    def test_login_starts_it_once(self):
        entry = self.prefix / f"etc/xdg/autostart/{ID}.desktop"
        # The program's own entry has this name, in the user's folder, where it takes the place of others.
        self.assertTrue(entry.is_file())
        self.assertIn(f'Exec="{self.prefix}/lib/kelvane/start-at-login"\n', entry.read_text(encoding="utf-8"))

    def test_rights_of_all_that_is_compiled_in_are_told(self):
        text = (self.prefix / "share/doc/kelvane/copyright").read_text(encoding="utf-8")
        installed = (ROOT / "build/grammars/installed").read_text(encoding="utf-8").split()
        packages = {word.split("@")[0] for word in installed if "@" in word}
        self.assertEqual(set(re.findall(r"^Files: (tree-sitter-\S+)/\*$", text, re.MULTILINE)), packages)
        self.assertIn("License: Apache-2.0", text)

    def test_manuals_and_completions_are_there_for_each_command(self):
        for command in (self.prefix / "bin").iterdir():
            for file in [f"man/man1/{command.name}.1", f"bash-completion/completions/{command.name}",
                         f"zsh/vendor-completions/_{command.name}",
                         f"fish/vendor_completions.d/{command.name}.fish"]:
                self.assertTrue((self.prefix / "share" / file).is_file(), file)

    def found(self, prefix):
        contents = prefix / "lib/kelvane/Kelvane.app/Contents"
        return {path.relative_to(prefix).as_posix() for path in prefix.rglob("*")
                if not path.is_dir() and contents not in path.parents}

    def test_nothing_else_is_installed(self):
        others = {name for name in self.found(self.prefix)
                  if not re.match(r"share/(man|bash-completion|zsh|fish|icons)/", name)}
        # What comes from npm is not ours to hand on: docs/engines.md says how to get it.
        units = {f"lib/systemd/{kind}/{unit.name.removesuffix('.in')}"
                 for kind, folder in (("user", "systemd"), ("system", "systemd/system"))
                 for unit in (ROOT / "resources" / folder).glob("*") if unit.is_file()}
        self.assertEqual(others, {"bin/kelvane", "bin/trevix-local", "bin/brask",
                                  "lib/kelvane/start-at-login", "share/doc/kelvane/copyright",
                                  f"share/applications/{ID}.desktop",
                                  f"share/applications/{ID}.kwin.desktop", f"etc/xdg/autostart/{ID}.desktop",
                                  f"share/metainfo/{ID}.metainfo.xml"} | units)

    def test_part_that_runs_from_anywhere_names_no_place(self):
        with tempfile.TemporaryDirectory() as folder:
            place = pathlib.Path(folder) / "place"
            subprocess.run([CMAKE, "--install", BUILD, "--prefix", place, "--component", "program"],
                           check=True, stdout=subprocess.DEVNULL)
            self.assertLess(self.found(place), self.found(self.prefix))
            moved = pathlib.Path(folder) / "moved"
            place.rename(moved)
            for command, argument in [("kelvane", "--selftest"), ("trevix-local", "--version"),
                                      ("brask", "--version")]:
                subprocess.run([moved / "bin" / command, argument], check=True, stdout=subprocess.DEVNULL,
                               env={"HOME": folder, "PATH": os.environ["PATH"]})
            naming = [path for path in moved.rglob("*") if path.is_file() and path.suffix in ("", ".desktop",
                      ".xml", ".fish", ".1", ".py") and str(place).encode() in path.read_bytes()]
            self.assertEqual(naming, [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
