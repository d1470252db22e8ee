"""What the coding tools have in common, whatever their format."""

import json
import re
import sys
from typing import Any, Dict, List, Optional, Tuple

from .json_places import DIALECTS, STRICT, Item, JsonReader, Node, insertion, outline, removal
from .ownership import Hints, Validator
from .text import BadText, Edit, Key, line_end_near, replaced


class Tool:
    """A coding tool by one of its files: how our entry goes in and out of that file's text.

    All of these are functions of the text; the file itself is somebody else's business. `state` is
    "wired", "repair" (ours, but not so that the companion sees it), "foreign" (our name, not our
    command) or "absent". Texts that cannot be read raise BadText.
    """

    seed = ""  # what a file that we make holds before our entry goes in
    whole = False  # is the file ours as a whole, so that nothing of it stays?

    def __init__(self, agent: Dict[str, Any], file: Dict[str, Any], validator: Validator) -> None:
        """`agent` and `file` are what the table says of the tool and of the file."""
        self.described, self.validator = file, validator
        self.key: str = agent["wiring"]["key"]
        self.label: str = agent["name"]
        self.moved_by: List[str] = agent["wiring"]["movedBy"]
        means = file.get("means")  # the first file's entry is what the tool counts as wired by
        self.means: str = means or ("hooks" if "hooks" in file else "server")
        self.record: str = "%s-%s" % (self.key, means) if means else self.key  # in the manifest
        on_mac = file.get("pathOnMac") if sys.platform == "darwin" else None
        self.file: str = on_mac or file["path"]      # below the home folder
        self.markers: List[str] = file["markers"]    # what the companion looks for in it
        self.create: bool = file.get("create", False)

    def seen(self, text: str) -> bool:
        """Does the companion take the tool for wired? It searches the text and reads nothing."""
        return all(marker in text for marker in self.markers)

    def state(self, text: str) -> str:
        raise NotImplementedError

    def add(self, text: str, hints: Hints) -> Edit:
        """Puts our entry in, which is not there; what the text was like goes into `hints`."""
        raise NotImplementedError

    def remove(self, text: str, hints: Hints) -> str:
        """The text without anything of ours, as it was before us as far as `hints` knows."""
        raise NotImplementedError

    def others(self, text: str) -> Any:
        """Everything in the text that is not ours, to be compared."""
        raise NotImplementedError

    def empty(self, text: str) -> bool:
        """Does the text say nothing at all? A comment says something."""
        raise NotImplementedError

    def leftover(self, text: str) -> Optional[int]:
        """Where something of somebody else's stands that does not work without our validator."""
        return None

    def edited(self, text: str) -> bool:
        """Did the user change our entry, which is there, so that it is neither today's nor one of an
        earlier version?"""
        return False

    def notes(self, text: str) -> List[str]:
        """What else the user should know about a text that carries our entry."""
        return []

    def second_opinion(self, text: str) -> None:
        """Raises ValueError when another reader than ours refuses the text."""

    def mended(self, text: str, hints: Hints) -> Edit:
        """Puts our entry right."""
        return self.add(self.remove(text, hints), hints)


class JsonTool(Tool):
    """What the tools with a JSON file have in common."""

    seed = "{}\n"

    def __init__(self, agent: Dict[str, Any], file: Dict[str, Any], validator: Validator) -> None:
        super().__init__(agent, file, validator)
        self.dialect = DIALECTS[file["dialect"]]

    def read(self, text: str) -> Node:
        root = JsonReader(text, self.dialect).read()
        if root.kind != "object":
            raise BadText("the file should hold an object", root.start)
        return root

    def owned(self, root: Node) -> List[Tuple[List[Node], int, Key]]:
        """Each thing of ours: the boxes around it (root first), its index in the last of them, and
        the key of that box."""
        raise NotImplementedError

    def on_our_way(self, key: Key) -> bool:
        """May the box of this key be there only because of us?"""
        raise NotImplementedError

    def empty(self, text: str) -> bool:
        return re.sub(r"\s", "", text) in ("", "{}")

    def second_opinion(self, text: str) -> None:
        if self.dialect is STRICT and text.strip():
            json.loads(text)

    @staticmethod
    def as_read(value: Any) -> Any:
        """A value of the table as `plain` has it, to be compared with what a file holds."""
        if isinstance(value, dict):
            return {key: JsonTool.as_read(inner) for key, inner in value.items()}
        if isinstance(value, list):
            return [JsonTool.as_read(inner) for inner in value]
        return value if isinstance(value, str) else ("raw", json.dumps(value))

    def one(self, box: Node, key: str) -> Optional[Item]:
        """The member of that name. Two of one name are refused: who knows which one counts."""
        found = box.members(key)
        if len(found) > 1:
            raise BadText('there is a second "%s"' % key, found[1].start)
        return found[0] if found else None

    def put(self, edit: Edit, key: Key, value: Any, hints: Hints) -> None:
        """Puts `value` under `key`, or behind the last element of the array there. Boxes on the way
        are made; it is noted which."""
        root = self.read(edit.text)
        chain = [root]
        for depth, name in enumerate(key):
            item = self.one(chain[-1], name)
            if item is None:
                for missing in reversed(key[depth + 1:]):
                    value = {missing: value}
                hints.created.append(key[:depth + 1])
                return self.put_last(edit, chain, key[:depth], name, value, hints)
            chain.append(item.node)
        return self.put_last(edit, chain, key, None, value, hints)

    def put_last(self, edit: Edit, chain: List[Node], key: Key, name: Optional[str], value: Any,
                 hints: Hints) -> None:
        box = chain[-1]
        if not box.items:
            hints.empty[key] = edit.text[box.start + 1:box.end - 1]
        edit.apply(insertion(edit.text, chain, name, value))

    def seeded(self, text: str, hints: Hints) -> Edit:
        """A file that is there but blank becomes one that holds an empty object."""
        edit = Edit(text)
        if not text.strip():
            hints.blank = text
            edit.apply([(0, len(text), "{}" + (text if text.endswith("\n")
                                               else line_end_near(text, 0)))])
        return edit

    def remove(self, text: str, hints: Hints) -> str:
        while True:
            found = self.owned(self.read(text))
            if not found:
                break
            chain, index, key = found[0]
            text = replaced(text, removal(text, chain[-1], index, hints.empty.get(key)))
            text = self.pruned(text, key, hints)
        if hints.blank is not None and not self.read(text).items:
            return hints.blank
        return text

    def pruned(self, text: str, key: Key, hints: Hints) -> str:
        """The text without the boxes on the way to `key` that we made and that are empty now."""
        for depth in range(len(key), 0, -1):
            root, here = self.read(text), key[:depth]
            chain, index = [root], 0
            for name in here:
                names = [item.key for item in chain[-1].items]
                index = names.index(name)
                chain.append(chain[-1].items[index].node)
            box = chain[-1]
            if box.items or text[box.start + 1:box.end - 1].strip() or not hints.made(here):
                break
            inner = hints.empty.get(here[:-1])
            text = replaced(text, removal(text, chain[-2], index, inner))
        return text

    def others(self, text: str) -> Any:
        if not text.strip():
            return "object", ()
        root = self.read(text)
        ours = [chain[-1].items[index].node.start for chain, index, _ in self.owned(root)]
        return outline(root, ours, self.on_our_way)
