#!/usr/bin/env python3
"""The coding tools and other agents, from resources/tools.json into a C++ source.

    known_agents.py TOOLS OUTPUT

TOOLS is the table, OUTPUT the source of `detect/known_agents.h` to write. A table that is not whole
is an error, and no file is written.
"""

import json
import pathlib
import re
import sys

KINDS = ("codingHarness", "desktopAgent", "localModel")


class Wrong(Exception):
    """What is wrong with the table."""


def text(value):
    """A string literal, in UTF-8 as all our sources are."""
    if not isinstance(value, str) or not value.isprintable() or not value:
        raise Wrong("%r is not a text" % (value,))
    return '"%s"' % value.replace("\\", "\\\\").replace('"', '\\"')


def truth(value):
    if not isinstance(value, bool):
        raise Wrong("%r is neither true nor false" % (value,))
    return "true" if value else "false"


class Source:
    """The lines of the source, the lists before what refers to them."""

    def __init__(self):
        self.lines = []

    def array(self, name, kind, values):
        """Defines an array unless it would be empty; returns what a span is made of."""
        if not values:
            return "{}"
        self.lines.append("constexpr %s %s[] = {%s};" % (kind, name, ", ".join(values)))
        return name

    def texts(self, name, values):
        if not isinstance(values, list):
            raise Wrong("%r is not a list" % (values,))
        return self.array(name, "std::string_view", [text(value) for value in values])

    def wiring(self, name, wiring):
        """Defines a tool's wiring; returns its address."""
        if wiring is None:
            return "nullptr"
        if not re.fullmatch(r"[a-z0-9]+", wiring["key"]):
            raise Wrong("%r cannot be a key: it is a word of the wiring script" % wiring["key"])
        if not wiring["files"] or not wiring["homeEntries"]:
            raise Wrong("%s: no files or no entries of the home folder" % wiring["key"])
        files = ["{.path = %s, .markers = %s}" % (
            text(file["path"]), self.texts("%sMarkers%d" % (name, number), file["markers"]))
            for number, file in enumerate(wiring["files"])]
        fields = [".key = " + text(wiring["key"]),
                  ".homeEntries = " + self.texts(name + "HomeEntries", wiring["homeEntries"]),
                  ".files = " + self.array(name + "Files", "WiredFile", files),
                  ".furtherFiles = " + self.texts(
                      name + "FurtherFiles", [file["path"] for file in wiring.get("more", [])]),
                  ".wiredWhenFound = " + truth(wiring["wiredWhenFound"]),
                  ".wiredWhenNoneIsFound = " + truth(wiring["wiredWhenNoneIsFound"])]
        self.lines.append("constexpr WiringRecord %sWiring{%s};" % (name, ", ".join(fields)))
        return "&%sWiring" % name


def source(table):
    """The text of the source."""
    agents = table["agents"]
    ids = [agent["id"] for agent in agents]
    wireable = [agent["id"] for agent in agents if agent["wiring"] is not None]
    if len(set(ids)) != len(ids):
        raise Wrong("an id is there twice")
    if sorted(table["wiringOrder"]) != sorted(wireable):
        raise Wrong("wiringOrder does not name each agent with a wiring once")
    if not any(a["wiring"]["wiredWhenNoneIsFound"] for a in agents if a["wiring"]):
        raise Wrong("where no tool is found, none would be wired")
    out, rows = Source(), []
    for agent in agents:
        name = "k" + "".join(word.capitalize() for word in agent["id"].split("_"))
        if agent["kind"] not in KINDS:
            raise Wrong("%s: there is no kind %r" % (agent["id"], agent["kind"]))
        fields = [".id = " + text(agent["id"]), ".name = " + text(agent["name"]),
                  ".kind = AgentKind::" + agent["kind"],
                  ".bundleIds = " + out.texts(name + "BundleIds", agent["bundleIds"]),
                  ".processNames = " + out.texts(name + "ProcessNames", agent["processNames"]),
                  ".wiring = " + out.wiring(name, agent["wiring"])]
        rows.append("    {%s}," % ", ".join(fields))
    places = ", ".join("&kAgents[%d]" % ids.index(name) for name in table["wiringOrder"])
    return "\n".join(
        ["// Made by the build from resources/tools.json. Change that, not this.", "",
         '#include "detect/known_agents.h"', "", "namespace kelvane {", "", "namespace {", ""] +
        out.lines +
        ["constexpr KnownAgent kAgents[] = {"] + rows +
        ["};", "constexpr const KnownAgent* kWireable[] = {%s};" % places, "",
         "} // namespace", "",
         "std::span<const KnownAgent> knownAgents() { return kAgents; }", "",
         "std::span<const KnownAgent* const> wireableTools() { return kWireable; }", "",
         "} // namespace kelvane", ""])


def main(arguments):
    if len(arguments) != 2:
        sys.exit(__doc__)
    tools, output = map(pathlib.Path, arguments)
    try:
        made = source(json.loads(tools.read_text(encoding="utf-8")))
    except (Wrong, ValueError, KeyError, TypeError) as error:
        sys.exit("known_agents: %s: %s" % (tools, error))
    output.write_text(made, encoding="utf-8")


if __name__ == "__main__":
    main(sys.argv[1:])
