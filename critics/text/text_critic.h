// The critic of plain text and mail.
//
// Deterministic and stateless; bad input is a finding, never an exception; any thread.

#pragma once

#include "critics/findings/critique.h"
#include "critics/language/language_tools.h"

namespace trevix {

/// What is wrong with one part, in reading order, how much there is of it, and who looked.
/// `part.isText` holds.
[[nodiscard]] Critique critiqueText(const Part& part, const LanguageTools& tools);
/// Likewise, with no dictionary at hand.
[[nodiscard]] Critique critiqueText(const Part& part);

} // namespace trevix
