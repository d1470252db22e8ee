// A window manager that says what a test wants and does nothing.
//
// There are window managers that follow the newer conventions in part, or only the old ones; this
// one shows the server and everybody on it exactly the part that a test chose. It moves no windows:
// they stay where they put themselves. For a desktop that has no other.

#pragma once

#include "tests/platform/linux/virtual_desktop.h"

#include <string>
#include <vector>

namespace kelvane {

class ScriptedManager {
public:
    /// Takes charge of the windows of this display, as far as the server is concerned.
    explicit ScriptedManager(const std::string& display)
        : m_link(X11Connection::open(display, kTestPatience)),
          m_window(xcb_generate_id(m_link->xcb())) {
        const std::uint32_t redirect = XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
        xcb_change_window_attributes(m_link->xcb(), m_link->root(), XCB_CW_EVENT_MASK, &redirect);
        xcb_create_window(m_link->xcb(), XCB_COPY_FROM_PARENT, m_window, m_link->root(), -1, -1, 1,
                          1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        m_link->roundTrip();
    }

    /// Follows the newer conventions from here on.
    void introduceItself() {
        const auto check = m_link->atom("_NET_SUPPORTING_WM_CHECK");
        set(m_window, check, XCB_ATOM_WINDOW, {m_window});
        set(m_link->root(), check, XCB_ATOM_WINDOW, {m_window});
    }
    /// Says something about all of the desktop, like which windows there are.
    void tell(const std::string& property, const std::vector<std::uint32_t>& words) {
        set(m_link->root(), m_link->atom(property), XCB_ATOM_WINDOW, words);
    }
    /// Marks a window as one that it takes care of.
    void manage(xcb_window_t window) {
        const auto state = m_link->atom("WM_STATE");
        set(window, state, state, {1, 0});
    }
    void mark(xcb_window_t window, const std::string& property, std::uint32_t word) {
        set(window, m_link->atom(property), XCB_ATOM_CARDINAL, {word});
    }
    /// Draws the screen by itself, or says so.
    void composite() {
        xcb_set_selection_owner(m_link->xcb(), m_window, m_link->atom("_NET_WM_CM_S0"),
                                XCB_CURRENT_TIME);
        m_link->roundTrip();
    }
    void raise(xcb_window_t window) {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(m_link->xcb(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        m_link->roundTrip();
    }
    void focus(xcb_window_t window) {
        xcb_set_input_focus(m_link->xcb(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
        m_link->roundTrip();
    }
    /// A window inside another one, as wide as a button.
    xcb_window_t inside(xcb_window_t parent) {
        const auto child = xcb_generate_id(m_link->xcb());
        xcb_create_window(m_link->xcb(), XCB_COPY_FROM_PARENT, child, parent, 0, 0, 10, 10, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_map_window(m_link->xcb(), child);
        m_link->roundTrip();
        return child;
    }
    /// Puts a frame around a window, as most window managers do.
    xcb_window_t frame(xcb_window_t window) {
        const auto frame = xcb_generate_id(m_link->xcb());
        const std::uint32_t unmanaged = 1;
        xcb_create_window(m_link->xcb(), XCB_COPY_FROM_PARENT, frame, m_link->root(), 300, 300, 250,
                          150, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT, &unmanaged);
        xcb_map_window(m_link->xcb(), frame);
        xcb_reparent_window(m_link->xcb(), window, frame, 5, 20);
        m_link->roundTrip();
        return frame;
    }

private:
    void set(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
             const std::vector<std::uint32_t>& words) {
        xcb_change_property(m_link->xcb(), XCB_PROP_MODE_REPLACE, window, property, type, 32,
                            static_cast<std::uint32_t>(words.size()), words.data());
        m_link->roundTrip();
    }

    std::shared_ptr<X11Connection> m_link;
    xcb_window_t m_window;
};

} // namespace kelvane
