"""Does this text give away a key or a password?

Told by shape: the fixed prefixes and lengths that issuers use, private key blocks, signed tokens,
passwords inside addresses, and values assigned to a name that says password, secret, key or token
and that look drawn rather than written. Documented examples, placeholders and look-ups in the
environment are no secrets. The local service's critics judge by the same shapes; here they decide
what leaves the machine, so a shape that is certain is taken even where a critic would be silent.

Runs on every edit: a pattern is compiled only when the text holds the letters it begins with.
"""

from __future__ import annotations

import math
import re
from collections import namedtuple

#: Characters [start, end) of the text are the secret itself; `kind` is for people: "a private key".
Secret = namedtuple("Secret", "start end kind")

_ANY = 400
_DASHED = "[A-Za-z0-9_-]"
_PLAIN = "[A-Za-z0-9]"
#: prefix, letters, least, most, kind
_ISSUED = (
    ("AKIA", "[A-Z0-9]", 16, 16, "a cloud access key"),
    ("ASIA", "[A-Z0-9]", 16, 16, "a cloud access key"),
    ("ghp_", _PLAIN, 36, _ANY, "a repository access token"),
    ("gho_", _PLAIN, 36, _ANY, "a repository access token"),
    ("ghu_", _PLAIN, 36, _ANY, "a repository access token"),
    ("ghs_", _PLAIN, 36, _ANY, "a repository access token"),
    ("ghr_", _PLAIN, 36, _ANY, "a repository access token"),
    ("github_pat_", _DASHED, 40, _ANY, "a repository access token"),
    ("glpat-", _DASHED, 20, _ANY, "a repository access token"),
    ("npm_", _PLAIN, 36, 36, "a package registry token"),
    ("pypi-", _DASHED, 50, _ANY, "a package registry token"),
    ("xoxb-", _DASHED, 20, _ANY, "a chat service token"),
    ("xoxp-", _DASHED, 20, _ANY, "a chat service token"),
    ("xoxa-", _DASHED, 20, _ANY, "a chat service token"),
    ("xoxs-", _DASHED, 20, _ANY, "a chat service token"),
    ("xoxr-", _DASHED, 20, _ANY, "a chat service token"),
    ("sk_live_", _PLAIN, 16, _ANY, "a payment service key"),
    ("rk_live_", _PLAIN, 16, _ANY, "a payment service key"),
    ("sk-", _DASHED, 32, _ANY, "a service key"),
    ("AIza", _DASHED, 35, 35, "a cloud service key"),
)
_PLACEHOLDERS = ("your", "example", "changeme", "change-me", "change_me", "placeholder", "xxxx",
                 "****", "....", "dummy", "sample", "fake", "test", "todo", "insert", "redacted",
                 "notreal", "not-real", "not_real", "hidden", "secret-here", "key-here",
                 "token-here", "00000000")
_WORDS_FOR_ONE = ("password", "passwd", "passphrase", "apikey", "secretkey", "accesskey")
_SAYS_SECRET = re.compile(
    r"pass|pwd|secret|token|credential|key", re.I)
_ASSIGNED = (r"((?:password|passwd|passphrase|pwd|api[_.-]?key|api[_.-]?secret"
             r"|access[_.-]?key|secret[_.-]?key|secret|token|private[_.-]?key|credentials?))"
             r"(?:[\"']?[ \t]*(?::=|=>|[:=](?![=:~]))>?[ \t]*)"
             r"(?:\"([^\"\n]{8,256})\"|'([^'\n]{8,256})'|`([^`\n]{8,256})`)")
_SHELL = (r"(?:^|(?<=[ \t]))([A-Z0-9_]{0,60}(?:PASSWORD|PASSWD|PASSPHRASE|PWD|API_?KEY|API_?SECRET"
          r"|ACCESS_?KEY|SECRET_?KEY|SECRET|TOKEN|PRIVATE_?KEY|CREDENTIALS?))=([^\s\"'`]{8,256})")
_PRIVATE = (r"-----BEGIN [A-Z0-9 ]{0,60}PRIVATE KEY(?: BLOCK)?-----"
            r"((?:[A-Za-z0-9+/=\s\\\"',]){48,20000})")
_ADDRESS = r"(?<=[A-Za-z])://[^\s/?\"':@]{0,80}:([^\s/?\"']{1,120})@"
_SIGNED = r"\beyJ[A-Za-z0-9_-]{9,4000}\.[A-Za-z0-9_-]{8,8000}\.[A-Za-z0-9_-]{16,2000}"


def find(text: str) -> list[Secret]:
    """Every secret in reading order, none overlapping another."""
    found = sorted(_all(text), key=lambda secret: (secret.start, -secret.end))
    apart: list[Secret] = []
    for secret in found:
        if apart and secret.start < apart[-1].end:
            if secret.end > apart[-1].end:
                apart[-1] = apart[-1]._replace(end=secret.end)
            continue
        apart.append(secret)
    return apart


def redacted(text: str, secrets: list[Secret]) -> str:
    """The text with each secret replaced; every line stays the line it was."""
    pieces, at = [], 0
    for secret in secrets:
        lost = text[secret.start:secret.end]
        pieces += [text[at:secret.start], "REDACTED", "\n" * lost.count("\n")]
        at = secret.end
    return "".join(pieces) + text[at:]


def shortened(secret: str) -> str:
    """What may be shown of a secret: four characters and an ellipsis."""
    return secret[:4] + "…"


def entropy(text: str) -> float:
    """Shannon entropy in bits per character; 0 for the empty text."""
    total = float(len(text))
    counts = [text.count(char) / total for char in set(text)]
    return -sum(share * math.log(share, 2) for share in counts)


def _all(text: str):
    yield from _issued(text)
    if "PRIVATE KEY" in text:
        for match in re.finditer(_PRIVATE, text):
            if entropy(match.group(1)[:400]) >= 4.0:
                yield Secret(match.start(), match.end(), "a private key")
    if "eyJ" in text:
        for match in re.finditer(_SIGNED, text):
            yield Secret(match.start(), match.end(), "a signed access token")
    if "://" in text:
        for match in re.finditer(_ADDRESS, text):
            if _is_password(match.group(1)):
                yield Secret(match.start(1), match.end(1), "a password in an address")
    if _SAYS_SECRET.search(text):
        yield from _assigned(text)


def _issued(text: str):
    for prefix, letters, least, most, kind in _ISSUED:
        if prefix not in text:
            continue
        pattern = r"(?<![A-Za-z0-9_]){}({}{{{},{}}})(?![A-Za-z0-9_])".format(
            re.escape(prefix), letters, least, most)
        for match in re.finditer(pattern, text):
            drawn = match.group(1)
            if _has_digit_and_letter(drawn) and not _is_placeholder(drawn) and entropy(drawn) >= 3:
                yield Secret(match.start(), match.end(), kind)


def _assigned(text: str):
    for match in re.finditer(_ASSIGNED, text, re.I):
        group = next(number for number in (2, 3, 4) if match.group(number) is not None)
        yield from _judged(match, group)
    for match in re.finditer(_SHELL, text, re.M):
        yield from _judged(match, 2)


def _judged(match, group: int):
    name, value = match.group(1).lower(), match.group(group)
    if not _is_password(value):
        return
    password = "pass" in name or "pwd" in name
    if password or (len(value) >= 16 and entropy(value) >= 3 and _has_digit_and_letter(value)):
        kind = "a password" if password else "a key"
        yield Secret(match.start(group), match.end(group), kind)


def _is_password(value: str) -> bool:
    if not 8 <= len(value) <= 256 or value[0] in "/#.$%{<@:&":
        return False
    if any(char <= " " for char in value) or any(s in value for s in ("${", "{{", "://", "(")):
        return False
    letters = sum(char.isalpha() for char in value)
    others = sum(not char.isalpha() and char not in "-_." for char in value)
    return letters > 0 and others > 0 and entropy(value) >= 2.6 and not _is_placeholder(value)


def _is_placeholder(value: str) -> bool:
    lower = value.lower()
    letters = "".join(char for char in lower if char.isalnum())
    return letters in _WORDS_FOR_ONE or any(part in lower for part in _PLACEHOLDERS)


def _has_digit_and_letter(value: str) -> bool:
    return any(c.isdigit() for c in value) and any(c.isalpha() for c in value)
