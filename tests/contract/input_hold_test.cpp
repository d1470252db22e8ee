// A hold on the keys and clicks of a real X server.

#include "platform/fake/fake_input_hold.h"
#include "platform/linux/x11/x11_input_hold.h"
#include "tests/platform/linux/virtual_desktop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <xcb/xtest.h>

namespace kelvane {
namespace {

constexpr std::uint8_t kSomeKey = 38; // The A of most keyboards.
const std::vector<KeyStroke> kStrokes{{kSomeKey, true}, {kSomeKey, false}};

/// A bare server with a window that has the keyboard and lies under the pointer.
class X11InputHoldTest : public testing::Test {
protected:
    X11InputHoldTest() {
        auto& x = desktop.link();
        window = xcb_generate_id(x.xcb());
        const std::uint32_t wanted = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_BUTTON_PRESS;
        xcb_create_window(x.xcb(), XCB_COPY_FROM_PARENT, window, x.root(), 0, 0, 1600, 1000, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                          &wanted);
        xcb_map_window(x.xcb(), window);
        xcb_set_input_focus(x.xcb(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
        x.roundTrip();
    }

    void stroke(std::uint8_t key) { input(XCB_KEY_PRESS, XCB_KEY_RELEASE, key); }
    void click() { input(XCB_BUTTON_PRESS, XCB_BUTTON_RELEASE, 1); }
    void input(std::uint8_t press, std::uint8_t release, std::uint8_t detail) {
        auto& x = desktop.link();
        for (const std::uint8_t type : {press, release}) {
            xcb_test_fake_input(x.xcb(), type, detail, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
        }
        x.roundTrip();
    }

    /// What the window has been told since the last time.
    struct Heard {
        int keys = 0;
        int clicks = 0;
        bool operator==(const Heard&) const = default;
    };
    Heard heard() {
        desktop.link().roundTrip();
        Heard all;
        while (
            const XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(desktop.link().xcb())}) {
            const int type = event->response_type & 0x7f;
            all.keys += type == XCB_KEY_PRESS ? 1 : 0;
            all.clicks += type == XCB_BUTTON_PRESS ? 1 : 0;
        }
        return all;
    }

    Journal journal;
    VirtualDesktop desktop{{.windowManager = false, .sessionBus = false}};
    xcb_window_t window = XCB_WINDOW_NONE;
    X11InputHold held = makeX11InputHold(desktop.display());
};

TEST_F(X11InputHoldTest, KeysAndClicksReachNobodyWhileItLasts) {
    stroke(kSomeKey);
    click();
    EXPECT_EQ(heard(), (Heard{1, 1}));
    held.hold->start();
    held.hold->start();
    stroke(kSomeKey);
    click();
    EXPECT_EQ(heard(), (Heard{0, 0}));
    held.hold->stop();
    stroke(kSomeKey);
    click();
    EXPECT_EQ(heard(), (Heard{1, 1})) << "at once, and what was held is lost";
}

TEST_F(X11InputHoldTest, TheCopyKeyArrivesAllTheSame) {
    EXPECT_FALSE(held.post(kStrokes)) << "without a hold there is the usual way";
    EXPECT_EQ(heard(), (Heard{0, 0}));
    held.hold->start();
    EXPECT_TRUE(held.post(kStrokes));
    EXPECT_EQ(heard(), (Heard{1, 0}));
    stroke(kSomeKey);
    click();
    EXPECT_EQ(heard(), (Heard{0, 0})) << "the hold goes on";
}

TEST_F(X11InputHoldTest, AButtonThatIsDownWhenItStartsIsHeldBackFromTheCopyOn) {
    auto& x = desktop.link();
    xcb_test_fake_input(x.xcb(), XCB_BUTTON_PRESS, 1, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    x.roundTrip();
    held.hold->start();
    xcb_test_fake_input(x.xcb(), XCB_BUTTON_RELEASE, 1, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
    x.roundTrip();
    held.post(kStrokes);
    (void)heard();
    click();
    EXPECT_EQ(heard().clicks, 0);
}

TEST_F(X11InputHoldTest, TellsWhereTheKeyboardIs) {
    EXPECT_TRUE(held.hold->keyboardIsAt(1)) << "nothing is told without a hold";
    held.hold->start();
    EXPECT_TRUE(held.hold->keyboardIsAt(window));
    EXPECT_FALSE(held.hold->keyboardIsAt(window + 1));
}

TEST_F(X11InputHoldTest, OnAServerThatIsGoneItDoesNothing) {
    held.hold->start();
    desktop.killServer();
    EXPECT_FALSE(held.hold->keyboardIsAt(window));
    held.post(kStrokes);
    held.hold->stop();
    held.hold->start();
    EXPECT_TRUE(held.hold->keyboardIsAt(window));
}

TEST_F(X11InputHoldTest, WhatIsTypedMeanwhileGetsInNowhereBesideTheCopyKey) {
    held.hold->start();
    std::atomic<bool> typing{true};
    std::thread typist([&] {
        const auto link = X11Connection::open(desktop.display());
        while (typing) {
            for (const std::uint8_t type :
                 {std::uint8_t{XCB_KEY_PRESS}, std::uint8_t{XCB_KEY_RELEASE}}) {
                xcb_test_fake_input(link->xcb(), type, kSomeKey + 1, XCB_CURRENT_TIME,
                                    XCB_WINDOW_NONE, 0, 0, 0);
            }
            link->roundTrip();
        }
    });
    constexpr int kCopies = 300;
    for (int i = 0; i < kCopies; ++i) held.post(kStrokes);
    typing = false;
    typist.join();
    EXPECT_EQ(heard().keys, kCopies);
}

TEST(X11InputHoldWithoutADisplay, HoldsNothingAndPostsNothing) {
    const auto held = makeX11InputHold("");
    held.hold->start();
    EXPECT_TRUE(held.hold->keyboardIsAt(1));
    EXPECT_FALSE(held.post(kStrokes));
    held.hold->stop();
}

TEST(FakeInputHold, WritesDownWhatChanges) {
    Journal journal;
    FakeInputHold hold(journal);
    hold.stop();
    hold.start();
    hold.start();
    EXPECT_TRUE(hold.holds());
    hold.keyboardAt = 5;
    EXPECT_TRUE(hold.keyboardIsAt(5));
    EXPECT_FALSE(hold.keyboardIsAt(6));
    hold.stop();
    EXPECT_EQ(journal.entries(), (std::vector<std::string>{"hold input", "let input go"}));
}

} // namespace
} // namespace kelvane
