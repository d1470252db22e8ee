"""Each coding tool's events, as one kind of event; and our answers, as each tool wants them.

Values in, values out. A payload that is not what the tool is known to send is no event: the hook
stays silent then. What the tools send was recorded from their own programs where there are such
(Claude Code, Codex, Copilot CLI, Gemini CLI), and is as documented of the others; what OpenCode
tells is put into our own words by `opencode.mjs`, which it loads.
"""

import json
import os

_EDITS = {"claude": ("Write", "Edit", "MultiEdit", "NotebookEdit"), "codex": ("apply_patch",),
          "gemini": ("write_file", "replace"),
          "opencode": ("write", "edit", "multiedit", "patch", "apply_patch"),
          "copilot": ("create", "edit", "str_replace_editor", "apply_patch")}
_NAMES = {"claude": ("PostToolUse", "Stop"), "codex": ("PostToolUse", "Stop"),
          "gemini": ("AfterTool", "AfterAgent"), "cursor": ("afterFileEdit", "stop"),
          "windsurf": ("post_write_code", "post_cascade_response")}
_PATCHED = ("*** Add File: ", "*** Update File: ", "*** Move to: ")
#: Tools whose agent hears nothing of what is said after an edit.
_DEAF_AFTER_EDITS = ("cursor", "windsurf")
#: Tools whose user is shown nothing of what is said at the end of a turn.
_SHOW_NOTHING = ("copilot", "cursor")


class Event:
    """Something that a coding tool tells of: the turn ends, or files were changed.

    `session` names what is remembered together, `folder` is the project, `paths` the changed files.
    `going_on`: the turn goes on because of what we said at its end. `is_heard`: an answer reaches
    the agent. `is_shown`: what is for the user reaches the user.
    """

    def __init__(self, ends_turn, session, folder, paths=(), going_on=False, is_heard=True,
                 is_shown=True):
        self.ends_turn, self.session, self.folder = ends_turn, session, folder
        self.paths, self.going_on, self.is_heard = list(paths), going_on, is_heard
        self.is_shown = is_shown


def event_of(harness, payload):
    """The event in a payload; None when it is none of ours."""
    if harness == "claude" and "cursor_version" in payload:
        return None  # Cursor, which runs the hooks of another tool too: it has hooks of its own
    if harness == "copilot":
        return _of_copilot(payload)
    if harness == "opencode":
        return _of_opencode(payload)
    edits, ends = _NAMES[harness]
    name = payload.get("agent_action_name" if harness == "windsurf" else "hook_event_name")
    folder = _folder(harness, payload)
    session = payload.get({"cursor": "conversation_id", "windsurf": "trajectory_id"}.get(
        harness, "session_id"))
    if name == ends:
        if payload.get("status", "completed") != "completed":
            return None  # the user stopped it, or it failed
        loops = payload.get("loop_count")
        going_on = payload.get("stop_hook_active") is True or \
            isinstance(loops, int) and not isinstance(loops, bool) and loops > 0
        return Event(True, session, folder, going_on=going_on,
                     is_shown=harness not in _SHOW_NOTHING)
    if name != edits:
        return None
    if harness in _EDITS and payload.get("tool_name") not in _EDITS[harness]:
        return None
    paths = _whole(_paths(harness, payload), folder)
    return Event(False, session, folder, paths, is_heard=harness not in _DEAF_AFTER_EDITS)


def _of_copilot(payload):
    """Its payloads do not name the event."""
    folder, session = _folder("copilot", payload), payload.get("sessionId")
    if isinstance(payload.get("stopReason"), str):
        if payload["stopReason"] != "end_turn":
            return None
        return Event(True, session, folder, going_on=payload.get("stop_hook_active") is True,
                     is_shown="copilot" not in _SHOW_NOTHING)
    arguments = payload.get("toolArgs")
    if isinstance(arguments, str):
        try:
            arguments = json.loads(arguments)
        except (ValueError, RecursionError):
            return None
    if payload.get("toolName") not in _EDITS["copilot"] or not isinstance(arguments, dict):
        return None
    paths = [arguments.get("path")] + _patched(arguments)
    return Event(False, session, folder, _whole(paths, folder))


def _of_opencode(payload):
    """What `opencode.mjs` says, which listens in OpenCode for us."""
    folder = payload.get("directory")
    folder = folder if isinstance(folder, str) and os.path.isabs(folder) else os.getcwd()
    session, arguments = payload.get("sessionID"), payload.get("args")
    if payload.get("event") == "session.idle":
        return Event(True, session, folder, going_on=payload.get("going_on") is True)
    if payload.get("event") != "tool.execute.after" or not isinstance(arguments, dict) or \
            payload.get("tool") not in _EDITS["opencode"]:
        return None
    paths = [arguments.get("filePath"), arguments.get("path")] + _patched(arguments)
    return Event(False, session, folder, _whole(paths, folder))


def _folder(harness, payload):
    """The folder that names are relative to, and that files are read in."""
    roots = payload.get("workspace_roots")
    cwd = payload.get("cwd")
    if harness == "cursor" and isinstance(roots, list):
        found = [root for root in roots if isinstance(root, str) and os.path.isabs(root)]
        path = payload.get("file_path")
        around = [root for root in found
                  if isinstance(path, str) and path.startswith(root.rstrip(os.sep) + os.sep)]
        cwd = (around or found or [cwd])[0]
    return cwd if isinstance(cwd, str) and os.path.isabs(cwd) else os.getcwd()


def _paths(harness, payload):
    if harness == "cursor":
        return [payload.get("file_path")]
    if harness == "windsurf":
        info = payload.get("tool_info")
        return [info.get("file_path")] if isinstance(info, dict) else []
    given, got = payload.get("tool_input"), payload.get("tool_response")
    given = given if isinstance(given, dict) else {}
    if harness == "codex":
        return _patched(given)
    got = got if isinstance(got, dict) else {}
    return [path for path in (given.get("file_path"), given.get("notebook_path"),
                              got.get("filePath")) if isinstance(path, str) and path][:1]


def _patched(arguments):
    """The files that the patch among the arguments adds or changes."""
    return [line[len(mark):].strip() for value in arguments.values() if isinstance(value, str)
            for line in value.splitlines() for mark in _PATCHED if line.startswith(mark)]


def _whole(paths, folder):
    """Absolute paths, each once."""
    found = [os.path.normpath(os.path.join(folder, path)) for path in paths
             if isinstance(path, str) and path and "\0" not in path]
    return list(dict.fromkeys(found))


def told_after_edit(harness, facts):
    """The answer that hands facts to the agent after an edit."""
    if harness in ("copilot", "opencode"):
        return {"additionalContext": facts}
    name = "AfterTool" if harness == "gemini" else "PostToolUse"
    return {"hookSpecificOutput": {"hookEventName": name, "additionalContext": facts}}


def told_at_end(harness, said):
    """The answer to the end of a turn: `said` may have "reason", for the agent, and
    "systemMessage", for the user. Nothing where the tool has no place for it."""
    reason, message = said.get("reason"), said.get("systemMessage")
    if harness == "windsurf":  # it shows the user what is written, and tells the agent nothing
        return "\n".join(text for text in (reason, message) if text).encode("utf-8", "replace")
    if harness == "cursor":
        said = {"followup_message": reason} if reason else {}
    elif harness == "copilot":
        said = {"decision": "block", "reason": reason} if reason else {}
    elif harness == "gemini" and reason:
        said = dict(said, decision="deny")
    return json.dumps(said).encode("ascii") if said else b""
