"""The format "servers": MCP servers by name, in JSON."""

from typing import Any, Dict, List, Optional, Sequence, Tuple

from .described import SERVER
from .json_places import Item, Node, plain
from .ownership import Hints, Validator
from .text import BadText, Edit, Key
from .tool import JsonTool


class NamedServers(JsonTool):
    """A tool whose file lists MCP servers by name, in the object that `way` leads to. Where a newer
    version of the tool wants them elsewhere, `since` says from which on; what is ours is found in
    either place."""

    def __init__(self, agent: Dict[str, Any], file: Dict[str, Any], validator: Validator) -> None:
        super().__init__(agent, file, validator)
        self.way: Key = tuple(file["under"])
        self.entry: Dict[str, Any] = file["entry"] if "entry" in file else {}
        newer = file.get("since")
        self.since: Optional[int] = newer["major"] if newer else None
        self.ways: List[Key] = [self.way] + ([tuple(newer["under"])] if newer else [])

    def for_version(self, major: Optional[int]) -> None:
        """Goes by what this version of the tool wants; without one, by what the first wanted."""
        newer = self.described.get("since")
        if newer and major is not None and major >= newer["major"]:
            self.way, self.entry = tuple(newer["under"]), newer["entry"]

    def on_our_way(self, key: Key) -> bool:
        return any(way[:len(key)] == key for way in self.ways)

    def listed(self, root: Node, way: Key) -> Tuple[List[Node], Optional[int]]:
        """The boxes on the way to the servers, as far as there are, and our index in the last."""
        chain = [root]
        for name in way:
            item = self.one(chain[-1], name)
            if item is None:
                return chain, None
            if item.node.kind != "object":
                raise BadText('"%s" should be an object' % name, item.node.start)
            chain.append(item.node)
        if self.one(chain[-1], SERVER) is None:
            return chain, None
        return chain, [item.key for item in chain[-1].items].index(SERVER)

    def runs_us(self, node: Node) -> bool:
        value = plain(node)
        if not isinstance(value, dict):
            return False
        command, args = value.get("command"), value.get("args")
        if isinstance(command, list) and command:  # a tool that has the arguments in the command
            command, args = command[0], command[1:]
        return self.validator.runs(command, args)

    def owned(self, root: Node) -> List[Tuple[List[Node], int, Key]]:
        found = []
        for way in self.ways:
            chain, index = self.listed(root, way)
            if index is not None and self.runs_us(chain[-1].items[index].node):
                found.append((chain, index, way))
        return found

    def state(self, text: str) -> str:
        if not text.strip():
            return "absent"
        root = self.read(text)
        chain, index = self.listed(root, self.way)
        ours = self.owned(root)
        if not ours:
            return "absent" if index is None else "foreign"
        if [way for _, _, way in ours] != [self.way]:
            return "repair"
        former = [self.as_read(self.validator.filled(entry))
                  for entry in self.described.get("former", [])]
        chain, index, _ = ours[0]
        current = plain(chain[-1].items[index].node) not in former
        return "wired" if current and self.seen(text) else "repair"

    def edited(self, text: str) -> bool:
        today = self.as_read(self.validator.filled(self.entry))
        return any(plain(chain[-1].items[index].node) != today
                   for chain, index, _ in self.owned(self.read(text)))

    def add(self, text: str, hints: Hints) -> Edit:
        edit = self.seeded(text, hints)
        chain, index = self.listed(self.read(edit.text), self.way)
        for include in self.includes(chain):
            raise BadText("the servers come from another file through %s; add the entry there by "
                          "hand" % include.key, include.start)
        if index is not None:
            raise BadText('there is already a server named "%s", and it is not ours' % SERVER,
                          chain[-1].items[index].start)
        self.put(edit, self.way + (SERVER,), self.validator.filled(self.entry), hints)
        return edit

    def includes(self, chain: Sequence[Node]) -> List[Item]:
        """The members on the way that bring in what other files hold."""
        name = self.described.get("includeKey")
        return [member for box in chain for member in box.members(name)] if name else []

    def notes(self, text: str) -> List[str]:
        for chain, index, _ in self.owned(self.read(text)):
            entry = plain(chain[-1].items[index].node)
            if entry.get("enabled") == ("raw", "false") or entry.get("disabled") == ("raw", "true"):
                return ["the server is switched off in this file"]
        return []
