"""The format "servers": MCP servers by name, in JSON."""

import json
from typing import Any, Dict, List, Optional, Sequence, Tuple

from .described import SERVER
from .json_places import Item, Node, plain
from .ownership import Hints, Validator
from .text import BadText, Edit, Key
from .tool import JsonTool


def as_plain(value: Any) -> Any:
    """A value of the table as `plain` has it. An entry of an earlier version that nobody changed is
    told by it."""
    if isinstance(value, dict):
        return {key: as_plain(inner) for key, inner in value.items()}
    if isinstance(value, list):
        return [as_plain(inner) for inner in value]
    return value if isinstance(value, str) else ("raw", json.dumps(value))


class NamedServers(JsonTool):
    """A tool whose file lists MCP servers by name, in the object that `way` leads to."""

    def __init__(self, agent: Dict[str, Any], file: Dict[str, Any], validator: Validator) -> None:
        super().__init__(agent, file, validator)
        self.way: Key = tuple(file["under"])

    def on_our_way(self, key: Key) -> bool:
        return self.way[:len(key)] == key

    def listed(self, root: Node) -> Tuple[List[Node], Optional[int]]:
        """The boxes on the way to the servers, as far as there are, and our index in the last."""
        chain = [root]
        for name in self.way:
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
        return isinstance(value, dict) and \
            self.validator.runs(value.get("command"), value.get("args"))

    def owned(self, root: Node) -> List[Tuple[List[Node], int, Key]]:
        chain, index = self.listed(root)
        if index is None or not self.runs_us(chain[-1].items[index].node):
            return []
        return [(chain, index, self.way)]

    def state(self, text: str) -> str:
        if not text.strip():
            return "absent"
        root = self.read(text)
        chain, index = self.listed(root)
        if index is None:
            return "absent"
        if not self.owned(root):
            return "foreign"
        former = [as_plain(self.validator.filled(entry))
                  for entry in self.described.get("former", [])]
        current = plain(chain[-1].items[index].node) not in former
        return "wired" if current and self.seen(text) else "repair"

    def add(self, text: str, hints: Hints) -> Edit:
        edit = self.seeded(text, hints)
        chain, index = self.listed(self.read(edit.text))
        for include in self.includes(chain):
            raise BadText("the servers come from another file through %s; add the entry there by "
                          "hand" % include.key, include.start)
        if index is not None:
            raise BadText('there is already a server named "%s", and it is not ours' % SERVER,
                          chain[-1].items[index].start)
        self.put(edit, self.way + (SERVER,), self.validator.filled(self.described["entry"]), hints)
        return edit

    def includes(self, chain: Sequence[Node]) -> List[Item]:
        """The members on the way that bring in what other files hold."""
        name = self.described.get("includeKey")
        return [member for box in chain for member in box.members(name)] if name else []

    def notes(self, text: str) -> List[str]:
        chain, index = self.listed(self.read(text))
        entry = plain(chain[-1].items[index].node) if index is not None else {}
        if entry.get("enabled") == ("raw", "false") or entry.get("disabled") == ("raw", "true"):
            return ["the server is switched off in this file"]
        return []
