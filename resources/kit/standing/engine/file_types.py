"""The types of files: what kind of work a file is, by its name.

A table from endings to a `FileType`: the modality to declare, the media type of the part, and the
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


class FileType(NamedTuple):
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
    "txt": FileType("text", "text", "text/plain"), "text": FileType("text", "text", "text/plain"),
    "eml": FileType("text", "text", "text/plain"), "log": FileType("text", "text", "text/plain"),
    "md": FileType("document", "text", "text/markdown"),
    "markdown": FileType("document", "text", "text/markdown"),
    "mdx": FileType("document", "text", "text/markdown"),
    "rst": FileType("document", "text", "text/plain"),
    "adoc": FileType("document", "text", "text/plain"),
    "tex": FileType("document", "text", "text/plain"),
    "org": FileType("document", "text", "text/plain"),
    "html": FileType("document", "html", "text/markdown"),
    "htm": FileType("document", "html", "text/markdown"),
    "xhtml": FileType("document", "html", "text/markdown"),
    "rtf": FileType("document", "rtf", "text/markdown"),
    "docx": FileType("document", "docx", "text/markdown"),
    "docm": FileType("document", "docx", "text/markdown"),
    "odt": FileType("document", "odt", "text/markdown"),
    "pdf": FileType("document", "bytes", "application/pdf"),
    "pptx": FileType("deck", "pptx", "text/plain"), "pptm": FileType("deck", "pptx", "text/plain"),
    "odp": FileType("deck", "odp", "text/plain"),
    "csv": FileType("spreadsheet", "text", "text/csv"),
    "tsv": FileType("spreadsheet", "text", "text/tab-separated-values"),
    "tab": FileType("spreadsheet", "text", "text/tab-separated-values"),
    "xlsx": FileType("spreadsheet", "xlsx", "text/tab-separated-values"),
    "xlsm": FileType("spreadsheet", "xlsx", "text/tab-separated-values"),
    "ods": FileType("spreadsheet", "ods", "text/tab-separated-values"),
    "ipynb": FileType("code", "notebook", "text/x-code"),
    "svg": FileType("code", "text", "text/x-code"),
    "png": FileType("image", "picture", "image/png"),
    "jpg": FileType("image", "picture", "image/jpeg"),
    "jpeg": FileType("image", "picture", "image/jpeg"),
    "webp": FileType("image", "picture", "image/webp"),
    "gif": FileType("image", "picture", "image/gif"),
    "bmp": FileType("image", "picture", "image/bmp"),
    "tif": FileType("image", "picture", "image/tiff"),
    "tiff": FileType("image", "picture", "image/tiff"),
    "avif": FileType("image", "picture", "image/avif"),
    "heic": FileType("image", "picture", "image/heic"),
    "mp4": FileType("video", "bytes", "video/mp4"),
    "mov": FileType("video", "bytes", "video/quicktime"),
    "webm": FileType("video", "bytes", "video/webm"),
    "mkv": FileType("video", "bytes", "video/x-matroska"),
    "mp3": FileType("audio", "bytes", "audio/mpeg"), "wav": FileType("audio", "bytes", "audio/wav"),
    "m4a": FileType("audio", "bytes", "audio/mp4"),
    "flac": FileType("audio", "bytes", "audio/flac"),
    "ogg": FileType("audio", "bytes", "audio/ogg"), "opus": FileType("audio", "bytes", "audio/ogg"),
    "srt": FileType("video_transcript", "text", "text/plain"),
    "vtt": FileType("video_transcript", "text", "text/plain"),
}
_SOURCE_OF_MARKUP = {"html", "htm", "xhtml"}


def of_name(path: str, source: bool = False) -> Optional[FileType]:
    """The type that the file's name tells; None when the name says nothing. With `source` markup
    counts as the code that it is to whoever writes it."""
    name = os.path.basename(path).lower()
    ending = name.rpartition(".")[2] if "." in name[1:] else ""
    if name in _PLAIN_NAMES or ending in _CODE or (source and ending in _SOURCE_OF_MARKUP):
        return FileType("code", "text", "text/x-code")
    return _TABLE.get(ending)
