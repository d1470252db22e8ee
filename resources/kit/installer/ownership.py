"""What is ours.

An entry is told by the command that it runs; what was there before us, by what we remember.
"""

import os
import re
import shlex
from typing import Any, Dict, List, Optional, Sequence

from .described import HOOK_COMMANDS, VALIDATOR
from .text import Key


class Validator:
    """The validator's path, how it is written into commands, and which commands run it.

    `brask` is the data folder and `home` the home folder, both absolute; `others` are further
    folders in which a validator of ours may lie, such as the one of another day's BRASK_HOME.
    """

    OPERATORS = set(";&|()<>")
    LAUNCHES = re.compile(r"python[0-9.]*$|(?:env|exec|command|nohup|nice|time|timeout)$|-|"
                          r"[0-9.]+[smh]?$|[A-Za-z_][A-Za-z0-9_]*=")
    TAKES_A_WORD = ("-X", "-W")     # options of Python
    JOINS = ("||", "&&", ";", "&")
    NOTHING = (["true"], [":"], ["exit", "0"])

    def __init__(self, brask: str, home: str, others: Sequence[str] = ()) -> None:
        self.path = os.path.join(brask, "validate.py")
        self.brask, self.home = brask, home
        self.folders = [brask] + [folder for folder in others if folder != brask]
        self.hooks = {self.command_line(template) for template in HOOK_COMMANDS}

    @property
    def quoted(self) -> str:
        return '"%s"' % re.sub(r'([\\"$`])', r"\\\1", self.path)

    def command_line(self, template: str) -> str:
        """A command line of the table for this home folder."""
        return template.replace(VALIDATOR, self.quoted)

    def filled(self, value: Any) -> Any:
        """A value of the table for this home folder; it may hold values itself. A word that stands
        for the validator is its path, a longer text is a command line."""
        if isinstance(value, dict):
            return {key: self.filled(inner) for key, inner in value.items()}
        if isinstance(value, list):
            return [self.filled(inner) for inner in value]
        if value == VALIDATOR:
            return self.path
        return self.command_line(value) if isinstance(value, str) else value

    def names(self, word: str) -> bool:
        """Does this word of a command name our validator?"""
        for name, value in (("~", self.home), ("$HOME", self.home), ("${HOME}", self.home),
                            ("$BRASK_HOME", self.brask), ("${BRASK_HOME}", self.brask)):
            if word.startswith(name + "/"):
                word = value + word[len(name):]
                break
        if not os.path.isabs(word) or os.path.basename(word) != "validate.py" or "\0" in word:
            return False
        folder = os.path.dirname(os.path.normpath(word))
        return any(folder == ours or os.path.realpath(folder) == os.path.realpath(ours)
                   for ours in self.folders)

    def runs(self, command: Any, args: Any) -> bool:
        """Is this command with these arguments a call of our validator and of nothing else? What
        only launches it, redirects it or forgives its failure (`|| true`) does not count. A longer
        command line of somebody's own that also mentions it is not ours."""
        if not isinstance(command, str):
            return False
        if isinstance(args, list):
            words = [command] + [arg for arg in args if isinstance(arg, str)]
            return self.launched(words)
        return command in self.hooks or self.launched(self.words(command))

    def launched(self, words: Sequence[str]) -> bool:
        """Do these words run our validator, by way of an interpreter or directly?"""
        skip = False
        for word in words:
            if skip:
                skip = False
            elif self.names(word):
                return True
            elif not self.LAUNCHES.match(os.path.basename(word)):
                return False
            else:
                skip = word in self.TAKES_A_WORD
        return False

    def mentions(self, command: Any) -> bool:
        """Does any word of this command line name our validator?"""
        return isinstance(command, str) and "validate.py" in command and any(
            self.names(word) for word in re.split(r"[\s\"'();&|<>=]+", command))

    def words(self, command: str) -> List[str]:
        """The words of the one command of this line that is not nothing, without redirections; none
        when there are several, or it cannot be told, or it does not name a validator at all: taking
        it apart is the slowest thing done to a file."""
        if "validate.py" not in command:
            return []
        commands = self.commands(command.strip())
        real = [words for words in commands if words not in self.NOTHING]
        return [re.sub(r"\\([$`])", r"\1", word) for word in real[0]] if len(real) == 1 else []

    def commands(self, line: str) -> List[List[str]]:
        """The simple commands of a line that are joined by nothing but what is in JOINS; none of a
        line that is more than that."""
        try:
            lexer = shlex.shlex(line, posix=True, punctuation_chars=True)
            lexer.commenters, lexer.whitespace_split = "", True
            tokens = list(lexer)
        except ValueError:
            return []
        if "\n" in line:
            return []
        commands: List[List[str]] = [[]]
        target = False  # is the next word where something is redirected to?
        for token in tokens:
            if target:
                target = False
            elif token in self.JOINS:
                commands.append([])
            elif set(token) <= set("<>&") and set(token) & set("<>"):
                if commands[-1] and commands[-1][-1] in ("0", "1", "2"):
                    commands[-1].pop()  # the number of what is redirected
                target = True
            elif set(token) <= self.OPERATORS:
                return []
            else:
                commands[-1].append(token)
        return [words for words in commands if words]


class Hints:
    """What the file was like before us, as far as its present text cannot tell: the keys that we
    made, and the inside of brackets that were empty. Nothing is known when the manifest is
    lost."""

    def __init__(self, record: Optional[Dict[str, Any]] = None) -> None:
        record = record or {}
        self.created = [tuple(key) for key in record.get("createdKeys", [])]
        self.empty = {tuple(e["key"]): e["text"] for e in record.get("emptyBefore", [])}
        self.blank: Optional[str] = record.get("blankBefore")

    def made(self, key: Key) -> bool:
        return any(key[:len(made)] == made for made in self.created)

    def record(self) -> Dict[str, Any]:
        """The part of a manifest record that says the same."""
        found: Dict[str, Any] = {"createdKeys": [list(key) for key in self.created],
                                 "emptyBefore": [{"key": list(key), "text": text}
                                                 for key, text in self.empty.items()]}
        if self.blank is not None:
            found["blankBefore"] = self.blank
        return found
