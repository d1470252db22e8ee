#include "app/panel/history_item.h"
#include "app/panel/panel_item.h"
#include "app/panel/panel_picture.h"
#include "app/settings/settings_store.h"
#include "tests/app/panel/measured_contrast.h"
#include "tests/app/panel/panel_items.h"
#include "tests/app/panel/panel_states.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QCoreApplication>
#include <QQmlEngine>
#include <QQuickView>
#include <QTest>

#include <ostream>
#include <set>
#include <string>

namespace kelvane {
namespace {

constexpr int kScale = 4;

struct Look {
    const char* name;
    bool dark;
    bool high;

    /// What WCAG 2.1 asks of small text: level AA, and AAA for who asked for high contrast.
    [[nodiscard]] double wanted() const { return high ? 7 : 4.5; }
};

std::ostream& operator<<(std::ostream& out, const Look& look) {
    return out << look.name;
}

class PanelContrast : public testing::TestWithParam<Look> {
protected:
    template <typename Bridge>
    static void dress(Bridge& bridge) {
        bridge.setDark(GetParam().dark);
        bridge.setHighContrast(GetParam().high);
    }

    /// Every text of a window, in its colour on the ground that is drawn.
    static void expectReadable(QQuickView& view) {
        view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
        layOutPanel(*view.rootObject());
        QCoreApplication::processEvents();
        const QImage picture = view.grabWindow();
        int seen = 0;
        for (const auto* text : visibleTexts(*view.rootObject())) {
            const QRect area =
                placeIn(*view.rootObject(), *text).toAlignedRect().intersected(picture.rect());
            if (area.width() < 8 || area.height() < 8) continue; // scrolled out of sight
            ++seen;
            const auto ink = text->property("color").value<QColor>().rgb();
            EXPECT_GE(contrast(ink, commonestColour(picture, area)), GetParam().wanted())
                << text->property("text").toString().toStdString();
        }
        EXPECT_GE(seen, 3);
    }
};

TEST_P(PanelContrast, EveryTextOfThePanelIsReadable) {
    const std::set<std::string> states{"first-run",      "no-key",      "grading",   "demo",
                                       "ship",           "quarantine",  "block",     "error",
                                       "note",           "unknown-app", "all-flaws", "preview-text",
                                       "preview-picture"};
    for (const auto& state : panelStates()) {
        if (!states.contains(state.name)) continue;
        PanelFixture fixture;
        state.set(fixture);
        PanelBridge bridge(fixture.model, fixture.images);
        dress(bridge);
        state.open(bridge);
        const auto picture = renderPanel(bridge, Qt::magenta, kPanelWidth, kScale);
        QQmlEngine engine;
        const auto panel = makePanelItem(engine, bridge);
        layOutPanel(*panel);
        for (const auto* text : visibleTexts(*panel)) {
            const auto place = placeIn(*panel, *text);
            const QRect area = QRectF(place.topLeft() * kScale, place.size() * kScale)
                                   .toAlignedRect()
                                   .intersected(picture.rect());
            EXPECT_GE(measuredContrast(picture, area), GetParam().wanted())
                << state.name << ": " << text->property("text").toString().toStdString();
        }
    }
}

TEST_P(PanelContrast, EveryTextOfTheHistoryIsReadable) {
    for (const auto& state : historyStates()) {
        SCOPED_TRACE(state.name);
        HistoryBridge bridge(historyPorts());
        dress(bridge);
        const auto view = makeHistoryView(bridge);
        view->resize(820, 560);
        bridge.reload();
        state.open(bridge);
        expectReadable(*view);
    }
}

TEST_P(PanelContrast, EveryTextOfTheSettingsIsReadable) {
    PanelFixture fixture;
    fixture.model.seedDemo();
    SettingsStore store(fixture.fake.files, "/home/u/.brask");
    fixture.fake.files.files["/home/u/.brask/settings.json"] =
        R"({"preview_apps": {"a": "never"}, "never_capture": ["b"], "shortcut": 1})";
    store.look();
    PanelBridge bridge(fixture.model, fixture.images);
    dress(bridge);
    SettingsBridge settings({.model = fixture.model,
                             .store = store,
                             .place = [] { return std::string("this machine"); },
                             .askPlace = [] {}});
    const auto view = makeSettingsView(settings, bridge);
    view->resize(420, 1'100);
    expectReadable(*view);
}

INSTANTIATE_TEST_SUITE_P(Looks, PanelContrast,
                         testing::Values(Look{"light", false, false}, Look{"dark", true, false},
                                         Look{"light_high", false, true},
                                         Look{"dark_high", true, true}),
                         [](const auto& each) { return std::string(each.param.name); });

} // namespace
} // namespace kelvane
