// Whether the service has had nothing to do for long enough to end.
//
// Pure; one thread.

#pragma once

#include <chrono>
#include <cstdint>

namespace trevix {

class IdleWatch {
public:
    using Instant = std::chrono::steady_clock::time_point;

    /// The wait begins at `now`, the service's start.
    IdleWatch(std::chrono::seconds limit, Instant now) : m_limit(limit), m_since(now) {}

    /// Looked at again and again: whether for the whole limit no connection has come (`taken`
    /// counts them) and no work was there at any of the looks.
    [[nodiscard]] bool isOver(Instant now, std::uint64_t taken, bool hasWork) {
        if (hasWork || taken != m_taken) {
            m_taken = taken;
            m_since = now;
        }
        return now - m_since >= m_limit;
    }

    /// Something was going on after all: the wait begins anew.
    void restart(Instant now) { m_since = now; }

    /// How often to look: often enough that the end comes at most a quarter late, and once a second
    /// at the most rare.
    [[nodiscard]] std::chrono::milliseconds period() const {
        const auto quarter = std::chrono::milliseconds(m_limit) / 4;
        return quarter < std::chrono::seconds(1) ? quarter : std::chrono::seconds(1);
    }

private:
    std::chrono::seconds m_limit;
    Instant m_since;
    std::uint64_t m_taken = 0;
};

} // namespace trevix
