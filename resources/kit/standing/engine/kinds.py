"""What kind of work is a file, by its name?

A table from endings to a `Kind`: the modality to declare, the media type of the part, and the
reader in `parts` that gets the content out. What the table does not know is looked at by content.
"""

import os
from typing import NamedTuple, Optional

#: The modalities of the application catalog.
MODALITIES = ("text", "code", "ui_ux", "spreadsheet", "document", "deck", "image", "video",
              "audio", "video_transcript", "outcome_metric")

#: The media type of a text part, as the application's own capture declares it.
TEXT_TYPES = {"code": "text/x-code", "spreadsheet": "text/tab-separated-values",
              "document": "text/markdown"}


class Kind(NamedTuple):
    """`reader` names the function of `parts` (or of a format's module) that reads the file."""

    modality: str
    reader: str
    mime_type: str


def text_type(modality: str) -> str:
    """The media type of a plain text of this modality."""
    return TEXT_TYPES.get(modality, "text/plain")


_CODE = """
    ada adb ads asm awk bash bat bzl c cc cfg cjs clj cljs cmake cmd coffee conf cpp cr cs css cts
    cu cue cxx d dart diff dts ebuild edn el elm erl ex exs f90 fish fs fsx gd glsl go gradle
    graphql groovy h hcl hh hlsl hpp hrl hs htmx hxx ini ipp java jinja jl js json json5 jsonc
    jsonl jsx kt kts less lisp lua m make mjs mk ml mli mm mts nim nix pas patch php pl plist pm
    proto ps1 psm1 py pyi pyx qml r rb re res rkt rs sass scala scm scss sh sol sql star sv svelte
    swift tcl tf tfvars toml ts tsx v vala vb vhd vhdl vim vue wgsl wsdl xml xsd xsl yaml yml zig
    zsh""".split()
_PLAIN_NAMES = {"makefile", "gnumakefile", "dockerfile", "containerfile", "jenkinsfile", "rakefile",
                "gemfile", "procfile", "vagrantfile", "justfile", "cmakelists.txt", "build",
                "workspace", "brewfile", "podfile"}

_TABLE = {
    "txt": Kind("text", "text", "text/plain"), "text": Kind("text", "text", "text/plain"),
    "eml": Kind("text", "text", "text/plain"), "log": Kind("text", "text", "text/plain"),
    "md": Kind("document", "text", "text/markdown"),
    "markdown": Kind("document", "text", "text/markdown"),
    "mdx": Kind("document", "text", "text/markdown"),
    "rst": Kind("document", "text", "text/plain"), "adoc": Kind("document", "text", "text/plain"),
    "tex": Kind("document", "text", "text/plain"), "org": Kind("document", "text", "text/plain"),
    "html": Kind("document", "html", "text/markdown"),
    "htm": Kind("document", "html", "text/markdown"),
    "xhtml": Kind("document", "html", "text/markdown"),
    "rtf": Kind("document", "rtf", "text/markdown"),
    "docx": Kind("document", "docx", "text/markdown"),
    "docm": Kind("document", "docx", "text/markdown"),
    "odt": Kind("document", "odt", "text/markdown"),
    "pdf": Kind("document", "bytes", "application/pdf"),
    "pptx": Kind("deck", "pptx", "text/plain"), "pptm": Kind("deck", "pptx", "text/plain"),
    "odp": Kind("deck", "odp", "text/plain"),
    "csv": Kind("spreadsheet", "text", "text/csv"),
    "tsv": Kind("spreadsheet", "text", "text/tab-separated-values"),
    "tab": Kind("spreadsheet", "text", "text/tab-separated-values"),
    "xlsx": Kind("spreadsheet", "xlsx", "text/tab-separated-values"),
    "xlsm": Kind("spreadsheet", "xlsx", "text/tab-separated-values"),
    "ods": Kind("spreadsheet", "ods", "text/tab-separated-values"),
    "ipynb": Kind("code", "notebook", "text/x-code"),
    "svg": Kind("code", "text", "text/x-code"),
    "png": Kind("image", "picture", "image/png"), "jpg": Kind("image", "picture", "image/jpeg"),
    "jpeg": Kind("image", "picture", "image/jpeg"), "webp": Kind("image", "picture", "image/webp"),
    "gif": Kind("image", "picture", "image/gif"), "bmp": Kind("image", "picture", "image/bmp"),
    "tif": Kind("image", "picture", "image/tiff"), "tiff": Kind("image", "picture", "image/tiff"),
    "avif": Kind("image", "picture", "image/avif"), "heic": Kind("image", "picture", "image/heic"),
    "mp4": Kind("video", "bytes", "video/mp4"), "mov": Kind("video", "bytes", "video/quicktime"),
    "webm": Kind("video", "bytes", "video/webm"), "mkv": Kind("video", "bytes", "video/x-matroska"),
    "mp3": Kind("audio", "bytes", "audio/mpeg"), "wav": Kind("audio", "bytes", "audio/wav"),
    "m4a": Kind("audio", "bytes", "audio/mp4"), "flac": Kind("audio", "bytes", "audio/flac"),
    "ogg": Kind("audio", "bytes", "audio/ogg"), "opus": Kind("audio", "bytes", "audio/ogg"),
    "srt": Kind("video_transcript", "text", "text/plain"),
    "vtt": Kind("video_transcript", "text", "text/plain"),
}
_SOURCE_OF_MARKUP = {"html", "htm", "xhtml"}


def of_name(path: str, source: bool = False) -> Optional[Kind]:
    """The kind that the file's name tells; None when the name says nothing. With `source` markup
    counts as the code that it is to whoever writes it."""
    name = os.path.basename(path).lower()
    ending = name.rpartition(".")[2] if "." in name[1:] else ""
    if name in _PLAIN_NAMES or ending in _CODE or (source and ending in _SOURCE_OF_MARKUP):
        return Kind("code", "text", "text/x-code")
    return _TABLE.get(ending)
