// The judge of a piece of work: one submission in, findings and coverage out.
//
// It is deterministic: the same bytes give the same findings in the same order. It keeps no state
// between calls, never throws on bad input (what cannot be read is a finding), and may run on any
// thread.

#pragma once

#include "critics/findings/critique.h"
#include "critics/language/language_tools.h"

namespace trevix {

/// What the critic that is right for each part makes of it, by its type and the declared modality,
/// in the order of the parts. A submission without parts, or whose every part is empty, has one
/// finding that says so.
/// Prose is spelled by what `tools` have.
[[nodiscard]] Critique critique(const Submission& submission, const LanguageTools& tools);
/// Likewise, with no dictionary at hand.
[[nodiscard]] Critique critique(const Submission& submission);

/// Builds the rule tables that the critics share. The first `critique` does so by itself; a service
/// calls this beforehand and tells its clients that it is warming up meanwhile. Thread-safe,
/// once only.
void warmUp();

} // namespace trevix
