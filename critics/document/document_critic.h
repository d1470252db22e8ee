// The critic of text with headings and links, in Markdown or plain.
//
// Deterministic and stateless; bad input is a finding, never an exception; any thread.

#pragma once

#include "critics/findings/critique.h"

namespace trevix {

/// What is wrong with one part, in reading order, how much there is of it, and who looked.
/// `part.isText` holds.
[[nodiscard]] Critique critiqueDocument(const Part& part);

} // namespace trevix
