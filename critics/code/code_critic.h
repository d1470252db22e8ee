// The critic of program text.
//
// Deterministic and stateless; bad input is a finding, never an exception; any thread.

#pragma once

#include "critics/findings/critique.h"

#include <string_view>
#include <vector>

namespace trevix {

/// What is wrong with one part, in reading order, how much there is of it, and who looked.
/// `part.isText` holds.
[[nodiscard]] Critique critiqueCode(const Part& part, Readers readers);
[[nodiscard]] inline Critique critiqueCode(const Part& part) {
    return critiqueCode(part, Readers::all);
}

/// The grammars that code is read by, where the build has them: "python", "c_sharp". Constants.
[[nodiscard]] std::vector<std::string_view> grammarsAskedFor();

} // namespace trevix
