#!/usr/bin/env python3
"""Were the programs of a build made hard to attack?

    hardening_test.py BUILD

Reads with readelf what the linker wrote, and from the build's own record how each source was compiled,
for what leaves no mark in a program.
"""

import json
import pathlib
import re
import subprocess
import sys
import unittest

BUILD = pathlib.Path(sys.argv[1]).resolve()
PROGRAMS = [BUILD / "Kelvane.app/Contents/MacOS/Kelvane", BUILD / "trevix-local"]
BINARIES = [*PROGRAMS, BUILD / "Kelvane.app/Contents/Frameworks/libKelvaneShell.so"]


def readelf(option, binary):
    return subprocess.run(["readelf", "--wide", option, binary], check=True, text=True,
                          capture_output=True, env={"LC_ALL": "C", "PATH": "/usr/bin:/bin"}).stdout


class Hardening(unittest.TestCase):
    def each(self, binaries=tuple(BINARIES)):
        for binary in binaries:
            with self.subTest(binary.name):
                yield binary

    def test_programs_stand_at_another_address_at_every_start(self):
        for program in self.each(tuple(PROGRAMS)):
            self.assertRegex(readelf("--file-header", program), r"Type: +DYN")
            self.assertRegex(readelf("--dynamic", program), r"\(FLAGS_1\).*\bPIE\b")

    def test_tables_of_addresses_are_filled_at_the_start_and_read_only_after(self):
        for binary in self.each():
            self.assertRegex(readelf("--segments", binary), r"\n +GNU_RELRO ")
            self.assertRegex(readelf("--dynamic", binary), r"\(FLAGS_1\).*\bNOW\b")
            self.assertNotIn("(TEXTREL)", readelf("--dynamic", binary))

    def test_no_stack_can_be_run_and_nothing_is_both_written_and_run(self):
        for binary in self.each():
            segments = readelf("--segments", binary)
            stack = re.search(r"\n +GNU_STACK +(?:0x\w+ +){5}(\S+)", segments)
            self.assertIsNotNone(stack, segments)
            self.assertEqual(stack.group(1), "RW")
            self.assertNotIn(" RWE ", segments)

    def test_stack_notices_that_it_was_written_past(self):
        for binary in self.each():
            self.assertIn("__stack_chk_fail", readelf("--dyn-syms", binary))

    def test_functions_of_c_know_the_size_of_what_they_write_to(self):
        for binary in self.each():
            self.assertRegex(readelf("--dyn-syms", binary), r"__(mem|str|f?printf|vsn?printf|snprintf|"
                             r"read|fread|recv|poll|realpath|getcwd|readlink)\w*_chk@")

    def test_every_source_is_compiled_that_way(self):
        commands = json.loads((BUILD / "compile_commands.json").read_text(encoding="utf-8"))
        self.assertGreater(len(commands), 100)
        for entry in commands:
            for option in ["-fstack-protector-strong", "-fstack-clash-protection"]:
                self.assertIn(option, entry["command"].split(), entry["file"])
            self.assertRegex(entry["command"], r" -D_FORTIFY_SOURCE=[23] ", entry["file"])
            # Without optimising, the size is not known and nothing is checked.
            self.assertRegex(entry["command"], r" -O[123gs] ", entry["file"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
