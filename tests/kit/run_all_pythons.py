#!/usr/bin/env python3
"""Do the tests of a folder pass with every Python that people have?

    run_all_pythons.py FOLDER [PATTERN]

The kit runs with whatever `python3` a machine has, so its tests run with each interpreter from 3.8
on that is found: the one that runs this script, `python3` and `python3.N` on PATH, and those below
`$PYENV_ROOT/versions` (or the folder that `pyenv root` names). Every exact version runs once. The
last lines say which ones ran and what was skipped, with the reason. The exit code is 0 when all
passed, 1 when one failed, 77 when every test of every run was skipped.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

OLDEST = (3, 8)
NEWEST_MINOR = 20
PROBE = "import sys; print('%d.%d.%d' % sys.version_info[:3])"


def pyenv_versions():
    """Where pyenv keeps its interpreters; nothing when there is no pyenv."""
    root = os.environ.get("PYENV_ROOT")
    if not root and shutil.which("pyenv"):
        root = subprocess.run(["pyenv", "root"], stdout=subprocess.PIPE,
                              universal_newlines=True).stdout.strip()
    versions = pathlib.Path(root, "versions") if root else None
    if versions is None or not versions.is_dir():
        return []
    return [str(path) for path in sorted(versions.glob("*/bin/python3"))]


def candidates():
    """Every place where an interpreter may be, the one that runs this script first."""
    names = ["python3"] + ["python3.%d" % minor for minor in range(OLDEST[1], NEWEST_MINOR)]
    on_path = [os.path.join(folder, name) for name in names
               for folder in os.environ.get("PATH", "").split(os.pathsep) if folder]
    return [sys.executable] + [path for path in on_path if os.access(path, os.X_OK)] + \
        pyenv_versions()


def interpreters():
    """(version, path) of each distinct version from 3.8 on, oldest first."""
    found = {}
    for path in candidates():
        answer = subprocess.run([path, "-c", PROBE], stdout=subprocess.PIPE,
                                stderr=subprocess.DEVNULL, universal_newlines=True)
        version = tuple(int(part) for part in answer.stdout.strip().split(".") if part)
        if answer.returncode == 0 and version >= OLDEST:
            found.setdefault(version, path)
    return sorted(found.items())


def run(path, folder, pattern):
    """The exit code and the whole report of one run."""
    done = subprocess.run(
        [path, "-B", "-W", "error::SyntaxWarning", "-m", "unittest", "discover", "-v",
         "-s", folder, "-t", folder, "-p", pattern],
        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
        universal_newlines=True, errors="replace")
    return done.returncode, done.stdout


def main(arguments):
    if not 1 <= len(arguments) <= 2 or not os.path.isdir(arguments[0]):
        sys.exit(__doc__)
    folder, pattern = arguments[0], (arguments + ["test_*.py"])[1]
    failed, passed, lines, skipped = 0, 0, [], set()
    for version, path in interpreters():
        code, report = run(path, folder, pattern)
        count = re.search(r"^Ran (\d+) tests? in", report, re.M)
        ran = int(count.group(1)) if count else 0
        reasons = re.findall(r"^.*\.\.\. skipped .*$", report, re.M)
        skipped.update(reasons)
        good = code == 0 and ran > 0
        failed += not good
        passed += ran - len(reasons) if good else 0
        name = ".".join(str(part) for part in version)
        lines.append("python %-8s %4d tests, %d skipped: %s"
                     % (name, ran, len(reasons), "ok" if good else "FAILED"))
        if not good:
            print("==== python %s ====\n%s" % (name, report), flush=True)
    print("\n".join(sorted(skipped) + lines))
    if failed or not lines:
        return 1
    return 0 if passed else 77


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
