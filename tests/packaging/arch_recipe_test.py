#!/usr/bin/env python3
"""Does the recipe for Arch's makepkg make a package that holds what an installation holds?

    arch_recipe_test.py BUILD CMAKE

Packs the finished build in folder BUILD. No repository of Arch's is asked: of what the recipe depends on only
the form is looked at. Exits with 77 where it cannot be tried.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tarfile
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD, CMAKE = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
RECIPE = ROOT / "resources/arch/PKGBUILD"
VERSION = (ROOT / "resources/kit/standing/engine/version.txt").read_text(encoding="ascii").strip()
NEEDED = ["makepkg", "pacman", "bsdtar", "fakeroot"]
# makepkg refuses root. As another user of this name space alone, what is root's may be written all the same.
AS_USER = ["unshare", "--user", "--map-user=1000", "--map-group=1000"] if os.geteuid() == 0 else []


def files(folder):
    return {path.relative_to(folder).as_posix() for path in folder.rglob("*") if not path.is_dir()}


class Recipe(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.place = pathlib.Path(folder.name)
        shutil.copy(RECIPE, cls.place)
        # A build is packed that is there: the sources are only unpacked.
        (cls.place / f"kelvane-{VERSION}").mkdir()
        with tarfile.open(cls.place / f"kelvane-{VERSION}.tar.gz", "w:gz") as sources:
            sources.add(cls.place / f"kelvane-{VERSION}", f"kelvane-{VERSION}")
        cls.environment = {"PATH": f"{CMAKE.parent}:{os.environ['PATH']}", "HOME": folder.name, "LC_ALL": "C.UTF-8",
                           "KELVANE_BUILD": str(BUILD), "PKGEXT": ".pkg.tar", "SOURCE_DATE_EPOCH": "1767268800"}

    def ran(self, *command):
        result = subprocess.run([*AS_USER, *command], cwd=self.place, env=self.environment, text=True,
                                capture_output=True, check=False)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        return result.stdout, result.stderr

    def test_its_form_is_right_and_its_version_is_ours(self):
        told, said = self.ran("makepkg", "--printsrcinfo")
        self.assertEqual(said, "")
        self.assertIn(f"\n\tpkgver = {VERSION}\n", told)
        depends = re.findall(r"^\t(?:make|opt)?depends = ([^:\n]*)", told, re.MULTILINE)
        self.assertEqual([name for name in depends if not re.fullmatch(r"[a-z0-9][a-z0-9@._+-]*", name)], [])
        self.assertEqual(len(depends), len(set(depends)))

    def test_package_holds_what_an_installation_holds(self):
        said = self.ran("makepkg", "--nodeps", "--noconfirm", "--nocolor")[1]
        self.assertNotIn("WARNING: Package contains reference", said)
        self.assertNotIn("backup entry file not in package", said)
        packages = list(self.place.glob("*.pkg.tar"))
        self.assertEqual([path.name for path in packages], [f"kelvane-{VERSION}-1-{os.uname().machine}.pkg.tar"])
        told = self.ran("pacman", "-Qip", packages[0].name)[0]
        self.assertRegex(told, rf"Name +: kelvane\nVersion +: {re.escape(VERSION)}-1\n")

        unpacked, installed = self.place / "unpacked", self.place / "installed"
        with tarfile.open(packages[0]) as package:
            package.extractall(unpacked)
        subprocess.run([CMAKE, "--install", BUILD, "--prefix", "/usr"], check=True, stdout=subprocess.DEVNULL,
                       env={**os.environ, "DESTDIR": str(installed)})
        moved = {name.replace("share/zsh/vendor-completions", "share/zsh/site-functions")
                 .replace("share/doc/kelvane/", "share/licenses/kelvane/") for name in files(installed)}
        # Manuals are packed.
        moved = {name + ".gz" if "/man1/" in name else name for name in moved}
        self.assertEqual({name for name in files(unpacked) if not name.startswith(".")}, moved)
        for command in ["kelvane", "trevix-local", "brask"]:
            subprocess.run([unpacked / "usr/bin" / command, "--version"], check=True, stdout=subprocess.DEVNULL,
                           env={"HOME": str(self.place), "PATH": os.environ["PATH"]})
        for file in unpacked.rglob("*.desktop"):
            self.assertNotIn(str(self.place), file.read_text(encoding="utf-8"))


if __name__ == "__main__":
    missing = [name for name in NEEDED if not shutil.which(name)]
    if not missing and AS_USER and subprocess.run([*AS_USER, "true"], capture_output=True, check=False).returncode:
        missing = ["a user's own name space"]
    if missing:
        print(f"NOT TESTED: there is no {', '.join(missing)} here: scripts/bootstrap test")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])
