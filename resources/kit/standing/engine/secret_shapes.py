"""Secrets in a text, told by their shape: issuers' prefixes, key blocks, places where secrets stand.

    for secret in secret_shapes.find(text): ...
    secret_shapes.redacted(text, secrets)
    secret_shapes.key_files()           # the names of files that are a secret as a whole

The shapes stand in `secrets.json` beside this file. The local service's critics read the same file
and find the same spans; what the fields mean is said there. Without that file, or with one that is
damaged, every call raises: whoever cannot tell secrets must not send.

Linear in the length of the text, and lazy: a pattern is compiled when a text holds one of its
keywords, and the file is read with the first text.
"""

from __future__ import annotations

import json
import math
import os
import re
from collections import Counter, namedtuple

#: Characters [start, end) of the text are the secret itself; `kind` is for people: "a private key".
Secret = namedtuple("Secret", "start end kind")

#: `lead`: a match begins up to so many bytes before a keyword; None: anywhere.
_Shape = namedtuple("_Shape", "pattern kind check keywords lead")

SHAPES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "secrets.json")
#: What every call raises without its file, or with one that cannot be understood.
DAMAGED = (OSError, ValueError, KeyError, TypeError, AttributeError, re.error)
_FORMAT = 1
_NAME = 60      # bytes before a value in which its name stands
_SHORTEST = 6   # letters that say the same as the name; fewer may be a chance
_CONTINUES = 0b11000000, 0b10000000  # a byte within a character of UTF-8: mask, value
_loaded = None


class _Shapes:
    """The file, read; its patterns are compiled as they are needed."""

    def __init__(self, path):
        with open(path, "rb") as file:
            data = json.loads(file.read().decode("utf-8"))
        if data["format"] != _FORMAT:
            raise ValueError("secrets.json is of another format")
        self.checks = data["checks"]
        self.files = data["files"]
        self.examples = data["examples"].encode("ascii")
        self.harmless = data["harmless"].encode("ascii")
        self.ordinary = [word.encode("ascii") for word in data["ordinary"]]
        self.shapes = [_Shape(shape["pattern"].encode("ascii"), shape["label"],
                              self.checks[shape["check"]],
                              [word.encode("ascii") for word in shape["keywords"]],
                              None if shape.get("anywhere") else shape.get("lead", 0))
                       for shape in data["shapes"]]
        self._refusals = data["refusals"]

    def refuses(self, name, value):
        """Whether the named refusal speaks against this value."""
        return re.search(self._refusals[name].encode("ascii"), value) is not None

    def is_harmless(self, data, start, end, check):
        """Whether the name before this place says that a page or a lock is marked, or says the same
        as the value."""
        before = data[max(0, start - _NAME):start]
        return _repeats(before, data[start:end]) or check.get("named", False) and \
            re.search(self.harmless, before) is not None

    def accepts(self, value, check):
        """Whether these bytes are a secret rather than a look-up, a placeholder or a word."""
        if any(count(value) < check.get(name, 0) for name, count in _COUNTS):
            return False
        if _bits(value) < check.get("entropy", 0.0):
            return False
        if "left" in check and self._left(value) < check["left"]:
            return False
        if "run" in check and _comes_twice(value, check["run"]):
            return False
        return not any(self.refuses(name, value) for name in check.get("refuse", ()))

    def _left(self, value):
        value = re.sub(self.examples, b" ", value.lower())
        for word in self.ordinary:
            value = value.replace(word, b" ")
        return _letters(value) + _digits(value)


def find(text: str) -> list[Secret]:
    """Every secret in reading order, none overlapping another."""
    data = text.encode("utf-8", "surrogatepass")
    spans = _apart(_spans(data))
    return _in_characters(data, spans) if spans and not text.isascii() else \
        [Secret(*span) for span in spans]


def key_files() -> list[str]:
    """Files that hold nothing but keys, as patterns of their name or the end of their path."""
    return _shapes().files


def redacted(text: str, secrets: list[Secret]) -> str:
    """The text with each secret replaced; every line stays the line it was."""
    pieces, at = [], 0
    for secret in secrets:
        lost = text[secret.start:secret.end]
        pieces += [text[at:secret.start], "REDACTED", "\n" * lost.count("\n")]
        at = secret.end
    return "".join(pieces) + text[at:]


def places(text: str, secrets: list[Secret]):
    """(line, column) of each secret, both from 1, in one pass over the text."""
    line, at = 1, 0
    for secret in secrets:
        line += text.count("\n", at, secret.start)
        at = secret.start
        yield line, at - text.rfind("\n", 0, at)


def shortened(secret: str) -> str:
    """What may be shown of a secret: four characters, fewer of a short one, and an ellipsis."""
    return secret[:min(4, len(secret) // 3)] + "…"


def entropy(text: str) -> float:
    """Shannon entropy in bits per byte of UTF-8; 0 for the empty text."""
    return _bits(text.encode("utf-8", "surrogatepass"))


def _shapes():
    global _loaded
    if _loaded is None:
        _loaded = _Shapes(SHAPES)
    return _loaded


def _spans(data: bytes):
    """(start, end, kind) in bytes, shape by shape."""
    shapes, lower = _shapes(), data.lower()
    places = {}     # of each keyword, once for all shapes that wait for it
    for shape in shapes.shapes:
        for word in shape.keywords:
            if word not in places:
                places[word] = _places_of(word, lower)
        if not any(places[word] for word in shape.keywords):
            continue
        for match in _matches(shape, data, places):
            group = next((n for n in range(1, match.re.groups + 1) if match.start(n) >= 0), 0)
            if shapes.accepts(match.group(group), shape.check) and \
                    not shapes.is_harmless(data, match.start(group), match.end(group),
                                           shape.check):
                yield match.start(group), match.end(group), shape.kind


def _places_of(word: bytes, lower: bytes):
    places, at = [], lower.find(word)
    while at >= 0:
        places.append(at)
        at = lower.find(word, at + 1)
    return places


def _matches(shape, data: bytes, places):
    """The matches that lie apart, the first one first: what `finditer` finds, of which only the
    places are tried where a match can begin."""
    pattern = re.compile(shape.pattern)
    if shape.lead is None:
        yield from pattern.finditer(data)
        return
    starts = {at - lead for word in shape.keywords for at in places[word]
              for lead in range(min(shape.lead, at) + 1)}
    end = 0
    for start in sorted(starts):
        match = pattern.match(data, start) if start >= end else None
        if match:
            yield match
            end = match.end()


def _apart(spans):
    """In reading order; those that overlap are one, of the kind of the first and longest."""
    apart = []
    for start, end, kind in sorted(spans, key=lambda span: (span[0], -span[1])):
        if apart and start < apart[-1][1]:
            first, last, known = apart[-1]
            apart[-1] = (first, max(last, end), known)
        else:
            apart.append((start, end, kind))
    return apart


def _in_characters(data: bytes, spans):
    """The spans counted in characters, none of which is cut."""
    mask, value = _CONTINUES
    found, at, characters = [], 0, 0
    for start, end, kind in spans:
        while start > 0 and data[start] & mask == value:
            start -= 1
        while end < len(data) and data[end] & mask == value:
            end += 1
        first = characters + len(data[at:start].decode("utf-8", "surrogatepass"))
        characters = first + len(data[start:end].decode("utf-8", "surrogatepass"))
        at = end
        found.append(Secret(first, characters, kind))
    return found


def _comes_twice(value: bytes, run: int):
    """Whether so many bytes in a row come again, as in what a hand strikes on the keys."""
    runs = [value[at:at + run] for at in range(len(value) - run + 1)]
    return len(set(runs)) < len(runs)


def _repeats(before: bytes, value: bytes):
    """Whether a value of letters in quotes says what the name before it says: `challengePassword`. Of
    settings without quotes it is the password."""
    if len(value) > _NAME or not before.endswith((b'"', b"'")) or not re.fullmatch(rb"[A-Za-z_. -]+", value):
        return False
    said = _said(value)
    return len(said) >= _SHORTEST and _said(before).endswith(said)


def _said(value: bytes):
    return re.sub(rb"[^A-Za-z]", b"", value).lower()


def _bits(value: bytes) -> float:
    total = float(len(value))
    return -sum(count / total * math.log(count / total, 2) for count in Counter(value).values())


def _counted(pattern):
    letters = re.compile(pattern)
    return lambda value: len(letters.findall(value))


_letters, _digits = _counted(rb"[A-Za-z]"), _counted(rb"[0-9]")
_COUNTS = (("letters", _letters), ("digits", _digits), ("upper", _counted(rb"[A-Z]")),
           ("lower", _counted(rb"[a-z]")), ("others", _counted(rb"[^A-Za-z_.-]")),
           ("kinds", lambda value: sum(re.search(kind, value) is not None
                                       for kind in (rb"[a-z]", rb"[A-Z]", rb"[0-9]"))))
