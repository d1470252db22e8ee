#include "detect/harness_config.h"

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using Keys = std::set<std::string>;

class HarnessConfigTest : public testing::Test {
protected:
    Keys present() { return HarnessConfig::present(fake.files, home); }
    Keys wired() { return HarnessConfig::wired(fake.files, home); }
    void put(const std::string& path, const std::string& text) {
        fake.files.files[home / path] = text;
    }

    FakePlatform fake;
    std::filesystem::path home = "/home/someone";
};

TEST_F(HarnessConfigTest, EmptyHomeFolderGivesTwoEmptySets) {
    fake.files.folders.insert(home);
    EXPECT_EQ(present(), Keys());
    EXPECT_EQ(wired(), Keys());
}

TEST_F(HarnessConfigTest, MissingHomeFolderGivesTwoEmptySets) {
    EXPECT_EQ(present(), Keys());
    EXPECT_EQ(wired(), Keys());
}

TEST_F(HarnessConfigTest, FoldersMakeToolsPresent) {
    for (const std::string key : {"claude", "codex", "openclaw", "cursor"}) {
        fake.files.folders = {home / ("." + key)};
        EXPECT_EQ(present(), Keys{key});
        EXPECT_EQ(wired(), Keys());
    }
}

TEST_F(HarnessConfigTest, FilesOfThatNameCountAsWell) {
    for (const std::string key : {"claude", "codex", "openclaw", "cursor"}) put("." + key, "");
    EXPECT_EQ(present(), (Keys{"claude", "codex", "openclaw", "cursor"}));
}

TEST_F(HarnessConfigTest, OnlyDotClaudeJsonMakesClaudePresentNotWired) {
    put(".claude.json", R"({"mcpServers": {"trevix": {}}, "x": "validate.py --harness claude"})");
    EXPECT_EQ(present(), Keys{"claude"});
    EXPECT_EQ(wired(), Keys());
}

TEST_F(HarnessConfigTest, ProjectServerFileAloneDoesNotMakeClaudePresent) {
    put(".mcp.json", "trevix");
    EXPECT_EQ(present(), Keys());
    EXPECT_EQ(wired(), Keys{"claude"});
}

TEST_F(HarnessConfigTest, WiredByContent) {
    struct Case {
        std::string path;
        std::string text;
        Keys wired;
    };
    const std::vector<Case> cases{
        {".claude/settings.json", "python3 validate.py --harness claude", {"claude"}},
        {".claude/settings.json", "--harness claude ... validate.py", {"claude"}},
        {".claude/settings.json", "python3 validate.py", {}},
        {".claude/settings.json", "--harness claude", {}},
        {".claude/settings.json", "validate.py --harness codex", {}},
        {".claude/settings.json", "Validate.py --harness claude", {}},
        {".claude/settings.json", "trevix", {}},
        {".mcp.json", R"({"mcpServers":{"trevix":{}}})", {"claude"}},
        {".mcp.json", "Trevix", {}},
        {".mcp.json", "validate.py --harness claude", {}},
        {".codex/config.toml", "[a]\n[mcp_servers.trevix]\n", {"codex"}},
        {".codex/config.toml", "# [mcp_servers.trevix]", {"codex"}},
        {".codex/config.toml", "name = \"trevix\"", {}},
        {".codex/config.toml", "[mcp_servers.trevix.env]", {}},
        {".codex/config.toml", "[MCP_SERVERS.TREVIX]", {}},
        {".openclaw/openclaw.json", "// trevix", {"openclaw"}},
        {".openclaw/openclaw.json", "TREVIX", {}},
        {".cursor/mcp.json", "\"trevix\"", {"cursor"}},
        {".cursor/mcp.json", "{}", {}},
        {".cursor/settings.json", "trevix", {}},
        {"mcp.json", "trevix", {}},
    };
    for (const auto& test : cases) {
        fake.files.files.clear();
        put(test.path, test.text);
        EXPECT_EQ(wired(), test.wired) << test.path << ": " << test.text;
    }
}

TEST_F(HarnessConfigTest, HookMarkersMustStandInOneFile) {
    put(".claude/settings.json", "validate.py");
    put(".mcp.json", "--harness claude");
    EXPECT_EQ(wired(), Keys());
}

TEST_F(HarnessConfigTest, EitherWayOfWiringClaudeSuffices) {
    put(".claude/settings.json", "validate.py");
    put(".mcp.json", "trevix");
    EXPECT_EQ(wired(), Keys{"claude"});
}

TEST_F(HarnessConfigTest, AllFourAtOnce) {
    put(".claude/settings.json", "validate.py --harness claude");
    put(".codex/config.toml", "[mcp_servers.trevix]");
    put(".openclaw/openclaw.json", "trevix");
    put(".cursor/mcp.json", "trevix");
    const Keys all{"claude", "codex", "openclaw", "cursor"};
    EXPECT_EQ(present(), all);
    EXPECT_EQ(wired(), all);
}

TEST_F(HarnessConfigTest, UnreadableFileIsPresentNotWired) {
    put(".cursor/mcp.json", "trevix");
    fake.files.unreadable.insert(home / ".cursor/mcp.json");
    EXPECT_EQ(present(), Keys{"cursor"});
    EXPECT_EQ(wired(), Keys());
}

TEST_F(HarnessConfigTest, FileThatIsNotUtf8IsPresentNotWired) {
    put(".cursor/mcp.json", "trevix \xff");
    put(".mcp.json", "\xc3\x28 trevix");
    put(".codex/config.toml", "[mcp_servers.trevix]\xed\xa0\x80");
    EXPECT_EQ(present(), (Keys{"codex", "cursor"}));
    EXPECT_EQ(wired(), Keys());
}

TEST_F(HarnessConfigTest, BrokenSettingsDoNotHideTheServerFile) {
    put(".claude/settings.json", "\xff");
    put(".mcp.json", "trevix");
    EXPECT_EQ(wired(), Keys{"claude"});
}

TEST_F(HarnessConfigTest, BothClaudeFilesAreReadEvenWhenTheFirstDecides) {
    put(".claude/settings.json", "validate.py --harness claude");
    EXPECT_EQ(wired(), Keys{"claude"});
    EXPECT_EQ(fake.journal.entries(), (std::vector<std::string>{
                                          "read /home/someone/.claude/settings.json",
                                          "read /home/someone/.mcp.json",
                                          "read /home/someone/.codex/config.toml",
                                          "read /home/someone/.openclaw/openclaw.json",
                                          "read /home/someone/.cursor/mcp.json",
                                      }));
}

TEST_F(HarnessConfigTest, NothingIsWritten) {
    put(".cursor/mcp.json", "trevix");
    const auto before = fake.files.files;
    (void)present();
    (void)wired();
    EXPECT_EQ(fake.files.files, before);
    EXPECT_EQ(fake.journal.count("read "), fake.journal.entries().size());
}

/// Tells in which order the paths were asked for.
class AskedPaths : public FakeFileSystem {
public:
    using FakeFileSystem::FakeFileSystem;

    bool exists(const std::filesystem::path& path) override {
        asked.push_back(path.filename().string());
        return FakeFileSystem::exists(path);
    }

    std::vector<std::string> asked;
};

TEST_F(HarnessConfigTest, DotClaudeJsonIsAskedForOnlyWhenTheFolderIsMissing) {
    AskedPaths files(fake.journal);
    EXPECT_EQ(HarnessConfig::present(files, home), Keys());
    EXPECT_EQ(files.asked, (std::vector<std::string>{".claude", ".claude.json", ".codex",
                                                     ".openclaw", ".cursor"}));
    files.asked.clear();
    files.folders.insert(home / ".claude");
    EXPECT_EQ(HarnessConfig::present(files, home), Keys{"claude"});
    EXPECT_EQ(std::count(files.asked.begin(), files.asked.end(), ".claude.json"), 0);
}

} // namespace
} // namespace kelvane
