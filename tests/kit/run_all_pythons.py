#!/usr/bin/env python3
"""Do the tests of a folder pass with every Python that people have?

    run_all_pythons.py FOLDER [PATTERN [SHORT]]

The kit runs with whatever `python3` a machine has, so its tests run with the interpreters from 3.8
on that are found: the one that runs this script, `python3` and `python3.N` on PATH, and those below
`$PYENV_ROOT/versions` (or the folder that `pyenv root` names).

The one that runs this script, the oldest and the newest run every test file that PATTERN names. One
of each version between runs those that SHORT names, which leave out what depends least on the
version and takes longest; without SHORT they run everything too. With KELVANE_ALL_PYTHONS=1 every
exact version runs everything. One more than there are processors run at once, for they wait for services.

The tests find the kit as $COMPILED_KIT, a copy that each interpreter has compiled once: the programs that
they start by the hundred write no bytecode, and would compile all of it each time.

The last lines say which ones ran what, and what was skipped or left out, with the reason. The exit
code is 0 when all passed, 1 when one failed, 77 when every test of every run was skipped.
"""

import concurrent.futures
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

KIT = pathlib.Path(__file__).resolve().parents[2] / "resources" / "kit"
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


def plan(found, own, everything):
    """(version, path, whether in full) of each that runs, and the versions left out: those of
    which another release runs already. `found` is sorted and not empty, `own` is one of it."""
    if everything:
        return [(version, path, True) for version, path in found], []
    in_full = {found[0][0], own, found[-1][0]}
    covered = {version[:2] for version in in_full}
    chosen, left_out = [], []
    for version, path in found:
        if version in in_full:
            chosen.append((version, path, True))
        elif version[:2] not in covered:
            covered.add(version[:2])
            chosen.append((version, path, False))
        else:
            left_out.append(version)
    return chosen, left_out


def run(path, folder, pattern, kit):
    """The exit code and the whole report of one run."""
    for words in (["-m", "compileall", "-q", kit],
                  ["-B", "-m", "unittest", "discover", "-v", "-s", folder, "-t", folder, "-p", pattern]):
        done = subprocess.run(
            [path, "-W", "error::SyntaxWarning"] + words,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            universal_newlines=True, errors="replace", env=dict(os.environ, COMPILED_KIT=kit))
        if done.returncode != 0:
            break
    return done.returncode, done.stdout


def main(arguments):
    if not 1 <= len(arguments) <= 3 or not os.path.isdir(arguments[0]):
        sys.exit(__doc__)
    folder, pattern = arguments[0], (arguments + ["test_*.py"])[1]
    short = arguments[2] if len(arguments) == 3 else pattern
    everything = os.environ.get("KELVANE_ALL_PYTHONS", "0") not in ("", "0")
    chosen, left_out = plan(interpreters(), sys.version_info[:3], everything)
    # The long ones begin first, so that no processor waits for one that began last.
    chosen.sort(key=lambda each: not each[2])
    with tempfile.TemporaryDirectory(prefix="compiled-") as place, \
            concurrent.futures.ThreadPoolExecutor((os.cpu_count() or 1) + 1) as pool:
        kit = os.path.join(place, "kit")
        shutil.copytree(str(KIT), kit, ignore=shutil.ignore_patterns("__pycache__"))
        runs = [pool.submit(run, path, folder, pattern if in_full else short, kit)
                for _, path, in_full in chosen]
    failed, passed, lines, skipped = 0, 0, [], set()
    for (version, _, in_full), done in zip(chosen, runs):
        code, report = done.result()
        count = re.search(r"^Ran (\d+) tests? in", report, re.M)
        ran = int(count.group(1)) if count else 0
        reasons = re.findall(r"^.*\.\.\. skipped .*$", report, re.M)
        skipped.update(reasons)
        good = code == 0 and ran > 0
        failed += not good
        passed += ran - len(reasons) if good else 0
        name = dotted(version)
        lines.append("python %-8s %4d tests%s, %d skipped: %s"
                     % (name, ran, "" if in_full else " of " + short, len(reasons),
                        "ok" if good else "FAILED"))
        if not good:
            print("==== python %s ====\n%s" % (name, report), flush=True)
    lines += ["python %-8s left out, another release of it ran; KELVANE_ALL_PYTHONS=1 runs it too"
              % dotted(version) for version in left_out]
    print("\n".join(sorted(skipped) + lines))
    if failed:
        return 1
    return 0 if passed else 77


def dotted(version):
    return ".".join(str(part) for part in version)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
