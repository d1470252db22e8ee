// The critic of PNG pictures.
//
// Deterministic and stateless; bad input is a finding, never an exception; any thread.

#pragma once

#include "critics/findings/finding.h"

#include <string_view>
#include <vector>

namespace trevix {

/// What is wrong with the picture, judged as what `modality` says it shows: "ui_ux", "deck" or
/// anything else. A picture that cannot be read is one finding.
[[nodiscard]] std::vector<Finding> critiqueImage(const Part& part, std::string_view modality);

} // namespace trevix
