#include "detect/live_agent_scan.h"

#include "platform/fake/fakes.h"
#include "platform/posix/posix_platform.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using Set = std::set<std::string>;
using LiveAgentScan::processNames;

bool runs(const std::vector<DetectedAgent>& agents, const std::string& id) {
    for (const auto& agent : agents) {
        if (agent.id == id) return agent.running;
    }
    ADD_FAILURE() << "no row for " << id;
    return false;
}

TEST(ProcessNames, FromOneLine) {
    struct Case {
        std::string line;
        Set names;
    };
    const std::vector<Case> cases{
        {"ollama", {"ollama"}},
        {"/usr/local/bin/ollama", {"ollama"}},
        {"  Codex  ", {"codex"}},
        {"\tCodex \t", {"codex"}},
        {"/", {"/"}},
        {"///", {"///"}},
        {" / ", {}}, // the last piece is a blank
        {"/bin/ ", {}},
        {"/ ", {}},
        {"", {}},
        {"   \t", {}},
        {"/opt/tool/", {"tool"}},
        {"/opt//tool///", {"tool"}},
        {"/opt/tool/ x", {"x"}},
        {"/Applications/LM Studio.app/Contents/MacOS/LM Studio", {"lm studio"}},
        {"Google Chrome Helper (Renderer)", {"google chrome helper (renderer)"}},
        {"two  blanks", {"two  blanks"}},
        {"kworker/0:1-events", {"0:1-events"}},
        {"-zsh", {"-zsh"}},
        {"[kthreadd]", {"[kthreadd]"}},
        {"tool\r", {"tool\r"}}, // only blanks and tabs are trimmed
        {"\u00a0tool\u00a0", {"\u00a0tool\u00a0"}},
        {"\u00c9DITEUR", {"\u00e9diteur"}},
        {"\u0416\u0423\u041a", {"\u0436\u0443\u043a"}},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(processNames(test.line), test.names) << "line: '" << test.line << "'";
        EXPECT_EQ(processNames(test.line + "\n"), test.names) << "line: '" << test.line << "\\n'";
    }
}

TEST(ProcessNames, FromManyLines) {
    EXPECT_EQ(processNames("/sbin/init\n\n\n  Codex\nollama\n/bin/Ollama\n"),
              (Set{"init", "codex", "ollama"}));
    EXPECT_EQ(processNames("no end of line\nat the end"), (Set{"no end of line", "at the end"}));
    EXPECT_EQ(processNames(""), Set());
    EXPECT_EQ(processNames("\n\n\n"), Set());
}

TEST(ProcessNames, HugeListWithBlanksInNames) {
    constexpr int kLines = 5000;
    std::string listing;
    Set expected;
    for (int i = 0; i < kLines; ++i) {
        const std::string number = std::to_string(i);
        listing +=
            "/Applications/Tool " + number + ".app/Contents/MacOS/Tool Helper " + number + "  \n";
        expected.insert("tool helper " + number);
    }
    listing += "\t/opt/homebrew/bin/Ollama\t\n";
    expected.insert("ollama");
    const auto names = processNames(listing);
    EXPECT_EQ(names.size(), kLines + 1U);
    EXPECT_EQ(names, expected);
}

TEST(ProcessNames, OneVeryLongLine) {
    const std::string piece(200'000, 'X');
    EXPECT_EQ(processNames("/" + piece + "/" + piece), Set{std::string(200'000, 'x')});
    EXPECT_EQ(processNames(std::string(200'000, '/')), Set{std::string(200'000, '/')});
}

class LiveAgentScanTest : public testing::Test {
protected:
    std::vector<DetectedAgent> scan(const Set& configPresent = {}, const Set& wired = {}) {
        return LiveAgentScan::scan({.workspace = fake.workspace, .processes = fake.processes},
                                   configPresent, wired);
    }
    Set names() {
        return LiveAgentScan::runningProcessNames(
            LiveAgentScan::startProcessListing(fake.processes));
    }
    void listing(const std::string& output, int status = 0) {
        fake.processes.results["/bin/ps"] = {.status = status, .output = output};
    }

    FakePlatform fake;
};

TEST_F(LiveAgentScanTest, StartsPsWithExactlyTheseWords) {
    listing("a\n");
    (void)names();
    EXPECT_EQ(fake.processes.requests,
              (std::vector<ProcessRequest>{{.program = "/bin/ps",
                                            .arguments = {"-axo", "comm="},
                                            .output = ProcessOutput::Capture}}));
}

TEST_F(LiveAgentScanTest, NoPsNoNames) {
    EXPECT_EQ(names(), Set());
}

TEST_F(LiveAgentScanTest, ListThatIsNotUtf8IsNoListAtAll) {
    listing("ollama\n\xff\xfe\ncodex\n");
    EXPECT_EQ(names(), Set());
}

TEST_F(LiveAgentScanTest, ExitStatusOfPsDoesNotMatter) {
    listing("ollama\n", 1);
    EXPECT_EQ(names(), Set{"ollama"});
}

TEST_F(LiveAgentScanTest, JoinsApplicationsProcessesAndConfiguration) {
    fake.workspace.running = {
        {.bundleId = "com.openai.atlas", .name = "Atlas", .pid = 1},
        {.bundleId = std::nullopt, .name = "com.google.antigravity", .pid = 2},
        {.bundleId = "com.openai.atlas", .name = "Atlas", .pid = 3},
    };
    listing("/usr/bin/Ollama\n/opt/claude\n");
    const auto agents = scan({"cursor"}, {"claude"});
    EXPECT_EQ(agents, AgentScan::detect({"com.openai.atlas"}, {"ollama", "claude"}, {"cursor"},
                                        {"claude"}));
    EXPECT_TRUE(runs(agents, "chatgpt"));
    EXPECT_TRUE(runs(agents, "ollama"));
    EXPECT_TRUE(runs(agents, "claude_code"));
    EXPECT_FALSE(runs(agents, "antigravity")) << "a name is no identifier";
}

TEST_F(LiveAgentScanTest, WithoutPsIdentifiersAndConfigurationStillWork) {
    fake.workspace.running = {{.bundleId = "com.openai.codex", .name = "Codex", .pid = 1}};
    EXPECT_EQ(scan({"cursor"}, {"codex"}),
              AgentScan::detect({"com.openai.codex"}, {}, {"cursor"}, {"codex"}));
}

TEST_F(LiveAgentScanTest, KeepsNothingBetweenCalls) {
    listing("ollama\n");
    EXPECT_TRUE(runs(scan(), "ollama"));
    listing("bash\n");
    EXPECT_FALSE(runs(scan(), "ollama"));
    EXPECT_EQ(fake.processes.requests.size(), 2U);
}

TEST(LiveAgentScanReal, ThisSystemsListHoldsThisProgram) {
    if (!std::filesystem::exists("/bin/ps")) GTEST_SKIP() << "this system has no /bin/ps";
    const auto runner = makePosixProcessRunner();
    const auto names =
        LiveAgentScan::runningProcessNames(LiveAgentScan::startProcessListing(*runner));
    EXPECT_TRUE(names.contains("detect_tests")) << testing::PrintToString(names);
    EXPECT_TRUE(names.contains("ps"));
}

} // namespace
} // namespace kelvane
