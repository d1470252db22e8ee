#!/usr/bin/env python3
"""The texts of packages that are made of others: what changed, and who holds which rights.

    package_texts.py version ROOT TIME           the version of a package made now
    package_texts.py check ROOT                  may this be released? Says the version, or why not
    package_texts.py changelog ROOT TIME         CHANGELOG.md as Debian's tools read it
    package_texts.py releases ROOT TIME          the same as the releases of AppStream's metainfo
    package_texts.py copyright ROOT [PROTOCOL…]  who holds the rights of what is compiled in; PROTOCOL is a
                                                 description of a Wayland protocol that is

ROOT is the checkout. TIME is in seconds since 1970: when what is not released yet was changed last; the
version of such a package sorts before the release that it becomes. Exits with 1 and one sentence where
CHANGELOG.md is not as this needs it.
"""

import datetime
import pathlib
import re
import sys
import textwrap
import xml.etree.ElementTree
from xml.sax.saxutils import quoteattr

MAINTAINER = "Kelvane Companion <support@trevix.example>"
VERSION_FILE = "resources/kit/standing/engine/version.txt"
HEADING = re.compile(r"^## \[(?P<name>[^\]]+)\](?: - (?P<date>\S+))?$", re.MULTILINE)
NUMBERS = re.compile(r"\d+\.\d+\.\d+")
HOLDER = re.compile(r"(Copyright (©|\([cC]\))|SPDX-FileCopyrightText:) *")
SECTIONS = {"Added", "Changed", "Deprecated", "Removed", "Fixed", "Security", "Known limits"}


class Wrong(Exception):
    """Why the changes cannot be told."""


class Release:
    """One part of the changes; `name` is "Unreleased" or a version, `date` absent for the former."""

    def __init__(self, name, date, text):
        self.name, self.date = name, date
        self.items = []     # [(section, sentence)], each on one line, without the marks of Markdown
        section = ""
        for block in re.split(r"\n(?=[*#])|\n\s*\n", text.strip("\n")):
            block = " ".join(block.split())
            if block.startswith("### "):
                section = block[4:]
                if section not in SECTIONS:
                    raise Wrong("CHANGELOG.md: %s: there is no section %r" % (name, section))
            elif block.startswith("* "):
                self.items.append((section, plain(block[2:])))

    def version(self, number, seconds):
        if self.date is not None:
            return self.name
        return "%s~git%s" % (number, day(seconds).strftime("%Y%m%d%H%M"))


def plain(text):
    """A sentence of Markdown as plain text."""
    text = re.sub(r"\[([^\]]+)\]\([^)]+\)", r"\1", text)
    return re.sub(r"[`]|\*\*", "", text)


def day(seconds):
    return datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc)


def releases(text):
    """The releases of CHANGELOG.md, newest first."""
    headings = list(HEADING.finditer(text))
    if len(headings) != len(re.findall(r"^## ", text, re.MULTILINE)) or not headings:
        raise Wrong("CHANGELOG.md: each heading is to be [Unreleased] or [1.2.3] - 2026-01-31")
    found = []
    for heading, after in zip(headings, headings[1:] + [None]):
        name, written = heading["name"], heading["date"]
        if (name == "Unreleased") != (written is None) or (name == "Unreleased" and found):
            raise Wrong("CHANGELOG.md: %s: only [Unreleased], which comes first, has no date" % name)
        date = None
        if written is not None:
            try:
                date = datetime.date.fromisoformat(written)
            except ValueError:
                date = None
            if date is None or not NUMBERS.fullmatch(name):
                raise Wrong("CHANGELOG.md: [%s] - %s: not a version and a day" % (name, written))
        end = after.start() if after else len(text)
        found.append(Release(name, date, text[heading.end():end]))
    versions = [tuple(map(int, one.name.split("."))) for one in found if one.date]
    if versions != sorted(set(versions), reverse=True):
        raise Wrong("CHANGELOG.md: versions do not go down from the newest")
    dates = [one.date for one in found if one.date]
    if dates != sorted(dates, reverse=True):
        raise Wrong("CHANGELOG.md: days do not go down from the newest")
    return found


def read(root):
    """(the number of this version, the releases that have something to tell)"""
    number = (root / VERSION_FILE).read_text(encoding="ascii").strip()
    found = releases((root / "CHANGELOG.md").read_text(encoding="utf-8"))
    told = [one for one in found if one.items]
    if not told:
        raise Wrong("CHANGELOG.md tells of no change")
    return number, told


def version(root, seconds):
    number, told = read(root)
    return told[0].version(number, seconds)


def check(root):
    """The version that this is a release of."""
    number, told = read(root)
    newest = told[0]
    if newest.date is None:
        raise Wrong("CHANGELOG.md: what changed stands under [Unreleased]: call it [%s] - %s"
                    % (number, "YYYY-MM-DD"))
    if newest.name != number:
        raise Wrong("CHANGELOG.md tells of %s, %s says %s" % (newest.name, VERSION_FILE, number))
    return number


def when(release, seconds):
    """Seconds since 1970; a released version keeps its day, at noon."""
    if release.date is None:
        return seconds
    noon = datetime.datetime.combine(release.date, datetime.time(12), datetime.timezone.utc)
    return int(noon.timestamp())


def changelog(root, seconds):
    number, told = read(root)
    text = ""
    for release in told:
        text += "kelvane (%s) stable; urgency=medium\n\n" % release.version(number, seconds)
        for section, item in release.items:
            sentence = item if section in ("", "Added") else "%s: %s" % (section, item)
            text += textwrap.fill(sentence, 78, initial_indent="  * ", subsequent_indent="    ",
                                  break_long_words=False, break_on_hyphens=False) + "\n"
        text += "\n -- %s  %s\n\n" % (MAINTAINER, day(when(release, seconds)).strftime(
            "%a, %d %b %Y %H:%M:%S +0000"))
    return text.rstrip("\n") + "\n"


def metainfo_releases(root, seconds):
    number, told = read(root)
    return "\n".join("    <release version=%s date=%s type=%s/>" % (
        quoteattr(release.version(number, seconds)),
        quoteattr(day(when(release, seconds)).strftime("%Y-%m-%d")),
        quoteattr("stable" if release.date else "development")) for release in told) + "\n"


EXPAT = """License: Expat
 Permission is hereby granted, free of charge, to any person obtaining a copy
 of this software and associated documentation files (the "Software"), to deal
 in the Software without restriction, including without limitation the rights
 to use, copy, modify, merge, publish, distribute, sublicense, and/or sell
 copies of the Software, and to permit persons to whom the Software is
 furnished to do so, subject to the following conditions:
 .
 The above copyright notice and this permission notice shall be included in
 all copies or substantial portions of the Software.
 .
 THE SOFTWARE IS PROVIDED "AS IS", WITHOUT WARRANTY OF ANY KIND, EXPRESS OR
 IMPLIED, INCLUDING BUT NOT LIMITED TO THE WARRANTIES OF MERCHANTABILITY,
 FITNESS FOR A PARTICULAR PURPOSE AND NONINFRINGEMENT. IN NO EVENT SHALL THE
 AUTHORS OR COPYRIGHT HOLDERS BE LIABLE FOR ANY CLAIM, DAMAGES OR OTHER
 LIABILITY, WHETHER IN AN ACTION OF CONTRACT, TORT OR OTHERWISE, ARISING FROM,
 OUT OF OR IN CONNECTION WITH THE SOFTWARE OR THE USE OR OTHER DEALINGS IN THE
 SOFTWARE.
"""
APACHE = """License: Apache-2.0
 On Debian systems, the complete text of the Apache License, version 2.0, can
 be found in /usr/share/common-licenses/Apache-2.0.
"""


def grammars(root):
    """[(name, who)] of the grammars that were compiled in."""
    place = root / "build/grammars"
    listed = place / "installed"
    packages = sorted({line.split()[1] for line in listed.read_text(encoding="utf-8").splitlines()
                       if line.strip()}) if listed.is_file() else []
    found = []
    for package in packages:
        name, _, number = package.rpartition("@")
        texts = list((place / "source" / ("%s-%s" % (name, number))).glob("LICENSE*"))
        text = texts[0].read_text(encoding="utf-8") if texts else ""
        who = re.search(r"^Copyright \(c\) (.+)$", text, re.MULTILINE)
        if who is None or "Permission is hereby granted, free of charge" not in text:
            raise Wrong("%s: its licence is not the one that the package states" % package)
        found.append((name, who.group(1).strip()))
    return found


def protocol(path):
    """The stanza of a protocol of Wayland's, whose description states its own rights."""
    told = xml.etree.ElementTree.parse(path).getroot().findtext("copyright") or ""
    lines = [line.strip() for line in told.strip().splitlines()]
    who = [HOLDER.sub("", line) for line in lines if HOLDER.match(line)]
    rest = [line for line in lines if line and not HOLDER.match(line) and not line.startswith("SPDX-")]
    named = re.search(r"^SPDX-License-Identifier: (\S+)$", "\n".join(lines), re.MULTILINE)
    if not who or not (rest or named):
        raise Wrong("%s does not say who holds its rights" % path)
    name = path.stem
    if named:
        short = named[1].replace("-or-later", "+").replace("-only", "")
        text = "License: %s\n See /usr/share/common-licenses/%s." % (short, short.rstrip("+"))
    else:
        paragraphs = re.sub(r"\n(?:\n)+", "\n.\n", "\n".join(
            line for line in lines if not HOLDER.match(line)).strip())
        text = "License: %s\n %s" % (name, paragraphs.replace("\n", "\n "))
    return "Files: %s.xml\nCopyright: %s\n%s\n" % (name, "\n ".join(who), text)


def copyright_text(root, *protocols):
    stanzas = ["Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n"
               "Upstream-Name: Kelvane Companion\nUpstream-Contact: %s\n"
               "Comment: What is compiled in from elsewhere stands below what is ours. Libraries\n"
               " that are linked while the program starts have their own packages.\n" % MAINTAINER,
               "Files: *\nCopyright: 2026 The contributors of Kelvane Companion\n"
               "License: Apache-2.0\n",
               "Files: nlohmann/*\nCopyright: 2013-2022 Niels Lohmann\n 2009 Florian Loitsch\n"
               " 2008-2009 Bjoern Hoehrmann <bjoern@hoehrmann.de>\nLicense: Expat\n"]
    for name, who in grammars(root):
        stanzas.append("Files: %s/*\nCopyright: %s\nLicense: Expat\n" % (name, who))
    stanzas += [protocol(pathlib.Path(path)) for path in protocols]
    return "\n".join(stanzas + [APACHE, EXPAT])


def main(arguments):
    actions = {"version": (version, True), "check": (check, False), "changelog": (changelog, True),
               "releases": (metainfo_releases, True), "copyright": (copyright_text, False)}
    if len(arguments) < 2 or arguments[0] not in actions:
        sys.exit(__doc__)
    action, needs_time = actions[arguments[0]]
    root, more = pathlib.Path(arguments[1]), arguments[2:]
    if action is not copyright_text and len(more) != (1 if needs_time else 0):
        sys.exit(__doc__)
    try:
        text = action(root, *(map(int, more) if needs_time else more))
    except (Wrong, OSError, ValueError, xml.etree.ElementTree.ParseError) as error:
        sys.exit("package_texts: %s" % error)
    sys.stdout.write(text if text.endswith("\n") else text + "\n")


if __name__ == "__main__":
    main(sys.argv[1:])
