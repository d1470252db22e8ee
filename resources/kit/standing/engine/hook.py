"""A coding tool's events: which files changed, and what is the verdict on them?

PostToolUse: the changed file is remembered, and looked through for secrets here and at once;
nothing is sent. Stop: everything that changed since it was last graded is sent in one submission
per kind of work, and a verdict that does not clear goes back to the agent with its flaws, as facts.

The same content is reported once. When the coding tool is already going on because of a Stop hook,
nothing blocks it again; the user reads the verdict. A service that is down, slow or does not know
the key is no reason to hold anybody up: the event ends in silence, at most with a line for the
user.

Imports are where they are needed: this runs on every edit.
"""

import json
import os

from . import LONGEST_ANSWER, reachability
from .state import State

TOOLS = ("Write", "Edit", "MultiEdit", "NotebookEdit")
LARGEST_LOOKED_THROUGH = 1024 * 1024
_SILENCE = b""


def answer(event, folder):
    """The bytes to write for one event: a JSON object, or nothing. May raise; the front door turns
    that into silence."""
    payload = _parse(event)
    if payload is None or "cursor_version" in payload:
        return _SILENCE
    name = payload.get("hook_event_name")
    state = State(folder, payload.get("session_id"))
    if name == "PostToolUse":
        said = after_tool(payload, state)
    elif name == "Stop":
        said = at_stop(payload, state)
    else:
        said = None
    return json.dumps(said).encode("ascii") if said else _SILENCE


def after_tool(payload, state):
    """Remembers the changed file. An answer only when it holds a secret not yet told."""
    path = changed_path(payload)
    if path is None or not _is_readable(path, payload):
        return None
    state.record(path)
    facts = _secret_facts(path, payload, state)
    if not facts:
        return None
    return {"hookSpecificOutput": {"hookEventName": "PostToolUse",
                                   "additionalContext": "\n".join(facts)[:LONGEST_ANSWER]}}


def changed_path(payload):
    """The absolute path of the file that the tool changed; None for any other tool."""
    if payload.get("tool_name") not in TOOLS:
        return None
    for place, key in (("tool_input", "file_path"), ("tool_input", "notebook_path"),
                       ("tool_response", "filePath")):
        holder = payload.get(place)
        path = holder.get(key) if isinstance(holder, dict) else None
        if isinstance(path, str) and path and "\0" not in path:
            return os.path.normpath(os.path.join(_project(payload), path))
    return None


def at_stop(payload, state):
    """Grades what changed. An answer when something is held, or when the user should know why
    nothing was graded."""
    if state.is_down():
        return None
    from . import settings as settings_module
    settings = settings_module.load()
    if not settings.hook or not settings.key:
        return None
    paths = state.changed()
    if not paths:
        return None
    if reachability.found_down(state.folder):
        return None
    from . import stop
    from . import places
    allowed = places.Allowed.around(_project(payload), settings.read, os.environ)
    paths = [path for path in paths if allowed.holds(path)]
    said = stop.grade_changes(paths, _project(payload), settings, state,
                              payload.get("stop_hook_active") is True)
    state.clean()
    return said


def _parse(event):
    """The event as an object; None for anything else."""
    try:
        payload = json.loads(event.decode("utf-8-sig"))
    except (ValueError, RecursionError):
        return None
    return payload if isinstance(payload, dict) else None


def _project(payload):
    """The folder that names are shown relative to."""
    cwd = payload.get("cwd")
    return cwd if isinstance(cwd, str) and os.path.isabs(cwd) else os.getcwd()


def _is_readable(path, payload):
    """Whether the file lies in the project, or where the user lets the validator read."""
    from . import places
    from . import settings as settings_module
    allowed = settings_module.load().read
    return places.Allowed.around(_project(payload), allowed, os.environ).holds(path)


def _secret_facts(path, payload, state):
    """Sentences about secrets in the file that have not been told before."""
    from . import file_types, parts, secret_shapes, standing
    kind = file_types.of_name(path, source=True)
    if standing.load().refusal(path, kind.modality if kind else "text"):
        return []  # such files are where secrets belong; they are never sent, nor even opened
    try:
        if os.path.getsize(path) > LARGEST_LOOKED_THROUGH or not os.path.isfile(path):
            return []
        with open(path, "rb") as file:
            text = file.read(LARGEST_LOOKED_THROUGH).decode("utf-8", "replace")
    except OSError:
        return []
    found = secret_shapes.find(text)
    if not found:
        return []
    from . import report
    memory = state.load()
    shown = report.clean(parts.shown_name(path, _project(payload)))
    facts = []
    for secret, (line, _) in zip(found, secret_shapes.places(text, found)):
        import hashlib
        mark = hashlib.sha256((path + "\0" + text[secret.start:secret.end])
                              .encode("utf-8", "replace")).hexdigest()[:32]
        if mark not in memory["told"]:
            memory["told"].append(mark)
            facts.append("{}, line {}: this looks like {} (“{}”). Kelvane replaces it before the "
                         "file is graded.".format(shown, line, secret.kind, report.clean(
                             secret_shapes.shortened(text[secret.start:secret.end]))))
    if facts:
        state.save(memory)
    return facts
