"""The files below a folder that a grader can judge.

    listing = folders.below("src")
    listing.files       # paths, in their order: "src/a.py"
    listing.left        # why some are missing, sentences for people; empty when none is

Left out without a word: what `.gitignore` files say, hidden folders, what installed packages and
caches put there, links, and files whose name tells no kind of work. Nothing is run to find out: git
itself would run what a folder's settings name.
"""

import os
import re
from typing import List, NamedTuple, Optional, Tuple, Union

from . import file_types

MOST_FILES = 1000       # graded at one time; a verdict takes a tenth of a second to some seconds
MOST_SEEN = 200_000     # names looked at, so that a whole disk ends
MOST_PATTERNS = 2000    # of one file of exclusions
LONGEST_PATTERN = 300   # characters
LARGEST_IGNORE = 1 << 20
MOST_ABOVE = 64         # folders between one that is named and its project's
_OTHERS_WORK = {"node_modules", "__pycache__", "bower_components", "site-packages"}


class Listing(NamedTuple):
    """What is to be graded, and what was left."""

    files: Tuple[str, ...]
    left: Tuple[str, ...] = ()


# A sign, a class of signs, or one of the three.
Token = Union[str, "re.Pattern"]
_STAR, _FOLDERS, _REST = "any number of signs", "any number of folders", "whatever follows"


class _Pattern(NamedTuple):
    tokens: Tuple[Token, ...]
    keeps: bool         # it begins with "!": what it names is graded after all
    folders_only: bool


class _Rules(NamedTuple):
    folder: str         # with "/" at its end, or empty: what its patterns are relative to
    patterns: Tuple[_Pattern, ...]


def below(folder: str) -> Listing:
    """Everything below `folder` that may be graded, sorted by folder and name. What cannot be read
    is named in `left`."""
    files: List[str] = []
    left: List[str] = []
    seen = 0
    waiting: List[Tuple[str, str, Tuple[_Rules, ...]]] = [(folder,) + _around(folder)]
    while waiting:
        path, inside, rules = waiting.pop()
        try:
            with os.scandir(path) as entries:
                found = sorted(entries, key=lambda entry: entry.name)
        except OSError as error:
            left.append("{}: {}".format(path, error.strerror or "it cannot be read"))
            continue
        rules = rules + _rules_of(path, inside)
        folders = []
        for entry in found:
            seen += 1
            if seen > MOST_SEEN:
                left.append("{}: more than {} names are below it; name smaller folders"
                            .format(folder, MOST_SEEN))
                return Listing(tuple(files), tuple(left))
            relative = inside + entry.name
            try:
                is_folder = entry.is_dir(follow_symlinks=False)
                is_file = entry.is_file(follow_symlinks=False)
            except OSError:
                continue
            if _excluded(relative, is_folder, rules):
                continue
            if is_folder:
                if not entry.name.startswith(".") and entry.name not in _OTHERS_WORK:
                    folders.append((os.path.join(path, entry.name), relative + "/", rules))
            elif is_file and file_types.of_name(entry.name) is not None:
                if len(files) == MOST_FILES:
                    left.append("{}: more than {} files below it can be graded; name smaller "
                                "folders".format(folder, MOST_FILES))
                    return Listing(tuple(files), tuple(left))
                files.append(os.path.join(path, entry.name))
        waiting.extend(reversed(folders))
    return Listing(tuple(files), tuple(left))


def _around(folder: str) -> Tuple[str, Tuple[_Rules, ...]]:
    """Where the folder stands in its project, as "src/", and what the folders above it exclude."""
    own = os.path.realpath(folder)
    above = []
    at = own
    while len(above) < MOST_ABOVE and not os.path.exists(os.path.join(at, ".git")):
        up = os.path.dirname(at)
        if up == at:
            return "", ()       # in no project
        above.append(at)
        at = up
    rules: Tuple[_Rules, ...] = ()
    inside = ""
    for below_it in reversed(above):
        rules += _rules_of(at, inside)
        inside += os.path.basename(below_it) + "/"
        at = below_it
    return inside, rules


def _rules_of(path: str, inside: str) -> Tuple[_Rules, ...]:
    name = os.path.join(path, ".gitignore")
    try:
        if os.path.islink(name) or not os.path.isfile(name):
            return ()
        with open(name, "r", encoding="utf-8", errors="replace") as file:
            lines = file.read(LARGEST_IGNORE).splitlines()
    except OSError:
        return ()
    patterns = [made for made in map(_pattern, lines[:MOST_PATTERNS]) if made is not None]
    return (_Rules(inside, tuple(patterns)),)


def _excluded(relative: str, is_folder: bool, rules: Tuple[_Rules, ...]) -> bool:
    """The last pattern that matches decides, and those of the nearest folder come last."""
    for one in reversed(rules):
        own = relative[len(one.folder):]
        for pattern in reversed(one.patterns):
            if (is_folder or not pattern.folders_only) and _matches(pattern.tokens, own):
                return not pattern.keeps
    return False


def _pattern(line: str) -> Optional[_Pattern]:
    """A line of a `.gitignore`; None for remarks, blanks and what is too hostile to be one."""
    text = line.rstrip("\r")
    while text.endswith(" ") and not text.endswith("\\ "):
        text = text[:-1]
    if not text or text.startswith("#") or len(text) > LONGEST_PATTERN:
        return None
    keeps = text.startswith("!")
    text = text[1:] if keeps else text
    folders_only = text.endswith("/")
    text = text.rstrip("/")
    if not text:
        return None
    anchored = "/" in text
    text = re.sub(r"\*{3,}", "**", text.lstrip("/"))
    try:
        tokens = _tokens(text)
    except re.error:
        return None
    return _Pattern(tuple(tokens if anchored else [_FOLDERS] + tokens), keeps, folders_only)


def _tokens(text: str) -> List[Token]:
    made: List[Token] = []
    at = 0
    while at < len(text):
        rest = text[at:]
        if rest.startswith("**/"):
            made.append(_FOLDERS)
            at += 3
        elif rest == "**":
            made.append(_REST)
            at += 2
        elif rest[0] == "*":
            made.append(_STAR)
            at += 2 if rest.startswith("**") else 1
        elif rest[0] == "?":
            made.append(re.compile("[^/]", re.DOTALL))
            at += 1
        elif rest[0] == "[" and "]" in rest[2:]:
            end = rest.index("]", 2)
            content = rest[1:end].replace("\\", "\\\\").replace("[", "\\[")
            negated = content[:1] in ("!", "^")
            made.append(re.compile("(?!/)[{}{}]".format(
                "^" if negated else "", content[1:] if negated else content), re.DOTALL))
            at += end + 1
        elif rest[0] == "\\" and len(rest) > 1:
            made.append(rest[1])
            at += 2
        else:
            made.append(rest[0])
            at += 1
    return made


def _matches(tokens: Tuple[Token, ...], name: str) -> bool:
    """Whether all of `name` fits. All readings at once, so that the time is that of one times the
    length of the other, whatever the pattern."""
    states = _closed(tokens, {0})
    for place, sign in enumerate(name):
        after = set()
        for state in states:
            token = tokens[state] if state < len(tokens) else None
            if token is None:
                continue
            if token is _REST or (token is _STAR and sign != "/"):
                after.add(state)
            elif token is _FOLDERS:
                # It goes on within names, and is left behind a slash alone.
                after.add(-1 - state)
                if sign == "/":
                    after.add(state)
            elif token is not _STAR and (token == sign if isinstance(token, str)
                                         else token.fullmatch(sign) is not None):
                after.add(state + 1)
        for state in [state for state in states if state < 0]:
            after.add(-1 - state if sign == "/" else state)
        states = _closed(tokens, after)
        if not states:
            return False
    return len(tokens) in states


def _closed(tokens: Tuple[Token, ...], states) -> set:
    """With those that are reached without a sign: each token for several may stand for none."""
    closed = set()
    for state in states:
        closed.add(state)
        while 0 <= state < len(tokens) and tokens[state] in (_STAR, _FOLDERS, _REST):
            state += 1
            closed.add(state)
    return closed
