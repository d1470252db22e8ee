"""What is hidden in an office file and is sent and graded all the same: counted, so that it can be said.

Only what holds something counts. Hidden is what the file itself hides, by a mark of its own or of a
style; white writing on white paper is not looked for.
"""

from typing import Dict, List, Set

from .archive import attribute, children, local

_YES = ("1", "true", "on")
_NO = ("0", "false", "off")


class Unseen:
    """Counts of hidden things by their noun."""

    def __init__(self):
        self._counts: Dict[str, int] = {}

    def add(self, noun: str, count: int = 1) -> None:
        if count:
            self._counts[noun] = self._counts.get(noun, 0) + count

    def notes(self, shown: str) -> List[str]:
        """A sentence for people when anything is hidden."""
        if not self._counts:
            return []
        counted = ["{} {}{}".format(count, noun, "" if count == 1 else "s")
                   for noun, count in self._counts.items()]
        return ["{}: hidden in it, and sent and graded too: {}".format(shown, ", ".join(counted))]


def says_yes(element, name: str) -> bool:
    """Whether that attribute of it is an affirmative one."""
    return attribute(element, name) in _YES


def hidden_runs(root) -> int:
    """The runs of a word-processor file of the OOXML kind that hold text and are hidden."""
    return sum(1 for run in root.iter() if local(run) == "r" and _vanishes(run)
               and any(text.text for text in children(run, "t")))


def _vanishes(run) -> bool:
    return any(attribute(mark, "val") not in _NO for properties in children(run, "rPr")
               for mark in children(properties, "vanish"))


def hiding_styles(root, properties: str, name: str, value: str) -> Set[str]:
    """The names of OpenDocument styles whose `properties` have the attribute `name` with `value`."""
    return {attribute(style, "name") or "" for style in root.iter() if local(style) == "style"
            if any(attribute(p, name) == value for p in children(style, properties))}


def styled_texts(root, styles: Set[str]) -> int:
    """The paragraphs and spans of an OpenDocument file that have one of these styles, and text."""
    return sum(1 for element in root.iter() if styles and local(element) in ("p", "h", "span")
               and attribute(element, "style-name") in styles and any(element.itertext()))
