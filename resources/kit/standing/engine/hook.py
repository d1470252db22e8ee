"""A coding tool's events: which files changed, and what is the verdict on them?

After an edit the changed file is remembered, and looked through for secrets here and at once;
nothing is sent. At the end of a turn everything that changed since it was last graded is sent in
one submission per kind of work, and a verdict that does not clear goes back to the agent with its
flaws, as facts. What the tools send and want to hear is for `harness` to know.

The same content is reported once. When the coding tool is already going on because of a Stop hook,
nothing blocks it again; the user reads the verdict. A service that is down, slow or does not know
the key is no reason to hold anybody up: the event ends in silence, at most with a line for the
user.

Imports are where they are needed: this runs on every edit.
"""

import json
import os

from . import LONGEST_ANSWER, harness, reachability
from .state import State

LARGEST_LOOKED_THROUGH = 1024 * 1024
_SILENCE = b""


def answer(event, folder, tool="claude"):
    """The bytes to write for one event of a coding tool, usually none. May raise; the front door
    turns that into silence."""
    payload = _parse(event)
    happened = harness.event_of(tool, payload) if payload is not None else None
    if happened is None:
        return _SILENCE
    state = State(folder, happened.session)
    if not happened.ends_turn:
        facts = after_edit(happened, state)
        return json.dumps(harness.told_after_edit(tool, facts)).encode("ascii") if facts \
            else _SILENCE
    said = at_stop(happened, state)
    return harness.told_at_end(tool, said) if said else _SILENCE


def after_edit(event, state):
    """Remembers the changed files. Facts for the agent only when one holds a secret not yet told."""
    facts = []
    for path in event.paths:
        if not _is_readable(path, event.folder):
            continue
        state.record(path)
        if event.is_heard:
            facts += _secret_facts(path, event.folder, state)
    return "\n".join(facts)[:LONGEST_ANSWER]


def at_stop(event, state):
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
    allowed = places.Allowed.around(event.folder, settings.read, os.environ)
    paths = [path for path in paths if allowed.holds(path)]
    said = stop.grade_changes(paths, event.folder, settings, state, event.going_on, event.is_shown)
    state.clean()
    return said


def _parse(event):
    """The event as an object; None for anything else."""
    try:
        payload = json.loads(event.decode("utf-8-sig"))
    except (ValueError, RecursionError):
        return None
    return payload if isinstance(payload, dict) else None


def _is_readable(path, project):
    """Whether the file lies in the project, or where the user lets the validator read."""
    from . import places
    from . import settings as settings_module
    allowed = settings_module.load().read
    return places.Allowed.around(project, allowed, os.environ).holds(path)


def _secret_facts(path, project, state):
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
    shown = report.clean(parts.shown_name(path, project))
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
