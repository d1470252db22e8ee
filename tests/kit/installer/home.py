"""A made-up home folder and the installer loaded as a module: what the tests of this folder share."""

import contextlib
import hashlib
import importlib.util
import io
import os
import pathlib
import shutil
import stat
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[3]
KIT = pathlib.Path(os.environ.get("KELVANE_KIT") or ROOT / "build" / "dev" / "kit")
SCRIPT = KIT / "brask_install.py"  # the one that ships, as the build joined it
CORPUS = ROOT / "tests" / "kit" / "corpus"
CORPUS_HOME = b"/home/u"  # the home folder that the corpus was written for
# Every write is flushed to the disk, so that memory makes the tests many times as quick.
MEMORY = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None

FILES = {"claude": ".claude/settings.json", "codex": ".codex/config.toml",
         "openclaw": ".openclaw/openclaw.json", "cursor": ".cursor/mcp.json"}
MARKERS = {"claude": (b"validate.py", b"--harness claude"), "codex": (b"[mcp_servers.trevix]",),
           "openclaw": (b"trevix",), "cursor": (b"trevix",)}


def load():
    sys.dont_write_bytecode = True
    spec = importlib.util.spec_from_file_location("brask_install", str(SCRIPT))
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


install = load()


class Result:
    def __init__(self, code, out, err):
        self.code, self.out, self.err = code, out, err


class HomeTest(unittest.TestCase):
    """Each test has a home folder of its own with the validator in place."""

    def setUp(self):
        self.home = os.path.realpath(tempfile.mkdtemp(prefix="kit-", dir=MEMORY))
        self.addCleanup(shutil.rmtree, self.home, True)
        os.mkdir(os.path.join(self.home, ".brask"), 0o700)
        self.put(".brask/validate.py", b"print('validator')\n")
        self.env = {"HOME": self.home, "PATH": "/usr/bin:/bin"}

    def at(self, name):
        return os.path.join(self.home, name)

    def put(self, name, data, mode=None):
        path = self.at(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(data)
        if mode is not None:
            os.chmod(path, mode)
        return path

    def get(self, name):
        with open(self.at(name), "rb") as file:
            return file.read()

    def run_main(self, *arguments, **env):
        out, err = io.StringIO(), io.StringIO()
        with contextlib.redirect_stderr(err), contextlib.redirect_stdout(out):
            try:
                code = install.main(list(arguments), dict(self.env, **env), out, err)
            except SystemExit as stop:
                code = stop.code
        return Result(code, out.getvalue(), err.getvalue())

    def wire(self, tool, *more, **env):
        return self.run_main(tool, "--global", *more, **env)

    def unwire(self, tool="all", *more, **env):
        return self.run_main("uninstall", tool, "--global", *more, **env)

    def for_home(self, data):
        """Bytes of the corpus, rewritten for this home folder."""
        return data.replace(CORPUS_HOME, self.home.encode())

    def tree(self, skip=(".brask",)):
        """Everything below the home folder: kind, mode and content by name."""
        found = {}
        for folder, folders, files in os.walk(self.home):
            for name in folders + files:
                path = os.path.join(folder, name)
                short = os.path.relpath(path, self.home)
                if short.split(os.sep)[0] in skip:
                    continue
                info = os.lstat(path)
                if stat.S_ISLNK(info.st_mode):
                    what = os.readlink(path)
                elif stat.S_ISREG(info.st_mode) and info.st_mode & 0o444:
                    with open(path, "rb") as file:
                        what = hashlib.sha256(file.read()).hexdigest()
                else:
                    what = ""
                found[short] = (oct(info.st_mode), what)
        return found

    def strays(self):
        return [name for _, _, names in os.walk(self.home) for name in names
                if name.endswith(".tmp")]
