"""Wiring and unwiring: one account, one run."""

import errno
import os
import stat
import time
from typing import Any, Callable, Dict, Iterator, List, Optional, Tuple

from .asking import Ask, asker, codex_trust, major, version_of
from .files import BOM, Changed, Config, Refused, missing_folders, quietly, read_config, sweep
from .described import WIRED
from .launcher import Launcher
from .manifest import Manifest
from .ownership import Hints, Validator
from .telling import TRUST_NOTES, reason, unified_diff
from .text import BadText, place
from .named_servers import NamedServers
from .tool import Tool
from .tools import cleaned_only, further, tools
from .transaction import Change, carry_out

try:
    import fcntl
except ImportError:  # Not on every system; two installers at once are then not kept apart.
    fcntl = None  # type: ignore[assignment]

DONE, FAILED, NOT_SET_UP, USAGE = 0, 1, 3, 64  # exit codes

LAUNCHER = "launcher"               # the manifest's key for the command `brask`
# The states of a tool that holds something of ours, the one that matters most first.
OURS = ("repair", "untrusted", "edited", "wired")
ATTEMPTS = 5                        # to edit a file that somebody else keeps changing
LOCK_TRIES, LOCK_PAUSE = 100, 0.1   # seconds between two tries: ten seconds in all


class Installer:
    """Carries the edits out: one account, one run."""

    def __init__(self, env: Dict[str, str], say: Callable[[str], None],
                 complain: Callable[[str], None], dry: bool = False,
                 pause: Callable[[float], None] = time.sleep, ask: Optional[Ask] = None) -> None:
        self.env, self.say, self.complain, self.dry, self.pause = env, say, complain, dry, pause
        home = env.get("HOME", "")
        if not os.path.isabs(home) or not os.path.isdir(home):
            raise Refused("HOME does not name a folder; set it to your home folder")
        self.home = os.path.normpath(home)
        self.brask = os.path.abspath(env.get("BRASK_HOME") or os.path.join(self.home, ".brask"))
        try:
            (self.home + self.brask).encode("utf-8")
        except UnicodeEncodeError as error:
            raise Refused("the path of the home folder is not UTF-8") from error
        self.backups = os.path.join(self.brask, "backups")
        usual = os.path.join(self.home, ".brask")
        self.validator = Validator(self.brask, self.home, (usual,))
        self.launcher = Launcher(self.home, self.validator)
        self.tools = tools(self.validator)
        self.further = further(self.validator)
        self.agents = {agent["wiring"]["key"]: agent for agent in WIRED}
        self.ask = ask or asker(env)
        self.versions: Dict[str, Optional[str]] = {}
        self.manifest = Manifest(os.path.join(self.brask, "installed.json"), complain)

    def path(self, tool: Tool) -> str:
        return os.path.join(self.home, *tool.file.split("/"))

    # -- the lock

    def locked(self, needed: bool = True) -> Optional[int]:
        """Waits until no other installer works here; the descriptor holds the lock. None where
        nothing can be locked, as on some network folders: every change is checked against what the
        file held all the same. Refused when another installer does not end and the lock is
        `needed`; uninstalling goes on without."""
        if fcntl is None or self.dry or not os.path.isdir(self.brask):
            return None
        flags = os.O_RDWR | os.O_CREAT | os.O_NOFOLLOW | os.O_CLOEXEC
        try:
            lock = os.open(os.path.join(self.brask, "install.lock"), flags, 0o600)
        except OSError:
            if needed:
                raise
            return None
        for _ in range(LOCK_TRIES):
            try:
                fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
                self.manifest = Manifest(self.manifest.path, lambda text: None)
                sweep(self.backups)
                return lock
            except OSError as error:
                if error.errno not in (errno.EAGAIN, errno.EACCES):
                    needed = False  # nothing can be locked here
                    break
            self.pause(LOCK_PAUSE)
        os.close(lock)
        if needed:
            raise Refused("another installer is at work; try again when it has ended")
        return None

    # -- reading and writing

    def text_of(self, config: Config, tool: Tool, action: Callable[[str], Any]) -> Any:
        """What `action` makes of the text; a bad text is refused with its place."""
        text = ""
        try:
            text = config.text
            return action(text)
        except BadText as error:
            data = (config.data or b"").lstrip(BOM)
            text = text or data.decode("utf-8", "replace")
            raise Refused("%s:%s: %s. The file is left as it is; put this right and run this again"
                          % (config.path, place(text, error.offset), error)) from error

    def show(self, path: str, old: Optional[bytes], new: Optional[bytes]) -> None:
        for line in unified_diff(path, old, new):
            self.say(line)

    def repeated(self, path: str, action: Callable[[], int]) -> int:
        """Does it again when somebody else wrote the file meanwhile."""
        for _ in range(ATTEMPTS):
            try:
                return action()
            except Changed:
                continue
        raise Refused("%s keeps being changed by another program; nothing was written. Close the "
                      "tool and try again" % path)

    # -- wiring

    def install(self, key: str) -> int:
        tool = self.tools[key]
        if not os.path.isfile(self.validator.path):
            raise Refused("there is no validator at %s, and a hook without it would disturb the "
                          "tool; install Kelvane Companion first" % self.validator.path)
        for other, path in self.instead(key):
            self.complain("%s: %s does the same already, by %s, and both would do it twice; take that "
                          "out first, with: brask_install.py uninstall %s --global"
                          % (key, self.tools[other].label, path, other))
            return FAILED
        self.warn_when_moved(tool)
        self.suit_version(tool)
        code = self.repeated(self.path(tool), lambda: self.install_once(tool))
        if code == DONE:
            for other in self.further[key]:
                code = max(code, self.attempt(lambda: self.repeated(
                    self.path(other), lambda: self.install_once(other))))
            self.repeated(self.launcher.path, self.install_launcher)
        return code

    def instead(self, key: str) -> Iterator[Tuple[str, str]]:
        """What is wired that would do the work of this tool's wiring a second time."""
        for other, tool in self.tools.items():
            first, second = (self.agents[name]["wiring"].get("insteadOf") for name in (key, other))
            if (first == other or second == key) and self.still_wired(tool):
                yield other, self.path(tool)

    def install_found(self) -> int:
        """Wires every tool that is set up on this machine. One that fails does not stop the others."""
        found = [key for key in self.tools if self.is_there(key)]
        if not found:
            self.complain("none of the coding tools is set up here")
            return NOT_SET_UP
        return max(self.attempt(lambda: self.install(key)) for key in found)

    def is_there(self, key: str) -> bool:
        return any(os.path.lexists(os.path.join(self.home, *entry.split("/")))
                   for entry in self.agents[key]["wiring"]["homeEntries"])

    def version(self, key: str) -> Optional[str]:
        """What the tool's program says its version is, asked once."""
        if key not in self.versions:
            self.versions[key] = version_of(self.agents[key], self.ask)
        return self.versions[key]

    def suit_version(self, tool: Tool) -> None:
        if isinstance(tool, NamedServers) and tool.since is not None:
            tool.for_version(major(self.version(tool.key)))

    def warn_when_moved(self, tool: Tool) -> None:
        for variable in tool.moved_by:
            elsewhere = self.env.get(variable)
            usual = (os.path.dirname(self.path(tool)), self.path(tool))
            if elsewhere and os.path.realpath(elsewhere) not in map(os.path.realpath, usual):
                self.complain("%s: %s is set to %s, so %s may not read %s, which is what is wired"
                              % (tool.key, variable, elsewhere, tool.label, self.path(tool)))

    def install_once(self, tool: Tool) -> int:
        config = read_config(self.path(tool))
        if config.data is None and not tool.create:
            self.complain("%s: there is no %s, and %s does not start with one that holds only our "
                          "entry. Set the tool up first, then run this again"
                          % (tool.key, config.path, tool.label))
            return NOT_SET_UP
        return self.text_of(config, tool, lambda text: self.wire(tool, config, text))

    def wire(self, tool: Tool, config: Config, text: str) -> int:
        text = tool.seed if config.data is None else text
        state = tool.state(text)
        if state == "wired":
            self.say("%s: already wired in %s" % (tool.key, config.path))
            self.tell(tool, text)
            return DONE
        if config.info is not None and not (config.info.st_mode & stat.S_IWUSR
                                            and os.access(config.real, os.W_OK)):
            raise Refused("%s is write-protected (mode %04o); allow writing with chmod u+w and run "
                          "this again" % (config.path, stat.S_IMODE(config.info.st_mode)))
        old = self.manifest.records.get(tool.record)
        hints = Hints(old if state == "repair" else None)
        edit = tool.mended(text, hints) if state == "repair" else tool.add(text, hints)
        new = edit.text
        self.prove(tool, text, new, hints, state)
        record = dict(hints.record(), file=config.path, inserted=edit.new_lines())
        record["createdFile"] = bool(old and old["createdFile"]) if state == "repair" \
            else config.data is None
        folders = missing_folders(config.path)
        kept = [f for f in self.manifest.folders(tool.record)
                if os.path.isdir(f) and f not in folders]
        record["createdFolders"] = kept + folders
        if self.dry:
            self.show(config.path, config.data, config.bytes_of(new))
            return DONE
        backup = carry_out(Change(tool.record, config, config.bytes_of(new), record, folders),
                           self.manifest, self.backups)
        self.say("%s: wired in %s%s" % (tool.key, config.path,
                                        "" if backup is None else " (before: %s)" % backup))
        self.tell(tool, new)
        if "trust" in tool.described:  # not asked here: it takes seconds, and new hooks are not
            self.complain("%s: %s" % (tool.key, TRUST_NOTES["untrusted"]))
        return DONE

    def tell(self, tool: Tool, text: str) -> None:
        for note in tool.notes(text):
            self.complain("%s: note: %s" % (tool.key, note))

    def trust(self, tool: Tool) -> Optional[str]:
        """Whether the tool runs our hooks, where it has its user decide that; asked of the tool."""
        if tool.described.get("trust") != "codex":
            return None
        return codex_trust(os.path.realpath(self.path(tool)), self.home, self.ask)

    def prove(self, tool: Tool, old: str, new: str, hints: Hints, state: str) -> None:
        """Refuses an edit that does not hold what this file promises. It never should."""
        good = tool.state(new) == "wired" and tool.others(old) == tool.others(new)
        if good and state == "absent":
            good = tool.remove(new, Hints(hints.record())) == old
        try:
            tool.second_opinion(new)
        except (ValueError, RecursionError):
            good = False
        if not good:
            raise Refused("%s: this file cannot be edited safely, so it is left as it is; add the "
                          "entry by hand" % self.path(tool))

    def install_launcher(self) -> int:
        path, state = self.launcher.path, self.launcher.state()
        if state == "foreign":
            self.complain("note: %s is somebody else's and is left alone; run the validator as "
                          "python3 %s" % (path, self.validator.quoted))
        if state in ("ours", "foreign"):
            return DONE
        config, folders = read_config(path), missing_folders(path)
        if self.dry:
            self.show(path, config.data, self.launcher.data)
            return DONE
        kept = [f for f in self.manifest.folders(LAUNCHER) if os.path.isdir(f)]
        record = dict(Hints().record(), file=path, createdFile=True, createdFolders=kept + folders)
        carry_out(Change(LAUNCHER, config, self.launcher.data, record, folders, 0o755),
                  self.manifest)
        self.say("the command brask is %s" % path)
        if not self.on_path():
            self.say("to type it by name, add this line to ~/.profile: %s" % self.path_line())
        return DONE

    # -- unwiring

    def uninstall(self, key: str) -> int:
        """Takes our entries out of one tool or of all. One that fails does not stop the others."""
        code = DONE
        usual = os.path.join(self.home, ".brask", "installed.json")
        if not self.manifest.records and usual != self.manifest.path:
            self.manifest = Manifest(usual, self.complain)  # BRASK_HOME is another than at wiring
        chosen = [self.tools[name] for name in self.tools if key in (name, "all")]
        for tool in chosen:
            # Last in, first out: two of them may stand in one file.
            for file in list(reversed(self.further[tool.key])) + [tool] + \
                    cleaned_only(self.validator, tool.key):
                code = max(code, self.attempt(lambda: self.repeated(
                    self.path(file), lambda: self.uninstall_once(file))))
        if key == "all" or not any(self.still_wired(file) for file in self.written()):
            code = max(code, self.attempt(lambda: self.repeated(
                self.launcher.path, self.uninstall_launcher)))
        return code

    def written(self) -> List[Tool]:
        """Every file that we write an entry into."""
        return [file for key, tool in self.tools.items() for file in [tool] + self.further[key]]

    def attempt(self, action: Callable[[], int]) -> int:
        try:
            return action()
        except (Refused, OSError) as error:
            self.complain(reason(error))
            return FAILED

    def still_wired(self, tool: Tool) -> bool:
        try:
            return tool.state(read_config(self.path(tool)).text) in ("wired", "repair")
        except (Refused, BadText):
            return False

    def uninstall_once(self, tool: Tool) -> int:
        config = read_config(self.path(tool))
        if config.data is None or b"validate.py" not in config.data:
            if self.is_wired_in(tool):
                self.say("%s: nothing of ours in %s" % (tool.key, config.path))
                self.forget(tool.record, config.real)
            return DONE
        return self.text_of(config, tool, lambda text: self.unwire(tool, config, text))

    def unwire(self, tool: Tool, config: Config, text: str) -> int:
        record = self.manifest.records.get(tool.record) if self.is_wired_in(tool) else None
        new = tool.remove(text, Hints(record))
        if new == text:
            self.say("%s: nothing of ours in %s, though it mentions a validate.py"
                     % (tool.key, config.path))
            return self.told_of_leftover(tool, config, text)
        if tool.others(new) != tool.others(text) or tool.state(new) in ("wired", "repair"):
            raise Refused("%s: our entry cannot be taken out safely, so the file is left as it is; "
                          "take it out by hand" % config.path)
        gone = (tool.whole and not (record and record.get("blankBefore")) or
                bool(record and record["createdFile"])) and tool.empty(new) and \
            not os.path.islink(config.path)
        data = None if gone else config.bytes_of(new)
        if self.dry:
            self.show(config.path, config.data, data)
            return DONE
        backup = carry_out(Change(tool.record, config, data), self.manifest, self.backups, True)
        self.say("%s: our entries are out of %s (%s)" % (
            tool.key, config.path, "no copy of it could be kept" if backup is None
            else "before: %s" % backup))
        if self.is_wired_in(tool):
            self.forget(tool.record, config.real)
        return self.told_of_leftover(tool, config, new)

    def told_of_leftover(self, tool: Tool, config: Config, text: str) -> int:
        """Names what stays that somebody made of our validator, and fails once it is gone."""
        offset = tool.leftover(text)
        if offset is None:
            return DONE
        self.complain("%s:%s: this command is your own and stays, but it runs our validator; take "
                      "that out by hand" % (config.path, place(text, offset)))
        return FAILED

    def is_wired_in(self, tool: Tool) -> bool:
        """Is this the file that the tool is wired in, and not one that is only cleaned?"""
        return any(tool.record == other.record and tool.file == other.file
                   for other in self.written())

    def forget(self, key: str, real: str) -> None:
        """Removes the folders that we made, if nothing else is in them, and the record."""
        if self.dry:
            return
        sweep(*os.path.split(real))
        ours = {self.launcher.path} | {self.path(file) for file in self.written() if file.create}
        ours = {folder for path in ours for folder in self.folders_below_home(path)}
        for folder in sorted(self.manifest.folders(key), key=len, reverse=True):
            if folder in ours and not os.path.islink(folder):
                quietly(os.rmdir, folder)
        if self.manifest.records.pop(key, None) is not None:
            quietly(self.manifest.save)  # it only helps, and our entry is out

    def folders_below_home(self, path: str) -> Iterator[str]:
        """The folders between the home folder and a file in it."""
        folder = os.path.dirname(path)
        while folder != self.home:
            yield folder
            folder = os.path.dirname(folder)

    def uninstall_launcher(self) -> int:
        path, state = self.launcher.path, self.launcher.state()
        if state == "foreign":
            self.complain("note: %s is somebody else's and is left alone" % path)
        elif state in ("ours", "stale"):
            config = read_config(path)
            if self.dry:
                self.show(path, config.data, None)
                return DONE
            carry_out(Change(LAUNCHER, config, None), self.manifest)
            self.say("the command %s is removed" % path)
        self.forget(LAUNCHER, path)
        return DONE

    # -- telling

    def on_path(self) -> bool:
        folder = os.path.dirname(self.launcher.path)
        return any(os.path.realpath(part) == os.path.realpath(folder)
                   for part in self.env.get("PATH", "").split(os.pathsep) if part)

    @staticmethod
    def path_line() -> str:
        return 'export PATH="$HOME/.local/bin:$PATH"'

    def status(self) -> Dict[str, Any]:
        """Everything there is to tell, as plain values."""
        return {"validator": {"path": self.validator.path,
                              "present": os.path.isfile(self.validator.path)},
                "tools": [self.tool_status(tool) for tool in self.tools.values()],
                "command": {"path": self.launcher.path, "state": self.launcher.state(),
                            "onPath": self.on_path(),
                            "lineToAdd": None if self.on_path() else self.path_line()}}

    def tool_status(self, tool: Tool) -> Dict[str, Any]:
        """The truth about one tool: `state` of it as a whole, and of each of its means. "repair" is
        ours, but not whole; wiring again puts it right."""
        self.suit_version(tool)
        files = [self.file_status(file) for file in [tool] + self.further[tool.key]]
        found: Dict[str, Any] = dict(files[0], tool=tool.key, label=tool.label,
                                     present=self.is_there(tool.key), version=None, means=files)
        del found["trust"]
        states = [file["state"] for file in files]
        ours = [state for state in states if state in OURS]
        if ours and len(ours) < len(states):
            found["state"] = "repair"
        elif ours:
            found["state"] = next(state for state in OURS if state in ours)
        if ours:
            found["version"] = self.version(tool.key)
        found["notes"] = [note for file in files for note in file["notes"]]
        for variable in tool.moved_by:
            if self.env.get(variable):
                found["notes"].append("%s is set to %s" % (variable, self.env[variable]))
        return found

    def file_status(self, tool: Tool) -> Dict[str, Any]:
        """What is so of one file. Only a whole entry is asked about further: whether it is as we
        write it, and whether the tool trusts it."""
        found: Dict[str, Any] = {"means": tool.means, "file": self.path(tool), "state": "absent",
                                 "seen": False, "trust": None, "notes": []}
        try:
            config = read_config(self.path(tool))
            text = config.text
            found["seen"] = tool.seen(text)
            if config.data is not None:
                found["state"] = self.text_of(config, tool, tool.state)
            if found["state"] in ("wired", "repair"):
                found["notes"] = tool.notes(text)
            if found["state"] == "wired":
                found["trust"] = self.trust(tool)
                if "trust" in tool.described and found["trust"] in TRUST_NOTES:
                    found["notes"].append(TRUST_NOTES[found["trust"]])
                if found["trust"] == "untrusted":
                    found["state"] = "untrusted"
                elif tool.edited(text):
                    found["state"] = "edited"
        except (Refused, BadText) as error:
            found["state"], found["notes"] = "unreadable", [str(error)]
        return found
