"""The format "event-lists": commands that a tool runs at its events, without groups."""

import json
from typing import Any, Dict, List, Tuple

from .hook_groups import HARNESS
from .json_places import Node, plain
from .ownership import Hints, Validator
from .text import BadText, Edit, Key
from .tool import JsonTool


class EventLists(JsonTool):
    """A tool whose file lists the commands of each event: "hooks" is an object of events, an event an
    array of commands. What else the tool wants at the top is `root`, which a file that we make has."""

    def __init__(self, agent: Dict[str, Any], file: Dict[str, Any], validator: Validator) -> None:
        super().__init__(agent, file, validator)
        self.events: Dict[str, Any] = validator.filled(file["events"])
        self.root: Dict[str, Any] = file["root"]
        self.seed = json.dumps(self.root, indent=2) + "\n"

    def runs_us(self, handler: Node) -> bool:
        value = plain(handler)
        return isinstance(value, dict) and \
            self.validator.runs(value.get("command"), value.get("args"))

    def owned(self, root: Node) -> List[Tuple[List[Node], int, Key]]:
        found: List[Tuple[List[Node], int, Key]] = []
        hooks = self.one(root, "hooks")
        if hooks is None or hooks.node.kind != "object":
            return found
        for event in hooks.node.items:
            mine = [index for index, item in enumerate(event.node.items)
                    if event.node.kind == "array" and self.runs_us(item.node)]
            if mine:
                self.one(hooks.node, event.key or "")  # two of the name are refused
            found += [([root, hooks.node, event.node], index, ("hooks", event.key or ""))
                      for index in mine]
        return found

    def on_our_way(self, key: Key) -> bool:
        return key[:1] == ("hooks",) and len(key) <= 2

    def empty(self, text: str) -> bool:
        return super().empty(text) or text == self.seed

    def commands(self, text: str) -> Dict[str, List[Any]]:
        """What is ours, by event."""
        found: Dict[str, List[Any]] = {}
        for chain, index, key in self.owned(self.read(text)):
            found.setdefault(key[1], []).append(plain(chain[-1].items[index].node))
        return found

    def state(self, text: str) -> str:
        found = self.commands(text) if text.strip() else {}
        if not found:
            return "absent"
        good = sorted(found) == sorted(self.events) and self.seen(text) and all(
            len(handlers) == 1 and HARNESS in handlers[0]["command"]
            for handlers in found.values())
        return "wired" if good else "repair"

    def edited(self, text: str) -> bool:
        return any(handlers != [self.as_read(self.events.get(event))]
                   for event, handlers in self.commands(text).items())

    def add(self, text: str, hints: Hints) -> Edit:
        edit = self.seeded(text, hints)
        root = self.read(edit.text)
        for name, value in self.root.items():
            there = self.one(root, name)
            if there is None:
                raise BadText('the tool wants "%s": %s here, and reads no hooks without it; add that'
                              % (name, json.dumps(value)), root.start)
        hooks = self.one(root, "hooks")
        if hooks is not None and hooks.node.kind != "object":
            raise BadText('"hooks" should be an object', hooks.node.start)
        for event in self.events:
            there = self.one(hooks.node, event) if hooks is not None else None
            if there is not None and there.node.kind != "array":
                raise BadText('"%s" should be an array' % event, there.node.start)
        if hooks is None:
            self.put(edit, ("hooks",), {event: [handler] for event, handler in self.events.items()},
                     hints)
            return edit
        for event, handler in self.events.items():
            there = self.one(self.read(edit.text).members("hooks")[0].node, event)
            self.put(edit, ("hooks", event), handler if there else [handler], hints)
        return edit

    def seeded(self, text: str, hints: Hints) -> Edit:
        edit = super().seeded(text, hints)
        if hints.blank is not None and self.root:
            edit.apply([(0, len(edit.text), self.seed)])
        return edit

    def remove(self, text: str, hints: Hints) -> str:
        left = super().remove(text, hints)
        return hints.blank if hints.blank is not None and left == self.seed else left

    def others(self, text: str) -> Any:
        return super().others(text if text.strip() else self.seed)
