#!/usr/bin/env python3
"""The validator's front door.

    validate.py --harness claude     a coding tool's hook: an event in, JSON or nothing out; also
                                     codex, copilot, cursor, gemini, opencode and windsurf
    validate.py mcp                  the validator as an MCP server on standard input and output
    validate.py grade FILE...        grade files; also: rules, --help, --version

What it does stands in `standing/engine`; this file only decides whether there is anything to do.
It runs on every edit of a coding tool and is compiled anew each time, so it is short, and most runs
end here: without a key, with nothing to grade, or while the service is known to be down.

As a hook it always exits with 0 and writes JSON or nothing. Exit code 2 would tell the coding tool
to block, and it is what Python itself exits with when something is wrong.
"""

import os
import sys
import time

MOST_EVENT = 8 * 1024 * 1024    # an event that is larger is read to its end and passed over
MOST_READ = 64 * 1024 * 1024
LONGEST_DOWN = 3600     # seconds; as in `standing/engine/state.py`
OLDEST = (3, 8)

# What stands in the two events of each tool that matter: of an edit, of the end of a turn, and the
# name of the session's id.
EVENTS = {
    "claude": (b'"PostToolUse"', b'"Stop"', b'"session_id":'),
    "codex": (b'"PostToolUse"', b'"Stop"', b'"session_id":'),
    "copilot": (b'"toolName"', b'"stopReason"', b'"sessionId":'),
    "cursor": (b'"afterFileEdit"', b'"stop"', b'"conversation_id":'),
    "gemini": (b'"AfterTool"', b'"AfterAgent"', b'"session_id":'),
    "opencode": (b'"tool.execute.after"', b'"session.idle"', b'"sessionID":'),
    "windsurf": (b'"post_write_code"', b'"post_cascade_response"', b'"trajectory_id":'),
}


def folder():
    """The folder `standing` beside this file, with all links followed."""
    return os.path.join(os.path.dirname(os.path.realpath(__file__)), "standing")


def data_folder():
    """$BRASK_HOME, else ~/.brask."""
    named = os.environ.get("BRASK_HOME")
    return named or os.path.join(os.environ.get("HOME") or os.path.expanduser("~"), ".brask")


def has_key(data):
    """Whether there may be a key; whether it is one is for the engine to find out."""
    if os.environ.get("BRASK_API_KEY"):
        return True
    for name in ("key", "service"):  # a key, or where this person said to grade
        try:
            if os.stat(os.path.join(data, name)).st_size > 0:
                return True
        except OSError:
            pass
    return False


def read_event():
    """Standard input to its end, which spares the tool a broken pipe; None when it is too much."""
    pieces, size = [], 0
    while size < MOST_READ:
        piece = os.read(0, 65536)
        if not piece:
            return b"".join(pieces) if size <= MOST_EVENT else None
        size += len(piece)
        if size <= MOST_EVENT:
            pieces.append(piece)
    return None


def is_ours(event, tool):
    """Whether these bytes can be one of the two events that matter, without parsing them."""
    return event is not None and any(mark in event for mark in EVENTS[tool][:2])


def nothing_to_grade(event, data, tool):
    """Whether this is the end of a turn that changed nothing, or while the service is down."""
    if EVENTS[tool][0] in event:
        return False
    state = os.path.join(data, "state")
    try:
        if 0 < os.stat(os.path.join(state, "down")).st_mtime - time.time() <= LONGEST_DOWN:
            return True
    except OSError:
        pass
    session = session_of(event, tool)
    name = os.path.join(state, "changed", session) if session else os.path.join(state, "changed")
    return not os.path.exists(name)


def session_of(event, tool):
    """The session's id, when it is plain enough to be a file name; else None."""
    _, found, rest = event.partition(EVENTS[tool][2])
    name = rest.lstrip().partition(b'",')[0][1:81] if found else b""
    plain = name.replace(b"-", b"").replace(b"_", b"")
    return name.decode("ascii") if plain.isalnum() and len(name) < 80 else None


def hook(arguments):
    """Answers one event. Returns the bytes to write, usually none."""
    data = data_folder()
    tool = arguments[1] if len(arguments) == 2 and arguments[0] == "--harness" else ""
    if tool not in EVENTS or sys.version_info < OLDEST or os.isatty(0):
        return b""
    keyed = has_key(data)
    event = read_event()
    if not keyed or not is_ours(event, tool) or nothing_to_grade(event, data, tool):
        return b""
    sys.path.insert(0, folder())
    if EVENTS[tool][0] not in event:
        from engine import reachability
        if reachability.found_down(data):
            return b""
    from engine import hook as engine_hook
    return engine_hook.answer(event, data, tool)


def run_hook(arguments):
    """Never raises, never exits with anything but 0, whatever is wrong with the surroundings."""
    try:
        answer = hook(arguments)
        while answer:
            answer = answer[os.write(1, answer):]
    except BaseException:  # SystemExit and KeyboardInterrupt too: see above
        pass
    os._exit(0)  # not by way of Python's own end, which would report a broken standard output


def complain(text):
    """Says it on standard error, if there is one, and ends with "could not grade"."""
    try:
        sys.stderr.write("validate.py: " + text + "\n")
        sys.stderr.flush()
    except (AttributeError, OSError, ValueError):
        pass
    return 3


def main(arguments):
    """For people and for MCP clients: the exit code is the engine's."""
    if sys.version_info < OLDEST:
        return complain("Python 3.8 or newer is needed, this is %d.%d" % sys.version_info[:2])
    sys.path.insert(0, folder())
    try:
        if arguments == ["mcp"]:
            from engine import mcp_server as engine
        else:
            from engine import cli as engine
    except ImportError as error:
        return complain("the folder 'standing' beside it is missing or damaged (%s); wire the "
                        "tools again to restore it" % error)
    if arguments == ["mcp"]:
        # A stream that was closed from the start is None.
        return engine.serve(getattr(sys.stdin, "buffer", None), getattr(sys.stdout, "buffer", None))
    return engine.main(arguments)


if __name__ == "__main__":
    if "--harness" in sys.argv[1:]:
        run_hook(sys.argv[1:])
    sys.exit(main(sys.argv[1:]))
