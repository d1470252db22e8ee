#include "app/panel/panel_appearance.h"

#include "tests/app/panel/panel_states.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QPalette>

namespace kelvane {
namespace {

QPalette palette(Qt::GlobalColor text, Qt::GlobalColor window) {
    QPalette palette;
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Window, window);
    return palette;
}

TEST(ColorScheme, OnlyOneAndTwoAreAWish) {
    EXPECT_EQ(colorScheme(0), ColorScheme::noPreference);
    EXPECT_EQ(colorScheme(1), ColorScheme::dark);
    EXPECT_EQ(colorScheme(2), ColorScheme::light);
    EXPECT_EQ(colorScheme(3), ColorScheme::noPreference);
}

TEST(IsDark, TellsByTextAndWindow) {
    EXPECT_TRUE(isDark(palette(Qt::white, Qt::black)));
    EXPECT_FALSE(isDark(palette(Qt::black, Qt::white)));
    EXPECT_FALSE(isDark(palette(Qt::gray, Qt::gray)));
}

TEST(PaletteFor, IsTheUsualOneUnlessThatIsOfTheOtherKind) {
    const QPalette light = palette(Qt::black, Qt::white);
    const QPalette dark = palette(Qt::white, Qt::black);
    for (const auto& usual : {light, dark}) {
        EXPECT_EQ(paletteFor(ColorScheme::noPreference, usual), usual);
        EXPECT_TRUE(isDark(paletteFor(ColorScheme::dark, usual)));
        EXPECT_FALSE(isDark(paletteFor(ColorScheme::light, usual)));
    }
    EXPECT_EQ(paletteFor(ColorScheme::dark, dark), dark);
    EXPECT_EQ(paletteFor(ColorScheme::light, light), light);
}

TEST(PanelAppearance, FollowsThePaletteWhereNothingElseIsKnown) {
    const QPalette before = QGuiApplication::palette();
    PanelFixture panel;
    PanelBridge bridge(panel.model, panel.images);
    const PanelAppearance appearance(bridge);
    QGuiApplication::setPalette(palette(Qt::white, Qt::black));
    QCoreApplication::processEvents();
    EXPECT_TRUE(bridge.dark());
    QGuiApplication::setPalette(palette(Qt::black, Qt::white));
    QCoreApplication::processEvents();
    EXPECT_FALSE(bridge.dark());
    QGuiApplication::setPalette(before);
}

} // namespace
} // namespace kelvane
