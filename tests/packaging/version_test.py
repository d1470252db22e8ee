#!/usr/bin/env python3
"""Does everything that has a version say the one that stands in one place?

    version_test.py KELVANE TREVIX_LOCAL
"""

import json
import pathlib
import re
import subprocess
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SOURCE = ROOT / "resources/kit/standing/engine/version.txt"
KELVANE, SERVICE = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])


def said_by(*command):
    return subprocess.run([str(word) for word in command], check=True, text=True,
                          capture_output=True).stdout.split()[-1]


class Version(unittest.TestCase):
    def setUp(self):
        self.version = SOURCE.read_text(encoding="ascii").strip()

    def test_it_has_three_numbers(self):
        self.assertRegex(self.version, r"^\d+\.\d+\.\d+$")

    def test_every_program_says_it(self):
        kit = ROOT / "resources/kit/validate.py"
        for command in ([KELVANE, "--version"], [SERVICE, "--version"],
                        [sys.executable, "-B", kit, "--version"]):
            with self.subTest(command):
                self.assertEqual(said_by(*command), self.version)

    def test_nothing_else_states_it(self):
        pattern = r"(version|VERSION)\W{1,5}" + re.escape(self.version) + r"(?![\w.])"
        files = subprocess.run(["git", "-C", ROOT, "ls-files", "*.txt", "*.cmake", "*.py", "*.h",
                                "*.cpp", "*.in", "*.json"], text=True, capture_output=True,
                               check=False).stdout.split("\n")[:-1]
        # Nothing builds the description of the MCP server, so it must state the version itself.
        said = [name for name in files if (ROOT / name).is_file() and not name.startswith("tests/")
                and name != "server.json"
                and re.search(pattern, (ROOT / name).read_text(encoding="utf-8", errors="replace"))]
        self.assertEqual(said, [])

    def test_the_description_of_the_mcp_server_states_it(self):
        told = json.loads((ROOT / "server.json").read_text(encoding="utf-8"))
        self.assertEqual(told["version"], self.version)

    def test_what_changed_is_told_for_it_or_for_the_one_to_come(self):
        headings = re.findall(r"^## \[([^\]]+)\]", (ROOT / "CHANGELOG.md").read_text(encoding="utf-8"),
                              re.MULTILINE)
        self.assertTrue(headings)
        self.assertIn(headings[0], ("Unreleased", self.version))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
