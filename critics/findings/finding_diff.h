// The flaws that a revision fixed, those that remain, and those that came in with it.
//
// Findings of two versions are paired one to one. Work moves while it is edited, so the place alone
// never makes a flaw new. Pairs are made in three rounds, each over what the rounds before left:
//   1. the same rule, place and evidence;
//   2. the same rule and evidence, wherever it stands now (line numbers and the like inside the
//      evidence do not count);
//   3. the same rule at the same place with other evidence: still broken there.
// What is left of the earlier version is fixed, what is left of the later one is new. Of three
// equal flaws one of which was mended, one is fixed and two remain.

#pragma once

#include "critics/findings/finding.h"

#include <string>
#include <string_view>
#include <vector>

namespace trevix {

struct FindingDiff {
    std::vector<Finding> fixed;     ///< As they stood before, in that order.
    std::vector<Finding> remaining; ///< As they stand now, in that order.
    std::vector<Finding> fresh;     ///< In the order of the later version.

    bool operator==(const FindingDiff&) const = default;
};

[[nodiscard]] FindingDiff compareFindings(const std::vector<Finding>& before,
                                          const std::vector<Finding>& after);

/// The evidence without what only tells where it stands: "line 12" and "line 14" are the same, so
/// are "cell C4" and "cell C5". Words and other figures are kept.
[[nodiscard]] std::string withoutPlaces(std::string_view evidence);

} // namespace trevix
