// The time, and a wait that can be ended.
//
// Every wait of the program goes through here, so that tests move time instead of spending it and
// so that quitting ends each wait at once.

#pragma once

#include <chrono>

namespace kelvane {

/// Time since some fixed moment. It never goes back, and it goes on while the machine sleeps, so
/// differences are what a clock on the wall would show.
using Instant = std::chrono::nanoseconds;

enum class SleepEnd {
    Elapsed,   ///< The whole time passed.
    Cancelled, ///< Something ended the wait early; the caller simply goes on.
    Quitting,  ///< The program is ending: return without doing more.
};

class Clock {
public:
    virtual ~Clock() = default;

    [[nodiscard]] virtual Instant now() = 0;

    /// Blocks the calling thread for `duration`, or less when the program quits. Any thread.
    virtual SleepEnd sleep(std::chrono::nanoseconds duration) = 0;
};

} // namespace kelvane
