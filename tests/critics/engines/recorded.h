// What do programs say of the samples in this folder?
//
// Each sample has its engine's name; what the program printed about it, run as the table says, is
// kept in recorded/.

#pragma once

#include "critics/engines/engine_table.h"
#include "tests/source_tree.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

struct Sample {
    std::string_view engine;
    std::string_view file;   ///< Below samples/.
    std::string_view answer; ///< Below recorded/.
    int status;
    std::vector<std::string> rules; ///< Of its findings, in their order.
    std::string_view firstPlace;
    std::string_view mimeType = "text/x-code";
};

/// Shown when a test with it fails.
inline void PrintTo(const Sample& sample, std::ostream* out) {
    *out << sample.engine;
}

/// One for each engine of the table.
inline const std::vector<Sample>& samples() {
    static const std::vector<Sample> kSamples = {
        {"python", "python.py", "python.json", 0, {"python.syntax"}, "line 4, column 10"},
        {"bash", "bash.sh", "bash.txt", 2, {"bash.syntax"}, "line 6, column 1"},
        {"node", "node.js", "node.txt", 1, {"node.syntax"}, "line 3, column 48"},
        {"gofmt", "gofmt.go", "gofmt.txt", 2, {"gofmt.syntax"}, "line 5, column 1"},
        {"yamllint",
         "yamllint.yaml",
         "yamllint.txt",
         1,
         {"yamllint.key-duplicates"},
         "line 3, column 3"},
        {"xmllint", "xmllint.xml", "xmllint.txt", 1, {"xmllint.syntax"}, "line 3, column 1"},
        {"shellcheck",
         "shellcheck.sh",
         "shellcheck.json",
         1,
         {"shellcheck.SC2086", "shellcheck.SC2154", "shellcheck.SC2071", "shellcheck.SC2016",
          "shellcheck.SC2164"},
         "line 5, column 8"},
        {"cppcheck",
         "cppcheck.cpp",
         "cppcheck.txt",
         0,
         {"cppcheck.arrayIndexOutOfBounds"},
         "line 9, column 43"},
        {"bandit",
         "bandit.py",
         "bandit.json",
         1,
         {"bandit.B506", "bandit.B602"},
         "line 10, column 5"},
        {"ruff",
         "ruff.py",
         "ruff.json",
         0,
         {"ruff.F821", "ruff.F632", "ruff.F507"},
         "line 7, column 18"},
        {"oxlint",
         "oxlint.js",
         "oxlint.json",
         1,
         {"oxlint.no-dupe-keys", "oxlint.no-debugger", "oxlint.use-isnan", "oxlint.no-unreachable"},
         "line 3, column 21"},
        {"biome",
         "biome.css",
         "biome.json",
         1,
         {"biome.noUnknownProperty", "biome.noUnknownUnit"},
         "line 3, column 3"},
        {"markdownlint",
         "markdownlint.md",
         "markdownlint.json",
         0,
         {"markdownlint.MD001", "markdownlint.MD011", "markdownlint.MD042", "markdownlint.MD018",
          "markdownlint.MD051"},
         "line 5, column 1",
         "text/markdown"},
        {"harper",
         "harper.txt",
         "harper.json",
         0,
         {"harper.Agreement", "harper.Grammar", "harper.Agreement"},
         "line 1, column 45",
         "text/plain"},
        // Written by hand after the format that its manual of 2026-11 shows: Debian 12 has none.
        {"gitleaks",
         "gitleaks.txt",
         "gitleaks.json",
         0,
         {"gitleaks.github-pat"},
         "line 2, column 22",
         "text/plain"},
    };
    return kSamples;
}

inline std::string contentOf(const std::string& nameInTree) {
    std::ifstream file(kelvane::inSourceTree(nameInTree), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << nameInTree;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

inline Part partOf(const Sample& sample) {
    Part part;
    part.name = sample.file;
    part.mimeType = sample.mimeType;
    part.text = contentOf("tests/critics/engines/samples/" + std::string(sample.file));
    return part;
}

inline std::string answerTo(const Sample& sample) {
    return contentOf("tests/critics/engines/recorded/" + std::string(sample.answer));
}

inline ChildResult resultOf(const Sample& sample, std::string said) {
    ChildResult result;
    result.end = ChildResult::End::exited;
    result.status = sample.status;
    const EngineEntry* entry = engineNamed(sample.engine);
    (entry->speaksOnErrors ? result.errors : result.output) = std::move(said);
    return result;
}

inline InstalledEngine hereAs(std::string_view id, std::string version = "1.0") {
    InstalledEngine engine;
    engine.entry = engineNamed(id);
    engine.program = "/usr/bin/" + std::string(engine.entry->program);
    if (!engine.entry->module.empty()) {
        engine.module = "/opt/engines/" + std::string(engine.entry->module);
    }
    engine.version = std::move(version);
    return engine;
}

inline std::vector<std::string> rulesIn(const std::vector<Finding>& findings) {
    std::vector<std::string> rules;
    for (const Finding& finding : findings) rules.push_back(finding.rule);
    return rules;
}

} // namespace trevix
