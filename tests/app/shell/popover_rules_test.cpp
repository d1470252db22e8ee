#include "app/shell/popover_rules.h"

#include <gtest/gtest.h>

#include <ostream>

namespace kelvane {

void PrintTo(const Point& point, std::ostream* out) {
    *out << point.x << ',' << point.y;
}

namespace {

using namespace std::chrono_literals;

constexpr Size kPanel{360, 500};
const Screen kTopBar{{0, 0, 1600, 1000}, {0, 28, 1600, 972}};
const Screen kBottomBar{{0, 0, 1600, 1000}, {0, 0, 1600, 972}};
const Screen kLeftBar{{0, 0, 1600, 1000}, {48, 0, 1552, 1000}};
const Screen kRightBar{{0, 0, 1600, 1000}, {0, 0, 1552, 1000}};
const Screen kBare{{0, 0, 1600, 1000}, {}};

TEST(PopoverPlaceTest, Table) {
    const Screen leftOf{{-1280, 0, 1280, 1024}, {-1280, 0, 1280, 1024}};
    const Screen below{{0, 1000, 1600, 1000}, {0, 1000, 1600, 1000}};
    const struct {
        const char* name;
        PopoverBeside beside;
        Size size;
        std::vector<Screen> screens;
        Point expected;
    } cases[] = {
        {"under an item in a top bar, centred",
         {Rect{800, 1, 22, 26}, {}},
         kPanel,
         {kTopBar},
         {631, 32}},
        {"kept inside at the right edge",
         {Rect{1577, 1, 22, 26}, {}},
         kPanel,
         {kTopBar},
         {1236, 32}},
        {"kept inside at the left edge", {Rect{0, 1, 22, 26}, {}}, kPanel, {kTopBar}, {4, 32}},
        {"above an item in a bottom bar",
         {Rect{800, 973, 22, 26}, {}},
         kPanel,
         {kBottomBar},
         {631, 468}},
        {"right of a bar on the left", {Rect{10, 500, 30, 30}, {}}, kPanel, {kLeftBar}, {52, 265}},
        {"left of a bar on the right",
         {Rect{1560, 500, 30, 30}, {}},
         kPanel,
         {kRightBar},
         {1188, 265}},
        {"a bar the system tells nothing of",
         {Rect{1577, 1, 22, 26}, {}},
         kPanel,
         {kBare},
         {1236, 31}},
        {"an item without area counts for nothing",
         {Rect{5, 5, 0, 0}, Point{900, 990}},
         kPanel,
         {kBottomBar},
         {720, 468}},
        {"an item on no screen counts for nothing",
         {Rect{9000, 5, 22, 22}, {}},
         kPanel,
         {kTopBar},
         {1236, 32}},
        {"the pointer in a top bar", {{}, Point{1500, 14}}, kPanel, {kTopBar}, {1236, 32}},
        {"the pointer in a bottom bar", {{}, Point{800, 990}}, kPanel, {kBottomBar}, {620, 468}},
        {"a pointer on no screen counts for nothing",
         {{}, Point{-5, -5}},
         kPanel,
         {kTopBar},
         {1236, 32}},
        {"nothing: the corner", {}, kPanel, {kTopBar}, {1236, 32}},
        {"nothing: the corner of the first screen", {}, kPanel, {leftOf, kTopBar}, {-364, 4}},
        {"an item on the second screen",
         {Rect{-100, 0, 24, 24}, {}},
         kPanel,
         {kTopBar, leftOf},
         {-364, 28}},
        {"stacked screens: the lower one's upper half",
         {Rect{800, 1001, 22, 22}, {}},
         kPanel,
         {kBare, below},
         {631, 1027}},
        {"larger than the screen: its top left corner shows",
         {Rect{800, 1, 22, 26}, {}},
         {2000, 3000},
         {kTopBar},
         {4, 32}},
        {"no screen at all", {Rect{1, 1, 22, 22}, Point{1, 1}}, kPanel, {}, {0, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(popoverPlace(c.beside, c.size, c.screens), c.expected);
    }
}

TEST(PopoverPlaceTest, WhateverTheItemThePanelStaysOnItsScreen) {
    for (const auto& screen : {kTopBar, kBottomBar, kLeftBar, kRightBar, kBare}) {
        for (int x = 0; x < 1600; x += 37) {
            for (int y = 0; y < 1000; y += 41) {
                const auto [left, top] = popoverPlace({Rect{x, y, 22, 22}, {}}, kPanel, {screen});
                ASSERT_TRUE(left >= 0 && left + kPanel.width <= 1600 && top >= 0 &&
                            top + kPanel.height <= 1000)
                    << x << ',' << y;
            }
        }
    }
}

TEST(PopoverRoomTest, IsWhatTheBarsLeaveOfTheScreenThatItStandsOn) {
    const Screen small{{1600, 0, 1024, 600}, {1600, 28, 1024, 572}};
    EXPECT_EQ(popoverRoom({Rect{1000, 2, 22, 22}, {}}, {kTopBar, small}),
              kTopBar.available.height - 2 * kPopoverGap);
    EXPECT_EQ(popoverRoom({Rect{2500, 2, 22, 22}, {}}, {kTopBar, small}), 572 - 2 * kPopoverGap);
    EXPECT_EQ(popoverRoom({{}, Point{2500, 2}}, {kTopBar, small}), 572 - 2 * kPopoverGap);
    EXPECT_EQ(popoverRoom({}, {small, kTopBar}), 572 - 2 * kPopoverGap) << "the first one";
    EXPECT_EQ(popoverRoom({}, {}), 0);
    EXPECT_EQ(popoverRoom({}, {{{0, 0, 4, 4}, {}}}), 1) << "never nothing, which means any height";
}

TEST(SameClickTest, Table) {
    const struct {
        const char* name;
        std::optional<PointerMoment> closing;
        PointerMoment now;
        bool expected;
    } cases[] = {
        {"never closed", std::nullopt, {1s, {5, 5}}, false},
        {"the same moment", PointerMoment{1s, {5, 5}}, {1s, {5, 5}}, true},
        {"the button went up", PointerMoment{1s, {5, 5}}, {1s + 120ms, {7, 4}}, true},
        {"a later click", PointerMoment{1s, {5, 5}}, {1s + 501ms, {5, 5}}, false},
        {"a click elsewhere", PointerMoment{1s, {5, 5}}, {1s + 120ms, {5, 14}}, false},
        {"a clock that went back", PointerMoment{2s, {5, 5}}, {1s, {5, 5}}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(isSameClick(c.closing, c.now), c.expected);
    }
}

TEST(KeyboardGone, OnlyALoanThatIsToldLateIsWaitedFor) {
    using enum KeyboardGone;
    struct Case {
        const char* what;
        KeyboardLoan loan;
        KeyboardGone expected;
    };
    const Case cases[] = {
        {"before any grade", {}, Closes},
        {"lent, and that is told", {.lent = true, .told = false, .sinceItsEnd = {}}, Stays},
        {"lent, and it goes once more", {.lent = true, .told = true, .sinceItsEnd = 1s}, Stays},
        {"back, and only now told",
         {.lent = false, .told = false, .sinceItsEnd = 1ms},
         ClosesIfItLasts},
        {"at the last moment",
         {.lent = false, .told = false, .sinceItsEnd = kLateNews},
         ClosesIfItLasts},
        {"long after", {.lent = false, .told = false, .sinceItsEnd = kLateNews + 1ms}, Closes},
        {"told in time, then gone", {.lent = false, .told = true, .sinceItsEnd = 1ms}, Closes},
    };
    for (const auto& c : cases) EXPECT_EQ(keyboardGone(c.loan), c.expected) << c.what;
}

} // namespace
} // namespace kelvane
