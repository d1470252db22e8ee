#!/usr/bin/env python3
"""Does scripts/run-team show what it promises, and leave nothing behind, ended early too?

    TREVIX_LOCAL=... run_team_test.py
"""

import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SKIPPED = 77
NEEDED = ["pg_config", "Xvfb", "openbox", "dbus-daemon", "mousepad", "xdotool"]
# Seconds; it only says when something is not going to happen.
LONGEST = 240


def of(folder):
    """The processes that work in a folder or were told of it."""
    found = []
    for entry in pathlib.Path("/proc").iterdir():
        if not entry.name.isdigit() or int(entry.name) == os.getpid():
            continue
        try:
            # The database's processes write over what they were told at their start.
            told = [(entry / "cmdline").read_bytes(), (entry / "environ").read_bytes(),
                    os.fsencode(os.readlink(entry / "cwd"))]
        except OSError:
            continue  # It ended, or is somebody else's.
        if any(os.fsencode(folder) in each for each in told):
            found.append((int(entry.name), told[0].replace(b"\0", b" ")))
    return found


def wait_until(what):
    until = time.monotonic() + LONGEST
    while time.monotonic() < until:
        if what():
            return True
        time.sleep(0.05)
    return False


class RunTeam(unittest.TestCase):
    def setUp(self):
        # Short: the product's socket lies deep in it, and a socket's path has 107 bytes at most.
        folder = tempfile.TemporaryDirectory(prefix="rt")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        # The database's server may be another user's process.
        self.folder.chmod(0o755)

    def start(self, *arguments):
        return subprocess.Popen([sys.executable, "-B", ROOT / "scripts/run-team", *arguments], text=True,
                                env={**os.environ, "TMPDIR": str(self.folder)}, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def leaves_nothing(self):
        wait_until(lambda: not of(self.folder))
        self.assertEqual(of(self.folder), [])
        self.assertEqual(sorted(self.folder.rglob("*")), [])

    def test_tells_what_ran_where_and_leaves_nothing(self):
        process = self.start("--works", "4")
        said = process.communicate(timeout=LONGEST)[0]
        self.assertEqual(process.returncode, 0, said)
        lines = said.splitlines()
        self.assertEqual(lines[0].split(), ["key", "taken", "in", "by", "judged", "by", "verdict"], said)
        rows = [re.fullmatch(r"(\w+) +(api \d) +(worker \d) +(\w+)", line) for line in lines[1:5]]
        self.assertTrue(all(rows), said)
        self.assertEqual([(row[1], row[2]) for row in rows],
                         [("ada", "api 1"), ("grace", "api 1"), ("ada", "api 2"), ("grace", "api 2")])
        for who, where in [("ada", "api 1"), ("grace", "api 2")]:
            self.assertIn(f"brask grade, {who}, {where} (status 1):\n", said)
        self.assertRegex(said, r"\nkelvane --grade, hedy, api 1: completed, run_\w+\n")
        self.assertIn("\n4 works, each with one verdict, seen by its own key alone.\n", said)
        self.leaves_nothing()

    def test_ended_early_it_leaves_nothing_either(self):
        # More than it ever gets to: it is ended among them.
        process = self.start("--works", "100000")
        self.addCleanup(process.kill)
        self.assertTrue(wait_until(lambda: any('"judged"' in log.read_text(encoding="utf-8", errors="replace")
                                               for log in self.folder.glob("trevix-team-*/service.log"))))
        self.assertGreaterEqual(len(of(self.folder)), 6)  # The script, the database, and the team.
        process.send_signal(signal.SIGTERM)
        said = process.communicate(timeout=LONGEST)[0]
        self.assertEqual(process.returncode, 130, said)
        self.leaves_nothing()


if __name__ == "__main__":
    missing = [name for name in NEEDED if not shutil.which(name)]
    if missing:
        print(f"NOT TESTED: there is no {', '.join(missing)} here: scripts/bootstrap test desktop")
        sys.exit(SKIPPED)
    unittest.main()
