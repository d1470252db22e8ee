"""What people are told: the status, a change, the reason of a failure."""

import difflib
import re
from typing import Any, Dict, Iterator, List, Optional


WORDS = {"wired": "wired", "absent": "not wired", "repair": "needs repair: run this again",
         "foreign": "somebody else's server has our name", "unreadable": "cannot be read",
         "ours": "installed", "stale": "for another folder"}


def split_lines(data: Optional[bytes]) -> List[str]:
    """Lines as a diff counts them: ended by a line feed and by nothing else."""
    text = (data or b"").decode("utf-8", "replace")
    return [line for line in re.split(r"(?<=\n)", text) if line]


def unified_diff(path: str, old: Optional[bytes], new: Optional[bytes]) -> Iterator[str]:
    """The change of a file, which `patch` understands; None is no file."""
    for line in difflib.unified_diff(
            split_lines(old), split_lines(new),
            "/dev/null" if old is None else path, "/dev/null" if new is None else path):
        yield line[:-1] if line.endswith("\n") else line + "\n\\ No newline at end of file"


def reason(error: Exception) -> str:
    """A sentence for people."""
    if isinstance(error, OSError):
        where = error.filename2 or error.filename
        return "%s%s; nothing was lost" % ("%s: " % where if where else "", error.strerror or error)
    return str(error)


def status_lines(status: Dict[str, Any]) -> Iterator[str]:
    """The status for people."""
    yield "validator    %s%s" % (status["validator"]["path"],
                                 "" if status["validator"]["present"] else " (missing)")
    for tool in status["tools"]:
        yield "%-12s %s: %s" % (tool["label"], WORDS[tool["state"]], tool["file"])
        if tool["seen"] and tool["state"] != "wired":
            yield "%-12s the companion shows it as wired, because its marker is in the file" % ""
        for note in tool["notes"]:
            yield "%-12s %s" % ("", note)
    command = status["command"]
    yield "%-12s %s: %s" % ("brask", {"absent": "not installed", "foreign": "somebody else's"}.get(
        command["state"], WORDS.get(command["state"], "")), command["path"])
    if command["lineToAdd"]:
        yield "%-12s not on PATH; add this line to ~/.profile: %s" % ("", command["lineToAdd"])
