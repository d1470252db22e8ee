// Where a request goes: what its address means to the HTTP library.
//
// Pure; any thread.

#pragma once

#include <optional>
#include <string>

namespace kelvane {

struct Destination {
    std::string
        url; ///< http or https, as the library is to take it; of a socket "http://localhost".
    std::optional<std::string> socket; ///< The Unix socket to reach it by.
    bool isPlain = false;              ///< Nothing hides what goes over the connection.
    bool isLoopback = false;           ///< This machine, by a name or a number that says so.

    bool operator==(const Destination&) const = default;
};

/// The longest path of a Unix socket, in bytes.
[[nodiscard]] std::size_t longestSocketPath();

/// Absent for anything that is no address of the web with a host, and for an address of a socket
/// whose path is not absolute, holds a NUL or is too long for the system.
[[nodiscard]] std::optional<Destination> destinationOf(const std::string& address);

/// The address of `target` when it is a place behind the socket of `address`, both as a redirect
/// has them: `target` in the library's words. Absent when `address` is of no socket, or `target`
/// leads away from it.
[[nodiscard]] std::optional<std::string> behindSameSocket(const std::string& address,
                                                          const std::string& target);

} // namespace kelvane
