#!/usr/bin/env python3
"""Is what makes the macOS package sound, as far as a machine without macOS can tell?

The property list, the entitlements, the icon, the cask, and the packaging script with stand-ins for
the tools that only macOS has.
"""

import json
import os
import pathlib
import plistlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import zlib

ROOT = pathlib.Path(__file__).resolve().parents[3]
MACOS = ROOT / "resources/macos"
MAKE_ICNS = ROOT / "scripts/make-icns"
PACKAGE = ROOT / "scripts/package-macos"


def filled(name, **values):
    text = (MACOS / name).read_text(encoding="utf-8")
    return re.sub(r"@(\w+)@", lambda match: values[match.group(1)], text)


def info():
    return plistlib.loads(filled("Info.plist.in", PROJECT_VERSION="1.2.3",
                                 KELVANE_BUNDLE_ID="org.example.menubar").encode())


def png(side, pixel, colour=6, depth=8, interlaced=0, filters=None):
    """A picture of side x side whose pixels `pixel(x, y)` gives; `filters` names one for each row."""
    step = {0: 1, 2: 3, 4: 2, 6: 4}[colour]
    rows = [b"".join(bytes(pixel(x, y)) for x in range(side)) for y in range(side)]
    data, above = b"", bytes(side * step)
    for y, row in enumerate(rows):
        kind = filters[y % len(filters)] if filters else 0
        stored = bytearray()
        for i, value in enumerate(row):
            left = row[i - step] if i >= step else 0
            corner = above[i - step] if i >= step else 0
            up = above[i]
            guess = left + up - corner
            nearest = min((left, up, corner), key=lambda v: abs(guess - v))
            stored.append((value - (0, left, up, (left + up) // 2, nearest)[kind]) & 255)
        data += bytes([kind]) + bytes(stored)
        above = row

    def chunk(name, body):
        return struct.pack(">I", len(body)) + name + body + struct.pack(">I", zlib.crc32(name + body))
    header = struct.pack(">IIBBBBB", side, side, depth, colour, 0, 0, interlaced)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"tEXt", b"k\0v") +
            chunk(b"IDAT", zlib.compress(data)) + chunk(b"IEND", b""))


def raster(picture):
    """side, what gives the RGBA at x, y: of an unfiltered RGBA picture, as make-icns writes them."""
    side = struct.unpack(">I", picture[16:20])[0]
    data = zlib.decompress(picture[41:41 + struct.unpack(">I", picture[33:37])[0]])

    def at(x, y):
        place = y * (side * 4 + 1) + 1 + 4 * x
        return tuple(data[place:place + 4])
    return side, at


def pixels(picture):
    side, at = raster(picture)
    return side, {(x, y): at(x, y) for y in range(side) for x in range(side)}


def entries(icns):
    kind, length = struct.unpack(">4sI", icns[:8])
    assert (kind, length) == (b"icns", len(icns)), "the container's own length is wrong"
    place, found = 8, {}
    while place < len(icns):
        kind, length = struct.unpack(">4sI", icns[place:place + 8])
        assert length > 8 and place + length <= len(icns) and kind not in found
        found[kind.decode()] = icns[place + 8:place + length]
        place += length
    return found


class PropertyList(unittest.TestCase):
    def test_the_program_lives_in_the_menu_bar(self):
        self.assertIs(info()["LSUIElement"], True)

    def test_the_oldest_system_is_13(self):
        self.assertEqual(info()["LSMinimumSystemVersion"], "13.0")

    def test_names_are_those_of_the_bundle(self):
        self.assertEqual(info()["CFBundleExecutable"], "Kelvane")
        self.assertEqual(info()["CFBundleIconFile"], "Kelvane.icns")
        self.assertEqual(info()["CFBundlePackageType"], "APPL")

    def test_version_and_identifier_are_the_projects(self):
        self.assertEqual(info()["CFBundleShortVersionString"], "1.2.3")
        self.assertEqual(info()["CFBundleVersion"], "1.2.3")
        self.assertEqual(info()["CFBundleIdentifier"], "org.example.menubar")

    def test_nothing_is_asked_for_that_is_not_used(self):
        self.assertEqual([key for key in info() if key.endswith("UsageDescription")], [])

    def test_no_entitlement_is_asked_for(self):
        self.assertEqual(plistlib.loads((MACOS / "Kelvane.entitlements").read_bytes()), {})


class Cask(unittest.TestCase):
    def setUp(self):
        self.text = filled("kelvane.rb.in", PROJECT_VERSION="1.2.3",
                           KELVANE_BUNDLE_ID="org.example.menubar",
                           KELVANE_SERVICE_BASE="https://trevix.example")

    def test_image_is_the_one_that_is_packed(self):
        self.assertIn('url "https://trevix.example/download/Kelvane-#{version}.dmg"', self.text)
        self.assertIn('version "1.2.3"\n', self.text)
        self.assertIn("image=$build/Kelvane-$version.dmg\n", PACKAGE.read_text(encoding="utf-8"))

    def test_login_item_goes_with_the_program(self):
        self.assertIn('launchctl: "org.example.menubar"', self.text)

    def test_digest_has_one_place_to_be_put(self):
        self.assertEqual(self.text.count("sha256 :no_check"), 1)

    def test_blocks_are_closed(self):
        opened = len(re.findall(r"\bdo$", self.text, re.M))
        self.assertEqual(opened, len(re.findall(r"^\s*end$", self.text, re.M)))
        self.assertEqual(self.text.count("["), self.text.count("]"))


class IconFile(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def make(self, *pictures):
        names = []
        for number, picture in enumerate(pictures):
            names.append(self.folder / f"{number}.png")
            names[-1].write_bytes(picture)
        out = self.folder / "out.icns"
        result = subprocess.run([sys.executable, MAKE_ICNS, out, *names], capture_output=True,
                                text=True, check=False)
        return result, out

    def made(self, *pictures):
        result, out = self.make(*pictures)
        self.assertEqual(result.returncode, 0, result.stderr)
        return entries(out.read_bytes())

    def refused(self, reason, *pictures):
        result, out = self.make(*pictures)
        self.assertEqual(result.returncode, 1)
        self.assertIn(reason, result.stderr)
        self.assertNotIn("Traceback", result.stderr)
        self.assertFalse(out.exists())

    def test_our_own_mark_makes_an_icon_of_every_size_up_to_its_own(self):
        found = self.made((ROOT / "resources/brask.png").read_bytes())
        sides = {kind: struct.unpack(">II", picture[16:24]) for kind, picture in found.items()}
        for kind, side in {"icp4": 16, "icp5": 32, "ic07": 128, "ic08": 256, "ic11": 32,
                           "ic12": 64, "ic13": 256}.items():
            self.assertEqual(sides[kind], (side, side), kind)

    def test_icon_that_the_build_makes_has_every_size_in_its_own_pixels(self):
        if "KELVANE_ICON" not in os.environ:
            self.skipTest("a build without the panel makes no icon")
        found = entries(pathlib.Path(os.environ["KELVANE_ICON"]).read_bytes())
        sides = {kind: struct.unpack(">II", picture[16:24]) for kind, picture in found.items()}
        self.assertEqual(sides, {
            "icp4": (16, 16), "icp5": (32, 32), "ic07": (128, 128), "ic08": (256, 256),
            "ic09": (512, 512), "ic10": (1024, 1024), "ic11": (32, 32), "ic12": (64, 64),
            "ic13": (256, 256), "ic14": (512, 512)})
        # Drawn anew in each size, the mark keeps its place: the rim is clear, the tile is not.
        for kind in ("icp4", "ic07", "ic10"):
            side, at = raster(found[kind])
            self.assertEqual(at(0, 0)[3], 0, kind)
            self.assertEqual(at(side // 2, side - 1 - side // 10)[3], 255, kind)

    def test_nothing_is_scaled_up(self):
        self.assertEqual(sorted(self.made(png(32, lambda x, y: (1, 2, 3, 255)))),
                         ["ic11", "icp4", "icp5"])

    def test_picture_of_the_exact_size_is_taken_as_it_is(self):
        found = self.made(png(32, lambda x, y: (9, 9, 9, 255)), png(16, lambda x, y: (x, y, 7, 255)))
        self.assertEqual(pixels(found["icp4"])[1][(3, 5)], (3, 5, 7, 255))
        self.assertEqual(pixels(found["icp5"])[1][(3, 5)], (9, 9, 9, 255))

    def test_scaling_down_averages(self):
        found = self.made(png(32, lambda x, y: (200 if x % 2 else 100, 0, 0, 255)))
        self.assertEqual(set(pixels(found["icp4"])[1].values()), {(150, 0, 0, 255)})

    def test_transparent_pixels_lend_no_colour(self):
        found = self.made(png(32, lambda x, y: (255, 0, 0, 255) if x % 2 else (0, 255, 0, 0)))
        self.assertEqual(set(pixels(found["icp4"])[1].values()), {(255, 0, 0, 128)})

    def test_uneven_ratio_keeps_an_even_colour(self):
        found = self.made(png(41, lambda x, y: (10, 20, 30, 255)))
        self.assertEqual(set(pixels(found["icp4"])[1].values()), {(10, 20, 30, 255)})
        self.assertEqual(set(pixels(found["icp5"])[1].values()), {(10, 20, 30, 255)})

    def test_every_way_of_storing_rows_is_read(self):
        def pixel(x, y):
            return (x * 7 % 256, y * 11 % 256, (x * y) % 256, 255 - x)
        found = self.made(png(16, pixel, filters=[0, 1, 2, 3, 4]))
        self.assertEqual(pixels(found["icp4"])[1],
                         {(x, y): pixel(x, y) for x in range(16) for y in range(16)})

    def test_every_kind_of_colour_is_read(self):
        for colour, pixel, read in [(0, (90,), (90, 90, 90, 255)), (2, (1, 2, 3), (1, 2, 3, 255)),
                                    (4, (90, 7), (90, 90, 90, 7)), (6, (1, 2, 3, 4), (1, 2, 3, 4))]:
            found = self.made(png(16, lambda x, y, pixel=pixel: pixel, colour=colour))
            self.assertEqual(set(pixels(found["icp4"])[1].values()), {read}, colour)

    def test_broken_pictures_are_refused(self):
        good = png(16, lambda x, y: (1, 2, 3, 4))
        self.refused("is no PNG", b"GIF89a")
        self.refused("is no PNG", b"")
        self.refused("is cut short", good[:60])
        self.refused("is cut short", good[:8])
        self.refused("is damaged", good[:90] + bytes([good[90] ^ 1]) + good[91:])
        self.refused("not supported", png(16, lambda x, y: (1, 2, 3, 4), interlaced=1))
        self.refused("not supported", png(16, lambda x, y: (1, 2, 3, 4), depth=16))
        self.refused("another number of pixels", self.short_of_pixels())

    def short_of_pixels(self):
        tall, small = png(16, lambda x, y: (1, 2, 3, 4)), png(15, lambda x, y: (1, 2, 3, 4))
        return tall[:33] + small[33:]

    def test_picture_too_small_for_any_size_is_refused(self):
        self.refused("too small", png(15, lambda x, y: (1, 2, 3, 4)))

    def test_missing_picture_is_refused(self):
        result = subprocess.run([sys.executable, MAKE_ICNS, self.folder / "o", self.folder / "none"],
                                capture_output=True, text=True, check=False)
        self.assertEqual(result.returncode, 1)
        self.assertIn("No such file", result.stderr)

    def test_missing_arguments_show_how_to_call_it(self):
        result = subprocess.run([sys.executable, MAKE_ICNS], capture_output=True, text=True,
                                check=False)
        self.assertEqual(result.returncode, 2)
        self.assertIn("OUT.icns PICTURE.png", result.stderr)


# By this interpreter and no other of its name: one that is looked up by a shell costs many times its start.
STAND_IN = f"#!{sys.executable} -SE\n" + """
import json, os, pathlib, sys
name, arguments = os.path.basename(sys.argv[0]), sys.argv[1:]
if name == "uname":
    print(os.environ["STAND_IN_SYSTEM"])
    sys.exit()
with open(os.environ["STAND_IN_JOURNAL"], "a") as journal:
    journal.write(json.dumps([name, *arguments]) + "\\n")
if os.environ.get("STAND_IN_FAILS") in (name, " ".join([name, *arguments[:2]])):
    sys.exit(7)
build = pathlib.Path("build/release")
if name == "cmake" and "--install" in arguments:
    contents = pathlib.Path(arguments[-1]) / "Kelvane.app/Contents"
    for file in ["MacOS/Kelvane", "Frameworks/libKelvaneShell.so", "PlugIns/platforms/libqcocoa.dylib",
                 "Frameworks/QtCore.framework/Versions/A/QtCore", "Info.plist"]:
        (contents / file).parent.mkdir(parents=True, exist_ok=True)
        (contents / file).write_text("x")
    (contents / "MacOS/Kelvane").chmod(0o755)
    (build / "kelvane.rb").write_text('  version "1.2.3"\\n  sha256 :no_check\\n')
if name == "hdiutil":
    source = pathlib.Path(arguments[arguments.index("-srcfolder") + 1])
    found = sorted(path.name for path in source.iterdir())
    pathlib.Path(arguments[-1]).write_text(" ".join(found))
if name == "shasum":
    print("0123abcd  " + arguments[-1])
"""


class Packaging(unittest.TestCase):
    """The script runs in a made-up checkout, with stand-ins for every tool that does something."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.checkout = pathlib.Path(folder.name) / "check out"
        tools = pathlib.Path(folder.name) / "tools"
        for place in [self.checkout / "scripts", self.checkout / "build/release", tools]:
            place.mkdir(parents=True)
        (self.checkout / "scripts/package-macos").write_bytes(PACKAGE.read_bytes())
        for name in ["uname", "cmake", "hdiutil", "codesign", "xcrun", "shasum"]:
            (tools / name).write_text(STAND_IN)
            (tools / name).chmod(0o755)
        self.journal = pathlib.Path(folder.name) / "journal"
        self.environment = {"PATH": f"{tools}:{os.environ['PATH']}", "STAND_IN_SYSTEM": "Darwin",
                            "STAND_IN_JOURNAL": str(self.journal)}

    def run_it(self, *arguments, **environment):
        return subprocess.run(["bash", self.checkout / "scripts/package-macos", *arguments],
                              env={**self.environment, **environment}, capture_output=True,
                              text=True, check=False)

    def calls(self, *names):
        if not self.journal.exists():
            return []
        lines = [json.loads(line) for line in self.journal.read_text().splitlines()]
        return [line for line in lines if not names or line[0] in names]

    def signed(self):
        return [pathlib.Path(call[-1]).name for call in self.calls("codesign")
                if "--sign" in call]

    def test_elsewhere_it_says_so_and_does_nothing(self):
        result = self.run_it(STAND_IN_SYSTEM="Linux")
        self.assertEqual(result.returncode, 1)
        self.assertIn("on macOS only", result.stderr)
        self.assertEqual(self.calls(), [])

    def test_without_an_identity_signing_and_notarising_are_skipped_aloud(self):
        result = self.run_it()
        self.assertEqual(result.returncode, 0, result.stderr)
        skipped = [line for line in result.stdout.splitlines() if "Skipped" in line]
        self.assertEqual(len(skipped), 2, result.stdout)
        self.assertIn("KELVANE_SIGN_IDENTITY is not set", skipped[0])
        self.assertEqual(self.calls("xcrun"), [])
        for call in self.calls("codesign"):
            self.assertNotIn("runtime", call)
            if "--sign" in call:
                self.assertEqual(call[call.index("--sign") + 1], "-")

    def test_empty_identity_is_none(self):
        result = self.run_it(KELVANE_SIGN_IDENTITY="")
        self.assertEqual(result.stdout.count("Skipped"), 2)

    def test_what_is_inside_is_signed_before_what_it_lies_in(self):
        self.run_it()
        self.assertEqual(self.signed(), ["libKelvaneShell.so", "libqcocoa.dylib",
                                         "QtCore.framework", "Kelvane.app"])

    def test_signature_is_checked_before_the_image_is_made(self):
        self.run_it()
        order = [call for call in self.calls() if "--verify" in call or call[0] == "hdiutil"]
        self.assertEqual([call[0] for call in order], ["codesign", "hdiutil"])

    def test_identity_signs_everything_with_the_hardened_runtime(self):
        result = self.run_it(KELVANE_SIGN_IDENTITY="Developer ID Application: A B (C)")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.signed()[-2:], ["Kelvane.app", "Kelvane-1.2.3.dmg"])
        for call in self.calls("codesign"):
            if "--sign" in call:
                self.assertEqual(call[call.index("--sign") + 1], "Developer ID Application: A B (C)")
                self.assertIn("runtime", call)
                self.assertIn("--timestamp", call)

    def test_only_the_program_gets_the_entitlements(self):
        self.run_it(KELVANE_SIGN_IDENTITY="A")
        entitled = [pathlib.Path(call[-1]).name for call in self.calls("codesign")
                    if "--entitlements" in call]
        self.assertEqual(entitled, ["Kelvane.app"])

    def test_without_a_profile_only_notarising_is_skipped(self):
        result = self.run_it(KELVANE_SIGN_IDENTITY="A")
        self.assertEqual(result.stdout.count("Skipped"), 1)
        self.assertIn("KELVANE_NOTARY_PROFILE is not set", result.stdout)
        self.assertEqual(self.calls("xcrun"), [])

    def test_with_both_the_image_is_notarised_and_stapled(self):
        result = self.run_it(KELVANE_SIGN_IDENTITY="A", KELVANE_NOTARY_PROFILE="notary")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertNotIn("Skipped", result.stdout)
        self.assertEqual([call[1:3] for call in self.calls("xcrun")],
                         [["notarytool", "submit"], ["stapler", "staple"], ["stapler", "validate"]])
        self.assertIn("notary", self.calls("xcrun")[0])

    def test_cask_gets_the_digest_of_the_finished_image(self):
        result = self.run_it(KELVANE_SIGN_IDENTITY="A", KELVANE_NOTARY_PROFILE="notary")
        cask = (self.checkout / "build/release/stage/kelvane.rb").read_text()
        self.assertEqual(cask, '  version "1.2.3"\n  sha256 "0123abcd"\n')
        self.assertEqual(self.calls()[-1][0], "shasum")
        self.assertTrue(result.stdout.endswith("build/release/Kelvane-1.2.3.dmg\n"))

    def test_every_failing_tool_ends_it(self):
        for tool in ["cmake", "codesign", "hdiutil", "xcrun notarytool submit", "xcrun stapler staple",
                     "shasum"]:
            result = self.run_it(KELVANE_SIGN_IDENTITY="A", KELVANE_NOTARY_PROFILE="n",
                                 STAND_IN_FAILS=tool)
            self.assertNotEqual(result.returncode, 0, tool)
            self.assertNotIn("made build", result.stdout, tool)

    def test_image_holds_the_program_and_where_it_goes(self):
        self.run_it()
        image = (self.checkout / "build/release/Kelvane-1.2.3.dmg").read_text()
        self.assertEqual(image, "Applications Kelvane.app")

    def test_built_in_one_place_and_signed_in_another(self):
        built = self.run_it("--stage", KELVANE_SIGN_IDENTITY="A", KELVANE_NOTARY_PROFILE="n")
        self.assertEqual(built.returncode, 0, built.stderr)
        self.assertEqual({call[0] for call in self.calls()}, {"cmake"})
        self.journal.unlink()
        signed = self.run_it("--sign", KELVANE_SIGN_IDENTITY="A", KELVANE_NOTARY_PROFILE="n")
        self.assertEqual(signed.returncode, 0, signed.stderr)
        self.assertEqual({call[0] for call in self.calls()}, {"codesign", "hdiutil", "xcrun", "shasum"})
        self.assertTrue((self.checkout / "build/release/Kelvane-1.2.3.dmg").exists())

    def test_nothing_is_signed_where_nothing_was_built(self):
        result = self.run_it("--sign", KELVANE_SIGN_IDENTITY="A")
        self.assertEqual(result.returncode, 1)
        self.assertIn("no program", result.stderr)
        self.assertEqual(self.calls(), [])

    def test_image_of_an_earlier_run_is_not_taken_for_this_ones(self):
        (self.checkout / "build/release/Kelvane-0.0.1.dmg").write_text("old")
        self.run_it()
        self.assertFalse((self.checkout / "build/release/Kelvane-0.0.1.dmg").exists())

    def test_only_what_the_old_bash_of_macos_knows_is_used(self):
        newer = re.compile(r"\b(mapfile|readarray|coproc|declare -A|local -n)\b|\$\{\w+(,,|\^\^)|&>>|\|&")
        for name in ["package-macos", "test", "run", "bootstrap"]:
            code = re.sub(r"^\s*#.*$", "", (ROOT / "scripts" / name).read_text(), flags=re.M)
            self.assertIsNone(newer.search(code), name)


if __name__ == "__main__":
    unittest.main()
