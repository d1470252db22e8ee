"""A file or a text becomes an artifact: the parts to submit, and the modality to declare.

    artifact = parts.from_file("report.docx")            # raises NotGradable with a sentence
    artifact = parts.from_text("Dear all, …", "text")

Nothing is sent here and nothing is held back either: the standing rules see the artifact next.
"""

import base64
import os
import stat
from typing import Any, Dict, List, NamedTuple, Optional

from . import file_types

#: More than this is not read at all; the standing rules set what may be sent.
LARGEST_FILE = 64 * 1024 * 1024


class NotGradable(Exception):
    """The file cannot become an artifact. The text is a sentence for people."""


class Part(NamedTuple):
    """One part of a submission: `text`, or the bytes in `data`."""

    mime_type: str
    logical_name: str
    text: Optional[str] = None
    data: Optional[bytes] = None
    same_lines: bool = False  # line N of `text` is line N of the file

    def json(self) -> Dict[str, Any]:
        """As the service reads it. An absent content has no key at all."""
        found: Dict[str, Any] = {"mime_type": self.mime_type, "logical_name": self.logical_name}
        if self.text is not None:
            found["text"] = self.text
        if self.data is not None:
            found["data_b64"] = base64.b64encode(self.data).decode("ascii")
        return found


class Artifact(NamedTuple):
    """One submission in the making."""

    parts: tuple            # of Part
    modality: str
    name: str               # for people: the file as it was named, or "text"
    path: Optional[str] = None  # where it came from; None for a text
    notes: tuple = ()       # sentences about what was left out on the way


def from_text(text: str, modality: Optional[str] = None, name: str = "text.txt") -> Artifact:
    """A text as one part. Its modality is the given one, else what the name's ending says."""
    kind = file_types.of_name(name)
    modality = modality or (kind.modality if kind else "text")
    mime_type = file_types.text_type(modality)
    if kind and kind.modality == modality and kind.mime_type.startswith("text/"):
        mime_type = kind.mime_type
    name = _sound(name)
    return Artifact((Part(mime_type, os.path.basename(name), _sound(text), same_lines=True),),
                    modality, name)


def from_bytes(data: bytes, modality: Optional[str] = None, name: str = "text.txt") -> Artifact:
    """Content without a file, such as standard input: read by the ending of the given name."""
    return _artifact(data, name, os.path.basename(name), None, modality, False)


def from_file(path: str, modality: Optional[str] = None, *, name: Optional[str] = None,
              source: bool = False) -> Artifact:
    """Reads one file. `name` is what the grader is shown in place of the path below the current
    folder (a path elsewhere is shown as its last name only: where somebody's home is, is nobody's
    business). With `source` HTML counts as code. Raises NotGradable."""
    data = read_file(path)
    return _artifact(data, path, name or shown_name(path), path, modality, source)


def together(artifacts: List[Artifact], modality: Optional[str] = None) -> Artifact:
    """Several artifacts as one submission, such as the pages of a deck."""
    first = artifacts[0]
    return Artifact(tuple(part for a in artifacts for part in a.parts),
                    modality or first.modality, ", ".join(a.name for a in artifacts), None,
                    tuple(note for a in artifacts for note in a.notes))


def shown_name(path: str, folder: Optional[str] = None) -> str:
    """The path below `folder` (the current one), with slashes; else its last name."""
    try:
        relative = os.path.relpath(path, folder or os.getcwd())
    except (ValueError, OSError):
        return os.path.basename(path)
    if relative.split(os.sep)[0] == os.pardir:
        return os.path.basename(path)
    return relative.replace(os.sep, "/")


def read_file(path: str, largest: int = LARGEST_FILE) -> bytes:
    """The bytes of a plain file. Raises NotGradable: a pipe or a device could hang."""
    try:
        status = os.stat(path)
        if stat.S_ISDIR(status.st_mode):
            raise NotGradable("{} is a folder; name the files to grade".format(path))
        if not stat.S_ISREG(status.st_mode):
            raise NotGradable("{} is not a plain file".format(path))
        if status.st_size > largest:
            raise NotGradable("{} is larger than {} MiB".format(path, largest >> 20))
        with open(path, "rb") as file:
            data = file.read(largest + 1)
    except (OSError, ValueError) as error:
        reason = getattr(error, "strerror", None) or "it cannot be opened"
        raise NotGradable("{}: {}".format(path, reason)) from None
    if len(data) > largest:
        raise NotGradable("{} is larger than {} MiB".format(path, largest >> 20))
    return data


def decode(data: bytes) -> Optional[str]:
    """The text in these bytes; None when they are no text. Says nothing of the line ends."""
    if data.startswith((b"\xff\xfe", b"\xfe\xff")):
        try:
            return data.decode("utf-16")
        except UnicodeDecodeError:
            return None
    if b"\0" in data[:8192]:
        return None
    try:
        return data.decode("utf-8-sig")
    except UnicodeDecodeError:
        pass
    control = sum(byte < 32 and byte not in (9, 10, 12, 13, 27) for byte in data[:8192])
    if control * 50 > len(data[:8192]):
        return None
    return data.decode("cp1252", "replace")


def _artifact(data: bytes, name: str, shown: str, path: Optional[str], modality: Optional[str],
              source: bool) -> Artifact:
    kind = file_types.of_name(name, source)
    if kind is None:
        kind = _kind_of_content(data, name)
    shown = _sound(shown)
    found, notes = _READERS[kind.reader](data, shown, kind)
    declared = modality or kind.modality
    if kind.reader == "text" and declared != kind.modality:
        found = [part._replace(mime_type=file_types.text_type(declared)) for part in found]
    return Artifact(tuple(found), declared, _sound(name), path, tuple(notes))


def _kind_of_content(data: bytes, name: str) -> file_types.FileType:
    if data.startswith(b"\x89PNG\r\n\x1a\n"):
        return file_types.FileType("image", "picture", "image/png")
    if data.startswith(b"\xff\xd8\xff"):
        return file_types.FileType("image", "picture", "image/jpeg")
    if data.startswith(b"%PDF-"):
        return file_types.FileType("document", "bytes", "application/pdf")
    if decode(data) is None:
        raise NotGradable("{}: this kind of file is not known; see `brask grade --help`"
                          .format(name))
    if data.startswith(b"#!"):
        return file_types.FileType("code", "text", "text/x-code")
    return file_types.FileType("text", "text", "text/plain")


def _read_text(data: bytes, shown: str, kind: file_types.FileType):
    text = decode(data)
    if text is None:
        raise NotGradable("{} is not a text, whatever its name says".format(shown))
    return [Part(kind.mime_type, shown, _sound(text), same_lines=True)], []


def _read_bytes(data: bytes, shown: str, kind: file_types.FileType):
    return [Part(kind.mime_type, shown, data=data)], []


def _read_picture(data: bytes, shown: str, kind: file_types.FileType):
    from . import pictures
    mime_type = pictures.type_of(data) or kind.mime_type
    return [Part(mime_type, shown, data=pictures.without_metadata(data))], []


def _from(module: str):
    """A reader in a module of its own, loaded when it is needed."""
    def read(data: bytes, shown: str, kind: file_types.FileType):
        from importlib import import_module
        reader = getattr(import_module("." + module, __package__), "read_" + kind.reader)
        return reader(data, shown, kind)
    return read


def _sound(text: str) -> str:
    """Without lone surrogates, which no JSON body could carry."""
    return text.encode("utf-8", "replace").decode("utf-8")


_READERS = {"text": _read_text, "bytes": _read_bytes, "picture": _read_picture,
            "html": _from("markup"), "rtf": _from("rtf"), "docx": _from("documents"),
            "odt": _from("documents"), "pptx": _from("documents"), "odp": _from("documents"),
            "xlsx": _from("sheets"), "ods": _from("sheets"), "notebook": _from("notebook")}
