#include "app/panel/panel_appearance.h"

#include "tests/app/panel/measured_contrast.h"
#include "tests/app/panel/panel_states.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFont>
#include <QGuiApplication>
#include <QPalette>

#include <limits>
#include <utility>

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

TEST(IsHighContrast, IsBlackAndWhiteAndNoUsualPalette) {
    EXPECT_TRUE(isHighContrast(palette(Qt::white, Qt::black)));
    EXPECT_TRUE(isHighContrast(palette(Qt::black, Qt::white)));
    EXPECT_FALSE(isHighContrast(palette(Qt::gray, Qt::white)));
    EXPECT_FALSE(isHighContrast(QPalette(QColor(0xef, 0xef, 0xef)))) << "Qt's own, of black on it";
    EXPECT_FALSE(isHighContrast(QPalette(QColor(0x35, 0x35, 0x38))));
}

TEST(PaletteFor, IsTheUsualOneUnlessThatIsOfTheOtherKind) {
    const QPalette light = palette(Qt::black, Qt::white);
    const QPalette dark = palette(Qt::white, Qt::black);
    for (const auto& usual : {light, dark}) {
        EXPECT_EQ(paletteFor({}, usual), usual);
        EXPECT_EQ(paletteFor({.highContrast = true}, usual), usual) << "it has it already";
        EXPECT_TRUE(isDark(paletteFor({.scheme = ColorScheme::dark}, usual)));
        EXPECT_FALSE(isDark(paletteFor({.scheme = ColorScheme::light}, usual)));
    }
    EXPECT_EQ(paletteFor({.scheme = ColorScheme::dark}, dark), dark);
    EXPECT_EQ(paletteFor({.scheme = ColorScheme::light}, light), light);
}

TEST(PaletteFor, OfHighContrastEveryTextStandsOutFromItsGround) {
    const QPalette soft(QColor(0xef, 0xef, 0xef));
    for (const auto scheme : {ColorScheme::noPreference, ColorScheme::dark, ColorScheme::light}) {
        const auto made = paletteFor({.scheme = scheme, .highContrast = true}, soft);
        EXPECT_TRUE(isHighContrast(made));
        EXPECT_EQ(isDark(made), scheme == ColorScheme::dark);
        using Role = QPalette::ColorRole;
        for (const auto& [text, ground] :
             {std::pair{Role::WindowText, Role::Window}, std::pair{Role::Text, Role::Base},
              std::pair{Role::ButtonText, Role::Button},
              std::pair{Role::HighlightedText, Role::Highlight},
              std::pair{Role::ToolTipText, Role::ToolTipBase}, std::pair{Role::Link, Role::Window},
              std::pair{Role::PlaceholderText, Role::Base}}) {
            EXPECT_GE(contrast(made.color(text).rgb(), made.color(ground).rgb()), 7.0) << text;
        }
        EXPECT_GE(contrast(made.color(QPalette::Disabled, Role::Text).rgb(),
                           made.color(Role::Base).rgb()),
                  7.0);
    }
}

TEST(TextScale, WhatIsNoFactorIsTheUsualSize) {
    EXPECT_EQ(textScale(1.25), 1.25);
    EXPECT_EQ(textScale(2), 2);
    EXPECT_EQ(textScale(90), 3);
    for (const double wrong : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN(),
                               std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(textScale(wrong), 1) << wrong;
    }
    EXPECT_TRUE(scalesTexts("xcb")) << "its density tells of it";
    EXPECT_FALSE(scalesTexts("wayland"));
    EXPECT_FALSE(scalesTexts("wayland-egl"));
}

TEST(FontFor, IsSoManyTimesAsLargeInPointsAsInPixels) {
    QFont points;
    points.setPointSizeF(10.5);
    EXPECT_EQ(fontFor({.textScale = 2}, points).pointSizeF(), 21);
    EXPECT_EQ(fontFor({}, points), points);
    QFont pixels;
    pixels.setPixelSize(13);
    EXPECT_EQ(fontFor({.textScale = 1.25}, pixels).pixelSize(), 16);
}

TEST(PanelAppearance, FollowsThePaletteWhereNothingElseIsKnown) {
    const QPalette before = QGuiApplication::palette();
    PanelFixture panel;
    PanelBridge bridge(panel.model, panel.images);
    const PanelAppearance appearance(bridge);
    QGuiApplication::setPalette(palette(Qt::white, Qt::black));
    QCoreApplication::processEvents();
    EXPECT_TRUE(bridge.dark());
    EXPECT_TRUE(bridge.highContrast());
    QGuiApplication::setPalette(palette(Qt::black, Qt::white));
    QCoreApplication::processEvents();
    EXPECT_FALSE(bridge.dark());
    EXPECT_TRUE(bridge.highContrast());
    QGuiApplication::setPalette(palette(Qt::darkGray, Qt::white));
    QCoreApplication::processEvents();
    EXPECT_FALSE(bridge.highContrast());
    QGuiApplication::setPalette(before);
}

} // namespace
} // namespace kelvane
