// Whether the machine's clock can be believed about the age of things.
//
// A clock may leap: a battery is empty, a virtual machine wakes up, somebody tries another year.
// What is forgotten for its age because of that does not come back when the clock does. So a time
// far beyond the newest that was believed is believed only when the clock has stood by it for a
// week: it was read at least that long after it was first read, in steps that are no leaps
// themselves. A machine that was off for so long waits a week with forgetting. A time before the
// newest that was believed makes nothing older and is passed over. Pure; any thread.

#pragma once

#include <cstdint>
#include <optional>

namespace trevix {

/// What is remembered of the clock. Times in milliseconds since 1970, UTC.
struct ClockTrust {
    /// A believed time and the next may be so far apart: who uses the service once a month is not
    /// taken for a leap. A leap of less than that makes things seem older by no more.
    static constexpr std::int64_t kLongestStepMs = std::int64_t{31} * 24 * 60 * 60 * 1000;
    /// So long a clock must stand by a time that it leapt to.
    static constexpr std::int64_t kProbationMs = std::int64_t{7} * 24 * 60 * 60 * 1000;

    struct Doubted {
        std::int64_t firstMs = 0;
        std::int64_t lastMs = 0;

        bool operator==(const Doubted&) const = default;
    };

    std::int64_t believedMs = 0;    ///< The newest time that was believed.
    std::optional<Doubted> doubted; ///< What the clock has said since it leapt.

    bool operator==(const ClockTrust&) const = default;
};

/// What is remembered once the clock has been read. It is to be believed when `believedMs` is not
/// before `nowMs`.
[[nodiscard]] ClockTrust afterReading(ClockTrust trust, std::int64_t nowMs);

} // namespace trevix
