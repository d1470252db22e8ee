// Where a server of the user's own is, and whether work may go there.
//
// Work stays on this machine: an address of the loopback or a socket in the file system is taken as
// it is, any other only when the user said so and then encrypted. Pure; any thread.

#pragma once

#include <string>
#include <string_view>
#include <variant>

namespace trevix {

struct ServerAddress {
    std::string base; ///< What paths are put behind: "http://127.0.0.1:11434/v1"; no slash ends it.
    std::string socket; ///< Absolute path of a socket in the file system; empty without.
    std::string shown;  ///< For people: "127.0.0.1:11434", or the socket's path.
    /// Whether only this machine's own addresses are connected to, whatever a name stands for.
    bool onlyHere = true;

    bool operator==(const ServerAddress&) const = default;
};

/// Why an address is not used, a clause for people.
struct AddressError {
    std::string text;

    bool operator==(const AddressError&) const = default;
};

/// Understands "http://HOST[:PORT][/PATH]" with a host of the loopback (127.x.x.x, [::1],
/// localhost), "https://…" likewise, and "http+unix://%2Fabsolute%2Fsocket[/PATH]". Any other host
/// needs `elsewhere` and https. An address with a user, a query or a fragment, one that is longer
/// than 1,024 bytes, or that holds blanks or control characters, is refused.
[[nodiscard]] std::variant<ServerAddress, AddressError> serverAddress(std::string_view url,
                                                                      bool elsewhere);

} // namespace trevix
