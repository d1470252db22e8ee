// Bounded waits for the replies and events of an X server.
//
// A server answers in well under a millisecond, unless another client has grabbed it, it is stopped
// or the line to it is. Events are one queue for each link: wait for them on a link of your own.
// Replies may be waited for by several threads at once.

#pragma once

#include "platform/linux/x11/x11_connection.h"

#include <chrono>

namespace kelvane {

/// What a server may take for one answer.
inline constexpr std::chrono::milliseconds kServerSilence{300};

/// Waits until something can be read from the server. False at `end` or when the link broke.
[[nodiscard]] bool waitForInput(xcb_connection_t* xcb, std::chrono::steady_clock::time_point end);

/// The next event; null at `end` or when the link broke.
[[nodiscard]] XcbOwned<xcb_generic_event_t> eventBefore(xcb_connection_t* xcb,
                                                        std::chrono::steady_clock::time_point end);

struct BoundedReply {
    XcbOwned<void> reply; ///< Null for an error, at the end, or when the link broke.
    bool missed = false;  ///< Null because it did not come in time.
};

/// The reply to the request with that sequence number, if it comes before `end`; one that has come
/// already counts even then. The caller knows the type.
[[nodiscard]] BoundedReply replyBefore(xcb_connection_t* xcb, unsigned sequence,
                                       std::chrono::steady_clock::time_point end);

template <class Reply, class Cookie>
[[nodiscard]] XcbOwned<Reply> replyWithin(xcb_connection_t* xcb, Cookie cookie,
                                          std::chrono::milliseconds patience = kServerSilence) {
    const auto end = std::chrono::steady_clock::now() + patience;
    return XcbOwned<Reply>(
        static_cast<Reply*>(replyBefore(xcb, cookie.sequence, end).reply.release()));
}

} // namespace kelvane
