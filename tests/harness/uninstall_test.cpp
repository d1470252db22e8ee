// What uninstalling asks, runs and says, in which order. What its script does
// is seen in uninstall_run_test.cpp.

#include "harness/uninstall.h"

#include "harness/installation.h"
#include "platform/fake/fakes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace kelvane {
namespace {

using testing::ElementsAre;

const std::string kFiveLines =
    "python3 \"$HOME/.brask/brask_install.py\" uninstall all --global "
    ">/dev/null 2>&1 || true\n"
    "rm -rf \"$HOME/.brask\"\n"
    "launchctl bootout \"gui/$(id -u)/org.example.kelvane.menubar\" "
    "2>/dev/null || true\n"
    "rm -f \"$HOME/Library/LaunchAgents/org.example.kelvane.menubar.plist\"\n"
    "rm -rf \"$HOME/Applications/Kelvane.app\"";

class UninstallTest : public testing::Test {
protected:
    UninstallTest() { fake.processes.results["/bin/sh"] = {.status = 0, .output = ""}; }

    void run() {
        Uninstall::runUninstall({.dialogs = fake.dialogs,
                                 .processes = fake.processes,
                                 .terminate = [this] { fake.journal.add("terminate"); },
                                 .giveBack = [this] { fake.journal.add("give back"); }},
                                installation);
    }

    FakePlatform fake;
    Installation installation{.home = "/home/ada",
                              .braskHome = "/home/ada/.brask",
                              .bundleId = "org.example.kelvane.menubar",
                              .loginItem = LoginItem::LaunchAgent,
                              .configHome = "/home/ada/.config",
                              .dataHome = "/home/ada/it's"};
};

TEST_F(UninstallTest, ScriptIsTheseFiveLinesByteForByte) {
    EXPECT_EQ(Uninstall::script(installation), kFiveLines);
}

TEST_F(UninstallTest, WithAutostartEntriesOneMoreLineRemovesWhatWasWritten) {
    installation.loginItem = LoginItem::AutostartEntry;
    EXPECT_EQ(Uninstall::script(installation),
              kFiveLines + "\nrm -f "
                           "'/home/ada/.config/autostart/org.example.kelvane.menubar.desktop' "
                           "'/home/ada/it'\\''s/applications/"
                           "org.example.kelvane.menubar.desktop'");
}

TEST_F(UninstallTest, ConfirmedItAsksRunsSaysSoAndQuitsInThisOrder) {
    fake.dialogs.answers = {0U};
    run();
    EXPECT_THAT(fake.journal.entries(),
                ElementsAre("alert Uninstall Kelvane?", "give back", "/bin/sh -lc " + kFiveLines,
                            "alert Kelvane removed", "terminate"));
    EXPECT_THAT(fake.dialogs.shown,
                ElementsAre(Alert{.style = Alert::Style::Warning,
                                  .message = "Uninstall Kelvane?",
                                  .informative =
                                      "Removes Trevix validation from your coding tools, deletes "
                                      "~/.brask, and removes this app. Your own MCP servers, "
                                      "hooks, "
                                      "and notes are left intact.",
                                  .buttons = {"Uninstall", "Cancel"}},
                            Alert{.style = Alert::Style::Informational,
                                  .message = "Kelvane removed",
                                  .informative = "Everything was removed \u2014 your own config "
                                                 "was left intact. "
                                                 "Thanks for trying it.",
                                  .buttons = {}}));
}

TEST_F(UninstallTest, CancelAndClosingTheAlertChangeNothing) {
    for (const std::optional<std::size_t>& answer : {std::optional<std::size_t>(1U), {}}) {
        fake.journal.clear();
        fake.dialogs.answers = {answer};
        run();
        EXPECT_THAT(fake.journal.entries(), ElementsAre("alert Uninstall Kelvane?"));
    }
}

TEST_F(UninstallTest, ScriptThatFailsOrCannotStartIsNotMentioned) {
    for (const bool starts : {true, false}) {
        fake.journal.clear();
        fake.processes.results.clear();
        if (starts) fake.processes.results["/bin/sh"] = {.status = 1, .output = ""};
        fake.dialogs.answers = {0U};
        run();
        EXPECT_EQ(fake.journal.count("alert Kelvane removed"), 1U);
        EXPECT_EQ(fake.journal.entries().back(), "terminate");
    }
}

} // namespace
} // namespace kelvane
