#include "service/store/clock_trust.h"

#include <algorithm>

namespace trevix {

ClockTrust afterReading(ClockTrust trust, std::int64_t nowMs) {
    // No leap, or a step back, which makes nothing older than it was: either ends a doubt.
    if (nowMs - trust.believedMs <= ClockTrust::kLongestStepMs) {
        return {std::max(trust.believedMs, nowMs), std::nullopt};
    }
    // A doubted time is stood by only if the clock went on from there. One that jumps again, or
    // back, begins its probation anew with what it says now.
    const bool goesOn = trust.doubted && nowMs >= trust.doubted->firstMs &&
                        nowMs - trust.doubted->lastMs <= ClockTrust::kLongestStepMs;
    if (!goesOn) {
        trust.doubted = ClockTrust::Doubted{nowMs, nowMs};
        return trust;
    }
    trust.doubted->lastMs = std::max(trust.doubted->lastMs, nowMs);
    if (nowMs - trust.doubted->firstMs >= ClockTrust::kProbationMs) return {nowMs, std::nullopt};
    return trust;
}

} // namespace trevix
