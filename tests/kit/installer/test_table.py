"""What the installer goes by is what resources/tools.json says, in every field that it uses.

The application is held to the same file by tests/detect/known_agents_test.cpp.
"""

import json
import os
import unittest

from home import FILES, MARKERS, ROOT, HomeTest, install

with open(str(ROOT / "resources" / "tools.json"), encoding="utf-8") as file:
    TEXT = file.read()
TABLE = json.loads(TEXT)
STATED = {agent["wiring"]["key"]: agent for agent in TABLE["agents"] if agent["wiring"]}
WIRED = dict(STATED, **{agent["wiring"]["key"]: agent for agent in TABLE["others"]})


class TableTest(unittest.TestCase):
    def setUp(self):
        self.validator = install.Validator("/home/u/.brask", "/home/u")
        self.tools = install.tools(self.validator)

    def filled(self, value):
        """A value of the table with the validator's path in it."""
        return json.loads(json.dumps(value).replace("{validator}", "/home/u/.brask/validate.py"))

    def filled_lines(self, value):
        """The same of a value whose texts are command lines."""
        quoted = json.dumps('"/home/u/.brask/validate.py"')[1:-1]
        text = json.dumps(value).replace('"{validator}"', '"/home/u/.brask/validate.py"')
        return json.loads(text.replace("{validator}", quoted))

    def files(self):
        """Each file of each tool: the tool's record, the file's, and what the installer made."""
        for key, agent in WIRED.items():
            made = [self.tools[key]] + install.cleaned_only(self.validator, key) + \
                install.further(self.validator)[key]
            said = agent["wiring"]["files"] + agent["wiring"].get("more", [])
            self.assertEqual(len(said), len(made), key)
            for one, other in zip(said, made):
                yield agent, one, other

    def test_the_installer_holds_the_very_text(self):
        self.assertEqual(TEXT, install.TOOLS_JSON)

    def test_the_tools_and_their_order(self):
        """Those that the companion shows, and behind them the others."""
        ids = {agent["id"]: key for key, agent in STATED.items()}
        self.assertEqual([ids[name] for name in TABLE["wiringOrder"]] +
                         [agent["wiring"]["key"] for agent in TABLE["others"]], list(self.tools))

    def test_every_field_of_a_tool(self):
        for agent, said, made in self.files():
            with self.subTest(file=said["path"]):
                self.assertEqual(agent["wiring"]["key"], made.key)
                self.assertEqual(agent["name"], made.label)
                self.assertEqual(agent["wiring"]["movedBy"], made.moved_by)
                self.assertEqual(said["path"], made.file)
                self.assertEqual(said["markers"], made.markers)
                self.assertEqual(said.get("create", False), made.create)
                self.assertIs(install.FORMATS[said["format"]], type(made))
                if said["format"] not in ("toml-table", "own-file"):
                    self.assertIs(install.DIALECTS[said["dialect"]], made.dialect)
                if "under" in said and said["format"] == "servers":
                    self.assertEqual(tuple(said["under"]), made.way)

    def test_what_goes_in_is_what_the_table_says(self):
        """Wires a file that says nothing, and reads what is there then."""
        for agent, said, made in self.files():
            if not set(said) & {"entry", "hooks", "events", "value", "text"}:
                continue  # never written, only cleaned
            with self.subTest(file=said["path"]):
                text = made.add(made.seed, install.Hints()).text
                self.assertTrue(made.seen(text))
                if said["format"] == "toml-table":
                    table = install.toml_outline(install.TomlReader(text).read().root)
                    wanted = {key: self.shape(value)
                              for key, value in self.filled(said["entry"]).items()}
                    self.assertEqual({said["under"][0]: {TABLE["server"]: wanted}}, table)
                elif said["format"] == "servers":
                    wanted = {TABLE["server"]: self.filled(said["entry"])}
                    for name in reversed(said["under"]):
                        wanted = {name: wanted}
                    self.assertEqual(wanted, json.loads(text))
                elif said["format"] == "event-lists":
                    wanted = {event: [self.filled_lines(handler)]
                              for event, handler in said["events"].items()}
                    self.assertEqual(dict(said["root"], hooks=wanted), json.loads(text))
                elif "text" in said:
                    command = said["command"].replace("{validator}", self.validator.quoted)
                    wanted = "\n".join(said["text"]) + "\n"
                    wanted = wanted.replace("{command}", json.dumps(command)).replace(
                        "{engine}", '"file:///home/u/.brask/standing/engine/opencode.mjs"')
                    self.assertEqual(wanted, text)
                elif said["format"] == "own-file":
                    self.assertEqual(self.filled_lines(said["value"]), json.loads(text))
                else:
                    wanted = {}
                    for hook in said["hooks"]:
                        command = hook["command"].replace("{validator}", self.validator.quoted)
                        group = {"hooks": [{"type": "command", "command": command,
                                            "timeout": hook["timeout"]}]}
                        if hook["matcher"] is not None:
                            group["matcher"] = hook["matcher"]
                        wanted[hook["event"]] = [group]
                    self.assertEqual({"hooks": wanted}, json.loads(text))

    def test_what_no_program_was_asked_about_was_read_somewhere_on_some_day(self):
        for key, agent in WIRED.items():
            if agent["npm"] is None and key != "plugin":  # which Claude Code's own program validates
                self.assertRegex(agent["read"]["on"], r"^20\d\d-[01]\d-[0-3]\d$", key)
                self.assertIn("/", agent["read"]["what"], key)

    def test_no_text_of_cursors_hooks_begins_a_remark(self):
        """Cursor takes what follows two strokes for a remark, within a text too."""
        for agent, said, made in self.files():
            if said["path"] == ".cursor/hooks.json":
                self.assertNotIn("//", made.add(made.seed, install.Hints()).text)

    def shape(self, value):
        """A value as the reader of TOML gives it."""
        if isinstance(value, list):
            return [self.shape(inner) for inner in value]
        return ("string", value) if isinstance(value, str) else ("other", json.dumps(value))

    def test_the_table_says_what_these_tests_take_for_granted(self):
        self.assertEqual(FILES, {key: agent["wiring"]["files"][0]["path"]
                                 for key, agent in STATED.items()})
        self.assertEqual(MARKERS, {key: tuple(marker.encode()
                                              for marker in agent["wiring"]["files"][0]["markers"])
                                   for key, agent in STATED.items()})


class DamagedKitTest(HomeTest):
    def test_uninstalling_needs_nothing_of_the_kit_but_the_installer(self):
        """A folder `standing` that is full of rubbish, and no validator any more."""
        for tool in ("claude", "codex", "cursor"):
            self.assertEqual(0, self.wire(tool).code)
        os.unlink(self.at(".brask/validate.py"))
        self.put(".brask/standing/engine/__init__.py", b"raise SystemExit(5)\n")
        self.put(".brask/json.py", b"raise SystemExit(5)\n")
        self.assertEqual(0, self.unwire().code)
        self.assertEqual({}, self.tree())


if __name__ == "__main__":
    unittest.main()
