// The rule that turns a critique into a score and a band, one for every kind of work:
//
//   - Each finding costs points by severity: critical 0.50, high 0.20, medium 0.08, low 0.02.
//   - The findings of one rule together cost the larger of two sums. The habit: the heaviest costs
//     all its points and each further one half of the one before, so that one slip repeated a
//     hundred times costs at most twice as much as once. The density: each different evidence of
//     more than low severity costs all its points, divided by how many pages of work there are, so
//     that a page full of different mistakes is no page with one. A page is 100 words, 100 lines of
//     code or 1,000 cells; less than a page counts as one.
//   - The score is 1 minus the sum over the rules, never below 0, rounded to two decimals, halves
//     upwards. It is worked out in whole numbers (hundredths with 32 binary places), so that no
//     boundary depends on how a decimal fraction is stored. Taking a finding away never lowers it,
//     and the order of findings never matters.
//   - The band goes by that rounded score: `block` with any critical finding; else `quarantine`
//     below 0.50; else `route_to_fix` with any high finding or below 0.85; else `ship` when
//     somebody who looked knows this kind of work, and `unknown` when nobody does.
//   - Advice (`isAdvice`) costs like any finding, but the band goes by the others alone, and the
//     score never falls below the least that their band can have: 0.85 for `ship` and `unknown`,
//     0.50 for `route_to_fix`.
//
// Pure; any thread.

#pragma once

#include "critics/findings/critique.h"

#include <optional>
#include <string_view>

namespace trevix {

enum class Band { ship, route_to_fix, quarantine, block, unknown };

/// The band as answers, the run store and reports name it: "ship", "route_to_fix", "quarantine",
/// "block" or "unknown".
[[nodiscard]] std::string_view name(Band band);

/// The band with exactly this name, or nothing.
[[nodiscard]] std::optional<Band> bandNamed(std::string_view name);

struct Judgement {
    double score = 1.0;
    Band band = Band::ship;

    bool operator==(const Judgement&) const = default;
};

[[nodiscard]] Judgement judge(const Critique& critique);

} // namespace trevix
