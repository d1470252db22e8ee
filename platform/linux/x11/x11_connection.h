// A link to an X server that can never end this program.
//
// One link to one server. Nothing here raises an error event at anybody: a request about a window
// that is gone yields no reply, and a link that broke yields no reply from then on. There is no
// way back from a broken link; its owner simply answers "absent" for the rest of its life.
//
// Any thread may call any member, and several threads may have requests under way at once. Events
// are different: they form one queue per link, so whoever waits for events opens a link of its
// own.

#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

struct FreeXcb {
    void operator()(void* memory) const { std::free(memory); }
};

/// What the xcb `…_reply` functions and event functions return, owned.
template <class T>
using XcbOwned = std::unique_ptr<T, FreeXcb>;

/// The value of one window property as the server sent it.
struct X11Property {
    xcb_atom_t type = XCB_ATOM_NONE;
    std::uint8_t format = 0; ///< 8, 16 or 32: the width of one item in bits.
    std::string bytes;

    /// The items of a 32-bit property; empty for any other format.
    [[nodiscard]] std::vector<std::uint32_t> words() const;
    /// The first item of a 32-bit property; absent for any other format and for an empty value.
    [[nodiscard]] std::optional<std::uint32_t> firstWord() const;
    /// The bytes of an 8-bit property; absent for any other format.
    [[nodiscard]] std::optional<std::string> text() const;
};

class X11Connection {
public:
    /// Connects to `display` ("" means what the `DISPLAY` variable of this process says). Null when
    /// no server answers there or it will not have us.
    [[nodiscard]] static std::shared_ptr<X11Connection> open(const std::string& display);

    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    /// The link itself, for requests. Owned by this object; never null.
    [[nodiscard]] xcb_connection_t* xcb() const { return m_xcb; }

    /// False once the link is broken, for good.
    [[nodiscard]] bool alive() const { return xcb_connection_has_error(m_xcb) == 0; }

    /// The screen the display name chose.
    [[nodiscard]] const xcb_screen_t& screen() const { return *m_screen; }
    [[nodiscard]] xcb_window_t root() const { return m_screen->root; }

    /// The atom of that name, made when it does not exist yet. Asked of the server once per name.
    /// `XCB_ATOM_NONE` when the link is broken.
    [[nodiscard]] xcb_atom_t atom(std::string_view name);

    /// Makes later `atom()` calls for these names free, at the price of a single round trip; of
    /// none when all are known.
    void internAtoms(std::span<const std::string_view> names);

    /// Throws away the events that arrived unasked (every client gets some), so that a link nobody
    /// listens on does not collect them. Not for a link whose owner waits for events.
    void dropEvents();

    /// Sends the question for a property without waiting, so that many can be under way at once.
    /// At most `longest` bytes of the value come back.
    [[nodiscard]] xcb_get_property_cookie_t askProperty(xcb_window_t window, xcb_atom_t name,
                                                        std::uint32_t longest = 4096);
    /// Waits for the answer. Absent when the window is gone, the link broke or the property is not
    /// set.
    [[nodiscard]] std::optional<X11Property> takeProperty(xcb_get_property_cookie_t cookie);

    /// Both in one go: a round trip.
    [[nodiscard]] std::optional<X11Property> property(xcb_window_t window, xcb_atom_t name,
                                                      std::uint32_t longest = 4096);

    /// Returns when the server has done all that was asked so far; events it caused have arrived.
    void roundTrip();

    /// For a link with one listener: the next event, waiting for it until `deadline`; null when
    /// none came or the link broke. Error reports arrive here too, as events of type 0.
    [[nodiscard]] XcbOwned<xcb_generic_event_t>
    nextEvent(std::chrono::steady_clock::time_point deadline);

    /// For a link with one listener: the server's time now, which tells a window manager that a
    /// request is not older than the user's last action. Events that arrive meanwhile are lost.
    /// `XCB_CURRENT_TIME` when the server does not say within 0.2 s.
    [[nodiscard]] xcb_timestamp_t serverTime();

private:
    X11Connection(xcb_connection_t* xcb, const xcb_screen_t* screen)
        : m_xcb(xcb),
          m_screen(screen) {}

    xcb_connection_t* m_xcb;
    const xcb_screen_t* m_screen;
    std::mutex m_mutex; ///< Guards m_atoms.
    std::map<std::string, xcb_atom_t, std::less<>> m_atoms;
};

} // namespace kelvane
