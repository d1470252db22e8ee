"""Every means of every tool: wired and unwired over files that people might have, and told of as it
is."""

import json
import os
import random
import unittest

from home import HomeTest, install

ROUNDS = 20     # homes made by chance; each has a file for every tool that has one
VALIDATOR = install.Validator("/home/u/.brask", "/home/u")
TOOLS = {key: tool for key, tool in install.tools(VALIDATOR).items() if key != "plugin"}
FURTHER = install.further(VALIDATOR)
WRITTEN = [file for key, tool in TOOLS.items() for file in [tool] + FURTHER[key]]
#: What a user might change in our entry of each tool and means, so that it still is ours and whole.
CHANGES = {
    ("claude", "hooks"): (b'"timeout": 60', b'"timeout": 30'),
    ("codex", "server"): (b"tool_timeout_sec = 300", b"tool_timeout_sec = 9"),
    ("codex", "hooks"): (b'"timeout": 60', b'"timeout": 30'),
    ("openclaw", "server"): (b"300000", b"200000"),
    ("cursor", "server"): (b'"type": "stdio"', b'"type": "stdio", "env": {}'),
    ("cursor", "hooks"): (b'"timeout": 60', b'"timeout": 30'),
    ("copilot", "server"): (b'"type": "local"', b'"type": "local", "cwd": "/"'),
    ("copilot", "hooks"): (b"60", b"61"),
    ("gemini", "server"): (b"300000", b"200000"),
    ("gemini", "hooks"): (b"120000", b"110000"),
    ("opencode", "server"): (b'"enabled": true', b'"enabled": true, "timeout": 9'),
    ("opencode", "hooks"): (b'id: "trevix"', b'id: "mine"'),
    ("vscode", "server"): (b'"type": "stdio"', b'"type": "stdio", "env": {}'),
    ("zed", "server"): (b'"env": {}', b'"env": {"A": "b"}'),
    ("windsurf", "server"): (b'"command": "python3"', b'"command": "python3", "disabled": false'),
    ("windsurf", "hooks"): (b'"show_output": true', b'"show_output": false'),
    ("antigravity", "server"): (b'"command": "python3"', b'"command": "python3", "disabled": false')}


def every_file():
    """Each means of each tool: the tool's key, and the file that it is in."""
    return [(key, file) for key, tool in TOOLS.items() for file in [tool] + FURTHER[key]]


class Writer:
    """Writes JSON as people do: with a chance of comments, odd indents and commas too many."""

    def __init__(self, chance, lenient):
        self.chance, self.lenient = chance, lenient
        self.indent = chance.choice([" ", "  ", "    ", "\t", None])

    def remark(self):
        if not self.lenient or self.chance.random() > 0.15:
            return ""
        return self.chance.choice([" /* mine */", " // mine, \"too\"\n", " /* two\nlines */"])

    def text(self, value, depth=0):
        if not isinstance(value, (dict, list)):
            return json.dumps(value, ensure_ascii=False)
        opening, closing = "{}" if isinstance(value, dict) else "[]"
        if not value:
            return opening + self.chance.choice(["", " ", "\n"]) + closing
        parts = ["%s: %s" % (json.dumps(key), self.text(inner, depth + 1))
                 for key, inner in value.items()] if isinstance(value, dict) else \
            [self.text(inner, depth + 1) for inner in value]
        apart = " " if self.indent is None else "\n" + self.indent * (depth + 1)
        end = " " if self.indent is None else "\n" + self.indent * depth
        last = "," if self.lenient and self.chance.random() < 0.2 else ""
        return opening + apart + ("," + apart).join(part + self.remark() for part in parts) + \
            last + self.remark() + end + closing


def users_value(tool, chance):
    """What a user may have in this file: settings we know nothing of, and others' entries."""
    value = {"theme": "dark", "größe": [1, 2.5, -0.0, 1e9, None, True], "nested": {"a": {"b": []}},
             "permissions": {"allow": ["Bash(ls:*)"]}, "x" * chance.randint(1, 40): "\\u0041\t\"q\""}
    kept = chance.sample(sorted(value), chance.randint(0, len(value)))
    value = {key: value[key] for key in kept}
    said = tool.described
    if said["format"] == "event-lists":
        value = dict(said["root"], **value)
        other = {"command": "~/bin/other --fast", "timeout": 5}
        events = list(said["events"]) + ["beforeReadFile"]
        if chance.random() < 0.7:
            value["hooks"] = {event: [other] * chance.randint(0, 2)
                              for event in chance.sample(events, chance.randint(0, len(events)))}
    elif said["format"] == "hooks":
        group = {"matcher": "Bash", "hooks": [{"type": "command", "command": "true"}]}
        events = [hook["event"] for hook in said["hooks"]] + ["SessionStart"]
        if chance.random() < 0.7:
            value["hooks"] = {event: [group] * chance.randint(0, 2)
                              for event in chance.sample(events, chance.randint(0, len(events)))}
    elif chance.random() < 0.7:
        inner = {"other": {"command": "npx", "args": ["-y", "server"]}} \
            if chance.random() < 0.7 else {}
        for name in reversed(said["under"]):
            inner = {name: inner}
        value.update(inner)
    return value


def users_file(tool, chance):
    """The bytes of such a file."""
    if tool.described["format"] == "toml-table":
        text = chance.choice(["", "model = \"x\"\n", "[projects.\"/a b\"]\ntrust = 1 # mine\n",
                              "[mcp_servers.other]\ncommand = \"npx\"", "# nothing yet\n\n"])
    else:
        text = Writer(chance, tool.dialect.comments).text(users_value(tool, chance))
        text += chance.choice(["", "\n", "\n\n"])
    if chance.random() < 0.3:
        text = text.replace("\n", "\r\n")
    return (b"\xef\xbb\xbf" if chance.random() < 0.2 else b"") + text.encode("utf-8")


class GivenBackTest(HomeTest):
    def test_files_of_every_tool_are_given_back_byte_for_byte(self):
        chance, wired = random.Random(16), 0
        for number in range(ROUNDS):
            with self.subTest(home=number):
                for tool in WRITTEN:
                    if tool.create and chance.random() < 0.2 or tool.whole:
                        continue  # there is none
                    if not os.path.exists(self.at(tool.file)):
                        self.put(tool.file, users_file(tool, chance))
                before = self.tree()
                for key in TOOLS:
                    result = self.wire(key)
                    self.assertEqual(0, result.code, result.err)
                states = {tool["tool"]: tool["state"] for tool in self.status()
                          if tool["tool"] in TOOLS}
                self.assertEqual({"wired"}, set(states.values()), states)
                again = self.tree()
                self.assertEqual(0, self.run_main("found", "--global").code)
                self.assertEqual(again, self.tree())
                wired += len(states)
                self.assertEqual(0, self.unwire().code)
                self.assertEqual(before, self.tree())
                self.clear()
        self.assertEqual(ROUNDS * len(TOOLS), wired)

    def status(self):
        return json.loads(self.run_main("status", "--json").out)["tools"]

    def clear(self):
        import shutil
        for name in os.listdir(self.home):
            if name != ".brask":
                shutil.rmtree(self.at(name))


class StateTest(HomeTest):
    """What `status` says of a tool as a whole, and of each of its means."""

    def status(self, key, answers=None):
        said = []

        def ask(command, question, enough):
            said.append(list(command))
            return (answers or {}).get(command[0] + " " + command[1])
        installer = install.Installer(self.env, said.append, said.append, ask=ask)
        self.asked = said
        return installer.tool_status(installer.tools[key])

    def codex(self, *statuses, **more):
        """The answer of Codex to a question about its hooks."""
        hooks = [dict({"command": "python3 -I \"%s\" --harness codex || true"
                                  % self.at(".brask/validate.py"), "trustStatus": status,
                       "sourcePath": self.at(".codex/hooks.json"), "enabled": True}, **more)
                 for status in statuses]
        lines = [{"id": 1, "result": {}}, {"method": "noise"},
                 {"id": 2, "result": {"data": [{"hooks": hooks}]}}]
        return {"codex app-server": "".join(json.dumps(line) + "\n" for line in lines),
                "codex --version": "codex-cli 0.169.0\n"}

    def test_a_tool_with_all_of_its_means_is_wired(self):
        self.wire("codex")
        found = self.status("codex", self.codex("trusted", "trusted"))
        self.assertEqual(("wired", "0.169.0"), (found["state"], found["version"]))
        self.assertEqual([("server", "wired"), ("hooks", "wired")],
                         [(means["means"], means["state"]) for means in found["means"]])

    def test_hooks_that_the_tool_passes_over_are_not_trusted_yet(self):
        self.wire("codex")
        for statuses in (("untrusted", "untrusted"), ("trusted", "modified")):
            found = self.status("codex", self.codex(*statuses))
            self.assertEqual("untrusted", found["state"])
            self.assertIn("/hooks", " ".join(found["notes"]))

    def test_hooks_that_are_switched_off_are_the_users_decision(self):
        self.wire("codex")
        found = self.status("codex", self.codex("trusted", enabled=False))
        self.assertEqual("wired", found["state"])
        self.assertIn("switched off", " ".join(found["notes"]))

    def test_a_tool_that_does_not_tell_is_taken_at_its_file(self):
        self.wire("codex")
        for said in (None, "", "not JSON\n", '{"id":2,"result":[]}\n', '{"id":2,"error":{}}\n',
                     "[" * 100000 + "\n"):
            found = self.status("codex", {"codex app-server": said})
            self.assertEqual(("wired", None), (found["state"], found["version"]))
            self.assertIsNone(found["means"][1]["trust"])

    def test_no_hash_of_trust_is_ever_written_and_wiring_says_so(self):
        self.assertIn("run /hooks", self.wire("codex").err)
        self.assertNotIn("run /hooks", self.wire("codex").err)
        for name in (".codex/hooks.json", ".codex/config.toml"):
            self.assertNotIn(b"trusted_hash", self.get(name))

    def test_half_of_it_needs_repair_and_wiring_again_repairs(self):
        for key, file in every_file():
            if not FURTHER[key]:
                continue  # one entry is there or is not
            with self.subTest(tool=key, means=file.means):
                installer = self.wired(key)
                text = self.get(file.file).decode()
                half = [file] + [f for f in [installer.tools[key]] + installer.further[key]
                                 if f.record == file.record]
                self.put(file.file, half[-1].remove(text, install.Hints()).encode())
                found = self.status(key)
                self.assertEqual("repair", found["state"])
                self.assertIn("needs repair: run this again", self.told(found))
                self.assertEqual({"absent", "wired"}, set(self.means(found).values()))
                self.assertEqual(0, self.wire(key).code)
                self.assertEqual({"wired"}, set(self.means(self.status(key)).values()))
                self.start_anew()

    def wired(self, key):
        """The tool, wired whole; its installer."""
        if not TOOLS[key].create:
            self.put(TOOLS[key].file, b"{}\n")
        self.assertEqual(0, self.wire(key).code)
        installer = install.Installer(self.env, lambda _: None, lambda _: None, ask=lambda *_: None)
        self.assertEqual("wired", installer.tool_status(installer.tools[key])["state"])
        return installer

    def start_anew(self):
        self.assertEqual(0, self.unwire().code)

    @staticmethod
    def means(found):
        return {means["means"]: means["state"] for means in found["means"]}

    @staticmethod
    def told(found):
        """What people read of it."""
        command = {"path": "p", "state": "ours", "onPath": True, "lineToAdd": None}
        return "\n".join(install.status_lines({"validator": {"path": "v", "present": True},
                                               "tools": [found], "command": command}))

    def test_every_tool_that_does_not_name_its_version_is_wired_and_of_an_unknown_one(self):
        for key in TOOLS:
            with self.subTest(tool=key):
                self.wired(key)
                found = self.status(key)
                self.assertEqual(("wired", None), (found["state"], found["version"]))
                self.assertRegex(self.told(found), r"(?m)^ +version unknown$")
                self.start_anew()

    def test_every_tool_whose_program_is_known_names_its_version(self):
        programs = {agent["wiring"]["key"]: agent["npm"] for agent in install.WIRED}
        for key in TOOLS:
            with self.subTest(tool=key):
                self.wired(key)
                npm = programs[key]
                said = {"%s --version" % npm["program"]: "v" + npm["version"]} if npm else {}
                self.assertEqual(npm and npm["version"], self.status(key, said)["version"])
                self.start_anew()

    def test_one_event_of_two_needs_repair(self):
        for key, file in every_file():
            if file.described["format"] not in ("hooks", "event-lists"):
                continue
            with self.subTest(tool=key):
                self.wired(key)
                value = json.loads(self.get(file.file).decode())
                value["hooks"].popitem()
                self.put(file.file, json.dumps(value).encode())
                self.assertEqual("repair", self.status(key)["state"])
                self.assertEqual(0, self.wire(key).code)
                self.assertEqual("wired", self.status(key)["state"])
                self.start_anew()

    def test_an_entry_that_the_user_changed_is_told_and_stays(self):
        self.assertEqual({(key, file.means) for key, file in every_file()}, set(CHANGES))
        for key, file in every_file():
            with self.subTest(tool=key, means=file.means):
                self.wired(key)
                old, new = CHANGES[key, file.means]
                data = self.get(file.file).replace(old, new, 1)
                self.assertNotEqual(self.get(file.file), data)
                self.put(file.file, data)
                found = self.status(key)
                self.assertEqual("edited", found["state"])
                self.assertIn("wired, and edited by you", self.told(found))
                self.assertEqual([file.means], [means for means, state in self.means(found).items()
                                                if state == "edited"])
                self.assertEqual(0, self.wire(key).code)
                self.assertEqual(data, self.get(file.file))
                self.start_anew()

    def test_nothing_is_asked_of_tools_that_are_not_wired(self):
        self.assertEqual("absent", self.status("codex")["state"])
        self.assertEqual([], self.asked)


class AskingTest(HomeTest):
    """The program of a tool, asked for real."""

    def program(self, text):
        path = self.put("bin/codex", ("#!/bin/sh\n" + text).encode(), 0o755)
        return install.asker({"PATH": os.path.dirname(path) + ":/usr/bin:/bin", "HOME": self.home},
                             patience=5.0)

    def version(self, text):
        return install.version_of({"npm": {"program": "codex"}}, self.program(text))

    def test_a_version_is_found_in_what_the_program_says(self):
        self.assertEqual("0.169.0", self.version("echo codex-cli 0.169.0"))
        self.assertEqual("2.1.329", self.version("echo '2.1.329 (Claude Code)'"))

    def test_no_program_and_no_number_is_no_version(self):
        self.assertIsNone(self.version("echo none; exit 3"))
        ask = install.asker({"PATH": self.at("nowhere")})
        self.assertIsNone(install.version_of({"npm": {"program": "codex"}}, ask))
        self.assertIsNone(install.version_of({"npm": None}, ask))

    def test_a_program_that_never_ends_is_ended_once_it_has_answered(self):
        ask = self.program("read line; echo '{\"id\":2,\"result\":{}}'; exec sleep 600")
        self.assertIsNone(install.codex_trust("/x", self.home, ask))

    def test_one_that_closes_its_input_at_once_is_no_error(self):
        self.assertIsNone(install.codex_trust("/x", self.home, self.program("exec 0<&-; exit 0")))


class VersionTest(HomeTest):
    """A tool that wants its servers elsewhere from a version on."""

    def wired(self, version, before=b"{}"):
        self.put(".config/opencode/opencode.json", before)
        installer = install.Installer(self.env, lambda _: None, lambda _: None,
                                      ask=lambda *_: version)
        self.assertEqual(0, installer.install("opencode"))
        return json.loads(self.get(".config/opencode/opencode.json").decode())["mcp"]

    def test_the_first_version_and_an_unknown_one(self):
        for version in ("1.18.33\n", None):
            self.assertEqual(["trevix"], list(self.wired(version)))
            self.unwire()

    def test_the_second_version(self):
        found = self.wired("2.0.1\n")
        self.assertEqual(["servers"], list(found))
        self.assertNotIn("enabled", found["servers"]["trevix"])

    def test_after_an_upgrade_wiring_again_moves_the_entry(self):
        self.wired("1.18.33\n")
        before = self.get(".config/opencode/opencode.json")
        self.assertEqual(["servers"], list(self.wired("2.0.1\n", before)))
        self.unwire()
        self.assertEqual(b"{}", self.get(".config/opencode/opencode.json"))


class PluginTest(HomeTest):
    """Claude Code's plugin, in place of hooks in its settings."""

    FOLDER = ".claude/skills/trevix"

    def test_it_is_one_folder_and_goes_as_one(self):
        self.put(".claude/settings.json", b"{}")
        before = self.tree()
        self.assertEqual(0, self.wire("plugin").code)
        self.assertEqual(b"{}", self.get(".claude/settings.json"))
        made = json.loads(self.get(self.FOLDER + "/.claude-plugin/plugin.json").decode())
        self.assertEqual(["PostToolUse", "Stop"], list(made["hooks"]))
        self.assertEqual(0, self.unwire("plugin").code)
        self.assertEqual(before, self.tree())

    def test_it_and_the_settings_do_not_both_do_the_work(self):
        for first, second in (("claude", "plugin"), ("plugin", "claude")):
            self.assertEqual(0, self.wire(first).code)
            before = self.tree()
            result = self.wire(second)
            self.assertEqual(1, result.code)
            self.assertIn("uninstall %s --global" % first, result.err)
            self.assertEqual(before, self.tree())
            self.unwire()

    def test_deleting_the_folder_is_enough(self):
        import shutil
        self.wire("plugin")
        shutil.rmtree(self.at(self.FOLDER))
        self.assertEqual(0, self.wire("claude").code)
        self.assertEqual(0, self.unwire().code)


class OwnFileTest(HomeTest):
    FILE = ".copilot/hooks/trevix.json"

    def test_somebody_elses_file_of_that_name_is_left_alone(self):
        self.put(self.FILE, b'{"version": 1}')
        result = self.wire("copilot")
        self.assertEqual(1, result.code)
        self.assertIn("something else", result.err)
        self.unwire()
        self.assertEqual(b'{"version": 1}', self.get(self.FILE))

    def test_a_home_folder_of_any_name_is_ours(self):
        for home in ("/home/a b", "/home/ü'x", "/home/$x", '/home/"q"', "/home/back\\slash"):
            validator = install.Validator(home + "/.brask", home)
            for files in install.further(validator).values():
                for file in files:
                    if file.whole:
                        with self.subTest(home=home, file=file.file):
                            text = file.add("", install.Hints()).text
                            self.assertEqual(("wired", False), (file.state(text), file.edited(text)))
                            self.assertEqual("", file.remove(text, install.Hints()))

    def test_it_goes_without_the_manifest_too(self):
        self.wire("copilot")
        os.unlink(self.at(".brask/installed.json"))
        self.assertEqual(0, self.unwire().code)
        self.assertFalse(os.path.exists(self.at(self.FILE)))


class RootTest(HomeTest):
    def test_a_file_without_what_the_tool_wants_at_the_top_is_refused(self):
        self.put(".cursor/hooks.json", b"{}\n")
        result = self.wire("cursor")
        self.assertEqual(1, result.code)
        self.assertIn('"version": 1', result.err)
        self.assertEqual(b"{}\n", self.get(".cursor/hooks.json"))

    def test_a_blank_file_is_given_back(self):
        self.put(".cursor/hooks.json", b"\n\n")
        self.assertEqual(0, self.wire("cursor").code)
        self.assertEqual(1, json.loads(self.get(".cursor/hooks.json").decode())["version"])
        self.unwire()
        self.assertEqual(b"\n\n", self.get(".cursor/hooks.json"))


class FoundTest(HomeTest):
    def test_wires_what_is_set_up_and_nothing_else(self):
        self.put(".gemini/settings.json", b"{}")
        os.makedirs(self.at(".config/zed"))
        self.assertEqual(0, self.run_main("found", "--global").code)
        self.assertIn(b"--harness gemini", self.get(".gemini/settings.json"))
        self.assertTrue(os.path.exists(self.at(".config/zed/settings.json")))
        self.assertFalse(os.path.exists(self.at(".claude")))

    def test_says_when_there_is_none(self):
        self.assertEqual(3, self.run_main("found", "--global").code)


if __name__ == "__main__":
    unittest.main()
