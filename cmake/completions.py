#!/usr/bin/env python3
"""What shells complete after the three commands, made of what the commands say of themselves.

    completions.py KELVANE TREVIX_LOCAL KIT FOLDER

KELVANE and TREVIX_LOCAL are the built programs, asked for their --help; KIT is the folder of the
validator, whose own parser is asked. Writes FOLDER/bash/NAME, FOLDER/zsh/_NAME and FOLDER/fish/NAME.fish
for each of kelvane, trevix-local and brask. A --help that names no option is an error.
"""

import argparse
import os
import pathlib
import re
import subprocess
import sys

sys.dont_write_bytecode = True
# The values of these are names of files; of a folder with DIR.
FILES = {"PATH", "FILE", "DIR", "SOCKET"}
OPTION = re.compile(r"^ {2,6}(?:(-\w), )?(--[a-z][a-z-]*)(?:[ =]([A-Z][A-Z_]*))?(?: {2,}(\S.*))?$")


class Option:
    def __init__(self, name, value, text, choices=(), short=None):
        self.name, self.value, self.short = name, value, short
        self.text = " ".join((text or "").split())
        self.choices = list(choices)

    def is_file(self):
        return self.value in FILES


class Command:
    """`rest`: the values of what is no option, or "file", or absent; `under`: its subcommands."""

    def __init__(self, name, text, options, rest=None):
        self.name, self.text, self.options, self.rest = name, text, options, rest
        self.under = []


def told_by(name, program):
    """The command, of what its --help prints."""
    # The help needs no display and no home folder.
    shown = subprocess.run([program, "--help"], check=True, text=True, capture_output=True,
                           stdin=subprocess.DEVNULL).stdout
    options, last = [], None
    for line in shown.splitlines():
        found = OPTION.match(line)
        if found:
            last = Option(found[2], found[3], found[4], short=found[1])
            options.append(last)
        elif last is not None and re.match(r" {8,}\S", line):
            last.text = (last.text + " " + line.strip()).strip()
        else:
            last = None
    if not options:
        sys.exit("completions: %s --help names no option" % name)
    return Command(name, "", options)


def of_parser(name, text, parser):
    """The command that an argparse parser reads."""
    options, rest, under = [], None, []
    for action in parser._actions:
        if isinstance(action, argparse._SubParsersAction):
            texts = {choice.dest: choice.help for choice in action._choices_actions}
            under = [of_parser(key, texts.get(key, ""), one) for key, one in action.choices.items()]
        elif action.option_strings:
            long = [one for one in action.option_strings if one.startswith("--")]
            short = [one for one in action.option_strings if not one.startswith("--")]
            takes = None if action.nargs == 0 else (action.metavar or action.dest.upper())
            words = (action.help or "") % {**vars(action), "prog": parser.prog}
            options.append(Option(long[0], takes, words, action.choices or (), (short or [None])[0]))
        elif action.choices:
            rest = list(action.choices)
        elif action.metavar in FILES:
            rest = "file"
    command = Command(name, text, options, rest)
    command.under = under
    return command


def brask(kit):
    sys.path.insert(0, os.path.join(kit, "standing"))
    from engine import cli
    return of_parser("brask", "", cli._parser())


# ---- bash

def word(text):
    return "'" + text.replace("'", "'\\''") + "'"


def bash_values(command, indent):
    """The cases of the word before: what may be its value."""
    lines, anything = [], []
    for option in command.options:
        if option.value is None:
            continue
        names = "|".join(filter(None, [option.short, option.name]))
        if option.choices:
            does = "_%s_words %s" % (ident(), word(" ".join(option.choices)))
        elif option.is_file():
            does = "_%s_files -%s" % (ident(), "d" if option.value == "DIR" else "f")
        else:
            anything.append(names)
            continue
        lines.append("%s%s) %s; return ;;" % (indent, names, does))
    if anything:
        lines.append("%s%s) return ;;" % (indent, " | ".join(anything)))
    return lines


def bash_words(command):
    return " ".join(option.name for option in command.options)


def ident(name=None):
    if name:
        ident.name = re.sub(r"\W", "_", name)
    return ident.name


def bash_rest(command):
    if command.rest == "file":
        return "_%s_files -f" % ident()
    return "_%s_words %s" % (ident(), word(" ".join(command.rest))) if command.rest else "return"


def bash(command):
    own = ident(command.name)
    lines = ["# bash completion for %s, made by the build of its --help." % command.name, "",
             "_%s_words() { mapfile -t COMPREPLY < <(compgen -W \"$1\" -- \"$cur\"); }" % own,
             "_%s_files() { compopt -o filenames; mapfile -t COMPREPLY < <(compgen \"$1\" -- \"$cur\"); }" % own,
             "", "_%s() {" % own,
             "  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}",
             "  COMPREPLY=()",
             "  # --option=value comes as three words.",
             "  if [[ $prev == = ]] && ((COMP_CWORD > 2)); then prev=${COMP_WORDS[COMP_CWORD - 2]}; fi",
             "  if [[ $cur == = ]]; then cur=; fi"]
    if command.under:
        lines += ["  local command='' place", "  for ((place = 1; place < COMP_CWORD; ++place)); do",
                  "    if [[ ${COMP_WORDS[place]} != -* ]]; then command=${COMP_WORDS[place]}; break; fi",
                  "  done",
                  "  case $command in"]
        for one in command.under:
            lines.append("  %s)" % one.name)
            lines += ["    case $prev in"] + bash_values(one, "    ") + ["    esac"] \
                if bash_values(one, "") else []
            lines += ["    if [[ $cur == -* ]]; then _%s_words %s; else %s; fi ;;" % (
                own, word(bash_words(one)), bash_rest(one))]
        lines += ["  '')"]
    values = bash_values(command, "    " if command.under else "  ")
    if values:
        lines += ["  case $prev in"] + values + ["  esac"]
    names = bash_words(command)
    if command.under:
        names += " " + " ".join(one.name for one in command.under)
        lines += ["    _%s_words %s ;;" % (own, word(names)), "  esac"]
    else:
        lines += ["  _%s_words %s" % (own, word(names))]
    return "\n".join(lines + ["}", "complete -F _%s %s" % (own, command.name), ""])


# ---- zsh

def zsh_text(text):
    return re.sub(r"([\[\]:\\])", r"\\\1", text)


def zsh_value(option):
    if option.value is None:
        return ""
    if option.choices:
        does = "(%s)" % " ".join(option.choices)
    else:
        does = "_files -/" if option.value == "DIR" else "_files" if option.is_file() else " "
    return ":%s:%s" % (option.value.lower(), does)


def zsh_arguments(command):
    lines = []
    for option in command.options:
        more = "*" if option.value == "N" and command.name == "dismiss" else ""
        lines.append(word("%s%s[%s]%s" % (more, option.name, zsh_text(option.text), zsh_value(option))))
    if command.rest == "file":
        lines.append("'*:file:_files'")
    elif command.rest:
        lines.append(word(":what:(%s)" % " ".join(command.rest)))
    return " \\\n      ".join(lines)


def zsh(command):
    lines = ["#compdef %s" % command.name, "# Made by the build of its --help.", ""]
    if not command.under:
        return "\n".join(lines + ["_arguments -S \\\n      " + zsh_arguments(command), ""])
    lines += ["local context state state_descr line", "typeset -A opt_args", "local -a commands=("]
    lines += ["  " + word("%s:%s" % (one.name, zsh_text(one.text))) for one in command.under]
    lines += [")", "_arguments -C -S \\\n      " + zsh_arguments(command) +
              " \\\n      '1:command:->command' \\\n      '*::argument:->argument'", "case $state in",
              "  command) _describe -t commands command commands ;;", "  argument)",
              "    case $words[1] in"]
    for one in command.under:
        lines += ["    %s)" % one.name, "      _arguments -S \\\n      " + zsh_arguments(one) + " ;;"]
    return "\n".join(lines + ["    esac ;;", "esac", ""])


# ---- fish

def fish_options(name, command, when):
    for option in command.options:
        line = "complete -c %s%s -l %s" % (name, when, option.name[2:])
        if option.short:
            line += " -s " + option.short[1:]
        if option.value is not None:
            line += " -r -F" if option.is_file() else " -x"
            if option.choices:
                line += " -a " + word(" ".join(option.choices))
        text = option.text if len(option.text) < 100 else option.text[:96].rsplit(" ", 1)[0] + " …"
        yield line + " -d " + word(text).replace("'\\''", "\\'")


def fish(command):
    name = command.name
    lines = ["# Made by the build of its --help.", "complete -c %s -f" % name]
    names = " ".join(one.name for one in command.under)
    none = " -n 'not __fish_seen_subcommand_from %s'" % names if names else ""
    lines += fish_options(name, command, none)
    for one in command.under:
        lines.append("complete -c %s%s -a %s -d %s" % (name, none, one.name, word(one.text)))
        when = " -n '__fish_seen_subcommand_from %s'" % one.name
        lines += fish_options(name, one, when)
        if one.rest == "file":
            lines.append("complete -c %s%s -F" % (name, when))
        elif one.rest:
            lines.append("complete -c %s%s -a %s" % (name, when, word(" ".join(one.rest))))
    return "\n".join(lines + [""])


def main(arguments):
    if len(arguments) != 4:
        sys.exit(__doc__)
    kelvane, service, kit, folder = arguments
    commands = [told_by("kelvane", kelvane), told_by("trevix-local", service), brask(kit)]
    for shell, make, name in [("bash", bash, "%s"), ("zsh", zsh, "_%s"), ("fish", fish, "%s.fish")]:
        place = pathlib.Path(folder) / shell
        place.mkdir(parents=True, exist_ok=True)
        for command in commands:
            (place / (name % command.name)).write_text(make(command), encoding="utf-8")


if __name__ == "__main__":
    main(sys.argv[1:])
