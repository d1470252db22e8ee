"""Small office files and pictures for tests, written out part by part."""

import io
import struct
import zipfile
import zlib

_W = 'xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main"'
_R = 'xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships"'
_S = 'xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"'
_P = ('xmlns:p="http://schemas.openxmlformats.org/presentationml/2006/main" '
      'xmlns:a="http://schemas.openxmlformats.org/drawingml/2006/main"')
_O = ('xmlns:office="urn:o" xmlns:text="urn:t" xmlns:table="urn:b" xmlns:draw="urn:d" '
      'xmlns:xlink="urn:x" xmlns:style="urn:s" xmlns:presentation="urn:p"')


def packed(**members):
    """A zip archive; `__` in a name stands for a slash, `_dot_` for a dot."""
    out = io.BytesIO()
    with zipfile.ZipFile(out, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, content in members.items():
            archive.writestr(name.replace("__", "/").replace("_dot_", "."), content)
    return out.getvalue()


def relations(**targets):
    """A relations part: id -> target; an address is an outside one."""
    return "<Relationships>" + "".join(
        '<Relationship Id="{}" Target="{}"{}/>'.format(
            name, target, ' TargetMode="External"' if "://" in target else "")
        for name, target in targets.items()) + "</Relationships>"


def docx(body, rels="<Relationships/>", notes=None, styles=None):
    """A word-processor file with this body."""
    members = {
        "word__document_dot_xml": "<w:document {} {}><w:body>{}</w:body></w:document>".format(
            _W, _R, body),
        "word___rels__document_dot_xml_dot_rels": rels,
        "word__styles_dot_xml": styles or (
            '<w:styles {}><w:style w:styleId="T"><w:name w:val="Title"/></w:style>'
            '<w:style w:styleId="H2"><w:name w:val="heading 2"/></w:style>'
            '<w:style w:styleId="L"><w:name w:val="List Bullet"/></w:style></w:styles>'.format(_W))}
    if notes:
        members["word__footnotes_dot_xml"] = "<w:footnotes {}>{}</w:footnotes>".format(_W, notes)
    return packed(**members)


def paragraph(text, style=None):
    """One paragraph of a word-processor file."""
    properties = '<w:pPr><w:pStyle w:val="{}"/></w:pPr>'.format(style) if style else ""
    return "<w:p>{}<w:r><w:t>{}</w:t></w:r></w:p>".format(properties, text)


def xlsx(rows, strings="", styles="", more=None, more_state="visible", columns=""):
    """A workbook with one sheet "Data" of these rows of XML, and perhaps a second, "More"."""
    sheets, targets = '<sheet name="Data" r:id="r1"/>', {"r1": "worksheets/s1.xml"}
    members = {}
    if more is not None:
        sheets += '<sheet name="More" state="{}" r:id="r2"/>'.format(more_state)
        targets["r2"] = "/xl/worksheets/s2.xml"
        members["xl__worksheets__s2_dot_xml"] = _sheet(more)
    members.update({
        "xl__workbook_dot_xml": "<workbook {} {}><sheets>{}</sheets></workbook>".format(
            _S, _R, sheets),
        "xl___rels__workbook_dot_xml_dot_rels": relations(**targets),
        "xl__worksheets__s1_dot_xml": _sheet(rows, columns),
        "xl__sharedStrings_dot_xml": "<sst {}>{}</sst>".format(_S, strings),
        "xl__styles_dot_xml": "<styleSheet {}>{}</styleSheet>".format(_S, styles)})
    return packed(**members)


def _sheet(rows, columns=""):
    return "<worksheet {}><cols>{}</cols><sheetData>{}</sheetData></worksheet>".format(
        _S, columns, rows)


def pptx(*slides, notes=None, hidden=()):
    """A deck; a slide is a list of paragraphs. The file lists them in reverse of the show. `hidden`
    has the numbers of slides that are not shown."""
    targets = {"r%d" % n: "slides/slide%d.xml" % n for n in range(1, len(slides) + 1)}
    order = "".join('<p:sldId id="{}" r:id="r{}"/>'.format(255 + n, n)
                    for n in range(1, len(slides) + 1))
    members = {
        "ppt__presentation_dot_xml": "<p:presentation {} {}><p:sldIdLst>{}</p:sldIdLst>"
        "</p:presentation>".format(_P, _R, order),
        "ppt___rels__presentation_dot_xml_dot_rels": relations(**targets)}
    for number in range(len(slides), 0, -1):
        members["ppt__slides__slide%d_dot_xml" % number] = _slide(
            slides[number - 1], ' show="0"' if number in hidden else "")
    if notes:
        members["ppt__slides___rels__slide1_dot_xml_dot_rels"] = relations(
            n="../notesSlides/notesSlide1.xml")
        members["ppt__notesSlides__notesSlide1_dot_xml"] = _slide(notes)
    return packed(**members)


def _slide(paragraphs, marks=""):
    return "<p:sld {}{}>{}</p:sld>".format(_P, marks, "".join(
        "<a:p><a:r><a:t>{}</a:t></a:r></a:p>".format(text) for text in paragraphs))


def open_document(body, styles=""):
    """An OpenDocument file of any kind with this body and these automatic styles."""
    return packed(content_dot_xml="<office:document-content {}><office:automatic-styles>{}"
                                  "</office:automatic-styles><office:body>{}</office:body>"
                                  "</office:document-content>".format(_O, styles, body))


def png(*private, end=b""):
    """A picture of one pixel with these private chunks (name, data)."""
    def chunk(name, data):
        return (struct.pack(">I", len(data)) + name + data
                + struct.pack(">I", zlib.crc32(name + data)))
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", 1, 1, 8, 0, 0, 0, 0))
            + b"".join(chunk(name, data) for name, data in private)
            + chunk(b"IDAT", zlib.compress(b"\0\0")) + chunk(b"IEND", b"") + end)


def jpeg(*segments):
    """The frame of a picture with these segments (marker, data)."""
    return (b"\xff\xd8" + b"".join(bytes([0xFF, marker]) + struct.pack(">H", len(data) + 2) + data
                                   for marker, data in segments)
            + b"\xff\xda\x00\x02pixels\xff\xd9")


def exif(orientation, order=">", secret=b"GPS 52.5 13.4"):
    """The content of an Exif segment that says which side is up, and more."""
    head = (b"MM\0*" if order == ">" else b"II*\0") + struct.pack(order + "I", 8)
    return (b"Exif\0\0" + head + struct.pack(order + "H", 2)
            + struct.pack(order + "HHII", 0x010F, 2, 4, 0)
            + struct.pack(order + "HHIHH", 0x0112, 3, 1, orientation, 0)
            + struct.pack(order + "I", 0) + secret)
