"""What people are told: the status, a change, the reason of a failure."""

import re
from typing import Any, Dict, Iterator, List, Optional


WORDS = {"wired": "wired", "absent": "not wired", "repair": "needs repair: run this again",
         "untrusted": "installed, not trusted yet", "edited": "wired, and edited by you",
         "foreign": "somebody else's server has our name", "unreadable": "cannot be read",
         "ours": "installed", "stale": "for another folder"}


def split_lines(data: Optional[bytes]) -> List[str]:
    """Lines as a diff counts them: ended by a line feed and by nothing else."""
    text = (data or b"").decode("utf-8", "replace")
    return [line for line in re.split(r"(?<=\n)", text) if line]


TRUST_NOTES = {"untrusted": "installed, not trusted yet: run /hooks in Codex, which passes our hooks "
                            "over until you have looked at them",
               None: "whether Codex runs our hooks is not known: it did not tell",
               "off": "our hooks are switched off in Codex; /hooks switches them on"}

AROUND = 3  # lines shown on either side of a change, as `diff -u` does


def unified_diff(path: str, old: Optional[bytes], new: Optional[bytes]) -> Iterator[str]:
    """The change of a file, which `patch` understands; None is no file. One piece from the first
    line that differs to the last: an edit of ours has no more, and it takes one look at each line."""
    before, after = split_lines(old), split_lines(new)
    most = min(len(before), len(after))
    head = next((n for n in range(most) if before[n] != after[n]), most)
    tail = next((n for n in range(most - head) if before[-1 - n] != after[-1 - n]), most - head)
    if head == len(before) == len(after):
        return
    first, last = max(0, head - AROUND), max(0, tail - AROUND)
    counts = len(before) - last - first, len(after) - last - first
    yield "--- %s" % ("/dev/null" if old is None else path)
    yield "+++ %s" % ("/dev/null" if new is None else path)
    yield "@@ -%s +%s @@" % tuple("%d,%d" % (first + bool(count), count) for count in counts)
    for sign, lines in ((" ", before[first:head]), ("-", before[head:len(before) - tail]),
                        ("+", after[head:len(after) - tail]),
                        (" ", after[len(after) - tail:len(after) - last])):
        for line in lines:
            yield sign + (line[:-1] if line.endswith("\n")
                          else line + "\n\\ No newline at end of file")


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
        for means in tool["means"] if len(tool["means"]) > 1 else []:
            yield "%-12s   %s: %s%s" % ("", means["means"], WORDS[means["state"]],
                                        "" if means["file"] == tool["file"]
                                        else " (%s)" % means["file"])
        if tool["state"] in ("wired", "edited", "untrusted", "repair"):
            yield "%-12s version %s" % ("", tool["version"] or "unknown")
        if tool["seen"] and tool["state"] not in ("wired", "edited", "untrusted"):
            yield "%-12s the companion shows it as wired, because its marker is in the file" % ""
        for note in tool["notes"]:
            yield "%-12s %s" % ("", note)
    command = status["command"]
    yield "%-12s %s: %s" % ("brask", {"absent": "not installed", "foreign": "somebody else's"}.get(
        command["state"], WORDS.get(command["state"], "")), command["path"])
    if command["lineToAdd"]:
        yield "%-12s not on PATH; add this line to ~/.profile: %s" % ("", command["lineToAdd"])
