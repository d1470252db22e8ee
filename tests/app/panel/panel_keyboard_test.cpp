#include "app/panel/panel_item.h"
#include "app/settings/settings_store.h"
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
    for (int i = 0; i < 7; ++i) {
        press(Qt::Key_Tab);
        order.push_back(focused());
    }
    EXPECT_EQ(order,
              (std::vector<std::string>{"reportLink", "flawsButton", "gradeButton", "iterateButton",
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

/// The same while work waits in a preview.
class PanelPreviewTest : public PanelKeyboardTest {
public:
    PanelPreviewTest() : bridged(ports(panel.fake, store), panel.model.catalog, "/home/u") {
        panel.fake.environment.variables["BRASK_API_KEY"] = "k";
        panel.fake.environment.variables["BRASK_API_BASE"] = "https://service.example";
        bridged.seedDemo();
        bridged.grade();
        panel.fake.dispatcher.runAll();
        previewBridge.redraw();
        view = makePanelView(previewBridge);
        view->show();
        view->requestActivate();
        EXPECT_TRUE(QTest::qWaitForWindowActive(view.get()));
        view->rootObject()->forceActiveFocus();
    }

    // It looks at what goes before the rest of the fixture.
    ~PanelPreviewTest() override { view.reset(); }

    static CompanionModel::Ports ports(FakePlatform& fake, SettingsStore& store) {
        return {.workspace = fake.workspace,
                .processes = fake.processes,
                .files = fake.files,
                .environment = fake.environment,
                .http = fake.http,
                .clock = fake.clock,
                .dispatcher = fake.dispatcher,
                .capture =
                    [](const DetectedApp&) {
                        CaptureResult capture;
                        capture.ok = true;
                        capture.parts = {{.mimeType = "text/plain",
                                          .text = "my words",
                                          .dataB64 = std::nullopt,
                                          .logicalName = "work.txt"}};
                        return capture;
                    },
                .settings = &store};
    }

    void settle() {
        panel.fake.dispatcher.runAll();
        previewBridge.redraw();
    }

    SettingsStore store{panel.fake.files, "/home/u/.brask"};
    CompanionModel bridged;
    PanelBridge previewBridge{bridged, panel.images};
};

TEST_F(PanelPreviewTest, TabReachesItsControlsAloneAndNothingIsPressedByItself) {
    EXPECT_EQ(focused(), "rest");
    press(Qt::Key_Return);
    settle();
    EXPECT_TRUE(panel.fake.http.requests.empty());
    std::vector<std::string> order;
    for (int i = 0; i < 4; ++i) {
        press(Qt::Key_Tab);
        order.push_back(focused());
    }
    EXPECT_EQ(order, (std::vector<std::string>{"previewAlways", "previewSend", "previewCancel",
                                               "previewAlways"}));
}

TEST_F(PanelPreviewTest, SendSendsAndShowsThePanelAgain) {
    item("previewSend").forceActiveFocus();
    press(Qt::Key_Return);
    EXPECT_FALSE(bridged.preview->has_value());
    settle();
    EXPECT_FALSE(panel.fake.http.requests.empty());
    EXPECT_FALSE(item("previewSend").isVisible());
    EXPECT_TRUE(item("gradeButton").isVisible());
    EXPECT_FALSE(panel.fake.files.exists("/home/u/.brask/settings.json"));
}

TEST_F(PanelPreviewTest, TheTickedBoxIsRemembered) {
    auto& box = item("previewAlways");
    box.forceActiveFocus();
    press(Qt::Key_Space);
    auto* const spoken = QAccessible::queryAccessibleInterface(&box);
    EXPECT_EQ(spoken->role(), QAccessible::CheckBox);
    EXPECT_TRUE(spoken->state().checked);
    click(item("previewSend"));
    EXPECT_FALSE(store.now().previewApps.at("com.figma.Desktop"));
}

TEST_F(PanelPreviewTest, CancelAndEscapeSendNothingAndLeaveThePanelOpen) {
    for (const bool byEscape : {true, false}) {
        QSignalSpy dismissed(view->rootObject(), SIGNAL(dismissed()));
        if (byEscape) {
            press(Qt::Key_Escape);
        } else {
            click(item("previewCancel"));
        }
        EXPECT_FALSE(bridged.preview->has_value());
        settle();
        EXPECT_TRUE(panel.fake.http.requests.empty());
        EXPECT_EQ(dismissed.count(), 0);
        bridged.grade();
        settle();
        ASSERT_TRUE(bridged.preview->has_value());
    }
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
    EXPECT_FALSE(item("gradeButton").property("usable").toBool());
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
    EXPECT_EQ(focused(), "rest");
}

TEST_F(PanelKeyboardTest, ResettingTakesTheFocusFromAControl) {
    item("gradeButton").forceActiveFocus();
    resetPanel(*view->rootObject());
    view->hide();
    view->show();
    EXPECT_TRUE(QTest::qWaitForWindowActive(view.get()));
    view->rootObject()->forceActiveFocus(); // As whoever shows the panel does.
    EXPECT_EQ(focused(), "rest");
    press(Qt::Key_Return);
    EXPECT_EQ(panel.fake.dispatcher.waitingInBackground(), 0U);
    press(Qt::Key_Tab);
    EXPECT_EQ(focused(), "reportLink");
}

TEST_F(PanelKeyboardTest, APositionIsKeptOverAGradeAndNothingIsPressedMeanwhile) {
    item("gradeButton").forceActiveFocus();
    panel.model.grading = true;
    bridge.redraw();
    EXPECT_EQ(focused(), "gradeButton");
    press(Qt::Key_Return);
    press(Qt::Key_Space);
    EXPECT_EQ(panel.fake.dispatcher.waitingInBackground(), 0U);
    panel.model.grading = false;
    bridge.redraw();
    EXPECT_EQ(focused(), "gradeButton");
}

TEST_F(PanelKeyboardTest, AControlThatCannotBeUsedSaysSo) {
    auto* grade = QAccessible::queryAccessibleInterface(&item("gradeButton"));
    ASSERT_NE(grade, nullptr);
    EXPECT_FALSE(grade->state().disabled);
    ASSERT_NE(grade->actionInterface(), nullptr);
    EXPECT_TRUE(grade->actionInterface()->actionNames().contains(
        QAccessibleActionInterface::pressAction()));
    panel.model.grading = true;
    bridge.redraw();
    EXPECT_TRUE(grade->state().disabled);
    EXPECT_FALSE(grade->actionInterface()->actionNames().contains(
        QAccessibleActionInterface::pressAction()));
    grade->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(panel.fake.dispatcher.waitingInBackground(), 0U);
}

TEST_F(PanelKeyboardTest, AControlIsPressedByAssistiveTechnologyAndHasAPlaceInTheTree) {
    auto* wire = QAccessible::queryAccessibleInterface(&item("wireLink"));
    ASSERT_NE(wire, nullptr);
    wire->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(called, std::vector<std::string>{"wire"});
    ASSERT_NE(wire->parent(), nullptr);
    EXPECT_GE(wire->parent()->indexOfChild(wire), 0);
    EXPECT_TRUE(wire->window() == view.get());
}

TEST_F(PanelKeyboardTest, AMenuItemHasTheKeyboardWhileItIsTheCurrentOne) {
    openMenuByKeyboard();
    EXPECT_EQ(focused(), "menu.getKey");
    press(Qt::Key_Down);
    EXPECT_EQ(focused(), "menu.uninstall");
    press(Qt::Key_Escape);
    EXPECT_EQ(focused(), "settingsButton");
}

TEST_F(PanelKeyboardTest, AVerdictIsAnnouncedWhenItComes) {
    auto& announcement = item("announcement");
    auto* spoken = QAccessible::queryAccessibleInterface(&announcement);
    ASSERT_NE(spoken, nullptr);
    EXPECT_EQ(spoken->role(), QAccessible::Notification);
    panel.model.grading = true;
    bridge.redraw();
    EXPECT_EQ(spoken->text(QAccessible::Name), "Grading… the critic may be warming up");
    QSignalSpy shownAnew(&announcement, SIGNAL(visibleChanged()));
    panel.model.grading = false;
    bridge.redraw();
    EXPECT_TRUE(announcement.isVisible());
    EXPECT_EQ(shownAnew.count(), 2) << "hidden and shown, which is what is told";
    EXPECT_EQ(spoken->text(QAccessible::Name), "Verdict: ROUTE TO FIX. Trevix 62. 3 flaws.");
}

TEST_F(PanelKeyboardTest, OnALowScreenTheFootStaysAndTheMiddleScrollsToWhatHasTheKeyboard) {
    limitPanelHeight(*view->rootObject(), 260);
    EXPECT_EQ(view->height(), 260);
    layOutPanel(*view->rootObject());
    const QRectF room(0, 0, 360, 260);
    const auto place = [&](const char* name) { return placeIn(*view->rootObject(), item(name)); };
    EXPECT_TRUE(room.contains(place("wireLink")));
    EXPECT_TRUE(room.contains(place("settingsButton")));
    EXPECT_TRUE(item("scrollMark").isVisible());
    const QRectF middle = place("scroll");
    for (const char* name : {"reportLink", "flawsButton", "gradeButton", "iterateButton"}) {
        press(Qt::Key_Tab);
        ASSERT_EQ(focused(), name);
        EXPECT_TRUE(middle.contains(place(name))) << name;
    }
    press(Qt::Key_PageUp);
    press(Qt::Key_PageUp);
    EXPECT_EQ(item("scroll").property("contentY").toDouble(), 0);
    press(Qt::Key_PageDown);
    EXPECT_GT(item("scroll").property("contentY").toDouble(), 0);
    resetPanel(*view->rootObject());
    EXPECT_EQ(item("scroll").property("contentY").toDouble(), 0);
    limitPanelHeight(*view->rootObject(), 0);
    EXPECT_FALSE(item("scrollMark").isVisible());
    EXPECT_GT(view->height(), 300);
}

TEST_F(PanelKeyboardTest, TheOpenMenuFollowsItsButton) {
    openMenuByKeyboard();
    const auto gap = [&] {
        return placeIn(*view->rootObject(), item("settingsButton")).top() -
               placeIn(*view->rootObject(), item("menu")).bottom();
    };
    const double before = gap();
    panel.model.verdict = std::nullopt;
    bridge.redraw();
    layOutPanel(*view->rootObject());
    EXPECT_TRUE(QTest::qWaitFor([&] { return gap() == before; }));
}

TEST_F(PanelKeyboardTest, EveryControlHasANameAndARole) {
    const auto found = controls(*view->rootObject());
    ASSERT_EQ(found.size(), 6U);
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
