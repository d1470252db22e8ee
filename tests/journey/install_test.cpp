// From the first start to the last trace gone: the built program in home folders as people have
// them, with the real installer and the real login shell.

#include "tests/journey/accessible_tree.h"
#include "tests/journey/dialog_on_screen.h"
#include "tests/journey/journey.h"
#include "tests/source_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <fstream>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::IsEmpty;

const std::string kId = "example.trevix.kelvane.menubar";

void put(const fs::path& path, const std::string& bytes, mode_t mode = 0644) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
    ::chmod(path.c_str(), mode);
}

/// Everything below a folder: kind, mode, and bytes or target. Empty folders that a desktop has
/// anyway may come; that is why folders are told apart.
struct Snapshot {
    std::map<std::string, std::string> files;
    std::map<std::string, std::string> folders;

    explicit Snapshot(const fs::path& root) {
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            const auto name = entry.path().lexically_relative(root).string();
            const auto status = entry.symlink_status();
            const auto mode = std::to_string(static_cast<unsigned>(status.permissions()));
            if (fs::is_symlink(status)) {
                files[name] = "-> " + fs::read_symlink(entry.path()).string();
            } else if (fs::is_directory(status)) {
                folders[name] = mode;
            } else {
                files[name] = mode + " " + contents(entry.path());
            }
        }
    }
};

class InstallJourney : public Journey {
protected:
    void SetUp() override {
        Journey::SetUp();
        m_home = s_desktop->home() / "people" /
                 testing::UnitTest::GetInstance()->current_test_info()->name();
        m_bin = m_home.parent_path() / (m_home.filename().string() + ".bin");
        fs::create_directories(m_home);
        fs::create_directories(m_bin);
        for (const std::string program : {"sh", "rm", "id", "chmod", "cat"}) {
            fs::create_symlink("/bin/" + program, m_bin / program);
        }
        Program python({"/usr/bin/env", "python3", "-c", "import sys; print(sys.executable)"},
                       s_desktop->environment());
        auto where = python.readUntil("\n", 20s).value_or("");
        where.pop_back();
        put(m_bin / "python3", "#!/bin/sh\nexec '" + where + "' \"$@\"\n", 0755);
        // What a login shell finds is this user's to say; so no tool of this machine is seen.
        put(m_home / ".profile", "PATH=\"$HOME/.local/bin:" + m_bin.string() + "\"\nexport PATH\n");
    }

    void furnish() const {
        put(m_home / "dotfiles/claude.json",
            "{ \"model\":\"opus\",\n\t\"hooks\" : {\"Stop\":[ {\"hooks\":[{\"type\":\"command\","
            "\n\"command\":\"echo \\u00e9 done\"}] } ]}  ,\n\"x\": [1,2 ,3 ] }",
            0640);
        fs::create_directories(m_home / ".claude");
        fs::create_symlink("../dotfiles/claude.json", m_home / ".claude/settings.json");
        ::chmod((m_home / ".claude").c_str(), 0750);
        put(m_home / ".codex/config.toml",
            "# mine\nmodel = \"o3\"   # the good one\r\n\n[mcp_servers.notes]\ncommand = "
            "'notes'\n# end",
            0604);
        put(m_home / ".openclaw/openclaw.json",
            "// JSON5, as it comes\n{\n  gateway: {port: 1234,}, // trailing\n  'mcp': "
            "{servers: {other: {command: \"x\"},},},\n}\n",
            0600);
        put(m_home / ".cursor/mcp.json", "{\"mcpServers\": {}}\n", 0444);
        put(m_home / "Applications/Other.app/readme", "another program");
        put(m_home / ".config/autostart/other.desktop", "[Desktop Entry]\n");
        put(m_home / ".local/bin/mine", "#!/bin/sh\n", 0700);
        put(m_home / "Documents/notes on brask.txt", "kelvane, trevix\n", 0400);
        fs::create_symlink("nowhere", m_home / "dangling");
    }

    void start(std::map<std::string, std::string> more = {}) {
        more.insert(AccessibleTree::accessibilityVariable());
        startProduct(more);
    }

    /// A panel that can be opened proves that the launch is over and no dialog stands in the way.
    void expectPanelAndNoDialog() {
        ASSERT_TRUE(panel().open());
        const auto windows = s_desktop->windows();
        EXPECT_EQ(std::ranges::count(windows, "Kelvane Companion", &DesktopWindow::title), 1)
            << "something else than the panel is on the screen";
    }

    void firstStartAndQuit() {
        start();
        ASSERT_TRUE(panel().open());
        quitThroughTheMenu();
        ASSERT_TRUE(fs::exists(m_home / ".brask/validate.py"));
    }

    DialogOnScreen dialog() {
        const auto shown = DialogOnScreen::waitFor(*s_desktop);
        EXPECT_TRUE(shown) << "no dialog came";
        return shown.value_or(DialogOnScreen{});
    }

    void press(const DialogOnScreen& dialog, const std::string& name) {
        const auto* const button = dialog.button(name);
        ASSERT_NE(button, nullptr) << dialog.all();
        // It can be read before the window manager has moved it to its place.
        auto place = std::pair(button->x, button->y);
        int still = 0;
        EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
            const auto seen = DialogOnScreen::waitFor(*s_desktop, 0ms);
            const auto* const there = seen ? seen->button(name) : nullptr;
            if (there == nullptr) return false;
            const auto now = std::pair(there->x, there->y);
            still = now == std::exchange(place, now) ? still + 1 : 0;
            return still == 3;
        })) << name;
        panel().clickAt(place.first + button->width / 2, place.second + button->height / 2);
    }

    void expectDialogGone() {
        EXPECT_TRUE(VirtualDesktop::waitUntil(
            [] { return !DialogOnScreen::waitFor(*s_desktop, 0ms).has_value(); }));
    }

    [[nodiscard]] fs::path installedProgram() const {
        return m_home / "Applications/Kelvane.app/Contents/MacOS/Kelvane";
    }

    std::optional<int> runToEnd(const std::vector<std::string>& command) {
        Program program(command, productEnvironment());
        return program.waitForEnd(60s);
    }

    fs::path m_bin;
};

TEST_F(InstallJourney, FirstStartInAnEmptyHomeInstallsAndTheSecondChangesNothing) {
    start();
    expectPanelAndNoDialog();
    EXPECT_TRUE(VirtualDesktop::waitUntil([] { return opened().ends_with("\n"); }));
    EXPECT_TRUE(opened().ends_with("/connect?from=macos-app\n")) << opened();
    quitThroughTheMenu();
    for (const char* name : {".brask/validate.py", ".brask/brask_install.py", ".brask/standing",
                             ".brask/app-catalog.json", ".local/bin/brask"}) {
        EXPECT_TRUE(fs::exists(m_home / name)) << name;
    }
    EXPECT_NE(contents(m_home / ".claude/settings.json").find("validate.py"), std::string::npos);
    EXPECT_NE(contents(m_home / ".codex/config.toml").find("[mcp_servers.trevix]"),
              std::string::npos);
    EXPECT_FALSE(fs::exists(m_home / ".openclaw"));
    EXPECT_FALSE(fs::exists(m_home / ".cursor"));
    const auto entry = contents(m_home / ".config/autostart" / (kId + ".desktop"));
    EXPECT_NE(entry.find("Exec=\"" + installedProgram().string() + "\"\n"), std::string::npos)
        << entry;

    // What a second start must leave: also a validator that somebody has changed.
    put(m_home / ".brask/validate.py", "changed", 0755);
    fs::remove(m_home / ".config/autostart" / (kId + ".desktop"));
    fs::remove(m_home / ".claude/settings.json");
    const auto before = Snapshot(m_home).files;
    fs::remove(s_opened);
    start();
    expectPanelAndNoDialog();
    quitThroughTheMenu();
    EXPECT_EQ(Snapshot(m_home).files, before);
    EXPECT_EQ(opened(), "");
}

TEST_F(InstallJourney, TheInstalledCopyStartsAndWorksByItself) {
    firstStartAndQuit();
    EXPECT_EQ(runToEnd({installedProgram().string(), "--selftest"}), 0);
    const auto picture = m_home / "panel.png";
    EXPECT_EQ(runToEnd({installedProgram().string(), "--render", picture.string()}), 0);
    EXPECT_TRUE(contents(picture).starts_with("\x89PNG"));
    m_program = installedProgram();
    start();
    ASSERT_TRUE(panel().open());
    const auto loaded = contents("/proc/" + std::to_string(m_product->pid()) + "/maps");
    EXPECT_NE(loaded.find((m_home / "Applications").string()), std::string::npos);
    const auto built = fs::path(KELVANE_PRODUCT).parent_path().parent_path().string();
    EXPECT_EQ(loaded.find(built), std::string::npos) << "something comes from where it was built";
    quitThroughTheMenu();
}

TEST_F(InstallJourney, NoOpenAndNoPersistAreRespectedEvenWhenEmpty) {
    start({{"BRASK_APP_NO_OPEN", ""}, {"BRASK_APP_NO_PERSIST", ""}});
    expectPanelAndNoDialog();
    quitThroughTheMenu();
    EXPECT_TRUE(fs::exists(m_home / ".brask/validate.py"));
    EXPECT_FALSE(fs::exists(m_home / "Applications"));
    EXPECT_FALSE(fs::exists(m_home / ".config/autostart"));
    EXPECT_EQ(opened(), "");
}

TEST_F(InstallJourney, WireMyToolsClosesThePanelAndNamesTheTools) {
    furnish();
    firstStartAndQuit();
    fs::remove(m_home / ".brask/brask_install.py");
    fs::remove(s_opened);
    start();
    ASSERT_TRUE(panel().open());
    ASSERT_TRUE(panel().click("Wire my tools"));
    const auto said = dialog();
    EXPECT_FALSE(panel().frame().shown);
    EXPECT_TRUE(said.says("Kelvane is wired")) << said.all();
    ASSERT_EQ(said.texts.size(), 2U) << said.all();
    EXPECT_TRUE(said.texts[1].starts_with(
        "Validation is now active in: Claude Code, Codex, OpenClaw.\nGet your free key at "))
        << said.all();
    EXPECT_TRUE(said.texts[1].ends_with("/connect, then export BRASK_API_KEY.")) << said.all();
    EXPECT_TRUE(fs::exists(m_home / ".brask/brask_install.py"));
    press(said, "OK");
    expectDialogGone();
    EXPECT_EQ(opened(), "");
    quitThroughTheMenu();
}

TEST_F(InstallJourney, WithoutPythonOnTheLoginPathAWarningIsShownAndNothingInstalled) {
    fs::remove(m_bin / "python3");
    const auto before = Snapshot(m_home).files;
    start();
    const auto said = dialog();
    EXPECT_TRUE(said.says("Python 3 is required")) << said.all();
    press(said, "OK");
    expectDialogGone();
    expectPanelAndNoDialog();
    quitThroughTheMenu();
    EXPECT_EQ(Snapshot(m_home).files, before);
    EXPECT_EQ(opened(), "");
}

TEST_F(InstallJourney, UninstallNotConfirmedLeavesEverything) {
    furnish();
    firstStartAndQuit();
    const auto before = Snapshot(m_home).files;
    start();
    chooseFromMenu("Uninstall Kelvane…");
    const auto question = dialog();
    EXPECT_FALSE(panel().frame().shown);
    EXPECT_TRUE(question.says("Uninstall Kelvane?")) << question.all();
    press(question, "Cancel");
    expectDialogGone();
    chooseFromMenu("Uninstall Kelvane…");
    EXPECT_TRUE(dialog().says("Uninstall Kelvane?"));
    panel().press("Escape"); // as the window's own close button does
    expectDialogGone();
    expectPanelAndNoDialog();
    quitThroughTheMenu();
    EXPECT_EQ(Snapshot(m_home).files, before);
}

TEST_F(InstallJourney, UninstallLeavesTheHomeAsItWasAndALaterStartIsAFirstOne) {
    furnish();
    const Snapshot before(m_home);
    firstStartAndQuit();
    ASSERT_NE(Snapshot(m_home).files, before.files);
    put(m_home / "Documents/made meanwhile.txt", "new");
    m_program = installedProgram();
    start();
    chooseFromMenu("Uninstall Kelvane…");
    press(dialog(), "Uninstall");
    std::optional<DialogOnScreen> farewell;
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        farewell = DialogOnScreen::waitFor(*s_desktop, 0ms);
        return farewell && farewell->says("Kelvane removed");
    })) << (farewell ? farewell->all() : "no dialog");
    ASSERT_TRUE(farewell);
    press(*farewell, "OK");
    EXPECT_EQ(m_product->waitForEnd(), 0);

    Snapshot after(m_home);
    EXPECT_EQ(after.files["Documents/made meanwhile.txt"].substr(4), "new");
    after.files.erase("Documents/made meanwhile.txt");
    EXPECT_EQ(after.files, before.files);
    for (const auto& [folder, mode] : before.folders) EXPECT_EQ(after.folders[folder], mode);

    fs::remove(s_opened);
    m_program = KELVANE_PRODUCT;
    start();
    expectPanelAndNoDialog();
    EXPECT_TRUE(VirtualDesktop::waitUntil([] { return !opened().empty(); }));
    EXPECT_TRUE(fs::exists(installedProgram()));
    quitThroughTheMenu();
}

TEST_F(InstallJourney, BraskGradesFromALoginShellUntilTheUninstall) {
    startService();
    put(m_home / "good.md", contents(inSourceTree("docs/samples/launch-note-corrected.md")));
    put(m_home / "bad.md", contents(inSourceTree("docs/samples/launch-note.md")));
    firstStartAndQuit();
    EXPECT_EQ(runToEnd({"/bin/sh", "-lc", "brask grade \"$HOME/good.md\""}), 0);
    EXPECT_EQ(runToEnd({"/bin/sh", "-lc", "brask grade \"$HOME/bad.md\""}), 1);
    start();
    chooseFromMenu("Uninstall Kelvane…");
    press(dialog(), "Uninstall");
    EXPECT_TRUE(VirtualDesktop::waitUntil([] {
        const auto shown = DialogOnScreen::waitFor(*s_desktop, 0ms);
        return shown && shown->says("Kelvane removed");
    }));
    panel().press("Return");
    EXPECT_EQ(m_product->waitForEnd(), 0);
    EXPECT_EQ(runToEnd({"/bin/sh", "-lc", "command -v brask"}), 127);
}

} // namespace
} // namespace kelvane
