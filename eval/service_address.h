// The origin of the evaluation service, as the build was told.
//
// Configure with -DKELVANE_SERVICE_BASE=https://… to point a build at another service. At run time
// BRASK_API_BASE overrides it for the client.

#pragma once

#include <string_view>

namespace kelvane {

/// An https origin without a path and without a slash at its end.
inline constexpr std::string_view kServiceBase = KELVANE_SERVICE_BASE;
static_assert(kServiceBase.starts_with("https://") &&
                  kServiceBase.find_first_of("/?#", std::string_view("https://").size()) ==
                      std::string_view::npos,
              "KELVANE_SERVICE_BASE must be an https origin, without a path");

} // namespace kelvane
