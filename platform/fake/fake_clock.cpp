#include "platform/fake/fake_clock.h"

#include <algorithm>
#include <string>

namespace kelvane {

SleepEnd FakeClock::sleep(std::chrono::nanoseconds duration) {
    m_journal.add("sleep " + std::to_string(duration.count()) + "ns");
    sleeps.push_back(duration);
    SleepEnd end = SleepEnd::Elapsed;
    if (!sleepEnds.empty()) {
        end = sleepEnds.front();
        sleepEnds.pop_front();
    }
    if (end == SleepEnd::Elapsed) time += std::max(duration, std::chrono::nanoseconds::zero());
    if (onSleep) onSleep(time);
    return end;
}

} // namespace kelvane
