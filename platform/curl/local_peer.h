// What the system tells of a socket and of who is at its other end.
//
// Any thread.

#pragma once

#include <string>
#include <sys/types.h>

namespace kelvane {

/// A socket that is not connected yet; -1 when the system has none. Closed when the process starts
/// another program. The caller owns it.
[[nodiscard]] int openSocket(int family, int type, int protocol);

/// Whether the program at the other end of a connected Unix socket belongs to `user` or to root.
[[nodiscard]] bool isTrustedPeer(int socket, uid_t user);

/// Whether something lies unread on a connected socket, its end included. Does not wait.
[[nodiscard]] bool hasUnread(int socket);

/// "IP:PORT" of this end of a connection; empty when it has no such address.
[[nodiscard]] std::string localEnd(int socket);

} // namespace kelvane
