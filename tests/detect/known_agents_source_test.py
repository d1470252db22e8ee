#!/usr/bin/env python3
"""A table of agents that is not whole makes no source, and says what is wrong."""

import copy
import importlib.util
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = ROOT / "cmake/known_agents.py"
TABLE = json.loads((ROOT / "resources/tools.json").read_text(encoding="utf-8"))

spec = importlib.util.spec_from_file_location("known_agents", SCRIPT)
known_agents = importlib.util.module_from_spec(spec)
spec.loader.exec_module(known_agents)


class SourceTest(unittest.TestCase):
    def test_refuses_a_table_that_is_not_whole(self):
        def no_fallback(table):
            for agent in table["agents"]:
                if agent["wiring"]:
                    agent["wiring"]["wiredWhenNoneIsFound"] = False
        for word, spoil in (
                ("there twice", lambda t: t["agents"].append(t["agents"][4])),
                ("each agent with a wiring once", lambda t: t["wiringOrder"].pop()),
                ("each agent with a wiring once", lambda t: t["wiringOrder"].append("codex")),
                ("each agent with a wiring once", lambda t: t["wiringOrder"].append("ollama")),
                ("no kind 'robot'", lambda t: t["agents"][0].update(kind="robot")),
                ("is not a text", lambda t: t["agents"][0].update(name="")),
                ("is not a text", lambda t: t["agents"][0].update(name="a\nb")),
                ("is not a list", lambda t: t["agents"][0].update(bundleIds="one")),
                ("cannot be a key", lambda t: t["agents"][0]["wiring"].update(key="a b")),
                ("no files or", lambda t: t["agents"][0]["wiring"].update(files=[])),
                ("no files or", lambda t: t["agents"][0]["wiring"].update(homeEntries=[])),
                ("neither true nor", lambda t: t["agents"][0]["wiring"].update(wiredWhenFound=1)),
                ("none would be wired", no_fallback)):
            with self.subTest(word=word):
                table = copy.deepcopy(TABLE)
                spoil(table)
                with self.assertRaisesRegex(known_agents.Wrong, word):
                    known_agents.source(table)

    def test_texts_are_literals_of_the_language(self):
        table = copy.deepcopy(TABLE)
        table["agents"][0]["name"] = 'A "b" \\ é'
        self.assertIn('.name = "A \\"b\\" \\\\ é"', known_agents.source(table))

    def test_a_table_that_is_not_whole_fails_the_build_and_writes_nothing(self):
        with tempfile.TemporaryDirectory() as folder:
            tools, output = pathlib.Path(folder, "tools.json"), pathlib.Path(folder, "made.cpp")
            for text in ("{", "[]", "{}", '{"agents": [{}], "wiringOrder": []}'):
                with self.subTest(text=text):
                    tools.write_text(text, encoding="utf-8")
                    done = subprocess.run([sys.executable, "-B", SCRIPT, tools, output],
                                          stderr=subprocess.PIPE, check=False)
                    self.assertEqual(1, done.returncode)
                    self.assertIn(b"known_agents: ", done.stderr)
                    self.assertNotIn(b"Traceback", done.stderr)
                    self.assertFalse(output.exists())


if __name__ == "__main__":
    unittest.main(verbosity=2)
