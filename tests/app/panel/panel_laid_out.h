// A panel in one state, laid out, and what holds of every one that is.

#pragma once

#include "app/panel/panel_item.h"
#include "tests/app/panel/panel_items.h"
#include "tests/app/panel/panel_states.h"

#include <gtest/gtest.h>

#include <QFont>
#include <QQmlEngine>
#include <QQuickItem>

#include <memory>
#include <string>
#include <vector>

namespace kelvane {

inline constexpr double kTolerance = 0.51;

inline std::string textOf(const QQuickItem& item) {
    return item.property("text").toString().left(40).toStdString();
}

/// A panel in one state, laid out.
struct LaidOut {
    LaidOut(const PanelState& state, int textSize) {
        state.set(fixture);
        bridge = std::make_unique<PanelBridge>(fixture.model, fixture.images);
        bridge->setTextSize(textSize);
        state.open(*bridge);
        panel = makePanelItem(engine, *bridge);
        layOutPanel(*panel);
        panel->setHeight(panel->implicitHeight());
    }

    PanelFixture fixture;
    std::unique_ptr<PanelBridge> bridge;
    QQmlEngine engine;
    std::unique_ptr<QQuickItem> panel;
};

inline void expectInsideAncestors(const QQuickItem& panel, const QQuickItem& item) {
    const QRectF place = placeIn(panel, item);
    for (const auto* around = item.parentItem(); around != &panel; around = around->parentItem()) {
        const QRectF room =
            placeIn(panel, *around).adjusted(-kTolerance, -kTolerance, kTolerance, kTolerance);
        EXPECT_TRUE(room.contains(place))
            << textOf(item) << " leaves its " << around->metaObject()->className();
    }
    EXPECT_GE(place.left(), 15.9) << textOf(item);
    EXPECT_LE(place.right(), panel.width() - 16 + kTolerance) << textOf(item);
}

inline void expectReadable(const QQuickItem& text) {
    // Of a word without an end the last letter hangs over by a part of its own size.
    const int pixels = text.property("font").value<QFont>().pixelSize();
    const double overhang = pixels > PanelBridge::kLargestTextInUsualWidth ? 1 : kTolerance;
    EXPECT_LE(text.property("contentWidth").toDouble(), text.width() + overhang) << textOf(text);
    EXPECT_LE(text.property("contentHeight").toDouble(), text.height() + kTolerance)
        << textOf(text);
    if (text.property("truncated").toBool()) {
        EXPECT_EQ(text.property("elide").toInt(), Qt::ElideRight) << textOf(text);
    }
}

inline void expectApart(const QQuickItem& panel, const std::vector<QQuickItem*>& items) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        for (std::size_t k = i + 1; k < items.size(); ++k) {
            const QRectF shared = placeIn(panel, *items[i]).intersected(placeIn(panel, *items[k]));
            EXPECT_TRUE(shared.width() < kTolerance || shared.height() < kTolerance)
                << textOf(*items[i]) << " and " << textOf(*items[k]);
        }
    }
}

/// Every text has the room that it needs, and no two of them, and no two controls, share any.
inline void expectNothingOverlapsOrIsCut(QQuickItem& panel) {
    const auto texts = visibleTexts(panel);
    ASSERT_GE(texts.size(), 8U);
    for (const auto* text : texts) {
        expectInsideAncestors(panel, *text);
        expectReadable(*text);
    }
    expectApart(panel, texts);
    const auto pressables = controls(panel);
    for (const auto* control : pressables) expectInsideAncestors(panel, *control);
    expectApart(panel, pressables);
}

} // namespace kelvane
