// The target of a request: "/console?run=a%20b", taken apart.
//
// Pure; any thread.

#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace trevix {

struct RequestTarget {
    std::string path;                         ///< Unescaped. Not necessarily UTF-8.
    std::map<std::string, std::string> query; ///< Unescaped. Of a repeated name the first value.

    bool operator==(const RequestTarget&) const = default;
};

/// Absent for a target that is no path. "%" before anything but two hexadecimal digits stands for
/// itself, and "+" in a query for a blank.
[[nodiscard]] std::optional<RequestTarget> requestTarget(std::string_view target);

} // namespace trevix
