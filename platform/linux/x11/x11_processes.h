// The processes behind windows, by the server's own knowledge.
//
// The server knows who is at the other end of each link, whatever a program says about itself.

#pragma once

#include "platform/linux/x11/x11_connection.h"

#include <sys/types.h>
#include <xcb/res.h>

#include <cstdint>

namespace kelvane {

/// Whether this server tells at all (the X-Resource extension, 1.2). One or two round trips.
[[nodiscard]] bool serverTellsProcesses(X11Connection& connection);

/// Sends the question. Only for a server that tells.
[[nodiscard]] xcb_res_query_client_ids_cookie_t askProcess(X11Connection& connection,
                                                           xcb_window_t window);
/// Waits for the answer: a process of this machine, 0 when there is none to tell.
[[nodiscard]] pid_t takeProcess(X11Connection& connection,
                                xcb_res_query_client_ids_cookie_t cookie);

/// A number from outside as a process id, 0 when it cannot be one.
[[nodiscard]] pid_t asProcess(std::uint32_t number);

} // namespace kelvane
