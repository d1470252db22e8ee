// Whether somebody answers at a service's address, seen from the command line.

#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

/// Where a service is to be looked for. Pure.
struct ReachTarget {
    std::string socket; ///< A Unix socket's path; or empty, and
    std::string host;
    std::string port;
    bool speaksPlainly = false; ///< What it is can be asked without TLS.

    bool operator==(const ReachTarget&) const = default;
};

/// Absent for an address that is none of http, https or http+unix.
[[nodiscard]] std::optional<ReachTarget> reachTarget(const std::string& base);

/// Whether an HTTP status, 0 for none, is the service's answer to `/healthz`: plainly a proxy could
/// have said anything else than 200 in its place. Pure.
[[nodiscard]] bool isAnswer(const ReachTarget& target, int status);

/// Whether the service answers without a proxy between: one that speaks plainly says it is well
/// (`/healthz`), of another a connection is enough. Waits no longer than `patience`, resolving
/// included, and sends no key. One that somebody is starting is tried again until then.
[[nodiscard]] bool isReached(const ReachTarget& target, std::chrono::milliseconds patience,
                             bool isBeingStarted = false);

/// One line said to a Unix socket of this user's, and the line that comes back; absent when nobody
/// listens there or says a whole line within `patience`.
[[nodiscard]] std::optional<std::string> askSocket(const std::filesystem::path& socket,
                                                   std::string_view line,
                                                   std::chrono::milliseconds patience);

} // namespace kelvane
