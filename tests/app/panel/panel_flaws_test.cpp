#include "app/panel/panel_item.h"
#include "tests/app/panel/panel_items.h"
#include "tests/app/panel/panel_states.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <string>

namespace kelvane {
namespace {

const PanelState& stateNamed(const std::string& name) {
    return *std::ranges::find(panelStates(), name, &PanelState::name);
}

/// The panel with a verdict of five flaws, in a shown window, with the keyboard.
class PanelFlawsTest : public testing::Test {
protected:
    PanelFlawsTest() {
        stateNamed("all-flaws").set(panel);
        panel.fake.environment.variables["BRASK_API_KEY"] = "key";
        panel.model.onHistory = [this] { ++histories; };
        panel.fake.http.answer = [this](const HttpRequest& request) {
            asked.push_back(request.method + " " + request.url.substr(request.url.find("/api")));
            return HttpResponse{200, request.method == "GET" ? run : R"({"status":"ok"})"};
        };
        bridge.redraw();
        view = makePanelView(bridge);
        view->show();
        view->requestActivate();
        EXPECT_TRUE(QTest::qWaitForWindowActive(view.get()));
        view->rootObject()->forceActiveFocus();
    }

    void press(Qt::Key key, Qt::KeyboardModifiers with = {}) {
        QTest::keyClick(view.get(), key, with);
        QCoreApplication::processEvents();
    }
    std::string focused() {
        const auto* item = view->activeFocusItem();
        return item == nullptr ? "" : item->objectName().toStdString();
    }
    /// The one of that name that is to be seen; null when there is none.
    QQuickItem* shown(const char* name) {
        for (auto* item : visibleItems(*view->rootObject())) {
            if (item->objectName() == QLatin1String(name)) return item;
        }
        return nullptr;
    }
    void click(const char* name) {
        layOutPanel(*view->rootObject());
        QCoreApplication::processEvents();
        auto* const target = shown(name);
        ASSERT_NE(target, nullptr) << name;
        const auto place = placeIn(*view->rootObject(), *target);
        QTest::mouseClick(view.get(), Qt::LeftButton, {}, place.center().toPoint());
        QCoreApplication::processEvents();
    }
    void settle() {
        panel.fake.dispatcher.runAll();
        bridge.redraw();
        QCoreApplication::processEvents();
    }

    PanelFixture panel;
    PanelBridge bridge{panel.model, panel.images};
    std::unique_ptr<QQuickView> view;
    int histories = 0;
    std::vector<std::string> asked;
    std::string run = R"({"run":{"band":"route_to_fix","score":0.8,"flaws":[
        {"severity":"low","criterion":"Links","detail":"left","rule":"text.link_text",
         "place":"line 30","evidence":"here"}]}})";
};

TEST_F(PanelFlawsTest, UntilItIsOpenedThePanelIsAsItWas) {
    EXPECT_FALSE(bridge.flawsOpen());
    EXPECT_TRUE(bridge.flawList().items.isEmpty());
    EXPECT_FALSE(shown("flawList"));
    EXPECT_EQ(bridge.verdict().flaws.size(), 3);
    EXPECT_EQ(bridge.verdict().more, "+2 more");
}

TEST_F(PanelFlawsTest, AClickOnTheFirstFlawsListsAllOfThemInTheirPlace) {
    const double before = view->height();
    click("flawsButton");
    EXPECT_TRUE(bridge.flawsOpen());
    EXPECT_EQ(bridge.flawList().title, "5 flaws");
    EXPECT_TRUE(shown("flaw.4"));
    EXPECT_FALSE(shown("flawsButton"));
    layOutPanel(*view->rootObject());
    EXPECT_GT(view->height(), before);
    click("foldFlawsLink");
    EXPECT_FALSE(bridge.flawsOpen());
    layOutPanel(*view->rootObject());
    EXPECT_EQ(view->height(), before);
}

TEST_F(PanelFlawsTest, ItIsWalkedAndEndedByKeyboard) {
    shown("flawsButton")->forceActiveFocus();
    press(Qt::Key_Return);
    EXPECT_EQ(focused(), "flaw.0");
    press(Qt::Key_Space);
    EXPECT_EQ(bridge.chosenFlaw(), 0);
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "goToLink");
    press(Qt::Key_Backtab);
    EXPECT_EQ(focused(), "flaw.0");
    press(Qt::Key_Backtab);
    EXPECT_EQ(focused(), "foldFlawsLink");
    press(Qt::Key_Return);
    EXPECT_FALSE(bridge.flawsOpen());
    EXPECT_EQ(focused(), "flawsButton");
}

TEST_F(PanelFlawsTest, EscapeEndsTheListFirst) {
    QSignalSpy dismissed(view->rootObject(), SIGNAL(dismissed()));
    bridge.openFlaws(true);
    press(Qt::Key_Escape);
    EXPECT_FALSE(bridge.flawsOpen());
    EXPECT_EQ(dismissed.count(), 0);
    press(Qt::Key_Escape);
    EXPECT_EQ(dismissed.count(), 1);
}

TEST_F(PanelFlawsTest, AHiddenPanelAndANewGradeEndIt) {
    bridge.openFlaws(true);
    resetPanel(*view->rootObject());
    EXPECT_FALSE(bridge.flawsOpen());
    bridge.openFlaws(true);
    panel.model.grading = true;
    bridge.redraw();
    EXPECT_FALSE(bridge.flawsOpen());
}

TEST_F(PanelFlawsTest, OnlyWhatMayBeDoneIsOffered) {
    bridge.openFlaws(true);
    click("flaw.1");
    EXPECT_TRUE(shown("goToLink") && shown("dismissLink") && shown("addWordLink"));
    click("flaw.0");
    EXPECT_TRUE(shown("dismissLink") && shown("copyFlawLink"));
    EXPECT_FALSE(shown("addWordLink"));
    click("flaw.4");
    EXPECT_FALSE(shown("dismissLink") || shown("goToLink"));
    EXPECT_TRUE(shown("copyFlawLink"));
}

TEST_F(PanelFlawsTest, NotAFlawIsSaidToTheServiceAndItsNewVerdictShown) {
    bridge.openFlaws(true);
    bridge.chooseFlaw(1);
    shown("dismissLink")->forceActiveFocus();
    press(Qt::Key_Return);
    settle();
    EXPECT_EQ(asked, (std::vector<std::string>{"POST /api/v1/eval/dismissals",
                                               "GET /api/v1/eval/runs/run-1"}));
    EXPECT_TRUE(bridge.flawsOpen());
    EXPECT_EQ(bridge.flawList().title, "1 flaw");
    EXPECT_EQ(bridge.flawNote(), "Does not count any more.");
    // The keyboard is still in the list.
    EXPECT_TRUE(QTest::qWaitFor([&] { return focused() == "flaw.0"; }));
    click("undoLink");
    settle();
    EXPECT_EQ(asked.at(2), "POST /api/v1/eval/dismissals/undo");
    EXPECT_FALSE(bridge.mayUndo());
}

TEST_F(PanelFlawsTest, AWordGoesIntoTheDictionary) {
    bridge.openFlaws(true);
    click("flaw.1");
    click("addWordLink");
    settle();
    EXPECT_EQ(asked.at(0), "POST /api/v1/eval/words");
    EXPECT_EQ(bridge.flawNote(), "“recieve” is in your dictionary.");
    EXPECT_TRUE(shown("undoLink"));
}

TEST_F(PanelFlawsTest, WhenTheLastFlawHasGoneWhatWasSaidIsStillThere) {
    run = R"({"run":{"band":"ship","score":1,"flaws":[]}})";
    bridge.openFlaws(true);
    bridge.dismissFlaw(0);
    settle();
    EXPECT_TRUE(bridge.flawsOpen());
    EXPECT_EQ(bridge.flawList().title, "0 flaws");
    EXPECT_TRUE(shown("undoLink"));
    EXPECT_EQ(bridge.verdict().band, "SHIP");
}

TEST_F(PanelFlawsTest, FlawsAreCopiedAsText) {
    bridge.openFlaws(true);
    click("flaw.1");
    click("copyFlawLink");
    EXPECT_EQ(QGuiApplication::clipboard()->text(),
              "MEDIUM: Spelling: “recieve” is misspelt. (line 3)");
    settle();
    EXPECT_EQ(bridge.flawNote(), "Copied.");
    EXPECT_EQ(bridge.chosenFlaw(), 1);
    click("copyFlawsLink");
    EXPECT_EQ(QGuiApplication::clipboard()->text().count(u'\n'), 5);
}

TEST_F(PanelFlawsTest, TheHistoryOpensByItsLinkAndByItsKeys) {
    bridge.openFlaws(true);
    click("historyLink");
    press(Qt::Key_H, Qt::ControlModifier);
    EXPECT_EQ(histories, 2);
}

TEST_F(PanelFlawsTest, EveryControlHasANameAndARole) {
    bridge.openFlaws(true);
    bridge.chooseFlaw(1);
    for (auto* control : controls(*view->rootObject())) {
        auto* interface = QAccessible::queryAccessibleInterface(control);
        ASSERT_NE(interface, nullptr);
        EXPECT_FALSE(interface->text(QAccessible::Name).isEmpty())
            << control->objectName().toStdString();
    }
    auto* flaw = QAccessible::queryAccessibleInterface(shown("flaw.0"));
    EXPECT_EQ(flaw->text(QAccessible::Name),
              "HIGH: Numbers: The total is not the sum of its rows., line 14");
}

TEST_F(PanelFlawsTest, APlaceThatTheListDoesNotHaveIsNothing) {
    bridge.dismissFlaw(0);
    bridge.openFlaws(true);
    bridge.dismissFlaw(-1);
    bridge.dismissFlaw(5);
    bridge.goToFlaw(99);
    EXPECT_EQ(panel.fake.dispatcher.waitingInBackground(), 0U);
}

} // namespace
} // namespace kelvane
