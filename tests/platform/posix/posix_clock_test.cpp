#include "platform/ports/quit_signal.h"
#include "platform/posix/posix_platform.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <future>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

TEST(PosixClock, QuittingWakesAThreadThatSleeps) {
    QuitSignal quit;
    const auto clock = makePosixClock(quit);
    auto sleeping = std::async(std::launch::async, [&] { return clock->sleep(1h); });
    EXPECT_EQ(sleeping.wait_for(3ms), std::future_status::timeout);
    quit.raise();
    EXPECT_EQ(sleeping.get(), SleepEnd::Quitting);
}

TEST(PosixClock, TellsTimeAfterTheQuit) {
    QuitSignal quit;
    const auto clock = makePosixClock(quit);
    const auto before = clock->now();
    quit.raise();
    EXPECT_GE(clock->now(), before);
}

#ifdef CLOCK_BOOTTIME
TEST(PosixClock, CountsTheMachinesSleep) {
    QuitSignal quit;
    const auto clock = makePosixClock(quit);
    const auto read = [] {
        timespec time{};
        clock_gettime(CLOCK_BOOTTIME, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    };
    const auto before = read();
    const auto now = clock->now();
    EXPECT_LE(before, now);
    EXPECT_LE(now, read());
}
#endif

} // namespace
} // namespace kelvane
