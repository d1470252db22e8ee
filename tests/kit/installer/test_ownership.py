"""What is ours and what is not, whatever people and tools did to the file in between."""

import json
import os
import subprocess
import unittest
from unittest import mock

from home import FILES, HomeTest, install

SETTINGS, CODEX = FILES["claude"], FILES["codex"]
CLAW, CURSOR = FILES["openclaw"], FILES["cursor"]


class CommandTest(unittest.TestCase):
    def setUp(self):
        self.validator = install.Validator("/home/u/.brask", "/home/u")

    def test_plain_calls_of_our_validator_are_ours(self):
        for command in ('python3 "/home/u/.brask/validate.py" --harness claude',
                        "python3 /home/u/.brask/validate.py", "/home/u/.brask/validate.py mcp",
                        "python3 ~/.brask/validate.py", 'python3 "$HOME/.brask/validate.py" x',
                        "python3 ${HOME}/.brask/validate.py", "python3 $BRASK_HOME/validate.py",
                        "/usr/bin/python3.11 -B '/home/u/.brask/validate.py'",
                        "env A=1 python3 /home/u/.brask/../.brask/validate.py",
                        "exec python3 /home/u/.brask/validate.py",
                        # What people make of the command that we wrote.
                        "python3.11 -X utf8 /home/u/.brask/validate.py --harness claude",
                        'python3 -I "/home/u/.brask/validate.py" --harness claude || true',
                        "python3 /home/u/.brask/validate.py --harness claude 2>/dev/null",
                        "python3 ~/.brask/validate.py --harness claude >>/tmp/log 2>&1 || true",
                        "python3 /home/u/.brask/validate.py; true",
                        "timeout 60 python3 /home/u/.brask/validate.py --harness claude",
                        "true && python3 /home/u/.brask/validate.py || exit 0"):
            with self.subTest(command=command):
                self.assertTrue(self.validator.runs(command, None))

    def test_everything_else_is_not(self):
        for command in ("", "python3 /opt/validate.py --harness claude", "validate.py",
                        "python3 /home/u/.brask/validate.py.bak", "python3 ./.brask/validate.py",
                        "python3 /home/v/.brask/validate.py", "cat /home/u/.brask/validate.py",
                        "lint && python3 /home/u/.brask/validate.py",
                        "python3 /home/u/.brask/validate.py | tee log",
                        "python3 /home/u/.brask/validate.py; lint",
                        "python3 /home/u/.brask/validate.py && make || true",
                        "(python3 /home/u/.brask/validate.py)",
                        "x=$(python3 /home/u/.brask/validate.py)",
                        "true\npython3 /home/u/.brask/validate.py",
                        "python3 /home/u/.brask/validate.py\ntrue",
                        "python3 '/home/u/.brask/validate.py", "echo trevix --harness claude",
                        None, 5, ["python3", "/home/u/.brask/validate.py"]):
            with self.subTest(command=command):
                self.assertFalse(self.validator.runs(command, None))

    def test_commands_with_arguments_apart(self):
        path = "/home/u/.brask/validate.py"
        self.assertTrue(self.validator.runs("python3", [path, "mcp"]))
        self.assertTrue(self.validator.runs(path, []))
        self.assertFalse(self.validator.runs("npx", ["-y", path]))
        self.assertFalse(self.validator.runs("python3", ["/other/validate.py", path]))
        self.assertFalse(self.validator.runs("python3", "mcp"))

    def test_odd_paths_survive_the_shell(self):
        for home in ("/home/a b", "/home/a$HOME", '/home/a"b', "/home/a`id`", "/home/a\\b",
                     "/home/é", "/home/a'b", "/home/;a"):
            with self.subTest(home=home):
                validator = install.Validator(home + "/.brask", home)
                command = validator.command_line("python3 {validator} --harness claude")
                self.assertTrue(validator.runs(command, None))
                shown = subprocess.check_output(["sh", "-c", "printf %s " + validator.quoted]).decode()
                self.assertEqual(validator.path, shown)


class ClaudeTest(HomeTest):
    def edit(self, change):
        data = json.loads(self.get(SETTINGS).decode())
        change(data)
        self.put(SETTINGS, json.dumps(data, indent=2).encode())

    def left(self):
        return json.loads(self.get(SETTINGS).decode())

    def test_what_the_user_added_since_stays(self):
        self.put(SETTINGS, b'{\n  "model": "x"\n}\n')
        self.wire("claude")
        text = self.get(SETTINGS).replace(b'"model": "x"', b'"model": "y",\n  "env": {"A": "1"}')
        self.put(SETTINGS, text)
        self.assertEqual(0, self.unwire().code)
        self.assertEqual(b'{\n  "model": "y",\n  "env": {"A": "1"}\n}\n', self.get(SETTINGS))

    def test_hooks_that_the_user_added_beside_ours_stay(self):
        self.put(SETTINGS, b"{}\n")
        self.wire("claude")
        theirs = {"hooks": [{"type": "command", "command": "mine"}]}
        self.edit(lambda data: data["hooks"]["Stop"].insert(0, theirs))
        self.unwire()
        self.assertEqual({"hooks": {"Stop": [theirs]}}, self.left())

    def test_a_handler_of_the_users_in_our_group_stays(self):
        self.wire("claude")
        handler = {"type": "command", "command": "mine"}
        for place in (0, 1):
            with self.subTest(place=place):
                self.wire("claude")
                self.edit(lambda data: data["hooks"]["PostToolUse"][0]["hooks"].insert(
                    place, handler))
                self.unwire()
                self.assertEqual({"hooks": {"PostToolUse": [
                    {"matcher": "Write|Edit|NotebookEdit", "hooks": [handler]}]}}, self.left())
                os.unlink(self.at(SETTINGS))

    def test_a_file_we_made_stays_when_the_user_put_something_in(self):
        self.wire("claude")
        self.edit(lambda data: data.update(model="x"))
        self.unwire()
        self.assertEqual({"model": "x"}, self.left())

    def test_a_file_that_a_tool_wrote_anew_is_still_unwired(self):
        self.put(SETTINGS, b'{"model": "x"}')
        self.wire("claude")
        self.put(SETTINGS, json.dumps(json.loads(self.get(SETTINGS).decode()),
                                      sort_keys=True, separators=(",", ":")).encode())
        self.unwire()
        self.assertEqual({"model": "x"}, self.left())

    def test_a_changed_time_out_or_matcher_is_the_users_choice(self):
        self.wire("claude")
        self.edit(lambda data: data["hooks"]["PostToolUse"][0].update(matcher="Write"))
        self.edit(lambda data: data["hooks"]["Stop"][0]["hooks"][0].update(timeout=5))
        text = self.get(SETTINGS)
        self.assertIn("already", self.wire("claude").out)
        self.assertEqual(text, self.get(SETTINGS))

    def test_a_hook_that_is_gone_or_doubled_or_old_is_mended(self):
        self.put(SETTINGS, b'{\n  "model": "x"\n}\n')
        self.wire("claude")
        good = self.get(SETTINGS)
        old = {"type": "command", "command": "python3", "args": [self.at(".brask/validate.py")]}
        for change in (lambda data: data["hooks"].pop("Stop"),
                       lambda data: data["hooks"]["Stop"].append(data["hooks"]["Stop"][0]),
                       lambda data: data["hooks"]["Stop"][0]["hooks"].__setitem__(0, old)):
            self.edit(change)
            self.assertIn("needs repair", self.run_main("status").out)
            self.assertEqual(0, self.wire("claude").code)
            self.assertEqual(json.loads(good.decode()), self.left())
        self.unwire()
        self.assertEqual({"model": "x"}, self.left())

    def test_a_session_that_wrote_its_old_settings_back(self):
        before = b'{\n  "hooks": {}\n}\n'
        self.put(SETTINGS, before)
        self.wire("claude")
        self.put(SETTINGS, before)
        self.assertEqual(0, self.wire("claude").code)
        self.unwire()
        self.assertEqual(before, self.get(SETTINGS))

    def test_a_longer_command_of_the_users_is_left_and_not_counted(self):
        text = b'{"hooks": {"Stop": [{"hooks": [{"type": "command", "command": "a; python3 ' + \
            self.at(".brask/validate.py").encode() + b' --harness claude"}]}]}}'
        self.put(SETTINGS, text)
        result = self.unwire()
        self.assertEqual((1, text), (result.code, self.get(SETTINGS)))
        self.assertIn("settings.json:1:", result.err)
        self.assertIn("your own and stays", result.err)

    def test_the_project_file_is_never_made_but_cleaned(self):
        self.wire("claude")
        self.assertFalse(os.path.exists(self.at(".mcp.json")))
        other = b'{\n  "mcpServers": {\n    "other": {"command": "x"}\n  }\n}\n'
        ours = b',\n    "trevix": {"command": "python3", "args": ["%s", "mcp"]}\n  }\n}\n' % \
            self.at(".brask/validate.py").encode()
        self.put(".mcp.json", other.replace(b"\n  }\n}\n", ours))
        self.unwire("claude")
        self.assertEqual(other, self.get(".mcp.json"))

    def test_a_broken_file_with_nothing_of_ours_does_not_stop_uninstalling(self):
        self.put(SETTINGS, b"{ broken")
        self.wire("codex")
        self.assertEqual(0, self.unwire().code)
        self.assertFalse(os.path.exists(self.at(CODEX)))

    def test_a_file_broken_since_is_left_and_the_others_are_unwired(self):
        self.wire("claude")
        self.wire("codex")
        broken = self.get(SETTINGS)[:-3]
        self.put(SETTINGS, broken)
        result = self.unwire()
        self.assertEqual(1, result.code)
        self.assertRegex(result.err, r"settings\.json:\d+:\d+: ")
        self.assertEqual(broken, self.get(SETTINGS))
        self.assertFalse(os.path.exists(self.at(CODEX)))


class ServersTest(HomeTest):
    def test_another_s_server_of_our_name_is_never_touched(self):
        for tool, text in (("openclaw", b"{mcp: {servers: {trevix: {command: 'x'}}}}"),
                           ("cursor", b'{"mcpServers": {"trevix": {"command": "x"}}}'),
                           ("codex", b'[mcp_servers.trevix]\ncommand = "x"\n')):
            with self.subTest(tool=tool):
                self.put(FILES[tool], text)
                self.assertEqual(1, self.wire(tool).code)
                self.assertEqual(0, self.unwire().code)
                self.assertEqual(text, self.get(FILES[tool]))

    def test_settings_of_the_users_in_our_entry_are_kept(self):
        self.put(CLAW, b"{gateway: {mode: 'local'}}")
        self.wire("openclaw")
        text = self.get(CLAW).replace(b'"command"', b'"enabled": false, "command"')
        self.put(CLAW, text)
        result = self.wire("openclaw")
        self.assertIn("switched off", result.err)
        self.assertEqual(text, self.get(CLAW))

    def test_what_stands_behind_ours_does_not_become_a_comment(self):
        ours = b'trevix: {command: "python3", args: ["%s", "mcp"]}' % \
            self.at(".brask/validate.py").encode()
        for before, after in ((b"a: {command: 'x'}, // one\n", b" }}}\n"),
                              (b"// one\n", b", b: {command: 'y'} }}}\n"),
                              (b"// one\n", b" }}}\n")):
            with self.subTest(before=before, after=after):
                self.put(CLAW, b"{mcp: {servers: { " + before + ours + after)
                self.assertEqual(0, self.unwire().code)
                left = self.get(CLAW)
                self.assertNotIn(b"trevix", left)
                self.assertIn(b"// one\n", left)
                install.JsonReader(left.decode(), install.JSON5).read()

    def test_openclaw_is_not_given_a_file_of_its_own(self):
        os.mkdir(self.at(".openclaw"))
        tree = self.tree()
        result = self.wire("openclaw")
        self.assertEqual(3, result.code)
        self.assertIn("Set the tool up first", result.err)
        self.assertEqual(tree, self.tree())


class CodexTest(HomeTest):
    def ours(self, header="[mcp_servers.trevix]"):
        return '%s\ncommand = "python3"\nargs = ["%s", "mcp"]\n' % (
            header, self.at(".brask/validate.py"))

    def wired_with(self, before, after):
        """The file around our table, which the user or the tool has edited since."""
        self.put(CODEX, (before + self.ours() + after).encode())
        self.assertEqual(0, self.unwire().code)
        return self.get(CODEX).decode()

    def test_tables_after_ours_stay(self):
        self.assertEqual("a = 1\n\n[b]\nc = 2\n", self.wired_with("a = 1\n\n", "\n[b]\nc = 2\n"))
        self.assertEqual("a = 1\n[b]\nc = 2\n", self.wired_with("a = 1\n", "[b]\nc = 2\n"))

    def test_tables_of_our_server_go_with_it(self):
        self.assertEqual("a = 1\n", self.wired_with(
            "a = 1\n\n", 'env = {A = "1"}\n\n[mcp_servers.trevix.tools.grade]\n'
                         'approval_mode = "approve"\n'))

    def test_comments_before_and_after_stay(self):
        self.assertEqual("a = 1\n\n# mine\n# too\n", self.wired_with("a = 1\n\n# mine\n", "# too\n"))

    def test_a_header_written_otherwise_is_rewritten_and_the_rest_kept(self):
        for header in ('[mcp_servers."trevix"]', "[ mcp_servers.trevix ]", "['mcp_servers'.trevix]"):
            with self.subTest(header=header):
                text = "a = 1\n" + self.ours(header) + "enabled = false # mine\n"
                self.put(CODEX, text.encode())
                self.assertEqual(0, self.wire("codex").code)
                self.assertEqual(text.replace(header, "[mcp_servers.trevix]"),
                                 self.get(CODEX).decode())
                self.unwire()
                self.assertEqual(b"a = 1\n", self.get(CODEX))

    def test_ours_written_with_dots_is_taken_out(self):
        text = '[mcp_servers]\nother.command = "x"\ntrevix.command = "python3"\n' \
            'trevix.args = ["%s", "mcp"]\n[b]\n' % self.at(".brask/validate.py")
        self.put(CODEX, text.encode())
        self.assertEqual(1, self.wire("codex").code)
        self.assertEqual(0, self.unwire().code)
        self.assertEqual(b'[mcp_servers]\nother.command = "x"\n[b]\n', self.get(CODEX))

    def test_ours_in_braces_is_left_and_said(self):
        text = b'mcp_servers = {trevix = {command = "python3", args = ["%s"]}}\n' % \
            self.at(".brask/validate.py").encode()
        self.put(CODEX, text)
        self.assertEqual(1, self.unwire().code)
        self.assertEqual(text, self.get(CODEX))


class ProofTest(HomeTest):
    """An edit that would break a promise is not written, whatever mistake leads to it."""

    def test_an_edit_that_changes_something_else_is_refused(self):
        for tool, before, wrong in (
                ("cursor", b'{"a": 1}\n', '{"a": 2, "mcpServers": {"trevix": %s}}\n'),
                ("cursor", b'{"a": 1}\n', '{"a": 1 , "mcpServers": {"trevix": %s}}\n')):
            self.put(FILES[tool], before)
            entry = json.dumps({"command": "python3", "args": [self.at(".brask/validate.py"), "mcp"]})
            with mock.patch.object(install.NamedServers, "add",
                                   lambda *_: install.Edit(wrong % entry)):
                result = self.wire(tool)
            self.assertEqual((1, before), (result.code, self.get(FILES[tool])))
            self.assertIn("cannot be edited safely", result.err)

    def test_taking_out_more_than_ours_is_refused(self):
        self.put(CURSOR, b'{"a": 1}\n')
        self.wire("cursor")
        text = self.get(CURSOR)
        with mock.patch.object(install.NamedServers, "remove", lambda *_: "{}\n"):
            result = self.unwire()
        self.assertEqual((1, text), (result.code, self.get(CURSOR)))
        self.assertIn("cannot be taken out safely", result.err)


class ManifestTest(HomeTest):
    def inserted(self, tool, before):
        """What the manifest says was inserted, as (line, text)."""
        self.put(FILES[tool], before)
        self.assertEqual(0, self.wire(tool).code)
        entry = json.loads(self.get(".brask/installed.json").decode())["entries"][tool]
        return [(piece["line"], piece["text"]) for piece in entry["inserted"]]

    def test_tells_which_lines_hold_something_new(self):
        for before, wanted in (
                (b'{\n  "model": "x"\n}\n', [2]), (b'{\r\n  "model": "x"\r\n}\r\n', [2]),
                (b"{}", [2]), (b"\n", [1]), (b"", [1]), (b'{"a": 1, "hooks": {"Stop": []}}', [1]),
                (b'{\n  "hooks": {\n    "PostToolUse": [\n      {"hooks": []}\n    ],\n'
                 b'    "Other": [],\n    "Stop": [\n      {"hooks": []}\n    ]\n  },\n'
                 b'  "a": 1\n}\n', [4, 18])):
            with self.subTest(before=before):
                found = self.inserted("claude", before)
                lines = self.get(SETTINGS).decode().splitlines(True)
                self.assertEqual(wanted, [line for line, _ in found])
                for line, text in found:
                    self.assertEqual("".join(lines[line - 1:])[:len(text)], text)
                told = "".join(text for _, text in found)
                self.assertEqual(2, told.count("validate.py"))
                self.assertEqual(before.count(b"Other"), self.get(SETTINGS).count(b"Other"))
                self.assertNotIn("Other", told)
                self.unwire()

    def test_tells_of_a_table_at_the_end_and_of_a_header_put_right(self):
        table = '[mcp_servers.trevix]\ncommand = "python3"\nargs = ["-I", "%s", "mcp"]\n' \
            'env_vars = ["BRASK_API_BASE", "BRASK_API_KEY", "BRASK_POLICY_ID"]\n' \
            'startup_timeout_sec = 20\ntool_timeout_sec = 300\n' \
            'default_tools_approval_mode = "approve"\n' % self.at(".brask/validate.py")
        self.assertEqual([(1, table)], self.inserted("codex", b""))
        self.assertEqual([(3, table)], self.inserted("codex", b"a = 1\n"))
        other = table.replace("[mcp_servers.trevix]", "[ mcp_servers.trevix ]")
        self.assertEqual([(2, "[mcp_servers.trevix]\n")],
                         self.inserted("codex", b"a = 1\n" + other.encode()))

    def test_a_damaged_manifest_is_said_and_not_believed(self):
        for damage in (b"", b"{", b"[]", b'{"entries": 5}', b"\xff", b'{"entries": {"claude": 1}}',
                       b'{"entries": {"claude": {"createdFile": true, "createdFolders": ["/"],'
                       b'"createdKeys": [[1]], "emptyBefore": []}}}', b"[" * 100000):
            with self.subTest(damage=damage[:40]):
                self.put(SETTINGS, b'{"model": "x"}')
                self.wire("claude")
                self.put(".brask/installed.json", damage)
                self.assertEqual(0, self.unwire().code)
                self.assertNotIn(b"validate.py", self.get(SETTINGS))
                self.assertIn(b'"model": "x"', self.get(SETTINGS))

    def test_a_manifest_cannot_have_other_folders_removed(self):
        os.mkdir(self.at("precious"))
        self.wire("codex")
        path = self.at(".brask/installed.json")
        text = self.get(path).replace(self.at(".codex").encode() + b'"',
                                      self.at("precious").encode() + b'"')
        self.put(path, text)
        self.unwire()
        self.assertTrue(os.path.isdir(self.at("precious")))


if __name__ == "__main__":
    unittest.main()
