#include "app/panel/panel_item.h"
#include "app/panel/settings_bridge.h"
#include "app/settings/settings_store.h"
#include "tests/app/panel/panel_items.h"
#include "tests/app/panel/panel_states.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QQuickView>
#include <QSignalSpy>
#include <QTest>

#include <set>
#include <stdexcept>
#include <string>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// The window over files in memory.
class SettingsWindowTest : public testing::Test {
protected:
    SettingsWindowTest() {
        panel.model.seedDemo();
        view->show();
        view->requestActivate();
        EXPECT_TRUE(QTest::qWaitForWindowActive(view.get()));
        view->rootObject()->forceActiveFocus();
    }

    QQuickItem& item(const char* name) {
        // By the visible tree: what a Repeater made has no parent among objects.
        for (auto* each : visibleItems(*view->rootObject())) {
            if (each->objectName() == QLatin1String(name)) return *each;
        }
        throw std::out_of_range(name);
    }
    void press(const char* name) {
        item(name).forceActiveFocus();
        QTest::keyClick(view.get(), Qt::Key_Space);
    }
    void type(const char* name, const char* text) {
        item(name).forceActiveFocus();
        for (const char* c = text; *c != 0; ++c) QTest::keyClick(view.get(), *c);
        QTest::keyClick(view.get(), Qt::Key_Return);
    }
    bool isChecked(const char* name) {
        return QAccessible::queryAccessibleInterface(&item(name))->state().checked;
    }
    std::string written() { return panel.fake.files.files["/home/u/.brask/settings.json"]; }

    PanelFixture panel;
    SettingsStore store{panel.fake.files, "/home/u/.brask"};
    std::string asked;
    int applied = 0;
    std::string shortcutProblem;
    PanelBridge look{panel.model, panel.images};
    SettingsBridge bridge{{.model = panel.model,
                           .store = store,
                           .place = [] { return std::string("trevix.example"); },
                           .askPlace = [this] { asked += "place "; },
                           .apply = [this] { ++applied; },
                           .shortcutProblem = [this] { return shortcutProblem; }}};
    std::unique_ptr<QQuickView> view = makeSettingsView(bridge, look);
};

TEST_F(SettingsWindowTest, EveryControlIsReachedByTabOnceAndHasAName) {
    std::set<QQuickItem*> reached;
    const std::size_t all = controls(*view->rootObject()).size();
    for (std::size_t i = 0; i < all; ++i) {
        QTest::keyClick(view.get(), Qt::Key_Tab);
        auto* const focused = view->activeFocusItem();
        EXPECT_TRUE(reached.insert(focused).second) << focused->objectName().toStdString();
        auto* const spoken = QAccessible::queryAccessibleInterface(focused);
        ASSERT_NE(spoken, nullptr) << focused->objectName().toStdString();
        EXPECT_FALSE(spoken->text(QAccessible::Name).isEmpty());
        // Scrolled into view with the keyboard.
        const auto place = placeIn(*view->rootObject(), *focused);
        EXPECT_GE(place.top(), 0) << focused->objectName().toStdString();
        EXPECT_LE(place.bottom(), view->height()) << focused->objectName().toStdString();
    }
    // The place, three for the preview, three for what is never captured, the pause, the keys, the
    // notifications, six for the language and the wiring.
    EXPECT_EQ(all, 17U);
}

TEST_F(SettingsWindowTest, AChoiceIsWrittenAtOnce) {
    EXPECT_TRUE(isChecked("preview0"));
    press("preview1");
    EXPECT_EQ(store.now().preview, PreviewWhen::Always);
    EXPECT_THAT(written(), HasSubstr("\"preview\": \"always\""));
    EXPECT_TRUE(isChecked("preview1"));
    EXPECT_FALSE(isChecked("preview0"));
    press("passwordManagers");
    EXPECT_FALSE(store.now().neverPasswordManagers);
    press("notifications");
    EXPECT_FALSE(store.now().notifications);
    press("notifications");
    EXPECT_TRUE(isChecked("notifications"));
    EXPECT_THAT(written(), HasSubstr("\"notifications\": true"));
}

TEST_F(SettingsWindowTest, TheLanguageIsTheDesktopsUntilOneIsChosen) {
    EXPECT_TRUE(isChecked("language0"));
    press("language2");
    EXPECT_EQ(store.now().language, "de");
    EXPECT_THAT(written(), HasSubstr(R"("language": "de")"));
    EXPECT_TRUE(isChecked("language2"));
    EXPECT_EQ(applied, 1) << "in use at once";
    press("language0");
    EXPECT_EQ(store.now().language, "");
    EXPECT_TRUE(isChecked("language0"));
}

TEST_F(SettingsWindowTest, ExclusionsAreTypedTakenFromTheFrontAndRemoved) {
    type("exclusionInput", "org.example.diary");
    EXPECT_THAT(store.now().neverCapture, ElementsAre("org.example.diary"));
    press("excludeFront");
    EXPECT_THAT(store.now().neverCapture, ElementsAre("org.example.diary", "com.figma.Desktop"));
    press("remove");
    EXPECT_THAT(store.now().neverCapture, ElementsAre("com.figma.Desktop"));
}

TEST_F(SettingsWindowTest, WhatCannotBeIsSaidAndNotWritten) {
    type("exclusionInput", "*");
    EXPECT_THAT(bridge.record().problems.value(0).toStdString(), HasSubstr("at least three"));
    EXPECT_TRUE(item("problem").isVisible());
    bridge.setShortcut(QStringLiteral("Ctrl+Hyper+G"));
    EXPECT_THAT(bridge.record().problems.value(0).toStdString(), HasSubstr("“Hyper”"));
    EXPECT_EQ(written(), "");
    bridge.setShortcut(QStringLiteral(" alt+ctrl+g "));
    EXPECT_EQ(store.now().shortcut, "Ctrl+Alt+G");
    EXPECT_THAT(bridge.record().problems, IsEmpty());
    panel.fake.files.unwritable.insert("/home/u/.brask/settings.json");
    press("preview2");
    EXPECT_THAT(bridge.record().problems.value(0).toStdString(), HasSubstr("could not be written"));
}

TEST_F(SettingsWindowTest, WhatIsWrongInTheFileIsShown) {
    panel.fake.files.files["/home/u/.brask/settings.json"] = "{\n\"preview\": 1}";
    store.look();
    bridge.redraw();
    EXPECT_THAT(bridge.record().problems.value(0).toStdString(),
                HasSubstr("settings.json:2: “preview”"));
}

TEST_F(SettingsWindowTest, AShortcutIsUsedAtOnceAndSaysWhenItCannotBeHad) {
    type("shortcutInput", "alt+ctrl+g");
    EXPECT_EQ(store.now().shortcut, "Ctrl+Alt+G");
    EXPECT_EQ(applied, 1);
    EXPECT_EQ(item("shortcutInput").property("text").toString(), QStringLiteral("Ctrl+Alt+G"));
    shortcutProblem = "Another program has it.";
    QCoreApplication::processEvents();
    bridge.redraw();
    EXPECT_EQ(bridge.record().problems.value(0), QStringLiteral("Another program has it."));
}

TEST_F(SettingsWindowTest, PausesAsksForThePlaceAndWires) {
    panel.model.onWire = [this] { asked += "wire "; };
    press("pause");
    EXPECT_TRUE(panel.model.pauseLeft().has_value());
    EXPECT_EQ(bridge.record().pause, "Resume");
    press("pause");
    EXPECT_FALSE(panel.model.pauseLeft().has_value());
    press("askPlace");
    press("wire");
    EXPECT_EQ(asked, "place wire ");
}

TEST_F(SettingsWindowTest, EscapeDismissesIt) {
    QSignalSpy dismissed(view->rootObject(), SIGNAL(dismissed()));
    QTest::keyClick(view.get(), Qt::Key_Escape);
    EXPECT_EQ(dismissed.count(), 1);
}

TEST_F(SettingsWindowTest, NothingIsCutAtAnyTextSizeInLightAndDark) {
    for (const int size : {PanelBridge::kSmallestTextSize, PanelBridge::kLargestTextSize}) {
        for (const bool dark : {false, true}) {
            look.setTextSize(size);
            look.setDark(dark);
            layOutPanel(*view->rootObject());
            for (const auto* text : visibleTexts(*view->rootObject())) {
                EXPECT_FALSE(text->property("truncated").toBool())
                    << text->property("text").toString().toStdString();
            }
            if (qEnvironmentVariableIsSet("KELVANE_PICTURES")) {
                view->grabWindow().save(qEnvironmentVariable("KELVANE_PICTURES") +
                                        QStringLiteral("/settings-%1-%2.png").arg(size).arg(dark));
            }
        }
    }
}

} // namespace
} // namespace kelvane
