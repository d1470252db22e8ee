#include "tests/platform/linux/x11/x11_desktop_test.h"

#include "platform/linux/rules/window_identity.h"
#include "platform/linux/x11/x11_windows.h"
#include "tests/platform/linux/x11/scripted_manager.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace kelvane {
namespace {

using testing::ElementsAre;

class X11WindowListTest : public X11DesktopTest<X11WindowListTest> {
protected:
    static std::vector<WindowInfo> list(X11Adapters& adapters) {
        return adapters.windowList->onScreenWindows().value_or(std::vector<WindowInfo>{});
    }
    static std::vector<std::int64_t> numbers(X11Adapters& adapters) {
        std::vector<std::int64_t> found;
        for (const auto& info : list(adapters)) found.push_back(info.number.value_or(-1));
        return found;
    }
    static void changeDesktop(xcb_window_t window, std::uint32_t number) {
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        auto& x = desktop().link();
        message.window = window;
        message.type = x.atom(window == x.root() ? "_NET_CURRENT_DESKTOP" : "_NET_WM_DESKTOP");
        message.data.data32[0] = number;
        message.data.data32[1] = window == x.root() ? XCB_CURRENT_TIME : 2;
        xcb_send_event(x.xcb(), 0, x.root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char*>(&message));
        xcb_flush(x.xcb());
    }
};

TEST_F(X11WindowListTest, isEmptyOnAnEmptyDesktop) {
    X11Adapters adapters(desktop());
    EXPECT_EQ(adapters.windowList->onScreenWindows(), std::vector<WindowInfo>{});
}

TEST_F(X11WindowListTest, goesFromFrontToBack) {
    X11Adapters adapters(desktop());
    const auto one = paint({});
    const auto two = paint({.x = 150});
    const auto three = paint({.x = 200});
    ASSERT_TRUE(desktop().activate(one->id()));
    ASSERT_TRUE(desktop().activate(three->id()));
    ASSERT_TRUE(desktop().activate(two->id()));
    const std::vector<std::int64_t> expected{two->id(), three->id(), one->id()};
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return numbers(adapters) == expected; }));
}

TEST_F(X11WindowListTest, ownersAreTheApplicationsOfTheWorkspace) {
    X11Adapters adapters(desktop());
    const auto xterm = open({"xterm", "-e", "sleep", "600"}, "XTerm");
    const auto program = lastProgram();
    const auto painted = paint({.wmClass = "Mine"});
    for (const auto& info : list(adapters)) {
        const auto expected = info.number == xterm ? processIdOf(program, "debian-xterm")
                                                   : processIdOf(::getpid(), "wmclass:mine");
        EXPECT_EQ(info.ownerPid, expected);
        EXPECT_EQ(info.layer, 0);
    }
    EXPECT_EQ(list(adapters).size(), 2U);
    for (const auto& app : adapters.workspace->runningApplications()) {
        const auto windows = list(adapters);
        EXPECT_EQ(std::count_if(windows.begin(), windows.end(),
                                [&](const WindowInfo& info) { return info.ownerPid == app.pid; }),
                  1);
    }
}

TEST_F(X11WindowListTest, boundsLeaveOutTheMarginsOfClientDrawnShadows) {
    X11Adapters adapters(desktop());
    const auto plain = paint({.width = 300, .height = 120});
    EXPECT_EQ(list(adapters).at(0).bounds, (WindowBounds{300, 120}));
    const auto shadowed =
        paint({.x = 500, .width = 300, .height = 120, .frameExtents = {10, 12, 5, 15}});
    const auto windows = list(adapters);
    const auto found = std::find_if(windows.begin(), windows.end(), [&](const WindowInfo& info) {
        return info.number == shadowed->id();
    });
    ASSERT_NE(found, windows.end());
    EXPECT_EQ(found->bounds, (WindowBounds{278, 100}));
}

TEST(FrameExtents, thatDoNotFitTheWindowAreNotBelieved) {
    const auto property = [](std::vector<std::uint32_t> words) {
        X11Property made;
        made.format = 32;
        made.bytes.assign(reinterpret_cast<const char*>(words.data()), words.size() * 4);
        return made;
    };
    const auto left = [&](std::vector<std::uint32_t> words) {
        return frameExtents(property(std::move(words)), 100, 50).left;
    };
    EXPECT_EQ(left({10, 10, 10, 10}), 10U);
    EXPECT_EQ(left({10, 90, 0, 0}), 0U) << "nothing would be left";
    EXPECT_EQ(left({10, 0xFFFFFFFF, 0, 0}), 0U);
    EXPECT_EQ(left({10, 10, 30, 30}), 0U);
    EXPECT_EQ(left({10, 10, 10}), 0U);
    EXPECT_EQ(frameExtents(std::nullopt, 100, 50).left, 0U);
}

TEST_F(X11WindowListTest, layersTellNormalWindowsFromTheRest) {
    X11Adapters adapters(desktop());
    const struct {
        const char* type;
        std::optional<bool> normal; ///< Absent: not in the list at all.
    } cases[] = {
        {"", true},
        {"_NET_WM_WINDOW_TYPE_NORMAL", true},
        {"_NET_WM_WINDOW_TYPE_DIALOG", true},
        {"_NET_WM_WINDOW_TYPE_UTILITY", true},
        {"_NET_WM_WINDOW_TYPE_NOBODY_KNOWS", true},
        {"_NET_WM_WINDOW_TYPE_TOOLBAR", false},
        {"_NET_WM_WINDOW_TYPE_MENU", false},
        {"_NET_WM_WINDOW_TYPE_SPLASH", false},
        {"_NET_WM_WINDOW_TYPE_DOCK", false},
        {"_NET_WM_WINDOW_TYPE_DESKTOP", std::nullopt},
    };
    for (const auto& one : cases) {
        const auto window = paint({.type = one.type});
        const auto windows = list(adapters);
        const auto found =
            std::find_if(windows.begin(), windows.end(),
                         [&](const WindowInfo& info) { return info.number == window->id(); });
        ASSERT_EQ(found != windows.end(), one.normal.has_value()) << one.type;
        if (one.normal) {
            EXPECT_EQ(found->layer == 0, *one.normal) << one.type;
        }
    }
}

TEST_F(X11WindowListTest, windowsOfAnotherDesktopAreNotOnScreen) {
    X11Adapters adapters(desktop());
    const auto here = paint({});
    const auto away = paint({.x = 400});
    const auto everywhere = paint({.x = 700});
    changeDesktop(away->id(), 1);
    changeDesktop(everywhere->id(), 0xFFFFFFFF);
    const auto sees = [&](const PaintedWindow& window) {
        const auto found = numbers(adapters);
        return std::find(found.begin(), found.end(), window.id()) != found.end();
    };
    EXPECT_TRUE(VirtualDesktop::waitUntil(
        [&] { return sees(*here) && !sees(*away) && sees(*everywhere); }));
    changeDesktop(desktop().link().root(), 1);
    EXPECT_TRUE(VirtualDesktop::waitUntil(
        [&] { return !sees(*here) && sees(*away) && sees(*everywhere); }));
    changeDesktop(desktop().link().root(), 0);
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return sees(*here); }));
}

TEST_F(X11WindowListTest, coveredAndPartlyOffScreenWindowsAreListed) {
    X11Adapters adapters(desktop());
    const auto covered = paint({});
    const auto above = paint({.width = 400, .height = 300});
    const auto outside = paint({.x = 1500});
    EXPECT_EQ(list(adapters).size(), 3U);
}

TEST_F(X11WindowListTest, whateverHidesAWindowTakesItOffTheScreen) {
    // On a window that is left alone each mark can be set by itself; a real one has several.
    const auto window = paint({.managed = false});
    auto& x = desktop().link();
    const auto onScreen = [&] {
        const auto described = describeWindows(x, {window->id()});
        return described.size() == 1 && described.front().onScreen;
    };
    const auto set = [&](const char* name, std::vector<std::uint32_t> words) {
        xcb_change_property(x.xcb(), XCB_PROP_MODE_REPLACE, window->id(), x.atom(name),
                            XCB_ATOM_CARDINAL, 32, static_cast<std::uint32_t>(words.size()),
                            words.data());
    };
    EXPECT_TRUE(onScreen());
    set("WM_STATE", {3, 0});
    EXPECT_FALSE(onScreen()) << "an icon";
    set("WM_STATE", {1, 0});
    EXPECT_TRUE(onScreen());
    set("_NET_WM_STATE", {x.atom("_NET_WM_STATE_ABOVE"), x.atom("_NET_WM_STATE_HIDDEN")});
    EXPECT_FALSE(onScreen()) << "hidden";
    set("_NET_WM_STATE", {});
    set("_NET_WM_DESKTOP", {3});
    EXPECT_TRUE(onScreen()) << "on the desktop of another output";
    const auto moveTo = [&](std::int32_t place) {
        const auto left = static_cast<std::uint32_t>(place);
        xcb_configure_window(x.xcb(), window->id(), XCB_CONFIG_WINDOW_X, &left);
    };
    for (const std::int32_t outside : {-200, -3200, 1600}) {
        moveTo(outside);
        EXPECT_FALSE(onScreen()) << "moved off the screen to " << outside;
    }
    moveTo(-199);
    EXPECT_TRUE(onScreen()) << "one column is left";
    xcb_unmap_window(x.xcb(), window->id());
    EXPECT_FALSE(onScreen()) << "not mapped";
    EXPECT_TRUE(describeWindows(x, {0x7FFFFFF}).empty());
}

TEST(X11WindowListAlone, aManagerThatDrawsTheScreenKeepsOtherDesktopsMapped) {
    VirtualDesktop desktop({.windowManager = false, .sessionBus = false});
    ScriptedManager manager(desktop.display());
    manager.introduceItself();
    manager.tell("_NET_CURRENT_DESKTOP", {0});
    PaintedWindow window(desktop.display(), {.managed = false});
    ASSERT_TRUE(window.waitUntilDrawn());
    const auto onScreen = [&] {
        const auto described = describeWindows(desktop.link(), {window.id()});
        return described.size() == 1 && described.front().onScreen;
    };
    manager.mark(window.id(), "_NET_WM_DESKTOP", 3);
    EXPECT_TRUE(onScreen());
    manager.composite();
    EXPECT_FALSE(onScreen());
    manager.mark(window.id(), "_NET_WM_DESKTOP", 0xFFFFFFFF);
    EXPECT_TRUE(onScreen()) << "on every desktop";
    manager.mark(window.id(), "_NET_WM_DESKTOP", 3);
    manager.mark(window.id(), "_NET_WM_STATE", desktop.link().atom("_NET_WM_STATE_STICKY"));
    EXPECT_TRUE(onScreen()) << "on every desktop";
    manager.mark(window.id(), "_NET_WM_STATE", 0);
    manager.mark(window.id(), "_NET_WM_DESKTOP", 0);
    EXPECT_TRUE(onScreen());
    // A compositor that is a program of its own hides nothing.
    manager.mark(window.id(), "_NET_WM_DESKTOP", 3);
    PaintedWindow other(desktop.display(), {.managed = false});
    xcb_set_selection_owner(desktop.link().xcb(), other.id(), desktop.link().atom("_NET_WM_CM_S0"),
                            XCB_CURRENT_TIME);
    EXPECT_TRUE(onScreen());
}

TEST_F(X11WindowListTest, windowsNobodyManagesAreNotListed) {
    X11Adapters adapters(desktop());
    const auto popup = paint({.managed = false});
    EXPECT_EQ(adapters.windowList->onScreenWindows(), std::vector<WindowInfo>{});
}

} // namespace
} // namespace kelvane
