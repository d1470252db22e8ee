// Where others reach a service that stands behind a proxy.
//
// Pure; any thread.

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace trevix {

struct PublicUrl {
    bool isHttps = false;
    std::string authority; ///< "judge.example.org", or with a port; in lower case.

    /// As a page of it names itself: "https://judge.example.org".
    [[nodiscard]] std::string origin() const;

    bool operator==(const PublicUrl&) const = default;
};

/// Absent for anything but http or https, a name or an address, and a port where there is one; a
/// slash may end it.
[[nodiscard]] std::optional<PublicUrl> parsePublicUrl(std::string_view url);

/// Four numbers from 0 to 255, with dots between them.
[[nodiscard]] bool isIpv4(std::string_view address);

} // namespace trevix
