#include "detect/agent_aliases.h"

#include "detect/known_agents.h"
#include "detect/live_agent_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

/// The agents that run when these applications and processes do.
std::vector<std::string> running(std::set<std::string> bundleIds, std::set<std::string> processes) {
    const auto seen = LiveAgentScan::inTheTablesWords({std::move(bundleIds), std::move(processes)});
    std::vector<std::string> ids;
    for (const auto& agent : AgentScan::detect(seen.bundleIds, seen.processes, {}, {})) {
        if (agent.running) ids.push_back(agent.id);
    }
    return ids;
}

using Ids = std::vector<std::string>;

const std::vector<std::pair<std::string, std::string>>& applications() {
    static const std::vector<std::pair<std::string, std::string>> cases{
        {"cursor", "cursor"},
        {"wmclass:cursor", "cursor"},
        {"appimagekit_0123456789abcdef0123456789abcdef-Cursor", "cursor"},
        {"appimagekit_0123456789abcdef0123456789abcdef-LM_Studio", "lm_studio"},
        {"lm-studio", "lm_studio"},
        {"LM-Studio", "lm_studio"},
        {"lmstudio", "lm_studio"},
        {"wmclass:lm studio", "lm_studio"},
        {"wmclass:lm-studio", "lm_studio"},
        {"antigravity", "antigravity"},
        {"wmclass:antigravity", "antigravity"},
        {"claude-desktop", "claude_desktop"},
        {"com.anthropic.Claude", "claude_desktop"},
        {"wmclass:claude", "claude_desktop"},
        {"wmclass:claude-desktop", "claude_desktop"},
        {"chatgpt", "chatgpt"},
        {"chatgpt-desktop", "chatgpt"},
        {"chatgpt-desktop_chatgpt-desktop", "chatgpt"},
        {"wmclass:chatgpt", "chatgpt"},
        {"wmclass:chatgpt-desktop", "chatgpt"},
        {"gemini", "gemini"},
        {"gemini-desktop", "gemini"},
        {"wmclass:gemini", "gemini"},
        {"wmclass:gemini-desktop", "gemini"},
    };
    return cases;
}

TEST(AgentAliases, DesktopFilesAndWindowClassesAreAgentsOfTheTable) {
    for (const auto& [name, agent] : applications()) {
        EXPECT_EQ(running({name}, {}), Ids{agent}) << name;
    }
}

// An agent that the table knows by its application alone would otherwise never show on a system
// where applications have other names.
TEST(AgentAliases, EveryAgentIsSeenByAProcessOrByAnotherName) {
    for (const auto& agent : knownAgents()) {
        const bool named = std::ranges::any_of(
            applications(), [&](const auto& one) { return one.second == agent.id; });
        EXPECT_TRUE(named || !agent.processNames.empty()) << agent.id;
    }
}

TEST(AgentAliases, ProcessesThatAreAnApplicationAreAgentsOfTheTable) {
    EXPECT_EQ(running({}, {"cursor"}), Ids{"cursor"});
    EXPECT_EQ(running({}, {"lm-studio"}), Ids{"lm_studio"});
    EXPECT_EQ(running({}, {"antigravity"}), Ids{"antigravity"});
    EXPECT_EQ(running({}, {"claude-desktop"}), Ids{"claude_desktop"});
    EXPECT_EQ(running({}, {"gemini", "chatgpt"}), Ids{}) << "command line tools, or anybody";
}

TEST(AgentAliases, AProcessNamedAfterWhatItDoesIsStillItself) {
    for (const auto* const name : {"openclaw", "openclaw-gatewa", "openclaw-tui"}) {
        EXPECT_EQ(running({}, {name}), Ids{"openclaw"}) << name;
    }
    EXPECT_EQ(running({}, {"openclaws", "myopenclaw-x"}), Ids{});
}

TEST(AgentAliases, OthersKeepTheirNamesAndNobodyLosesHis) {
    EXPECT_EQ(AgentAliases::bundleIdFor("org.xfce.mousepad"), std::nullopt);
    EXPECT_EQ(AgentAliases::bundleIdFor("appimagekit_0123456789abcdef0123456789abcdef-Krita"),
              std::nullopt);
    EXPECT_EQ(AgentAliases::bundleIdForProcess("bash"), std::nullopt);
    EXPECT_EQ(AgentAliases::processFor("codex"), std::nullopt);
    const auto seen = LiveAgentScan::inTheTablesWords({{"cursor", "other"}, {"openclaw-x"}});
    EXPECT_EQ(seen.bundleIds,
              (std::set<std::string>{"com.todesktop.230313mzl4w4u92", "cursor", "other"}));
    EXPECT_EQ(seen.processes, (std::set<std::string>{"openclaw", "openclaw-x"}));
    // Another product of the same maker has an agent of its own.
    EXPECT_EQ(running({"com.openai.codex"}, {}), Ids{"codex"});
}

} // namespace
} // namespace kelvane
