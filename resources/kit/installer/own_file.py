"""The format "own-file": a file that is ours as a whole, in a folder that the tool reads."""

import json
from typing import Any, Dict

from .ownership import Hints, Validator
from .text import BadText, Edit
from .tool import Tool


class OwnFile(Tool):
    """A tool that reads every file of a folder. Ours is told by its name and by what it runs; taking
    our entry out is taking the file away."""

    whole = True

    def __init__(self, agent: Dict[str, Any], file: Dict[str, Any], validator: Validator) -> None:
        super().__init__(agent, file, validator)
        self.text = json.dumps(validator.filled(file["value"]), indent=2, ensure_ascii=False) + "\n"

    def names_us(self, text: str) -> bool:
        """Does any word of the file name our validator?"""
        return self.validator.mentions(text.replace("\\", ""))

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
