#include "detect/agent_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using Set = std::set<std::string>;
using List = std::vector<std::string>;
using enum AgentKind;

DetectedAgent agent(const std::vector<DetectedAgent>& agents, const std::string& id) {
    const auto found = std::find_if(agents.begin(), agents.end(),
                                    [&](const DetectedAgent& a) { return a.id == id; });
    if (found == agents.end()) {
        ADD_FAILURE() << "no row for " << id;
        return {};
    }
    return *found;
}

AgentSignature signature(List bundleIds, List procNames, std::optional<std::string> configKey = {},
                         bool canWire = false) {
    return {.id = "x",
            .name = "X",
            .kind = localModel,
            .bundleIds = std::move(bundleIds),
            .procNames = std::move(procNames),
            .configKey = std::move(configKey),
            .canWire = canWire};
}

DetectedAgent detectOne(const AgentSignature& one, const Set& bundles, const Set& procs,
                        const Set& present, const Set& wired) {
    const auto agents =
        AgentScan::detect(std::vector<AgentSignature>{one}, bundles, procs, present, wired);
    EXPECT_EQ(agents.size(), 1U);
    return agents.at(0);
}

TEST(AgentKindNames, AreThoseOfTheReport) {
    EXPECT_EQ(rawValue(codingHarness), "codingHarness");
    EXPECT_EQ(rawValue(desktopAgent), "desktopAgent");
    EXPECT_EQ(rawValue(localModel), "localModel");
}

TEST(AgentSignatures, AreThisTable) {
    struct Row {
        std::string id;
        std::string name;
        AgentKind kind;
        List bundleIds;
        List procNames;
        std::optional<std::string> configKey;
        bool canWire;
    };
    const std::vector<Row> rows{
        {"claude_code", "Claude Code", codingHarness, {}, {"claude"}, "claude", true},
        {"codex", "Codex", codingHarness, {"com.openai.codex"}, {"codex"}, "codex", true},
        {"cursor", "Cursor", codingHarness, {"com.todesktop.230313mzl4w4u92"}, {}, "cursor", true},
        {"openclaw", "OpenClaw", codingHarness, {}, {"openclaw"}, "openclaw", true},
        {"antigravity", "Antigravity", codingHarness, {"com.google.antigravity"}, {}, {}, false},
        {"claude_desktop",
         "Claude",
         desktopAgent,
         {"com.anthropic.claudefordesktop"},
         {},
         {},
         false},
        {"chatgpt",
         "ChatGPT",
         desktopAgent,
         {"com.openai.chat", "com.openai.atlas"},
         {},
         {},
         false},
        {"gemini", "Gemini", desktopAgent, {"com.google.GeminiMacOS"}, {}, {}, false},
        {"ollama", "Ollama", localModel, {"com.electron.ollama"}, {"ollama"}, {}, false},
        {"lm_studio", "LM Studio", localModel, {"ai.elementlabs.lmstudio"}, {}, {}, false},
    };
    const auto& table = AgentScan::signatures();
    ASSERT_EQ(table.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(rows[i].id);
        EXPECT_EQ(table[i].id, rows[i].id);
        EXPECT_EQ(table[i].name, rows[i].name);
        EXPECT_EQ(table[i].kind, rows[i].kind);
        EXPECT_EQ(table[i].bundleIds, rows[i].bundleIds);
        EXPECT_EQ(table[i].procNames, rows[i].procNames);
        EXPECT_EQ(table[i].configKey, rows[i].configKey);
        EXPECT_EQ(table[i].canWire, rows[i].canWire);
    }
    EXPECT_EQ(&table, &AgentScan::signatures()) << "built once";
}

TEST(AgentDetect, NothingFoundStillGivesOneRowEach) {
    const auto agents = AgentScan::detect({}, {}, {}, {});
    ASSERT_EQ(agents.size(), 10U);
    for (std::size_t i = 0; i < agents.size(); ++i) {
        const auto& signature = AgentScan::signatures()[i];
        EXPECT_EQ(agents[i].id, signature.id);
        EXPECT_EQ(agents[i].name, signature.name);
        EXPECT_EQ(agents[i].kind, signature.kind);
        EXPECT_FALSE(agents[i].running) << signature.id;
        EXPECT_FALSE(agents[i].present) << signature.id;
        EXPECT_EQ(agents[i].wired, signature.canWire ? std::optional(false) : std::nullopt)
            << signature.id;
    }
}

TEST(AgentDetect, OrderIsTheTablesWhateverWasFound) {
    const auto agents = AgentScan::detect({"ai.elementlabs.lmstudio", "com.openai.codex"},
                                          {"ollama", "claude"}, {"cursor"}, {"openclaw"});
    List ids;
    for (const auto& a : agents) ids.push_back(a.id);
    EXPECT_EQ(ids, (List{"claude_code", "codex", "cursor", "openclaw", "antigravity",
                         "claude_desktop", "chatgpt", "gemini", "ollama", "lm_studio"}));
}

TEST(AgentDetect, CodexByBundleIdentifierAndWired) {
    const auto codex = agent(AgentScan::detect({"com.openai.codex"}, {}, {}, {"codex"}), "codex");
    EXPECT_TRUE(codex.running);
    EXPECT_TRUE(codex.present);
    EXPECT_EQ(codex.wired, true);
}

TEST(AgentDetect, ClaudeByProcessAndNotWiredIsFalseNotAbsent) {
    const auto claude = agent(AgentScan::detect({}, {"claude"}, {}, {}), "claude_code");
    EXPECT_TRUE(claude.running);
    EXPECT_TRUE(claude.present);
    EXPECT_EQ(claude.wired, false);
}

TEST(AgentDetect, ClaudeProcessIsNotTheDesktopApp) {
    const auto agents = AgentScan::detect({}, {"claude"}, {"claude"}, {"claude"});
    EXPECT_FALSE(agent(agents, "claude_desktop").running);
    EXPECT_FALSE(agent(agents, "claude_desktop").present);
    EXPECT_EQ(agent(agents, "claude_desktop").wired, std::nullopt);
}

TEST(AgentDetect, OllamaByProcessHasNoWiredState) {
    const auto ollama = agent(AgentScan::detect({}, {"ollama"}, {}, {"ollama"}), "ollama");
    EXPECT_TRUE(ollama.running);
    EXPECT_TRUE(ollama.present);
    EXPECT_EQ(ollama.wired, std::nullopt);
}

TEST(AgentDetect, NothingOfCursorAnywhere) {
    const auto cursor = agent(AgentScan::detect({}, {"cursor"}, {}, {}), "cursor");
    EXPECT_FALSE(cursor.running) << "it has no process name";
    EXPECT_FALSE(cursor.present);
    EXPECT_EQ(cursor.wired, false);
}

TEST(AgentDetect, ConfigurationAloneMakesItPresentNotRunning) {
    const auto codex = agent(AgentScan::detect({}, {}, {"codex"}, {}), "codex");
    EXPECT_FALSE(codex.running);
    EXPECT_TRUE(codex.present);
    EXPECT_EQ(codex.wired, false);
}

TEST(AgentDetect, WiredWithoutBeingPresent) {
    const auto claude = agent(AgentScan::detect({}, {}, {}, {"claude"}), "claude_code");
    EXPECT_FALSE(claude.present);
    EXPECT_EQ(claude.wired, true);
}

TEST(AgentDetect, EitherOfTwoBundleIdentifiersSuffices) {
    for (const char* id : {"com.openai.chat", "com.openai.atlas"}) {
        EXPECT_TRUE(agent(AgentScan::detect({id}, {}, {}, {}), "chatgpt").running) << id;
    }
}

TEST(AgentDetect, BundleIdentifiersAreCaseSensitive) {
    EXPECT_FALSE(
        agent(AgentScan::detect({"com.google.geminimacos"}, {}, {}, {}), "gemini").running);
    EXPECT_TRUE(agent(AgentScan::detect({"com.google.GeminiMacOS"}, {}, {}, {}), "gemini").running);
}

TEST(AgentDetect, BundleIdentifiersMatchWholeOnly) {
    EXPECT_FALSE(
        agent(AgentScan::detect({"com.openai.codex.helper"}, {}, {}, {}), "codex").running);
    EXPECT_FALSE(agent(AgentScan::detect({}, {"com.openai.codex"}, {}, {}), "codex").running);
}

TEST(AgentDetect, AntigravityIsShownNeverWired) {
    const auto found =
        agent(AgentScan::detect({"com.google.antigravity"}, {}, {"antigravity"}, {"antigravity"}),
              "antigravity");
    EXPECT_TRUE(found.running);
    EXPECT_EQ(found.wired, std::nullopt);
    EXPECT_FALSE(agent(AgentScan::detect({}, {}, {"antigravity"}, {}), "antigravity").present);
}

TEST(AgentDetectRules, ProcessNamesOfTheTableAreLowerCased) {
    const auto loud = signature({}, {"LoudName"});
    EXPECT_TRUE(detectOne(loud, {}, {"loudname"}, {}, {}).running);
    EXPECT_FALSE(detectOne(loud, {}, {"LoudName"}, {}, {}).running)
        << "what was observed comes lower-cased already";
}

TEST(AgentDetectRules, LaterEntriesOfBothListsCount) {
    const auto many = signature({"a.b", "c.d"}, {"one", "two"});
    EXPECT_TRUE(detectOne(many, {"c.d"}, {}, {}, {}).running);
    EXPECT_TRUE(detectOne(many, {}, {"two"}, {}, {}).running);
    EXPECT_FALSE(detectOne(many, {"one"}, {"a.b"}, {}, {}).running);
}

TEST(AgentDetectRules, WiredByKeyAndCanWire) {
    struct Case {
        std::optional<std::string> key;
        bool canWire;
        Set wired;
        std::optional<bool> expected;
    };
    const std::vector<Case> cases{
        {"k", true, {"k"}, true},
        {"k", true, {}, false},
        {"k", true, {"K"}, false},
        {"k", false, {"k"}, std::nullopt},
        {"k", false, {}, std::nullopt},
        {std::nullopt, true, {"k", "x", ""}, false},
        {std::nullopt, false, {"x"}, std::nullopt},
    };
    for (const auto& test : cases) {
        const auto agent = signature({}, {}, test.key, test.canWire);
        EXPECT_EQ(detectOne(agent, {}, {}, {}, test.wired).wired, test.expected)
            << test.key.value_or("(no key)") << (test.canWire ? ", can wire" : ", cannot wire");
    }
}

TEST(AgentDetectRules, PresenceWithoutAKeyIsRunning) {
    const auto keyless = signature({}, {"x"});
    EXPECT_FALSE(detectOne(keyless, {}, {}, {"x", ""}, {}).present);
    EXPECT_TRUE(detectOne(keyless, {}, {"x"}, {}, {}).present);
}

TEST(AgentDetectRules, PresenceWithAKeyThatCannotBeWired) {
    const auto unwireable = signature({}, {}, "k");
    EXPECT_TRUE(detectOne(unwireable, {}, {}, {"k"}, {}).present);
    EXPECT_FALSE(detectOne(unwireable, {}, {}, {"x"}, {}).present);
}

TEST(AgentDetectRules, EmptyTableGivesNothing) {
    EXPECT_TRUE(
        AgentScan::detect(std::vector<AgentSignature>{}, {"a"}, {"b"}, {"c"}, {"d"}).empty());
}

} // namespace
} // namespace kelvane
