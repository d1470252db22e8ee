#include "harness/installation.h"

#include "platform/fake/fakes.h"
#include "platform/posix/posix_platform.h"
#include "tests/platform/temporary_folder.h"
#include "tests/source_tree.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {
namespace {

namespace fs = std::filesystem;

Installation installationIn(const fs::path& home, LoginItem item) {
    return {.home = home,
            .braskHome = home / ".brask",
            .bundleId = "org.example.kelvane.menubar",
            .loginItem = item,
            .configHome = home / ".config",
            .dataHome = home / ".local/share"};
}

TEST(Installation, TextBetweenDoubleQuotesStandsForItself) {
    EXPECT_EQ(inDoubleQuotes("/home/ada/.brask"), "/home/ada/.brask");
    EXPECT_EQ(inDoubleQuotes("it's; *a* & b"), "it's; *a* & b");
    EXPECT_EQ(inDoubleQuotes(R"(a"b$(c)`d`\e)"), R"(a\"b\$(c)\`d\`\\e)");
}

TEST(Installation, DesktopFoldersFollowTheirVariables) {
    struct Case {
        std::optional<std::string> value;
        fs::path config;
        fs::path data;
    };
    for (const auto& test : std::vector<Case>{
             {std::nullopt, "/home/ada/.config", "/home/ada/.local/share"},
             {"", "/home/ada/.config", "/home/ada/.local/share"},
             {"relative/one", "/home/ada/.config", "/home/ada/.local/share"},
             {"/elsewhere", "/elsewhere", "/elsewhere"},
         }) {
        FakePlatform fake;
        if (test.value) {
            fake.environment.variables["XDG_CONFIG_HOME"] = *test.value;
            fake.environment.variables["XDG_DATA_HOME"] = *test.value;
        }
        EXPECT_EQ(configHome(fake.environment, "/home/ada"), test.config);
        EXPECT_EQ(dataHome(fake.environment, "/home/ada"), test.data);
    }
}

TEST(Installation, LaunchAgentIsThisTextByteForByte) {
    const auto files = startFiles(installationIn("/Users/ada", LoginItem::LaunchAgent));
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].path, "/Users/ada/Library/LaunchAgents/org.example.kelvane.menubar.plist");
    EXPECT_EQ(files[0].text, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                             "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                             "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                             "<plist version=\"1.0\"><dict>\n"
                             "  <key>Label</key><string>org.example.kelvane.menubar</string>\n"
                             "  "
                             "<key>ProgramArguments</key><array><string>/Users/ada/Applications/"
                             "Kelvane.app/"
                             "Contents/MacOS/Kelvane</string></array>\n"
                             "  <key>RunAtLoad</key><true/>\n"
                             "  <key>LimitLoadToSessionType</key><string>Aqua</string>\n"
                             "</dict></plist>");
}

TEST(Installation, LaunchAgentTakesThePathAsItIs) {
    const auto files = startFiles(installationIn("/Users/a & <b>", LoginItem::LaunchAgent));
    EXPECT_NE(files.at(0).text.find("<string>/Users/a & <b>/Applications/Kelvane.app/Contents/"
                                    "MacOS/Kelvane</string>"),
              std::string::npos);
}

TEST(Installation, AutostartEntryIsThisTextByteForByte) {
    const auto files = startFiles(installationIn("/home/ada", LoginItem::AutostartEntry));
    ASSERT_EQ(files.size(), 2U);
    const std::string common =
        "[Desktop Entry]\n"
        "Type=Application\n"
        "Name=Kelvane Companion\n"
        "GenericName=Work grader\n"
        "Comment=Grades your work before it ships\n"
        "Exec=\"/home/ada/Applications/Kelvane.app/Contents/MacOS/Kelvane\"\n"
        "TryExec=/home/ada/Applications/Kelvane.app/Contents/MacOS/Kelvane\n"
        "Icon=/home/ada/Applications/Kelvane.app/Contents/Resources/brask.png\n"
        "Terminal=false\n"
        "StartupNotify=false\n"
        "StartupWMClass=org.example.kelvane.menubar\n"
        "Categories=Utility;\n"
        "Keywords=grade;review;quality;\n";
    EXPECT_EQ(files[0].path, "/home/ada/.config/autostart/org.example.kelvane.menubar.desktop");
    EXPECT_EQ(files[0].text,
              common + "X-GNOME-Autostart-enabled=true\nX-KDE-autostart-after=panel\n");
    EXPECT_EQ(files[1].path, "/home/ada/.local/share/applications/"
                             "org.example.kelvane.menubar.desktop");
    EXPECT_EQ(files[1].text, common +
                                 "X-KDE-Wayland-Interfaces=org_kde_kwin_fake_input,"
                                 "org_kde_plasma_window_management\n"
                                 "X-KDE-DBUS-Restricted-Interfaces=org.kde.KWin.ScreenShot2\n");
}

/// The value of a key, in a desktop entry.
std::string valueOf(const std::string& entry, const std::string& key) {
    const auto at = entry.find("\n" + key + "=");
    if (at == std::string::npos) return {};
    const auto begin = at + key.size() + 2;
    return entry.substr(begin, entry.find('\n', begin) - begin);
}

TEST(Installation, MenuEntryIsThePackagedOneForAnotherPlace) {
    auto installation = installationIn("/home/ada", LoginItem::AutostartEntry);
    installation.bundleId = "@KELVANE_BUNDLE_ID@"; // as the template has it
    const std::string ours = startFiles(installation).at(1).text;
    std::string packaged = contentsOf(inSourceTree("resources/linux/menu.desktop.in"));
    EXPECT_EQ(valueOf(packaged, "Exec"), "\"@program@\"");
    EXPECT_EQ(valueOf(packaged, "TryExec"), "@program@");
    EXPECT_EQ(valueOf(packaged, "Icon"), installation.bundleId);
    for (const std::string key : {"Exec", "TryExec", "Icon"}) {
        const auto old = "\n" + key + "=" + valueOf(packaged, key) + "\n";
        packaged.replace(packaged.find(old), old.size(),
                         "\n" + key + "=" + valueOf(ours, key) + "\n");
    }
    EXPECT_EQ(ours, packaged);
    EXPECT_EQ(valueOf(ours, "StartupWMClass"), installation.bundleId)
        << "how a desktop knows the program's windows";
}

TEST(Installation, ExecValueQuotesWhatHasAMeaning) {
    struct Case {
        std::string path;
        std::string value;
    };
    for (const auto& test : std::vector<Case>{
             {"/a/b", R"("/a/b")"},
             {"/a b/c", R"("/a b/c")"},
             {"/it's", R"("/it's")"},
             {R"(/a"b)", R"("/a\\"b")"},
             {"/a$b", R"("/a\\$b")"},
             {"/a`b", R"("/a\\`b")"},
             {R"(/a\b)", R"("/a\\\\b")"},
             {"/100%f", R"(/bin/sh -c "exec \\"\\$0\\"" "/100%%f")"},
             {"/a=b", R"(/bin/sh -c "exec \\"\\$0\\"" "/a=b")"},
             {"/a\nb\tc", R"("/a\nb\tc")"},
             {"/\u00e9\U0001F600", "\"/\u00e9\U0001F600\""},
             {"/a&b;c|d<e>f(g)*?#~", R"("/a&b;c|d<e>f(g)*?#~")"},
         }) {
        EXPECT_EQ(execValue(test.path), test.value) << test.path;
    }
}

TEST(Installation, TryExecIsNotQuotedButEscaped) {
    const auto files = startFiles(installationIn(R"(/a \ % $)", LoginItem::AutostartEntry));
    EXPECT_NE(files.at(0).text.find("\nTryExec=/a \\\\ % "
                                    "$/Applications/Kelvane.app/Contents/MacOS/Kelvane\n"),
              std::string::npos)
        << files[0].text;
}

TEST(Installation, ShellWordIsOneWordWhateverItHolds) {
    const auto processes = makePosixProcessRunner();
    for (const std::string& text : std::vector<std::string>{"plain", "two words", "it's", "'",
                                                            "$HOME `id` \"x\" \\ *", "a\nb", ""}) {
        const auto result = processes->run({.program = "/bin/sh",
                                            .arguments = {"-c", "printf '<%s>' " + shellWord(text)},
                                            .output = ProcessOutput::Capture});
        ASSERT_TRUE(result.has_value());
        EXPECT_EQ(result->output, "<" + text + ">");
    }
}

/// Home folders whose names make quoting hard.
const std::vector<std::string> kAwkwardNames{
    "ada",  "Ada L", "it's", "100%",  "%f %U",        "a\"b",    "a$HOME", "a`id`",
    "a\\b", "a\\$b", "a=b",  "a&b;c", "\u00e9\u4e16", "a#~(b)*", " lead",  "tab\tin"};

/// Runs a program of the search path; absent when there is none of that name.
std::optional<ProcessResult> runOnSearchPath(const std::string& program, const fs::path& file) {
    const auto result = makePosixProcessRunner()->run(
        {.program = "/bin/sh",
         .arguments = {"-c", "command -v " + program + " >/dev/null || exit 127; " + program + " " +
                                 shellWord(file.string()) + " 2>&1"},
         .output = ProcessOutput::Capture});
    return result && result->status != 127 ? result : std::nullopt;
}

TEST(Installation, DesktopEntriesAreValidForEveryHome) {
    TemporaryFolder folder;
    for (const auto& name : kAwkwardNames) {
        for (const auto& file :
             startFiles(installationIn(folder / name, LoginItem::AutostartEntry))) {
            const auto entry = folder / "org.example.kelvane.menubar.desktop";
            putFile(entry, file.text);
            const auto result = runOnSearchPath("desktop-file-validate", entry);
            if (!result) GTEST_SKIP() << "NOT CHECKED: no desktop-file-validate here";
            EXPECT_EQ(result->status, 0) << name << '\n' << result->output;
            EXPECT_EQ(result->output, "") << name;
        }
    }
}

TEST(Installation, DesktopStartsTheInstalledProgramInEveryHome) {
    TemporaryFolder folder;
    for (const auto& name : kAwkwardNames) {
        const auto installation = installationIn(folder / name, LoginItem::AutostartEntry);
        const auto program = installedExecutable(installation);
        fs::create_directories(program.parent_path());
        putFile(program, "#!/bin/sh\nprintf '%s %s' \"$#\" \"$0\"\n");
        fs::permissions(program, fs::perms::all);
        const auto entry = folder / "org.example.kelvane.menubar.desktop";
        putFile(entry, startFiles(installation)[0].text);
        const auto result = runOnSearchPath("gio launch", entry);
        if (!result) GTEST_SKIP() << "NOT CHECKED: no gio here";
        EXPECT_EQ(result->output, "0 " + program.string()) << name;
    }
}

} // namespace
} // namespace kelvane
