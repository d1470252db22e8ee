#include "platform/linux/x11/x11_processes.h"

#include <limits>

namespace kelvane {

bool serverTellsProcesses(X11Connection& connection) {
    if (connection.extension(xcb_res_id) == nullptr) return false;
    const auto version = connection.reply<xcb_res_query_version_reply_t>(
        xcb_res_query_version_unchecked(connection.xcb(), 1, 2));
    // Processes can be asked for from version 1.2 of X-Resource on.
    return version && (version->server_major > 1 ||
                       (version->server_major == 1 && version->server_minor >= 2));
}

xcb_res_query_client_ids_cookie_t askProcess(X11Connection& connection, xcb_window_t window) {
    const xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    return xcb_res_query_client_ids_unchecked(connection.xcb(), 1, &spec);
}

pid_t takeProcess(X11Connection& connection, xcb_res_query_client_ids_cookie_t cookie) {
    const auto reply = connection.reply<xcb_res_query_client_ids_reply_t>(cookie);
    if (!reply) return 0;
    for (auto ids = xcb_res_query_client_ids_ids_iterator(reply.get()); ids.rem > 0;
         xcb_res_client_id_value_next(&ids)) {
        if ((ids.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) == 0) continue;
        if (xcb_res_client_id_value_value_length(ids.data) < 1) continue;
        return asProcess(*xcb_res_client_id_value_value(ids.data));
    }
    return 0;
}

pid_t asProcess(std::uint32_t number) {
    // 0 stands for unknown throughout.
    constexpr auto kLargest = static_cast<std::uint32_t>(std::numeric_limits<pid_t>::max());
    return number <= kLargest ? static_cast<pid_t>(number) : 0;
}

} // namespace kelvane
