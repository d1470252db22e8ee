#!/usr/bin/env python3
"""Do the manual pages say what the commands say of themselves?

    manual_test.py KELVANE TREVIX_LOCAL KIT
"""

import pathlib
import re
import subprocess
import sys
import unittest

DOCS = pathlib.Path(__file__).resolve().parents[2] / "docs"
KELVANE, SERVICE, KIT = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
LONG = re.compile(r"(?<![\w-])--([a-z][a-z-]*)")


def printed(*command):
    return subprocess.run([str(word) for word in command], check=True, text=True,
                          capture_output=True, stdin=subprocess.DEVNULL).stdout


def brask(*arguments):
    return printed(sys.executable, "-B", KIT / "validate.py", *arguments)


def source(name):
    return (DOCS / f"{name}.1").read_text(encoding="utf-8")


def of_manual(name):
    """The options that the page explains, and those in its synopsis."""
    text = source(name)
    synopsis = text.split(".Sh SYNOPSIS\n")[1].split(".Sh ")[0]
    return (set(re.findall(r"^\.It Fl -([a-z-]+)", text, re.MULTILINE)),
            set(re.findall(r"\bFl -([a-z-]+)", synopsis)) |
            set(re.findall(r"\| -([a-z-]+)", synopsis)))


def commands_of_brask():
    listed = brask("--help").split("\n  COMMAND\n")[1].split("\n\n")[0]
    return re.findall(r"^    (\w+)", listed, re.MULTILINE)


class Manuals(unittest.TestCase):
    def test_each_is_right_and_in_good_style(self):
        names = sorted(path.stem for path in DOCS.glob("*.1"))
        self.assertEqual(names, ["brask", "kelvane", "trevix-local"])
        for name in names:
            result = subprocess.run(["mandoc", "-Tlint", "-Wstyle", DOCS / f"{name}.1"], text=True,
                                    capture_output=True, check=False)
            # It looks for other pages where they are installed.
            complaints = [line for line in (result.stdout + result.stderr).splitlines() if not re.search(
                rf"referenced manual not found: Xr ({'|'.join(names)}) 1\b", line)]
            self.assertEqual(complaints, [], name)

    def test_reference_leads_to_each_other_page(self):
        names = {path.stem for path in DOCS.glob("*.1")}
        for name in names:
            see = source(name).split(".Sh SEE ALSO\n")[1]
            self.assertEqual(set(re.findall(r"^\.Xr (\S+) 1", see, re.MULTILINE)), names - {name}, name)

    def same(self, name, told):
        explained, synopsis = of_manual(name)
        self.assertEqual(explained | {"help", "version"}, told | {"help", "version"}, name)
        self.assertEqual(synopsis, told, name)

    def test_kelvane(self):
        self.same("kelvane", set(LONG.findall(printed(KELVANE, "--help"))))

    def test_service(self):
        told = set(LONG.findall(printed(SERVICE, "--help")))
        self.same("trevix-local", told | set(LONG.findall(printed(SERVICE, "keys", "--help"))))

    def test_brask(self):
        told = set(LONG.findall(brask("--help")))
        commands = commands_of_brask()
        self.assertIn("grade", commands)
        for command in commands:
            # What a help says of others' options is no option of its own.
            usage = re.split(r"\n\n", brask(command, "--help"))[0]
            told |= set(LONG.findall(usage)) | {"help"}
            self.assertIn(f".It Cm {command}\n", source("brask"))
            self.assertRegex(source("brask").split(".Sh DESCRIPTION")[0], rf"\n\.Cm {command}\n")
        self.same("brask", told)

    def test_exit_codes_of_brask_are_those_that_it_names(self):
        told = re.findall(r"(\d) \w", brask("--help").split("exit codes: ")[1].splitlines()[0])
        status = source("brask").split(".Sh EXIT STATUS\n")[1].split(".Sh ")[0]
        self.assertEqual(re.findall(r"^\.It (\d)$", status, re.MULTILINE), told)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
