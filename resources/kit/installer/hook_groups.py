"""The format "hooks": commands that a tool runs at its events."""

from typing import Any, Dict, List, Optional, Tuple

from .json_places import Item, Node, plain
from .ownership import Hints, Validator
from .text import BadText, Edit, Key
from .tool import JsonTool


HARNESS = "--harness"  # what a hook's command says that another call of the validator does not


class HookGroups(JsonTool):
    """A tool that runs commands at events, which its file lists in groups: "hooks" is an object of
    events, an event an array of groups, and a group holds its commands in a "hooks" of its own."""

    def __init__(self, agent: Dict[str, Any], file: Dict[str, Any], validator: Validator) -> None:
        super().__init__(agent, file, validator)
        self.hooks = {hook["event"]: hook for hook in file["hooks"]}

    def command(self, event: str) -> str:
        return self.validator.command_line(self.hooks[event]["command"])

    def group(self, event: str) -> Dict[str, Any]:
        handler = {"type": "command", "command": self.command(event),
                   "timeout": self.hooks[event]["timeout"]}
        matcher = self.hooks[event]["matcher"]
        return {"hooks": [handler]} if matcher is None else \
            {"matcher": matcher, "hooks": [handler]}

    def runs_us(self, handler: Node) -> bool:
        value = plain(handler)
        return isinstance(value, dict) and value.get("type") == "command" and \
            self.validator.runs(value.get("command"), value.get("args"))

    def owned(self, root: Node) -> List[Tuple[List[Node], int, Key]]:
        """Our handlers; a whole group when it holds nothing but ours. The key of a handler's own
        box is empty, since such a box is never ours to remove."""
        found: List[Tuple[List[Node], int, Key]] = []
        hooks = self.one(root, "hooks")
        if hooks is None or hooks.node.kind != "object":
            return found
        for event in hooks.node.items:
            if event.node.kind != "array":
                continue
            key = ("hooks", event.key or "")
            chain = [root, hooks.node, event.node]
            for index, group in enumerate(event.node.items):
                if group.node.kind != "object":
                    continue
                inner = self.first(group.node, "hooks")
                if inner is None or inner.node.kind != "array":
                    continue
                mine = [i for i, item in enumerate(inner.node.items) if self.runs_us(item.node)]
                if mine:
                    self.one(hooks.node, event.key or "")  # two of the name are refused
                if mine and len(mine) == len(inner.node.items):
                    found.append((chain, index, key))
                elif mine:
                    found += [(chain + [group.node, inner.node], i, ()) for i in mine]
        return found

    @staticmethod
    def first(box: Node, key: str) -> Optional[Item]:
        found = box.members(key)
        return found[0] if found else None

    def on_our_way(self, key: Key) -> bool:
        return key[:1] == ("hooks",) and len(key) <= 2

    def leftover(self, text: str) -> Optional[int]:
        """Where a command of the user's stands that runs our validator among other things: it stays,
        and fails when the validator is gone."""
        if "validate.py" not in text:
            return None
        waiting = [self.read(text)]
        while waiting:
            node = waiting.pop()
            waiting += [item.node for item in node.items]
            command = self.first(node, "command") if node.kind == "object" else None
            if command is not None and command.node.kind == "string" and \
                    not self.runs_us(node) and self.validator.mentions(command.node.value):
                return command.start
        return None

    def events(self, text: str) -> Dict[str, List[str]]:
        """The commands of ours, by event."""
        root = self.read(text)
        found: Dict[str, List[str]] = {}
        for chain, index, key in self.owned(root):
            event = key[1] if key else next(i.key or "" for i in chain[1].items
                                            if i.node is chain[2])
            node = chain[-1].items[index].node
            handlers = plain(node)["hooks"] if key else [plain(node)]
            found.setdefault(event, []).extend(
                handler["command"] if "args" not in handler else "" for handler in handlers)
        return found

    def state(self, text: str) -> str:
        if not text.strip():
            return "absent"
        found = self.events(text)
        if not found:
            return "absent"
        good = sorted(found) == sorted(self.hooks) and self.seen(text) and all(
            len(commands) == 1 and self.is_current(event, commands[0])
            for event, commands in found.items())
        return "wired" if good else "repair"

    def is_current(self, event: str, command: str) -> bool:
        """Is this the command that we write today, or one that the user made of one of ours?"""
        former = map(self.validator.command_line, self.hooks[event].get("former", []))
        return command == self.command(event) or bool(command) and command not in former and \
            HARNESS in command

    def edited(self, text: str) -> bool:
        """Any handler of ours that is not what we write, whatever the user changed in it."""
        root = self.read(text)
        for chain, index, key in self.owned(root):
            event = key[1] if key else next(i.key or "" for i in chain[1].items
                                            if i.node is chain[2])
            if event not in self.hooks:
                continue
            group = plain(chain[-1].items[index].node) if key else plain(chain[-2])
            handler = group["hooks"][0] if key else plain(chain[-1].items[index].node)
            today = self.as_read(self.group(event))
            if handler != today["hooks"][0] or group.get("matcher") != today.get("matcher"):
                return True
        return False

    def add(self, text: str, hints: Hints) -> Edit:
        edit = self.seeded(text, hints)
        root = self.read(edit.text)
        hooks = self.one(root, "hooks")
        if hooks is None:
            self.put(edit, ("hooks",), {event: [self.group(event)] for event in self.hooks}, hints)
            return edit
        if hooks.node.kind != "object":
            raise BadText('"hooks" should be an object', hooks.node.start)
        for event in self.hooks:
            there = self.one(hooks.node, event)
            if there is not None and there.node.kind != "array":
                raise BadText('"%s" should be an array' % event, there.node.start)
        for event in self.hooks:
            there = self.one(self.read(edit.text).members("hooks")[0].node, event)
            group = self.group(event)
            self.put(edit, ("hooks", event), group if there else [group], hints)
        return edit

    def notes(self, text: str) -> List[str]:
        off = self.read(text).members("disableAllHooks")
        if off and off[-1].node.value == "true":
            return ['"disableAllHooks" is true, so that no hook runs, ours neither']
        return []
