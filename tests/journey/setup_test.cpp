// Installed and nothing said: the built program in a fresh home folder, without one variable that
// names a service or a key. One click, and work is graded on this machine; after everything was
// ended, again, without a click.

#include "tests/journey/accessible_tree.h"
#include "tests/journey/dialog_on_screen.h"
#include "tests/journey/journey.h"
#include "tests/source_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <signal.h>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::HasSubstr;

class SetupJourney : public Journey {
protected:
    void SetUp() override {
        Journey::SetUp();
        m_home = s_desktop->home() / "people/new";
        fs::remove_all(m_home);
        fs::create_directories(m_home);
    }

    /// As the desktop's session has it: nothing of the service, nothing of the key.
    [[nodiscard]] std::map<std::string, std::string> sessionEnvironment() const {
        auto environment = productEnvironment();
        environment.erase("BRASK_API_BASE");
        environment.erase("BRASK_API_KEY");
        environment.erase("XDG_DATA_HOME");
        environment.insert(AccessibleTree::accessibilityVariable());
        return environment;
    }
    void startPlain(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), m_program.string());
        fs::remove(panel().trace());
        m_product = std::make_unique<Program>(arguments, sessionEnvironment());
        ASSERT_TRUE(panel().waitForIcon());
    }

    /// What a command prints, and its status in a line after it.
    [[nodiscard]] std::string said(const std::vector<std::string>& switches) const {
        std::vector<std::string> command{"/bin/sh", "-c", "\"$@\" 2>&1; echo status $?", "sh",
                                         m_program.string()};
        command.insert(command.end(), switches.begin(), switches.end());
        Program program(command, sessionEnvironment());
        std::string text = program.readUntil("status ", 60s).value_or("");
        text += program.readUntil("\n", 10s).value_or("");
        return text;
    }

    void answer(const std::string& button) {
        const auto dialog = DialogOnScreen::waitFor(*s_desktop, 60s);
        ASSERT_TRUE(dialog) << "nothing was asked";
        EXPECT_TRUE(dialog->says("Where shall your work be graded?")) << dialog->all();
        const auto* const place = dialog->button(button);
        ASSERT_NE(place, nullptr) << dialog->all();
        panel().clickAt(place->x + place->width / 2, place->y + place->height / 2);
        ASSERT_TRUE(VirtualDesktop::waitUntil(
            [] { return !DialogOnScreen::waitFor(*s_desktop, 0ms).has_value(); }));
    }

    [[nodiscard]] std::string choice() const { return contents(m_home / ".brask/service"); }

    void openFlawedWork() {
        openAndSelectAll({"mousepad", "--disable-server",
                          document(contents(inSourceTree("docs/samples/launch-note.md"))).string()},
                         "Mousepad");
    }
};

TEST_F(SetupJourney, OneClickAndWorkIsGradedHereAndAfterARestartAgain) {
    startPlain();
    answer("Grade on this machine");
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !choice().empty(); }));
    EXPECT_THAT(choice(), HasSubstr("service: this machine\n"));
    EXPECT_THAT(choice(), HasSubstr(m_home.string() + "/.local/share/trevix-local/key\n"));

    openFlawedWork();
    ASSERT_TRUE(panel().open());
    auto frame = pressAndWait("Grade this", "Trevix ");
    EXPECT_FALSE(frame.says("SHIP")) << frame.all();
    EXPECT_NE(frame.button("Iterate"), nullptr) << frame.all();

    const std::string status = said({"--status", "--json"});
    EXPECT_THAT(status, HasSubstr("\"running\":true"));
    EXPECT_THAT(status, HasSubstr("\"place\":\"this machine\""));
    EXPECT_THAT(status, HasSubstr("\"answers\":true"));
    EXPECT_THAT(status, HasSubstr("\"key\":true"));
    EXPECT_THAT(status, HasSubstr("status 0\n"));
    EXPECT_THAT(said({"--doctor"}), HasSubstr("The key is the local service's own."));

    // All of it ends as when the machine is switched off; the service goes with what started it.
    m_product->signal(SIGKILL);
    ASSERT_TRUE(m_product->waitForEnd());
    const fs::path lock = m_home / ".local/share/trevix-local/lock";
    ASSERT_TRUE(fs::exists(lock));
    Program lockTaken({"/usr/bin/flock", "-w", "60", lock.string(), "echo", "free"},
                      s_desktop->environment());
    EXPECT_TRUE(lockTaken.readUntil("free\n", 70s)) << "the service outlived the program";
    EXPECT_THAT(said({"--status"}), HasSubstr("Kelvane:  does not run\n"));

    s_desktop->end(m_started.back());
    m_started.pop_back();
    startPlain();
    openFlawedWork();
    EXPECT_EQ(said({"--grade", "--selection"}), "status 0\n");
    const auto again = panel().waitForText("Trevix ");
    ASSERT_TRUE(again) << panel().frame().all();
    EXPECT_FALSE(DialogOnScreen::waitFor(*s_desktop, 0ms)) << "it was asked again";
    EXPECT_FALSE(again->says("SHIP")) << again->all();
    quitThroughTheMenu();
}

TEST_F(SetupJourney, LaterIsNotAskedAgainUntilItIsWished) {
    startPlain();
    answer("Later");
    EXPECT_THAT(choice(), HasSubstr("service: later\n"));
    EXPECT_EQ(said({"--grade"}).substr(0, 8), "kelvane:");
    EXPECT_EQ(said({"--service"}), "status 0\n");
    answer("Use a service account");
    EXPECT_THAT(choice(), HasSubstr("service: account\n"));
    EXPECT_TRUE(
        VirtualDesktop::waitUntil([] { return opened().find("/connect") != std::string::npos; }));
    ASSERT_TRUE(panel().open());
    quitThroughTheMenu();
    EXPECT_EQ(said({"--grade"}),
              "kelvane: no instance runs here that answers; start kelvane first\nstatus 1\n");
}

} // namespace
} // namespace kelvane
