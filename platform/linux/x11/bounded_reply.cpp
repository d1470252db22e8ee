#include "platform/linux/x11/bounded_reply.h"

#include <poll.h>
#include <xcb/xcbext.h>

#include <algorithm>

namespace kelvane {

using std::chrono::steady_clock;

bool waitForInput(xcb_connection_t* xcb, steady_clock::time_point end) {
    while (xcb_connection_has_error(xcb) == 0) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now()).count();
        if (left <= 0) return false;
        pollfd server{xcb_get_file_descriptor(xcb), POLLIN, 0};
        if (::poll(&server, 1, static_cast<int>(std::min<long>(left, 60'000))) > 0) return true;
    }
    return false;
}

XcbOwned<xcb_generic_event_t> eventBefore(xcb_connection_t* xcb, steady_clock::time_point end) {
    xcb_flush(xcb);
    do {
        if (XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(xcb)}) return event;
    } while (waitForInput(xcb, end));
    return nullptr;
}

XcbOwned<void> replyBefore(xcb_connection_t* xcb, unsigned sequence, steady_clock::time_point end) {
    xcb_flush(xcb);
    do {
        void* reply = nullptr;
        xcb_generic_error_t* error = nullptr;
        if (xcb_poll_for_reply(xcb, sequence, &reply, &error) != 0) {
            std::free(error);
            return XcbOwned<void>(reply);
        }
    } while (waitForInput(xcb, end));
    xcb_discard_reply(xcb, sequence);
    return nullptr;
}

} // namespace kelvane
