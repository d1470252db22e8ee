// A clock that moves only when a test or a sleep on it moves it.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/clock.h"

#include <chrono>
#include <deque>
#include <functional>
#include <vector>

namespace kelvane {

class FakeClock : public Clock {
public:
    explicit FakeClock(Journal& journal) : m_journal(journal) {}

    Instant time{0};
    /// Called after each sleep has moved the time: the moment at which a test lets things happen.
    std::function<void(Instant)> onSleep;
    /// How the coming sleeps end, first one first; `Elapsed` once they are used up. A sleep that
    /// does not elapse does not move the time.
    std::deque<SleepEnd> sleepEnds;
    std::vector<std::chrono::nanoseconds> sleeps; ///< All that were asked for.

    Instant now() override { return time; }
    SleepEnd sleep(std::chrono::nanoseconds duration) override;

private:
    Journal& m_journal;
};

} // namespace kelvane
