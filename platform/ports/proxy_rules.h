// Which way an exchange goes out: directly, or through which proxy.
//
// Pure; any thread.

#pragma once

#include "platform/ports/environment.h"

#include <optional>
#include <string>
#include <vector>

namespace kelvane {

/// Whether the environment says how to go out: by a variable that the HTTP library reads and that
/// is not empty. The desktop's settings do not count then, for they would say it twice.
[[nodiscard]] bool namesProxies(Environment& environment);

/// The first of what `ProxySettings` tells that the HTTP library can use, as that library is to be
/// told: "" for none in between. Absent when there is no such one.
[[nodiscard]] std::optional<std::string> usableProxy(const std::vector<std::string>& told);

} // namespace kelvane
