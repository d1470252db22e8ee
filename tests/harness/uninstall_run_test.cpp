// What uninstalling really takes away, and that it takes nothing else.

#include "tests/harness/real_home.h"
#include "tests/source_tree.h"

#include <gmock/gmock.h>
#include <unistd.h>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string kName = "org.example.kelvane.menubar";

class UninstallRunTest : public RealHome {
protected:
    UninstallRunTest() { settings.noPersist = false; }

    void installEverything() {
        install(true);
        fs::remove(log);
        // On this system the login item is the one or the other; the script removes
        // both.
        putHomeFile("Library/LaunchAgents/" + kName + ".plist", "left by another");
        putHomeFile("Library/LaunchAgents/org.example.other.plist", "someone else's");
    }

    bool anythingIsLeft() const {
        return fs::exists(brask) || fs::exists(home / "Applications/Kelvane.app") ||
               fs::exists(home / "Library/LaunchAgents" / (kName + ".plist")) ||
               fs::exists(home / ".config/autostart" / (kName + ".desktop")) ||
               fs::exists(home / ".local/share/applications" / (kName + ".desktop"));
    }
};

TEST_F(UninstallRunTest, ConfirmedEverythingThatWasInstalledIsGone) {
    installEverything();
    ASSERT_TRUE(fs::exists(home / ".config/autostart" / (kName + ".desktop")));
    ASSERT_TRUE(fs::exists(home / ".local/share/applications" / (kName + ".desktop")));
    fake.dialogs.answers = {0U};
    EXPECT_EQ(writtenBy([this] { uninstall(); }), "");
    EXPECT_FALSE(anythingIsLeft());
    EXPECT_FALSE(ToolWiring::isInstalled(*files, brask));
    EXPECT_THAT(installerCalls(), ElementsAre(": uninstall all --global"));
    EXPECT_EQ(contentsOf(home / "Library/LaunchAgents/org.example.other.plist"), "someone else's");
    EXPECT_TRUE(fs::exists(contents)) << "a copy that runs from elsewhere is left where it is";
    EXPECT_EQ(fake.journal.entries().back(), "terminate");
}

TEST_F(UninstallRunTest, CancelAndClosingTheAlertLeaveEveryFileAndTheProgramRunning) {
    installEverything();
    const auto before = filesBelow(home);
    for (const std::optional<std::size_t>& answer : {std::optional<std::size_t>(1U), {}}) {
        fake.dialogs.answers = {answer};
        uninstall();
        EXPECT_EQ(filesBelow(home), before);
    }
    EXPECT_EQ(fake.journal.count("terminate"), 0U);
    EXPECT_THAT(installerCalls(), IsEmpty());
}

TEST_F(UninstallRunTest, WithoutPythonTheToolsKeepTheirWiringAndTheRestIsRemoved) {
    fs::create_directories(home / ".codex");
    installEverything();
    ASSERT_TRUE(ToolWiring::harnessStatus(*files, home).at(1).wired);
    fs::remove(bin / "python3");
    fake.dialogs.answers = {0U};
    EXPECT_EQ(writtenBy([this] { uninstall(); }), "");
    EXPECT_FALSE(anythingIsLeft());
    EXPECT_TRUE(ToolWiring::harnessStatus(*files, home).at(1).wired);
    EXPECT_EQ(fake.dialogs.shown.back().message, "Kelvane removed");
}

TEST_F(UninstallRunTest, LaunchServiceIsAskedToLetGoOfThisUsersAgentAndMayRefuse) {
    installEverything();
    putProgram("launchctl", "echo \"$*\" >>'" + log.string() + "'; echo not loaded >&2; exit 3");
    fake.dialogs.answers = {0U};
    EXPECT_EQ(writtenBy([this] { uninstall(); }), "");
    EXPECT_THAT(installerCalls(),
                ElementsAre(": uninstall all --global",
                            "bootout gui/" + std::to_string(getuid()) + "/" + kName));
    EXPECT_FALSE(anythingIsLeft());
    EXPECT_EQ(fake.dialogs.shown.back().message, "Kelvane removed");
}

TEST_F(UninstallRunTest, WhereNothingIsInstalledItStillGetsToTheEnd) {
    const auto before = filesBelow(home);
    fake.dialogs.answers = {0U};
    EXPECT_EQ(writtenBy([this] { uninstall(); }), "");
    EXPECT_EQ(filesBelow(home), before);
    EXPECT_EQ(fake.journal.entries().back(), "terminate");
}

TEST_F(UninstallRunTest, DesktopFoldersThatAreElsewhereAreCleanedToo) {
    installation.configHome = folder / "it's config";
    installation.dataHome = folder / "data";
    installEverything();
    const auto autostart = installation.configHome / "autostart" / (kName + ".desktop");
    const auto menu = installation.dataHome / "applications" / (kName + ".desktop");
    ASSERT_TRUE(fs::exists(autostart));
    ASSERT_TRUE(fs::exists(menu));
    fake.dialogs.answers = {0U};
    uninstall();
    EXPECT_FALSE(fs::exists(autostart));
    EXPECT_FALSE(fs::exists(menu));
}

TEST_F(UninstallRunTest, CopyOfAReadOnlyBundleGoesAwayToo) {
    const auto writable = fs::perms::owner_write;
    fs::permissions(contents / "Resources", writable, fs::perm_options::remove);
    fs::permissions(kit / "standing", writable, fs::perm_options::remove);
    installEverything();
    fake.dialogs.answers = {0U};
    uninstall();
    EXPECT_FALSE(anythingIsLeft());
    fs::permissions(contents / "Resources", writable, fs::perm_options::add);
    fs::permissions(kit / "standing", writable, fs::perm_options::add);
}

TEST_F(UninstallRunTest, AfterwardsTheNextLaunchIsAFirstOneAndInstallsAgain) {
    installEverything();
    fake.dialogs.answers = {0U};
    uninstall();
    install(true);
    EXPECT_TRUE(ToolWiring::isInstalled(*files, brask));
    EXPECT_TRUE(fs::exists(home / "Applications/Kelvane.app/Contents/MacOS/Kelvane"));
}

// --- with the installer that is shipped
// ----------------------------------------------------------

/// A home folder that has seen years of use.
class ShippedKitTest : public UninstallRunTest {
protected:
    ShippedKitTest() {
        putHomeFile(".claude/settings.json", "{\r\n\t\"model\" : \"opus\",\r\n\t\"hooks\": {\r\n"
                                             "\t\t\"Stop\": [ {\"hooks\":[{\"type\":\"command\", "
                                             "\"command\":\"say \\u0064one\"}]} ]"
                                             "\r\n\t},\r\n   \"permissions\": {\"allow\":[]}\r\n}");
        putHomeFile(".claude.json", "{\"mcpServers\":{\"mine\":{\"command\":\"x\"}}}");
        putHomeFile(".claude/CLAUDE.md", "# notes\n");
        putHomeFile(".codex/config.toml",
                    "# mine\nmodel = \"gpt-5\"   # why not\n\n[mcp_servers.other]\n"
                    "command = 'other' # keep\nargs = [\n  \"a\", # one\n]\n\n"
                    "[profiles.fast]\nmodel = \"mini\"");
        putHomeFile(".openclaw/openclaw.json",
                    "// mine\n{\n  gateway: { mode: 'local', }, // local\n"
                    "  mcp: { servers: { other: { command: 'x' }, }, },\n}\n\n");
        putHomeFile(".cursor/mcp.json", "{\"mcpServers\":{}}\n");
        putHomeFile(".mcp.json", "{\"mcpServers\":{\"mine\":{\"command\":\"y\"}}}");
        putHomeFile(".config/autostart/other.desktop", "[Desktop Entry]\n");
        putHomeFile("Documents/notes.md", "my notes");
        fs::permissions(home / ".codex/config.toml", fs::perms(0600));
    }

    /// The kit as the build puts it together. One that does not start is a failure here and now,
    /// for what runs it later discards what it says.
    void SetUp() override {
        const fs::path shipped = KELVANE_KIT;
        const auto help =
            processes->run({.program = pathOf("python3").string(),
                            .arguments = {(shipped / "brask_install.py").string(), "--help"},
                            .output = ProcessOutput::Capture});
        ASSERT_TRUE(help);
        ASSERT_EQ(help->status, 0);
        ASSERT_NE(help->output, "");
        fs::remove_all(kit);
        fs::copy(shipped, kit, fs::copy_options::recursive);
    }
};

TEST_F(ShippedKitTest, AfterAConfirmedUninstallTheHomeIsAsBeforeByteForByte) {
    const auto before = filesBelow(home);
    install(false);
    const auto status = ToolWiring::harnessStatus(*files, home);
    for (const std::size_t row : {0U, 1U, 2U}) EXPECT_TRUE(status[row].wired) << status[row].label;
    EXPECT_FALSE(status[3].wired);
    EXPECT_NE(filesBelow(home), before);
    install(false); // once more, as from the menu
    fake.dialogs.answers = {0U};
    uninstall();
    EXPECT_EQ(filesBelow(home), before);
}

TEST_F(ShippedKitTest, EmptyHomeIsEmptyAgain) {
    for (const char* name : {".claude", ".claude.json", ".codex", ".openclaw", ".cursor",
                             ".mcp.json", ".config", "Documents"}) {
        fs::remove_all(home / name);
    }
    const auto before = filesBelow(home);
    install(true);
    EXPECT_TRUE(ToolWiring::harnessStatus(*files, home)[0].wired);
    EXPECT_TRUE(ToolWiring::harnessStatus(*files, home)[1].wired);
    fake.dialogs.answers = {0U};
    uninstall();
    EXPECT_EQ(filesBelow(home), before);
}

} // namespace
} // namespace kelvane
