// Bounded waits for the replies and events of an X server.
//
// A server answers in well under a millisecond, unless another client has grabbed it, it is stopped
// or the line to it is. Use these on a link whose events and replies nobody else waits for.

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

/// The reply to the request with that sequence number; null for an error, at `end` or when the link
/// broke. The caller knows the type.
[[nodiscard]] XcbOwned<void> replyBefore(xcb_connection_t* xcb, unsigned sequence,
                                         std::chrono::steady_clock::time_point end);

template <class Reply, class Cookie>
[[nodiscard]] XcbOwned<Reply> replyWithin(xcb_connection_t* xcb, Cookie cookie,
                                          std::chrono::milliseconds patience = kServerSilence) {
    const auto end = std::chrono::steady_clock::now() + patience;
    return XcbOwned<Reply>(static_cast<Reply*>(replyBefore(xcb, cookie.sequence, end).release()));
}

} // namespace kelvane
