// The rule that turns findings into a score and a band, one for every kind of work:
//
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
//
// Pure; any thread.

#pragma once

#include "critics/findings/finding.h"

#include <optional>
#include <string_view>
#include <vector>

namespace trevix {

enum class Band { ship, route_to_fix, quarantine, block };

/// The band as answers, the run store and reports name it: "ship", "route_to_fix", "quarantine" or
/// "block".
[[nodiscard]] std::string_view name(Band band);

/// The band with exactly this name, or nothing.
[[nodiscard]] std::optional<Band> bandNamed(std::string_view name);

struct Judgement {
    double score = 1.0;
    Band band = Band::ship;

    bool operator==(const Judgement&) const = default;
};

[[nodiscard]] Judgement judge(const std::vector<Finding>& findings);

} // namespace trevix
