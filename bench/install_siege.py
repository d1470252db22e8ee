#!/usr/bin/env python3
"""Is anything lost when installing is killed at any moment?

    bench/install_siege.py KELVANE.APP [--kills N] [--seed N]

Installs the bundle into a home folder of its own, whose coding tools have settings of the user's.
Then, so many times: starts the product as on a first run, or the kit's installer to wire or unwire
a tool, or both at once, and kills all of it after a random time. After each kill every settings
file has to hold all that is the user's, every file of the kit has to be whole, and the installed
program has to be one version, the whole of it. At the end one undisturbed installation has to be
complete and one uninstallation has to leave the settings as they were, byte for byte. The random
numbers start from the seed, which is printed. Ends with 1 when anything was lost.

Needs Linux and no display. Kills only processes whose home folder is the one that it made.
"""

import argparse
import hashlib
import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time

SETTINGS = {
    ".claude/settings.json": '{\n  "model": "mine",\n  "hooks": {"Stop": [{"hooks": [{"type": "command", '
                             '"command": "say done"}]}]}\n}\n',
    ".codex/config.toml": '# mine\nmodel = "mine"\n\n[mcp_servers.other]\ncommand = "other"\n',
    ".openclaw/openclaw.json": '{"theme": "mine", "mcp": {"servers": {"other": {"command": "x"}}}}',
}
USERS = {".claude/settings.json": ('"model": "mine"', "say done"),
         ".codex/config.toml": ("# mine\nmodel = \"mine\"\n", "[mcp_servers.other]"),
         ".openclaw/openclaw.json": ('"theme": "mine"', '"other"')}
TOOLS = ("claude", "codex", "openclaw")
PATIENCE = 120      # seconds for an installation that nobody disturbs


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("bundle", type=pathlib.Path)
    parser.add_argument("--kills", type=int, default=200)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1 << 32))
    options = parser.parse_args()
    print("seed", options.seed)
    with tempfile.TemporaryDirectory(prefix="kelvane-siege-") as folder:
        siege = Siege(pathlib.Path(folder).resolve(), options.bundle.resolve())
        try:
            lost = siege.run(options.kills, random.Random(options.seed))
        finally:
            siege.kill_all()
    for line in lost:
        print("LOST", line)
    print("{} kills, {} losses".format(options.kills, len(lost)))
    return 1 if lost else 0


class Siege:
    def __init__(self, folder, bundle):
        self.folder, self.home = folder, folder / "home"
        (folder / "runtime").mkdir(mode=0o700)
        for name, text in SETTINGS.items():
            (self.home / name).parent.mkdir(parents=True)
            (self.home / name).write_text(text)
        # Two versions that differ in one file: a mixture of them would show.
        self.bundles = []
        for version in ("one", "two"):
            copy = folder / version / "Kelvane.app"
            shutil.copytree(bundle, copy, symlinks=True)
            (copy / "Contents/Resources/version").write_text(version)
            kit = copy / "Contents/Resources/kit"
            (kit / "standing/version.md").write_text(version)
            self.bundles.append(copy)
        self.versions = [tree(copy) for copy in self.bundles]
        self.kits = [tree(copy / "Contents/Resources/kit") for copy in self.bundles]
        self.environment = {
            "HOME": str(self.home), "PATH": os.environ["PATH"], "QT_QPA_PLATFORM": "offscreen",
            "XDG_RUNTIME_DIR": str(folder / "runtime"), "LANG": "C.UTF-8",
            "BRASK_APP_NO_OPEN": "", "BRASK_APP_NO_REFRESH": "", "DBUS_SESSION_BUS_ADDRESS": "disabled:"}

    def run(self, kills, chance):
        began = time.monotonic()
        self.install_undisturbed(0)
        usual = time.monotonic() - began
        print("an installation takes {:.1f} s".format(usual))
        lost = self.losses("the first installation")
        for number in range(kills):
            what = chance.choice(("product", "installer", "both"))
            if what != "installer":
                (self.home / ".brask/validate.py").unlink(missing_ok=True)
                self.start_product(chance.randrange(2))
            if what != "product":
                self.start_installer(*chance.choice(
                    [(tool, "--global") for tool in TOOLS] + [("uninstall", "all", "--global")]))
            time.sleep(chance.uniform(0, usual if what != "installer" else min(usual, 0.6)))
            self.kill_all()
            lost += self.losses("kill {} ({})".format(number, what))
        self.install_undisturbed(1)
        lost += self.losses("the last installation")
        if tree(self.installed()) != self.versions[1]:
            lost.append("the last installation: the program is not the newest")
        for name, marks in (("Applications", self.home), (".brask", self.home)):
            left = [p.name for p in (marks / name).iterdir()
                    if p.name.startswith(".kelvane-") or p.name.endswith(".new")]
            if left:
                lost.append("{}: left over: {}".format(name, left))
        self.start_installer("uninstall", "all", "--global").wait(PATIENCE)
        for name, text in SETTINGS.items():
            if (self.home / name).read_text() != text:
                lost.append("uninstalled: {} is not what it was".format(name))
        return lost

    def installed(self):
        return self.home / "Applications/Kelvane.app"

    def start_product(self, version):
        return subprocess.Popen([str(self.bundles[version] / "Contents/MacOS/Kelvane")],
                                env=self.environment, stdin=subprocess.DEVNULL,
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def start_installer(self, *arguments):
        installer = self.bundles[0] / "Contents/Resources/kit/brask_install.py"
        return subprocess.Popen([sys.executable, str(installer), *arguments],
                                env=dict(self.environment, BRASK_HOME=str(self.home / ".brask")),
                                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL)

    def install_undisturbed(self, version):
        """What an installation writes last is its menu entry."""
        entries = self.home / ".local/share/applications"
        shutil.rmtree(entries, ignore_errors=True)
        (self.home / ".brask/validate.py").unlink(missing_ok=True)
        self.start_product(version)
        until = time.monotonic() + PATIENCE
        while not list(entries.glob("*.desktop")):
            if time.monotonic() > until:
                raise SystemExit("the product did not install itself")
            time.sleep(0.05)
        self.kill_all()

    def kill_all(self):
        """Kills every process of that home folder, and those that they started meanwhile."""
        mark = "HOME={}".format(self.home).encode()
        while True:
            found = []
            for process in pathlib.Path("/proc").iterdir():
                if not process.name.isdigit():
                    continue
                try:
                    variables = (process / "environ").read_bytes().split(b"\0")
                except OSError:
                    continue
                if mark in variables:
                    found.append(int(process.name))
            for process in found:
                try:
                    os.kill(process, signal.SIGKILL)
                except ProcessLookupError:
                    pass
            try:
                while os.waitpid(-1, os.WNOHANG)[0]:
                    pass
            except ChildProcessError:
                pass
            if not found:
                return

    def losses(self, when):
        lost = []
        for name, marks in USERS.items():
            text = (self.home / name).read_text() if (self.home / name).exists() else ""
            gone = [mark for mark in marks if mark not in text]
            if gone:
                lost.append("{}: {} has lost {}".format(when, name, gone))
            if name.endswith(".json") and text:
                try:
                    json.loads(text)
                except ValueError as error:
                    lost.append("{}: {} cannot be read: {}".format(when, name, error))
        if tree(self.installed()) not in self.versions:
            lost.append("{}: the installed program is no whole version".format(when))
        for name in sorted(set().union(*self.kits)):
            found = digest(self.home / ".brask" / name)
            gone = found is None and name != "validate.py"  # which was taken away on purpose
            if gone or (found and found not in [kit.get(name) for kit in self.kits]):
                lost.append("{}: {} of the kit is {}".format(
                    when, name, "gone" if gone else "not whole"))
        return lost


def tree(folder):
    return {str(path.relative_to(folder)): digest(path) for path in folder.rglob("*")
            if path.is_symlink() or path.is_file()}


def digest(path):
    """Of the content; None when there is no such file."""
    if path.is_symlink():
        return "-> " + os.readlink(path)
    try:
        return hashlib.sha256(path.read_bytes()).hexdigest()
    except OSError:
        return None


if __name__ == "__main__":
    sys.exit(main())
