"""Which files below a folder are graded."""

import os
import time
import unittest

import surroundings
from engine import folders


class Below(surroundings.HomeTest):
    def listed(self, folder="."):
        root = os.path.join(str(self.work), folder)
        listing = folders.below(root)
        self.assertEqual(listing.left, ())
        return [os.path.relpath(name, root).replace(os.sep, "/") for name in listing.files]

    def files(self, *names):
        for name in names:
            self.write(name, "x\n")

    def test_files_of_a_known_kind_in_their_order(self):
        self.files("b.py", "a.md", "c/d.csv", "c/a.sh", "thing.o", "LICENSE-2")
        self.assertEqual(self.listed(), ["a.md", "b.py", "c/a.sh", "c/d.csv"])

    def test_hidden_folders_packages_and_caches_are_left_out(self):
        self.files("a.py", ".git/b.py", ".cache/c.py", "node_modules/d.js", "x/__pycache__/e.py")
        self.assertEqual(self.listed(), ["a.py"])

    def test_links_are_not_followed(self):
        self.files("a/one.py")
        os.symlink(str(self.work / "a"), str(self.work / "b"))
        os.symlink("one.py", str(self.work / "a" / "two.py"))
        self.assertEqual(self.listed(), ["a/one.py"])

    def test_what_git_ignores_is_left_out(self):
        self.files("a.py", "gen/b.py", "src/gen/c.py", "src/d.tmp.py", "src/keep.tmp.py",
                   "out.py", "src/out.py", "doc/x/y/z.md", "doc/z.md", "s1.py", "s2.py", "t x.py")
        self.write(".gitignore", "# made\ngen/\n*.tmp.py\n!keep.tmp.py\n/out.py\n"
                                 "doc/**/z.md\ns[!2].py\nt\\ x.py\n\n")
        self.assertEqual(self.listed(), ["a.py", "s2.py", "src/keep.tmp.py", "src/out.py"])

    def test_the_nearest_exclusions_decide(self):
        self.files("a/one.py", "a/two.py", "b/one.py")
        self.write(".gitignore", "one.py\n")
        self.write("a/.gitignore", "!one.py\n/two.py\n")
        self.assertEqual(self.listed(), ["a/one.py"])

    def test_a_folder_within_a_project_is_under_its_exclusions(self):
        os.mkdir(str(self.work / ".git"))
        self.files("src/a.py", "src/b.py", "src/sub/b.py")
        self.write(".gitignore", "/src/b.py\n")
        self.assertEqual(self.listed("src"), ["a.py", "sub/b.py"])

    def test_too_many_files_are_told(self):
        before, folders.MOST_FILES = folders.MOST_FILES, 3
        try:
            self.files("a.py", "b.py", "c.py", "d.py")
            listing = folders.below(str(self.work))
        finally:
            folders.MOST_FILES = before
        self.assertEqual(len(listing.files), 3)
        self.assertIn("more than 3 files", listing.left[0])

    def test_a_folder_that_is_not_there_is_told(self):
        listing = folders.below(str(self.work / "none"))
        self.assertEqual(listing.files, ())
        self.assertIn("No such file", listing.left[0])

    def test_hostile_patterns_end_soon(self):
        self.files("a" * 200 + ".py")
        self.write(".gitignore", ("*a" * 6 + "b\n") * 20 + "*" * 299 + "\n[\n[z-a]\n" + "*?" * 100)
        began = time.process_time()
        folders.below(str(self.work))
        self.assertLess(time.process_time() - began, 60)


if __name__ == "__main__":
    unittest.main()
