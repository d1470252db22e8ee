"""The code of notebooks. Outputs stay here: they can hold anything, and are nobody's source."""

import json

from .parts import NotGradable, Part

LARGEST = 16 * 1024 * 1024  # bytes; as Python's own objects these have up to 700 MiB


def read_notebook(data: bytes, shown: str, kind):
    """The code cells of a notebook as one source, each below a line that numbers it."""
    if len(data) > LARGEST:
        raise NotGradable("{} is larger than {} MiB; its outputs can be cleared".format(
            shown, LARGEST >> 20))
    try:
        book = json.loads(data.decode("utf-8-sig"))
        language = book.get("metadata", {}).get("language_info", {}).get("file_extension", ".py")
        cells = book["cells"]
        sources = [_source(cell) for cell in cells if cell.get("cell_type") == "code"]
    except (ValueError, KeyError, TypeError, AttributeError, RecursionError):
        raise NotGradable("{} is not a notebook that can be read".format(shown)) from None
    text = "".join("# cell {}\n{}\n\n".format(number, source.rstrip("\n"))
                   for number, source in enumerate(sources, 1))
    ending = language if isinstance(language, str) and language.startswith(".") else ".py"
    return [Part(kind.mime_type, shown + ending, text)], []


def _source(cell) -> str:
    source = cell.get("source", "")
    return source if isinstance(source, str) else "".join(source)
