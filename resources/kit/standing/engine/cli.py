"""The command line: `brask grade FILE…` (or a folder), `brask dismiss`, `brask rules`, `brask report RUN`,
`brask plugin`.

Exit codes: 0 everything clears, 1 something is held, 3 something could not be graded, which is what
wrong usage is too. Never 2: coding tools take that for a block.
"""

import argparse
import os
import re
import shutil
import signal
import subprocess
import sys
import threading
import webbrowser
from typing import Callable, List, Optional

from . import (baseline, changed, client, dismissals, file_types, folders, grading, parts, report,
               settings as settings_module, standing)
from .judged import Judged
from .version import VERSION

COULD_NOT = 3
AT_ONCE = 4     # files on their way to the service; the hook sends as many
SOON = 0.05     # seconds until a service of this machine is asked again; small texts take less
MANY = 20       # files from which on each is named as its turn comes
_EPILOG = """\
exit codes: 0 clears, 1 held, 3 could not be graded

files: text, code, tables (csv, tsv, xlsx, ods), documents (md, docx, odt, html, rtf, pdf),
decks (pptx, odp), notebooks, pictures, recordings. Pages of a deck or frames of a video: export
them as PNG and grade them with --together --modality deck (or video)."""


class _Usage(Exception):
    """Wrong usage, with the sentence to show."""


class _Parser(argparse.ArgumentParser):
    """Raises where argparse would exit with 2."""

    def error(self, message):
        raise _Usage("{}\n{}".format(message, self.format_usage().rstrip()))


def main(arguments: List[str]) -> int:
    """Runs one command and returns its exit code."""
    _prepare_streams()
    try:
        return _run(arguments)
    except _Usage as error:
        return _say("brask: {}".format(error))
    except KeyboardInterrupt:
        return _say("brask: stopped")
    except BrokenPipeError:
        _leave_output()
        return COULD_NOT
    except OSError as error:
        _leave_output()
        return _say("brask: {}".format(error.strerror or type(error).__name__))
    except Exception as error:  # Python would end with 1, which says that something is held
        return _say("brask: a defect of ours ({}, {})".format(type(error).__name__, _place(error)))


def _leave_output() -> None:
    """What is still in standard output's buffer goes nowhere: Python would fail on it at its end
    and exit with a code of its own."""
    os.dup2(os.open(os.devnull, os.O_WRONLY), 1)


def _place(error: Exception) -> str:
    """Where it was raised, as "standing.py:96". The message may quote the work; this does not."""
    trace = error.__traceback__
    while trace is not None and trace.tb_next is not None:
        trace = trace.tb_next
    if trace is None:
        return "nowhere"
    return "{}:{}".format(os.path.basename(trace.tb_frame.f_code.co_filename), trace.tb_lineno)


def _run(arguments: List[str]) -> int:
    parser = _parser()
    try:
        options = parser.parse_args(arguments)
    except SystemExit:  # after --help and --version
        if sys.stdout is not None:
            sys.stdout.flush()
        return 0
    if options.command == "grade":
        return _grade(options)
    if options.command == "rules":
        return _rules(options)
    if options.command == "dismiss":
        return _dismiss(options)
    if options.command == "report":
        return _report(options)
    if options.command == "plugin":
        return _plugin(options)
    raise _Usage("say what to do: grade, dismiss, rules, report or plugin\n" + parser.format_usage().rstrip())


def _parser() -> _Parser:
    parser = _Parser(prog="brask", description="Grades work before it ships.", epilog=_EPILOG,
                     formatter_class=argparse.RawDescriptionHelpFormatter, allow_abbrev=False)
    parser.add_argument("--version", action="version", version="brask " + VERSION)
    commands = parser.add_subparsers(dest="command", metavar="COMMAND")
    grade = commands.add_parser("grade", help="grade files", epilog=_EPILOG, allow_abbrev=False,
                                formatter_class=argparse.RawDescriptionHelpFormatter)
    grade.add_argument("files", nargs="*", metavar="FILE",
                       help="- is standard input; of a folder all files below it")
    grade.add_argument("--since", metavar="REF",
                       help="only files that changed since the commit REF, as git tells it")
    shape = grade.add_mutually_exclusive_group()
    shape.add_argument("--json", action="store_true", help="print the outcome as JSON")
    shape.add_argument("--sarif", action="store_true", help="print the outcome as SARIF 2.1.0")
    grade.add_argument("--output", metavar="FILE", help="write to FILE, not to standard output")
    grade.add_argument("--iterate", metavar="RUN", help="grade as the revision of an earlier run")
    grade.add_argument("--together", action="store_true", help="all files are one submission")
    grade.add_argument("--intent", metavar="TEXT", help="what the work is for")
    grade.add_argument("--modality", choices=file_types.MODALITIES, metavar="NAME",
                       help="one of " + ", ".join(file_types.MODALITIES))
    grade.add_argument("--vertical", metavar="NAME", help="the line of business, e.g. legal")
    grade.add_argument("--policy", metavar="ID", help="the policy to grade by")
    grade.add_argument("--timeout", metavar="SECONDS", type=_seconds, default=client.DEADLINE,
                       help="how long to wait for one verdict (%(default).0f)")
    grade.add_argument("--name", metavar="NAME", default=None,
                       help="what standard input is called; its ending tells the kind of work")
    grade.add_argument("--baseline", metavar="FILE",
                       help="only what is new since FILE was written counts")
    grade.add_argument("--write-baseline", metavar="FILE",
                       help="write the flaws to FILE: they are known from now on")
    grade.add_argument("--quiet", action="store_true", help="say nothing while waiting")
    dismiss = commands.add_parser("dismiss", help="say that a flaw is none, or undo that",
                                  allow_abbrev=False)
    dismissals.arguments(dismiss)
    rules = commands.add_parser("rules", help="show the standing rules", allow_abbrev=False)
    rules.add_argument("modality", nargs="?", choices=file_types.MODALITIES, metavar="MODALITY")
    opened = commands.add_parser("report", help="open the full report on a run in the browser",
                                 allow_abbrev=False)
    opened.add_argument("run", metavar="RUN", help="the run's id, as every report names it")
    plugin = commands.add_parser("plugin", allow_abbrev=False,
                                 help="make Claude Code's plugin, in place of hooks in its settings")
    plugin.add_argument("--remove", action="store_true", help="take the plugin away again")
    return parser


def _seconds(text: str) -> float:
    try:
        value = float(text)
    except ValueError:
        value = -1.0
    if not 0 <= value <= 86400:
        raise argparse.ArgumentTypeError("must be seconds from 0 to 86400")
    return value


def _grade(options) -> int:
    missing = _changed(options) if options.since is not None else _expand_folders(options)
    if options.since is None and not options.files and not missing:
        raise _Usage("grade needs a FILE, or --since REF\nusage: brask grade [--since REF] [FILE ...]")
    if options.iterate is not None:
        if not options.iterate or "/" in options.iterate:
            raise _Usage("--iterate needs the id of a run")
        if len(options.files) > 1 and not options.together:
            raise _Usage("--iterate revises one run: name one file, or use --together")
    if options.files.count("-") > 1:
        raise _Usage("standard input can be read once")
    try:
        known = baseline.load(options.baseline) if options.baseline else None
        written = baseline.load_or_new(options.write_baseline) if options.write_baseline else None
    except baseline.NotUsable as error:
        raise _Usage(str(error)) from None
    settings = settings_module.load()
    rules = standing.load()
    for problem in settings.problems + rules.problems:
        _say("brask: " + report.clean(problem))
    outcomes = _outcomes(options, settings, rules) if options.files else []
    outcomes += missing
    if written is not None:
        return _write_baseline(options, written, outcomes, settings)
    if known is not None:
        outcomes = [baseline.applied(outcome, known) for outcome in outcomes]
    _print(_rendered(options, outcomes, settings), options.output)
    return grading.worst(outcomes) if outcomes else 0   # nothing changed, which is nothing held


def _changed(options) -> List[grading.Outcome]:
    """Puts the changed files in the place of what is named; none of them is missing."""
    if "-" in options.files:
        raise _Usage("--since tells changed files, and standard input is none")
    if not options.since or options.since.startswith("-"):
        raise _Usage("--since needs a commit")
    try:
        options.files = changed.since(options.since, options.files)
    except changed.NotTold as error:
        raise _Usage(report.clean(str(error))) from None
    options.many = True
    if not options.quiet:
        _say("brask: {} changed since {}".format(
            "{} files".format(len(options.files)) if len(options.files) != 1 else "1 file",
            report.clean(options.since)))
    return []


def _expand_folders(options) -> List[grading.Outcome]:
    """Puts the files below each folder in its place; returns what of them cannot be graded."""
    named, missing = [], []
    for name in options.files:
        if name == "-" or not os.path.isdir(name):
            named.append(name)
            continue
        listing = folders.below(name)
        named.extend(listing.files)
        missing += [grading.not_graded(name, why) for why in listing.left]
        if not listing.files and not listing.left:
            missing.append(grading.not_graded(
                name, "{}: nothing below it is of a kind that is graded".format(name)))
    options.many = len(named) > len(options.files) or len(named) >= MANY
    options.files = named
    return missing


def _write_baseline(options, written, outcomes, settings) -> int:
    """What is graded is known from now on; what could not be is told as ever."""
    try:
        baseline.save(baseline.updated(written, outcomes))
        known = baseline.load(options.write_baseline)
    except baseline.NotUsable as error:
        raise _Usage(str(error)) from None
    outcomes = [baseline.applied(outcome, known) for outcome in outcomes]
    _print(_rendered(options, outcomes, settings), options.output)
    return grading.worst(outcomes)


def _dismiss(options) -> int:
    wrong = dismissals.wrong_usage(options)
    if wrong:
        raise _Usage(wrong)
    try:
        text, well = dismissals.run(options, _flaws_of, report.clean)
    except dismissals.NotChanged as error:
        raise _Usage(str(error)) from None
    _print(text, None)
    return 0 if well else COULD_NOT


def _flaws_of(run: str):
    """The flaws of a run, and those that are dismissed in it, as the service tells them."""
    verdict = client.verdict_of(run, settings=settings_module.load())
    if verdict.error is not None:
        raise dismissals.NotChanged(verdict.error)
    left, gone = dismissals.applied(verdict.flaws, dismissals.load())
    return left, [one.flaw for one in tuple(verdict.dismissed) + gone]


def _outcomes(options, settings, rules) -> List[grading.Outcome]:
    cancel = threading.Event()
    common = dict(vertical=options.vertical, intent=options.intent, policy=options.policy,
                  iterate=options.iterate, deadline=options.timeout, hard=True, cancel=cancel,
                  progress=_progress(options), first=SOON, judged=Judged(settings))
    previous = signal.getsignal(signal.SIGTERM)
    if threading.current_thread() is threading.main_thread():
        signal.signal(signal.SIGTERM, lambda *_: signal.default_int_handler(signal.SIGINT, None))
    try:
        if options.together:
            return [_grade_together(options, settings, rules, common)]
        def one(number: int) -> grading.Outcome:
            name = options.files[number]
            if options.many and not options.quiet:
                _say("brask: {} of {}, {}".format(number + 1, len(options.files),
                                                  report.clean(name)))
            return _grade_one(name, options, settings, rules, common)
        return _at_once(len(options.files), one)
    finally:
        cancel.set()
        if threading.current_thread() is threading.main_thread():
            signal.signal(signal.SIGTERM, previous or signal.SIG_DFL)


def _at_once(count: int, one: Callable[[int], grading.Outcome]) -> List[grading.Outcome]:
    """The outcomes in the order of the files, AT_ONCE of which are on their way at any time, so that
    the service never waits for us. What `one` raises is raised here."""
    found: List[Optional[grading.Outcome]] = [None] * count
    waiting, wrong = iter(range(count)), []
    lock = threading.Lock()

    def work() -> None:
        while not wrong:
            with lock:
                number = next(waiting, None)
            if number is None:
                return
            try:
                found[number] = one(number)
            except BaseException as error:  # for the thread that waits
                wrong.append(error)

    threads = [threading.Thread(target=work, daemon=True) for _ in range(min(count, AT_ONCE))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    if wrong:
        raise wrong[0]
    return [outcome for outcome in found if outcome is not None]


def _grade_one(name: str, options, settings, rules, common) -> grading.Outcome:
    if name != "-":
        return grading.grade_file(name, settings, rules, options.modality, **common)
    try:
        artifact = _standard_input(options)
    except parts.NotGradable as error:
        return grading.not_graded(options.name or "standard input", str(error))
    return grading.grade(artifact, settings, rules, **common)


def _grade_together(options, settings, rules, common) -> grading.Outcome:
    artifacts = []
    shown = ", ".join(options.files)
    for name in options.files:
        try:
            if name == "-":
                artifacts.append(_standard_input(options))
                continue
            kind = file_types.of_name(name)
            declared = options.modality or (kind.modality if kind else "text")
            refused = rules.refusal(name, declared)
            if refused:
                raise parts.NotGradable("{}: {}".format(name, refused))
            artifacts.append(parts.from_file(name, options.modality))
        except parts.NotGradable as error:
            return grading.not_graded(shown, str(error))
    return grading.grade(parts.together(artifacts, options.modality), settings, rules, **common)


def _standard_input(options) -> parts.Artifact:
    data = sys.stdin.buffer.read(parts.LARGEST_FILE + 1) if sys.stdin is not None else b""
    if len(data) > parts.LARGEST_FILE:
        raise parts.NotGradable("standard input is larger than {} MiB"
                                .format(parts.LARGEST_FILE >> 20))
    return parts.from_bytes(data, options.modality, options.name or "standard input")


def _progress(options):
    """Tells people who wait, on standard error, and only where that is a terminal."""
    if options.quiet or sys.stderr is None or not sys.stderr.isatty():
        return None
    return lambda step: _say("brask: {:.0f}s {}".format(step.elapsed, step.message))


def _rendered(options, outcomes, settings) -> str:
    if options.sarif:
        from . import sarif
        return sarif.document(outcomes)
    if options.json:
        return report.as_json(outcomes)
    onto_terminal = options.output is None and sys.stdout is not None and sys.stdout.isatty()
    colour = onto_terminal and not os.environ.get("NO_COLOR") and os.environ.get("TERM") != "dumb"
    width = min(120, shutil.get_terminal_size((80, 24)).columns)
    return report.table(outcomes, width, colour, settings.base)


def _rules(options) -> int:
    rules = standing.load()
    for problem in rules.problems:
        _say("brask: " + report.clean(problem))
    if not rules.files:
        return _say("brask: there are no standing rules")
    _print(rules.text(options.modality), None)
    return 0


def _report(options) -> int:
    if not re.fullmatch(r"[A-Za-z0-9_.~-]+", options.run):
        raise _Usage("report needs the id of a run")
    settings = settings_module.load()
    for problem in settings.problems:
        _say("brask: " + report.clean(problem))
    address = client.report_address(options.run, settings=settings)
    if not webbrowser.open(address):
        _print("Open this soon, it may open once only: {}\n".format(address), None)
    return 0


def _plugin(options) -> int:
    """The installer's work: it knows what is there, and gives back what was."""
    script = os.path.join(os.path.dirname(os.path.dirname(os.path.dirname(
        os.path.realpath(__file__)))), "brask_install.py")
    if not os.path.isfile(script):
        return _say("brask: there is no {}; wire the tools again to restore it".format(script))
    words = ["uninstall", "plugin"] if options.remove else ["plugin"]
    return COULD_NOT if subprocess.call([sys.executable, "-I", script] + words + ["--global"]) else 0


def _print(text: str, path: Optional[str]) -> None:
    if path is None:
        if sys.stdout is not None:
            sys.stdout.write(text)
            sys.stdout.flush()
        return
    try:
        with open(path, "w", encoding="utf-8", newline="\n") as file:
            file.write(text)
    except OSError as error:
        raise _Usage("{}: {}".format(path, error.strerror)) from None


def _say(text: str) -> int:
    try:
        if sys.stderr is not None:
            sys.stderr.write(text + "\n")
            sys.stderr.flush()
    except OSError:
        pass
    return COULD_NOT


def _prepare_streams() -> None:
    """UTF-8 whatever the locale says, and a replacement rather than an exception."""
    for stream in (sys.stdout, sys.stderr):
        if stream is not None:
            stream.reconfigure(encoding="utf-8", errors="replace")
