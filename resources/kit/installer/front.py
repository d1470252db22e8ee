#!/usr/bin/env python3
"""Wires the validator into coding tools, and takes the wiring out again.

    brask_install.py TOOL --global             wire one coding tool
    brask_install.py found --global            wire every coding tool that is set up here
    brask_install.py uninstall TOOL --global   take our entries out of one tool, or of `all`
    brask_install.py status [--json]           what is wired, and whether `brask` can be typed

With --dry-run the change is printed as a unified diff and nothing is written. Wiring is always for
the whole account, hence --global.

Exit codes:
    0   done, or there was nothing to do
    1   a file could not be edited; it is as it was, and the message says why and what to do
    3   the tool is not set up on this machine, so there is nothing to wire
    64  wrong usage, or no home folder

How it keeps other people's files safe: an edit is an insertion of text at a computed place, never a
rewrite, so comments, order, indentation, line ends, byte-order mark, mode and symlinks survive. An
edit is written only after taking it out again was shown to give back the very text of before. What
is not understood completely is left untouched. An entry is ours when the command that it runs is
our validator, by path; nothing else is ever removed.

This is one file without imports of its own on purpose: it must still be able to undo everything
when the folder around it is damaged. It needs Python 3.8 and nothing else.
"""

import sys

if sys.version_info < (3, 8):
    sys.exit("brask_install: needs Python 3.8 or newer, this is %d.%d" % sys.version_info[:2])
