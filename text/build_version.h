// The version of the product: that of the project which CMake builds.

#pragma once

#include <string_view>

namespace kelvane::text {

/// Numbers with dots between them; "0.0.0-unbuilt" for a source compiled without the project's
/// build. The same for every program of one build. Any thread.
[[nodiscard]] std::string_view buildVersion();

} // namespace kelvane::text
