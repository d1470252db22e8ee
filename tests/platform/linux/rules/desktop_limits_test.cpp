#include "platform/linux/rules/desktop_limits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

LimitWords of(const DesktopOffer& offer, bool gnomeShell = false) {
    return limitsOf(offer, chooseSources(offer), gnomeShell);
}

TEST(DesktopLimits, AnXServerHidesNothing) {
    const auto limit = of({.xServer = true});
    EXPECT_THAT(limit.line, IsEmpty());
    EXPECT_FALSE(limit.hidesFront);
    EXPECT_FALSE(limit.accessibilityHelps);
    EXPECT_THAT(limit.noPicture, HasSubstr("no permission is needed"));
}

TEST(DesktopLimits, WithoutADesktopItSaysSo) {
    EXPECT_THAT(of({}).line, HasSubstr("start Kelvane from inside your session"));
    EXPECT_FALSE(of({}).hidesFront) << "nobody is in front";
}

TEST(DesktopLimits, PlasmaInFullHasNothingToSay) {
    const DesktopOffer plasma{.xServer = true,
                              .wayland = true,
                              .plasmaWindows = true,
                              .dataControl = true,
                              .fakeInput = true,
                              .kwinScreenshot = true};
    EXPECT_THAT(of(plasma).line, IsEmpty());
    EXPECT_FALSE(of(plasma).hidesFront);
    auto notInstalled = plasma;
    notInstalled.kwinScreenshot = false;
    EXPECT_THAT(of(notInstalled).line, HasSubstr("install the package"));
}

TEST(DesktopLimits, WithoutPlacesOfWindowsTextIsLeft) {
    const DesktopOffer sway{.wayland = true,
                            .foreignToplevel = true,
                            .dataControl = true,
                            .virtualKeyboard = true,
                            .screencopy = true,
                            .swaySocket = true};
    EXPECT_THAT(of(sway).line, IsEmpty());
    auto other = sway;
    other.swaySocket = false;
    EXPECT_THAT(of(other).line, HasSubstr("where windows are"));
    EXPECT_THAT(of(other).line, HasSubstr("select text"));
    EXPECT_FALSE(of(other).hidesFront);
}

TEST(DesktopLimits, WithoutDataControlAPictureIsLeft) {
    EXPECT_THAT(
        of({.wayland = true, .foreignToplevel = true, .screencopy = true, .swaySocket = true}).line,
        HasSubstr("a picture of the window is graded"));
    EXPECT_THAT(of({.wayland = true, .foreignToplevel = true}).line,
                HasSubstr("no program read a selection or photograph"));
}

TEST(DesktopLimits, GnomeWithoutTheExtensionReadsTextAndSaysWhatTheExtensionAdds) {
    const DesktopOffer gnome{.xServer = true, .wayland = true, .accessibility = true};
    const auto limit = of(gnome, true);
    EXPECT_THAT(limit.line, HasSubstr("GTK, Qt and Firefox"));
    EXPECT_THAT(limit.line, HasSubstr("turn on its Shell extension, then log in again"));
    EXPECT_TRUE(limit.hidesFront) << "Chromium and foot say nothing there";
    EXPECT_TRUE(limit.accessibilityHelps);
    EXPECT_THAT(limit.noPicture, HasSubstr("Shell extension"));
    EXPECT_THAT(of(gnome, false).line, Not(HasSubstr("GNOME")));
}

TEST(DesktopLimits, GnomeWithTheExtensionIsComplete) {
    const auto limit =
        of({.xServer = true, .wayland = true, .gnomeExtension = true, .accessibility = true}, true);
    EXPECT_THAT(limit.line, IsEmpty());
    EXPECT_FALSE(limit.hidesFront);
    EXPECT_FALSE(limit.accessibilityHelps);
}

TEST(DesktopLimits, X11ProgramsAloneUnderWaylandMayHideTheOneInFront) {
    const auto limit = of({.xServer = true, .wayland = true});
    EXPECT_THAT(limit.line, HasSubstr("X11 programs only"));
    EXPECT_TRUE(limit.hidesFront);
    EXPECT_FALSE(limit.accessibilityHelps) << "nobody would tell";
    EXPECT_THAT(of({.xServer = true, .wayland = true}, true).line, HasSubstr("Shell extension"));
}

TEST(DesktopLimits, NeitherSystemSettingsNorAPermissionIsSpokenOfWhereThereIsNone) {
    for (const bool wayland : {false, true}) {
        for (const bool gnome : {false, true}) {
            const auto limit = of({.xServer = true, .wayland = wayland}, gnome);
            EXPECT_THAT(limit.noPicture, Not(IsEmpty()));
            EXPECT_THAT(limit.noPicture, Not(HasSubstr("System Settings")));
            EXPECT_THAT(limit.noSelection, HasSubstr("no such permission"));
        }
    }
}

} // namespace
} // namespace kelvane
