#!/usr/bin/env python3
"""Does the package work where nothing but Debian is?

    fresh_root_test.py PACKAGE.deb [--keep-root]

Installs PACKAGE.deb into a Debian 12 of its own, in build/package-try, as a person does (`apt install`),
in namespaces of its own: a release before it, use by an ordinary user, the upgrade, more use, removal. What
is left then is compared with what was there before. Then somebody who has nothing but it and a desktop starts
it from the menu, chooses where to grade, works, switches off, works again, and uninstalls (desk_session.py).
The bare Debian and what apt downloads are kept there for the next time (380 MB). Exits with 77, and says so
loudly, where it cannot be tried.
"""

import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

CHECKOUT = pathlib.Path(__file__).resolve().parents[2]
PLACE = CHECKOUT / "build/package-try"
BARE, ARCHIVES, ROOT = PLACE / "bookworm.tar", PLACE / "archives", PLACE / "root"
ID = "example.trevix.kelvane.menubar"
PROGRAM = "/usr/lib/kelvane/Kelvane.app/Contents/MacOS/Kelvane"
OLDER = "0.0.1"
# A small desktop, and what sees and clicks for a person.
DESKTOP = ["openbox", "trayer", "dbus", "at-spi2-core", "libgtk-3-bin", "libglib2.0-bin", "mousepad", "featherpad",
           "adwaita-icon-theme", "fonts-dejavu-core", "xdotool", "x11-utils", "python3-gi", "gir1.2-atspi-2.0"]
EDITORS = ["mousepad --disable-server", "featherpad --standalone"]
NEEDED = ["mmdebstrap", "unshare", "chroot", "dpkg-deb", "Xvfb"]
# Seconds; they only say when something is not going to happen.
LONGEST_INSTALLATION, LONGEST_SESSION, LONGEST_STEP = 3600, 1200, 180
# Of Debian's tools, not of the package: they note there what they did, or sort anew what they found.
NOTES = re.compile(r"^(var/(lib/(dpkg|apt|systemd|ucf)|cache|log|backups)|run|tmp|dev|proc|sys|root|home)(/|$)|"
                   r"^etc/(passwd|group|shadow|gshadow|sub[ug]id|mtab|resolv\.conf)-?$|/__pycache__(/|$)")
# Becomes the root of a process tree that ends with its first process.
ENTER = """
mount --make-rprivate /
mount -t tmpfs none "$0/dev"
for device in null:3 zero:5 full:7 random:8 urandom:9; do
  mknod -m 666 "$0/dev/${device%:*}" c 1 "${device#*:}"
done
ln -s /proc/self/fd "$0/dev/fd"
mkdir -m 1777 "$0/dev/shm"
mount -t proc proc "$0/proc"
mount --bind "$1" "$0/var/cache/apt/archives"
cp /etc/resolv.conf "$0/etc/resolv.conf"
root=$0; shift
exec chroot "$root" "$@"
"""


def not_tried(why):
    print(f"fresh_root_test: NOTHING WAS TRIED: {why}", file=sys.stderr)
    sys.exit(77)


def inside(*command, user=None, longest=LONGEST_STEP, check=True, **environment):
    """Runs a command in the root, as root or as a user in a home folder of its own."""
    words = ["env", "-i", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C.UTF-8",
             "DEBIAN_FRONTEND=noninteractive", f"HOME=/home/{user}" if user else "HOME=/root",
             *(f"{name}={value}" for name, value in environment.items())]
    if user:
        words = ["setpriv", f"--reuid={user}", f"--regid={user}", "--clear-groups", *words]
    result = subprocess.run(
        ["unshare", "--mount", "--pid", "--fork", "--kill-child", "bash", "-ec", ENTER, str(ROOT), str(ARCHIVES),
         *words, *map(str, command)], text=True, capture_output=True, check=False, timeout=longest,
        stdin=subprocess.DEVNULL)
    if check and result.returncode != 0:
        raise AssertionError(f"{command}: {result.returncode}\n{result.stdout[-4000:]}\n{result.stderr[-4000:]}")
    return result


def files(folder):
    """{path: what is there}"""
    found = {}
    for path in sorted(folder.rglob("*")):
        name = path.relative_to(folder).as_posix()
        if path.is_symlink():
            found[name] = os.readlink(path)
        elif path.is_dir():
            found[name] = "folder"
        elif path.is_file():
            found[name] = (path.stat().st_mode, hashlib.sha256(path.read_bytes()).hexdigest())
    return found


def system():
    return {name: what for name, what in files(ROOT).items() if not NOTES.search(name)}


def ours(names):
    return sorted(name for name in names if re.search(r"kelvane|trevix|brask", name, re.IGNORECASE))


def older(deb, folder):
    """The same package as a release before it."""
    tree = folder / "older"
    subprocess.run(["dpkg-deb", "-R", deb, tree], check=True)
    control = tree / "DEBIAN/control"
    control.write_text(re.sub(r"^Version: .*$", f"Version: {OLDER}", control.read_text(encoding="utf-8"),
                              flags=re.MULTILINE), encoding="utf-8")
    made = folder / f"kelvane_{OLDER}.deb"
    subprocess.run(["dpkg-deb", "--root-owner-group", "-b", tree, made], check=True, stdout=subprocess.DEVNULL)
    return made


def prepare():
    if os.geteuid() != 0:
        not_tried("a root of its own needs root")
    missing = [name for name in NEEDED if shutil.which(name) is None]
    if missing:
        not_tried(f"no {', '.join(missing)} here: scripts/bootstrap package desktop")
    for folder in (PLACE, ARCHIVES):
        folder.mkdir(parents=True, exist_ok=True)
    (ARCHIVES / "partial").mkdir(exist_ok=True)
    if not BARE.exists():
        half = BARE.with_suffix(".half.tar")
        # apt has a user of its own for downloads, who may not write to every machine's /dev/null.
        made = subprocess.run(["mmdebstrap", "--variant=minbase", "--include=ca-certificates",
                               '--aptopt=APT::Sandbox::User "root"', "bookworm", half],
                              capture_output=True, text=True, check=False)
        if made.returncode != 0:
            half.unlink(missing_ok=True)
            not_tried("Debian's mirror gives no Debian 12:\n" + made.stderr[-2000:])
        half.rename(BARE)
    shutil.rmtree(ROOT, ignore_errors=True)
    ROOT.mkdir()
    subprocess.run(["tar", "-xf", BARE, "-C", ROOT, "--numeric-owner"], check=True)
    (ROOT / "etc/apt/apt.conf.d/99one-user").write_text('APT::Sandbox::User "root";\n', encoding="ascii")
    # There is no init to start services.
    policy = ROOT / "usr/sbin/policy-rc.d"
    policy.write_text("#!/bin/sh\nexit 101\n", encoding="ascii")
    policy.chmod(0o755)
    inside("useradd", "--create-home", "ada")
    inside("apt-get", "update", longest=LONGEST_INSTALLATION)


class Display:
    """A display of the machine that tries, reached from the root by its abstract address."""

    def __enter__(self):
        read, write = os.pipe()
        self.server = subprocess.Popen(["Xvfb", "-displayfd", str(write), "-ac", "-nolisten", "tcp", "-noreset",
                                        "-screen", "0", "1280x800x24"], pass_fds=[write],
                                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as told:
            self.name = ":" + told.readline().strip()
        return self.name

    def __exit__(self, *_):
        self.server.kill()
        self.server.wait()


# Grades $1 as the user does: the service on a socket of its own, then `brask`. Prints the outcome as JSON.
GRADE = """
export XDG_RUNTIME_DIR=$(mktemp -d)
trevix-local --port 0 >"$XDG_RUNTIME_DIR/log" 2>&1 &
until grep -q http+unix "$XDG_RUNTIME_DIR/log"; do
  kill -0 $! || { cat "$XDG_RUNTIME_DIR/log" >&2; exit 9; }
  sleep 0.1
done
export BRASK_API_BASE=$(sed -n 's/^trevix-local listening on \\(http+unix.*\\)/\\1/p' "$XDG_RUNTIME_DIR/log")
export BRASK_API_KEY=$(trevix-local --print-key)
brask grade --json --quiet "$@" || status=$?
kill %1
wait
rm -r "$XDG_RUNTIME_DIR"
exit ${status:-0}
"""

# A first start: the panel's program in the tray, until it has installed itself.
FIRST_START = """
# As every session has one.
export XDG_RUNTIME_DIR=$(mktemp -d)
"$0" 2>"$HOME/product.log" &
for i in $(seq 1 600); do
  # The entry of the menu is what a first start writes last.
  [ -e "$HOME/.local/share/applications/$1.desktop" ] && break
  kill -0 $! || { cat "$HOME/product.log" >&2; exit 9; }
  sleep 0.1
done
kill $!
wait
rm -r "$HOME/product.log" "$XDG_RUNTIME_DIR"
[ -e "$HOME/.local/share/applications/$1.desktop" ]
"""


class FreshRoot(unittest.TestCase):
    maxDiff = None

    def apt(self, *arguments):
        return inside("apt-get", "-y", *arguments, longest=LONGEST_INSTALLATION).stdout

    def install(self, deb):
        name = pathlib.Path(deb).name
        shutil.copy(deb, ROOT / name)
        said = self.apt("install", f"/{name}")
        (ROOT / name).unlink()
        return said

    def version(self):
        return inside("dpkg-query", "-W", "-f", "${Version}", "kelvane").stdout

    def grade(self, *arguments):
        result = inside("bash", "-c", GRADE, "grade", *arguments, user="ada", check=False)
        self.assertIn(result.returncode, (0, 1), result.stderr + result.stdout)
        return result.returncode, json.loads(result.stdout)

    def step(self, text):
        print(f"fresh_root_test: {time.strftime('%H:%M:%S')} {text}", flush=True)

    def works_out_of_the_box(self):
        self.assertIn("ALL PASS", inside("kelvane", "--selftest", user="ada").stdout)
        self.assertEqual(set(json.loads(inside("kelvane", "--detect", user="ada").stdout)) & {"agents"}, {"agents"})
        inside("kelvane", "--render", "/home/ada/panel.png", user="ada")
        picture = ROOT / "home/ada/panel.png"
        data = picture.read_bytes()
        self.assertEqual((data[:8], int.from_bytes(data[16:20], "big")), (b"\x89PNG\r\n\x1a\n", 720))
        # A panel without fonts or icons has hardly anything to store.
        self.assertGreater(len(data), 20000)
        picture.unlink()
        for command in ["kelvane", "trevix-local", "brask"]:
            inside(command, "--version", user="ada")
            self.assertTrue((ROOT / f"usr/share/man/man1/{command}.1.gz").exists(), command)

    def judges(self):
        listed = json.loads(inside("trevix-local", "--engines", "--json", user="ada").stdout)["engines"]
        absent = {one["id"] for one in listed if not one["here"]}
        # Suggested only, from npm, not in Debian 12, or a server of one's own: docs/packaging.md.
        self.assertLessEqual(absent, {"bandit", "gofmt", "node", "ruff", "oxlint", "biome", "markdownlint", "harper",
                                      "gitleaks", "languagetool", "model"}, absent)
        for wanted in ["hunspell", "codespell", "tesseract", "shellcheck", "cppcheck", "grammar.python"]:
            self.assertIn(wanted, {one["id"] for one in listed if one["here"]})

    def test_package(self):
        deb = pathlib.Path(DEB)
        home = ROOT / "home/ada"
        with tempfile.TemporaryDirectory() as folder:
            before_it = older(deb, pathlib.Path(folder))
            self.step("installing a release before it, with all that belongs to it")
            self.install(before_it)
        self.assertEqual(self.version(), OLDER)
        self.works_out_of_the_box()
        self.judges()

        self.step("removing it at once, to know the system without it")
        self.apt("purge", "kelvane")
        bare = system()
        self.assertEqual(ours(bare), [])
        with tempfile.TemporaryDirectory() as folder:
            self.install(older(deb, pathlib.Path(folder)))

        self.step("grading a flawed text")
        (home / "note.txt").write_text("We recieved the the report on Tuesday, 14 September 2026.\n", encoding="utf-8")
        (home / "note-mended.txt").write_text("We received the report on Monday, 14 September 2026.\n", encoding="utf-8")
        status, outcome = self.grade("/home/ada/note.txt")
        self.assertEqual(status, 1, outcome)
        said = json.dumps(outcome)
        self.assertIn("recieved", said)
        self.assertIn("the the", said)
        run = re.search(r"run_[0-9a-f]+", said).group(0)

        self.step("first start on a display, with a coding tool to wire")
        (home / ".claude").mkdir()
        shutil.chown(home / ".claude", 1000, 1000)
        with Display() as display:
            inside("sh", "-c", FIRST_START, PROGRAM, ID, user="ada", DISPLAY=display, BRASK_APP_NO_OPEN=1)
        wired = (home / ".claude/settings.json").read_text(encoding="utf-8")
        self.assertIn(".brask/validate.py", wired)
        for path in [".brask/validate.py", "Applications/Kelvane.app/Contents/MacOS/Kelvane",
                     f".config/autostart/{ID}.desktop", ".local/bin/brask"]:
            self.assertTrue((home / path).exists(), path)
        users = files(home)

        self.step("upgrading")
        self.install(deb)
        self.assertNotEqual(self.version(), OLDER)
        self.assertEqual(files(home), users)
        status, outcome = self.grade("--iterate", run, "/home/ada/note-mended.txt")
        self.assertEqual(status, 0, outcome)
        wiring = inside("python3", "/home/ada/.brask/brask_install.py", "status", user="ada").stdout
        self.assertRegex(wiring, r"(?i)claude.*\bwired\b")
        self.works_out_of_the_box()
        self.assertEqual((home / ".claude/settings.json").read_text(encoding="utf-8"), wired)
        users = files(home)

        self.step("removing it")
        self.apt("remove", "kelvane")
        # What is in /etc is the administrator's, and goes with `apt purge`.
        self.assertEqual(ours(system()), [f"etc/xdg/autostart/{ID}.desktop"])
        self.assertEqual(files(home), users)
        self.apt("purge", "kelvane")
        self.assertEqual(files(home), users)
        self.step("running the archive, where it is unpacked")
        archive = list(deb.parent.glob("kelvane-*-linux-*.tar.gz"))
        self.assertEqual(len(archive), 1)
        subprocess.run(["tar", "-xzf", archive[0], "-C", ROOT / "opt", "--no-same-owner"], check=True)
        unpacked = f"/opt/{archive[0].name.removesuffix('.tar.gz')}"
        self.assertIn("ALL PASS", inside(f"{unpacked}/bin/kelvane", "--selftest", user="ada").stdout)
        for command in ["trevix-local", "brask"]:
            inside(f"{unpacked}/bin/{command}", "--version", user="ada")
        shutil.rmtree(ROOT / unpacked[1:])
        left = system()
        self.assertEqual({name: what for name, what in left.items() if bare.get(name) != what}, {})
        self.assertEqual(set(bare) - set(left), set())
        self.assertEqual(ours(files(ROOT / "root")) + ours(files(ROOT / "tmp")), [])
        self.step("done")

    def session(self, *what):
        with Display() as display:
            print(inside("python3", "-B", "/opt/desk/desk_session.py", *what, user="grace", longest=LONGEST_SESSION,
                         DISPLAY=display).stdout, end="", flush=True)

    def test_people_at_a_desktop(self):
        inside("useradd", "--create-home", "grace")
        home = ROOT / "home/grace"
        # What others have there stays as it is.
        (home / ".config/autostart").mkdir(parents=True)
        (home / ".config/autostart/other.desktop").write_text("[Desktop Entry]\n", encoding="ascii")
        (home / ".claude").mkdir()
        (home / ".claude/settings.json").write_text('{ "model":"opus",\n\t"x": [1,2 ,3 ] }', encoding="ascii")
        inside("chown", "-R", "grace:grace", "/home/grace")
        before = files(home)
        self.step("installing it, and a desktop")
        self.install(DEB)
        self.apt("install", "--no-install-recommends", *DESKTOP)
        desk = ROOT / "opt/desk"
        desk.mkdir()
        for path in [CHECKOUT / "tests/packaging/desk_session.py", CHECKOUT / "scripts/panel_driver.py"]:
            shutil.copy(path, desk)
        self.step("first session: from the menu, one click, grades in two editors")
        self.session("first", *EDITORS)
        self.assertIn(".brask/validate.py", (home / ".claude/settings.json").read_text(encoding="utf-8"))
        self.step("second session: everything was ended, and it grades without a question")
        self.session("again", *EDITORS)
        self.step("third session: uninstalled by the menu in the panel")
        self.session("away")
        self.apt("purge", "kelvane")
        # The runs are the person's, and stay; folders may, empty.
        left = {name: what for name, what in files(home).items()
                if not re.match(r"\.local/share/trevix-local(/|$)", name)}
        more = {name: what for name, what in left.items() if what != "folder" and before.get(name) != what}
        self.assertEqual(more, {})
        self.assertEqual(set(before) - set(left), set())
        self.assertTrue((home / ".local/share/trevix-local/runs.db").exists())
        self.step("done")


if __name__ == "__main__":
    if len(sys.argv) < 2 or not pathlib.Path(sys.argv[1]).is_file():
        sys.exit(__doc__)
    DEB, KEEP = sys.argv[1], "--keep-root" in sys.argv
    prepare()
    done = unittest.main(argv=sys.argv[:1], exit=False).result.wasSuccessful()
    if not KEEP:
        shutil.rmtree(ROOT, ignore_errors=True)
    sys.exit(0 if done else 1)
