"""The manifest: what we put where."""

import json
import os
from typing import Any, Callable, Dict, List

from .files import contents, quietly, replace_file


def sound(record: Any) -> bool:
    """Has this record of a manifest the shape that we give it? Somebody may have edited it."""
    def texts(value: Any) -> bool:
        return isinstance(value, list) and all(isinstance(item, str) for item in value)
    if not isinstance(record, dict) or not isinstance(record.get("createdFile"), bool):
        return False
    keys, empty = record.get("createdKeys"), record.get("emptyBefore")
    return texts(record.get("createdFolders")) and \
        isinstance(keys, list) and all(texts(key) for key in keys) and \
        isinstance(empty, list) and all(
            isinstance(e, dict) and texts(e.get("key")) and isinstance(e.get("text"), str)
            for e in empty) and \
        str(record.get("blankBefore", "")).strip() == ""


class Manifest:
    """What we put where: ~/.brask/installed.json. It only helps to restore what was there before
    (empty brackets, missing files and folders); what is ours is told from the files themselves, so
    that a lost manifest loses nothing else."""

    def __init__(self, path: str, say: Callable[[str], None]) -> None:
        self.path = path
        self.records: Dict[str, Dict[str, Any]] = {}
        try:
            data = contents(path) if os.path.isfile(path) else None
            found = json.loads(data.decode("utf-8")) if data is not None else {}
            entries = found.get("entries", {}) if isinstance(found, dict) else None
            if not isinstance(entries, dict):
                raise ValueError("not a manifest")
            self.records = {key: record for key, record in entries.items() if sound(record)}
        except (OSError, ValueError, RecursionError):
            say("%s is damaged or cannot be read, and is not used; our entries are found without "
                "it" % path)

    def folders(self, key: str) -> List[str]:
        return list(self.records.get(key, {}).get("createdFolders", []))

    def save(self) -> None:
        """Writes it, or removes it when nothing is left to tell."""
        if not self.records:
            quietly(os.unlink, self.path)
            return
        body = {"version": 1, "entries": self.records}
        text = json.dumps(body, indent=2, ensure_ascii=False, sort_keys=True) + "\n"
        if contents(self.path) != text.encode("utf-8"):
            replace_file(self.path, text.encode("utf-8"), contents(self.path))
