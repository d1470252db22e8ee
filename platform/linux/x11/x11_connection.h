// A link to an X server that can never end this program.
//
// One link to one server. Nothing here raises an error event at anybody: a request about a window
// that is gone yields no reply, and a link that broke yields no reply from then on. There is no
// way back from a broken link; its owner simply answers "absent" for the rest of its life.
//
// No member waits longer than the link's patience for the server, which may be stopped, or grabbed
// by another program. After one answer that did not come the server counts as silent: answers are
// absent at once, until it has caught up. Whoever is about to send questions asks `answers()`
// first, so that nothing piles up for a server that does not read.
//
// Any thread may call any member, and several threads may have requests under way at once. Events
// are different: they form one queue per link, so whoever waits for events opens a link of its
// own.

#pragma once

#include "platform/linux/x11/x11_property.h"

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
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

/// What a server may take to let a program in, and for one answer. It takes well under a
/// millisecond unless it is stopped, grabbed or the machine is very busy; whoever waits is a person
/// or a program that was promised an answer within two seconds, and one run may wait for both.
inline constexpr std::chrono::milliseconds kServerPatience{700};

class X11Connection {
public:
    struct Opening {
        std::shared_ptr<X11Connection> link; ///< Null when there is none.
        bool silent = false;                 ///< Null because the server did not answer in time.
    };

    /// Connects to `display` ("" means what the `DISPLAY` variable of this process says). No link
    /// when no server answers there or it will not have us.
    [[nodiscard]] static Opening tryOpen(const std::string& display,
                                         std::chrono::milliseconds patience = kServerPatience);
    /// The same for whoever does not care why there is none. Null then.
    [[nodiscard]] static std::shared_ptr<X11Connection>
    open(const std::string& display, std::chrono::milliseconds patience = kServerPatience);

    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    /// The link itself, for requests. Owned by this object; never null.
    [[nodiscard]] xcb_connection_t* xcb() const { return m_xcb; }

    /// False once the link is broken, for good.
    [[nodiscard]] bool alive() const { return xcb_connection_has_error(m_xcb) == 0; }

    /// Whether questions are worth sending: the link is up and the server owes no answer. Never
    /// waits.
    [[nodiscard]] bool answers();

    /// The reply to a question. Null for an error, when the link broke, and when the server did not
    /// answer in time. `cookie` comes from the function that sent the question.
    template <class Reply, class Cookie>
    [[nodiscard]] XcbOwned<Reply> reply(Cookie cookie) {
        return reply<Reply>(cookie, m_patience);
    }
    /// The same for an answer that takes the server longer than most.
    template <class Reply, class Cookie>
    [[nodiscard]] XcbOwned<Reply> reply(Cookie cookie, std::chrono::milliseconds patience) {
        return XcbOwned<Reply>(static_cast<Reply*>(take(cookie.sequence, patience).release()));
    }

    /// What the server says about an extension; null when it has none of that name. Requests of an
    /// extension may be sent only after this said it is there: xcb would wait for the server by
    /// itself.
    [[nodiscard]] const xcb_query_extension_reply_t* extension(xcb_extension_t& extension);

    /// Whether the server did what a checked request asked for. A round trip.
    [[nodiscard]] bool succeeded(xcb_void_cookie_t checked);

    /// The screen the display name chose.
    [[nodiscard]] const xcb_screen_t& screen() const { return *m_screen; }
    [[nodiscard]] int screenNumber() const { return m_screenNumber; }
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
    /// False when it did not do so in time.
    bool roundTrip();

    /// For a link with one listener: the next event, waiting for it until `deadline`; null when
    /// none came or the link broke. Error reports arrive here too, as events of type 0.
    [[nodiscard]] XcbOwned<xcb_generic_event_t>
    nextEvent(std::chrono::steady_clock::time_point deadline);

    /// For a link with one listener: the server's time now, which tells a window manager that a
    /// request is not older than the user's last action. Events that arrive meanwhile are lost.
    /// `XCB_CURRENT_TIME` when the server does not say within 0.2 s.
    [[nodiscard]] xcb_timestamp_t serverTime();

private:
    X11Connection(xcb_connection_t* xcb, int screenNumber, const xcb_screen_t* screen,
                  std::chrono::milliseconds patience)
        : m_xcb(xcb),
          m_screenNumber(screenNumber),
          m_screen(screen),
          m_patience(patience) {}

    [[nodiscard]] XcbOwned<void> take(unsigned sequence, std::chrono::milliseconds patience);
    void beSilent();

    xcb_connection_t* m_xcb;
    int m_screenNumber;
    const xcb_screen_t* m_screen;
    std::chrono::milliseconds m_patience;
    std::mutex m_mutex; ///< Guards everything below.
    std::map<std::string, xcb_atom_t, std::less<>> m_atoms;
    std::set<const xcb_extension_t*> m_known; ///< Extensions whose description has arrived.
    std::optional<unsigned> m_owed;           ///< The question whose answer ends a silence.
};

} // namespace kelvane
