#include "app/panel/panel_item.h"
#include "app/panel/panel_picture.h"
#include "tests/app/panel/measured_contrast.h"
#include "tests/app/panel/panel_items.h"
#include "tests/app/panel/panel_states.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QQmlEngine>

#include <set>
#include <string>

namespace kelvane {
namespace {

constexpr int kScale = 4;

TEST(PanelContrast, EveryTextIsReadableInLightAndDark) {
    const std::set<std::string> states{"first-run", "no-key",      "grading",  "demo",
                                       "ship",      "quarantine",  "block",    "error",
                                       "note",      "unknown-app", "all-flaws"};
    for (const auto& state : panelStates()) {
        if (!states.contains(state.name)) continue;
        for (const bool dark : {false, true}) {
            PanelFixture fixture;
            state.set(fixture);
            PanelBridge bridge(fixture.model, fixture.images);
            bridge.setDark(dark);
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
                EXPECT_GE(measuredContrast(picture, area), 4.5)
                    << state.name << (dark ? " dark: " : " light: ")
                    << text->property("text").toString().toStdString();
            }
        }
    }
}

} // namespace
} // namespace kelvane
