#!/usr/bin/env python3
"""Do the coding tools themselves accept what we write, and what we leave behind?

Runs the tools' own programs, fetched by scripts/real-tools into `$KELVANE_TOOLS` (build/tools by
default), in a made-up home folder and without a network where that is permitted. A tool that is not
there has its tests skipped with the reason; when nothing at all could run, the exit code is 77.
"""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
KIT = pathlib.Path(os.environ.get("KELVANE_KIT") or ROOT / "build" / "dev" / "kit")
TOOLS = pathlib.Path(os.environ.get("KELVANE_TOOLS") or ROOT / "build" / "tools").resolve()
with open(str(ROOT / "resources" / "tools.json"), encoding="utf-8") as table:
    TABLE = json.load(table)
PROGRAMS = {agent["wiring"]["key"]: agent["npm"]["program"]
            for agent in TABLE["agents"] + TABLE["others"] if agent["npm"]}
PROGRAMS.update(node24="node", inspector="mcp-inspector", sarif="sarif-multitool")
LIMIT = 300  # seconds for one program; a guard against one that hangs
OFFLINE = ["unshare", "-rn"] if subprocess.run(
    ["unshare", "-rn", "true"], stderr=subprocess.DEVNULL).returncode == 0 else []


def program(name):
    return TOOLS / name / "node_modules" / ".bin" / PROGRAMS[name]


def needs(*names):
    """Skips a test, saying so, when one of the tools is not there."""
    missing = [name for name in names if not os.access(str(program(name)), os.X_OK)]
    return unittest.skipIf(missing, "not in %s: %s (scripts/real-tools fetches them)"
                           % (TOOLS, ", ".join(missing)))


class ToolTest(unittest.TestCase):
    def setUp(self):
        self.home = tempfile.mkdtemp(prefix="tools-")
        self.addCleanup(shutil.rmtree, self.home, True)
        shutil.copytree(str(KIT), os.path.join(self.home, ".brask"),
                        ignore=shutil.ignore_patterns("__pycache__"))
        path = os.pathsep.join([str(program("node24").parent), "/usr/bin", "/bin"])
        self.env = {"HOME": self.home, "PATH": path, "TERM": "dumb"}

    def put(self, name, data):
        path = os.path.join(self.home, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(data)
        return path

    def get(self, name):
        with open(os.path.join(self.home, name), "rb") as file:
            return file.read()

    def service(self):
        """Points the validator to the service of mock_model.py."""
        os.chmod(self.put(".brask/key", b"the-key\n"), 0o600)
        os.chmod(self.put(".brask/settings", b"base: http://127.0.0.1:7801\n"), 0o600)

    def run_it(self, command):
        return subprocess.run(command, env=self.env, cwd=self.home, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=LIMIT,
                              universal_newlines=True, errors="replace")

    def kit(self, *arguments):
        script = os.path.join(self.home, ".brask", "brask_install.py")
        done = self.run_it(["python3", "-B", script] + list(arguments))
        self.assertEqual(0, done.returncode, done.stderr)

    def tool(self, name, *arguments):
        return self.run_it(OFFLINE + [str(program(name))] + list(arguments))

    def expected(self, tool):
        """The corpus files that are to be wired, for this home folder: (name, before)."""
        for path in sorted((HERE / "corpus" / tool).glob("*.out")):
            yield path.stem, path.with_suffix(".in").read_bytes()

    def same_after_unwiring(self, name, before):
        self.kit("uninstall", "all", "--global")
        self.assertEqual(before, self.get(name))


class ClaudeTest(ToolTest):
    FILE = ".claude/settings.json"

    def complaints(self):
        """What `claude doctor` says about settings; nothing when they are good."""
        said = self.tool("claude", "doctor").stdout
        self.assertIn("doctor", said)
        return said[said.index("Invalid settings"):].split("\n\n")[0] \
            if "Invalid settings" in said else ""

    @needs("claude")
    def test_doctor_has_nothing_to_say_before_wired_or_after(self):
        before = b'{\n  "permissions": { "allow": ["Bash(ls:*)"] }\n}\n'
        self.put(self.FILE, before)
        self.assertEqual("", self.complaints())
        self.kit("claude", "--global")
        self.assertEqual("", self.complaints())
        self.same_after_unwiring(self.FILE, before)
        self.assertEqual("", self.complaints())

    @needs("claude")
    def test_doctor_would_complain_about_a_bad_file(self):
        self.put(self.FILE, b'{"hooks": {"NoSuchEvent": []}}')
        self.assertIn("NoSuchEvent", self.complaints())

    @needs("claude")
    def test_doctor_says_no_more_about_any_corpus_file_than_before(self):
        for name, before in self.expected("claude"):
            with self.subTest(case=name):
                self.put(self.FILE, before)
                self.kit("claude", "--global")
                found = self.complaints()
                if found:
                    self.kit("uninstall", "all", "--global")
                    self.assertEqual(self.complaints(), found)


class CodexTest(ToolTest):
    FILE = ".codex/config.toml"

    @needs("codex")
    def test_codex_lists_our_server_and_forgets_it(self):
        self.kit("codex", "--global")
        found = self.tool("codex", "mcp", "get", "trevix", "--json")
        self.assertEqual(0, found.returncode, found.stderr)
        server = json.loads(found.stdout)
        self.assertEqual(["python3", ["-I", os.path.join(self.home, ".brask/validate.py"), "mcp"]],
                         [server["transport"]["command"], server["transport"]["args"]])
        self.assertEqual((20.0, 300.0),
                         (server["startup_timeout_sec"], server["tool_timeout_sec"]))
        self.kit("uninstall", "all", "--global")
        self.assertFalse(os.path.exists(os.path.join(self.home, self.FILE)))
        gone = self.tool("codex", "mcp", "get", "trevix", "--json")
        self.assertEqual(1, gone.returncode)
        self.assertIn("No MCP server named", gone.stderr)

    @needs("codex")
    def test_codex_reads_every_corpus_file_that_it_read_before(self):
        read = 0
        for name, before in self.expected("codex"):
            with self.subTest(case=name):
                self.put(self.FILE, before)
                if self.tool("codex", "mcp", "list").returncode != 0:
                    continue  # not a file that Codex itself accepts
                read += 1
                self.kit("codex", "--global")
                found = self.tool("codex", "mcp", "get", "trevix", "--json")
                self.assertEqual(0, found.returncode, found.stderr)
                self.same_after_unwiring(self.FILE, before)
        self.assertGreater(read, 15)


class OpenClawTest(ToolTest):
    FILE = ".openclaw/openclaw.json"
    BEFORE = b"// my claw\n{\n  gateway: { mode: 'local' }, // local only\n}\n"

    @needs("node24", "openclaw")
    def test_openclaw_validates_the_file_and_starts_our_server(self):
        self.put(self.FILE, self.BEFORE)
        self.kit("openclaw", "--global")
        valid = self.tool("openclaw", "config", "validate", "--json")
        self.assertEqual((0, True), (valid.returncode, json.loads(valid.stdout)["valid"]))
        probe = self.tool("openclaw", "mcp", "probe", "trevix", "--json")
        self.assertEqual(0, probe.returncode, probe.stdout + probe.stderr)
        found = json.loads(probe.stdout)
        self.assertIn("trevix__grade", found["tools"])
        self.assertEqual([], found["diagnostics"])
        self.same_after_unwiring(self.FILE, self.BEFORE)
        valid = self.tool("openclaw", "config", "validate", "--json")
        self.assertEqual((0, True), (valid.returncode, json.loads(valid.stdout)["valid"]))

    @needs("node24", "openclaw")
    def test_openclaw_validates_corpus_files_of_its_own_kind(self):
        for name in ("comma_and_remark", "crlf_comments", "mcp_without_servers",
                     "servers_empty_with_comment", "servers_there", "tabs_no_newline"):
            with self.subTest(case=name):
                self.put(self.FILE, (HERE / "corpus" / "openclaw" / (name + ".in")).read_bytes())
                self.kit("openclaw", "--global")
                valid = self.tool("openclaw", "config", "validate", "--json")
                self.assertEqual(0, valid.returncode, valid.stdout)


@unittest.skipIf(not OFFLINE, "no network of one's own can be had here")
class EndToEndTest(ToolTest):
    """The tools with a model of our own: they change a file, our hooks have it graded, and the
    verdict reaches the model, which the tool has go on."""

    FLAW = "HIGH code.mock a.py:1: Line 1 is MOCKED. There: “bad”."

    def setUp(self):
        super().setUp()
        self.project = os.path.join(self.home, "proj")
        os.makedirs(self.project)
        subprocess.run(["git", "init", "-q", self.project], check=True, env=self.env)
        self.service()

    def work(self, *command, said=FLAW, **env):
        """Has the tool do a task in the project. The model hears `said` in the end; all that it
        heard, one text for each time it was asked."""
        self.env.update(env)
        file = os.path.join(self.project, "a.py")
        done = subprocess.run(OFFLINE + ["python3", str(HERE / "mock_model.py"), file] + list(command),
                              env=self.env, cwd=self.project, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=LIMIT,
                              universal_newlines=True, errors="replace", check=False)
        self.assertEqual(0, done.returncode, done.stderr)
        found = json.loads(done.stdout.splitlines()[-1])
        self.assertTrue(os.path.isfile(file), done.stderr)
        self.assertEqual([["a.py"]], found["sent"], done.stderr)
        told = [json.loads(body) for body in found["told"]]
        self.assertIn(said, json.dumps(told[-1], ensure_ascii=False))
        self.assertNotIn(said, json.dumps(told[0], ensure_ascii=False))
        return [json.dumps(each, ensure_ascii=False) for each in told]

    @needs("claude")
    def test_claude(self):
        self.kit("claude", "--global")
        self.work(str(program("claude")), "-p", "write a.py", "--permission-mode", "acceptEdits",
                  ANTHROPIC_BASE_URL="http://127.0.0.1:7801", ANTHROPIC_API_KEY="x",
                  CLAUDE_CODE_DISABLE_NONESSENTIAL_TRAFFIC="1")

    @needs("codex")
    def test_codex(self):
        self.put(".codex/config.toml", b'model = "gpt-5.5"\nmodel_provider = "mock"\n'
                 b'[model_providers.mock]\nname = "mock"\nwire_api = "responses"\n'
                 b'base_url = "http://127.0.0.1:7801/v1"\n')
        self.kit("codex", "--global")
        self.work(str(program("codex")), "exec", "--dangerously-bypass-hook-trust",
                  "-s", "danger-full-access", "write a.py")

    @needs("node24", "copilot")
    def test_copilot(self):
        self.kit("copilot", "--global")
        self.work(str(program("copilot")), "-p", "write a.py", "--allow-all-tools",
                  COPILOT_PROVIDER_BASE_URL="http://127.0.0.1:7801/v1", COPILOT_MODEL="gpt-4.1",
                  COPILOT_PROVIDER_API_KEY="x")

    @needs("node24", "openclaw")
    def test_openclaw(self):
        self.put(".openclaw/openclaw.json", json.dumps({
            "gateway": {"mode": "local"}, "tools": {"toolSearch": False},
            "models": {"providers": {"mock": {
                "baseUrl": "http://127.0.0.1:7801/v1", "apiKey": "x", "api": "openai-completions",
                "models": [{"id": "m", "name": "m", "contextWindow": 100000}]}}}}).encode())
        self.kit("openclaw", "--global")
        self.work(str(program("openclaw")), "agent", "exec", "write a.py", "--cwd", self.project,
                  "--model", "mock/m", said="Line 1 is MOCKED.")

    def opencode(self, model):
        """Its settings, with a model of ours; and its program."""
        self.put(".config/opencode/opencode.json", json.dumps({
            "model": "mock/" + model, "autoupdate": False,
            "provider": {"mock": {
                "npm": "@ai-sdk/openai-compatible", "models": {model: {"name": model}},
                "options": {"baseURL": "http://127.0.0.1:7801/v1", "apiKey": "x"}}}}).encode())
        self.kit("opencode", "--global")
        self.env.update(OPENCODE_DISABLE_MODELS_FETCH="1", OPENCODE_DISABLE_AUTOUPDATE="1",
                        npm_config_fetch_retries="0")  # it waits for a package for its plugins
        return str(program("opencode"))

    @needs("opencode")
    def test_opencode_asks_for_the_verdict(self):
        tool = self.opencode("m")
        os.unlink(os.path.join(self.home, ".config/opencode/plugins/trevix.js"))
        self.work(tool, "run", "write a.py", said="Line 1 is MOCKED.")

    @needs("opencode")
    def test_opencode_by_its_plugin(self):
        secret = "AKIA" + "Q7Z3M9X2K5W8R4T6"
        told = self.work("python3", str(HERE / "opencode_turn.py"), self.opencode("hooked"), "2",
                         "write a.py", MOCK_CONTENT="key = '%s'\n" % secret)
        self.assertIn("a.py, line 1: this looks like", told[1])
        self.assertNotIn("a.py, line 1: this looks like", told[0])

    @needs("node24", "gemini")
    def test_gemini(self):
        self.put(".gemini/settings.json",
                 b'{"security": {"auth": {"selectedType": "gemini-api-key"}}}\n')
        self.kit("gemini", "--global")
        self.work(str(program("gemini")), "-m", "gemini-2.5-flash", "--skip-trust", "-y",
                  "-p", "write a.py", GOOGLE_GEMINI_BASE_URL="http://127.0.0.1:7801",
                  GEMINI_API_KEY="x")


class MeansTest(ToolTest):
    """What the tools say of our entries without being given a task."""

    def status(self, key):
        self.env["PATH"] = os.pathsep.join(
            [str(program(name).parent) for name in ("codex", "opencode")] + [self.env["PATH"]])
        told = self.run_it(["python3", "-B", os.path.join(self.home, ".brask", "brask_install.py"),
                            "status", "--json"])
        return next(tool for tool in json.loads(told.stdout)["tools"] if tool["tool"] == key)

    @needs("codex")
    def test_codex_has_not_looked_at_our_hooks_yet(self):
        self.kit("codex", "--global")
        found = self.status("codex")
        self.assertEqual("untrusted", found["state"], found)
        self.assertIsNotNone(found["version"])

    @needs("claude", "node24")
    def test_claude_validates_the_plugin(self):
        self.kit("plugin", "--global")
        folder = os.path.join(self.home, ".claude/skills/trevix")
        said = self.tool("claude", "plugin", "validate", "--strict", folder)
        self.assertEqual(0, said.returncode, said.stdout + said.stderr)
        said = self.tool("claude", "plugin", "details", "trevix")
        self.assertIn("Hooks (2)", said.stdout, said.stderr)
        self.kit("uninstall", "plugin", "--global")
        self.assertFalse(os.path.exists(folder))

    @needs("opencode")
    def test_opencode_starts_our_server(self):
        self.kit("opencode", "--global")
        said = self.tool("opencode", "mcp", "list")
        self.assertRegex(said.stdout + said.stderr, r"trevix[^\n]*connected")

    @needs("node24", "copilot")
    def test_copilot_lists_our_server(self):
        self.kit("copilot", "--global")
        said = self.tool("copilot", "mcp", "list")
        self.assertIn("trevix", said.stdout, said.stderr)

    @needs("node24", "gemini")
    def test_gemini_lists_our_server(self):
        self.kit("gemini", "--global")
        said = self.tool("gemini", "mcp", "list")
        self.assertIn("trevix", said.stdout + said.stderr)


@unittest.skipIf(not OFFLINE, "no network of one's own can be had here")
class SdkTest(ToolTest):
    """The official SDKs' own clients, in every era that they speak, with a service of our own."""

    def setUp(self):
        super().setUp()
        self.service()

    def test_each_is_told_everything_that_there_is(self):
        if not os.access(str(program("node24")), os.X_OK):
            self.skipTest("not in %s: node24 (scripts/real-tools fetches it)" % TOOLS)
        for sdk, era, negotiated in (("sdk1", "v1", None), ("sdk2", "legacy", "2025-11-25"),
                                     ("sdk2", "auto", "2026-07-28"),
                                     ("sdk2", "modern", "2026-07-28")):
            with self.subTest(era=era):
                if not (TOOLS / sdk / "installed").is_file():
                    self.skipTest("not in %s: %s (scripts/real-tools fetches it)" % (TOOLS, sdk))
                done = self.run_it(OFFLINE + [
                    "python3", str(HERE / "mock_model.py"), "-", str(program("node24")),
                    str(HERE / "sdk_client.mjs"), str(TOOLS / sdk), era,
                    "python3", "-I", os.path.join(self.home, ".brask/validate.py"), "mcp"])
                self.assertEqual(0, json.loads(done.stdout)["code"], done.stderr)
                found = json.loads(done.stderr.splitlines()[-1])
                self.assertEqual((negotiated, "trevix"), (found["era"], found["version"]))
                self.assertEqual(["grade", "iterate", "rules", "status"], found["tools"])
                self.assertIn("trevix://rules/code", found["resources"])
                self.assertEqual(2, len(found["templates"]))
                self.assertTrue(found["rules"] and found["structured"])
                self.assertEqual("route_to_fix", found["graded"]["band"])
                self.assertEqual(found["graded"], found["report"])
                self.assertIn("trevix://runs/" + found["graded"]["run_id"], found["listed"])
                self.assertIn(found["missing"], (-32002, -32602))


class SarifTest(ToolTest):
    @needs("node24", "sarif")
    def test_the_formats_own_validator_finds_no_error(self):
        self.put("a.py", b"x = 1\n")
        os.chmod(self.put(".brask/key", b"k\n"), 0o600)
        os.chmod(self.put(".brask/settings", b"base: http://127.0.0.1:9\n"), 0o600)
        self.run_it(["python3", ".brask/validate.py", "grade", "a.py", "gone.py", "--sarif",
                     "--output", "out.sarif"])
        self.env["DOTNET_SYSTEM_GLOBALIZATION_INVARIANT"] = "1"
        own = TOOLS / "sarif/node_modules/@microsoft/sarif-multitool-linux/Sarif.Multitool"
        os.chmod(str(own), 0o755)
        said = self.run_it(OFFLINE + [str(own), "validate", "out.sarif", "--output", "v.sarif"])
        self.assertIn("1 files scanned", said.stdout)
        self.assertNotIn(": error", said.stdout)
        self.put("out.sarif", b'{"version": "2.1.0", "runs": [{"tool": {}}]}')
        said = self.run_it(OFFLINE + [str(own), "validate", "out.sarif", "--output", "w.sarif"])
        self.assertIn(": error", said.stdout)


class InspectorTest(ToolTest):
    """Cursor cannot be had here; the inspector reads a file of the same shape."""

    @needs("node24", "inspector")
    def test_a_client_of_every_era_lists_and_calls_our_tools(self):
        self.kit("cursor", "--global")
        config = os.path.join(self.home, ".cursor/mcp.json")
        for era in ("legacy", "auto", "modern"):
            common = ["--cli", "--format", "json", "-q", "--protocol-era", era,
                      "--config", config, "--server", "trevix"]
            with self.subTest(era=era):
                listed = self.tool("inspector", *common, "--method", "tools/list")
                self.assertEqual(0, listed.returncode, listed.stdout + listed.stderr)
                names = [tool["name"] for tool in json.loads(listed.stdout)["result"]["tools"]]
                self.assertIn("grade", names)
                called = self.tool("inspector", *common, "--method", "tools/call",
                                   "--tool-name", "rules", "--tool-args-json", "{}")
                self.assertEqual(0, called.returncode, called.stdout + called.stderr)
                read = self.tool("inspector", *common, "--method", "resources/read",
                                 "--uri", "trevix://rules")
                self.assertEqual(0, read.returncode, read.stdout + read.stderr)
        self.kit("uninstall", "all", "--global")
        self.assertFalse(os.path.exists(config))


if __name__ == "__main__":
    print("tools: %s; network: %s" % (TOOLS, "cut off" if OFFLINE else "NOT cut off, no unshare"))
    outcome = unittest.main(verbosity=2, exit=False).result
    for test, why in outcome.skipped:
        print("SKIPPED %s: %s" % (test.id(), why))
    if not outcome.wasSuccessful():
        sys.exit(1)
    sys.exit(77 if len(outcome.skipped) == outcome.testsRun else 0)
