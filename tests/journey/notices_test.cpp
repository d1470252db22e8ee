// What reaches somebody who does not look at the panel: the messages of a real notification daemon,
// of verdicts and of agents' turns, and what pressing on them does.

#include "tests/journey/journey.h"
#include "tests/journey/notices_on_screen.h"
#include "tests/source_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

class NoticeJourney : public Journey {
protected:
    static void SetUpTestSuite() {
        Journey::SetUpTestSuite();
        // The kit as an installation lays it out, which also says that there was a first start.
        const auto kit = fs::path(KELVANE_PRODUCT).parent_path().parent_path() / "Resources/kit";
        fs::copy(kit, s_desktop->home() / ".brask", fs::copy_options::recursive);
    }

    void SetUp() override {
        Journey::SetUp();
        // Those of the tests before this one.
        fs::remove_all(m_home / ".brask/history");
        fs::remove_all(m_home / ".brask/state");
        fs::remove(m_home / ".brask/settings.json");
        fs::remove(released());
        m_notices = std::make_unique<NoticesOnScreen>(*s_desktop);
    }

    void TearDown() override {
        m_product.reset();
        m_notices.reset();
        Journey::TearDown();
    }

    /// While it is not there the service's verdict is not handed back.
    static fs::path released() { return s_desktop->home() / "released"; }

    void startWithWork() {
        startService({"--key", kOwnKey});
        openAndSelectAll({"mousepad", "--disable-server",
                          document(contents(inSourceTree("docs/samples/launch-note.md"))).string()},
                         "Mousepad");
        startProduct({{"BRASK_API_BASE", startRelay({"--held-until=" + released().string()})},
                      {"BRASK_API_KEY", kOwnKey}});
    }

    static void release() { std::ofstream(released()) << ""; }

    /// Begins a grade whose verdict is held until release().
    void beginGrade() {
        ASSERT_TRUE(panel().open());
        ASSERT_TRUE(panel().click("Grade this"));
        ASSERT_TRUE(VirtualDesktop::waitUntil(
            [] { return relayed().find("< 202\n") != std::string::npos; }));
    }

    /// What is pressed during a capture goes nowhere: a person presses again.
    void closePanel() {
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
            if (!panel().frame().shown) return true;
            panel().press("Escape");
            return panel().waitFor([](const auto& frame) { return !frame.shown; }, 1s).has_value();
        }));
    }

    void gradeWithThePanelClosed() {
        beginGrade();
        closePanel();
        release();
    }

    /// A turn of an agent's that changed a file: its coding tool calls the hook for both.
    void endTurn() const {
        const fs::path project = s_desktop->home() / "planner";
        fs::create_directories(project);
        fs::copy_file(inSourceTree("docs/samples/launch-note.md"), project / "note.md",
                      fs::copy_options::overwrite_existing);
        const std::string event = R"({"session_id":"s1","cwd":")" + project.string() + R"(",)";
        hook(event + R"("hook_event_name":"PostToolUse","tool_name":"Write","tool_input":)" +
             R"({"file_path":")" + (project / "note.md").string() + R"("}})");
        hook(event + R"("hook_event_name":"Stop","stop_hook_active":false})");
    }

    void hook(const std::string& event) const {
        auto environment = productEnvironment();
        environment["BRASK_API_KEY"] = kOwnKey;
        Program program(
            {KELVANE_PYTHON, (m_home / ".brask/validate.py").string(), "--harness", "claude"},
            environment);
        program.type(event);
        program.endInput();
        EXPECT_EQ(program.waitForEnd(60s), 0);
    }

    bool waitForPanel() {
        return panel().waitFor([](const auto& frame) { return frame.shown; }, 60s).has_value();
    }

    std::unique_ptr<NoticesOnScreen> m_notices;
};

TEST_F(NoticeJourney, AVerdictThatComesWhileThePanelIsClosedIsToldAndItsButtonOpensTheReport) {
    startWithWork();
    gradeWithThePanelClosed();
    ASSERT_TRUE(m_notices->waitForTold(1));
    const auto told = m_notices->told()[0];
    EXPECT_EQ(told.program, "Kelvane Companion");
    EXPECT_THAT(told.title, MatchesRegex("Mousepad: (ROUTE TO FIX|QUARANTINE)"));
    EXPECT_THAT(told.body, MatchesRegex("Trevix [0-9.]+, [0-9]+ flaws"));
    EXPECT_EQ(m_notices->shown(), 1);
    EXPECT_FALSE(panel().frame().shown) << panel().frame().all();

    ASSERT_TRUE(m_notices->choose("Open report"));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        return opened().find("/console?run=") != std::string::npos;
    })) << opened();
    EXPECT_FALSE(panel().frame().shown) << "the report was asked for and not the panel";
    EXPECT_TRUE(m_notices->waitForShown(0)) << "it has been dealt with";
    quitThroughTheMenu();
}

TEST_F(NoticeJourney, AClickOnItOpensThePanelWhichTakesItBackAndTheNextKeepsItsDistance) {
    startWithWork();
    gradeWithThePanelClosed();
    ASSERT_TRUE(m_notices->waitForTold(1));
    const auto place = m_notices->place();
    ASSERT_TRUE(place);
    panel().clickAt(place->x + place->width / 2, place->y + place->height / 2);
    ASSERT_TRUE(waitForPanel());
    EXPECT_TRUE(panel().waitForText("Trevix ")) << panel().frame().all();
    EXPECT_TRUE(m_notices->waitForShown(0)) << "what is seen is not news any more";
    closePanel();

    endTurn();
    ASSERT_TRUE(m_notices->waitForTold(2));
    const auto told = m_notices->told();
    EXPECT_THAT(told[1].title, StartsWith("Agent in planner: "));
    EXPECT_THAT(told[1].body, HasSubstr(" flaws"));
    EXPECT_GE(told[1].time - told[0].time, 10);
    ASSERT_TRUE(m_notices->choose("Show"));
    ASSERT_TRUE(waitForPanel());
    EXPECT_TRUE(m_notices->waitForShown(0));
    quitThroughTheMenu();
}

TEST_F(NoticeJourney, WhileThePanelIsOpenNothingIsToldAndAnAgentsTurnAfterItIs) {
    startWithWork();
    beginGrade();
    release();
    ASSERT_TRUE(panel().waitForText("Trevix ")) << panel().frame().all();
    EXPECT_TRUE(panel().frame().shown);
    closePanel();
    endTurn();
    ASSERT_TRUE(m_notices->waitForTold(1));
    EXPECT_THAT(m_notices->told(), SizeIs(1));
    EXPECT_THAT(m_notices->told()[0].title, StartsWith("Agent in planner: "))
        << "the verdict was seen as it came";
    EXPECT_EQ(m_notices->shown(), 1);
    ASSERT_TRUE(panel().open());
    EXPECT_TRUE(m_notices->waitForShown(0));
    quitThroughTheMenu();
}

TEST_F(NoticeJourney, WhoWantsNoneHasNoneUntilTheyAreWantedAgain) {
    std::ofstream(m_home / ".brask/settings.json") << R"({"notifications": false})";
    startWithWork();
    gradeWithThePanelClosed();
    // It is written down in the moment in which it would be told.
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
        std::error_code none;
        const fs::directory_iterator files(m_home / ".brask/history", none);
        return !none && files != fs::directory_iterator();
    }));
    std::ofstream(m_home / ".brask/settings.json") << R"({"notifications": true})";
    endTurn();
    ASSERT_TRUE(m_notices->waitForTold(1));
    EXPECT_THAT(m_notices->told(), SizeIs(1));
    EXPECT_THAT(m_notices->told()[0].title, StartsWith("Agent in planner: "));
    quitThroughTheMenu();
}

} // namespace
} // namespace kelvane
