#!/usr/bin/env python3
"""Can what the documents tell people to type be typed?

    docs_commands_test.py KELVANE TREVIX_LOCAL KIT

Every command of ours in a block of shell of the Markdown files, and every one in backquotes that has an
option: its script is there, its subcommand and its options are those that its own help names. Those that
only look are run, in a home folder of their own.
"""

import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
KELVANE, SERVICE, KIT = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
PROGRAMS = {"kelvane": [KELVANE], "trevix-local": [SERVICE],
            "brask": [sys.executable, "-B", KIT / "validate.py"],
            "brask_install.py": [sys.executable, "-B", KIT / "brask_install.py"]}
LONG = re.compile(r"(?<![\w-])--[a-z][a-z-]*")
# They change nothing, need no display, and end.
LOOKING = {"kelvane": {"--selftest", "--detect", "--help", "--version"},
           "trevix-local": {"--engines", "--print-key", "--help", "--version"},
           "brask": {"rules", "--help", "--version"}, "brask_install.py": {"status", "--help"}}


def documents():
    for name in subprocess.run(["git", "-C", ROOT, "ls-files", "--cached", "--others", "--exclude-standard",
                                "*.md"], check=True, text=True, capture_output=True).stdout.split():
        if not name.startswith(("docs/samples/", "tests/", "resources/")):
            yield name, (ROOT / name).read_text(encoding="utf-8")


def name_of(word):
    """The command of ours that a word names, or nothing."""
    if re.fullmatch(r"(\./)?scripts/[a-z-]+", word):
        return word.removeprefix("./")
    name = word.rsplit("/", 1)[-1]
    return {"Kelvane": "kelvane", "validate.py": "brask"}.get(name, name if name in PROGRAMS else None)


def of_ours(line):
    """[(name, arguments)] of a line of shell."""
    for part in re.split(r"\|\||&&|[|;&]|\$\(|\)", re.sub(r"(^|\s)#.*$", "", line)):
        try:
            words = shlex.split(part)
        except ValueError:
            continue
        while words and (re.fullmatch(r"[A-Z_]+=.*", words[0]) or words[0] in ("sudo", "python3")):
            words.pop(0)
        name = name_of(words[0]) if words else None
        if name:
            yield name, words[1:]


def commands():
    """[(document, name, arguments)]"""
    found = []
    for document, text in documents():
        for block in re.findall(r"^```(?:sh|bash)\n(.*?)^```", text, re.S | re.M):
            for line in re.sub(r"\\\n", " ", block).splitlines():
                found += [(document, *one) for one in of_ours(line)]
        prose = re.sub(r"^```.*?^```", "", text, flags=re.S | re.M)
        for code in re.findall(r"`([^`\n]+)`", prose):
            if " " in code:
                found += [(document, *one) for one in of_ours(code)]
    return found


def run(name, *arguments, home):
    return subprocess.run([str(word) for word in [*PROGRAMS[name], *arguments]], text=True, cwd=home,
                          capture_output=True, check=False, stdin=subprocess.DEVNULL, timeout=120,
                          env={"HOME": home, "PATH": os.environ["PATH"], "LC_ALL": "C.UTF-8"})


class Commands(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.home, cls.helps = folder.name, {}
        cls.found = commands()

    def help_of(self, name, command=None):
        key = (name, command)
        if key not in self.helps:
            if name.startswith("scripts/"):
                # What a script says of itself stands at its beginning.
                text = (ROOT / name).read_text(encoding="utf-8")
                self.helps[key] = text[:text.index("\nset -")] if "\nset -" in text else text
            else:
                result = run(name, *([command] if command else []), "--help", home=self.home)
                self.helps[key] = result.stdout if result.returncode == 0 else ""
        return self.helps[key]

    def test_there_are_many(self):
        names = {name for _, name, _ in self.found}
        self.assertLessEqual({"kelvane", "trevix-local", "brask", "scripts/test", "scripts/package"}, names)
        self.assertGreater(len(self.found), 40)

    def test_scripts_are_there(self):
        for document, name, _ in self.found:
            if name.startswith("scripts/"):
                self.assertTrue(os.access(ROOT / name, os.X_OK), f"{document}: {name}")

    def test_options_are_those_that_the_command_names(self):
        wrong = []
        for document, name, arguments in self.found:
            command = arguments[0] if name == "brask" and arguments and arguments[0][:1].islower() else None
            if name == "trevix-local" and arguments[:1] == ["keys"]:
                command = "keys"
            named = set(LONG.findall(self.help_of(name, command))) | {"--help"}
            if command == "mcp":  # for coding tools, and in no help
                continue
            if command and not self.help_of(name, command):
                wrong.append(f"{document}: {name} {command}: there is no such command")
            for word in arguments:
                option = word.split("=")[0]
                if LONG.fullmatch(option) and option not in named:
                    wrong.append(f"{document}: {name} {' '.join(arguments)}: no option {option}")
        self.assertEqual(wrong, [])

    def test_what_only_looks_does_what_it_says(self):
        tried = set()
        for document, name, arguments in self.found:
            if not arguments or arguments[0] not in LOOKING.get(name, ()):
                continue
            if any(re.search(r"[<>*$…]|\b[A-Z]{2,}\b", word) for word in arguments) or \
                    (name, tuple(arguments)) in tried:
                continue
            tried.add((name, tuple(arguments)))
            result = run(name, *arguments, home=self.home)
            self.assertEqual(result.returncode, 0, f"{document}: {name} {arguments}: {result.stderr}")
            self.assertTrue(result.stdout, f"{document}: {name} {arguments}")
        self.assertGreater(len(tried), 5, tried)

    def test_pinned_versions_of_engines_are_those_that_are_fetched(self):
        script = (ROOT / "scripts/engines").read_text(encoding="utf-8")
        pinned = re.findall(r"@?[\w/.-]+@\d[\w.]*", (ROOT / "docs/engines.md").read_text(encoding="utf-8"))
        # Five in the table, three of them once more in the command.
        self.assertEqual((len(pinned), len(set(pinned))), (8, 5))
        for package in pinned:
            self.assertIn(package, script)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
