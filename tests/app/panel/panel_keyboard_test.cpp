#include "app/panel/panel_item.h"
#include "tests/app/panel/panel_items.h"
#include "tests/app/panel/panel_states.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>

#include <string>
#include <vector>

namespace kelvane {
namespace {

/// A panel in a shown window, with the keyboard.
class PanelKeyboardTest : public testing::Test {
protected:
    PanelKeyboardTest() {
        panel.model.seedDemo();
        panel.model.onWire = [this] { called.emplace_back("wire"); };
        panel.model.onGetKey = [this] { called.emplace_back("getKey"); };
        panel.model.onUninstall = [this] { called.emplace_back("uninstall"); };
        panel.model.onQuit = [this] { called.emplace_back("quit"); };
        panel.model.onOpenReport = [this](const std::string& run) { called.push_back(run); };
        bridge.redraw();
        view = makePanelView(bridge);
        view->show();
        view->requestActivate();
        EXPECT_TRUE(QTest::qWaitForWindowActive(view.get()));
        view->rootObject()->forceActiveFocus();
    }

    void press(Qt::Key key) { QTest::keyClick(view.get(), key); }
    std::string focused() {
        const auto* item = view->activeFocusItem();
        return item == nullptr ? "" : item->objectName().toStdString();
    }
    QQuickItem& item(const char* name) {
        return *view->rootObject()->findChild<QQuickItem*>(QLatin1String(name));
    }
    bool menuIsOpen() { return item("menu").isVisible(); }
    void openMenuByKeyboard() {
        item("settingsButton").forceActiveFocus();
        press(Qt::Key_Space);
    }
    void click(QQuickItem& target) {
        const auto place = placeIn(*view->rootObject(), target);
        QTest::mouseClick(view.get(), Qt::LeftButton, {}, place.center().toPoint());
    }

    PanelFixture panel;
    PanelBridge bridge{panel.model, panel.images};
    std::vector<std::string> called;
    std::unique_ptr<QQuickView> view;
};

TEST_F(PanelKeyboardTest, TabGoesThroughEveryControlInReadingOrder) {
    std::vector<std::string> order;
    for (int i = 0; i < 6; ++i) {
        press(Qt::Key_Tab);
        order.push_back(focused());
    }
    EXPECT_EQ(order, (std::vector<std::string>{"reportLink", "gradeButton", "iterateButton",
                                               "wireLink", "settingsButton", "reportLink"}));
}

TEST_F(PanelKeyboardTest, WithoutAKeyTheDisabledButtonIsPassedOver) {
    panel.model.hasKey = false;
    panel.model.verdict = std::nullopt;
    bridge.redraw();
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "getKeyLink");
    press(Qt::Key_Return);
    EXPECT_EQ(called, std::vector<std::string>{"getKey"});
}

TEST_F(PanelKeyboardTest, ReturnAndSpacePress) {
    item("reportLink").forceActiveFocus();
    press(Qt::Key_Return);
    press(Qt::Key_Space);
    press(Qt::Key_Enter);
    EXPECT_EQ(called, (std::vector<std::string>{"demo-run", "demo-run", "demo-run"}));
}

TEST_F(PanelKeyboardTest, AClickPressesAndLeavesTheKeyboardAlone) {
    click(item("wireLink"));
    EXPECT_EQ(called, std::vector<std::string>{"wire"});
    EXPECT_FALSE(item("wireLink").hasActiveFocus());
}

TEST_F(PanelKeyboardTest, ADisabledButtonTakesNoClick) {
    panel.model.grading = true;
    bridge.redraw();
    EXPECT_FALSE(item("gradeButton").isEnabled());
    click(item("gradeButton"));
    EXPECT_EQ(panel.fake.dispatcher.waitingInBackground(), 0U);
}

TEST_F(PanelKeyboardTest, AGradeThatRunsIsCancelledByKeyboardAndByPointer) {
    panel.model.verdict = std::nullopt;
    for (const bool byKeyboard : {true, false}) {
        panel.model.grading = true;
        bridge.redraw();
        layOutPanel(*view->rootObject());
        ASSERT_TRUE(item("cancelLink").isVisible());
        if (byKeyboard) {
            press(Qt::Key_Tab);
            EXPECT_EQ(focused(), "cancelLink");
            press(Qt::Key_Return);
        } else {
            click(item("cancelLink"));
        }
        EXPECT_FALSE(*panel.model.grading);
        bridge.redraw();
        EXPECT_FALSE(item("cancelLink").isVisible());
        EXPECT_EQ(bridge.verdict().note, "Grade cancelled.");
    }
}

TEST_F(PanelKeyboardTest, TheLinkThatCancelsStandsAtTheEndOfItsRowAndHasAWholeName) {
    panel.model.grading = true;
    bridge.redraw();
    layOutPanel(*view->rootObject());
    EXPECT_EQ(placeIn(*view->rootObject(), item("cancelLink")).right(), 360 - 16);
    auto* interface = QAccessible::queryAccessibleInterface(&item("cancelLink"));
    ASSERT_NE(interface, nullptr);
    EXPECT_EQ(interface->text(QAccessible::Name), "Cancel the grade");
    EXPECT_EQ(interface->role(), QAccessible::Button);
}

TEST_F(PanelKeyboardTest, TheMenuIsWalkedAndChosenFromByKeyboard) {
    openMenuByKeyboard();
    ASSERT_TRUE(menuIsOpen());
    press(Qt::Key_Return);
    EXPECT_EQ(called, std::vector<std::string>{"getKey"});
    EXPECT_FALSE(menuIsOpen());
    EXPECT_EQ(focused(), "settingsButton");

    openMenuByKeyboard();
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    openMenuByKeyboard();
    press(Qt::Key_Up); // wraps to the end, over no divider
    press(Qt::Key_Return);
    openMenuByKeyboard();
    press(Qt::Key_Down);
    press(Qt::Key_Down); // over the divider
    press(Qt::Key_Return);
    EXPECT_EQ(called, (std::vector<std::string>{"getKey", "uninstall", "quit", "quit"}));
}

TEST_F(PanelKeyboardTest, EscapeClosesTheMenuFirstAndThenAsksForThePanelToBe) {
    QSignalSpy dismissed(view->rootObject(), SIGNAL(dismissed()));
    openMenuByKeyboard();
    press(Qt::Key_Escape);
    EXPECT_FALSE(menuIsOpen());
    EXPECT_EQ(dismissed.count(), 0);
    EXPECT_EQ(focused(), "settingsButton");
    press(Qt::Key_Escape);
    EXPECT_EQ(dismissed.count(), 1);
    EXPECT_TRUE(called.empty());
}

TEST_F(PanelKeyboardTest, AClickElsewhereClosesTheMenuAndPressesNothing) {
    click(item("settingsButton"));
    ASSERT_TRUE(menuIsOpen());
    click(item("reportLink"));
    EXPECT_FALSE(menuIsOpen());
    EXPECT_TRUE(called.empty());
}

TEST_F(PanelKeyboardTest, AClickOnAMenuItemChoosesIt) {
    click(item("settingsButton"));
    for (auto* entry : visibleItems(*view->rootObject())) {
        if (entry->objectName() == QLatin1String("menu.uninstall")) {
            click(*entry);
            break;
        }
    }
    EXPECT_EQ(called, std::vector<std::string>{"uninstall"});
}

TEST_F(PanelKeyboardTest, TheMenuStaysInsideThePanel) {
    click(item("settingsButton"));
    const auto place = placeIn(*view->rootObject(), item("menu"));
    EXPECT_TRUE(QRectF(0, 0, view->width(), view->height()).contains(place));
}

TEST_F(PanelKeyboardTest, ResettingClosesTheMenuAndTakesTheFocusFromTheControls) {
    openMenuByKeyboard();
    resetPanel(*view->rootObject());
    EXPECT_FALSE(menuIsOpen());
    EXPECT_EQ(view->activeFocusItem(), view->rootObject());
}

TEST_F(PanelKeyboardTest, EveryControlHasANameAndARole) {
    const auto found = controls(*view->rootObject());
    ASSERT_EQ(found.size(), 5U);
    for (auto* control : found) {
        auto* interface = QAccessible::queryAccessibleInterface(control);
        ASSERT_NE(interface, nullptr);
        EXPECT_FALSE(interface->text(QAccessible::Name).isEmpty());
        EXPECT_TRUE(interface->role() == QAccessible::Button ||
                    interface->role() == QAccessible::ButtonMenu);
        EXPECT_TRUE(interface->state().focusable);
    }
}

TEST_F(PanelKeyboardTest, TheIndicatorMovesOnlyWhileItCanBeSeen) {
    auto& spinner = item("spinner");
    EXPECT_FALSE(spinner.property("running").toBool());
    panel.model.grading = true;
    bridge.redraw();
    EXPECT_TRUE(spinner.property("running").toBool());
    view->hide();
    EXPECT_FALSE(spinner.property("running").toBool());
    view->show();
    EXPECT_TRUE(spinner.property("running").toBool());
    panel.model.grading = false;
    bridge.redraw();
    EXPECT_FALSE(spinner.property("running").toBool());
}

TEST_F(PanelKeyboardTest, TheWindowIsAsHighAsThePanel) {
    const int before = view->height();
    EXPECT_EQ(before, qRound(view->rootObject()->implicitHeight()));
    panel.model.verdict = std::nullopt;
    bridge.redraw();
    layOutPanel(*view->rootObject());
    const int after = qRound(view->rootObject()->implicitHeight());
    EXPECT_LT(after, before);
    EXPECT_TRUE(QTest::qWaitFor([&] { return view->height() == after; }));
}

} // namespace
} // namespace kelvane
