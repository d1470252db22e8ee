#!/usr/bin/env python3
"""The installer that ships is its modules, joined, and the joiner refuses what cannot be joined.

    joined_installer_test.py KIT...

Each KIT is a folder that ships.
"""

import importlib.util
import os
import pathlib
import sys
import tempfile
import textwrap
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
MODULES = ROOT / "resources/kit/installer"
TOOLS = ROOT / "resources/tools.json"
KITS = [pathlib.Path(argument) for argument in sys.argv[1:]]

spec = importlib.util.spec_from_file_location("join_installer", ROOT / "cmake/join_installer.py")
join = importlib.util.module_from_spec(spec)
spec.loader.exec_module(join)


class ShippedTest(unittest.TestCase):
    def test_is_the_modules_byte_for_byte(self):
        self.assertTrue(KITS, "no kit was named")
        wanted = join.joined(MODULES, TOOLS.read_text(encoding="utf-8")).encode("utf-8")
        for kit in KITS:
            with self.subTest(kit=kit):
                self.assertEqual(wanted, (kit / "brask_install.py").read_bytes())
                self.assertTrue(os.access(kit / "brask_install.py", os.X_OK))

    def test_holds_the_whole_table_and_every_module(self):
        for kit in KITS:
            text = (kit / "brask_install.py").read_text(encoding="utf-8")
            self.assertIn("r'''%s'''" % TOOLS.read_text(encoding="utf-8"), text)
            for path in MODULES.glob("*.py"):
                self.assertIn(path.name, text)

    def test_the_rest_of_the_kit_is_the_one_of_the_source(self):
        def files(folder):
            return {str(path.relative_to(folder)): path.read_bytes()
                    for path in folder.rglob("*") if path.is_file() and path.suffix != ".pyc"}
        wanted = {name: data for name, data in files(ROOT / "resources/kit").items()
                  if name != "CMakeLists.txt" and not name.startswith("installer")}
        for kit in KITS:
            with self.subTest(kit=kit):
                found = files(kit)
                found.pop("brask_install.py")
                self.assertEqual(sorted(wanted), sorted(found))
                self.assertEqual([], [name for name in wanted if wanted[name] != found[name]])


class JoinerTest(unittest.TestCase):
    GOOD = {"front.py": '#!/usr/bin/env python3\n"""What it is."""\n\nimport sys\n',
            "data.py": '"""Data."""\n\nimport json\n\nTOOLS_JSON = ""\n\n\ndef one():\n    return 1\n',
            "cli.py": '"""The command line.\n\nMore of it.\n"""\n\nimport json\nfrom os import path\n\n'
                      'from .data import TOOLS_JSON, one\n\nprint(one(), json.loads(TOOLS_JSON), path)\n'}

    def joined(self, **changed):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            for file, text in dict(self.GOOD, **{k + ".py": v for k, v in changed.items()}).items():
                (folder / file).write_text(text, encoding="utf-8")
            return join.joined(folder, '{"a": "\\\\"}\n')

    def test_joins_in_order_with_the_imports_at_the_top(self):
        self.assertEqual(textwrap.dedent('''\
            #!/usr/bin/env python3
            # Made by the build from front.py, data.py, cli.py in the folder `installer`, and from tools.json.
            # Change those, not this.
            """What it is."""

            import sys

            import json
            from os import path


            # ---- data.py: Data %s


            TOOLS_JSON = r\'\'\'{"a": "\\\\"}
            \'\'\'


            def one():
                return 1


            # ---- cli.py: The command line %s
            # More of it.


            print(one(), json.loads(TOOLS_JSON), path)
            ''') % ("-" * 79, "-" * 68), self.joined())

    def test_the_same_modules_make_the_same_bytes(self):
        self.assertEqual(self.joined(), self.joined())

    def test_refuses_what_cannot_be_joined(self):
        cli = self.GOOD["cli.py"]
        for word, changed in (
                ("a circle", {"data": self.GOOD["data.py"] + "\nfrom .cli import one\n"}),
                ("is also in", {"cli": cli + "\n\ndef one():\n    return 2\n"}),
                ("nobody imports", {"extra": '"""Extra."""\n'}),
                ("has no two", {"cli": cli.replace("TOOLS_JSON, one", "TOOLS_JSON, two")}),
                ("no module", {"cli": cli.replace(".data", ".date")}),
                ("only “from", {"cli": cli.replace("import TOOLS_JSON, one", "import one as two")}),
                ("only “from", {"cli": cli.replace("import TOOLS_JSON, one", "import *")}),
                ("only “from", {"cli": cli + "\nfrom . import data\n"}),
                ("another name", {"cli": cli + "\nimport os as system\n"}),
                ("places for the table", {"data": self.GOOD["data.py"].replace('= ""', '= "x"')}),
                ("nowhere what it is", {"cli": cli.replace('"""', "#", 1).replace('\n\nMore of it.\n"""', "")})):
            with self.subTest(word=word):
                with self.assertRaisesRegex(join.Wrong, word):
                    self.joined(**changed)
        with self.assertRaises(SyntaxError):
            self.joined(cli=cli + "\nif\n")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
