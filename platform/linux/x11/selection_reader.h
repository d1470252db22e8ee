// The conversion of a selection: what its owner hands over when asked.
//
// The asking half of the protocol between X clients, with a bound on every wait: an owner that is
// stuck, that stops in the middle of a long transfer or that never existed costs its requestor a
// known time and nothing else. Each question has a window of its own, so whatever an owner sends
// too late goes nowhere.
//
// Uses the events of its link, which therefore must be nobody else's. One thread at a time.

#pragma once

#include "platform/linux/x11/x11_connection.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

struct SelectionAnswer {
    enum class Kind {
        Value,
        Refused,  ///< No owner, or it does not offer that.
        Silent,   ///< Nothing came in time, or not all of it.
        TooLarge, ///< More than was asked for.
    };
    Kind kind = Kind::Silent;
    xcb_atom_t type = XCB_ATOM_NONE;
    std::uint8_t unit = 8;
    std::string bytes; ///< As on the wire; 32-bit items in the byte order of this machine.
};

struct SelectionBounds {
    std::size_t bytes = 0;
    std::chrono::milliseconds silence{0};      ///< Between two signs of life.
    std::chrono::steady_clock::time_point end; ///< Of everything.
};

class SelectionReader {
public:
    explicit SelectionReader(std::shared_ptr<X11Connection> link);

    [[nodiscard]] SelectionAnswer read(xcb_atom_t selection, xcb_atom_t target,
                                       const SelectionBounds& bounds);

    /// The owner's window; absent when the server did not answer in time.
    [[nodiscard]] std::optional<xcb_window_t> owner(xcb_atom_t selection);

    /// The names of atoms, "" for one that has none. Empty when the server did not answer in time.
    [[nodiscard]] std::vector<std::string> names(const std::vector<xcb_atom_t>& atoms);

private:
    using Moment = std::chrono::steady_clock::time_point;

    [[nodiscard]] XcbOwned<xcb_selection_notify_event_t> waitForNotify(xcb_window_t window,
                                                                       Moment end);
    [[nodiscard]] bool waitForChunk(xcb_window_t window, Moment end);
    [[nodiscard]] XcbOwned<xcb_get_property_reply_t> takeProperty(xcb_window_t window,
                                                                  std::size_t bytes, Moment end);
    [[nodiscard]] SelectionAnswer readChunks(xcb_window_t window, const SelectionBounds& bounds);

    std::shared_ptr<X11Connection> m_link;
    xcb_atom_t m_property;
    xcb_atom_t m_incr;
};

} // namespace kelvane
