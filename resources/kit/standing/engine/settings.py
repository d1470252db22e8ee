"""Which service, which key, and where do the validator's own files live?

Coding tools start the validator with a stripped environment (some pass HOME and PATH and nothing
else), so everything that an environment variable can say may also stand in the file `settings` of
the data folder, one `name: value` a line. A variable that is set wins over the file.

Where neither says which service, the person's choice does: the file `service`, which the application
writes when it has asked (`eval/service_choice.h` has its rules). It names the service of this machine
and the file with that service's key. A key goes with its service: one that was chosen is asked with
its own, not with the account's in the file `key`.
"""

from __future__ import annotations

import os
from collections import namedtuple

from . import name_value_lines

DEFAULT_BASE = "https://trevix.example"
LONGEST_FILE = 64 * 1024

#: name in the file -> environment variable that wins over it
NAMES = {
    "base": "BRASK_API_BASE",
    "policy_id": "BRASK_POLICY_ID",
    "ca_file": "SSL_CERT_FILE",
    "https_proxy": "HTTPS_PROXY",
    "http_proxy": "HTTP_PROXY",
    "no_proxy": "NO_PROXY",
    "hook": "BRASK_HOOK",
    "hook_seconds": "BRASK_HOOK_SECONDS",
    "read": "BRASK_READ",
}


class Settings(namedtuple("Settings", "folder base key policy_id ca_file proxies no_proxy hook "
                          "hook_seconds problems read")):
    """Everything the engine needs to know about its surroundings. A plain value.

    folder        the data folder, "~/.brask"
    base          the service's address without a slash at its end; "" reaches nobody
    key           None: not signed in
    policy_id     None: the service's own
    ca_file       a file of authorities trusted besides the system's, or None
    proxies       scheme -> address; where empty the system's apply
    no_proxy      hosts that are reached without, as in NO_PROXY, or None
    hook          False: the hook stays silent
    hook_seconds  the longest that the end of one turn may take
    problems      sentences about lines of the file that could not be used
    read          absolute folders outside the project that agents may have read from, besides it
    """

    __slots__ = ()

    def __new__(cls, folder, base, key, policy_id=None, ca_file=None, proxies=None, no_proxy=None,
                hook=True, hook_seconds=90.0, problems=(), read=()):
        return super().__new__(cls, folder, base, key, policy_id, ca_file, proxies or {}, no_proxy,
                               hook, hook_seconds, problems, read)

    def __repr__(self):
        """Never shows the key: this text ends up in tracebacks."""
        return "Settings(folder={!r}, base={!r}, key={})".format(
            self.folder, self.base, "present" if self.key else "absent")

    __str__ = __repr__


def data_folder(environ: dict[str, str] = os.environ) -> str:
    """$BRASK_HOME, else ~/.brask."""
    named = environ.get("BRASK_HOME")
    if named:
        return named
    home = environ.get("HOME") or os.path.expanduser("~")
    return os.path.join(home, ".brask")


def read_key(folder: str, environ: dict[str, str] = os.environ,
             problems: list[str] | None = None) -> str | None:
    """BRASK_API_KEY exactly as it stands; when unset or empty, the file `key`, trimmed.

    None when there is neither, and when the file cannot be read, is not UTF-8 or holds only blanks.
    A file that somebody else could have written is not used; `problems` then gets a sentence.
    """
    given = environ.get("BRASK_API_KEY")
    if given:
        return given
    path = os.path.join(folder, "key")
    data = _read(path)
    if data is None:
        return None
    reason = untrusted(os.stat(path))
    if reason:
        if problems is not None:
            problems.append("{}: {}; the key in it is not used".format(path, reason))
        return None
    try:
        return data.decode("utf-8").strip() or None
    except UnicodeDecodeError:
        return None


def untrusted(status: os.stat_result) -> str | None:
    """Why a file of this status could hold somebody else's words; None when only its owner, who is
    this user or root, can have written it."""
    if status.st_uid not in (os.geteuid(), 0):
        return "it belongs to another user (chown it to yourself)"
    if status.st_mode & 0o022:
        return "others may write it (mode {:04o}; chmod 600 it)".format(status.st_mode & 0o7777)
    return None


def report_page(base: str, run_id: str) -> str | None:
    """The address of a run's report for people; None where no browser gets there."""
    if base[:4].lower() != "http" or base[:10].lower() == "http+unix:":
        return None
    return "{}/console?run={}".format(base, run_id)


def tidy_base(address: str) -> str:
    """The address without blanks around it and without slashes at its end."""
    return address.strip(" \t").rstrip("/")


def read_choice(folder: str, problems: list[str]) -> dict[str, str]:
    """`base` and `key_file` of the service that the person chose; empty when it is not this
    machine's, or the file cannot be used, for which `problems` gets sentences."""
    path = os.path.join(folder, "service")
    data = _read(path)
    if data is None:
        return {}
    reason = untrusted(os.stat(path))
    if reason:  # it names where work is sent
        problems.append("{}: {}; nothing of it is used".format(path, reason))
        return {}
    lines, found = name_value_lines.parse_lines(
        data.decode("utf-8", "replace").splitlines(), path, 1)
    problems.extend(found)
    values: dict[str, str] = {}
    for line in lines:
        wrong = _wrong_in_choice(line.name, line.value)
        if wrong:
            problems.append("{}:{}: {}".format(path, line.number, wrong))
        else:
            values[line.name] = line.value
    if values.get("service") != "this machine":
        return {}
    if "base" not in values or "key_file" not in values:
        problems.append("{}: this machine needs base and key_file; start Kelvane and choose “Grade on "
                        "this machine” again".format(path))
        return {}
    return values


def _wrong_in_choice(name: str, value: str) -> str | None:
    if name == "service":
        known = value in ("this machine", "account", "later")
        return None if known else "service is “this machine”, “account” or “later”"
    if name == "base":
        local = value.startswith(("http+unix://%2F", "http://127.0.0.1:"))
        return None if local else "base is no address of this machine"
    if name in ("key_file", "program"):
        return None if os.path.isabs(value) else name + " is no absolute path"
    return "there is no setting “{}”".format(name)


def read_chosen_key(path: str, problems: list[str]) -> str | None:
    """The key in that file; None, and a sentence, when there is none or others may read it."""
    data = _read(path)
    try:
        key = data.decode("utf-8").strip() if data is not None else ""
    except UnicodeDecodeError:
        key = ""
    if not key:
        problems.append("there is no key in " + path)
        return None
    status = os.stat(path)
    if untrusted(status) or status.st_mode & 0o044:
        problems.append("{}: others may read or write it; the key in it is not used (make it yours, "
                        "chmod 600)".format(path))
        return None
    return key


def load(environ: dict[str, str] = os.environ) -> Settings:
    """Reads variables and file afresh. Never fails; what could not be used is in `problems`."""
    folder = data_folder(environ)
    problems: list[str] = []
    values = _file_values(folder, problems)
    for name, variable in NAMES.items():
        said = environ.get(variable, environ.get(variable.lower()))
        if said is not None and (said or name == "base"):
            values[name] = said
    choice = {} if "base" in values else read_choice(folder, problems)
    values.setdefault("base", choice.get("base", DEFAULT_BASE))
    if choice and not environ.get("BRASK_API_KEY"):
        key = read_chosen_key(choice["key_file"], problems)
    else:
        key = read_key(folder, environ, problems)
    read = _folders(values.get("read"), environ, problems)
    return Settings(
        folder=folder,
        base=tidy_base(values["base"]),
        key=key,
        policy_id=values.get("policy_id") or None,
        ca_file=values.get("ca_file") or None,
        proxies={scheme: values[scheme + "_proxy"] for scheme in ("https", "http")
                 if values.get(scheme + "_proxy")},
        no_proxy=values.get("no_proxy") or None,
        hook=values.get("hook", "on").strip().lower() not in ("off", "0", "no", "false"),
        hook_seconds=_seconds(values.get("hook_seconds"), problems),
        problems=tuple(problems),
        read=read)


def _file_values(folder: str, problems: list[str]) -> dict[str, str]:
    path = os.path.join(folder, "settings")
    data = _read(path)
    values: dict[str, str] = {}
    if data is None:
        return values
    reason = untrusted(os.stat(path))
    if reason:  # it names where work is sent and what may be read
        problems.append("{}: {}; nothing of it is used".format(path, reason))
        return values
    texts = data.decode("utf-8-sig", "replace").splitlines()
    lines, found = name_value_lines.parse_lines(texts, path, 1)
    problems.extend(found)
    for line in lines:
        if line.name in NAMES:
            values[line.name] = line.value
        else:
            problems.append("{}:{}: there is no setting “{}”".format(path, line.number, line.name))
    return values


def _folders(text: str | None, environ: dict[str, str], problems: list[str]) -> tuple[str, ...]:
    """The absolute folders in a list like PATH; ~ is the home folder."""
    found = []
    for word in (text or "").split(os.pathsep):
        folder = word.strip()
        if folder == "~" or folder.startswith("~/"):
            folder = (environ.get("HOME") or os.path.expanduser("~")) + folder[1:]
        if folder and not os.path.isabs(folder):
            problems.append("read: “{}” is not an absolute folder".format(folder))
        elif folder:
            found.append(folder)
    return tuple(found)


def _seconds(text: str | None, problems: list[str]) -> float:
    try:
        seconds = float(text) if text else 90.0
    except ValueError:
        seconds = -1.0
    if not 1.0 <= seconds <= 110.0:
        problems.append("hook_seconds must be a number from 1 to 110")
        return 90.0
    return seconds


def _read(path: str) -> bytes | None:
    """At most LONGEST_FILE bytes of a plain file; None when there is none (a pipe would hang)."""
    try:
        if not os.path.isfile(path):
            return None
        with open(path, "rb") as file:
            return file.read(LONGEST_FILE)
    except OSError:
        return None
