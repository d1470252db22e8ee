#!/usr/bin/env python3
"""Does the service manager take the units of the local service as they are?

    units_test.py SOURCE TREVIX_LOCAL

Has systemd read them, without running any, and looks that they name what the service understands.
Exits with 77 where there is no systemd-analyze.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(sys.argv[1]).resolve()
SERVICE = pathlib.Path(sys.argv[2]).resolve()
UNITS = SOURCE / "resources/systemd"


def words_of(service):
    """The words of the service's ExecStart line."""
    return re.search(r"^ExecStart=(.*)$", service, re.M).group(1).split()


class Units(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        for unit in UNITS.glob("*.socket"):
            shutil.copy(unit, self.folder)
        text = (UNITS / "trevix-local.service.in").read_text(encoding="utf-8")
        self.service = text.replace("@KELVANE_BIN_DIR@", str(SERVICE.parent))
        (self.folder / "trevix-local.service").write_text(self.service, encoding="utf-8")

    def verified(self):
        runtime = self.folder / "run"
        runtime.mkdir(mode=0o700, exist_ok=True)
        return subprocess.run(
            ["systemd-analyze", "--user", "--man=no", "verify",
             *sorted(map(str, self.folder.glob("trevix-local*")))],
            capture_output=True, text=True, timeout=60, check=False,
            env={**os.environ, "XDG_RUNTIME_DIR": str(runtime), "LC_ALL": "C"})

    def test_systemd_has_nothing_to_say_about_them(self):
        result = self.verified()
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))

    def test_systemd_would_have_something_to_say(self):
        broken = self.service.replace("KillMode=mixed", "KillMode=sometimes")
        (self.folder / "trevix-local.service").write_text(broken, encoding="utf-8")
        self.assertIn("kill mode", self.verified().stderr)

    def of_a_team(self, change=lambda text: text):
        """What systemd says of the unit of a team's processes."""
        text = (UNITS / "system/trevix-team@.service.in").read_text(encoding="utf-8")
        unit = self.folder / "trevix-team@.service"
        unit.write_text(change(text.replace("@KELVANE_BIN_DIR@", str(SERVICE.parent))), encoding="utf-8")
        instance = self.folder / "trevix-team@worker.service"
        instance.symlink_to(unit.name)
        self.addCleanup(instance.unlink)
        result = subprocess.run(["systemd-analyze", "--man=no", "verify", instance], capture_output=True,
                                text=True, timeout=60, check=False, env={**os.environ, "LC_ALL": "C"})
        # Of this machine's own units it speaks too.
        return [line for line in result.stderr.splitlines() if "trevix-team" in line]

    def test_systemd_has_nothing_to_say_about_those_of_a_team(self):
        self.assertEqual(self.of_a_team(), [])

    def test_systemd_would_have_something_to_say_about_those_of_a_team(self):
        self.assertTrue(self.of_a_team(lambda text: text.replace("KillMode=mixed", "KillMode=sometimes")))

    def test_nothing_is_left_to_be_filled_in(self):
        for unit in self.folder.glob("trevix-local*"):
            self.assertNotIn("@KELVANE", unit.read_text(encoding="utf-8"), unit)

    def test_the_service_understands_how_it_is_started(self):
        program, *arguments = words_of(self.service)
        # Its own check of the arguments comes first; --print-key keeps it from serving.
        result = subprocess.run([program, *arguments, "--print-key", "--data", self.folder / "data"],
                                capture_output=True, text=True, timeout=60, check=False)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertTrue(result.stdout.startswith("trevix_local_"))

    def test_the_sockets_are_those_that_the_service_has_by_itself(self):
        usage = subprocess.run([SERVICE, "--help"], capture_output=True, text=True, timeout=60,
                               check=True).stdout
        streams = [line.partition("=")[2] for unit in sorted(self.folder.glob("*.socket"))
                   for line in unit.read_text(encoding="utf-8").splitlines()
                   if line.startswith("ListenStream=")]
        self.assertEqual(streams, ["127.0.0.1:8797", "%t/trevix-local/api.sock"])
        self.assertIn("(default 8797)", usage)
        self.assertIn("(default $XDG_RUNTIME_DIR/trevix-local/api.sock", usage)


if __name__ == "__main__":
    if shutil.which("systemd-analyze") is None:
        print("units_test: SKIPPED, there is no systemd-analyze here (package systemd)")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])
