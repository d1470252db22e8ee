"""Pictures go out without what they know about their taker.

Cameras and phones write place, time and serial numbers into a picture; image programs write names
and paths. Those segments are left out of PNG and JPEG files and nothing else is changed: the pixels
are the same, byte for byte, and a JPEG keeps which side is up. A file that is not laid out as it
should be is passed on as it is, for the grader to say so.
"""

import struct
from typing import Optional

_PNG = b"\x89PNG\r\n\x1a\n"
_PNG_PRIVATE = {b"tEXt", b"zTXt", b"iTXt", b"eXIf", b"tIME", b"dSIG"}
#: APP1 (Exif, XMP), APP13 (captions, credits), comments. APP2 and APP14 say how colours are meant.
_JPEG_PRIVATE = {0xE1, 0xED, 0xFE}
_ORIENTATION = 0x0112


def type_of(data: bytes) -> Optional[str]:
    """The media type by content; None when it is none of the known ones."""
    if data.startswith(_PNG):
        return "image/png"
    if data.startswith(b"\xff\xd8\xff"):
        return "image/jpeg"
    if data[:6] in (b"GIF87a", b"GIF89a"):
        return "image/gif"
    if data[:4] == b"RIFF" and data[8:12] == b"WEBP":
        return "image/webp"
    return None


def without_metadata(data: bytes) -> bytes:
    """The picture without private segments."""
    if data.startswith(_PNG):
        return _png(data)
    if data.startswith(b"\xff\xd8\xff"):
        return _jpeg(data)
    return data


def _png(data: bytes) -> bytes:
    kept, at = [_PNG], len(_PNG)
    while at + 12 <= len(data):
        size, = struct.unpack(">I", data[at:at + 4])
        name, end = data[at + 4:at + 8], at + 12 + size
        if end > len(data):
            return data
        if name not in _PNG_PRIVATE:
            kept.append(data[at:end])
        if name == b"IEND":
            return b"".join(kept)  # what follows the end belongs to no picture
        at = end
    return data


def _jpeg(data: bytes) -> bytes:
    kept, at = [data[:2]], 2
    while at + 4 <= len(data) and data[at] == 0xFF:
        marker = data[at + 1]
        if marker == 0xFF:
            at += 1
            continue
        if marker == 0xDA:  # the pixels begin
            return b"".join(kept) + data[at:]
        size, = struct.unpack(">H", data[at + 2:at + 4])
        end = at + 2 + size
        if size < 2 or end > len(data):
            return data
        if marker not in _JPEG_PRIVATE:
            kept.append(data[at:end])
        elif data[at + 4:at + 10] == b"Exif\0\0":
            kept.append(_upright(_orientation(data[at + 10:end])))
        at = end
    return data


def _orientation(exif: bytes) -> int:
    """1 to 8 as the camera held it; 1 when it does not say."""
    order = {b"II": "<", b"MM": ">"}.get(exif[:2])
    if order is None or len(exif) < 14:
        return 1
    first, = struct.unpack(order + "I", exif[4:8])
    count, = struct.unpack(order + "H", exif[first:first + 2].ljust(2, b"\0"))
    for number in range(min(count, 200)):
        entry = exif[first + 2 + 12 * number:first + 14 + 12 * number]
        if len(entry) < 12:
            break
        tag, kind, _, value = struct.unpack(order + "HHIH", entry[:10])
        if tag == _ORIENTATION and kind == 3 and 1 <= value <= 8:
            return value
    return 1


def _upright(orientation: int) -> bytes:
    """An Exif segment that says this and nothing else; none when there is nothing to say."""
    if orientation == 1:
        return b""
    entry = struct.pack(">HHIHH", _ORIENTATION, 3, 1, orientation, 0)
    body = b"Exif\0\0MM\0*" + struct.pack(">IH", 8, 1) + entry + struct.pack(">I", 0)
    return b"\xff\xe1" + struct.pack(">H", len(body) + 2) + body
