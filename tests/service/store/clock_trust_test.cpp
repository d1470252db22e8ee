#include "service/store/clock_trust.h"

#include <gtest/gtest.h>

#include <ostream>

namespace trevix {

// NOLINTNEXTLINE(readability-identifier-naming): the name that GoogleTest looks for
void PrintTo(const ClockTrust& trust, std::ostream* out) {
    *out << "believed " << trust.believedMs;
    if (trust.doubted) *out << ", " << trust.doubted->firstMs << " to " << trust.doubted->lastMs;
}

namespace {

constexpr std::int64_t kDay = std::int64_t{24} * 60 * 60 * 1000;
constexpr std::int64_t kNow = 20'000 * kDay;

ClockTrust believed(std::int64_t ms) {
    return {ms, std::nullopt};
}

TEST(ClockTrust, OrdinaryStepsAreBelieved) {
    EXPECT_EQ(afterReading(believed(kNow), kNow + 1), believed(kNow + 1));
    EXPECT_EQ(afterReading(believed(kNow), kNow + 31 * kDay), believed(kNow + 31 * kDay));
    EXPECT_EQ(afterReading(believed(kNow), kNow - 900 * kDay), believed(kNow))
        << "an earlier time makes nothing older";
}

TEST(ClockTrust, ALeapIsDoubtedAndForgottenWhenTheClockIsBack) {
    const ClockTrust leapt = afterReading(believed(kNow), kNow + 730 * kDay);
    EXPECT_EQ(leapt, (ClockTrust{kNow, {{kNow + 730 * kDay, kNow + 730 * kDay}}}));
    EXPECT_EQ(afterReading(leapt, kNow + kDay), believed(kNow + kDay));
}

TEST(ClockTrust, AClockThatStandsByItForAWeekIsBelieved) {
    const std::int64_t later = kNow + 400 * kDay; // The machine was off.
    ClockTrust trust = believed(kNow);
    for (int day = 0; day < 7; ++day) {
        trust = afterReading(trust, later + day * kDay);
        EXPECT_EQ(trust.believedMs, kNow) << day;
    }
    EXPECT_EQ(afterReading(trust, later + 7 * kDay), believed(later + 7 * kDay));
}

TEST(ClockTrust, LeapsAfterLeapsAreNoWeek) {
    ClockTrust trust = afterReading(believed(kNow), kNow + 400 * kDay);
    trust = afterReading(trust, kNow + 800 * kDay);
    EXPECT_EQ(trust, (ClockTrust{kNow, {{kNow + 800 * kDay, kNow + 800 * kDay}}}));
    trust = afterReading(trust, kNow + 790 * kDay);
    EXPECT_EQ(trust, (ClockTrust{kNow, {{kNow + 790 * kDay, kNow + 790 * kDay}}}));
}

} // namespace
} // namespace trevix
