#!/usr/bin/env python3
"""Are the workflows well-formed, and does everything that they call exist?"""

import os
import pathlib
import re
import unittest

import yaml

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
WORKFLOWS = ROOT / ".github/workflows"


def read(name):
    # YAML 1.1 takes a bare "on" for a truth value.
    found = yaml.safe_load((WORKFLOWS / name).read_text(encoding="utf-8"))
    found["on"] = found.pop(True)
    return found


def jobs():
    for file in sorted(WORKFLOWS.iterdir()):
        for name, job in read(file.name)["jobs"].items():
            yield f"{file.name}: {name}", job


def commands(job):
    """The lines of shell, each a whole command."""
    for step in job["steps"]:
        yield from re.sub(r"\\\n\s*", "", step.get("run", "")).splitlines()


# Runs what was downloaded to build or to test with: package managers, compilers, what they made.
OTHERS = re.compile(r"\b(npm|npx|node|brew|apt-get|apt|pip|cmake|ctest)\b|scripts/(bootstrap|test|check|grammars|"
                    r"engines|real-tools|run|package)(?![\w-])|package-macos(?! --sign)|scripts/release(?! --sign)")


def needed(found, job):
    """The names of all jobs that have to pass before it."""
    names = job.get("needs", [])
    names = {names} if isinstance(names, str) else set(names)
    return names.union(*(needed(found, found[name]) for name in names))


class Workflows(unittest.TestCase):
    def test_there_is_one_for_every_change_and_one_for_releases(self):
        self.assertEqual(sorted(file.name for file in WORKFLOWS.iterdir()),
                         ["build.yml", "release.yml"])
        self.assertIn("pull_request", read("build.yml")["on"])
        self.assertEqual(read("release.yml")["on"], {"push": {"tags": ["v*"]}})

    def test_every_job_says_where_it_runs_and_for_how_long(self):
        for name, job in jobs():
            self.assertIn("runs-on", job, name)
            self.assertIn("timeout-minutes", job, name)
            self.assertTrue(job["steps"], name)

    def test_every_step_is_a_command_or_an_action_of_a_fixed_version(self):
        for name, job in jobs():
            for step in job["steps"]:
                self.assertEqual(("run" in step) + ("uses" in step), 1, f"{name}: {step}")
                if "uses" in step:
                    self.assertRegex(step["uses"], r"^[\w-]+/[\w-]+@v\d+$", name)

    def test_the_source_is_there_before_anything_of_it_is_called(self):
        for name, job in jobs():
            kinds = [step.get("uses", "").split("@")[0] or step["run"] for step in job["steps"]]
            out = kinds.index("actions/checkout")
            for kind in kinds[:out]:
                self.assertNotRegex(kind, r"\bscripts/|\bcmake\b", name)

    def test_every_script_that_is_called_exists_and_can_be_run(self):
        called = set()
        for _, job in jobs():
            for line in commands(job):
                called.update(re.findall(r"(?:^|[\s;&|])((?:scripts|\.ci)/[\w.-]+)", line))
        self.assertIn("scripts/package-macos", called)
        for script in called:
            self.assertTrue(os.access(ROOT / script, os.X_OK), script)

    def test_nothing_is_kept_before_all_tests_have_passed(self):
        for file in sorted(WORKFLOWS.iterdir()):
            found = read(file.name)["jobs"]
            tested = {name for name, job in found.items()
                      if "scripts/test --real-tools" in commands(job)}
            self.assertTrue(tested, file.name)
            for name, job in found.items():
                steps = [step.get("run", "").strip() or step["uses"] for step in job["steps"]]
                kept = [i for i, step in enumerate(steps) if step.startswith("actions/upload")]
                if not kept:
                    continue
                if name in tested:
                    self.assertLess(steps.index("scripts/test --real-tools"), kept[0], name)
                else:
                    self.assertTrue(needed(found, job) & tested, f"{file.name}: {name}")

    def test_every_change_is_checked_quickly_and_in_full(self):
        found = read("build.yml")["jobs"]
        self.assertIn("scripts/check --quick", list(commands(found["debian"])))
        script = (ROOT / "scripts/check").read_text(encoding="utf-8")
        parts = re.search(r"else parts=\(([\w ]+)\)", script).group(1).split()
        self.assertEqual(found["check"]["strategy"]["matrix"]["part"], parts)

    def test_what_others_wrote_never_runs_beside_the_identity(self):
        with_identity = {name: job for name, job in jobs() if "secrets." in str(job) or "SIGN" in str(job)}
        self.assertEqual(sorted(with_identity), ["release.yml: sign-linux", "release.yml: sign-macos"])
        for name, job in with_identity.items():
            for line in commands(job):
                self.assertNotRegex(line, OTHERS, name)
            self.assertNotIn("actions/cache", str(job), name)
            self.assertNotIn("container", job, name)

    def test_that_would_be_noticed(self):
        for line in ["scripts/bootstrap build", "scripts/package-macos", "scripts/package-macos --stage",
                     "scripts/release --twice", "scripts/test --real-tools", "npm ci", "scripts/package --try"]:
            self.assertRegex(line, OTHERS)
        for line in ["scripts/package-macos --sign", "scripts/release --sign"]:
            self.assertNotRegex(line, OTHERS)

    def test_package_is_tried_on_every_change(self):
        tried = read("build.yml")["jobs"]["try-package"]
        self.assertIn("scripts/package --try", list(commands(tried)))
        self.assertEqual(tried["needs"], "debian")

    def test_every_preset_that_is_named_exists(self):
        presets = (ROOT / "CMakePresets.json").read_text(encoding="utf-8")
        for name, job in jobs():
            for line in commands(job):
                for preset in re.findall(r"--preset (\w+)", line):
                    self.assertIn(f'"name": "{preset}"', presets, name)

    def test_both_systems_are_built_for_every_change(self):
        found = read("build.yml")["jobs"]
        self.assertEqual(found["debian"]["container"], "debian:12")
        self.assertEqual(found["macos"]["runs-on"], "${{ matrix.runner }}")
        for runner in found["macos"]["strategy"]["matrix"]["runner"]:
            self.assertRegex(runner, r"^macos-\d+")

    def test_no_secret_comes_near_a_change_that_is_not_merged(self):
        self.assertNotIn("secrets.", (WORKFLOWS / "build.yml").read_text(encoding="utf-8"))

    def test_nothing_may_write_to_the_repository(self):
        for file in WORKFLOWS.iterdir():
            self.assertEqual(read(file.name)["permissions"], {"contents": "read"}, file.name)


if __name__ == "__main__":
    unittest.main()
