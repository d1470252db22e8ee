"""The packed XML that office files are made of, read with a bound.

A small file can unpack to anything; nothing here reads more than it says, and a document type,
which no office program writes and which could define entities without end, is refused, in whatever
encoding it stands. What is graded are the first 180,000 characters of a part, so a file that holds
more than is read here is read as far as that, with a note.

All of a file takes a few seconds and less than 512 MiB, by these bounds: an element of the tree has
some 400 bytes with its attributes.
"""

import io
import struct
import xml.etree.ElementTree as ElementTree
import xml.parsers.expat as expat
import zipfile
import zlib
from typing import Iterable, Iterator, List, Optional

from .parts import NotGradable

MOST_UNPACKED = 64 * 1024 * 1024
MOST_MEMBERS = 20000
MOST_DIRECTORY = 4 * 1024 * 1024    # bytes of the archive's own list, 200 for each member
MOST_ELEMENTS = 400000      # of all members together
MOST_TEXT = 4 * 1024 * 1024     # characters of all members together, and of what is made of them
DEEPEST = 120               # elements within elements; office programs write some forty


class Archive:
    """One office file. Every method raises NotGradable for a file that is damaged or hostile."""

    def __init__(self, data: bytes, name: str):
        self._name = name
        self._left = MOST_UNPACKED
        self._elements = MOST_ELEMENTS
        self._text = MOST_TEXT
        self.cut = False    # whether there was more than is read
        if _directory_size(data) > MOST_DIRECTORY:
            raise NotGradable("{} has too many parts to be an office file".format(name))
        try:
            self._zip = zipfile.ZipFile(io.BytesIO(data))
            self._members = self._zip.namelist()
        except (zipfile.BadZipFile, ValueError, OSError, NotImplementedError, struct.error):
            raise NotGradable("{} is damaged, or protected by a password".format(name)) from None
        if len(self._members) > MOST_MEMBERS:
            raise NotGradable("{} has too many parts to be an office file".format(name))

    def names(self) -> List[str]:
        """The names of all members, in the archive's order."""
        return self._members

    def xml(self, member: str) -> Optional[ElementTree.Element]:
        """The root of a member, as far as it is read; None when there is no such member."""
        if member not in self._members:
            return None
        tree = _Tree(self._elements, self._text)
        try:
            root = tree.read(self._read(member))
        except _DocumentType:
            raise NotGradable("{}: {} declares a document type".format(
                self._name, member)) from None
        except _TooDeep:
            raise NotGradable("{}: {} is nested too deep".format(self._name, member)) from None
        except (expat.ExpatError, ValueError, LookupError, AssertionError):
            raise NotGradable("{} is damaged: {} cannot be read".format(
                self._name, member)) from None
        self._elements, self._text = tree.elements, tree.text
        self.cut = self.cut or tree.cut
        return root

    def notes(self, name: str) -> List[str]:
        """A sentence for people when not all was read."""
        return ["{} is larger than what is read of a file".format(name)] if self.cut else []

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


class _DocumentType(Exception):
    """The text declares a document type."""


class _TooDeep(Exception):
    """Elements are nested deeper than any program writes them."""


class _Full(Exception):
    """Enough has been read."""


class _Tree:
    """Builds the tree of one member, within what is left of the bounds."""

    def __init__(self, elements: int, text: int):
        self.elements, self.text, self.cut = elements, text, False
        self._builder = ElementTree.TreeBuilder()
        self._open: List[str] = []

    def read(self, data: bytes) -> ElementTree.Element:
        parser = expat.ParserCreate(namespace_separator="}")
        parser.buffer_text = True
        parser.StartDoctypeDeclHandler = self._document_type
        parser.StartElementHandler = self._start
        parser.EndElementHandler = self._end
        parser.CharacterDataHandler = self._data
        try:
            parser.Parse(data, True)
        except _Full:
            self.cut = True
            while self._open:
                self._builder.end(self._open.pop())
        return self._builder.close()

    def _document_type(self, *_):
        raise _DocumentType

    def _start(self, name, attributes):
        self.elements -= 1
        self.text -= sum(map(len, attributes.values()))
        if self.elements < 0 or self.text < 0:
            raise _Full
        if len(self._open) >= DEEPEST:
            raise _TooDeep
        self._open.append(name)
        self._builder.start(name, attributes)

    def _end(self, name):
        self._open.pop()
        self._builder.end(name)

    def _data(self, text):
        if len(text) > self.text:
            self._builder.data(text[:self.text])
            self.text = 0
            raise _Full
        self.text -= len(text)
        self._builder.data(text)


def _directory_size(data: bytes) -> int:
    """What the end of the archive says of its list's size; one that is damaged is told later."""
    at = data.rfind(b"PK\5\6", max(0, len(data) - 65557))
    return struct.unpack("<I", data[at + 12:at + 16])[0] if 0 <= at <= len(data) - 16 else 0


def limited(texts: Iterable[str], most: int = MOST_TEXT) -> Iterator[str]:
    """The texts, until they have so many characters together."""
    for text in texts:
        if len(text) >= most:
            yield text[:most]
            return
        most -= len(text)
        yield text


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


def outermost(element: ElementTree.Element, names) -> List[ElementTree.Element]:
    """The elements of these local names that lie in no other of them, in order: what is within one
    is its own, and is gone through once."""
    found, waiting = [], [element]
    while waiting:
        here = waiting.pop()
        if here is not element and local(here) in names:
            found.append(here)
        else:
            waiting += reversed(here)
    return found


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
