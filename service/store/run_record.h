// The graded work as the service remembers it.
//
// Plain values; any thread. The work itself is not kept: a finding carries the evidence that it
// rests on.

#pragma once

#include "critics/findings/critique.h"
#include "critics/findings/verdict_rule.h"

#include <cstdint>
#include <string>
#include <vector>

namespace trevix {

/// One part of the graded work, without its content.
struct PartSummary {
    std::string name;
    std::string mimeType;
    std::uint64_t bytes = 0; ///< Decoded.

    bool operator==(const PartSummary&) const = default;
};

/// The verdict on one version of the work.
struct Iteration {
    int number = 0;             ///< 0 is the work as first submitted, 1 the first revision.
    std::int64_t createdMs = 0; ///< Since 1970, UTC.
    std::string intent;
    Band band = Band::ship;
    double score = 0;
    std::vector<PartSummary> parts;
    std::vector<Finding> findings;
    Extent extent;     ///< How much work it was. All zero for verdicts before this was kept.
    Coverage coverage; ///< Who judged it. Empty, and known, for verdicts before this was kept.

    bool operator==(const Iteration&) const = default;
};

/// One piece of work through all its versions.
struct RunRecord {
    std::string id;
    std::string modality;
    std::string vertical;              ///< Empty when none was given.
    std::string policyId;              ///< Empty when none was given. Recorded, never applied.
    std::vector<Iteration> iterations; ///< By number, without gaps; never empty.

    [[nodiscard]] const Iteration& latest() const { return iterations.back(); }

    bool operator==(const RunRecord&) const = default;
};

} // namespace trevix
