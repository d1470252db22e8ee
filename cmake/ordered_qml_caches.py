#!/usr/bin/env python3
"""Runs a command of the build; what Qt's compiler of QML makes is the same code every time.

    ordered_qml_caches.py COMMAND [ARGUMENT…]

qmlcachegen declares the variables of a function in the order of addresses in its own memory, which
change with every start, and with the length of the names of folders. Once it has ended, the file that
follows its `-o` has each function's declarations in the order of their text: none of them depends on
another. Every other command takes this process over. The exit status is the command's.
"""

import os
import re
import sys

# A variable of a register, empty or with an argument of the function in it.
DECLARATION = re.compile(r"(?!return )[A-Za-z_][\w:<>,*& ]*\br\d+_\d+"
                         r"( = \*static_cast<[^;]*>\(argumentsPtr\[\d+\]\))?;\n")


def ordered(code):
    """The code with each run of declarations sorted."""
    done, declarations = [], []
    for line in code.splitlines(keepends=True):
        if DECLARATION.fullmatch(line):
            declarations.append(line)
            continue
        done += sorted(declarations)
        declarations.clear()
        done.append(line)
    return "".join(done + sorted(declarations))


def main(command):
    if not os.path.basename(command[0]).startswith("qmlcachegen") or "-o" not in command[:-1]:
        os.execvp(command[0], command)
    import subprocess  # every command of the build would wait for it

    status = subprocess.call(command)
    if status == 0:
        with open(command[command.index("-o") + 1], "r+", encoding="utf-8", newline="") as file:
            code = ordered(file.read())
            file.seek(0)
            file.write(code)
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]) if len(sys.argv) > 1 else __doc__)
