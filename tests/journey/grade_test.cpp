// The product as a user meets it: the built program in a real tray, on a real desktop with real
// applications, against the built local service.

#include "tests/journey/journey.h"
#include "tests/source_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <signal.h>
#include <thread>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

std::filesystem::path sample(const std::string& name) {
    return inSourceTree("docs/samples/" + name);
}

class GradeJourney : public Journey {
protected:
    static void SetUpTestSuite() {
        Journey::SetUpTestSuite();
        // As after an earlier start: what the first one does is not what is tested here.
        std::filesystem::create_directories(s_desktop->home() / ".brask");
        std::ofstream(s_desktop->home() / ".brask/validate.py") << "";
    }
};

struct Editor {
    std::string name;
    std::string wmClass;
    std::vector<std::string> command;
};

/// By its name and not by its bytes, which differ from build to build.
void PrintTo(const Editor& editor, std::ostream* out) {
    *out << editor.name;
}

class GradeJourneyWithEditor : public GradeJourney, public testing::WithParamInterface<Editor> {};

TEST_P(GradeJourneyWithEditor, GradesTheSelectionOpensTheReportAndIteratesAfterTheFix) {
    startService();
    const auto page = document(contents(sample("launch-note.md")));
    auto command = GetParam().command;
    command.push_back(page.string());
    openAndSelectAll(command, GetParam().wmClass);
    startProduct();

    ASSERT_TRUE(panel().open());
    const auto opened = panel().frame();
    EXPECT_TRUE(opened.says("You're in ")) << opened.all();
    EXPECT_TRUE(opened.says("grades as text")) << opened.all();

    const auto first = pressAndWait("Grade this", "Trevix ");
    EXPECT_FALSE(first.says("SHIP")) << first.all();
    EXPECT_NE(first.button("Iterate"), nullptr) << first.all();

    ASSERT_TRUE(panel().click("Full report"));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        return contents(s_opened).starts_with(serviceAddress() + "/console?run=");
    })) << contents(s_opened);

    s_desktop->end(m_started.back());
    m_started.pop_back();
    document(contents(sample("launch-note-corrected.md")));
    openAndSelectAll(command, GetParam().wmClass);
    ASSERT_TRUE(panel().open());
    const auto second = pressAndWait("Iterate", "SHIP");
    EXPECT_TRUE(second.says("Clears your bar — ready to ship.")) << second.all();
    quitThroughTheMenu();
}

INSTANTIATE_TEST_SUITE_P(
    Editors, GradeJourneyWithEditor,
    testing::Values(Editor{"mousepad", "Mousepad", {"mousepad", "--disable-server"}},
                    Editor{"gedit", "Gedit", {"gedit", "--standalone"}},
                    Editor{"featherpad", "FeatherPad", {"featherpad", "--standalone"}}),
    [](const auto& test) { return test.param.name; });

TEST_F(GradeJourney, WhileGradingTheIndicatorMovesAndTheButtonIsDisabled) {
    startService();
    openAndSelectAll({"mousepad", "--disable-server", document("All is well.\n").string()},
                     "Mousepad");
    startProduct();
    ASSERT_TRUE(panel().open());
    ASSERT_TRUE(panel().click("Grade this"));
    const auto grading = panel().waitForText("Grading… the critic may be warming up");
    ASSERT_TRUE(grading);
    ASSERT_NE(grading->button("Grade this"), nullptr);
    EXPECT_FALSE(grading->button("Grade this")->enabled);
    EXPECT_TRUE(panel().waitFor([&](const auto& frame) {
        return frame.time > grading->time + 0.1 && frame.says("Grading…");
    })) << "no frame was drawn while grading";
    EXPECT_TRUE(panel().waitForText("SHIP")) << panel().frame().all();
    quitThroughTheMenu();
}

TEST_F(GradeJourney, EveryFlawIsListedDismissedAndGoneToAndTheHistoryKeepsTheVerdict) {
    startService();
    const auto history = m_home / ".brask/history";
    // Those of the tests before this one.
    std::filesystem::remove_all(history);
    const auto page = document(contents(sample("launch-note.md")));
    openAndSelectAll({"gedit", page.string()}, "Gedit");
    startProduct();
    ASSERT_TRUE(panel().open());
    pressAndWait("Grade this", "Trevix ");
    ASSERT_TRUE(panel().click("Show all flaws"));
    // An editor that is too busy to hand over its text in time has its window graded.
    const auto isOfText = [&] {
        const auto listed = panel().waitForText("Copy all flaws as text");
        return listed && std::ranges::any_of(listed->controls, [](const auto& control) {
                   return control.name.find(", line ") != std::string::npos;
               });
    };
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
        if (isOfText()) return true;
        std::filesystem::remove_all(history);
        pressAndWait("Iterate", "Grading…");
        return panel().waitForText("Trevix ") && isOfText();
    })) << panel().frame().all();
    // A flaw of the list is a button that says all of it.
    const auto chooseFlaw = [&]() -> std::string {
        const auto listed = panel().waitForText("Copy all flaws as text");
        for (const auto& control : listed ? listed->controls : panel().frame().controls) {
            const auto at = control.name.rfind(", line ");
            if (control.role != "button" || at == std::string::npos) continue;
            // "line 9, column 59"
            const auto line = control.name.substr(at + 7);
            return panel().click(control.name) ? line.substr(0, line.find(',')) : "";
        }
        return {};
    };
    ASSERT_NE(chooseFlaw(), "") << panel().frame().all();
    ASSERT_TRUE(panel().click("Not a flaw"));
    EXPECT_TRUE(panel().waitForText("Does not count any more.")) << panel().frame().all();

    const auto line = chooseFlaw();
    ASSERT_NE(line, "") << panel().frame().all();
    ASSERT_TRUE(panel().click("Go to line"));
    ASSERT_TRUE(panel().waitFor([](const auto& frame) { return !frame.shown; }));
    // Where the cursor is: what is typed there, and saved.
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        panel().xdotool({"type", "ZQZ"});
        panel().press("ctrl+s");
        return contents(page).find("ZQZ") != std::string::npos;
    }));
    const auto saved = contents(page);
    const auto before = saved.substr(0, saved.find("ZQZ"));
    EXPECT_EQ(std::to_string(1 + std::count(before.begin(), before.end(), '\n')), line);

    std::vector<std::string> kept;
    for (const auto& file : std::filesystem::directory_iterator(history)) {
        kept.push_back(contents(file.path()));
    }
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_NE(kept[0].find("\"app\":\"gedit\""), std::string::npos) << kept[0].substr(0, 300);
    quitThroughTheMenu();
}

TEST_F(GradeJourney, WithoutASelectionTheWindowIsGraded) {
    startService();
    openAndSelectAll({"mousepad", "--disable-server", document("Some words.\n").string()},
                     "Mousepad");
    panel().press("Left");
    startProduct();
    ASSERT_TRUE(panel().open());
    pressAndWait("Grade this", "Trevix ");
    quitThroughTheMenu();
}

TEST_F(GradeJourney, ATerminalIsGradedByWhatIsSelectedInItAndItsProgramIsNotInterrupted) {
    startService();
    const auto interrupted = s_desktop->home() / "interrupted.txt";
    std::filesystem::remove(interrupted);
    const auto script = document("trap 'echo yes > " + interrupted.string() +
                                     "' INT\necho All is well here, and stays so.\n"
                                     "while :; do sleep 0.1; done\n",
                                 "work.sh");
    open({"xterm", "-title", "work.sh", "-geometry", "60x10+100+200", "-e", "sh", script.string()},
         "XTerm");
    // Three clicks select the line; a person clicks again when the line came later than the clicks.
    bool selected = false;
    for (int attempt = 0; attempt < 20 && !selected; ++attempt) {
        m_started.push_back(s_desktop->start({"xdotool", "mousemove", "160", "210", "click",
                                              "--repeat", "3", "--delay", "60", "1"}));
        selected = waitForOwner("PRIMARY", std::chrono::seconds(3));
    }
    ASSERT_TRUE(selected);
    startProduct();
    ASSERT_TRUE(panel().open());
    EXPECT_TRUE(panel().frame().says("You're in ")) << panel().frame().all();
    pressAndWait("Grade this", "Trevix ");
    EXPECT_FALSE(std::filesystem::exists(interrupted));
    quitThroughTheMenu();
}

TEST_F(GradeJourney, APictureViewerIsGradedByItsWindow) {
    startService();
    const auto picture = s_desktop->home() / "picture.png";
    const pid_t drawing =
        s_desktop->start({"convert", "-size", "640x480", "gradient:navy-white", picture.string()});
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !s_desktop->running(drawing); }, 20s));
    open({"eog", picture.string()}, "Eog");
    startProduct();
    ASSERT_TRUE(panel().open());
    EXPECT_TRUE(panel().frame().says("grades as an image")) << panel().frame().all();
    pressAndWait("Grade this", "Trevix ");
    quitThroughTheMenu();
}

TEST_F(GradeJourney, AServiceKilledInMidGradeAndStartedAgainStillGivesTheVerdict) {
    startService({"--key", kOwnKey});
    openAndSelectAll({"mousepad", "--disable-server", document("All is well here.\n").string()},
                     "Mousepad");
    startProduct({{"BRASK_API_BASE", startRelay()}, {"BRASK_API_KEY", kOwnKey}});
    ASSERT_TRUE(panel().open());
    ASSERT_TRUE(panel().click("Grade this"));
    ASSERT_TRUE(
        VirtualDesktop::waitUntil([] { return relayed().find("< 202\n") != std::string::npos; }));
    m_service->signal(SIGKILL);
    ASSERT_TRUE(m_service->waitForEnd());
    startService({"--key", kOwnKey});
    EXPECT_TRUE(panel().waitForText("SHIP")) << panel().frame().all();
    quitThroughTheMenu();
}

TEST_F(GradeJourney, QuittingWhileAGradePollsIsImmediate) {
    startService({"--key", kOwnKey});
    openAndSelectAll({"mousepad", "--disable-server", document("All is well here.\n").string()},
                     "Mousepad");
    startProduct({{"BRASK_API_BASE", startRelay({"--silent-after-submission"})},
                  {"BRASK_API_KEY", kOwnKey}});
    ASSERT_TRUE(panel().open());
    ASSERT_TRUE(panel().click("Grade this"));
    ASSERT_TRUE(VirtualDesktop::waitUntil(
        [] { return relayed().find("> GET /api/v1/eval/jobs/") != std::string::npos; }));
    if (!panel().frame().shown) {
        ASSERT_TRUE(panel().open());
    }
    ASSERT_TRUE(panel().click("Settings"));
    ASSERT_TRUE(panel().click("Quit"));
    EXPECT_EQ(m_product->waitForEnd(3s), 0);
}

TEST_F(GradeJourney, WrongKeyIsSaidInTheVerdict) {
    startService();
    openAndSelectAll({"mousepad", "--disable-server", document("Words.\n").string()}, "Mousepad");
    startProduct({{"BRASK_API_KEY", "wrong"}});
    ASSERT_TRUE(panel().open());
    const auto frame =
        pressAndWait("Grade this", "not authorized — check your Trevix key (HTTP 401)");
    EXPECT_EQ(frame.button("Iterate"), nullptr);
    quitThroughTheMenu();
}

TEST_F(GradeJourney, WithoutAKeyThePanelOffersOneAndDoesNotGrade) {
    startService();
    open({"mousepad", "--disable-server", document("Words.\n").string()}, "Mousepad");
    startProduct({{"BRASK_API_KEY", ""}});
    ASSERT_TRUE(panel().open());
    const auto frame = panel().frame();
    ASSERT_NE(frame.button("Grade this"), nullptr) << frame.all();
    EXPECT_FALSE(frame.button("Grade this")->enabled);
    ASSERT_TRUE(panel().click("Get a free key to start grading →"));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] {
        return contents(s_opened).find("/connect?from=macos-app\n") != std::string::npos;
    })) << contents(s_opened);
    quitThroughTheMenu();
}

TEST_F(GradeJourney, ServiceThatIsNotThereIsSaidInTheVerdict) {
    startService();
    m_service->signal(SIGTERM);
    ASSERT_TRUE(m_service->waitForEnd());
    openAndSelectAll({"mousepad", "--disable-server", document("Words.\n").string()}, "Mousepad");
    startProduct();
    ASSERT_TRUE(panel().open());
    pressAndWait("Grade this", "could not reach the eval API");
    quitThroughTheMenu();
}

TEST_F(GradeJourney, ACatalogOfOnesOwnDecidesWhatIsShown) {
    startService();
    open({"mousepad", "--disable-server", document("Words.\n").string()}, "Mousepad");
    const auto catalog = document(R"({"apps":[{"id":"mine","name":"My \"Editor\"",
        "bundle_ids":["org.xfce.mousepad"],"modalities":["ui_ux"],"capture":"export"}]})",
                                  "mine.json");
    startProduct({}, {"--catalog", catalog.string()});
    ASSERT_TRUE(panel().open());
    EXPECT_TRUE(panel().frame().says("You're in My \"Editor\"")) << panel().frame().all();
    EXPECT_TRUE(panel().frame().says("operations · grades as design")) << panel().frame().all();
    pressAndWait("Grade this", "Trevix ");
    quitThroughTheMenu();
}

TEST_F(GradeJourney, TheUsersClipboardSurvivesAGrade) {
    startService();
    openAndSelectAll({"mousepad", "--disable-server", document("Work to grade.\n").string()},
                     "Mousepad");
    const auto saved = s_desktop->home() / "clipboard.txt";
    std::ofstream(saved) << "what the user had copied";
    m_started.push_back(s_desktop->start(
        {"sh", "-c", "exec xclip -quiet -selection clipboard -in " + saved.string()}));
    ASSERT_TRUE(waitForOwner("CLIPBOARD"));
    startProduct();
    ASSERT_TRUE(panel().open());
    pressAndWait("Grade this", "Trevix ");
    const auto out = s_desktop->home() / "after.txt";
    const pid_t reader =
        s_desktop->start({"sh", "-c", "exec xclip -selection clipboard -out > " + out.string()});
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return !s_desktop->running(reader); }));
    EXPECT_EQ(contents(out), "what the user had copied");
    quitThroughTheMenu();
}

TEST_F(GradeJourney, ThePanelClosesAndOpensAgainByTheIconAndByEscape) {
    startService();
    open({"mousepad", "--disable-server", document("Words.\n").string()}, "Mousepad");
    startProduct();
    ASSERT_TRUE(panel().open());
    panel().press("Escape");
    EXPECT_TRUE(panel().waitFor([](const auto& frame) { return !frame.shown; }));
    ASSERT_TRUE(panel().open());
    panel().clickIcon();
    EXPECT_TRUE(panel().waitFor([](const auto& frame) { return !frame.shown; }));
    EXPECT_FALSE(panel().waitFor([](const auto& frame) { return frame.shown; }, 400ms))
        << "the click that closed it opened it again";
    ASSERT_TRUE(panel().open());
    panel().clickAt(400, 700);
    EXPECT_TRUE(panel().waitFor([](const auto& frame) { return !frame.shown; }));
    ASSERT_TRUE(panel().open());
    EXPECT_TRUE(panel().frame().says("You're in Mousepad")) << panel().frame().all();
    quitThroughTheMenu();
}

TEST_F(GradeJourney, WhileItIsOpenThePanelGoesOnDescribingTheApplicationBefore) {
    startService();
    open({"mousepad", "--disable-server", document("Words.\n").string()}, "Mousepad");
    startProduct();
    ASSERT_TRUE(panel().open());
    // Longer than it takes to be brought up to date.
    const auto other =
        panel().waitFor([](const auto& frame) { return !frame.says("You're in Mousepad"); }, 5s);
    EXPECT_FALSE(other) << other->all();
    quitThroughTheMenu();
}

TEST_F(GradeJourney, AnApplicationOutsideTheCatalogIsNamedAndNotGraded) {
    startService();
    open({"ristretto"}, "Ristretto");
    startProduct();
    ASSERT_TRUE(panel().open());
    const auto frame = panel().frame();
    ASSERT_TRUE(frame.says("Ristretto Image Viewer isn't in the catalog yet")) << frame.all();
    ASSERT_NE(frame.button("Grade this"), nullptr) << frame.all();
    EXPECT_FALSE(frame.button("Grade this")->enabled);
    const auto other = panel().waitFor(
        [](const auto& later) { return !later.says("Ristretto Image Viewer"); }, 5s);
    EXPECT_FALSE(other) << other->all();
    quitThroughTheMenu();
}

TEST_F(GradeJourney, TerminationSignalEndsTheProductCleanly) {
    startService();
    startProduct();
    m_product->signal(SIGTERM);
    EXPECT_EQ(m_product->waitForEnd(3s), 0);
}

} // namespace
} // namespace kelvane
