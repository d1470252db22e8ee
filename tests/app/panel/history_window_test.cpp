#include "app/panel/history_item.h"
#include "app/panel/panel_item.h"
#include "tests/app/panel/panel_items.h"
#include "tests/app/panel/panel_states.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>

#include <string>

namespace kelvane {
namespace {

/// The window over six verdicts, with the keyboard.
class HistoryWindowTest : public testing::Test {
protected:
    HistoryWindowTest() {
        view = makeHistoryView(bridge);
        view->resize(820, 560);
        bridge.reload();
        view->show();
        view->requestActivate();
        EXPECT_TRUE(QTest::qWaitForWindowActive(view.get()));
        view->rootObject()->forceActiveFocus();
    }

    HistoryBridge::Ports ports() {
        auto made = historyPorts();
        made.load = [this](auto then) { then(kept); };
        made.erase = [this](const std::string& id) { called.push_back("erase " + id); };
        made.eraseAll = [this] { called.emplace_back("erase all"); };
        made.openReport = [this](const history::VerdictEntry& entry) {
            called.push_back("report " + entry.runId);
        };
        return made;
    }
    void press(Qt::Key key, Qt::KeyboardModifiers with = {}) {
        QTest::keyClick(view.get(), key, with);
        QCoreApplication::processEvents();
    }
    QQuickItem& item(const char* name) {
        for (auto* each : visibleItems(*view->rootObject())) {
            if (each->objectName() == QLatin1String(name)) return *each;
        }
        return *view->rootObject()->findChild<QQuickItem*>(QLatin1String(name));
    }
    void click(const char* name) {
        layOutPanel(*view->rootObject());
        QCoreApplication::processEvents();
        const auto place = placeIn(*view->rootObject(), item(name));
        QTest::mouseClick(view.get(), Qt::LeftButton, {}, place.center().toPoint());
        QCoreApplication::processEvents();
    }
    static std::string spokenBy(QQuickItem& item) {
        auto* spoken = QAccessible::queryAccessibleInterface(&item);
        return spoken == nullptr ? "" : spoken->text(QAccessible::Name).toStdString();
    }
    std::string focusedName() { return spokenBy(*view->activeFocusItem()); }
    std::string details() {
        std::string all;
        for (const auto& line : bridge.details()) {
            all += (line.sign + line.flaw.text).toStdString() + "|";
        }
        return all;
    }

    HistoryBridge::Entries kept = someVerdicts();
    std::vector<std::string> called;
    HistoryBridge bridge{ports()};
    std::unique_ptr<QQuickView> view;
};

TEST_F(HistoryWindowTest, VerdictsStandByApplicationAndDay) {
    // Two applications, three days of the one and two of the other.
    int apps = 0;
    int days = 0;
    for (const auto& line : bridge.lines()) {
        apps += line.isApp ? 1 : 0;
        days += line.isDay ? 1 : 0;
    }
    EXPECT_EQ(apps, 2);
    EXPECT_EQ(bridge.lines().size(), 6 + apps + days);
    EXPECT_EQ(bridge.lines().front().text, "Kate");
    EXPECT_EQ(bridge.empty(), "");
}

TEST_F(HistoryWindowTest, ASearchIsTypedAtOnceAndTakenBackByEscape) {
    for (const auto key : {Qt::Key_F, Qt::Key_I, Qt::Key_G}) press(key);
    EXPECT_EQ(bridge.words(), "fig");
    EXPECT_EQ(bridge.lines().front().text, "Figma");
    press(Qt::Key_Escape);
    EXPECT_EQ(bridge.words(), "");
    EXPECT_EQ(bridge.lines().front().text, "Kate");
    bridge.setWords("nothing has this");
    EXPECT_EQ(bridge.empty(), "No verdict has these words.");
}

TEST_F(HistoryWindowTest, TheListIsWalkedByKeyboardOverItsHeadings) {
    press(Qt::Key_Down);
    EXPECT_EQ(bridge.chosen(), "6");
    press(Qt::Key_Down);
    EXPECT_EQ(bridge.chosen(), "5");
    press(Qt::Key_End);
    EXPECT_EQ(bridge.chosen(), "1");
    press(Qt::Key_Down);
    EXPECT_EQ(bridge.chosen(), "1");
    press(Qt::Key_Home);
    EXPECT_EQ(bridge.chosen(), "6");
    press(Qt::Key_Return);
    EXPECT_EQ(called, std::vector<std::string>{"report run-kate"});
}

TEST_F(HistoryWindowTest, AVerdictThatComesLeavesTheChosenOneAndTheKeyboardWhereTheyAre) {
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    ASSERT_EQ(bridge.chosen(), "5");
    auto newest = kept.front();
    newest.id = "7";
    kept.insert(kept.begin(), newest);
    bridge.reload();
    EXPECT_EQ(bridge.chosen(), "5");
    press(Qt::Key_Up);
    EXPECT_EQ(bridge.chosen(), "6");
}

TEST_F(HistoryWindowTest, AVerdictIsComparedWithTheVersionBefore) {
    bridge.choose("6");
    ASSERT_TRUE(bridge.hasVersionBefore());
    click("compareLink");
    EXPECT_TRUE(bridge.compares());
    EXPECT_NE(details().find("Fixed (1)|Spelling"), std::string::npos) << details();
    EXPECT_NE(details().find("Remaining (1)|Clarity"), std::string::npos);
    EXPECT_NE(details().find("New (1)|Numbers"), std::string::npos);
    EXPECT_NE(details().find("−You recieve the goods.|+You receive the goods.|"),
              std::string::npos);
    press(Qt::Key_Escape);
    EXPECT_FALSE(bridge.compares());
}

TEST_F(HistoryWindowTest, AnyTwoAreComparedByAMark) {
    bridge.choose("1");
    bridge.mark();
    EXPECT_EQ(bridge.marked(), "1");
    bridge.compareWithMarked();
    EXPECT_FALSE(bridge.compares()); // with itself
    bridge.choose("4");
    click("compareMarkedLink");
    EXPECT_TRUE(bridge.compares());
    EXPECT_NE(bridge.title().indexOf("→"), -1);
    bridge.choose("1");
    bridge.mark();
    EXPECT_EQ(bridge.marked(), "");
}

TEST_F(HistoryWindowTest, OneVerdictIsDeleted) {
    bridge.choose("6");
    bridge.mark();
    click("eraseLink");
    EXPECT_EQ(called, std::vector<std::string>{"erase 6"});
    EXPECT_EQ(bridge.chosen(), "");
    EXPECT_EQ(bridge.marked(), "");
    EXPECT_EQ(bridge.title(), "");
}

TEST_F(HistoryWindowTest, WhoDeletesByKeyboardGoesOnWithTheVerdictThatStandsThereThen) {
    press(Qt::Key_Down);
    ASSERT_EQ(bridge.chosen(), "6");
    item("eraseLink").forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    EXPECT_EQ(bridge.chosen(), "5");
    EXPECT_EQ(view->activeFocusItem()->objectName(), "verdict.5");
    press(Qt::Key_End);
    ASSERT_EQ(bridge.chosen(), "1");
    press(Qt::Key_Delete);
    EXPECT_EQ(bridge.chosen(), "2") << "the last is gone: the one before";
    press(Qt::Key_Home);
    ASSERT_EQ(bridge.chosen(), "5");
    for (int i = 0; i < 4; ++i) press(Qt::Key_Delete);
    EXPECT_EQ(bridge.empty(), "Verdicts will be listed here.");
    EXPECT_EQ(view->activeFocusItem()->objectName(), "searchField");
}

TEST_F(HistoryWindowTest, AKeyThatIsHeldDeletesOneVerdict) {
    press(Qt::Key_Down);
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Delete, {}, {}, /*autorep=*/true);
    QCoreApplication::sendEvent(view.get(), &held);
    EXPECT_EQ(called, std::vector<std::string>{});
}

TEST_F(HistoryWindowTest, TheKeyboardStaysWithWhatIsLookedAt) {
    press(Qt::Key_Down);
    item("compareLink").forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    ASSERT_TRUE(bridge.compares());
    EXPECT_EQ(focusedName(), "Fixed (1)") << "the link is gone";
    press(Qt::Key_Down);
    EXPECT_EQ(focusedName(), "MEDIUM: Spelling: “recieve” is misspelt. (line 3)");
    press(Qt::Key_End);
    EXPECT_EQ(focusedName(), "Added: Total: 1,204");
    press(Qt::Key_Up);
    EXPECT_EQ(focusedName(), "Added: ");
    press(Qt::Key_PageUp);
    EXPECT_EQ(focusedName(), "Fixed (1)");
    item("flawsLink").forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Escape);
    ASSERT_FALSE(bridge.compares());
    EXPECT_EQ(focusedName(), "Flaws (2)");

    item("eraseAllLink").forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    EXPECT_FALSE(item("eraseAllLink").isVisible()) << "the question stands over it";
    press(Qt::Key_Escape);
    EXPECT_EQ(view->activeFocusItem()->objectName(), "eraseAllLink");
    press(Qt::Key_Return);
    item("eraseAllButton").forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    EXPECT_EQ(view->activeFocusItem()->objectName(), "searchField") << "nothing is left to delete";
}

TEST_F(HistoryWindowTest, WhatCannotBeHeardFromTheKeyboardIsAnnounced) {
    auto& news = item("news");
    EXPECT_FALSE(news.isVisible());
    bridge.setWords("Kate");
    EXPECT_EQ(spokenBy(news), "3 verdicts found.");
    QSignalSpy shownAnew(&news, SIGNAL(visibleChanged()));
    bridge.setWords("Kate ");
    EXPECT_EQ(shownAnew.count(), 0) << "as many as before";
    bridge.setWords("no such words");
    EXPECT_EQ(spokenBy(news), "No verdict has these words.");
    bridge.setWords({});
    bridge.choose("6");
    bridge.compareWithBefore();
    EXPECT_EQ(spokenBy(news),
              "Kate, 2026-03-04 23:00 → 2026-03-05 06:00, Fixed (1), Remaining (1), "
              "New (1)");
    bridge.copyDetails();
    EXPECT_EQ(spokenBy(news), "Copied.");
    shownAnew.clear();
    bridge.copyDetails();
    EXPECT_GE(shownAnew.count(), 2) << "the same is said again";
    bridge.eraseChosen();
    EXPECT_EQ(spokenBy(news), "The verdict is deleted.");
    bridge.eraseAll();
    EXPECT_EQ(spokenBy(news), "All verdicts are deleted.");
}

TEST_F(HistoryWindowTest, AllAreDeletedOnlyWhenThatIsSaidTwice) {
    click("eraseAllLink");
    EXPECT_TRUE(item("sure").isVisible());
    EXPECT_EQ(view->activeFocusItem()->objectName(), "keepButton");
    press(Qt::Key_Escape);
    EXPECT_FALSE(item("sure").isVisible());
    EXPECT_TRUE(called.empty());
    click("eraseAllLink");
    click("eraseAllButton");
    EXPECT_EQ(called, std::vector<std::string>{"erase all"});
    EXPECT_EQ(bridge.empty(), "Verdicts will be listed here.");
}

TEST_F(HistoryWindowTest, EscapeClosesAWindowInWhichNothingIsOpen) {
    QSignalSpy dismissed(view->rootObject(), SIGNAL(dismissed()));
    press(Qt::Key_Escape);
    EXPECT_EQ(dismissed.count(), 1);
}

TEST_F(HistoryWindowTest, WhatIsShownIsCopiedAsText) {
    bridge.choose("6");
    bridge.copyDetails();
    EXPECT_EQ(QGuiApplication::clipboard()->text(),
              "Kate, 2026-03-05 06:00\nFlaws (2)\nLOW Clarity: The sentence has 61 words. "
              "(line 7)\nHIGH Numbers: The total is not the sum of its rows. (line 14)\n");
}

TEST_F(HistoryWindowTest, EveryControlHasANameAndTheListsAreLists) {
    bridge.choose("6");
    QCoreApplication::processEvents();
    const auto found = controls(*view->rootObject());
    EXPECT_GE(found.size(), 8U);
    for (auto* control : found) {
        auto* interface = QAccessible::queryAccessibleInterface(control);
        ASSERT_NE(interface, nullptr) << control->objectName().toStdString();
        EXPECT_FALSE(interface->text(QAccessible::Name).isEmpty())
            << control->objectName().toStdString();
    }
    auto* list = QAccessible::queryAccessibleInterface(&item("historyList"));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->role(), QAccessible::List);
    auto* verdict = QAccessible::queryAccessibleInterface(&item("verdict.6"));
    ASSERT_NE(verdict, nullptr);
    EXPECT_EQ(verdict->role(), QAccessible::ListItem);
    EXPECT_EQ(verdict->text(QAccessible::Name),
              "Kate, 2026-03-05 06:00, ROUTE TO FIX, Trevix 71, 2 flaws");
}

TEST_F(HistoryWindowTest, AWindowThatWentBeforeTheHistoryWasReadIsNotTold) {
    std::function<void(HistoryBridge::Entries)> later;
    {
        auto slow = historyPorts();
        slow.load = [&](auto then) { later = then; };
        HistoryBridge gone(slow);
        gone.reload();
        EXPECT_EQ(gone.empty(), "");
    }
    later(someVerdicts());
}

} // namespace
} // namespace kelvane
