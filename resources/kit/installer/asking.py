"""What a coding tool itself tells: its version, and whether it trusts our hooks.

A tool is asked by running its program, which may not be there, may hang or may print anything: each
is an answer of None, never an error.
"""

import json
import os
import re
import select
import shutil
import signal
import subprocess
import time
from typing import Any, Callable, Dict, List, Optional, Sequence

PATIENCE = 10.0  # seconds for one answer; Codex took seven in a home folder that was new to it
GRACE = 2.0      # seconds for it to end by itself
MOST_SAID = 4 << 20  # bytes of an answer that are looked at

#: Runs a program with a text on its standard input until `enough` of what it says is there; what it
#: said, or None.
Ask = Callable[[Sequence[str], str, Callable[[str], bool]], Optional[str]]


def asker(env: Dict[str, str], patience: float = PATIENCE) -> Ask:
    """Asks programs on the search path of `env`."""
    def ask(command: Sequence[str], said: str, enough: Callable[[str], bool]) -> Optional[str]:
        program = shutil.which(command[0], path=env.get("PATH", ""))
        if program is None:
            return None
        try:
            process = subprocess.Popen([program] + list(command[1:]), env=env, cwd=env.get("HOME"),
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                       stderr=subprocess.DEVNULL, start_new_session=True)
        except (OSError, ValueError):
            return None
        return until_enough(process, said.encode("utf-8"), enough, patience)
    return ask


def until_enough(process: Any, said: bytes, enough: Callable[[str], bool],
                 patience: float) -> Optional[str]:
    """Writes to the program and reads it until it said enough, ended, or took too long."""
    until, heard = time.monotonic() + patience, b""
    try:
        try:
            process.stdin.write(said)
            process.stdin.flush()
        except OSError:
            pass  # it did not listen; what it says may be enough all the same
        while len(heard) < MOST_SAID:
            left = until - time.monotonic()
            if left <= 0 or not select.select([process.stdout], [], [], left)[0]:
                return None
            piece = os.read(process.stdout.fileno(), 65536)
            heard += piece
            text = heard.decode("utf-8", "replace")
            if not piece or enough(text):
                return text
        return None
    except (OSError, ValueError):
        return None
    finally:
        ended(process)


def ended(process: Any) -> None:
    """Ends the program: by the end of its input, or else by force."""
    for stream in (process.stdin, process.stdout):
        try:
            stream.close()
        except OSError:
            pass
    try:
        process.wait(GRACE)
    except subprocess.TimeoutExpired:
        pass
    try:
        os.killpg(process.pid, signal.SIGKILL)  # and what it started
    except OSError:
        pass
    process.wait()


def version_of(agent: Dict[str, Any], ask: Ask) -> Optional[str]:
    """The version that the tool's program names; None when it is unknown."""
    if not agent.get("npm"):
        return None
    said = ask([agent["npm"]["program"], "--version"], "", lambda text: False) or ""
    found = re.search(r"(?<![\w.])v?(\d{1,5}(?:\.\d{1,9}){1,3}(?:[-+][\w.]+)?)", said)
    return found.group(1) if found else None


def major(version: Optional[str]) -> Optional[int]:
    return int(version.split(".")[0]) if version else None


def codex_trust(path: str, home: str, ask: Ask) -> Optional[str]:
    """"trusted" when Codex runs every hook of the file at `path` that names our validator,
    "untrusted" when it passes one over until its user has looked at it, "off" when it is switched
    off; None when it does not tell. Nobody but its user decides about trust: we never do."""
    question = "".join(json.dumps(message) + "\n" for message in (
        {"id": 1, "method": "initialize",
         "params": {"clientInfo": {"name": "kelvane", "version": "1"}, "capabilities": {}}},
        {"method": "initialized"},
        {"id": 2, "method": "hooks/list", "params": {"cwds": [home]}}))
    said = ask(["codex", "app-server"], question, lambda text: answer_to(2, text) is not None)
    answer = answer_to(2, said or "") or {}
    hooks = [hook for place in listed(answer.get("result"), "data")
             for hook in listed(place, "hooks")
             if isinstance(hook, dict) and "validate.py" in str(hook.get("command")) and
             "--harness codex" in str(hook.get("command")) and hook.get("sourcePath") == path]
    if not hooks:
        return None
    if any(hook.get("enabled") is False for hook in hooks):
        return "off"
    good = all(hook.get("isManaged") is True or hook.get("trustStatus") == "trusted"
               for hook in hooks)
    return "trusted" if good else "untrusted"


def listed(value: Any, key: str) -> List[Any]:
    found = value.get(key) if isinstance(value, dict) else None
    return found if isinstance(found, list) else []


def answer_to(number: int, text: str) -> Optional[Dict[str, Any]]:
    """The message with that id among whole lines of JSON."""
    for line in text.split("\n")[:-1]:
        try:
            message = json.loads(line)
        except (ValueError, RecursionError):
            continue
        if isinstance(message, dict) and message.get("id") == number and "method" not in message:
            return message
    return None
