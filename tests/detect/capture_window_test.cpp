// The steps that a capture is made of: waiting for the application, and choosing its window.

#include "detect/capture.h"
#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

constexpr ProcessId kPid = 42;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// --- waiting -------------------------------------------------------------------------------------

class WaitFrontmostTest : public testing::Test {
protected:
    WaitFrontmostTest() {
        fake.workspace.running = {{.bundleId = "a", .name = "a", .pid = 7},
                                  {.bundleId = "b", .name = "b", .pid = kPid}};
        fake.workspace.front = 7;
    }

    bool wait() { return Capture::waitFrontmost(fake.workspace, fake.clock, kPid); }

    FakePlatform fake;
};

TEST_F(WaitFrontmostTest, Timing) {
    struct Case {
        std::chrono::milliseconds arrives;
        std::size_t sleeps;
        bool reached;
    };
    for (const auto& test : std::vector<Case>{
             {0ms, 0, true},     // in front at once: no sleep at all
             {1ms, 1, true},     // seen at the next look
             {40ms, 1, true},    // on time for that look
             {41ms, 2, true},    //
             {680ms, 17, true},  // the last look before the deadline
             {700ms, 18, true},  // seen by the one more look after it
             {720ms, 18, true},  // that look is at 720 ms, since sleeps are whole
             {721ms, 18, false}, // never seen
         }) {
        FakeClock clock(fake.journal);
        clock.time = 5s; // a start other than zero
        fake.workspace.front = test.arrives == 0ms ? kPid : 7;
        clock.onSleep = [&](Instant now) {
            if (now - 5s >= test.arrives) fake.workspace.front = kPid;
        };
        EXPECT_EQ(Capture::waitFrontmost(fake.workspace, clock, kPid), test.reached)
            << test.arrives.count() << " ms";
        EXPECT_EQ(clock.sleeps, std::vector<std::chrono::nanoseconds>(test.sleeps, 40ms))
            << test.arrives.count() << " ms";
    }
}

/// Its first look takes a while.
class SlowWorkspace : public FakeWorkspace {
public:
    SlowWorkspace(Journal& journal, FakeClock& clock, std::chrono::nanoseconds firstLook)
        : FakeWorkspace(journal),
          m_clock(clock),
          m_firstLook(firstLook) {}

    std::optional<RunningApp> frontmost() override {
        if (++looks == 1) m_clock.time += m_firstLook;
        return FakeWorkspace::frontmost();
    }

    int looks = 0;

private:
    FakeClock& m_clock;
    std::chrono::nanoseconds m_firstLook;
};

TEST_F(WaitFrontmostTest, AtExactlyTheDeadlineItLooksOnceMoreAndDoesNotSleep) {
    for (const bool arrives : {true, false}) {
        FakeClock clock(fake.journal);
        SlowWorkspace slow(fake.journal, clock, 660ms);
        slow.running = fake.workspace.running;
        slow.front = 7;
        clock.onSleep = [&](Instant now) {
            EXPECT_EQ(now, 700ms);
            if (arrives) slow.front = kPid;
        };
        EXPECT_EQ(Capture::waitFrontmost(slow, clock, kPid), arrives);
        EXPECT_EQ(slow.looks, 2);
        EXPECT_EQ(clock.sleeps.size(), 1U);
    }
}

TEST_F(WaitFrontmostTest, JustBeforeTheDeadlineItStillSleeps) {
    FakeClock clock(fake.journal);
    SlowWorkspace slow(fake.journal, clock, 660ms - 1ns);
    slow.running = fake.workspace.running;
    slow.front = 7;
    EXPECT_FALSE(Capture::waitFrontmost(slow, clock, kPid));
    EXPECT_EQ(slow.looks, 3);
    EXPECT_EQ(clock.sleeps.size(), 2U);
}

TEST_F(WaitFrontmostTest, NoFrontmostApplicationIsNotIt) {
    fake.workspace.front = std::nullopt;
    EXPECT_FALSE(wait());
    EXPECT_EQ(fake.clock.sleeps.size(), 18U);
}

TEST_F(WaitFrontmostTest, QuittingEndsItAtOnce) {
    fake.clock.sleepEnds = {SleepEnd::Quitting};
    // It would be in front at the next look, which does not come.
    fake.clock.onSleep = [this](Instant) { fake.workspace.front = kPid; };
    EXPECT_FALSE(wait());
    EXPECT_EQ(fake.clock.sleeps.size(), 1U);
}

TEST_F(WaitFrontmostTest, SleepCutShortOnlyLooksEarlier) {
    fake.clock.sleepEnds = {SleepEnd::Cancelled};
    fake.clock.onSleep = [this](Instant) { fake.workspace.front = kPid; };
    EXPECT_TRUE(wait());
    EXPECT_EQ(fake.clock.time, 0ns);
}

// --- area ----------------------------------------------------------------------------------------

TEST(WindowArea, OfBounds) {
    struct Case {
        std::optional<WindowBounds> bounds;
        double area;
    };
    for (const auto& test : std::vector<Case>{
             {WindowBounds{.width = 20, .height = 30}, 600},
             {WindowBounds{.width = 0.5, .height = 0.5}, 0.25},
             {WindowBounds{.width = 0, .height = 30}, 0},
             {WindowBounds{.width = 20, .height = std::nullopt}, 0},
             {WindowBounds{.width = std::nullopt, .height = 30}, 0},
             {WindowBounds{}, 0},
             {std::nullopt, 0},
             {WindowBounds{.width = -20, .height = 30}, -600},
             {WindowBounds{.width = 20, .height = -30}, -600},
             {WindowBounds{.width = -20, .height = -30}, 600},
             {WindowBounds{.width = kNan, .height = 30}, 0},
             {WindowBounds{.width = 20, .height = kNan}, 0},
             {WindowBounds{.width = kInfinity, .height = 30}, 0},
             {WindowBounds{.width = kInfinity, .height = 0}, 0},
         }) {
        WindowInfo info{.ownerPid = kPid, .layer = 0, .bounds = test.bounds, .number = 1};
        EXPECT_EQ(Capture::area(info), test.area);
    }
}

// --- choosing ------------------------------------------------------------------------------------

WindowInfo window(double width, double height, std::int64_t number) {
    return {.ownerPid = kPid,
            .layer = 0,
            .bounds = WindowBounds{.width = width, .height = height},
            .number = number};
}

class FrontWindowTest : public testing::Test {
protected:
    /// The number of the window that is pictured; nothing when none is.
    std::optional<std::int64_t> chosen(const std::optional<std::vector<WindowInfo>>& windows) {
        fake.windows.windows = windows;
        fake.picture.pictures.clear();
        for (std::int64_t n = -1; n < 20; ++n) fake.picture.pictures[n] = std::to_string(n);
        const auto png = Capture::frontWindowPNG(fake.windows, fake.picture, kPid);
        if (!png) return std::nullopt;
        return std::stoll(*png);
    }

    FakePlatform fake;
};

TEST_F(FrontWindowTest, NoListNoPicture) {
    EXPECT_EQ(chosen(std::nullopt), std::nullopt);
    EXPECT_EQ(fake.journal.count("picture"), 0U);
}

TEST_F(FrontWindowTest, NoWindowNoPicture) {
    EXPECT_EQ(chosen(std::vector<WindowInfo>{}), std::nullopt);
    EXPECT_EQ(fake.journal.count("picture"), 0U);
}

TEST_F(FrontWindowTest, LargestWins) {
    EXPECT_EQ(chosen({{window(10, 10, 1), window(20, 20, 2), window(15, 15, 3)}}), 2);
}

TEST_F(FrontWindowTest, AmongEquallyLargeTheEarliestWins) {
    EXPECT_EQ(chosen({{window(20, 20, 1), window(40, 10, 2), window(10, 40, 3)}}), 1);
    EXPECT_EQ(chosen({{window(1, 1, 1), window(20, 20, 2), window(20, 20, 3)}}), 2);
}

TEST_F(FrontWindowTest, OthersWindowsAndOtherLayersDoNotCount) {
    auto other = window(1000, 1000, 1);
    other.ownerPid = kPid + 1;
    auto panel = window(1000, 1000, 2);
    panel.layer = 25;
    auto below = window(1000, 1000, 3);
    below.layer = -1;
    EXPECT_EQ(chosen({{other, panel, below, window(1, 1, 4)}}), 4);
    EXPECT_EQ(chosen({{other, panel, below}}), std::nullopt);
}

TEST_F(FrontWindowTest, EntriesWithoutOwnerOrLayerAreSkipped) {
    auto ownerless = window(1000, 1000, 1);
    ownerless.ownerPid = std::nullopt;
    auto layerless = window(1000, 1000, 2);
    layerless.layer = std::nullopt;
    EXPECT_EQ(chosen({{ownerless, layerless, window(1, 1, 3)}}), 3);
    EXPECT_EQ(chosen({{ownerless, layerless}}), std::nullopt);
}

TEST_F(FrontWindowTest, WindowWithoutBoundsIsTheLastChoiceButAChoice) {
    auto boundless = window(0, 0, 1);
    boundless.bounds = std::nullopt;
    EXPECT_EQ(chosen({{boundless, window(1, 1, 2)}}), 2);
    EXPECT_EQ(chosen({{boundless, window(0, 0, 2)}}), 1);
    EXPECT_EQ(chosen({{boundless}}), 1);
}

TEST_F(FrontWindowTest, SizesThatAreNoneDoNotWin) {
    EXPECT_EQ(chosen({{window(kNan, kNan, 1), window(5, 5, 2)}}), 2);
    EXPECT_EQ(chosen({{window(5, 5, 2), window(kNan, 9, 1)}}), 2);
    EXPECT_EQ(chosen({{window(-100, 100, 1), window(5, 5, 2)}}), 2);
    EXPECT_EQ(chosen({{window(kInfinity, 1, 1), window(5, 5, 2)}}), 2);
}

TEST_F(FrontWindowTest, LargestWithoutANumberIsNoPictureAtAll) {
    auto unnumbered = window(20, 20, 1);
    unnumbered.number = std::nullopt;
    EXPECT_EQ(chosen({{window(10, 10, 2), unnumbered}}), std::nullopt);
    EXPECT_EQ(fake.journal.count("picture"), 0U);
    EXPECT_EQ(chosen({{window(30, 30, 2), unnumbered}}), 2);
}

TEST_F(FrontWindowTest, PictureThatFailsIsAbsent) {
    EXPECT_EQ(chosen({{window(10, 10, 999)}}), std::nullopt);
    EXPECT_EQ(fake.journal.count("picture 999"), 1U);
}

TEST_F(FrontWindowTest, OnePictureOfOneWindow) {
    EXPECT_EQ(chosen({{window(10, 10, 1), window(20, 20, 2)}}), 2);
    EXPECT_EQ(fake.journal.entries(), (std::vector<std::string>{"windows", "picture 2"}));
}

} // namespace
} // namespace kelvane
