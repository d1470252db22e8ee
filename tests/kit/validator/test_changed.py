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


class TeamTest(RepositoryTest):
    """The step of the workflow action, and the hook of the pre-commit framework."""

    ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), *[os.pardir] * 3))

    def step(self, **inputs):
        """The step's exit code and outputs."""
        told = os.path.join(str(self.home), "outputs")
        done = subprocess.run(["bash", os.path.join(self.ROOT, "scripts", "grade-action")],
                              env=dict({"PATH": os.environ["PATH"], "HOME": str(self.home),
                                        "GITHUB_OUTPUT": told, "BRASK_API_KEY": "k",
                                        "SERVICE": "http://127.0.0.1:%d" % closed_port()}, **inputs),
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        with open(told, encoding="utf-8") as file:
            outputs = dict(line.rstrip("\n").split("=", 1) for line in file)
        os.unlink(told)
        with open(outputs["sarif"], encoding="utf-8") as file:
            run = json.load(file)["runs"][0]
        self.assertEqual(str(done.returncode), outputs["exit-code"])
        return done.returncode, run["invocations"][0]["toolExecutionNotifications"]

    def test_the_step_grades_what_changed_and_ends_with_the_verdict(self):
        self.assertEqual((0, []), self.step(SINCE="HEAD", SARIF="empty.sarif"))
        self.write("a b.py", "2\n")
        code, troubles = self.step(SINCE="HEAD")
        self.assertEqual((3, 1), (code, len(troubles)))
        self.assertTrue(troubles[0]["message"]["text"].startswith("a b.py: "))

    def test_the_step_takes_names_and_no_patterns_or_options(self):
        code, troubles = self.step(FILES="a.py *.md --json", SARIF="out.sarif")
        self.assertEqual(3, code)
        names = [trouble["message"]["text"].split(":")[0] for trouble in troubles]
        self.assertEqual(["a.py", "*.md", "--json"], names)

    def test_the_hook_names_a_program_that_is_there(self):
        with open(os.path.join(self.ROOT, ".pre-commit-hooks.yaml"), encoding="utf-8") as file:
            entry, = [line.split(": ", 1)[1].split() for line in file if "entry:" in line]
        program = os.path.join(self.ROOT, entry[0])
        self.assertTrue(os.access(program, os.X_OK))
        done = subprocess.run([program] + entry[1:] + ["a.py"], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, env={"PATH": os.environ["PATH"],
                                                           "HOME": str(self.home)}, check=False)
        self.assertEqual((3, b""), (done.returncode, done.stderr))
        self.assertIn(b"there is no key", done.stdout)

    def test_the_action_hands_its_inputs_on_as_environment_only(self):
        with open(os.path.join(self.ROOT, "action.yml"), encoding="utf-8") as file:
            script = [line for line in file if line.strip().startswith("run:")]
        self.assertEqual(1, len(script))
        self.assertNotIn("${{", script[0])


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
