"""What wiring costs grows as the file does, and no faster: the application waits for it."""

import os
import time
import unittest

from home import FILES, HomeTest

#: How many times as large the larger file is, and how many times as long it may take. In proportion
#: would be TIMES; quadratic growth would be TIMES squared, 64.
TIMES, MOST = 8, 16
LINES = 800

# What people's files are long with. Each makes a file of about so many lines.
SHAPES = {
    "claude, lines that are all the same":
        lambda lines: b'{\n  "allow": [\n' + b'    "Bash(ls:*)",\n' * lines + b'    ""\n  ]\n}\n',
    "claude, hooks of others": lambda lines: b'{\n  "hooks": {\n    "Stop": [\n' + b",\n".join(
        b'      {"hooks": [{"type": "command", "command": "mine %d"}]}' % number
        for number in range(lines // 4)) + b"\n    ]\n  }\n}\n",
    "codex, projects": lambda lines: b"".join(
        b'[projects."/home/u/work/%d"]\ntrust_level = "trusted"\n\n' % number
        for number in range(lines // 3)),
    "openclaw, comments": lambda lines: b"{\n" + b"  // why not\n" * lines + b"}\n",
    "cursor, servers": lambda lines: b'{\n  "mcpServers": {\n' + b",\n".join(
        b'    "s%d": {"command": "x", "args": []}' % number
        for number in range(lines // 4)) + b"\n  }\n}\n",
}


class GrowthTest(HomeTest):
    def seconds(self, tool, data):
        """The processor's time to wire and unwire the file."""
        self.put(FILES[tool], data)
        start = time.process_time()
        self.assertEqual(0, self.wire(tool).code)
        self.assertEqual(0, self.unwire().code)
        took = time.process_time() - start
        with open(self.at(FILES[tool]), "rb") as file:
            self.assertEqual(data, file.read())
        return took

    def test_no_faster_than_the_file(self):
        for name, shape in SHAPES.items():
            with self.subTest(shape=name):
                tool = name.split(",")[0]
                small = min(self.seconds(tool, shape(LINES)) for _ in range(2))
                large = self.seconds(tool, shape(LINES * TIMES))
                if large / small >= MOST:  # something else may have been in the way
                    large = self.seconds(tool, shape(LINES * TIMES))
                if os.environ.get("KELVANE_SHOW"):
                    print("%s: %.2f s, %.2f s, %.1f times" % (name, small, large, large / small))
                self.assertLess(large / small, MOST)


if __name__ == "__main__":
    unittest.main()
