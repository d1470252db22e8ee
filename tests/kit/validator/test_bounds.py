"""Readers of files end: whatever a small file unpacks or unfolds to, time and memory have a bound."""

import resource
import subprocess
import sys
import unittest
from unittest import mock

import office_files
import surroundings
from engine import archive, markup, notebook, parts, rtf
from engine.parts import NotGradable

class BoundsTest(surroundings.HomeTest):
    def read(self, name, data):
        """The text of all parts, and the notes."""
        found = parts.from_bytes(data, None, name)
        return "".join(part.text for part in found.parts), found.notes


class SheetTest(BoundsTest):
    def test_cells_far_apart_are_as_much_as_is_read(self):
        data = office_files.xlsx('<row r="1"><c r="A1"><v>1</v></c></row>'
                             '<row r="99999"><c r="ALK99999"><v>2</v></c></row>')
        text, notes = self.read("far.xlsx", data)
        self.assertLessEqual(len(text), archive.MOST_TEXT)
        self.assertIn("larger than what is graded", notes[0])

    def test_a_long_string_that_is_shared_often_is_as_well(self):
        cells = "".join('<row r="{}"><c r="A{}" t="s"><v>0</v></c></row>'.format(n, n)
                        for n in range(1, 5000))
        text, notes = self.read("s.xlsx", office_files.xlsx(cells, "<si><t>{}</t></si>".format("x" * 100000)))
        self.assertLessEqual(len(text), archive.MOST_TEXT)
        self.assertTrue(notes)

    def test_cells_that_are_repeated_without_end_end(self):
        row = ('<table:table-row table:number-rows-repeated="99999999"><table:table-cell '
               'table:number-columns-repeated="99999999"><text:p>x</text:p></table:table-cell>'
               '</table:table-row>')
        for rows in (row, row * 500):
            text, notes = self.read("r.ods", office_files.open_document("<table:table>" + rows + "</table:table>"))
            self.assertLessEqual(len(text), archive.MOST_TEXT)
            self.assertTrue(notes)


class TreeTest(BoundsTest):
    def test_more_elements_than_are_read_are_cut_with_a_note(self):
        data = office_files.docx(office_files.paragraph("word") * 200000)
        text, notes = self.read("many.docx", data)
        self.assertTrue(text.startswith("word\n\nword"))
        self.assertEqual(notes, ("many.docx is larger than what is read of a file",))

    def test_more_text_than_is_read_is_cut_with_a_note(self):
        text, notes = self.read("long.docx", office_files.docx(office_files.paragraph("x" * (archive.MOST_TEXT + 9))))
        self.assertLessEqual(len(text), archive.MOST_TEXT + 1)
        self.assertTrue(notes)

    def test_deep_nesting_is_refused_with_a_sentence(self):
        table = "<w:tbl><w:tr><w:tc>", "</w:tc></w:tr></w:tbl>"
        for body in (table[0] * 5000 + table[1] * 5000,
                     "<w:sdt>" * 5000 + "</w:sdt>" * 5000):
            with self.assertRaisesRegex(NotGradable, "nested too deep"):
                self.read("deep.docx", office_files.docx(body))
        with self.assertRaisesRegex(NotGradable, "nested too deep"):
            self.read("deep.odt", office_files.open_document(
                "<list><list-item>" * 5000 + "</list-item></list>" * 5000))

    def test_tables_in_tables_keep_their_text_and_do_not_swell(self):
        body = office_files.paragraph("inmost | x")
        for _ in range(30):
            body = "<w:tbl><w:tr><w:tc>" + body + "</w:tc></w:tr></w:tbl>"
        text, _ = self.read("t.docx", office_files.docx(body))
        self.assertIn("inmost", text)
        self.assertLess(len(text), 1000)

    def test_a_document_type_is_refused_in_any_encoding(self):
        text = ('<?xml version="1.0" encoding="{}"?><!DOCTYPE a [<!ENTITY e "xxxxxxxxxx">]>'
                '<w:document xmlns:w="urn:w"><w:body><w:p><w:r><w:t>&e;</w:t></w:r></w:p>'
                '</w:body></w:document>')
        for encoding in ("UTF-8", "UTF-16", "UTF-16LE", "ISO-8859-1"):
            data = text.format(encoding).encode(encoding)
            with self.assertRaisesRegex(NotGradable, "declares a document type"):
                self.read("x.docx", office_files.packed(word__document_dot_xml=data))

    def test_an_archive_with_an_endless_list_is_not_opened(self):
        data = bytearray(office_files.open_document(""))
        at = data.rfind(b"PK\5\6")
        data[at + 12:at + 16] = (archive.MOST_DIRECTORY + 1).to_bytes(4, "little")
        with self.assertRaisesRegex(NotGradable, "too many parts"):
            self.read("x.odt", bytes(data))

    def test_memory_has_a_bound(self):
        """In a process of its own, which may have no more."""
        hostile = {
            "many.odt": office_files.open_document("<p/>" * 1500000),
            "attributes.odt": office_files.open_document("".join(
                '<p a{}="{}"/>'.format(n, n) for n in range(450000))),
            "s.xlsx": office_files.xlsx("".join(
                '<row r="{}"><c r="A{}" t="s"><v>0</v></c></row>'.format(n, n)
                for n in range(1, 5000)), "<si><t>{}</t></si>".format("x" * 1000000)),
            "page.html": b"<a " * 300000,
        }
        for name, data in hostile.items():
            path = self.write(name, data)
            script = ("import sys; sys.path.insert(0, {!r}); from engine import parts; "
                      "parts.from_file(sys.argv[1])".format(str(surroundings.KIT / "standing")))

            def limit():
                resource.setrlimit(resource.RLIMIT_AS, (640 << 20, 640 << 20))
            done = subprocess.run([sys.executable, "-c", script, path], preexec_fn=limit,
                                  stderr=subprocess.PIPE)
            self.assertEqual(done.returncode, 0, (name, done.stderr[-300:]))


class MarkupTest(BoundsTest):
    SHAPES = ("<a ", "<a b=", "<a b='", '<a b="x', "<!--", "<![CDATA[", "<", "</", "<?", "&amp",
              "<svg>", "<svg></p>", "<ul>", "<td> ", "<b hidden>", "<script>", "</script", "<p a=1 ",
              "<a href=x>", "x</a>", "<h1>", "<pre>", "<br/>", "<a/", "<a\"'", "<textarea><!--")

    def test_time_grows_with_the_page(self):
        for unit in self.SHAPES:
            small, large = ((unit * (size // len(unit))).encode() for size in (12000, 96000))
            # Eight times the page; quadratic would be sixty-four times the time.
            self.assertLess(surroundings.grown(lambda: self.read("a.html", small),
                                               lambda: self.read("a.html", large), 0.005, 24),
                            24, unit)

    def test_a_page_is_read_as_far_as_is_said(self):
        with mock.patch.object(markup, "MOST_MARKUP", 10000):
            text, notes = self.read("a.html", b"<p>word</p>" * 2000)
        self.assertIn("larger than what is read", notes[0])
        self.assertLess(len(text), 10000)

    def test_what_is_no_tag_is_text(self):
        for page, text in (("a < b", "a < b"), ("1<2>3", "1<2>3"), ("x <a b", "x <a b"),
                           ("a<!-- <b> -->c", "ac"), ("<p>a<p>b", "a\n\nb"), ("a<!x>b<?y>c", "abc"),
                           ("<SCRIPT>if (a<b) x</SCRIPT >y", "y"), ("<svg><p>a</svg>b", "b"),
                           ("<svg/>a", "a"), ("&lt;b&gt; &eacute;", "<b> \u00e9"),
                           ('<a href="?a=1&amp;b=2">t</a>', "[t](?a=1&b=2)"),
                           ("<a href='x>y'>t</a>", "[t](x>y)"), ("<a href=x>t</a>", "[t](x)"),
                           ("<img alt=a src=b/>", "![a](b/)"), ("<textarea><b></textarea>", "<b>")):
            self.assertEqual(self.read("a.html", page.encode())[0], text + "\n", page)


class OtherTest(BoundsTest):
    def test_many_bytes_of_rich_text_are_gathered_in_time(self):
        small, large = (b"{\\rtf1 " + b"\\'e9" * count + b"}" for count in (50000, 400000))
        self.assertLess(surroundings.grown(lambda: self.read("a.rtf", small),
                                           lambda: self.read("a.rtf", large), 0.005, 24), 24)

    def test_rich_text_and_notebooks_have_a_size(self):
        _, notes = self.read("a.rtf", b"{\\rtf1 a}" + b" " * rtf.MOST_BYTES)
        self.assertIn("larger than what is read", notes[0])
        with self.assertRaisesRegex(NotGradable, "outputs can be cleared"):
            self.read("a.ipynb", b" " * (notebook.LARGEST + 1))


if __name__ == "__main__":
    unittest.main()
