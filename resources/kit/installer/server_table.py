"""The format "toml-table": each MCP server a table, in TOML."""

import json
import re
from typing import Any, Dict, List, Optional, Sequence

from .described import SERVER
from .ownership import Hints, Validator
from .text import BadText, Edit, Key, line_end_near, replaced
from .toml_places import TomlLine, TomlReader, TomlTable, TomlTables, toml_outline
from .tool import Tool

try:
    import tomllib
except ImportError:  # Python before 3.11: our own reader is then the only judge of a TOML file.
    tomllib = None  # type: ignore[assignment]


class ServerTable(Tool):
    """A tool whose TOML file holds each MCP server as a table; ours goes to the end."""

    def __init__(self, agent: Dict[str, Any], file: Dict[str, Any], validator: Validator) -> None:
        super().__init__(agent, file, validator)
        parent, = file["under"]
        self.way: Key = (parent, SERVER)
        self.header = "[%s.%s]" % self.way

    def read(self, text: str) -> TomlReader:
        reader = TomlReader(text).read()
        if tomllib is not None:
            try:
                tomllib.loads(text.replace("\r\n", "\n"))
            except (ValueError, RecursionError) as error:
                found = re.search(r"line (\d+), column (\d+)", str(error))
                lines = text.split("\n")
                offset = sum(len(line) + 1 for line in lines[:int(found.group(1)) - 1]) + \
                    int(found.group(2)) - 1 if found else len(text)
                raise BadText(str(error).split(" (at ")[0], min(offset, len(text)))
        return reader

    def table(self, entry: Dict[str, Any]) -> List[str]:
        """The lines of our table, with an entry of tools.json."""
        return [self.header] + ["%s = %s" % pair for pair in self.pairs(entry).items()]

    def pairs(self, entry: Dict[str, Any]) -> Dict[str, str]:
        return {key: self.source_of(value) for key, value in self.validator.filled(entry).items()}

    def is_former(self, reader: TomlReader) -> bool:
        """Is our entry one that an earlier version wrote, and nobody changed since?"""
        content = toml_outline(reader.root)[self.way[0]][SERVER]
        return any(content == toml_outline(TomlReader("\n".join(self.table(entry)[1:])).read().root)
                   for entry in self.described.get("former", []))

    def edited(self, text: str) -> bool:
        content = toml_outline(self.read(text).root)[self.way[0]][SERVER]
        today = TomlReader("\n".join(self.table(self.described["entry"])[1:])).read()
        return bool(content != toml_outline(today.root))

    def source_of(self, value: Any) -> str:
        """A number, a truth value, a text, or a list of those, as TOML writes it."""
        if isinstance(value, list):
            return "[%s]" % ", ".join(map(self.source_of, value))
        return json.dumps(value, ensure_ascii=False).replace("\x7f", "\\u007f")

    def ours(self, reader: TomlReader) -> Optional[bool]:
        """Is the server of our name ours? None when there is no such server."""
        servers = reader.root.items.get(self.way[0])
        entry = servers.items.get(SERVER) if isinstance(servers, TomlTable) else None
        if entry is None:
            return None
        value = toml_outline(entry)
        if not isinstance(value, dict):
            return False
        args = value.get("args")
        command = value.get("command")
        return self.validator.runs(
            command[1] if isinstance(command, tuple) else None,
            [arg[1] for arg in args if isinstance(arg, tuple)] if isinstance(args, list) else [])

    def headers(self, reader: TomlReader) -> List[TomlLine]:
        return [line for line in reader.lines if line.header and line.key == self.way]

    def state(self, text: str) -> str:
        reader = self.read(text)
        ours = self.ours(reader)
        if not ours:
            return "absent" if ours is None else "foreign"
        marked = any(text[line.pos:line.end] == self.header for line in self.headers(reader))
        return "wired" if marked and not self.is_former(reader) else "repair"

    def add(self, text: str, hints: Hints) -> Edit:
        reader = self.read(text)
        servers = reader.root.items.get(self.way[0])
        if servers is not None and not (isinstance(servers, TomlTable)
                                        and servers.origin != "braces"):
            shape = "braces" if isinstance(servers, TomlTable) else \
                "[[…]]" if isinstance(servers, TomlTables) else "a plain value"
            raise BadText("%s is written as %s, which a table cannot be added to; write each "
                          "server as a table of its own, [%s.NAME]"
                          % (self.way[0], shape, self.way[0]), servers.pos)
        if self.ours(reader) is not None:
            entry = servers.items[SERVER]  # type: ignore[union-attr]
            raise BadText("there is already a server named %s, and it is not ours" % SERVER,
                          getattr(entry, "pos", 0))
        eol = line_end_near(text, len(text))
        body = eol.join(self.table(self.described["entry"]))
        if not text:
            body += eol
        elif text.endswith("\n"):
            body = eol + body + eol
        else:
            body = eol + eol + body
        edit = Edit(text)
        edit.apply([(len(text), len(text), body)])
        return edit

    def mended(self, text: str, hints: Hints) -> Edit:
        """Only the header is written anew, so that settings of the user's in the table stay; in an
        entry of an earlier version, each setting that is another one today."""
        reader = self.read(text)
        headers = self.headers(reader)
        if not headers:
            entry = reader.root.items[self.way[0]].items[SERVER]
            raise BadText("our server is not written as a table %s, so the companion does not see "
                          "it; write it so, or take it out and run this again" % self.header,
                          entry.pos)
        edit = Edit(text)
        edit.apply([(headers[0].pos, headers[0].end, self.header)])
        if self.is_former(self.read(edit.text)):
            self.renew(edit)
        return edit

    def renew(self, edit: Edit) -> None:
        """Makes today's entry of the one that is there, which stands in a table of its own."""
        reader, wanted = self.read(edit.text), self.pairs(self.described["entry"])
        there = {line.key[-1]: line for line in reader.lines
                 if not line.header and line.key[:-1] == self.way}
        pieces = [(there[key].pos, there[key].end, "%s = %s" % (key, value))
                  for key, value in wanted.items()
                  if key in there]
        end = max(line.end for line in there.values())
        eol = line_end_near(edit.text, end)
        more = "".join("%s%s = %s" % (eol, key, value)
                       for key, value in wanted.items() if key not in there)
        edit.apply(pieces + [(end, end, more)])

    def remove(self, text: str, hints: Hints) -> str:
        reader = self.read(text)
        if not self.ours(reader):
            return text
        servers = reader.root.items[self.way[0]]
        if servers.origin == "braces":
            raise BadText("our server stands in braces among others; take it out by hand",
                          servers.pos)
        pieces = []
        lines = reader.lines
        for index, line in enumerate(lines):
            if line.key[:2] != self.way:
                continue
            start = line.start
            if line.header:
                start = self.with_gap(text, line, self.section_end(lines, index))
            if index and lines[index - 1].key[:2] == self.way and \
                    (not line.header or not text[lines[index - 1].line_end:start].strip()):
                start = lines[index - 1].line_end
            pieces.append((start, line.line_end, ""))
        return replaced(text, pieces)

    @staticmethod
    def section_end(lines: Sequence[TomlLine], index: int) -> int:
        """Where the last pair of the section that a header opens ends."""
        for line in lines[index + 1:]:
            if line.header:
                break
            index += 1
        return lines[index].line_end

    def with_gap(self, text: str, header: TomlLine, end: int) -> int:
        """Where to begin so that the blank line goes that we put before the header: one line end,
        and a second one when ours is the last line and has none."""
        start = header.start
        if header.key != self.way:
            return start
        for _ in range(2 if end == len(text) and not text.endswith("\n") else 1):
            if text[:start].endswith("\r\n") and start > 1:
                start -= 2
            elif text[:start].endswith("\n"):
                start -= 1
        if start and start < header.start and text[start - 1] != "\n" and text[end - 1] == "\n":
            return header.start
        return start

    def others(self, text: str) -> Any:
        reader = self.read(text)
        content = toml_outline(reader.root)
        servers = content.get(self.way[0])
        if self.ours(reader):
            servers.pop(SERVER)
        if servers == {}:
            content.pop(self.way[0])
        return content

    def empty(self, text: str) -> bool:
        return not text.strip()

    def notes(self, text: str) -> List[str]:
        entry = toml_outline(self.read(text).root)[self.way[0]][SERVER]
        return ["the server is switched off in this file"] \
            if entry.get("enabled") == ("other", "false") else []
