// What is going to be sent is seen before it is: nothing leaves before "Send", and "Don't ask
// again" is kept for the application.

#include "tests/journey/journey.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace kelvane {
namespace {

using testing::HasSubstr;

class PreviewJourney : public Journey {
protected:
    static void SetUpTestSuite() {
        Journey::SetUpTestSuite();
        std::filesystem::create_directories(s_desktop->home() / ".brask");
        std::ofstream(s_desktop->home() / ".brask/validate.py") << "";
    }

    [[nodiscard]] std::filesystem::path settings() const { return m_home / ".brask/settings.json"; }
    /// How often the panel has had the keyboard back after a capture.
    std::size_t timesBack() {
        const std::string all = contents(panel().trace());
        std::size_t times = 0;
        for (std::size_t at = 0; (at = all.find("keyboard back", at)) != std::string::npos; ++at) {
            ++times;
        }
        return times;
    }
    /// Whether work was handed to the service; what tells how it is does not count.
    static bool hasSentWork() { return relayed().find("> POST ") != std::string::npos; }
};

TEST_F(PreviewJourney, NothingLeavesBeforeSendAndDontAskAgainIsKept) {
    std::ofstream(settings()) << R"({"preview": "always"})";
    startService({"--key", kOwnKey});
    openAndSelectAll({"mousepad", "--disable-server", document("All is well here.\n").string()},
                     "Mousepad");
    startProduct({{"BRASK_API_BASE", startRelay()}, {"BRASK_API_KEY", kOwnKey}});
    ASSERT_TRUE(panel().open());

    const auto shown = pressAndWait("Grade this", "This stays on this machine");
    EXPECT_TRUE(shown.says("The text selected in Mousepad, 18 characters")) << shown.all();
    EXPECT_TRUE(shown.says("All is well here.")) << shown.all();
    EXPECT_TRUE(shown.says("Nothing of the document but this text is sent.")) << shown.all();
    EXPECT_EQ(shown.button("Grade this"), nullptr) << "only the preview can be answered";
    const auto dropped = pressAndWait("Cancel", "Nothing was sent.");
    EXPECT_NE(dropped.button("Grade this"), nullptr) << dropped.all();
    EXPECT_FALSE(hasSentWork()) << relayed();

    // Whoever closes the panel has not said yes either.
    pressAndWait("Grade this", "This stays on this machine");
    // Until the panel has the keyboard again what is pressed goes nowhere.
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return timesBack() == 2; }));
    panel().clickIcon();
    ASSERT_TRUE(panel().waitFor([](const auto& frame) { return !frame.shown; }));
    ASSERT_TRUE(panel().open());
    EXPECT_TRUE(panel().frame().says("Nothing was sent.")) << panel().frame().all();
    EXPECT_FALSE(hasSentWork()) << relayed();

    pressAndWait("Grade this", "This stays on this machine");
    ASSERT_TRUE(panel().click("Don't ask again for Mousepad"));
    const auto graded = pressAndWait("Send", "SHIP");
    EXPECT_FALSE(graded.says("Nothing was sent.")) << graded.all();
    EXPECT_TRUE(hasSentWork());
    EXPECT_THAT(contents(settings()), HasSubstr(R"("org.xfce.mousepad": "never")"));
    EXPECT_THAT(contents(settings()), HasSubstr(R"("preview": "always")")) << "the rest stays";

    // What a person said once holds from then on, after a restart as well.
    quitThroughTheMenu();
    startProduct({{"BRASK_API_BASE", startRelay()}, {"BRASK_API_KEY", kOwnKey}});
    ASSERT_TRUE(panel().open());
    const auto again = pressAndWait("Grade this", "SHIP");
    EXPECT_FALSE(again.says("This stays on this machine")) << again.all();
    quitThroughTheMenu();
}

} // namespace
} // namespace kelvane
