"""What changed since a commit, asked of git itself; and many files in one run."""

import json
import os
import subprocess
import threading
import unittest

import surroundings
from surroundings import closed_port
from engine import changed, cli, grading

GIT = {"GIT_AUTHOR_NAME": "a", "GIT_AUTHOR_EMAIL": "a@b", "GIT_COMMITTER_NAME": "a",
       "GIT_COMMITTER_EMAIL": "a@b", "GIT_CONFIG_NOSYSTEM": "1"}


class RepositoryTest(surroundings.HomeTest):
    def setUp(self):
        super().setUp()
        here = os.getcwd()
        self.addCleanup(os.chdir, here)
        os.chdir(str(self.work))
        self.git("init", "-q", "-b", "main", ".")
        for name in ("a.py", "b.md", "gone.py", "notes.xyz", "sub/c.py"):
            self.write(name, "1\n")
        self.commit()

    def git(self, *arguments):
        subprocess.run(["git"] + list(arguments), check=True, stdout=subprocess.DEVNULL,
                       env=dict(os.environ, HOME=str(self.home), **GIT))

    def commit(self):
        self.git("add", "-A")
        self.git("commit", "-q", "-m", "x")


class SinceTest(RepositoryTest):
    def test_what_was_changed_added_or_is_unknown_to_git(self):
        self.git("branch", "before")
        self.write("a.py", "2\n")
        self.write("sub/new.py", "1\n")
        self.commit()
        self.write("b.md", "not committed\n")
        self.write("unknown é\n.md", "not added\n")
        self.write("notes.xyz", "of no kind\n")
        os.unlink("gone.py")
        os.symlink("a.py", "link.py")
        self.assertEqual(["a.py", "b.md", "sub/new.py", "unknown é\n.md"], changed.since("before"))
        self.assertEqual(["b.md", "unknown é\n.md"], changed.since("HEAD"))
        self.assertEqual(["sub/new.py"], changed.since("before", ["sub"]))
        os.chdir("sub")
        self.assertEqual(["new.py"], changed.since("before"))

    def test_what_only_the_other_branch_changed_is_not_ours(self):
        self.git("checkout", "-q", "-b", "work")
        self.write("b.md", "ours\n")
        self.commit()
        self.git("checkout", "-q", "main")
        self.write("a.py", "theirs\n")
        self.commit()
        self.git("checkout", "-q", "work")
        self.assertEqual(["b.md"], changed.since("main"))

    def test_excluded_files_are_not_told(self):
        self.write(".gitignore", "*.md\n")
        self.write("d.md", "x\n")
        self.assertEqual([], changed.since("HEAD"))

    def test_histories_without_a_common_commit(self):
        self.git("checkout", "-q", "--orphan", "other")
        self.write("a.py", "3\n")
        self.commit()
        self.assertEqual(["a.py"], changed.since("main"))

    def test_nothing_that_the_repository_names_is_run(self):
        for key in ("core.fsmonitor", "diff.external", "diff.x.textconv", "core.pager"):
            self.git("config", key, "touch ran; true")
        self.write(".gitattributes", "*.py diff=x\n")
        self.write("a.py", "2\n")
        changed.since("HEAD")
        self.assertFalse(os.path.exists("ran"))

    def test_no_commit_and_no_repository(self):
        for ref in ("nowhere", "HEAD:a.py"):
            with self.assertRaises(changed.NotTold):
                changed.since(ref)
        os.chdir(str(self.home))
        with self.assertRaises(changed.NotTold):
            changed.since("HEAD")


class CommandTest(RepositoryTest):
    def brask(self, *arguments):
        return self.run_kit("grade", *arguments, BRASK_API_KEY="k",
                            BRASK_API_BASE="http://127.0.0.1:%d" % closed_port())

    def test_nothing_changed_is_nothing_held(self):
        code, said, errors = self.brask("--since", "HEAD", "--json")
        self.assertEqual((0, []), (code, json.loads(said.decode())["files"]))
        self.assertIn(b"0 files changed since HEAD", errors)
        code, said, _ = self.brask("--since", "HEAD", "--sarif", "--quiet")
        self.assertEqual((0, []), (code, json.loads(said.decode())["runs"][0]["results"]))

    def test_what_changed_is_graded_and_nothing_else(self):
        self.write("a.py", "2\n")
        code, said, _ = self.brask("--since", "HEAD", "--json")
        self.assertEqual(3, code)
        self.assertEqual(["a.py"], [file["name"] for file in json.loads(said.decode())["files"]])

    def test_a_commit_that_is_none_is_told_and_is_no_verdict(self):
        for ref in ("nowhere", "", "--output=x"):
            code, _, errors = self.brask("--since=" + ref)
            self.assertEqual(3, code)
            self.assertIn(b"brask: ", errors)
        self.assertFalse(os.path.exists("x"))


class AtOnceTest(unittest.TestCase):
    def test_outcomes_stand_in_the_order_of_the_files(self):
        def one(number):
            return grading.not_graded(str(number), "x")
        self.assertEqual([str(n) for n in range(100)],
                         [outcome.name for outcome in cli._at_once(100, one)])

    def test_some_are_on_their_way_at_the_same_time_and_no_more(self):
        together = threading.Barrier(cli.AT_ONCE, timeout=60)
        under_way, most = [], []
        lock = threading.Lock()

        def one(number):
            with lock:
                under_way.append(number)
                most.append(len(under_way))
            together.wait()
            with lock:
                under_way.remove(number)
            return grading.not_graded(str(number), "x")
        cli._at_once(3 * cli.AT_ONCE, one)
        self.assertLessEqual(max(most), cli.AT_ONCE)

    def test_a_defect_in_one_is_not_lost(self):
        def one(number):
            if number == 5:
                raise KeyError(number)
            return grading.not_graded(str(number), "x")
        with self.assertRaises(KeyError):
            cli._at_once(50, one)


if __name__ == "__main__":
    unittest.main()
