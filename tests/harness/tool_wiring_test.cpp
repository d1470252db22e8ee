// Which steps wiring takes, in which order, and what it says. What its script
// does is seen in wiring_run_test.cpp.

#include "harness/tool_wiring.h"

#include "harness/installation.h"
#include "platform/fake/fakes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using testing::ElementsAreArray;

const std::string kCheckPython = "/bin/sh -lc command -v python3 >/dev/null 2>&1";
const std::string kChmod = "/bin/sh -lc chmod 0755 \"/home/ada/.brask/validate.py\" "
                           "\"/home/ada/.brask/brask_install.py\" 2>/dev/null";
const std::string kScript =
    "export BRASK_HOME=\"$HOME/.brask\"\n"
    "PY=$(command -v python3) || exit 0\n"
    "wired=\"\"\n"
    "for h in claude codex openclaw; do\n"
    "  if [ -d \"$HOME/.$h\" ] || command -v \"$h\" >/dev/null 2>&1; then\n"
    "    \"$PY\" \"$BRASK_HOME/brask_install.py\" \"$h\" --global >/dev/null "
    "2>&1 || true; "
    "wired=\"$wired $h\"\n"
    "  fi\n"
    "done\n"
    "[ -n \"$wired\" ] || { \"$PY\" \"$BRASK_HOME/brask_install.py\" claude "
    "--global >/dev/null "
    "2>&1\n"
    "                     \"$PY\" \"$BRASK_HOME/brask_install.py\" codex  "
    "--global >/dev/null "
    "2>&1; }";
const std::string kWire = "/bin/sh -lc " + kScript;
const std::string kPlist = "/home/ada/Library/LaunchAgents/org.example.kelvane.menubar.plist";

class ToolWiringTest : public testing::Test {
protected:
    ToolWiringTest() {
        fake.processes.results["/bin/sh"] = {.status = 0, .output = ""};
        fake.resources.runsFrom = "/opt/Kelvane.app";
        fake.resources.resourcesIn = "/opt/Kelvane.app/Contents/Resources";
        fake.resources.resources["app-catalog.json"] =
            "/opt/Kelvane.app/Contents/Resources/app-catalog.json";
        putResource("app-catalog.json", "the catalog");
        putResource("kit/validate.py", "the validator");
        putResource("kit/brask_install.py", "the installer");
        putResource("kit/standing/._rules.md", "attributes");
        putResource("kit/standing/rules.md", "the rules");
        putResource("kit/standing/engine/check.py", "the check");
        fake.files.folders.insert("/home/ada");
    }

    void putResource(const std::string& name, const std::string& bytes) {
        fake.files.files["/opt/Kelvane.app/Contents/Resources/" + name] = bytes;
    }

    void run(bool firstRun) {
        ToolWiring::runInstall({.files = fake.files,
                                .processes = fake.processes,
                                .bundle = fake.resources,
                                .dialogs = fake.dialogs,
                                .urls = fake.urls},
                               installation, settings, firstRun);
    }

    /// What the wiring script is to have done when the status is read.
    void wire(const std::string& file, const std::string& text) {
        fake.processes.onRun = [this, file, text,
                                before = fake.processes.onRun](const ProcessRequest& request) {
            if (before) before(request);
            if (request.arguments.back() == kScript) fake.files.files["/home/ada/" + file] = text;
        };
    }

    /// The journal without what only looks.
    std::vector<std::string> steps() const {
        auto entries = fake.journal.entries();
        std::erase_if(entries, [](const auto& entry) { return entry.starts_with("read "); });
        return entries;
    }

    bool happened(const std::string& beginning) const { return fake.journal.count(beginning) > 0; }

    FakePlatform fake;
    Installation installation{.home = "/home/ada",
                              .braskHome = "/home/ada/.brask",
                              .bundleId = "org.example.kelvane.menubar",
                              .loginItem = LoginItem::LaunchAgent,
                              .configHome = "/home/ada/.config",
                              .dataHome = "/home/ada/.local/share"};
    ToolWiring::Settings settings{.connectURL = "https://trevix.example/connect?from=macos-app",
                                  .noPersist = false,
                                  .noOpen = false};
};

// --- the status
// ----------------------------------------------------------------------------------

TEST_F(ToolWiringTest, StatusAlwaysHasTheFourRowsInOrder) {
    EXPECT_EQ(
        ToolWiring::harnessStatus(fake.files, "/home/ada"),
        (std::vector<Harness>{
            {"Claude Code", false}, {"Codex", false}, {"OpenClaw", false}, {"Cursor", false}}));
}

TEST_F(ToolWiringTest, StatusRowIsWiredWhenItsConfigurationCarriesTheMarker) {
    fake.files.files["/home/ada/.codex/config.toml"] = "[mcp_servers.trevix]";
    fake.files.files["/home/ada/.cursor/mcp.json"] = "trevix";
    EXPECT_EQ(ToolWiring::harnessStatus(fake.files, "/home/ada"),
              (std::vector<Harness>{
                  {"Claude Code", false}, {"Codex", true}, {"OpenClaw", false}, {"Cursor", true}}));
    fake.files.files["/home/ada/.claude/settings.json"] = "validate.py --harness claude";
    fake.files.files["/home/ada/.openclaw/openclaw.json"] = "trevix";
    for (const auto& row : ToolWiring::harnessStatus(fake.files, "/home/ada")) {
        EXPECT_TRUE(row.wired) << row.label;
    }
}

TEST_F(ToolWiringTest, InstalledMeansThatAnythingNamedValidatePyIsThere) {
    EXPECT_FALSE(ToolWiring::isInstalled(fake.files, "/home/ada/.brask"));
    fake.files.files["/home/ada/.brask/brask_install.py"] = "";
    EXPECT_FALSE(ToolWiring::isInstalled(fake.files, "/home/ada/.brask"));
    fake.files.files["/home/ada/.brask/validate.py"] = "";
    EXPECT_TRUE(ToolWiring::isInstalled(fake.files, "/home/ada/.brask"));
    fake.files.files.erase("/home/ada/.brask/validate.py");
    fake.files.folders.insert("/home/ada/.brask/validate.py");
    EXPECT_TRUE(ToolWiring::isInstalled(fake.files, "/home/ada/.brask"));
}

// --- the steps
// -----------------------------------------------------------------------------------

TEST_F(ToolWiringTest, FirstRunTakesEveryStepInOrder) {
    run(true);
    const std::string resources = "/opt/Kelvane.app/Contents/Resources";
    const std::string brask = "/home/ada/.brask";
    std::vector<std::string> expected{kCheckPython, "mkdir " + brask + "/standing"};
    const auto replaced = [&](const std::string& source, const std::string& folder,
                              const std::string& name) {
        const std::string beside = folder + "/." + name + ".new";
        expected.push_back("remove-tree " + beside);
        expected.push_back("copy-tree " + source + " -> " + beside);
        expected.push_back("exchange " + beside + " <-> " + folder + "/" + name);
        expected.push_back("remove-tree " + beside);
    };
    const std::string standing = brask + "/standing";
    replaced(resources + "/kit/validate.py", brask, "validate.py");
    replaced(resources + "/kit/brask_install.py", brask, "brask_install.py");
    expected.push_back("list " + resources + "/kit/standing");
    replaced(resources + "/kit/standing/engine", standing, "engine");
    replaced(resources + "/kit/standing/rules.md", standing, "rules.md");
    replaced(resources + "/app-catalog.json", brask, "app-catalog.json");
    expected.insert(expected.end(), {kChmod, kWire, "mkdir /home/ada/Applications"});
    replaced("/opt/Kelvane.app", "/home/ada/Applications", "Kelvane.app");
    expected.insert(expected.end(), {"mkdir /home/ada/Library/LaunchAgents", "write " + kPlist,
                                     "open https://trevix.example/connect?from=macos-app"});
    EXPECT_EQ(steps(), expected);
    EXPECT_TRUE(ToolWiring::isInstalled(fake.files, installation.braskHome));
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/standing/engine/check.py"), "the check");
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/app-catalog.json"), "the catalog");
}

TEST_F(ToolWiringTest, FromTheMenuTheSameStepsEndInTheDialog) {
    run(true);
    const auto first = steps();
    fake.journal.clear();
    run(false);
    auto second = steps();
    ASSERT_EQ(second.back(), "alert Kelvane is wired");
    EXPECT_EQ(first.back(), "open " + settings.connectURL);
    second.back() = first.back();
    EXPECT_EQ(second, first);
    EXPECT_EQ(fake.urls.opened.size(), 1U);
}

TEST_F(ToolWiringTest, ShellCommandsAreBlockingWithOurOwnStreams) {
    run(true);
    ASSERT_EQ(fake.processes.requests.size(), 3U);
    for (const auto& request : fake.processes.requests) {
        EXPECT_EQ(request.program, "/bin/sh");
        EXPECT_EQ(request.arguments.front(), "-lc");
        EXPECT_EQ(request.output, ProcessOutput::Inherit);
    }
    EXPECT_EQ(fake.processes.requests[2].arguments.back(), kScript);
}

TEST_F(ToolWiringTest, StandingEntryThatBeginsWithDotUnderscoreIsNotCopied) {
    run(true);
    EXPECT_TRUE(fake.files.exists("/home/ada/.brask/standing/rules.md"));
    EXPECT_FALSE(fake.files.exists("/home/ada/.brask/standing/._rules.md"));
    EXPECT_FALSE(happened("exchange /home/ada/.brask/standing/.._"));
}

TEST_F(ToolWiringTest, EveryRunBringsTheKitToTheShippedVersion) {
    fake.files.files["/home/ada/.brask/validate.py"] = "changed";
    fake.files.files["/home/ada/.brask/standing/rules.md"] = "changed";
    fake.files.files["/home/ada/.brask/standing/engine/gone.py"] = "of an older version";
    fake.files.files["/home/ada/.brask/standing/mine.md"] = "the user's";
    fake.files.files["/home/ada/.brask/key"] = "the key";
    run(false);
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/validate.py"), "the validator");
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/standing/rules.md"), "the rules");
    EXPECT_FALSE(fake.files.exists("/home/ada/.brask/standing/engine/gone.py"));
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/standing/mine.md"), "the user's");
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/key"), "the key");
}

TEST_F(ToolWiringTest, FolderInPlaceOfAFileAndFileInPlaceOfAFolderAreReplaced) {
    fake.files.files["/home/ada/.brask/validate.py/within"] = "x";
    fake.files.files["/home/ada/.brask/standing/engine"] = "a file";
    run(true);
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/validate.py"), "the validator");
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/standing/engine/check.py"), "the check");
}

// --- what is missing
// -----------------------------------------------------------------------------

TEST_F(ToolWiringTest, WithoutPythonItSaysSoAndDoesNothingElse) {
    for (const bool firstRun : {true, false}) {
        fake.journal.clear();
        fake.dialogs.shown.clear();
        fake.processes.results["/bin/sh"] = {.status = 127, .output = ""};
        run(firstRun);
        EXPECT_THAT(steps(),
                    ElementsAreArray<std::string>({kCheckPython, "alert Python 3 is required"}));
        EXPECT_EQ(fake.dialogs.shown,
                  (std::vector<Alert>{
                      {.style = Alert::Style::Warning,
                       .message = "Python 3 is required",
                       .informative = "Kelvane runs the validator with python3, which isn\u2019t "
                                      "installed. Install Apple\u2019s Command Line Tools "
                                      "(Terminal: xcode-select --install), then choose "
                                      "\u201cWire my tools\u201d from the menu.",
                       .buttons = {}}}));
    }
}

TEST_F(ToolWiringTest, MissingPythonOnTheFirstRunLeavesTheNextLaunchToTryAgain) {
    fake.processes.results["/bin/sh"] = {.status = 1, .output = ""};
    run(true);
    EXPECT_FALSE(ToolWiring::isInstalled(fake.files, installation.braskHome));
}

TEST_F(ToolWiringTest, ShellThatCannotStartCountsAsNoPython) {
    fake.processes.results.clear();
    run(true);
    EXPECT_TRUE(happened("alert Python 3 is required"));
    EXPECT_FALSE(happened("mkdir"));
}

TEST_F(ToolWiringTest, WithoutAResourceFolderItGoesOnWithTheScript) {
    fake.resources.resourcesIn.reset();
    run(true);
    const auto taken = steps();
    ASSERT_GE(taken.size(), 3U);
    EXPECT_EQ(taken[0], kCheckPython);
    EXPECT_EQ(taken[1], kWire);
    EXPECT_FALSE(happened("copy-tree /opt/Kelvane.app/Contents/Resources"));
    EXPECT_EQ(taken.back(), "open " + settings.connectURL);
}

TEST_F(ToolWiringTest, MissingKitLeavesTheTargetsDeletedAndGoesOn) {
    std::erase_if(fake.files.files, [](const auto& file) {
        return file.first.string().find("/kit/") != std::string::npos;
    });
    fake.files.files["/home/ada/.brask/validate.py"] = "old";
    run(true);
    EXPECT_FALSE(fake.files.exists("/home/ada/.brask/validate.py"));
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/app-catalog.json"), "the catalog");
    EXPECT_TRUE(happened(kChmod));
    EXPECT_TRUE(happened(kWire));
    EXPECT_TRUE(happened("open "));
}

TEST_F(ToolWiringTest, MissingCatalogLeavesTheOneThatIsThere) {
    fake.resources.resources.clear();
    fake.files.files["/home/ada/.brask/app-catalog.json"] = "downloaded";
    run(true);
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/app-catalog.json"), "downloaded");
}

TEST_F(ToolWiringTest, OneFileThatCannotBeCopiedDoesNotStopTheOthers) {
    fake.files.unwritable.insert("/home/ada/.brask/validate.py");
    fake.files.unreadable.insert(
        "/opt/Kelvane.app/Contents/Resources/kit/standing/engine/check.py");
    run(true);
    EXPECT_FALSE(ToolWiring::isInstalled(fake.files, installation.braskHome));
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/brask_install.py"), "the installer");
    EXPECT_FALSE(fake.files.exists("/home/ada/.brask/standing/engine"));
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/standing/rules.md"), "the rules");
    EXPECT_TRUE(happened(kWire));
}

TEST_F(ToolWiringTest, StandingFolderThatCannotBeListedIsSkipped) {
    fake.files.unreadable.insert("/opt/Kelvane.app/Contents/Resources/kit/standing");
    run(true);
    EXPECT_FALSE(fake.files.exists("/home/ada/.brask/standing/rules.md"));
    EXPECT_EQ(fake.files.files.at("/home/ada/.brask/app-catalog.json"), "the catalog");
}

TEST_F(ToolWiringTest, HomeThatTakesNothingStillGetsToTheEnd) {
    for (const char* folder : {".brask", "Applications", "Library"}) {
        fake.files.unwritable.insert(installation.home / folder);
    }
    run(true);
    EXPECT_FALSE(fake.files.exists("/home/ada/.brask"));
    EXPECT_FALSE(fake.files.exists("/home/ada/Applications"));
    EXPECT_FALSE(fake.files.exists("/home/ada/Library"));
    EXPECT_TRUE(happened(kWire));
    EXPECT_TRUE(happened("open "));
}

TEST_F(ToolWiringTest, StatusOfTheScriptsIsIgnored) {
    fake.processes.answer = [](const ProcessRequest& request) {
        const bool isCheck = request.arguments.back().starts_with("command -v");
        return ProcessResult{.status = isCheck ? 0 : 1, .output = ""};
    };
    run(true);
    EXPECT_TRUE(happened(kWire));
    EXPECT_TRUE(happened("open "));
}

// --- flags
// ---------------------------------------------------------------------------------------

TEST_F(ToolWiringTest, NoPersistKeepsFromInstallingTheProgram) {
    settings.noPersist = true;
    for (const bool firstRun : {true, false}) run(firstRun);
    EXPECT_FALSE(happened("mkdir /home/ada/Applications"));
    EXPECT_FALSE(happened("copy-tree /opt/Kelvane.app ->"));
    EXPECT_FALSE(happened("write "));
    EXPECT_TRUE(happened("open "));
}

TEST_F(ToolWiringTest, FirstRunWithNoOpenOpensNothingAndShowsNothing) {
    settings.noOpen = true;
    run(true);
    EXPECT_FALSE(happened("open "));
    EXPECT_TRUE(fake.dialogs.shown.empty());
    EXPECT_TRUE(happened("write " + kPlist));
}

TEST_F(ToolWiringTest, ConnectAddressThatIsNoneIsNotOpenedAndNotMentioned) {
    fake.urls.invalid.insert(settings.connectURL);
    run(true);
    EXPECT_TRUE(fake.urls.opened.empty());
    EXPECT_TRUE(fake.dialogs.shown.empty());
}

// --- the dialog
// ----------------------------------------------------------------------------------

TEST_F(ToolWiringTest, DialogSaysYourCodingToolsWhenNoneIsWired) {
    run(false);
    EXPECT_EQ(fake.dialogs.shown,
              (std::vector<Alert>{{.style = Alert::Style::Informational,
                                   .message = "Kelvane is wired",
                                   .informative =
                                       "Validation is now active in: your coding tools.\n"
                                       "Get your free key at trevix.example/connect, then export "
                                       "BRASK_API_KEY.",
                                   .buttons = {}}}));
}

TEST_F(ToolWiringTest, DialogNamesOneToolAlone) {
    wire(".codex/config.toml", "[mcp_servers.trevix]");
    run(false);
    EXPECT_TRUE(
        fake.dialogs.shown.at(0).informative.starts_with("Validation is now active in: Codex.\n"));
}

TEST_F(ToolWiringTest, DialogNamesTwoToolsInTheOrderOfTheList) {
    wire(".cursor/mcp.json", "trevix");
    wire(".claude/settings.json", "validate.py --harness claude");
    run(false);
    EXPECT_TRUE(fake.dialogs.shown.at(0).informative.starts_with(
        "Validation is now active in: Claude Code, Cursor.\n"))
        << fake.dialogs.shown[0].informative;
}

TEST_F(ToolWiringTest, DialogGivesTheAddressOfWhateverServiceWithoutItsScheme) {
    settings.connectURL = "https://127.0.0.1:8080/connect?from=macos-app";
    run(false);
    EXPECT_NE(fake.dialogs.shown.at(0).informative.find(" at 127.0.0.1:8080/connect, then"),
              std::string::npos);
}

} // namespace
} // namespace kelvane
