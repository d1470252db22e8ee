"""What is ours.

An entry is told by the command that it runs; what was there before us, by what we remember.
"""

import os
import re
import shlex
from typing import Any, Dict, List, Optional

from .described import HOOK_COMMANDS, VALIDATOR
from .text import Key


class Validator:
    """The validator's path, how it is written into commands, and which commands run it.

    `brask` is the data folder and `home` the home folder, both absolute.
    """

    OPERATORS = set(";&|()<>")
    LAUNCHES = re.compile(r"python[0-9.]*$|env$|exec$|-|[A-Za-z_][A-Za-z0-9_]*=")

    def __init__(self, brask: str, home: str) -> None:
        self.path = os.path.join(brask, "validate.py")
        self.brask, self.home = brask, home
        self.hooks = {self.command_line(template) for template in HOOK_COMMANDS}

    @property
    def quoted(self) -> str:
        return '"%s"' % re.sub(r'([\\"$`])', r"\\\1", self.path)

    def command_line(self, template: str) -> str:
        """A command line of the table for this home folder."""
        return template.replace(VALIDATOR, self.quoted)

    def filled(self, value: Any) -> Any:
        """A value of the table for this home folder; it may hold values itself."""
        if isinstance(value, dict):
            return {key: self.filled(inner) for key, inner in value.items()}
        if isinstance(value, list):
            return [self.filled(inner) for inner in value]
        return value.replace(VALIDATOR, self.path) if isinstance(value, str) else value

    def names(self, word: str) -> bool:
        """Does this word of a command name our validator?"""
        for name, value in (("~", self.home), ("$HOME", self.home), ("${HOME}", self.home),
                            ("$BRASK_HOME", self.brask), ("${BRASK_HOME}", self.brask)):
            if word.startswith(name + "/"):
                word = value + word[len(name):]
                break
        if not os.path.isabs(word) or os.path.basename(word) != "validate.py" or "\0" in word:
            return False
        word = os.path.normpath(word)
        return word == self.path or \
            os.path.realpath(os.path.dirname(word)) == os.path.realpath(self.brask)

    def runs(self, command: Any, args: Any) -> bool:
        """Is this command with these arguments a plain call of our validator? A longer command line
        of somebody's own that also mentions it is not."""
        if not isinstance(command, str):
            return False
        if isinstance(args, list):
            words = [command] + [arg for arg in args if isinstance(arg, str)]
        else:
            words = [self.path] if command in self.hooks else self.words(command)
        for word in words:
            if self.names(word):
                return True
            if not self.LAUNCHES.match(os.path.basename(word)):
                return False
        return False

    def words(self, command: str) -> List[str]:
        """The words of a simple command line; none when it is more than one, or cannot be told, or
        does not name a validator at all: taking it apart is the slowest thing done to a file."""
        if "validate.py" not in command:
            return []
        try:
            lexer = shlex.shlex(command, posix=True, punctuation_chars=True)
            lexer.commenters, lexer.whitespace_split = "", True
            words = list(lexer)
        except ValueError:
            return []
        several = "\n" in command.strip() or any(set(word) <= self.OPERATORS for word in words)
        return [] if several else [re.sub(r"\\([$`])", r"\1", word) for word in words]


class Hints:
    """What the file was like before us, as far as its present text cannot tell: the keys that we
    made, and the inside of brackets that were empty. Unknown when the manifest is lost."""

    def __init__(self, record: Optional[Dict[str, Any]] = None) -> None:
        record = record or {}
        self.known = bool(record)
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
