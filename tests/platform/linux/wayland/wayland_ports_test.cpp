// The product's ports on real compositors with real programs: who is in front, what is selected,
// one window's picture, the clipboard afterwards.

#include "detect/capture.h"
#include "platform/fake/fakes.h"
#include "platform/linux/linux_platform.h"
#include "platform/linux/wayland/kwin_screenshot.h"
#include "tests/platform/linux/common/png_pixels.h"
#include "tests/platform/linux/wayland/compositor_stage.h"
#include "tests/platform/linux/wayland/proven_table.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

class Stages : public testing::Environment {
    void TearDown() override {
        endStages();
        compareProvenTable();
    }
};
const auto* const kStages = testing::AddGlobalTestEnvironment(new Stages);

TEST_P(OnCompositor, aWindowOfQt6GivesItsSelection) {
    window("kelvane.probe", "one two three");
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.probe"));
    stage().copies({{"UTF8_STRING", "UTF8_STRING", 8, "mine"}});
    stage().press({kLeftControl, kKeyA});
    EXPECT_TRUE(stage().captures("one two three"));
    EXPECT_TRUE(stage().captures("one two three")) << "a capture leaves what is selected";
    EXPECT_TRUE(stage().pastes("mine"));
}

TEST_P(OnCompositor, withoutASelectionTheClipboardIsNotTouched) {
    window("kelvane.probe", "one two three");
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.probe"));
    stage().copies({{"UTF8_STRING", "UTF8_STRING", 8, "mine"}});
    const auto before = stage().selections->seen(SelectionName::Clipboard).generation;
    EXPECT_EQ(stage().capture(), std::nullopt);
    EXPECT_EQ(stage().selections->seen(SelectionName::Clipboard).generation, before);
}

TEST_P(OnCompositor, aPasswordIsNoText) {
    stage().copies({{"UTF8_STRING", "UTF8_STRING", 8, "hunter2"},
                    {std::string(kPasswordHint), std::string(kPasswordHint), 8, "secret"}});
    EXPECT_EQ(stage().ports.pasteboard->string(), std::nullopt);
    stage().copies({{"UTF8_STRING", "UTF8_STRING", 8, "a sentence"}});
    EXPECT_EQ(stage().ports.pasteboard->string(), "a sentence");
}

TEST_P(OnCompositor, windowsAreBroughtForward) {
    window("kelvane.one", "one");
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.one"));
    window("kelvane.two", "two");
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.two"));
    // A compositor that draws without a GPU may be too busy to answer the first time.
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        const auto one = stage().ports.workspace->instancesOf("wmclass:kelvane.one");
        return one.size() == 1 && stage().ports.workspace->activate(one.front().pid);
    }));
    EXPECT_TRUE(stage().waitForFront("wmclass:kelvane.one"));
    EXPECT_FALSE(stage().ports.workspace->activate(4711));
}

TEST_P(OnCompositor, aPictureShowsTheWindowAndNothingElse) {
    if (GetParam() == Compositor::Sway) {
        stage().desktop.outputOf({"swaymsg", "for_window [app_id=\"kelvane.*\"] floating enable"});
    }
    window("kelvane.blue", "#3366aa", 400, 300);
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.blue"));
    window("kelvane.red", "#aa3333", 500, 400); // Both stand in the middle.
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.red"));
    std::vector<RunningApp> blue;
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] {
        blue = stage().ports.workspace->instancesOf("wmclass:kelvane.blue");
        return blue.size() == 1;
    }));
    std::optional<std::string> png;
    WaylandDesktop::waitUntil([&] {
        png = Capture::frontWindowPNG(*stage().ports.windowList, *stage().ports.windowPicture,
                                      blue.front().pid);
        return png.has_value();
    });
    ASSERT_TRUE(png);
    const auto pixels = decodePng(*png);
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->width, 400U);
    EXPECT_EQ(pixels->height, 300U);
    for (std::uint32_t y = 20; y < 300; y += 40) {
        for (std::uint32_t x = 20; x < 400; x += 40) {
            ASSERT_EQ(pixels->at(x, y), 0xFF3366AAU) << x << ", " << y;
        }
    }
}

TEST_P(OnCompositor, aCompositorThatStandsStillHoldsUpNobody) {
    window("kelvane.probe", "one");
    ASSERT_TRUE(stage().waitForFront("wmclass:kelvane.probe"));
    // A compositor that draws without a GPU may be too busy to answer the first time.
    EXPECT_TRUE(WaylandDesktop::waitUntil(
        [&] { return !stage().ports.workspace->silentDisplay().has_value(); }));
    stage().desktop.stopCompositor();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(stage().ports.workspace->frontmost(), std::nullopt);
    EXPECT_TRUE(stage().ports.workspace->silentDisplay());
    EXPECT_TRUE(stage().ports.workspace->runningApplications().empty());
    EXPECT_EQ(stage().ports.windowList->onScreenWindows(), std::nullopt);
    EXPECT_EQ(stage().ports.windowPicture->png(1), std::nullopt);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
    stage().desktop.continueCompositor();
    EXPECT_TRUE(stage().waitForFront("wmclass:kelvane.probe"));
}

const auto kCompositors = testing::Values(Compositor::Sway, Compositor::KWin);
const auto kNames = [](const testing::TestParamInfo<Compositor>& compositor) {
    return std::string(nameOf(compositor.param));
};
INSTANTIATE_TEST_SUITE_P(Compositors, OnCompositor, kCompositors, kNames);
TEST(SwayWithX11Programs, resolvesBothKinds) {
    if (const auto why = WaylandDesktop::missing(Compositor::Sway)) GTEST_SKIP() << *why;
    if (!installedProgram("Xwayland")) GTEST_SKIP() << "NOT TESTED: Xwayland is not installed";
    Stage stage({.compositor = Compositor::Sway, .xwayland = true});
    stage.desktop.start({"mousepad", "--disable-server"}, {{"GDK_BACKEND", "x11"}});
    ASSERT_TRUE(stage.waitForFront("org.xfce.mousepad"));
    stage.desktop.start({KELVANE_TEXT_WINDOW, "kelvane.probe", "probe", "300", "200", "text"});
    ASSERT_TRUE(stage.waitForFront("wmclass:kelvane.probe"));
    EXPECT_EQ(stage.ports.workspace->runningApplications().size(), 2U);
}

TEST(KWinThatDoesNotKnowTheProgram, namesNobody) {
    if (const auto why = WaylandDesktop::missing(Compositor::KWin)) GTEST_SKIP() << *why;
    const WaylandDesktop desktop({.compositor = Compositor::KWin, .known = false});
    FakePlatform fakes;
    RealClock clock;
    for (const auto& [name, value] : desktop.environment()) {
        fakes.environment.variables[name] = value;
    }
    const auto ports = makeLinuxDesktop(fakes.environment, clock, fakes.ownFocus);
    EXPECT_EQ(ports.workspace->frontmost(), std::nullopt);
    EXPECT_FALSE(ports.keyboard->trusted());
    EXPECT_EQ(ports.windowList->onScreenWindows(), std::nullopt);
}

TEST(KWinThatDoesNotKnowTheProgram, isAskedAgainUntilItDoes) {
    if (const auto why = WaylandDesktop::missing(Compositor::KWin)) GTEST_SKIP() << *why;
    WaylandDesktop desktop({.compositor = Compositor::KWin, .known = false});
    FakePlatform fakes;
    RealClock clock;
    for (const auto& [name, value] : desktop.environment()) {
        fakes.environment.variables[name] = value;
    }
    const auto ports = makeLinuxDesktop(fakes.environment, clock, fakes.ownFocus);
    KWinScreenshot screenshot(desktop.environment().at("DBUS_SESSION_BUS_ADDRESS"));
    // A KWin that is busy has not refused.
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] { return !screenshot.offered(); }));
    desktop.start({KELVANE_TEXT_WINDOW, "kelvane.probe", "probe", "300", "200", "text"});
    EXPECT_NE(ports.limits->now().line, "");
    EXPECT_EQ(ports.workspace->frontmost(), std::nullopt);
    desktop.introduceThisProgram();
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        const bool tells = ports.limits->now().line.empty();
        const auto front = ports.workspace->frontmost();
        return tells && front && front->bundleId == "wmclass:kelvane.probe";
    }));
    EXPECT_TRUE(ports.keyboard->trusted());
    EXPECT_FALSE(screenshot.wasOffered());
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] { return screenshot.offered(); }));
    // A compositor that draws without a GPU may be too busy to answer the first time.
    EXPECT_TRUE(
        WaylandDesktop::waitUntil([&] { return ports.windowList->onScreenWindows().has_value(); }));
}

TEST(KWinThatStandsStill, hasNotRefusedPictures) {
    if (const auto why = WaylandDesktop::missing(Compositor::KWin)) GTEST_SKIP() << *why;
    auto& desktop = stageOf(Compositor::KWin).desktop;
    const auto bus = desktop.environment().at("DBUS_SESSION_BUS_ADDRESS");
    KWinScreenshot screenshot(bus);
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] { return screenshot.offered(); }));
    desktop.stopCompositor();
    EXPECT_TRUE(KWinScreenshot(bus).offered()) << "what is busy has not refused";
    desktop.continueCompositor();
}

TEST(KWinWhoseBusIsSilentAtTheStart, holdsUpNobodyAndIsAskedForPicturesAgain) {
    if (const auto why = WaylandDesktop::missing(Compositor::KWin)) GTEST_SKIP() << *why;
    Stage stage({.compositor = Compositor::KWin}); // By then it knows this program.
    stage.desktop.stopBus();
    const auto start = std::chrono::steady_clock::now();
    stage.ports = makeLinuxDesktop(stage.fakes.environment, stage.clock, stage.fakes.ownFocus);
    EXPECT_EQ(stage.ports.limits->now().line, "") << "nobody has refused";
    EXPECT_LT(std::chrono::steady_clock::now() - start, 30s)
        << "the bus's library itself gives up after 90 s";
    stage.desktop.continueBus();
    stage.desktop.start({KELVANE_TEXT_WINDOW, "kelvane.probe", "probe", "400", "300", "#336699"});
    ASSERT_TRUE(stage.waitForFront("wmclass:kelvane.probe"));
    std::optional<PngPixels> picture;
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        picture = stage.picture();
        return picture && picture->count(0xFF336699) > 0;
    }));
}

TEST(CompositorThatIsSilentAtTheStart, isAskedAgain) {
    if (const auto why = WaylandDesktop::missing(Compositor::Sway)) GTEST_SKIP() << *why;
    WaylandDesktop desktop;
    FakePlatform fakes;
    RealClock clock;
    for (const auto& [name, value] : desktop.environment()) {
        fakes.environment.variables[name] = value;
    }
    desktop.stopCompositor();
    const auto ports = makeLinuxDesktop(fakes.environment, clock, fakes.ownFocus);
    EXPECT_FALSE(ports.keyboard->trusted());
    desktop.continueCompositor();
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        (void)ports.limits->now();
        return ports.keyboard->trusted();
    }));
}

TEST(CompositorThatIsSilentAtTheStart, hasThisProgramWaitRatherThanComeAnew) {
    if (const auto why = WaylandDesktop::missing(Compositor::Sway)) GTEST_SKIP() << *why;
    WaylandDesktop desktop;
    FakePlatform fakes;
    RealClock clock;
    for (const auto& [name, value] : desktop.environment()) {
        fakes.environment.variables[name] = value;
    }
    const auto socket = desktop.home() / "runtime" / desktop.environment().at("WAYLAND_DISPLAY");
    desktop.stopCompositor();
    const auto ports = makeLinuxDesktop(fakes.environment, clock, fakes.ownFocus);
    EXPECT_FALSE(ports.keyboard->trusted());
    // It answers only while nobody asks: a link that is new then gets nothing.
    EXPECT_TRUE(WaylandDesktop::waitUntil([&] {
        desktop.continueCompositor();
        EXPECT_TRUE(WaylandConnection::open(socket, {}, 10s).link);
        desktop.stopCompositor();
        (void)ports.limits->now();
        return ports.keyboard->trusted();
    }));
    desktop.continueCompositor();
}

TEST(WaylandThatIsGone, givesTheAbsentAnswers) {
    if (const auto why = WaylandDesktop::missing(Compositor::Sway)) GTEST_SKIP() << *why;
    Stage stage({.compositor = Compositor::Sway});
    EXPECT_TRUE(stage.ports.keyboard->trusted());
    stage.desktop.killCompositor();
    ASSERT_TRUE(WaylandDesktop::waitUntil([&] { return !stage.ports.keyboard->trusted(); }));
    EXPECT_EQ(stage.ports.workspace->frontmost(), std::nullopt);
    EXPECT_EQ(stage.ports.workspace->silentDisplay(), std::nullopt);
    EXPECT_EQ(stage.ports.pasteboard->string(), std::nullopt);
    stage.ports.pasteboard->setString("lost");
    EXPECT_EQ(stage.ports.windowPicture->png(1), std::nullopt);
    auto again = makeLinuxDesktop(stage.fakes.environment, stage.clock, stage.fakes.ownFocus);
    EXPECT_EQ(again.workspace->frontmost(), std::nullopt);
}

} // namespace
} // namespace kelvane
