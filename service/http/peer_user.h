// Who is at the other end of a connection, as far as the system tells.
//
// Any thread.

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace trevix {

/// The user whose program connected to a Unix socket. Absent when the system does not say.
[[nodiscard]] std::optional<uid_t> userOfUnixPeer(int socket);

/// The user whose program holds the end `client` of a connection to `server`, both
/// "127.0.0.1:8797", of this machine, by the system's table of connections. Absent on systems
/// without one that can be read.
[[nodiscard]] std::optional<uid_t> userOfTcpPeer(const std::string& client,
                                                 const std::string& server);

/// The same from the text of such a table, in the form of Linux's /proc/net/tcp: absent when the
/// connection is not in it. Pure.
[[nodiscard]] std::optional<uid_t> userInTcpTable(std::string_view table, const std::string& client,
                                                  const std::string& server);

} // namespace trevix
