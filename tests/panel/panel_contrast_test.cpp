#include "app/panel_item.h"
#include "app/panel_picture.h"
#include "panel/panel_items.h"
#include "panel/panel_states.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QQmlEngine>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

namespace kelvane {
namespace {

constexpr int kScale = 4;

double linear(int channel) {
    const double c = channel / 255.0;
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

double luminance(QRgb color) {
    return 0.2126 * linear(qRed(color)) + 0.7152 * linear(qGreen(color)) +
           0.0722 * linear(qBlue(color));
}

double contrast(QRgb a, QRgb b) {
    const double first = luminance(a) + 0.05;
    const double second = luminance(b) + 0.05;
    return std::max(first, second) / std::min(first, second);
}

/// The contrast of the writing in `area`: what differs most from the commonest colour, to that.
double measuredContrast(const QImage& picture, const QRect& area) {
    std::map<QRgb, int> counts;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) ++counts[picture.pixel(x, y)];
    }
    const auto ground = std::max_element(counts.begin(), counts.end(), [](auto& a, auto& b) {
                            return a.second < b.second;
                        })->first;
    double most = 1;
    for (const auto& [color, count] : counts) {
        // A stroke, not a stray pixel.
        if (count >= 4) most = std::max(most, contrast(color, ground));
    }
    return most;
}

TEST(PanelContrast, EveryTextIsReadableInLightAndDark) {
    const std::set<std::string> states{"first-run",  "no-key", "grading", "demo", "ship",
                                       "quarantine", "block",  "error",   "note", "unknown-app"};
    for (const auto& state : panelStates()) {
        if (!states.contains(state.name)) continue;
        for (const bool dark : {false, true}) {
            PanelFixture fixture;
            state.set(fixture);
            PanelBridge bridge(fixture.model, fixture.images);
            bridge.setDark(dark);
            const auto picture = renderPanel(bridge, Qt::magenta, kPanelWidth, kScale);
            QQmlEngine engine;
            const auto panel = makePanelItem(engine, bridge);
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
