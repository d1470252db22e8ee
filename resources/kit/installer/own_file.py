"""The format "own-file": a file that is ours as a whole, in a folder that the tool reads."""

import json
import os
from typing import Any, Dict
from urllib.parse import quote

from .ownership import Hints, Validator
from .text import BadText, Edit
from .tool import Tool


class OwnFile(Tool):
    """A tool that reads every file of a folder. Ours is told by its name and by what it runs; taking
    our entry out is taking the file away."""

    whole = True

    def __init__(self, agent: Dict[str, Any], file: Dict[str, Any], validator: Validator) -> None:
        super().__init__(agent, file, validator)
        self.text = self.program(file) if "text" in file else \
            json.dumps(validator.filled(file["value"]), indent=2, ensure_ascii=False) + "\n"

    def program(self, file: Dict[str, Any]) -> str:
        """The lines of a program in JavaScript, with the command and the place of the module of the
        engine that it hands everything to, both as it writes texts."""
        engine = os.path.join(self.validator.brask, "standing", "engine", file["engine"])
        words = {"{command}": self.validator.command_line(file["command"]),
                 "{engine}": "file://" + quote(engine)}
        lines = "".join(line + "\n" for line in file["text"])
        for name, word in words.items():
            lines = lines.replace(name, json.dumps(word, ensure_ascii=False))
        return lines

    def names_us(self, text: str) -> bool:
        """Does the file name our validator? Its path may hold what ends a word elsewhere, so it is
        looked for as it is written, but for what the shell and the file's language put before it."""
        plain = text.replace("\\", "")
        return self.validator.mentions(plain) or any(
            os.path.join(folder, "validate.py").replace("\\", "") in plain
            for folder in self.validator.folders)

    def state(self, text: str) -> str:
        if not text.strip():
            return "absent"
        if not self.names_us(text):
            return "foreign"
        return "wired" if self.seen(text) else "repair"

    def edited(self, text: str) -> bool:
        return text != self.text

    def add(self, text: str, hints: Hints) -> Edit:
        if text.strip():
            raise BadText("this file has the name of ours and holds something else", 0)
        edit = Edit(text)
        hints.blank = text
        edit.apply([(0, len(text), self.text)])
        return edit

    def remove(self, text: str, hints: Hints) -> str:
        return (hints.blank or "") if self.names_us(text) else text

    def others(self, text: str) -> Any:
        return None if not text.strip() or self.names_us(text) else text

    def empty(self, text: str) -> bool:
        return not text.strip()
