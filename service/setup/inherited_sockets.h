// The listening sockets that a service manager made and handed on.
//
// A manager that starts the service on its first request has listened for it already. It says so in
// the environment: LISTEN_PID names the process that is meant, LISTEN_FDS how many descriptors,
// from 3 on, it was given. The sockets stay the manager's: the service never removes a name, and
// what comes between its end and its next start waits in them.

#pragma once

#include "service/setup/local_socket.h"

#include <sys/types.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

namespace trevix {

/// How many descriptors were handed on. 0 when neither variable is set, and when they are meant for
/// another process: they reach the children of one that does not take them out. An error when the
/// number is none, or there are more than two: a Unix socket and a port is all that is listened on.
[[nodiscard]] std::variant<std::size_t, SocketError>
inheritedCount(const std::optional<std::string>& listenPid,
               const std::optional<std::string>& listenFds, pid_t self);

/// Descriptors of the caller's, closed in programs that are started; -1 for one that there is not.
struct InheritedSockets {
    int unixListener = -1;
    int tcpListener = -1;
    std::filesystem::path socket; ///< The name of the Unix socket.
};

/// The descriptors 3 to 2 + `count`. An error when one of them is no stream socket that listens,
/// is bound to anything but a named Unix socket or a port of 127.0.0.1, or is the second of its
/// kind.
[[nodiscard]] std::variant<InheritedSockets, SocketError> takeInherited(std::size_t count);

} // namespace trevix
