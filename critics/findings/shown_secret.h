// What is shown of a secret.
//
// Pure; any thread.

#pragma once

#include <string>
#include <string_view>

namespace trevix {

/// The beginning of `secret` that may be seen: four characters, which tell of which kind it is
/// ("ghp_", "AKIA") and hardly anything of it; of one of fewer than twelve, a third. A view into
/// `secret`.
[[nodiscard]] std::string_view shownOfSecret(std::string_view secret);

/// That, and an ellipsis for the rest.
[[nodiscard]] std::string shownSecret(std::string_view secret);

} // namespace trevix
