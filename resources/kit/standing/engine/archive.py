"""The packed XML that office files are made of, read with a bound.

A small file can unpack to anything; nothing here reads more than it says, and a document type,
which no office program writes and which could define entities without end, is refused.
"""

import io
import xml.etree.ElementTree as ElementTree
import zipfile
import zlib
from typing import List, Optional

from .parts import NotGradable

MOST_UNPACKED = 128 * 1024 * 1024
MOST_MEMBERS = 20000


class Archive:
    """One office file. Every method raises NotGradable for a file that is damaged or hostile."""

    def __init__(self, data: bytes, name: str):
        self._name = name
        self._left = MOST_UNPACKED
        try:
            self._zip = zipfile.ZipFile(io.BytesIO(data))
            self._members = self._zip.namelist()
        except (zipfile.BadZipFile, ValueError, OSError, NotImplementedError):
            raise NotGradable("{} is damaged, or protected by a password".format(name)) from None
        if len(self._members) > MOST_MEMBERS:
            raise NotGradable("{} has too many parts to be an office file".format(name))

    def names(self) -> List[str]:
        """The names of all members, in the archive's order."""
        return self._members

    def xml(self, member: str) -> Optional[ElementTree.Element]:
        """The root of a member; None when there is no such member."""
        if member not in self._members:
            return None
        data = self._read(member)
        if b"<!DOCTYPE" in data or b"<!ENTITY" in data:
            raise NotGradable("{}: {} declares a document type".format(self._name, member))
        try:
            return ElementTree.fromstring(data)
        except (ElementTree.ParseError, ValueError, LookupError):
            raise NotGradable("{} is damaged: {} cannot be read".format(
                self._name, member)) from None

    def _read(self, member: str) -> bytes:
        try:
            with self._zip.open(member) as file:
                data = file.read(self._left + 1)
        except (zipfile.BadZipFile, zlib.error, RuntimeError, OSError, EOFError,
                NotImplementedError, ValueError):
            raise NotGradable("{} is damaged, or protected by a password".format(
                self._name)) from None
        self._left -= len(data)
        if self._left < 0:
            raise NotGradable("{} unpacks to more than {} MiB".format(
                self._name, MOST_UNPACKED >> 20))
        return data


def local(element: ElementTree.Element) -> str:
    """The element's name without its namespace."""
    tag = element.tag
    return tag.rpartition("}")[2] if isinstance(tag, str) else ""


def attribute(element: ElementTree.Element, name: str) -> Optional[str]:
    """The attribute of this local name, whatever its namespace."""
    for key, value in element.attrib.items():
        if key.rpartition("}")[2] == name:
            return value
    return None


def children(element: Optional[ElementTree.Element], name: str) -> List[ElementTree.Element]:
    """The direct children of this local name."""
    return [] if element is None else [child for child in element if local(child) == name]


def relations(archive: Archive, member: str) -> dict:
    """Relation id -> member, of one member of an OOXML file."""
    folder, _, name = member.rpartition("/")
    root = archive.xml("{}/_rels/{}.rels".format(folder, name))
    found = {}
    for child in [] if root is None else root:
        target = child.get("Target") or ""
        if child.get("TargetMode") != "External":
            found[child.get("Id")] = _resolved(folder, target)
    return found


def _resolved(folder: str, target: str) -> str:
    words = [] if target.startswith("/") else folder.split("/")
    for word in target.strip("/").split("/"):
        if word == "..":
            words = words[:-1]
        elif word != ".":
            words.append(word)
    return "/".join(words)
