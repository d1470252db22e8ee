// The kind of work that a part is: whose rules hold for it, in process and in other programs.
//
// Pure; any thread.

#pragma once

#include "critics/findings/finding.h"
#include "critics/findings/rule.h"

#include <string>
#include <string_view>

namespace trevix {

/// A media type without its parameters, in lower case: "text/csv; charset=utf-8" is "text/csv".
[[nodiscard]] std::string bareType(std::string_view mimeType);

/// Told by the part's type, and by the declared modality of the submission, in lower case, where
/// the type says no more than plain text. `any` for bytes that nothing here reads.
[[nodiscard]] WorkKind kindOf(const Part& part, std::string_view modality);

} // namespace trevix
