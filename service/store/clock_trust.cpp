#include "service/store/clock_trust.h"

#include <algorithm>

namespace trevix {

ClockTrust afterReading(ClockTrust trust, std::int64_t nowMs) {
    if (nowMs - trust.believedMs <= ClockTrust::kLongestStepMs) {
        return {std::max(trust.believedMs, nowMs), std::nullopt};
    }
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
