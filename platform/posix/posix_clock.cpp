#include "platform/ports/quit_signal.h"
#include "platform/posix/posix_platform.h"

#include <ctime>

namespace kelvane {

namespace {

#ifdef CLOCK_BOOTTIME
// It goes on while the machine sleeps, as the deadlines of people do.
constexpr clockid_t kClock = CLOCK_BOOTTIME;
#else
constexpr clockid_t kClock = CLOCK_MONOTONIC; // goes on in the machine's sleep on macOS
#endif

class PosixClock : public Clock {
public:
    explicit PosixClock(QuitSignal& quit) : m_quit(quit) {}

    Instant now() override {
        timespec time{};
        clock_gettime(kClock, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }

    SleepEnd sleep(std::chrono::nanoseconds duration) override {
        return m_quit.waitFor(duration) ? SleepEnd::Quitting : SleepEnd::Elapsed;
    }

private:
    QuitSignal& m_quit;
};

} // namespace

std::unique_ptr<Clock> makePosixClock(QuitSignal& quit) {
    return std::make_unique<PosixClock>(quit);
}

} // namespace kelvane
