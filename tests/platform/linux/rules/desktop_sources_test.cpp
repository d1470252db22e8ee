#include "platform/linux/rules/desktop_sources.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <ostream>
#include <string>

namespace kelvane {
namespace {

using enum DesktopSource;

struct Desktop {
    const char* name;
    DesktopOffer offer;
    DesktopSources chosen;
};

void PrintTo(const Desktop& desktop, std::ostream* out) {
    *out << desktop.name;
}

class DesktopSourcesTest : public testing::TestWithParam<Desktop> {};

TEST_P(DesktopSourcesTest, areChosenByWhatIsThere) {
    const auto chosen = chooseSources(GetParam().offer);
    EXPECT_EQ(chosen.windows, GetParam().chosen.windows);
    EXPECT_EQ(chosen.selection, GetParam().chosen.selection);
    EXPECT_EQ(chosen.keys, GetParam().chosen.keys);
    EXPECT_EQ(chosen.picture, GetParam().chosen.picture);
    EXPECT_EQ(chosen.seesAllWindows, GetParam().chosen.seesAllWindows);
}

const Desktop kDesktops[] = {
    {"console", {}, {}},
    {"x11", {.xServer = true}, {X11, X11, X11, X11, true}},
    {"x11WithAccessibility", {.xServer = true, .accessibility = true}, {X11, X11, X11, X11, true}},
    {"sway",
     {.wayland = true,
      .foreignToplevel = true,
      .dataControl = true,
      .virtualKeyboard = true,
      .screencopy = true,
      .swaySocket = true},
     {Wlroots, Wlroots, Wlroots, Wlroots, true}},
    {"swayWithX11Programs",
     {.xServer = true,
      .wayland = true,
      .foreignToplevel = true,
      .dataControl = true,
      .virtualKeyboard = true,
      .screencopy = true,
      .swaySocket = true,
      .accessibility = true},
     {Wlroots, Wlroots, Wlroots, Wlroots, true}},
    {"wlrootsWithoutSocket",
     {.wayland = true,
      .foreignToplevel = true,
      .dataControl = true,
      .virtualKeyboard = true,
      .screencopy = true},
     {Wlroots, Wlroots, Wlroots, None, true}},
    {"kwin",
     {.wayland = true,
      .plasmaWindows = true,
      .dataControl = true,
      .fakeInput = true,
      .kwinScreenshot = true},
     {KWin, KWin, KWin, KWin, true}},
    {"kwinWithoutKeys",
     {.wayland = true, .plasmaWindows = true, .dataControl = true},
     {KWin, KWin, None, None, true}},
    {"kwinThatDoesNotKnowUs",
     {.xServer = true, .wayland = true, .dataControl = true},
     {X11, X11, X11, X11, false}},
    {"kwinThatDoesNotKnowUsWithAccessibility",
     {.wayland = true, .dataControl = true, .accessibility = true},
     {Accessibility, Accessibility, None, None, true}},
    {"gnome",
     {.xServer = true, .wayland = true, .accessibility = true},
     {Accessibility, Accessibility, None, None, true}},
    {"gnomeWithExtension",
     {.xServer = true, .wayland = true, .gnomeExtension = true, .accessibility = true},
     {GnomeExtension, GnomeExtension, None, GnomeExtension, true}},
    {"gnomeWithNothing", {.xServer = true, .wayland = true}, {X11, X11, X11, X11, false}},
    {"gnomeWithNothingAtAll", {.wayland = true}, {}},
    {"noDataControl",
     {.wayland = true, .foreignToplevel = true, .virtualKeyboard = true},
     {Wlroots, None, None, None, true}},
};

INSTANTIATE_TEST_SUITE_P(Desktops, DesktopSourcesTest, testing::ValuesIn(kDesktops),
                         [](const testing::TestParamInfo<Desktop>& desktop) {
                             return std::string(desktop.param.name);
                         });

TEST(MoreOfTheDesktop, mayComeOnlyFromPlasmaThatKeepsItsWindows) {
    EXPECT_TRUE(mayOfferMore({.wayland = true, .plasmaShell = true}));
    EXPECT_FALSE(mayOfferMore({.wayland = true, .plasmaWindows = true, .plasmaShell = true}));
    EXPECT_FALSE(mayOfferMore({.wayland = true, .foreignToplevel = true}));
    EXPECT_FALSE(mayOfferMore({.wayland = true, .accessibility = true}));
    EXPECT_FALSE(mayOfferMore({}));
}

TEST(MoreOfTheDesktop, isSeenByWhatTellsOfMoreWindows) {
    const auto sources = [](const DesktopOffer& offer) { return chooseSources(offer); };
    const auto none = sources({.wayland = true});
    const auto x11Programs = sources({.xServer = true, .wayland = true});
    const auto accessibility = sources({.xServer = true, .wayland = true, .accessibility = true});
    const auto extension =
        sources({.xServer = true, .wayland = true, .gnomeExtension = true, .accessibility = true});
    const DesktopSources fromLess[] = {none, x11Programs, accessibility, extension};
    for (std::size_t before = 0; before < std::size(fromLess); ++before) {
        for (std::size_t now = 0; now < std::size(fromLess); ++now) {
            EXPECT_EQ(seeMore(fromLess[now], fromLess[before]), now > before) << now << before;
        }
    }
}

} // namespace
} // namespace kelvane
