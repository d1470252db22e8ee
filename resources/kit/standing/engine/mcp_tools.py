"""What can an agent ask for, and what does it get?

Four tools: `grade` and `iterate` talk to the evaluation service, `rules` and `status` only read
what is on this machine. A verdict is a result whatever it says. What a caller can do something
about (a wrong argument, a file that stays here, no key, no service, no time) is a result too, with
`isError` and a text that says what would help.

Texts are facts for the agent to weigh. They may quote the work, so they are made harmless first.
"""

import json
import os
import re
import threading

from . import LONGEST_ANSWER, client, feedback, file_types, grading, parts, places, report
from . import settings as settings_module
from . import standing
from .judged import Judged
from .version import VERSION

#: Seconds for one grade: inside the 300 that Codex waits for a tool, so that the answer tells why.
DEADLINE = 270.0
MOST_FLAWS = 100
MOST_RUNS = 50      # reports of one session that are listed
LONGEST_TEXT = 2000  # characters of one string that came from the service
SEVERITIES = ("CRITICAL", "HIGH", "MEDIUM", "LOW")
_RUN_ID = re.compile(r"[A-Za-z0-9_-][A-Za-z0-9._~-]{0,199}")

_WORK = {
    "path": {"type": "string", "minLength": 1,
             "description": "A file of the project, absolute or relative to the folder the server "
                            "runs in. Text, code, tables, documents, decks, pictures, recordings."},
    "text": {"type": "string", "description": "The work itself, in place of a file."},
    "name": {"type": "string", "minLength": 1,
             "description": "With text: what it is called. The ending tells the kind of work, "
                            "e.g. notes.md or app.py."},
    "modality": {"type": "string", "enum": list(file_types.MODALITIES),
                 "description": "The kind of work, where name and content do not tell it."},
    "intent": {"type": "string",
               "description": "What the work is for; it is judged against that."},
}
_FLAW = {
    "type": "object", "additionalProperties": False,
    "properties": {
        "severity": {"type": "string", "description": "CRITICAL, HIGH, MEDIUM or LOW"},
        "criterion": {"type": "string"},
        "detail": {"type": "string"},
        "rule": {"type": "string"},
        "place": {"type": "string", "description": "e.g. line 12, column 5"},
        "evidence": {"type": "string"},
    },
    "required": ["severity", "criterion", "detail"],
}
_DISMISSED = {
    "type": "object", "additionalProperties": False,
    "properties": {**_FLAW["properties"],
                   "reason": {"type": "string", "description": "the user's; may be empty"}},
    "required": ["severity", "criterion", "detail", "reason"],
}
_CHECKED_BY = {
    "type": "object", "additionalProperties": False,
    "properties": {
        "engine": {"type": "string"},
        "version": {"type": "string"},
        "knows": {"type": "string", "description": "what it judged"},
    },
    "required": ["engine", "version", "knows"],
}
_NOT_CHECKED = {
    "type": "object", "additionalProperties": False,
    "properties": {
        "what": {"type": "string"},
        "why": {"type": "string"},
        "remedy": {"type": "string", "description": "what would change that; may be empty"},
    },
    "required": ["what", "why", "remedy"],
}
_VERDICT = {
    "type": "object", "additionalProperties": False,
    "properties": {
        "name": {"type": "string"},
        "modality": {"type": "string"},
        "band": {"type": "string", "enum": ["ship", "route_to_fix", "quarantine", "block", "unknown"],
                 "description": "unknown: nobody at the service knows this kind of work"},
        "clears": {"type": "boolean",
                   "description": "true only for ship with nothing found on this machine"},
        "score": {"type": "number", "description": "0 to 1, where the service gave one"},
        "run_id": {"type": "string", "description": "names the run to the tool iterate"},
        "report": {"type": "string", "description": "address of the report, for people"},
        "flaws": {"type": "array", "items": _FLAW},
        "flaws_left_out": {"type": "integer", "minimum": 0},
        "checked_by": {"type": "array", "items": _CHECKED_BY,
                       "description": "who judged, where the service tells"},
        "not_checked": {"type": "array", "items": _NOT_CHECKED,
                        "description": "what nobody judged, where the service tells"},
        "dismissed": {"type": "array", "items": _DISMISSED,
                      "description": "what the user said is no flaw; it does not count"},
        "notes": {"type": "array", "items": {"type": "string"}},
    },
    "required": ["name", "modality", "band", "clears", "flaws", "flaws_left_out", "notes"],
}
_STATUS = {
    "type": "object", "additionalProperties": False,
    "properties": {
        "version": {"type": "string"},
        "service": {"type": "string", "description": "where work is sent"},
        "signed_in": {"type": "boolean", "description": "whether there is a key"},
        "folder": {"type": "string", "description": "where key and settings are"},
        "reads": {"type": "array", "items": {"type": "string"},
                  "description": "folders below which files may be graded by path"},
        "modalities": {"type": "array", "items": {"type": "string"},
                       "description": "those with standing rules of their own"},
        "problems": {"type": "array", "items": {"type": "string"},
                     "description": "lines of settings and rules that could not be used"},
    },
    "required": ["version", "service", "signed_in", "folder", "reads", "modalities", "problems"],
}


def _tool(name, title, description, properties, required=(), output=None, *, remote):
    """A definition. The order of its keys, and of all tools, never changes: clients cache it."""
    definition = {
        "name": name, "title": title, "description": description,
        "inputSchema": {"type": "object", "properties": properties, "required": list(required),
                        "additionalProperties": False}}
    if output is not None:
        definition["outputSchema"] = output
    # A tool that sends a file away has an effect, though it changes nothing here.
    definition["annotations"] = {"title": title, "readOnlyHint": not remote,
                                 "destructiveHint": False, "idempotentHint": not remote,
                                 "openWorldHint": remote}
    return definition


DEFINITIONS = [
    _tool("grade", "Grade work",
          "Grades a file or a text before it ships and returns a verdict: a band, a score and "
          "itemised flaws with their place and evidence. The band ship clears; route_to_fix, "
          "quarantine and block do not; unknown means that nobody there knows this kind of "
          "work, and is no clearance. The work is sent to the evaluation service that this "
          "machine's user has chosen (see status). Secrets are taken out first, and files that "
          "the standing rules hold back, or that lie outside the project, are refused and never "
          "sent. It takes seconds as a rule, "
          "and up to %d seconds while the grader warms up. No file of the project is changed. "
          "Exactly one of path and text is needed." % DEADLINE,
          dict(_WORK, vertical={"type": "string", "description": "The line of business, e.g. "
                                                                 "legal or finance."},
               policy={"type": "string", "minLength": 1,
                       "description": "The id of the policy to grade by, in place of the "
                                      "user's own."}),
          output=_VERDICT, remote=True),
    _tool("iterate", "Grade a revision",
          "Grades a revised version of work that grade has judged before, as the next iteration "
          "of the same run, and returns the new verdict. Exactly one of path and text is needed; "
          "it holds the whole revised work, not a difference.",
          dict({"run_id": {"type": "string", "minLength": 1,
                           "description": "The run_id of the earlier verdict."}}, **_WORK),
          required=["run_id"], output=_VERDICT, remote=True),
    _tool("rules", "Standing rules",
          "Shows the standing rules that work on this machine is held to: what is never sent "
          "anywhere, and what the work is judged by. Reads local files only.",
          {"modality": {"type": "string", "enum": list(file_types.MODALITIES),
                        "description": "Only the rules for this kind of work."}}, remote=False),
    _tool("status", "Validator status",
          "Tells which evaluation service work is sent to, whether there is a key for it (never "
          "the key itself), and which settings or rules could not be read. Asks nobody.",
          {}, output=_STATUS, remote=False),
]
_SCHEMAS = {tool["name"]: tool["inputSchema"] for tool in DEFINITIONS}
_TYPES = {"string": str}


class Unusable(Exception):
    """The call cannot be carried out as it stands; the text says what would help."""


def check(arguments, schema):
    """Raises Unusable unless the arguments are what the schema describes.

    Understands as much of JSON Schema as the definitions here use, so that what is announced and
    what is enforced cannot differ.
    """
    known = schema["properties"]
    for name, value in arguments.items():
        if name not in known:
            raise Unusable("There is no argument “%s”. There are: %s."
                           % (report.clean(name[:100]), ", ".join(known) or "none"))
        rule = known[name]
        if not isinstance(value, _TYPES[rule["type"]]):
            raise Unusable("%s must be a %s." % (name, rule["type"]))
        if "enum" in rule and value not in rule["enum"]:
            raise Unusable("%s must be one of: %s." % (name, ", ".join(rule["enum"])))
        if len(value) < rule.get("minLength", 0):
            raise Unusable("%s must not be empty." % name)
    for name in schema["required"]:
        if name not in arguments:
            raise Unusable("%s is needed." % name)


class Tools:
    """The tools, for `mcp_server`. Settings and rules are read again for every call."""

    identity = {"name": "trevix", "title": "Trevix validator", "version": VERSION}
    instructions = (
        "trevix grades work before it ships: grade takes a file or a text and returns a verdict "
        "with itemised flaws, iterate grades the revised work against the same run, rules shows "
        "what work here is held to. A verdict whose clears is true has met the user's bar.")
    definitions = DEFINITIONS

    templates = [
        {"uriTemplate": "trevix://rules/{modality}", "name": "rules", "title": "Standing rules",
         "description": "The standing rules that work of one kind is held to.",
         "mimeType": "text/markdown"},
        {"uriTemplate": "trevix://runs/{run_id}", "name": "report", "title": "Report of a run",
         "description": "The verdict of a run as it stands, by the run_id of grade.",
         "mimeType": "application/json"}]

    def __init__(self, load_settings=settings_module.load, load_rules=standing.load,
                 deadline=DEADLINE, environ=os.environ, **options):
        """`environ` tells what the project is; `options` go to the client with every call: `send`,
        `clock`."""
        self._environ = environ
        self._load_settings = load_settings
        self._load_rules = load_rules
        self._deadline = deadline
        self._options = options
        self._reading = {key: options[key] for key in ("send", "clock") if key in options}
        self._runs = {}     # told to this client: run id -> the verdict's facts, the newest last
        self._runs_lock = threading.Lock()
        self.resource_changes = 0   # grows whenever `resources` tells something else
        self._work = {"grade": self._grade, "iterate": self._iterate, "rules": self._rules,
                      "status": self._status}

    @staticmethod
    def is_local(name):
        """Whether the tool asks nobody and is done in an instant; so is most that can be read."""
        return name in ("rules", "status", "resources/read")

    @staticmethod
    def failure(text):
        """The result of a call that could not be carried out."""
        return {"content": [{"type": "text", "text": text}], "isError": True}

    def run(self, name, arguments, progress, cancelled):
        """The result of a tool that is there. `progress` takes a text; `cancelled` is an Event."""
        try:
            check(arguments, _SCHEMAS[name])
            sound = {key: value if key == "path" else _sound(value)
                     for key, value in arguments.items()}
            return self._work[name](sound, progress, cancelled)
        except Unusable as problem:
            return self.failure(str(problem))

    def _grade(self, arguments, progress, cancelled):
        options = {key: arguments.get(key) for key in ("vertical", "policy")}
        return self._judge(arguments, progress, cancelled, **options)

    def _iterate(self, arguments, progress, cancelled):
        run_id = arguments["run_id"]
        if not _RUN_ID.fullmatch(run_id):
            raise Unusable("run_id is not the id of a run; a verdict of grade holds one.")
        return self._judge(arguments, progress, cancelled, iterate=run_id)

    def _judge(self, arguments, progress, cancelled, **options):
        settings, rules = self._load_settings(), self._load_rules()

        def tell(step):
            progress("%s (%.0f s)" % (report.clean(step.message), step.elapsed))

        options.update(self._options, intent=arguments.get("intent"), deadline=self._deadline,
                       hard=True, cancel=cancelled, progress=tell, judged=Judged(settings))
        allowed = _allowed(settings, self._environ)
        outcome = _graded(arguments, settings, rules, allowed, options)
        problems = tuple(settings.problems) + tuple(rules.problems)
        if outcome.state == grading.NOT_GRADED:
            return self.failure(_why_not(outcome, settings, problems))
        result = _verdict(outcome, settings, problems)
        self._remember(result["structuredContent"])
        return result

    def _remember(self, facts):
        run = facts.get("run_id")
        if run is None or not _RUN_ID.fullmatch(run):
            return
        with self._runs_lock:
            self._runs.pop(run, None)
            self._runs[run] = facts
            while len(self._runs) > MOST_RUNS:
                del self._runs[next(iter(self._runs))]
            self.resource_changes += 1

    def resources(self):
        """What can be read: the standing rules, and the reports of what this client had graded."""
        found = [{"uri": "trevix://rules", "name": "rules", "title": "Standing rules",
                  "mimeType": "text/markdown"}]
        found += [{"uri": "trevix://rules/" + modality, "name": "rules-" + modality,
                   "title": "Standing rules for " + modality, "mimeType": "text/markdown"}
                  for modality in self._load_rules().modalities()]
        with self._runs_lock:
            runs = list(self._runs.items())
        return found + [{"uri": "trevix://runs/" + run, "name": "report-" + run,
                         "title": "Report on %s: %s" % (facts["name"], facts["band"]),
                         "mimeType": "application/json"} for run, facts in reversed(runs)]

    def read(self, uri, cancelled):
        """The contents of a resource; None when there is no such one."""
        if uri == "trevix://rules" or uri.startswith("trevix://rules/"):
            modality = uri[len("trevix://rules/"):] or None
            rules = self._load_rules()
            if modality is not None and modality not in file_types.MODALITIES:
                return None
            text = rules.text(modality)
            return [{"uri": uri, "mimeType": "text/markdown", "text": text}] if text else None
        run = uri[len("trevix://runs/"):] if uri.startswith("trevix://runs/") else ""
        if not _RUN_ID.fullmatch(run):
            return None
        with self._runs_lock:
            facts = self._runs.get(run)
        if facts is None:
            facts = self._asked_for(run)
        if facts is None:
            return None
        return [{"uri": uri, "mimeType": "application/json",
                 "text": json.dumps(facts, ensure_ascii=False, indent=2)}]

    def _asked_for(self, run):
        """The verdict on a run of another day, from the service; None when it does not tell."""
        settings = self._load_settings()
        if not settings.key:
            return None
        verdict = client.verdict_of(run, settings=settings, **self._reading)
        if verdict.error is not None:
            return None
        return {"run_id": run, "band": verdict.band,
                "flaws": [{key: _harmless(value) for key, value in flaw.to_json().items()}
                          for flaw in _most_severe(verdict.flaws)]}

    def _rules(self, arguments, _progress, _cancelled):
        rules = self._load_rules()
        text = rules.text(arguments.get("modality"))
        if not text:
            raise Unusable("There are no standing rules: " + " ".join(rules.problems))
        if rules.problems:
            text += "\nCould not be used:\n" + _listed(rules.problems)
        return {"content": [{"type": "text", "text": text}], "isError": False}

    def _status(self, _arguments, _progress, _cancelled):
        settings, rules = self._load_settings(), self._load_rules()
        facts = {"version": VERSION, "service": settings.base, "signed_in": bool(settings.key),
                 "folder": settings.folder,
                 "reads": list(_allowed(settings, self._environ).folders),
                 "modalities": rules.modalities(),
                 "problems": [report.clean(p) for p in settings.problems + rules.problems]}
        text = "\n".join([
            "trevix validator %s" % VERSION,
            "service: %s" % (settings.base or "none, its address is empty"),
            "key: %s" % ("present" if settings.key else "absent"),
            "folder of key and settings: %s" % settings.folder,
            "files are read below: %s" % (", ".join(map(report.clean, facts["reads"]))
                                          or "none, see the setting read"),
            "problems: %s" % (_listed(facts["problems"]) or "none")])
        return _result(text, facts)


def _allowed(settings, environ):
    """Where files may be read for this client."""
    try:
        here = os.getcwd()
    except OSError:
        here = None
    return places.Allowed.around(here, settings.read, environ)


def _graded(arguments, settings, rules, allowed, options):
    """The outcome for a file or a text."""
    if ("path" in arguments) == ("text" in arguments):
        raise Unusable("Exactly one of path and text is needed.")
    if "text" in arguments:
        artifact = parts.from_text(arguments["text"], arguments.get("modality"),
                                   arguments.get("name", "text.txt"))
        return grading.grade(artifact, settings, rules, **options)
    if "name" in arguments:
        raise Unusable("name goes with text; a file has its own.")
    path = os.path.expanduser(arguments["path"])
    try:
        usable = b"\0" not in os.fsencode(path)
        absolute = os.path.abspath(path)
    except UnicodeError:
        usable = False
    except OSError:
        raise Unusable("The folder that the server runs in is gone; an absolute path still "
                       "works.") from None
    if not usable:
        raise Unusable("path is not a name that a file can have.")
    if not allowed.holds(absolute):
        raise Unusable("%s lies outside the folders that files are read from (%s), so it was neither "
                       "read nor sent. The user can add a folder to `read` in %s; a text can be "
                       "given in place of a path."
                       % (report.clean(absolute[:1000]),
                          ", ".join(map(report.clean, allowed.folders)) or "there are none",
                          os.path.join(settings.folder, "settings")))
    if not os.path.lexists(absolute):
        raise Unusable("There is no file %s. A relative path starts at %s."
                       % (report.clean(absolute[:1000]), report.clean(os.getcwd())))
    return grading.grade_file(path, settings, rules, arguments.get("modality"), **options)


def _verdict(outcome, settings, problems):
    """The result for work that was judged."""
    verdict = outcome.verdict
    flaws = _most_severe(outcome.flaws)
    facts = {
        "name": report.clean(outcome.name), "modality": outcome.modality, "band": verdict.band,
        "clears": outcome.state == grading.CLEARS,
        "flaws": [{key: _harmless(value) for key, value in flaw.to_json().items()}
                  for flaw in flaws],
        "flaws_left_out": len(outcome.flaws) - len(flaws),
        "notes": [report.clean(note) for note in tuple(outcome.notes) + problems]}
    if verdict.score is not None and abs(verdict.score) < float("inf"):
        facts["score"] = verdict.score
    for key in ("checked_by", "not_checked"):
        entries = getattr(verdict, key)
        if entries:
            facts[key] = [{name: _harmless(text) for name, text in entry.to_json().items()}
                          for entry in entries]
    if verdict.dismissed:
        facts["dismissed"] = [
            {key: _harmless(value)
             for key, value in dict(gone.flaw.to_json(), reason=gone.reason).items()}
            for gone in verdict.dismissed[:MOST_FLAWS]]
    if verdict.run_id:
        facts["run_id"] = _harmless(verdict.run_id)
        page = settings_module.report_page(settings.base, facts["run_id"])
        if page:
            facts["report"] = page
    return _result(_told(outcome, facts), facts)


def _told(outcome, facts):
    """The same facts as lines to read, for clients that show no structured content."""
    lines = [report.facts(outcome, 0)[0]]
    if outcome.reason is not None:
        lines[0] += ": " + report.clean(outcome.reason)
    lines += feedback.lines(feedback.located(outcome), LONGEST_ANSWER - 2000)
    lines += report.dismissed(outcome) + report.coverage(outcome)
    lines += ["note: " + note for note in facts["notes"]]
    lines += ["%s: %s" % (key, facts[key]) for key in ("run_id", "report") if key in facts]
    return "\n".join(lines)


def _why_not(outcome, settings, problems):
    """Why there is no verdict, and what would help."""
    lines = ["Not graded. " + report.clean(outcome.reason or "")]
    lines += ["- %s %s: %s" % (flaw.severity, flaw.rule or flaw.criterion, _harmless(flaw.detail))
              for flaw in _most_severe(outcome.flaws)]
    error = outcome.verdict.error or ""
    if error == client.UNREACHABLE:
        lines.append("Nothing usable answers at %s. The address comes from BRASK_API_BASE or from "
                     "“base” in %s; the local service is started with `trevix-local`."
                     % (settings.base or "the empty address",
                        os.path.join(settings.folder, "settings")))
    elif error.startswith("not authorized"):
        lines.append("The key comes from BRASK_API_KEY or from %s."
                     % os.path.join(settings.folder, "key"))
    elif error.startswith("grade timed out"):
        lines.append("The same call may succeed later; the service goes on with the work it has.")
    lines += ["note: " + report.clean(note) for note in tuple(outcome.notes) + problems]
    return "\n".join(lines)


def _sound(text):
    """Without halves of surrogate pairs, which no request could carry."""
    return text.encode("utf-16", "surrogatepass").decode("utf-16", "replace")


def _most_severe(flaws):
    """At most MOST_FLAWS of them, in their order."""
    def severity(index):
        word = flaws[index].severity
        return SEVERITIES.index(word) if word in SEVERITIES else len(SEVERITIES)

    kept = sorted(range(len(flaws)), key=severity)[:MOST_FLAWS]
    return [flaws[index] for index in sorted(kept)]


def _harmless(text):
    """One line, not endless, without characters that could pass for something else."""
    text = report.clean(text)
    return text if len(text) <= LONGEST_TEXT else text[:LONGEST_TEXT] + "…"


def _listed(texts):
    return "".join("\n- " + report.clean(text) for text in texts)


def _result(text, facts):
    return {"content": [{"type": "text", "text": text}], "structuredContent": facts,
            "isError": False}
