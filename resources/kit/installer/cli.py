"""The command line."""

import argparse
import json
import os
import signal
import sys
from typing import Any, Callable, Dict, NoReturn, Sequence

from .described import WIRED
from .files import Refused
from .telling import reason, status_lines
from .wiring import DONE, FAILED, USAGE, Installer


class Parser(argparse.ArgumentParser):
    def error(self, message: str) -> NoReturn:
        self.exit(USAGE, "brask_install: %s\nTry --help.\n" % message)


def parsed(arguments: Sequence[str]) -> argparse.Namespace:
    """The command line; exits with 64 when it makes no sense."""
    keys = [agent["wiring"]["key"] for agent in WIRED]
    parser = Parser(prog="brask_install.py", description=__doc__, allow_abbrev=False,
                    usage="brask_install.py [TOOL | uninstall TOOL | uninstall all | status] "
                          "[--global] [--dry-run] [--json]",
                    epilog="TOOL is one of: " + ", ".join(keys) +
                           "; found is each of them that is set up here",
                    formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("words", nargs="*", metavar="WORD", help=argparse.SUPPRESS)
    parser.add_argument("--global", dest="everywhere", action="store_true",
                        help="for the whole account; needed for wiring and unwiring")
    parser.add_argument("--dry-run", action="store_true", help="print the change, write nothing")
    parser.add_argument("--json", action="store_true", help="status as JSON")
    options = parser.parse_intermixed_args(arguments)
    words = options.words
    options.action = words[0] if words[:1] in (["uninstall"], ["status"]) else "install"
    options.tool = None if options.action == "status" else \
        (words[1:2] if options.action == "uninstall" else words[:1])
    if options.action == "status":
        if len(words) > 1:
            parser.error("status takes no tool")
        return options
    known = keys + ["all" if options.action == "uninstall" else "found"]
    if len(options.tool) != 1 or options.tool[0] not in known or \
            len(words) != (2 if options.action == "uninstall" else 1):
        parser.error("which tool? One of: " + ", ".join(known))
    if not options.everywhere:
        parser.error("--global is needed: tools are wired for the whole account")
    if options.json:
        parser.error("--json is for status")
    options.tool = options.tool[0]
    return options


def main(arguments: Sequence[str], env: Dict[str, str], out: Any = None, err: Any = None) -> int:
    """The whole program. `env` is the environment; `out` and `err` take the messages."""
    def printer(stream: Any, prefix: str) -> Callable[[str], None]:
        def show(text: str) -> None:
            try:
                print(prefix + text, file=stream, flush=True)
            except (OSError, ValueError):
                pass  # nobody listens any more; the work goes on
        return show
    options = parsed(arguments)
    say = printer(out or sys.stdout, "")
    complain = printer(err or sys.stderr, "brask_install: ")
    lock = None
    try:
        installer = Installer(env, say, complain, options.dry_run)
        if options.action == "status":
            status = installer.status()
            for line in [json.dumps(status, indent=2)] if options.json else status_lines(status):
                say(line)
            return DONE
        lock = installer.locked(needed=options.action == "install")
        if options.action == "uninstall":
            return installer.uninstall(options.tool)
        return installer.install_found() if options.tool == "found" else \
            installer.install(options.tool)
    except (Refused, OSError) as error:
        complain(reason(error))
        return FAILED
    finally:
        if lock is not None:
            os.close(lock)


def stop(number: int, frame: Any) -> NoReturn:
    """Ends by an exception, so that half-written files are tidied up."""
    raise SystemExit(128 + number)


if __name__ == "__main__":
    for ending in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
        signal.signal(ending, stop)
    for output in (sys.stdout, sys.stderr):
        if output is not None:
            output.reconfigure(errors="backslashreplace")
    sys.exit(main(sys.argv[1:], dict(os.environ)))
