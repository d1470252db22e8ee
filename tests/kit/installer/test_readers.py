"""The two readers against the standard library's, on the corpus and on texts made by chance."""

import json
import random
import unittest

from home import CORPUS, install

try:
    import tomllib
except ImportError:
    tomllib = None

ROUNDS = 3000  # mutants of each kind


def texts(tool):
    for path in sorted((CORPUS / tool).glob("*.*")):
        if path.suffix in (".in", ".out"):
            try:
                yield path.read_bytes().decode("utf-8-sig")
            except UnicodeDecodeError:
                continue


def mutants(seeds, marks, chance):
    """Texts near the seeds: pieces cut out, doubled, swapped for odd characters."""
    seeds = [seed for seed in seeds if len(seed) < 2000]
    for _ in range(ROUNDS):
        text = chance.choice(seeds)
        for _ in range(chance.randint(1, 3)):
            at = chance.randrange(len(text) + 1)
            end = min(len(text), at + chance.randint(0, 4))
            text = text[:at] + chance.choice(marks + [text[at:end] * 2, ""]) + text[end:]
        yield text


def agree(test, ours, theirs, text):
    """Both read the text, to the same content, or neither does."""
    try:
        wanted = theirs(text)
    except (ValueError, RecursionError):
        wanted = None
    try:
        found = ours(text)
    except install.BadText as error:
        test.assertTrue(0 <= error.offset <= len(text))
        found = None
    test.assertEqual(wanted is None, found is None, repr(text))
    return found


class JsonTest(unittest.TestCase):
    def test_agrees_with_the_standard_reader_on_strict_json(self):
        def ours(text):
            return install.JsonReader(text, install.STRICT).read()

        def theirs(text):
            def refuse(word):
                raise ValueError(word)
            return [json.loads(text, parse_constant=refuse)]
        marks = ["{", "}", "[", "]", ",", ":", '"', "\\", "//", "1", "-", ".", "e", "null", "\n",
                 "\t", "\x00", "\ufeff", "\u00a0", "'", "01", "\\u12", "\\ud800"]
        seeds = [text for text in texts("claude") if "[" * 100 not in text]
        for text in seeds + list(mutants(seeds, marks, random.Random(1))):
            agree(self, ours, theirs, text)

    def test_json5_texts_never_break_the_reader(self):
        marks = ["{", "}", "[", "]", ",", ":", '"', "'", "\\", "/*", "*/", "//", "0x", ".", "+",
                 "Infinity", "\\u00", "\u2028", "\r", "\n", "$", "é"]
        for text in mutants(list(texts("openclaw")), marks, random.Random(2)):
            try:
                install.JsonReader(text, install.JSON5).read()
            except install.BadText as error:
                self.assertTrue(0 <= error.offset <= len(text))


class EditTest(unittest.TestCase):
    def test_whatever_is_accepted_is_edited_and_given_back(self):
        """For texts made by chance: refused, or wired so that unwiring is the exact inverse."""
        validator = install.Validator("/home/u/.brask", "/home/u")
        marks = ["{}", "[]", "/* c */", "// c\n", ",", "\n", "\r\n", " ", "\t", '"hooks":{},',
                 '"mcp":{}', "# c\n", "[a]\n", "a=1\n", "\n\n"]
        edited = 0
        further = install.further(validator)
        for tool in [file for key, tool in install.tools(validator).items()
                     for file in [tool] + further[key]]:
            # Tools without a corpus of their own have files of the same formats.
            folder = {"hooks": "claude", "event-lists": "claude"}.get(
                tool.described["format"], "cursor")
            folder = tool.key if (CORPUS / tool.key).is_dir() and tool.record == tool.key \
                else folder
            seeds = [path.with_suffix(".in").read_bytes().decode("utf-8-sig")
                     for path in sorted((CORPUS / folder).glob("*.out"))]
            if tool.described["format"] == "own-file":
                seeds = ["", "\n", "{}"]
            for text in mutants(seeds, marks, random.Random(3)):
                try:
                    if tool.state(text) != "absent":
                        continue
                    hints = install.Hints()
                    new = tool.add(text, hints).text
                except install.BadText:
                    continue
                edited += 1
                self.assertEqual("wired", tool.state(new), repr(text))
                self.assertEqual(text, tool.remove(new, install.Hints(hints.record())), repr(text))
                self.assertEqual(tool.others(text), tool.others(new))
        self.assertGreater(edited, ROUNDS // 3)


@unittest.skipIf(tomllib is None, "this Python has no TOML reader of its own (from 3.11 on)")
class TomlTest(unittest.TestCase):
    def test_agrees_with_the_standard_reader(self):
        marks = ["[", "]", "[[", "]]", ".", "=", '"', "'", '"""', "'''", "\\", "#", ",", "{", "}",
                 "\n", "\r\n", "\r", "1", "_", "-", "e", "a", "\n[a]\n", "\na.b = 1\n", "true",
                 "\x00", "\x7f", "\\u00e9", "0x", ":", "é"]
        seeds = list(texts("codex"))
        for text in seeds + list(mutants(seeds, marks, random.Random(4))):
            found = agree(self, lambda t: install.TomlReader(t).read(), self.theirs, text)
            if found is not None:
                self.assertEqual(self.shape(tomllib.loads(text.replace("\r\n", "\n"))),
                                 self.shape(install.toml_outline(found.root)), repr(text))

    @staticmethod
    def theirs(text):
        return [tomllib.loads(text)]

    def shape(self, value):
        """Tables by key, arrays by length, strings as they are, other scalars as one."""
        if isinstance(value, dict):
            return {key: self.shape(child) for key, child in value.items()}
        if isinstance(value, list):
            return [self.shape(child) for child in value]
        if isinstance(value, tuple):
            value = value[1] if value[0] == "string" else 0
        return value.replace("\r\n", "\n") if isinstance(value, str) else 0


if __name__ == "__main__":
    unittest.main()
