"""The engine's modules import from one another in one direction only, lazy imports included."""

import ast
import os
import unittest

from surroundings import KIT

ENGINE = os.path.join(str(KIT), "standing", "engine")


def needed(path):
    """The modules of the engine that a module imports, wherever in it."""
    with open(path, encoding="utf-8") as file:
        tree = ast.parse(file.read())
    for node in ast.walk(tree):
        if isinstance(node, ast.ImportFrom) and node.level == 1:
            for name in [node.module] if node.module else [alias.name for alias in node.names]:
                if os.path.exists(os.path.join(ENGINE, name + ".py")):
                    yield name


class ModulesTest(unittest.TestCase):
    def test_no_circle(self):
        left = {name[:-3]: set(needed(os.path.join(ENGINE, name)))
                for name in os.listdir(ENGINE) if name.endswith(".py")}
        self.assertIn("reachability", left["hook"])
        while left:
            free = {name for name, needs in left.items() if not needs & set(left)}
            self.assertTrue(free, "a circle among " + ", ".join(sorted(left)))
            left = {name: needs for name, needs in left.items() if name not in free}


if __name__ == "__main__":
    unittest.main()
