// The graded work as the service remembers it.
//
// Plain values; any thread. A finding carries the evidence that it rests on; the work itself is a
// value of its own, kept for a while or not at all.

#pragma once

#include "critics/findings/critique.h"
#include "critics/findings/dismissal.h"
#include "critics/findings/verdict_rule.h"

#include <cstddef>
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

/// A part of the work as it is kept to be shown with its flaws marked.
struct KeptPart {
    std::size_t ordinal = 0; ///< Which part of the work it is, from 0.
    bool isText = true;
    std::string bytes; ///< Of a text with its secrets blotted out, see service/kept_work.h.

    bool operator==(const KeptPart&) const = default;
};

/// What is kept of one version, by ordinal; a part that is not kept is missing.
using KeptWork = std::vector<KeptPart>;

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
    /// What the person has dismissed, see withUserSays(). Not stored here: the store knows what was
    /// found.
    std::vector<DismissedFinding> dismissed = {};

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

/// The verdict as it is without what the person has dismissed: those findings are put aside, and
/// where there are any, score and band are those of the rest.
[[nodiscard]] Iteration withUserSays(Iteration iteration, const UserSays& says);
[[nodiscard]] RunRecord withUserSays(RunRecord run, const UserSays& says);

} // namespace trevix
