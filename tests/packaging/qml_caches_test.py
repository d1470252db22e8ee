#!/usr/bin/env python3
"""Is the drawing compiled to the same code whenever and wherever it is compiled?

    qml_caches_test.py BUILD QMLCACHEGEN
"""

import importlib.util
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "cmake/ordered_qml_caches.py"
BUILD, QMLCACHEGEN = pathlib.Path(sys.argv[1]), sys.argv[2]
# Functions with variables of several types in one register, which is where the compiler's order varies.
DRAWING = """
import QtQml

QtObject {
    id: root

    property real width: 3
    property bool wide: root.width > 4 && other.objectName !== ""
    property string label: root.wide ? root.objectName : other.objectName
    property int count: root.label.length + (root.wide ? 1 : 2)
    readonly property QtObject other: QtObject { objectName: root.wide ? "wide" : root.label + root.count }

    function larger(factor: real): real { return Math.max(root.width * factor, root.count) }
}
"""
# The folders have names of different lengths: what is kept of them moves all that comes after it.
LENGTHS = range(1, 90, 11)

spec = importlib.util.spec_from_file_location("ordered_qml_caches", SCRIPT)
caches = importlib.util.module_from_spec(spec)
spec.loader.exec_module(caches)


class Caches(unittest.TestCase):
    def test_declarations_of_a_function_are_sorted_and_nothing_else_moves(self):
        self.assertEqual(
            caches.ordered("head\ndouble r2_2;\nQVariant r2_1;\nQObject *r2_1;\n// rest\nr2_1 = 3;\n"
                           "int r6_1 = *static_cast<int*>(argumentsPtr[0]);\nbool r2_3;\nint r10_1;\nreturn r2_3;\n"
                           "const double arg2 = r12_1;\nconst double arg1 = r11_1;\nstd::QString r4_1;"),
            "head\nQObject *r2_1;\nQVariant r2_1;\ndouble r2_2;\n// rest\nr2_1 = 3;\n"
            "bool r2_3;\nint r10_1;\nint r6_1 = *static_cast<int*>(argumentsPtr[0]);\nreturn r2_3;\n"
            "const double arg2 = r12_1;\nconst double arg1 = r11_1;\nstd::QString r4_1;")

    def test_gives_the_same_code_in_every_folder(self):
        made = set()
        for length in LENGTHS:
            with tempfile.TemporaryDirectory() as folder:
                place = pathlib.Path(folder) / ("x" * length)
                place.mkdir()
                (place / "Drawing.qml").write_text(DRAWING, encoding="ascii")
                (place / "qmldir").write_text("module Tried\nDrawing 1.0 Drawing.qml\n", encoding="ascii")
                subprocess.run([sys.executable, SCRIPT, QMLCACHEGEN, "--bare", "--resource-path", "/Drawing.qml",
                                "-i", place / "qmldir", "-o", place / "made.cpp", place / "Drawing.qml"],
                               check=True, stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                made.add((place / "made.cpp").read_text(encoding="utf-8"))
        self.assertEqual(len(made), 1)
        self.assertGreater(len(caches.DECLARATION.findall(made.pop())), 5)

    def test_other_commands_are_run_as_they_are(self):
        ran = subprocess.run([sys.executable, SCRIPT, "sh", "-c", 'echo "$0"; exit 7', "a  b"],
                             text=True, capture_output=True, check=False, stdin=subprocess.DEVNULL)
        self.assertEqual((ran.returncode, ran.stdout, ran.stderr), (7, "a  b\n", ""))
        failed = subprocess.run([sys.executable, SCRIPT, QMLCACHEGEN, "-o", "/nowhere/made.cpp", "/nowhere/A.qml"],
                                capture_output=True, check=False, stdin=subprocess.DEVNULL)
        self.assertNotEqual(failed.returncode, 0)
        self.assertNotIn(b"Traceback", failed.stderr)

    def test_the_build_makes_its_own_that_way(self):
        built = list((BUILD / "app/panel/qml/.rcc/qmlcache").glob("*_qml.cpp"))
        self.assertGreater(len(built), 20)
        for path in built:
            code = path.read_text(encoding="utf-8")
            self.assertEqual(caches.ordered(code), code, path.name)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
