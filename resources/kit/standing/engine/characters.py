"""Cutting text after so many characters, as people see them.

The standard library has no table of grapheme clusters. This follows the clusters that occur in
practice: marks, joiners, variation selectors, skin tones, flags, line ends. Where it errs it keeps
a cluster together, so a cut never halves a letter.
"""

import unicodedata

_JOINER = "\u200d"


def first_characters(text: str, limit: int) -> str:
    """The first `limit` user-perceived characters; the text itself when it has no more."""
    if len(text) <= limit:
        return text
    if text[:limit + 1].isascii() and "\r" not in text[:limit + 1]:
        return text[:limit]
    count, at = 0, 0
    while at < len(text) and count < limit:
        at = _end_of_cluster(text, at)
        count += 1
    return text[:at]


def _end_of_cluster(text: str, at: int) -> int:
    first = text[at]
    at += 1
    if first == "\r":
        return at + 1 if text[at:at + 1] == "\n" else at
    if unicodedata.category(first) == "Cc":
        return at
    if _is_flag_half(first) and at < len(text) and _is_flag_half(text[at]):
        at += 1
    while at < len(text):
        if text[at] == _JOINER and at + 1 < len(text) and _is_pictograph(text[at + 1]):
            at += 2
        elif _extends(text[at]):
            at += 1
        else:
            break
    return at


def _extends(char: str) -> bool:
    return (char == _JOINER or unicodedata.category(char) in ("Mn", "Me", "Mc")
            or 0x1F3FB <= ord(char) <= 0x1F3FF or 0xE0020 <= ord(char) <= 0xE007F)


def _is_flag_half(char: str) -> bool:
    return 0x1F1E6 <= ord(char) <= 0x1F1FF


def _is_pictograph(char: str) -> bool:
    return ord(char) >= 0x2190 and unicodedata.category(char) in ("So", "Sk", "Sm", "Cn")
