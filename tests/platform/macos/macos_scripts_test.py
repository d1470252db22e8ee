#!/usr/bin/env python3
"""Do scripts/run, scripts/test and scripts/bootstrap do on macOS what they say?

In a made-up checkout, with stand-ins for the system's name and for every tool that does something.
"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]

# Writes down how it was called; brew knows a prefix, the service says where it listens. By this interpreter
# and no other of its name: one that is looked up by a shell costs many times its start.
STAND_IN = f"#!{sys.executable} -SE\n" + """
import json, os, pathlib, signal, sys, time
name, arguments = os.path.basename(sys.argv[0]), sys.argv[1:]
if name == "uname":
    print("Darwin")
    sys.exit()
with open(os.environ["STAND_IN_JOURNAL"], "a") as journal:
    kept = {key: os.environ.get(key) for key in
            ("HOME", "BRASK_API_BASE", "BRASK_API_KEY", "BRASK_APP_NO_PERSIST")}
    journal.write(json.dumps({"name": name, "arguments": arguments, "kept": kept}) + "\\n")
if name == "brew" and arguments == ["--prefix"]:
    print(os.environ["STAND_IN_PREFIX"])
if name == "trevix-local":
    data = pathlib.Path(arguments[arguments.index("--data") + 1])
    data.mkdir(parents=True, exist_ok=True)
    (data / "key").write_text("a key\\n")
    print("trevix-local listening on http://127.0.0.1:4711", flush=True)
    signal.pause()
"""


class OnMacos(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        place = pathlib.Path(folder.name)
        self.checkout, self.tools, self.prefix = place / "check out", place / "tools", place / "brew"
        for name in ["run", "test", "bootstrap"]:
            copy = self.checkout / "scripts" / name
            copy.parent.mkdir(parents=True, exist_ok=True)
            copy.write_bytes((ROOT / "scripts" / name).read_bytes())
            copy.chmod(0o755)
        for sample in ["launch-note.md", "launch-note-corrected.md"]:
            copy = self.checkout / "docs/samples" / sample
            copy.parent.mkdir(parents=True, exist_ok=True)
            copy.write_text("text")
        self.bundle = self.checkout / "build/release/Kelvane.app/Contents/MacOS/Kelvane"
        for program in [self.tools / "uname", self.tools / "brew", self.tools / "cmake",
                        self.tools / "ctest", self.bundle,
                        self.checkout / "build/release/trevix-local",
                        self.checkout / "scripts/grammars", self.checkout / "scripts/engines",
                        self.checkout / "scripts/real-tools"]:
            program.parent.mkdir(parents=True, exist_ok=True)
            program.write_text(STAND_IN)
            program.chmod(0o755)
        # Everything else that the scripts call, and nothing like apt-get or a display's programs.
        for name in ["bash", "env", "python3", "dirname", "sed", "grep", "mkdir", "mktemp", "rm",
                     "sleep", "cat", "chmod", "kill", "tr", "sort", "basename"]:
            for folder_name in os.environ["PATH"].split(":"):
                if (pathlib.Path(folder_name) / name).exists():
                    (self.tools / name).symlink_to(pathlib.Path(folder_name) / name)
                    break
        self.journal = place / "journal"
        self.environment = {"PATH": str(self.tools), "HOME": str(place / "home"),
                            "STAND_IN_JOURNAL": str(self.journal), "TMPDIR": str(place),
                            "STAND_IN_PREFIX": str(self.prefix)}

    def run_script(self, name, *arguments):
        return subprocess.run([self.checkout / "scripts" / name, *arguments], env=self.environment,
                              capture_output=True, text=True, timeout=60, check=False)

    def calls(self, *names):
        if not self.journal.exists():
            return []
        lines = [json.loads(line) for line in self.journal.read_text().splitlines()]
        return [line for line in lines if line["name"] in names]

    def have(self, *formulas):
        for name in formulas:
            (self.prefix / "opt" / name).mkdir(parents=True)

    def installed(self):
        return [set(call["arguments"][2:]) for call in self.calls("brew")
                if call["arguments"][:1] == ["install"]]

    def test_run_brings_the_product_up_on_the_desktop_that_is_there(self):
        result = self.run_script("run")
        self.assertEqual(result.returncode, 0, result.stderr)
        product, = self.calls("Kelvane")
        self.assertEqual(product["arguments"], [])
        self.assertEqual(product["kept"]["BRASK_API_BASE"], "http://127.0.0.1:4711")
        self.assertEqual(product["kept"]["BRASK_API_KEY"], "a key")

    def test_run_leaves_the_users_home_folder_alone(self):
        self.run_script("run")
        kept = self.calls("Kelvane")[0]["kept"]
        self.assertEqual(kept["HOME"], str(self.checkout / "build/run/home"))
        self.assertEqual(kept["BRASK_APP_NO_PERSIST"], "1")

    def test_run_with_the_own_home_leaves_it_as_it_is(self):
        self.run_script("run", "--own-home")
        kept = self.calls("Kelvane")[0]["kept"]
        self.assertEqual(kept["HOME"], self.environment["HOME"])
        self.assertIsNone(kept["BRASK_APP_NO_PERSIST"])

    def test_run_says_that_there_is_no_virtual_desktop(self):
        for arguments in (["--virtual"], ["--editor", "vi"]):
            result = self.run_script("run", *arguments)
            self.assertEqual(result.returncode, 1)
            self.assertIn("no virtual desktop on macOS", result.stderr)
        self.assertEqual(self.calls("brew", "cmake", "Kelvane"), [])

    def test_test_builds_and_passes_everything_once(self):
        result = self.run_script("test")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual([call["arguments"] for call in self.calls("cmake", "ctest")],
                         [["--preset", "dev", "--log-level=WARNING"], ["--build", "--preset", "dev"],
                          ["--preset", "dev"]])
        self.assertEqual(len(self.calls("real-tools")), 0)
        self.assertEqual(len(self.calls("grammars")), 1)

    def test_test_gets_the_real_tools_when_it_is_asked_to(self):
        result = self.run_script("test", "--real-tools")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(len(self.calls("real-tools")), 1)

    def test_bootstrap_installs_what_is_missing(self):
        self.have("cmake", "qt", "python")
        result = self.run_script("bootstrap", "build")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.installed(), [{"ninja", "pkgconf", "nlohmann-json", "utf8proc",
                                             "libpng", "boost", "nettle", "sqlite", "re2",
                                             "tree-sitter", "cmark-gfm", "hunspell", "tesseract",
                                             "poppler", "curl", "openssl@3", "libzip",
                                             "pugixml", "node", "libpq"}])
        self.assertEqual(len(self.calls("grammars")), 1)

    def test_bootstrap_does_nothing_when_everything_is_there(self):
        self.run_script("bootstrap", "build", "test", "desktop")
        self.have(*self.installed()[0])
        self.journal.unlink()
        result = self.run_script("bootstrap", "build", "test", "desktop")
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))
        self.assertEqual(self.installed(), [])

    def test_bootstrap_needs_nothing_for_checking_the_macos_build_there(self):
        result = self.run_script("bootstrap", "macos-check")
        self.assertEqual((result.returncode, self.installed()), (0, []))

    def test_bootstrap_does_not_take_a_group_that_there_is_not(self):
        result = self.run_script("bootstrap", "everything")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("no group 'everything'", result.stderr)
        self.assertEqual(self.installed(), [])


if __name__ == "__main__":
    unittest.main()
