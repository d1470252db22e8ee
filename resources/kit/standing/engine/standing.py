"""The standing rules: what never leaves this machine, and what the work is held to.

Every Markdown file of the folder `standing` is a rule file. Its head says what is enforced here,
before anything is sent; its text says what the work is judged by, for people and agents to read.

    rules = standing.load()
    reason = rules.refusal(path, "code")      # a sentence when the file must not even be read
    screened = standing.screen(rules, artifact)
    if screened.refused: ...                  # nothing may be sent, and why
    screened.artifact                         # what may be sent
    screened.findings                         # flaws found here: secrets that were taken out

Rules only ever add up: of two files the stricter one holds, so a file of the user's can forbid more
and never allow more. A line that cannot be understood is in `problems` and the rest still holds.
Without the common rules (`every.md`) nothing is sent at all.
"""

import fnmatch
import os
from typing import Dict, List, NamedTuple, Optional, Tuple

from . import name_value_lines
from .file_types import MODALITIES
from .parts import Artifact, Part
from .verdict import Flaw

COMMON = "every.md"
LARGEST_SUBMISSION = 40 * 1024 * 1024   # what the service takes, before it is packed for the way
#: Characters looked at behind a text's cut, for the secret that stands across it. A private key of
#: 16,384 bits, the longest that common programs make, has 12,700 in PEM.
LONGEST_SECRET = 16 * 1024
LARGEST_RULE_FILE = 256 * 1024
MOST_RULE_FILES = 200
_NO_SHAPES = ("the shapes of secrets (standing/engine/secrets.json) are missing or damaged, so nothing "
              "is sent; wire the tools again to restore them")
_NUMBERS = ("max_characters", "max_bytes", "max_parts")
_NAMES = _NUMBERS + ("modality", "title", "secrets", "never_send", "never_send_text")


class Rules(NamedTuple):
    """What is enforced for one modality."""

    secrets: str = "redact"     # or "stop"
    max_characters: int = 180000    # of one text part; what is longer is cut
    max_bytes: int = 24 * 1024 * 1024   # of one part of another kind; what is larger is not sent
    max_parts: int = 100
    never_send: Tuple[str, ...] = ()        # patterns of names and paths
    never_send_text: Tuple[str, ...] = ()   # texts that keep the whole work here


class RuleFile(NamedTuple):
    """One file of the folder, read."""

    name: str
    modalities: Tuple[str, ...]  # ("*",) for all
    title: str
    rules: Dict[str, object]
    body: str


class Screened(NamedTuple):
    """The outcome of `screen`."""

    artifact: Optional[Artifact]    # None exactly when refused
    findings: Tuple[Flaw, ...] = ()
    refused: Optional[str] = None   # a sentence
    notes: Tuple[str, ...] = ()


class RuleSet(NamedTuple):
    """All rule files of a folder."""

    files: Tuple[RuleFile, ...]
    problems: Tuple[str, ...]   # sentences with file and line

    def rules(self, modality: str) -> Rules:
        """What is enforced for this modality: all files that speak of it, the strictest wins."""
        merged = Rules()
        for file in self._about(modality):
            merged = _stricter(merged, file.rules)
        return merged

    def text(self, modality: Optional[str] = None) -> str:
        """The rules as Markdown, all of them or those that apply to one modality."""
        files = self.files if modality is None else self._about(modality)
        return "\n".join("# {}\n\n{}\n".format(file.title, file.body.strip())
                         for file in files)

    def modalities(self) -> List[str]:
        """Those that have rules of their own, in the catalog's order."""
        named = {m for file in self.files for m in file.modalities}
        return [m for m in MODALITIES if m in named] + sorted(named - set(MODALITIES) - {"*"})

    def refusal(self, path: str, modality: str) -> Optional[str]:
        """Why the file at this path must never be sent; None when it may. Follows links: another
        name does not make a file another one."""
        if not any(file.name == COMMON for file in self.files):
            return ("the common rules (standing/{}) are missing, so nothing is sent; "
                    "wire the tools again to restore them".format(COMMON))
        try:
            names = (os.path.abspath(path), os.path.realpath(path))
        except OSError:
            return "the current folder is gone, so where this name leads cannot be told"
        from . import secret_shapes, settings
        own = os.path.realpath(settings.data_folder())
        if any(name == own or name.startswith(own + os.sep) for name in names):
            return "nothing in the validator's own folder is sent"
        try:
            key_files = secret_shapes.key_files()
        except secret_shapes.DAMAGED:
            return _NO_SHAPES
        for pattern in self.rules(modality).never_send + tuple(key_files):
            if any(_matches(pattern, name) for name in names):
                return "the standing rules never send “{}”".format(pattern)
        return None

    def _about(self, modality: str) -> List[RuleFile]:
        return [f for f in self.files if "*" in f.modalities or modality in f.modalities]


def default_folder() -> str:
    """The folder `standing` that this engine is part of."""
    return os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def load(folder: Optional[str] = None) -> RuleSet:
    """Reads every rule file, ours and the user's, the common one first. Never raises."""
    folder = folder or default_folder()
    problems: List[str] = []
    files: List[RuleFile] = []
    try:
        names = sorted(n for n in os.listdir(folder) if n.endswith(".md") and n[0] != ".")
    except OSError as error:
        return RuleSet((), ("{}: {}".format(folder, error.strerror),))
    if len(names) > MOST_RULE_FILES:
        problems.append("{}: only the first {} rule files are read".format(folder, MOST_RULE_FILES))
        names = names[:MOST_RULE_FILES]
    for name in sorted(names, key=lambda n: (n != COMMON, n)):
        file = _read(folder, name, problems)
        if file is not None:
            files.append(file)
    return RuleSet(tuple(files), tuple(problems))


def refusal(rules: RuleSet, artifact: Artifact) -> Optional[str]:
    """Why nothing of this artifact may be sent, whatever secrets it holds; None when it may. Much
    cheaper than `screen`."""
    reason = rules.refusal(artifact.path or artifact.name, artifact.modality)
    mine = rules.rules(artifact.modality)
    return reason or _too_much(mine, artifact) or _forbidden_text(mine, artifact)


def screen(rules: RuleSet, artifact: Artifact) -> Screened:
    """Applies the rules to an artifact that is about to be sent."""
    mine = rules.rules(artifact.modality)
    reason = refusal(rules, artifact)
    if reason:
        return Screened(None, (), "{}: {}".format(artifact.name, reason), artifact.notes)
    parts: List[Part] = []
    findings: List[Flaw] = []
    notes = list(artifact.notes)
    for part in artifact.parts:
        part, found = _without_secrets(part, mine.max_characters, notes)
        findings += found
        parts.append(part._replace(logical_name=screen_text(part.logical_name)))
    if findings and mine.secrets == "stop":
        return Screened(None, tuple(findings), "{}: it holds {} and the standing rules stop the "
                        "sending".format(artifact.name, _count(len(findings), "secret")),
                        tuple(notes))
    return Screened(artifact._replace(parts=tuple(parts)), tuple(findings), None, tuple(notes))


def screen_text(text: str) -> str:
    """A short text that goes along, such as the intent, without its secrets; empty when these cannot
    be told."""
    from . import secret_shapes
    try:
        return secret_shapes.redacted(text, secret_shapes.find(text))
    except secret_shapes.DAMAGED:
        return ""


def _without_secrets(part: Part, limit: int, notes: List[str]):
    """What may be sent of a part's text, and the flaws. What is cut off is not looked through, but
    for the secret that begins before the cut."""
    from . import secret_shapes
    from .characters import first_characters
    if not part.text:
        return part, []
    kept = _first(part, limit, notes)
    window = part.text[:len(kept) + LONGEST_SECRET]
    secrets = [s for s in secret_shapes.find(window) if s.start < len(kept)]
    if not secrets:
        return part._replace(text=kept), []
    where = part.logical_name if part.same_lines else part.logical_name + " (its extracted text)"
    flaws = [_secret_flaw(window[secret.start:secret.end], secret.kind, place, where)
             for secret, place in zip(secrets, secret_shapes.places(window, secrets))]
    sent = secret_shapes.redacted(window[:max(len(kept), secrets[-1].end)], secrets)
    return part._replace(text=first_characters(sent, limit)), flaws


def _secret_flaw(secret: str, kind: str, at: Tuple[int, int], where: str) -> Flaw:
    from .secret_shapes import shortened
    place = "line {}, column {}".format(*at)
    shown = shortened(secret)
    detail = ("{} in {} looks like {} (“{}”). It was taken out on this machine and not sent."
              .format(place[0].upper() + place[1:], where, kind, shown))
    return Flaw("CRITICAL", "secret", detail, "standing.secret", place, shown)


def _first(part: Part, limit: int, notes: List[str]) -> str:
    from .characters import first_characters
    if len(part.text) <= limit:
        return part.text
    cut = first_characters(part.text, limit)
    if len(cut) < len(part.text):
        notes.append("{}: only the first {} characters are graded".format(part.logical_name, limit))
    return cut


def _too_much(rules: Rules, artifact: Artifact) -> Optional[str]:
    if len(artifact.parts) > rules.max_parts:
        return "it has {} parts, and at most {} are sent".format(len(artifact.parts),
                                                                 rules.max_parts)
    for part in artifact.parts:
        if part.data is not None and len(part.data) > rules.max_bytes:
            return ("it has {:.1f} MiB, and at most {:.1f} MiB are sent".format(
                len(part.data) / 2.0 ** 20, rules.max_bytes / 2.0 ** 20))
    if sum(len(part.data or b"") for part in artifact.parts) > LARGEST_SUBMISSION:
        return "its parts have more than {} MiB together".format(LARGEST_SUBMISSION >> 20)
    return None


def _forbidden_text(rules: Rules, artifact: Artifact) -> Optional[str]:
    for phrase in rules.never_send_text:
        wanted = phrase.casefold()
        for part in artifact.parts:
            if wanted in part.logical_name.casefold() or wanted in (part.text or "").casefold():
                return "the standing rules never send work that names “{}”".format(phrase)
    return None


def _matches(pattern: str, path: str) -> bool:
    """`name*` is the file's own name, `folder/` any folder on the way, `a/b*` the path's end."""
    words = path.replace(os.sep, "/").lower().strip("/").split("/")
    wanted = pattern.lower()
    if wanted.endswith("/"):
        inner = wanted.strip("/").split("/")
        runs = range(len(words) - len(inner))
        return any(_all_match(inner, words[i:i + len(inner)]) for i in runs)
    tail = wanted.strip("/").split("/")
    return _all_match(tail, words[-len(tail):])


def _all_match(patterns: List[str], words: List[str]) -> bool:
    return len(patterns) == len(words) and all(
        fnmatch.fnmatchcase(word, pattern) for pattern, word in zip(patterns, words))


def _stricter(rules: Rules, more: Dict[str, object]) -> Rules:
    changes = {name: min(getattr(rules, name), more[name]) for name in _NUMBERS if name in more}
    for name in ("never_send", "never_send_text"):
        changes[name] = getattr(rules, name) + tuple(more.get(name, ()))
    if more.get("secrets") == "stop":
        changes["secrets"] = "stop"
    return rules._replace(**changes)


def _read(folder: str, name: str, problems: List[str]) -> Optional[RuleFile]:
    path = os.path.join(folder, name)
    try:
        if not os.path.isfile(path):
            raise OSError(None, "not a plain file")
        with open(path, "rb") as file:
            data = file.read(LARGEST_RULE_FILE + 1)
        text = data.decode("utf-8-sig")
    except OSError as error:
        problems.append("{}: {}".format(path, error.strerror))
        return None
    except UnicodeDecodeError:
        problems.append("{}: not UTF-8".format(path))
        return None
    if len(data) > LARGEST_RULE_FILE:
        problems.append("{}: larger than {} KiB".format(path, LARGEST_RULE_FILE >> 10))
        return None
    found, troubles = name_value_lines.split(text, path)
    problems.extend(troubles)
    return _interpret(name, path, found, problems)


def _interpret(name: str, path: str, found: name_value_lines.FrontMatter,
               problems: List[str]) -> RuleFile:
    implied = name.split(".")[0]
    modalities: List[str] = []
    title = implied
    rules: Dict[str, object] = {}
    for line in found.lines:
        where = "{}:{}: ".format(path, line.number)
        if line.name == "modality":
            modalities += [m.strip() for m in line.value.split(",") if m.strip()]
        elif line.name == "title":
            title = line.value or title
        elif line.name in ("never_send", "never_send_text"):
            if len(line.value) < 2:
                problems.append(where + "a pattern has at least two characters")
            else:
                rules[line.name] = tuple(rules.get(line.name, ())) + (line.value,)
        elif line.name in _NUMBERS:
            _take_number(line, where, rules, problems)
        elif line.name == "secrets":
            if line.value in ("redact", "stop"):
                rules["secrets"] = line.value
            else:
                problems.append(where + "secrets is “redact” or “stop”")
        else:
            problems.append(where + "there is no rule “{}”; there are {}".format(
                line.name, ", ".join(sorted(_NAMES))))
    unknown = [m for m in modalities if m != "*" and m not in MODALITIES]
    if unknown:
        problems.append("{}: there is no modality “{}”".format(path, "”, “".join(unknown)))
    modalities = [m for m in modalities if m not in unknown]
    if not modalities:
        # A restriction of unclear reach reaches everything; so does the user's plain note.
        modalities = [implied] if implied in MODALITIES and not unknown else ["*"]
    return RuleFile(name, tuple(modalities), title, rules, found.body)


def _take_number(line, where: str, rules: Dict[str, object], problems: List[str]) -> None:
    if line.value.isdigit() and len(line.value) < 12:
        value = int(line.value)
        rules[line.name] = min(value, rules.get(line.name, value))
    else:
        problems.append(where + "{} is a whole number".format(line.name))


def _count(number: int, noun: str) -> str:
    return "{} {}{}".format(number, noun, "" if number == 1 else "s")
