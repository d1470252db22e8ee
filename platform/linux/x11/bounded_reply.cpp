#include "platform/linux/x11/bounded_reply.h"

#include <poll.h>
#include <xcb/xcbext.h>

#include <algorithm>

namespace kelvane {

using std::chrono::steady_clock;

namespace {

constexpr std::chrono::milliseconds kReplySlice{5};

} // namespace

bool waitForInput(xcb_connection_t* xcb, steady_clock::time_point end) {
    while (xcb_connection_has_error(xcb) == 0) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now()).count();
        if (left <= 0) return false;
        pollfd server{xcb_get_file_descriptor(xcb), POLLIN, 0};
        // A minute at most at a time, which poll() counts in int; the loop goes on from the end.
        if (::poll(&server, 1, static_cast<int>(std::min<long>(left, 60'000))) > 0) return true;
    }
    return false;
}

XcbOwned<xcb_generic_event_t> eventBefore(xcb_connection_t* xcb, steady_clock::time_point end) {
    // Requests wait to be written, and the event may be their answer.
    xcb_flush(xcb);
    do {
        if (XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(xcb)}) return event;
    } while (waitForInput(xcb, end));
    return nullptr;
}

BoundedReply replyBefore(xcb_connection_t* xcb, unsigned sequence, steady_clock::time_point end) {
    xcb_flush(xcb);
    for (;;) {
        void* reply = nullptr;
        xcb_generic_error_t* error = nullptr;
        if (xcb_poll_for_reply(xcb, sequence, &reply, &error) != 0) {
            std::free(error);
            return {XcbOwned<void>(reply), false};
        }
        const auto now = steady_clock::now();
        if (now >= end || xcb_connection_has_error(xcb) != 0) break;
        // In short waits: another thread may take our reply off the line together with its own.
        (void)waitForInput(xcb, std::min(end, now + kReplySlice));
    }
    // So that it is not kept when it comes after all.
    xcb_discard_reply(xcb, sequence);
    return {nullptr, xcb_connection_has_error(xcb) == 0};
}

} // namespace kelvane
