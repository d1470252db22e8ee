#include "critics/engines/engine_table.h"

#include "critics/engines/engine_scripts.h"
#include "critics/engines/prose_file.h"

#include <algorithm>
#include <array>

namespace trevix {

namespace {

using Words = std::string_view;

constexpr std::array<int, 1> kZero = {0};
constexpr std::array<int, 1> kOne = {1};
constexpr std::array<int, 2> kZeroOrOne = {0, 1};
constexpr std::array<int, 2> kOneOrTwo = {1, 2};
constexpr std::array<Words, 1> kVersion = {"--version"};

constexpr std::array<WorkKind, 1> kCode = {WorkKind::code};
constexpr std::array<WorkKind, 2> kProse = {WorkKind::text, WorkKind::document};
constexpr std::array<WorkKind, 4> kWritten = {WorkKind::text, WorkKind::document, WorkKind::code,
                                              WorkKind::sheet};

constexpr std::array<Words, 3> kPython = {"-I", "{script}", "{file}"};

constexpr std::array<Words, 2> kBash = {"-n", "{file}"};

constexpr std::array<Words, 2> kNode = {"--check", "{file}"};

// All errors but ten are cut by default; one is enough. The list of files that differ in layout
// goes to standard output, which nobody reads.
constexpr std::array<Words, 2> kGofmt = {"-l", "{file}"};

// Only what makes the file no YAML, or another than it seems; the rest of its rules is layout.
constexpr std::array<Words, 5> kYamllint = {"-f", "parsable", "-d",
                                            "{rules: {key-duplicates: enable}}", "{file}"};

constexpr std::array<Words, 4> kXmllint = {"--noout", "--nonet", "--nocatalogs", "{file}"};

constexpr std::array<Words, 6> kShellcheck = {"--norc",  "--format=json1", "--color=never",
                                              "--shell", "{dialect}",      "{file}"};

// Standard error is only read in part, so the faults go to standard output.
constexpr std::array<Words, 6> kCppcheck = {
    "--quiet",
    "--enable=warning",
    "--suppress=missingInclude",
    "--template={severity}\t{id}\t{line}\t{column}\t{message}",
    "--output-file=/dev/stdout",
    "{file}"};

constexpr std::array<Words, 4> kBandit = {"-q", "-f", "json", "{file}"};

constexpr std::array<Words, 2> kRuffVersion = {"{script}", "{module}"};
// pyflakes' rules, pylint's errors, what is a fault in flake8-bugbear rather than advice, and what
// flake8-bandit knows to be unsafe: Debian's Bandit 1.6 overlooks words in quotes with today's
// Python.
constexpr std::array<Words, 4> kRuff = {
    "{script}", "{module}", "{file}",
    "E9,F402,F404,F50,F52,F601,F602,F62,F63,F7,F811,F82,PLE,B002,B003,B005,B006,B012,B015,B018,"
    "B020,B021,B025,B029,B030,B031,B032,B035,"
    "S102,S103,S104,S105,S106,S107,S108,S110,S112,S2,S3,S5,S601,S602,S604,S605,S608,S609,S61,S7"};

constexpr std::array<Words, 2> kOxlintVersion = {"{module}", "--version"};
constexpr std::array<Words, 10> kOxlint = {"{module}",    "--disable-nested-config",
                                           "-A",          "all",
                                           "-D",          "correctness",
                                           "-f",          "json",
                                           "--no-ignore", "{file}"};

// Its format for people's editors; that called "json" is said to change from version to version.
constexpr std::array<Words, 2> kBiomeVersion = {"{module}", "--version"};
constexpr std::array<Words, 9> kBiome = {"{module}",
                                         "lint",
                                         "--reporter=rdjson",
                                         "--only=correctness",
                                         "--only=suspicious",
                                         "--vcs-enabled=false",
                                         "--max-diagnostics=2000",
                                         "--colors=off",
                                         "{file}"};

constexpr std::array<Words, 2> kRunnerVersion = {"{script}", "{module}"};
constexpr std::array<Words, 3> kRunner = {"{script}", "{module}", "{file}"};

// The command of all of its versions 8; the file stands alone in its folder, so no settings are
// found. It would name the secret, and need not.
constexpr std::array<Words, 1> kGitleaksVersion = {"version"};
constexpr std::array<Words, 12> kGitleaks = {
    "detect",          "--no-git", "--no-banner",   "--redact",    "--exit-code", "0",
    "--report-format", "json",     "--report-path", "/dev/stdout", "--source",    "{file}"};

constexpr std::array kEngines = {
    EngineEntry{.id = "python",
                .name = "Python",
                .judges = "syntax, Python",
                .licence = "PSF-2.0",
                .program = "python3",
                .module = "",
                .scriptName = "python_syntax.py",
                .script = {},
                .versionArguments = kVersion,
                .oldest = "3.8",
                .beyond = "4",
                .kinds = kCode,
                .file = wholePythonFile,
                .arguments = kPython,
                .clean = kZero,
                .faulty = {},
                .read = readFaults,
                .speaksOnErrors = false,
                .columns = ColumnUnit::codePoint,
                .reservesMuch = false,
                .milliseconds = 30,
                .debian = "python3",
                .homebrew = "python",
                .npm = ""},
    EngineEntry{.id = "bash",
                .name = "Bash",
                .judges = "syntax, shell",
                .licence = "GPL-3.0-or-later",
                .program = "bash",
                .module = "",
                .scriptName = "",
                .script = {},
                .versionArguments = kVersion,
                .oldest = "3.2",
                .beyond = "",
                .kinds = kCode,
                .file = wholeBashFile,
                .arguments = kBash,
                .clean = kZero,
                .faulty = kOneOrTwo,
                .read = readBash,
                .speaksOnErrors = true,
                .columns = ColumnUnit::codePoint,
                .reservesMuch = false,
                .debian = "bash",
                .homebrew = "bash",
                .npm = ""},
    EngineEntry{.id = "node",
                .name = "Node.js",
                .judges = "syntax, JavaScript",
                .licence = "MIT",
                .program = "node",
                .module = "",
                .scriptName = "",
                .script = {},
                .versionArguments = kVersion,
                .oldest = "18",
                .beyond = "",
                .kinds = kCode,
                .file = wholeJavaScriptFile,
                .arguments = kNode,
                .clean = kZero,
                .faulty = kOne,
                .read = readNode,
                .speaksOnErrors = true,
                .columns = ColumnUnit::codePoint,
                .reservesMuch = true,
                .milliseconds = 60,
                .debian = "nodejs",
                .homebrew = "node",
                .npm = ""},
    EngineEntry{.id = "gofmt",
                .name = "gofmt",
                .judges = "syntax, Go",
                .licence = "BSD-3-Clause",
                .program = "gofmt",
                .module = "",
                .scriptName = "",
                .script = {},
                .versionArguments = {},
                .oldest = "",
                .beyond = "",
                .kinds = kCode,
                .file = wholeGoFile,
                .arguments = kGofmt,
                .clean = kZero,
                .faulty = kOneOrTwo,
                .read = readGofmt,
                .speaksOnErrors = true,
                .columns = ColumnUnit::byte,
                .reservesMuch = true,
                .debian = "golang-go",
                .homebrew = "go",
                .npm = ""},
    EngineEntry{.id = "yamllint",
                .name = "yamllint",
                .judges = "syntax, YAML",
                .licence = "GPL-3.0-or-later",
                .program = "yamllint",
                .module = "",
                .scriptName = "",
                .script = {},
                .versionArguments = kVersion,
                .oldest = "1.20",
                .beyond = "2",
                .kinds = kCode,
                .file = wholeYamlFile,
                .arguments = kYamllint,
                .clean = kZero,
                .faulty = kOne,
                .read = readYamllint,
                .speaksOnErrors = false,
                .columns = ColumnUnit::codePoint,
                .reservesMuch = false,
                .milliseconds = 120,
                .debian = "yamllint",
                .homebrew = "yamllint",
                .npm = ""},
    EngineEntry{.id = "xmllint",
                .name = "xmllint",
                .judges = "syntax, XML",
                .licence = "MIT",
                .program = "xmllint",
                .module = "",
                .scriptName = "",
                .script = {},
                .versionArguments = kVersion,
                .oldest = "",
                .beyond = "",
                .kinds = kCode,
                .file = wholeXmlFile,
                .arguments = kXmllint,
                .clean = kZero,
                .faulty = kOne,
                .read = readXmllint,
                .speaksOnErrors = true,
                .columns = ColumnUnit::byte,
                .reservesMuch = false,
                .debian = "libxml2-utils",
                .homebrew = "libxml2",
                .npm = ""},
    EngineEntry{.id = "shellcheck",
                .name = "ShellCheck",
                .judges = "meaning, shell",
                .licence = "GPL-3.0-or-later",
                .program = "shellcheck",
                .module = "",
                .scriptName = "",
                .script = {},
                .versionArguments = kVersion,
                .oldest = "0.7.0",
                .beyond = "1",
                .kinds = kCode,
                .file = shellFile,
                .arguments = kShellcheck,
                .clean = kZeroOrOne,
                .faulty = {},
                .read = readShellcheck,
                .speaksOnErrors = false,
                .columns = ColumnUnit::codePoint,
                .reservesMuch = true,
                .milliseconds = 200,
                .debian = "shellcheck",
                .homebrew = "shellcheck",
                .npm = ""},
    EngineEntry{.id = "cppcheck",
                .name = "Cppcheck",
                .judges = "meaning, C and C++",
                .licence = "GPL-3.0-or-later",
                .program = "cppcheck",
                .module = "",
                .scriptName = "",
                .script = {},
                .versionArguments = kVersion,
                .oldest = "2.0",
                .beyond = "3",
                .kinds = kCode,
                .file = cFile,
                .arguments = kCppcheck,
                .clean = kZero,
                .faulty = {},
                .read = readCppcheck,
                .speaksOnErrors = false,
                .columns = ColumnUnit::codePoint,
                .reservesMuch = false,
                .milliseconds = 40,
                .debian = "cppcheck",
                .homebrew = "cppcheck",
                .npm = ""},
    EngineEntry{.id = "bandit",
                .name = "Bandit",
                .judges = "security, Python",
                .licence = "Apache-2.0",
                .program = "bandit",
                .module = "",
                .scriptName = "start/pkg_resources.py",
                .script = {},
                .versionArguments = kVersion,
                .oldest = "1.6",
                .beyond = "2",
                .kinds = kCode,
                .file = pythonFile,
                .arguments = kBandit,
                .clean = kZeroOrOne,
                .faulty = {},
                .read = readBandit,
                .speaksOnErrors = false,
                .columns = ColumnUnit::byte,
                .reservesMuch = false,
                .modules = "start",
                .milliseconds = 130,
                .debian = "bandit",
                .homebrew = "bandit",
                .npm = ""},
    EngineEntry{.id = "ruff",
                .name = "Ruff",
                .judges = "meaning and security, Python",
                .licence = "MIT",
                .program = "node",
                .module = "node_modules/@astral-sh/ruff-wasm-nodejs/ruff_wasm.js",
                .scriptName = "ruff_runner.mjs",
                .script = {},
                .versionArguments = kRuffVersion,
                .oldest = "0.12",
                .beyond = "1",
                .kinds = kCode,
                .file = pythonFile,
                .arguments = kRuff,
                .clean = kZero,
                .faulty = {},
                .read = readFaults,
                .speaksOnErrors = false,
                .columns = ColumnUnit::codePoint,
                .reservesMuch = true,
                .milliseconds = 230,
                .debian = "",
                .homebrew = "",
                .npm = "@astral-sh/ruff-wasm-nodejs@0.17.3"},
    EngineEntry{.id = "oxlint",
                .name = "Oxlint",
                .judges = "meaning, JavaScript and TypeScript",
                .licence = "MIT",
                .program = "node",
                .module = "node_modules/oxlint/bin/oxlint",
                .scriptName = "",
                .script = {},
                .versionArguments = kOxlintVersion,
                .oldest = "1.0",
                .beyond = "2",
                .kinds = kCode,
                .file = scriptFile,
                .arguments = kOxlint,
                .clean = kZeroOrOne,
                .faulty = {},
                .read = readOxlint,
                .speaksOnErrors = false,
                .columns = ColumnUnit::byte,
                .reservesMuch = true,
                .milliseconds = 90,
                .debian = "",
                .homebrew = "",
                .npm = "oxlint@1.94.0"},
    EngineEntry{.id = "biome",
                .name = "Biome",
                .judges = "meaning, scripts and CSS",
                .licence = "MIT OR Apache-2.0",
                .program = "node",
                .module = "node_modules/@biomejs/biome/bin/biome",
                .scriptName = "",
                .script = {},
                .versionArguments = kBiomeVersion,
                .oldest = "2.0",
                .beyond = "3",
                .kinds = kCode,
                .file = scriptOrStyleFile,
                .arguments = kBiome,
                .clean = kZeroOrOne,
                .faulty = {},
                .read = readBiome,
                .speaksOnErrors = false,
                .columns = ColumnUnit::codePoint,
                .reservesMuch = true,
                .secondOpinion = true,
                .milliseconds = 200,
                .debian = "",
                .homebrew = "",
                .npm = "@biomejs/biome@2.6.8"},
    EngineEntry{.id = "markdownlint",
                .name = "markdownlint",
                .judges = "form, Markdown",
                .licence = "MIT",
                .program = "node",
                .module = "node_modules/markdownlint/package.json",
                .scriptName = "markdownlint_runner.mjs",
                .script = {},
                .versionArguments = kRunnerVersion,
                .oldest = "0.34",
                .beyond = "1",
                .kinds = kProse,
                .file = markdownFile,
                .arguments = kRunner,
                .clean = kZero,
                .faulty = {},
                .read = readFaults,
                .speaksOnErrors = false,
                .columns = ColumnUnit::codePoint,
                .reservesMuch = true,
                .secondOpinion = true,
                .milliseconds = 250,
                .debian = "",
                .homebrew = "",
                .npm = "markdownlint@0.36.1"},
    EngineEntry{.id = "harper",
                .name = "Harper",
                .judges = "grammar, English",
                .licence = "Apache-2.0",
                .program = "node",
                .module = "node_modules/harper.js/package.json",
                .scriptName = "harper_runner.mjs",
                .script = {},
                .versionArguments = kRunnerVersion,
                .oldest = "2.0",
                .beyond = "3",
                .kinds = kProse,
                .file = englishFile,
                .arguments = kRunner,
                .clean = kZero,
                .faulty = {},
                .read = readFaults,
                .speaksOnErrors = false,
                .columns = ColumnUnit::codePoint,
                .reservesMuch = true,
                // It takes 470 MB for its dictionary and rules.
                .megabytes = 768,
                .prose = true,
                .secondOpinion = true,
                .milliseconds = 3000,
                .debian = "",
                .homebrew = "",
                .npm = "harper.js@2.10.0"},
    EngineEntry{.id = "gitleaks",
                .name = "Gitleaks",
                .judges = "secrets, by their shapes",
                .licence = "MIT",
                .program = "gitleaks",
                .module = "",
                .scriptName = "",
                .script = {},
                .versionArguments = kGitleaksVersion,
                .oldest = "8.0",
                .beyond = "9",
                .kinds = kWritten,
                .file = anyFile,
                .arguments = kGitleaks,
                .clean = kZero,
                .faulty = {},
                .read = readGitleaks,
                .speaksOnErrors = false,
                .columns = ColumnUnit::byte,
                .reservesMuch = true,
                .findsSecrets = true,
                .secondOpinion = true,
                .milliseconds = 200,
                .debian = "gitleaks (from Debian 13 on)",
                .homebrew = "gitleaks",
                .npm = ""},
};

/// With the scripts, which are known when the program is linked and not before.
std::array<EngineEntry, kEngines.size()> withScripts() {
    auto engines = kEngines;
    for (EngineEntry& entry : engines) {
        if (entry.scriptName == "python_syntax.py") entry.script = engine_scripts::kPythonSyntax;
        if (entry.id == "bandit") entry.script = engine_scripts::kPkgResources;
        if (entry.scriptName == "ruff_runner.mjs") entry.script = engine_scripts::kRuffRunner;
        if (entry.scriptName == "harper_runner.mjs") entry.script = engine_scripts::kHarperRunner;
        if (entry.scriptName == "markdownlint_runner.mjs") {
            entry.script = engine_scripts::kMarkdownlintRunner;
        }
    }
    return engines;
}

} // namespace

std::span<const EngineEntry> engineTable() {
    static const auto engines = withScripts();
    return engines;
}

const EngineEntry* engineNamed(std::string_view id) {
    const auto table = engineTable();
    const auto found = std::ranges::find(table, id, &EngineEntry::id);
    return found == table.end() ? nullptr : &*found;
}

} // namespace trevix
