// One slip is one finding: what several critics found in one part, put together.
//
// Pure; any thread.

#pragma once

#include "critics/findings/critique.h"
#include "critics/findings/finding.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace trevix {

/// Takes `more`, what another critic found in the same part, into `findings`, what is known so far.
/// Two findings are of one slip when their rules are about the same thing and they stand on the
/// same line; that a text does not parse is one slip wherever the two readers noticed. Of such two
/// the graver stays, in its place in the list; of equals the one that was there first. But where
/// our own rule has seen that what is run are the author's words, that holds against all who saw
/// the call alone. Findings without a line, and of rules that have no like, always stay. All of
/// `more` that stays comes behind.
void mergeFindings(std::vector<Finding>& findings, std::vector<Finding> more);

/// Takes in what another critic says of the same part: coverage and extent as `addSecondOpinion`
/// does, findings as above.
void mergeCritique(Critique& critique, Critique other);

/// What rules of several critics are about alike: "syntax", "secret". Empty for a rule that has no
/// like. It may point into `rule`.
[[nodiscard]] std::string_view subjectOf(std::string_view rule);

/// The line that a place names: 12 for "line 12, column 5" and "part 2 (a.py), line 12, column 5".
/// Absent without one.
[[nodiscard]] std::optional<std::size_t> lineOf(std::string_view place);

} // namespace trevix
