#!/usr/bin/env python3
"""Does cmake/package_texts.py tell what CHANGELOG.md says, and refuse what it cannot?"""

import importlib.util
import pathlib
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = ROOT / "cmake/package_texts.py"
SPEC = importlib.util.spec_from_file_location("package_texts", SCRIPT)
texts = importlib.util.module_from_spec(SPEC)
SPEC.loader.exec_module(texts)

NOON = 1767268800   # 2026-01-01 12:00 UTC
CHANGES = """# Changes

## [0.2.0] - 2026-01-01

### Added

* A [link](docs/here.md) and `code`,
  over two lines.

* After an empty line.

### Fixed

* A fault.

## [0.1.0] - 2025-12-24

### Added

* **All** of it.
"""


class Checkout(unittest.TestCase):
    def checkout(self, changes=CHANGES, number="0.2.0"):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        root = pathlib.Path(folder.name)
        (root / texts.VERSION_FILE).parent.mkdir(parents=True)
        (root / texts.VERSION_FILE).write_text(number + "\n", encoding="ascii")
        (root / "CHANGELOG.md").write_text(changes, encoding="utf-8")
        return root


class Changes(Checkout):
    def test_debians_own_tool_reads_what_is_written(self):
        root = self.checkout()
        file = root / "changelog"
        file.write_text(texts.changelog(root, 0), encoding="utf-8")
        for field, value in [("Version", "0.2.0"), ("Source", "kelvane"), ("Timestamp", str(NOON))]:
            said = subprocess.run(["dpkg-parsechangelog", "-l", file, "-S", field], check=True, text=True,
                                  capture_output=True)
            self.assertEqual((said.stdout, said.stderr), (value + "\n", ""))
        every = subprocess.run(["dpkg-parsechangelog", "-l", file, "--all", "-S", "Changes"], check=True,
                               text=True, capture_output=True)
        self.assertEqual(every.stderr, "")
        for sentence in ["A link and code, over two lines.", "After an empty line.", "Fixed: A fault.",
                         "All of it."]:
            self.assertIn("* " + sentence, every.stdout)

    def test_what_is_not_released_sorts_before_what_it_becomes_and_after_what_was(self):
        root = self.checkout(CHANGES.replace("[0.2.0] - 2026-01-01", "[Unreleased]"))
        version = texts.version(root, NOON)
        self.assertEqual(version, "0.2.0~git202601011200")
        self.assertEqual(texts.version(self.checkout(), NOON), "0.2.0")
        for lesser, greater in [("0.1.0", version), (version, "0.2.0"), (version, texts.version(root, NOON + 60))]:
            subprocess.run(["dpkg", "--compare-versions", lesser, "lt", greater], check=True)

    def test_time_of_the_last_change_is_that_of_what_is_not_released(self):
        root = self.checkout(CHANGES.replace("[0.2.0] - 2026-01-01", "[Unreleased]"))
        self.assertIn(" -- " + texts.MAINTAINER + "  Thu, 01 Jan 2026 12:01:40 +0000",
                      texts.changelog(root, NOON + 100))

    def test_empty_unreleased_part_above_a_release_is_passed_over(self):
        root = self.checkout("## [Unreleased]\n\n" + CHANGES)
        self.assertEqual(texts.check(root), "0.2.0")
        self.assertEqual(texts.version(root, NOON), "0.2.0")

    def test_releases_for_shops_of_software(self):
        self.assertEqual(texts.metainfo_releases(self.checkout(), 0).split("\n"), [
            '    <release version="0.2.0" date="2026-01-01" type="stable"/>',
            '    <release version="0.1.0" date="2025-12-24" type="stable"/>', ""])

    def test_our_own_are_in_form(self):
        self.assertTrue(texts.changelog(ROOT, NOON).startswith("kelvane ("))


class Check(Checkout):
    def refused(self, changes, number="0.2.0"):
        with self.assertRaises(texts.Wrong) as caught:
            texts.check(self.checkout(changes, number))
        return str(caught.exception)

    def test_release_is_what_the_version_says(self):
        self.assertEqual(texts.check(self.checkout()), "0.2.0")

    def test_other_version_is_none(self):
        self.assertIn("CHANGELOG.md tells of 0.2.0", self.refused(CHANGES, "0.2.1"))

    def test_what_is_not_released_is_none(self):
        self.assertIn("under [Unreleased]", self.refused(CHANGES.replace("[0.2.0] - 2026-01-01", "[Unreleased]")))

    def test_what_is_not_in_form_is_refused_by_name(self):
        for old, new, said in [
                ("[0.2.0] - 2026-01-01", "[0.2.0]", "has no date"),
                ("[0.2.0] - 2026-01-01", "[0.2.0] - 2026-02-30", "not a version and a day"),
                ("[0.2.0] - 2026-01-01", "[0.2] - 2026-01-01", "not a version and a day"),
                ("[0.2.0] - 2026-01-01", "0.2.0", "each heading"),
                ("[0.1.0] - 2025", "[0.3.0] - 2025", "versions do not go down"),
                ("2025-12-24", "2026-12-24", "days do not go down"),
                ("[0.1.0] - 2025-12-24", "[Unreleased]", "comes first"),
                ("### Fixed", "### Repaired", "no section 'Repaired'")]:
            self.assertIn(said, self.refused(CHANGES.replace(old, new)), new)

    def test_no_change_is_none(self):
        self.assertIn("no change", self.refused("## [0.2.0] - 2026-01-01\n"))

    def test_program_says_it_in_one_sentence(self):
        result = subprocess.run(["python3", "-B", SCRIPT, "check", self.checkout(number="9.9.9")], text=True,
                                capture_output=True, check=False)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr.count("\n"), 1, result.stderr)


class Rights(Checkout):
    def grammar(self, text):
        root = self.checkout()
        place = root / "build/grammars/source/tree-sitter-x-1.2.3"
        place.mkdir(parents=True)
        (root / "build/grammars/installed").write_text("x tree-sitter-x@1.2.3\ny tree-sitter-x@1.2.3\n",
                                                       encoding="utf-8")
        (place / "LICENSE").write_text(text, encoding="utf-8")
        return root

    def test_each_grammar_that_is_compiled_in_once_with_its_author(self):
        root = self.grammar("The MIT License\n\nCopyright (c) 2020 Ada\n\nPermission is hereby granted, free of charge")
        text = texts.copyright_text(root)
        self.assertEqual(text.count("Files: tree-sitter-x/*\nCopyright: 2020 Ada\nLicense: Expat\n"), 1)

    def test_other_licence_is_refused(self):
        with self.assertRaises(texts.Wrong):
            texts.copyright_text(self.grammar("Copyright (c) 2020 Ada\n\nAll rights reserved."))

    def protocol(self, told):
        path = self.checkout() / "some-protocol.xml"
        path.write_text(f'<protocol name="x"><copyright>{told}</copyright></protocol>', encoding="utf-8")
        return path

    def test_protocol_with_the_terms_that_it_states(self):
        text = texts.protocol(self.protocol("\n  Copyright © 2018 Ada\n  Copyright (C) 2019 Bob\n\n"
                                            "  Do what you like.\n\n  No warranty.\n"))
        self.assertEqual(text, "Files: some-protocol.xml\nCopyright: 2018 Ada\n 2019 Bob\n"
                               "License: some-protocol\n Do what you like.\n .\n No warranty.\n")

    def test_protocol_with_a_licence_that_every_system_has(self):
        text = texts.protocol(self.protocol("<![CDATA[\n  SPDX-FileCopyrightText: 2015 Ada\n\n"
                                            "  SPDX-License-Identifier: LGPL-2.1-or-later\n]]>"))
        self.assertEqual(text, "Files: some-protocol.xml\nCopyright: 2015 Ada\nLicense: LGPL-2.1+\n"
                               " See /usr/share/common-licenses/LGPL-2.1.\n")

    def test_protocol_of_nobody_is_refused(self):
        for told in ["", "Do what you like.", "Copyright © 2018 Ada"]:
            with self.assertRaises(texts.Wrong):
                texts.protocol(self.protocol(told))

    def test_without_grammars_there_are_none(self):
        self.assertNotIn("tree-sitter", texts.copyright_text(self.checkout()))


if __name__ == "__main__":
    unittest.main()
