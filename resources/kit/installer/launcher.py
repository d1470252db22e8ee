"""The command `brask`."""

import os
import re

from .ownership import Validator


class Launcher:
    """The command `brask`: a small script in ~/.local/bin that runs the validator."""

    HEAD = "#!/bin/sh\n# Runs the validator of Kelvane Companion; brask_install.py made this " \
           "file and removes it.\nexec python3 "
    FORM = re.compile(re.escape(HEAD) + r'(?:-I )?"[^\n]*/validate\.py" "\$@"\n')

    def __init__(self, home: str, validator: Validator) -> None:
        self.path = os.path.join(home, ".local", "bin", "brask")
        self.data = (self.HEAD + "-I " + validator.quoted + ' "$@"\n').encode("utf-8")

    def state(self) -> str:
        """"ours", "stale" (ours, for another folder), "foreign" or "absent"."""
        if not os.path.lexists(self.path):
            return "absent"
        if os.path.islink(self.path) or not os.path.isfile(self.path):
            return "foreign"
        with open(self.path, "rb") as file:
            data = file.read(len(self.data) + 65536)
        if data == self.data:
            return "ours"
        return "stale" if self.FORM.fullmatch(data.decode("utf-8", "replace")) else "foreign"
