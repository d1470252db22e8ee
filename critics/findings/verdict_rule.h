// How do findings become a score and a band?
//
// One rule for every kind of work:
//   - Each finding costs points by severity: critical 0.50, high 0.20, medium 0.08, low 0.02. Of
//     several findings of one rule the first costs all of it and each further one half of the one
//     before, so that one habit repeated a hundred times does not outweigh everything else. Where
//     one rule finds things of different severity, its findings count heaviest first, the n-th one
//     at its own points halved n - 1 times; the order they arrive in never matters.
//   - The score is 1 minus the sum, never below 0, rounded to two decimals, halves upwards. It is
//     worked out in whole numbers (hundredths with 32 binary places), so that no boundary depends
//     on how a decimal fraction is stored.
//   - The band goes by that rounded score: `block` with any critical finding; else `quarantine`
//     below 0.50; else `route_to_fix` with any high finding or below 0.85; else `ship`.

#pragma once

#include "critics/findings/finding.h"

#include <string_view>
#include <vector>

namespace trevix {

struct Judgement {
    double score = 1.0;
    std::string_view band = "ship"; ///< One of the four names above.

    bool operator==(const Judgement&) const = default;
};

[[nodiscard]] Judgement judge(const std::vector<Finding>& findings);

} // namespace trevix
