#!/usr/bin/env python3
"""Do the shells themselves complete what the commands take?

    completions_test.py FOLDER KELVANE TREVIX_LOCAL KIT

FOLDER is where the build puts the completions. bash runs the function that it was given, fish answers
`complete -C`, and zsh is asked on a terminal, as it answers nowhere else.
"""

import os
import pathlib
import pty
import re
import select
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

FOLDER, KELVANE, SERVICE, KIT = (pathlib.Path(argument).resolve() for argument in sys.argv[1:5])
LONG = re.compile(r"(?<![\w-])--[a-z][a-z-]*")
HELP = {"kelvane": [KELVANE], "trevix-local": [SERVICE],
        "brask": [sys.executable, "-B", KIT / "validate.py"]}
# A limit that only says when an answer is not going to come.
LONGEST = 60


def options_of(name, *command):
    shown = subprocess.run([str(word) for word in [*HELP[name], *command, "--help"]], check=True,
                           text=True, capture_output=True, stdin=subprocess.DEVNULL).stdout
    # A help that begins with "usage:" names there all that it takes, and below the options of others too.
    return set(LONG.findall(shown.split("\n\n")[0] if shown.startswith("usage:") else shown)) | {"--help"}


class Bash:
    def __init__(self, work):
        self.work = work

    def offers(self, line):
        """What the last word of `line` may become."""
        name = line.split()[0]
        script = """
            source "$1"; words=$2; IFS=' ' read -ra COMP_WORDS <<<"${words//=/ = }"
            [[ $2 != *[\\ =] ]] || COMP_WORDS+=('')
            COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
            compopt() { :; }
            read -r _ _ function _ < <(complete -p "$3"); "$function"
            printf '%s\\n' "${COMPREPLY[@]}" """
        result = subprocess.run(["bash", "--norc", "-uc", script, "bash", FOLDER / "bash" / name, line,
                                 name], cwd=self.work, text=True, capture_output=True, check=True)
        if result.stderr:
            raise AssertionError(result.stderr)
        return set(result.stdout.split())


class Fish:
    def __init__(self, work):
        self.work = work

    def offers(self, line):
        name = line.split()[0]
        result = subprocess.run(
            ["fish", "--no-config", "-c", f"source {FOLDER}/fish/{name}.fish; complete -C $argv[1]", line],
            cwd=self.work, text=True, capture_output=True, check=True,
            env={**os.environ, "HOME": str(self.work), "TERM": "dumb"})
        if result.stderr:
            raise AssertionError(result.stderr)
        found = {row.split("\t")[0] for row in result.stdout.splitlines()}
        return {re.sub(r"^--[\w-]+=", "", word) for word in found}


class Zsh:
    """One shell on a terminal. `offers` types a line, has the choices listed, and takes it back."""

    def __init__(self, work):
        self.pid, self.terminal = pty.fork()
        if self.pid == 0:
            os.chdir(work)
            os.environ.update(HOME=str(work), TERM="dumb", PS1="", LINES="500", COLUMNS="400", LC_ALL="C")
            os.execvp("zsh", ["zsh", "-f", "-i"])
        for line in ["stty -echo cols 400 rows 500", f"fpath=({FOLDER}/zsh $fpath)",
                     "autoload -Uz compinit && compinit -u -D", "unsetopt zle_bracketed_paste",
                     "LISTMAX=10000; PS1=''; zstyle ':completion:*' list-separator '#'",
                     "say-choices() { zle list-choices; zle -R; zle -I; print -r -- '[end]'; BUFFER= }",
                     "zle -N say-choices; bindkey '^X^A' say-choices", "setopt no_list_ambiguous",
                     "print -r -- rea''dy"]:
            os.write(self.terminal, (line + "\n").encode())
        self.until("ready")

    def until(self, mark):
        said, end = "", time.monotonic() + LONGEST
        while not re.search(mark, said):
            if time.monotonic() > end or not select.select([self.terminal], [], [], 1)[0]:
                if time.monotonic() > end:
                    raise AssertionError(f"zsh does not answer; it said {said!r}")
                continue
            said += os.read(self.terminal, 65536).decode(errors="replace")
        return said

    def offers(self, line):
        os.write(self.terminal, line.encode() + b"\x18\x01")
        said = re.sub(r"\x1b\[[?\d;]*\w|[\r\a]", "", self.until(r"\[end\]"))
        # What was typed is shown again above the list, sometimes behind what was left of a redrawn
        # line, and what an entry means beside it.
        rows = said.split("[end]")[0].splitlines()
        listed = [row.split(" #")[0] for row in rows if line.strip() not in row]
        return {word for row in listed for word in row.split()}

    def close(self):
        os.close(self.terminal)
        os.waitpid(self.pid, 0)


class Completions:
    """What is asked of each shell."""

    shell = None

    @classmethod
    def setUpClass(cls):
        name = cls.shell.__name__.lower()
        # All three are test dependencies: one that is not here is no reason to say nothing.
        if shutil.which(name) is None:
            raise AssertionError(f"there is no {name} here: scripts/bootstrap test")
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        work = pathlib.Path(cls.folder.name)
        for file in ["work.md", "words.txt"]:
            (work / file).write_text("x", encoding="utf-8")
        (work / "place").mkdir()
        cls.asked = cls.shell(work)
        if hasattr(cls.asked, "close"):
            cls.addClassCleanup(cls.asked.close)

    def offers(self, line):
        return self.asked.offers(line)

    def test_every_option_of_every_command(self):
        for name in HELP:
            self.assertEqual({word for word in self.offers(f"{name} --") if LONG.fullmatch(word)},
                             options_of(name), name)

    def test_every_option_of_every_command_of_brask(self):
        for command in ["grade", "dismiss", "rules", "report"]:
            self.assertEqual({word for word in self.offers(f"brask {command} --") if LONG.fullmatch(word)},
                             options_of("brask", command), command)

    def test_commands_of_brask(self):
        found = self.offers("brask ")
        self.assertLessEqual({"grade", "dismiss", "rules", "report"}, found)
        self.assertNotIn("work.md", found)

    def test_files_where_files_are_meant(self):
        for line in ["brask grade wor", "brask grade --output wor", "kelvane --catalog wor",
                     "trevix-local --catalog wor"]:
            found = self.offers(line)
            self.assertIn("work.md", found, line)
            self.assertIn("words.txt", found, line)

    def test_folders_where_a_folder_is_meant(self):
        found = {word.rstrip("/") for word in self.offers("trevix-local --data ")}
        self.assertIn("place", found)

    def test_values_where_they_are_known(self):
        for line in ["brask grade --modality ", "brask rules "]:
            self.assertLessEqual({"text", "code", "spreadsheet"}, self.offers(line), line)

    def test_nothing_where_only_its_user_knows(self):
        for line in ["brask grade --intent ", "trevix-local --port ", "brask report "]:
            found = self.offers(line) - {"--help", "-h"}
            self.assertFalse(found & {"work.md", "words.txt", "--json", "--data", "grade"}, (line, found))


class BashTest(Completions, unittest.TestCase):
    shell = Bash

    def test_value_behind_an_equals_sign(self):
        self.assertEqual(self.offers("brask grade --modality=te"), {"text"})


class FishTest(Completions, unittest.TestCase):
    shell = Fish


class ZshTest(Completions, unittest.TestCase):
    shell = Zsh


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
