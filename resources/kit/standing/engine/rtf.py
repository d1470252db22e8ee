"""The text of Rich Text files."""

import re

from .archive import limited
from .parts import NotGradable, Part

_TOKEN = re.compile(rb"\\([a-z]{1,32})(-?\d{1,10})?[ ]?|\\'([0-9a-fA-F]{2})|\\(.)|([{}])|[\r\n]+"
                    rb"|([^\\{}\r\n]+)", re.S)
_SKIPPED = {b"fonttbl", b"colortbl", b"stylesheet", b"info", b"pict", b"object", b"header",
            b"footer", b"headerl", b"headerr", b"footerl", b"footerr", b"themedata", b"generator",
            b"listtable", b"listoverridetable", b"rsidtbl", b"xmlnstbl", b"datastore", b"fldinst",
            b"annotation", b"atnid", b"atnauthor", b"bkmkstart", b"bkmkend", b"latentstyles"}
_SPECIAL = {b"par": "\n\n", b"line": "\n", b"tab": "\t", b"cell": " | ", b"row": "\n",
            b"emdash": "—", b"endash": "–", b"bullet": "•", b"lquote": "‘", b"rquote": "’",
            b"ldblquote": "“", b"rdblquote": "”", b"page": "\n\n", b"sect": "\n\n"}
_DEEPEST = 1000
MOST_BYTES = 16 * 1024 * 1024   # of a file, pictures included; some three seconds


def read_rtf(data: bytes, shown: str, kind):
    """What a reader sees, without fonts, pictures, comments and the like."""
    if not data.lstrip().startswith(b"{\\rtf"):
        raise NotGradable("{} is not Rich Text, whatever its name says".format(shown))
    page = re.search(rb"\\ansicpg(\d{3,5})", data[:400])
    encoding = "cp" + page.group(1).decode("ascii") if page else "cp1252"
    try:
        b"".decode(encoding)
    except LookupError:
        encoding = "cp1252"
    notes = ["{} is larger than what is read of a file".format(shown)] \
        if len(data) > MOST_BYTES else []
    words = limited(_words(data[:MOST_BYTES], encoding, shown))
    text = re.sub(r"\n{3,}", "\n\n", "".join(words)).strip() + "\n"
    return [Part(kind.mime_type, shown, text)], notes


def _words(data: bytes, encoding: str, shown: str):
    """The pieces of text in order. `skip` is whether the group is one that is not shown, `lost`
    how many characters stand in for a Unicode one and are to be passed over."""
    groups, skip, uc, lost, pending = [], False, 1, 0, bytearray()
    for match in _TOKEN.finditer(data):
        word, number, byte, sign, brace, plain = match.groups()
        if pending and byte is None:
            yield pending.decode(encoding, "replace")
            pending = bytearray()
        if brace == b"{":
            groups.append((skip, uc))
            if len(groups) > _DEEPEST:
                raise NotGradable("{} is nested too deep".format(shown))
        elif brace == b"}":
            skip, uc = groups.pop() if groups else (False, 1)
            lost = 0
        elif word in _SKIPPED or sign == b"*":
            skip = True
        elif word == b"uc":
            uc = min(int(number or 1), 8)
        elif skip:
            continue
        elif word == b"u" and number:
            code = int(number) % 65536
            yield chr(code) if not 0xD800 <= code < 0xE000 else "\ufffd"
            lost = max(0, uc)
        elif word in _SPECIAL:
            yield _SPECIAL[word]
        elif byte is not None:
            if lost:
                lost -= 1
            else:
                pending.append(int(byte, 16))
        elif sign is not None:
            yield {b"~": "\u00a0", b"_": "-"}.get(sign, sign.decode("latin-1")
                                                  if sign in b"\\{}" else "")
        elif plain is not None:
            yield plain[lost:].decode(encoding, "replace")
            lost = max(0, lost - len(plain))
    if pending:
        yield pending.decode(encoding, "replace")
