// The critic of plain text and mail.
//
// Deterministic and stateless; bad input is a finding, never an exception; any thread.

#pragma once

#include "critics/findings/finding.h"

#include <vector>

namespace trevix {

/// What is wrong with one part, in reading order; empty when nothing is. `part.isText` holds.
[[nodiscard]] std::vector<Finding> critiqueText(const Part& part);

} // namespace trevix
