#!/usr/bin/env python3
"""Does scripts/release make a release of a commit and of nothing else, and sign what was made?

It runs in made-up checkouts, with a stand-in for scripts/package and a key of gpg's made for the test.
"""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PACKAGE = """#!/bin/sh
[ "$1" = --out ] && mkdir -p "$2" || exit 9
echo "$SOURCE_DATE_EPOCH" >"$2/kelvane_1.2.3_amd64.deb"
mkdir bin
echo the same >bin/always
echo "${STAND_IN_SAYS-the same}" >bin/program
tar --create --sort=name --mtime=@0 --owner=0 --group=0 bin | gzip -n >"$2/kelvane-1.2.3-linux-x86_64.tar.gz"
rm -r bin
"""
CHANGES = "# Changes\n\n## [1.2.3] - 2026-01-02\n\n### Added\n\n* All of it.\n"


class Release(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.work = pathlib.Path(folder.name)
        self.checkout = self.work / "check out"
        self.out, self.again = self.work / "out", self.work / "out-again"
        for name in ["scripts/release", "cmake/package_texts.py"]:
            (self.checkout / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, self.checkout / name)
        version = self.checkout / "resources/kit/standing/engine/version.txt"
        version.parent.mkdir(parents=True)
        version.write_text("1.2.3\n", encoding="ascii")
        (self.checkout / "scripts/package").write_text(PACKAGE, encoding="ascii")
        (self.checkout / "scripts/package").chmod(0o755)
        self.environment = {"PATH": os.environ["PATH"], "HOME": str(self.work),
                            "GIT_CONFIG_GLOBAL": "/dev/null", "GIT_CONFIG_SYSTEM": "/dev/null"}
        self.git("init", "--quiet")
        self.commit(CHANGES)

    def git(self, *arguments):
        subprocess.run(["git", "-C", self.checkout, "-c", "user.name=A", "-c", "user.email=a@b.example",
                        *arguments], check=True, env=self.environment, stdout=subprocess.DEVNULL)

    def commit(self, changes):
        (self.checkout / "CHANGELOG.md").write_text(changes, encoding="utf-8")
        self.git("add", ".")
        self.git("commit", "--quiet", "--message", "x", "--date", "2026-01-02T03:04:05Z")

    def release(self, *arguments, checkout=None, out=None, **environment):
        return subprocess.run([(checkout or self.checkout) / "scripts/release", "--out", out or self.out,
                               *arguments], env={**self.environment, **environment}, text=True,
                              capture_output=True, check=False)

    def refused(self, why, *arguments):
        result = self.release(*arguments)
        self.assertEqual(result.returncode, 1, result.stdout)
        self.assertIn(why, result.stderr)
        self.assertFalse(self.out.exists())

    def made(self):
        return sorted(path.name for path in self.out.iterdir())

    def test_sources_and_packages_with_their_sums(self):
        result = self.release("--tag", "v1.2.3")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.made(), ["SHA256SUMS", "kelvane-1.2.3-linux-x86_64.tar.gz",
                                       "kelvane-1.2.3.tar.gz", "kelvane_1.2.3_amd64.deb"])
        subprocess.run(["sha256sum", "--check", "--quiet", "SHA256SUMS"], cwd=self.out, check=True)
        self.assertEqual((self.out / "SHA256SUMS").read_text(encoding="ascii").count("\n"), 3)
        listed = subprocess.run(["tar", "-tzf", self.out / "kelvane-1.2.3.tar.gz"], text=True, check=True,
                                capture_output=True).stdout
        self.assertIn("kelvane-1.2.3/CHANGELOG.md\n", listed)
        self.assertIn("Skipped signing: KELVANE_SIGN_KEY is not set", result.stdout)

    def test_sources_are_the_same_bytes_from_another_checkout(self):
        self.assertEqual(self.release().returncode, 0)
        other = self.work / "elsewhere"
        subprocess.run(["git", "clone", "--quiet", self.checkout, other], check=True, env=self.environment)
        self.assertEqual(self.release(checkout=other, out=self.work / "out2").returncode, 0)
        self.assertEqual((self.out / "SHA256SUMS").read_bytes(), (self.work / "out2/SHA256SUMS").read_bytes())

    def test_made_twice_and_compared(self):
        result = self.release("--twice")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("the same bytes", result.stdout)
        self.assertFalse(self.again.exists())

    def test_what_differs_the_second_time_is_no_release(self):
        self.checkout.joinpath("scripts/package").write_text(
            PACKAGE.replace('"${STAND_IN_SAYS-the same}"', '"$PWD"'), encoding="ascii")
        self.commit(CHANGES)
        result = self.release("--twice")
        self.assertEqual(result.returncode, 1)
        self.assertIn("it is not the same: {} and {}".format(self.out, self.again), result.stderr)
        # What differs is named, and there to be looked at.
        archive = "kelvane-1.2.3-linux-x86_64.tar.gz"
        self.assertIn(archive + ": Files once/bin/program and again/bin/program differ\n", result.stderr)
        self.assertNotIn("always", result.stderr)
        self.assertNotEqual((self.out / archive).read_bytes(), (self.again / archive).read_bytes())

    def test_what_is_not_released_is_none(self):
        self.commit(CHANGES.replace("[1.2.3] - 2026-01-02", "[Unreleased]"))
        result = self.release()
        self.assertEqual(result.returncode, 1)
        self.assertIn("under [Unreleased]", result.stderr)
        self.assertFalse(self.out.exists())
        # It can be rehearsed, under a version that sorts before.
        self.assertEqual(self.release("--rehearse").returncode, 0)
        self.assertTrue(any(name.startswith("kelvane-1.2.3~git") for name in self.made()))

    def test_version_without_its_changes_is_none(self):
        self.commit(CHANGES.replace("1.2.3", "1.2.2"))
        self.refused("CHANGELOG.md tells of 1.2.2")

    def test_other_tag_is_none(self):
        self.refused("the tag v1.2.4 is not v1.2.3", "--tag", "v1.2.4")

    def test_what_no_commit_has_is_none(self):
        (self.checkout / "CHANGELOG.md").write_text(CHANGES + "* More.\n", encoding="utf-8")
        self.refused("what no commit has")

    def key_home(self):
        """From now on gpg has a home folder of its own, which has to be short for its sockets."""
        home = tempfile.TemporaryDirectory(prefix="gpg")
        self.addCleanup(home.cleanup)
        self.addCleanup(subprocess.run, ["gpgconf", "--homedir", home.name, "--kill", "all"], check=False)
        self.environment["GNUPGHOME"] = home.name

    def key(self):
        """A key of gpg's made for the test, in a home folder of its own."""
        self.key_home()
        subprocess.run(["gpg", "--batch", "--quiet", "--passphrase", "", "--quick-generate-key",
                        "Release <release@b.example>", "ed25519", "sign", "never"], check=True,
                       env=self.environment, stderr=subprocess.DEVNULL)
        return "release@b.example"

    def test_signed_where_there_is_a_key_and_only_what_was_made(self):
        key = self.key()
        result = self.release(KELVANE_SIGN_KEY=key)
        self.assertEqual(result.returncode, 0, result.stderr)
        verify = ["gpg", "--verify", self.out / "SHA256SUMS.asc", self.out / "SHA256SUMS"]
        subprocess.run(verify, check=True, env=self.environment, capture_output=True)
        # On another machine, which builds nothing.
        (self.out / "SHA256SUMS.asc").unlink()
        (self.checkout / "scripts/package").unlink()
        self.assertEqual(self.release("--sign", KELVANE_SIGN_KEY=key).returncode, 0)
        subprocess.run(verify, check=True, env=self.environment, capture_output=True)
        (self.out / "SHA256SUMS.asc").unlink()
        with open(self.out / "kelvane_1.2.3_amd64.deb", "a", encoding="ascii") as file:
            file.write("more")
        result = self.release("--sign", KELVANE_SIGN_KEY=key)
        self.assertEqual(result.returncode, 1)
        self.assertIn("is not what was made", result.stderr)
        self.assertNotIn("SHA256SUMS.asc", self.made())

    def test_what_nobody_listed_is_not_signed(self):
        self.assertEqual(self.release().returncode, 0)
        (self.out / "kelvane_1.2.3_arm64.deb").write_text("slipped in", encoding="ascii")
        result = self.release("--sign", KELVANE_SIGN_KEY=self.key())
        self.assertEqual(result.returncode, 1)
        self.assertIn("is not what was made", result.stderr)
        self.assertNotIn("SHA256SUMS.asc", self.made())

    def test_key_comes_as_the_workflow_hands_it_over(self):
        """Exported in one home, imported in another: what signs has never seen the owner's."""
        self.assertEqual(self.release().returncode, 0)
        key = self.key()
        secret = subprocess.run(["gpg", "--batch", "--armor", "--export-secret-keys", key], check=True,
                                env=self.environment, capture_output=True).stdout
        self.key_home()
        self.assertEqual(self.release("--sign", KELVANE_SIGN_KEY=key).returncode, 1)
        subprocess.run(["gpg", "--batch", "--import"], input=secret, check=True, env=self.environment,
                       capture_output=True)
        result = self.release("--sign", KELVANE_SIGN_KEY=key)
        self.assertEqual(result.returncode, 0, result.stderr)
        subprocess.run(["gpg", "--verify", self.out / "SHA256SUMS.asc", self.out / "SHA256SUMS"], check=True,
                       env=self.environment, capture_output=True)

    def test_key_that_is_not_there_is_an_error(self):
        self.environment["GNUPGHOME"] = str(self.work)
        result = self.release(KELVANE_SIGN_KEY="nobody@b.example")
        self.assertEqual(result.returncode, 1)
        self.assertIn("gpg did not sign", result.stderr)

    def test_nothing_to_sign_is_an_error(self):
        result = self.release("--sign")
        self.assertEqual(result.returncode, 1)
        self.assertIn("nothing to sign", result.stderr)


if __name__ == "__main__":
    unittest.main()
