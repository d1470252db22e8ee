// The applications behind the windows of an X server.
//
// What the workspace, the window list and the keyboard have in common: reading what windows say
// about themselves and deciding with `identify()`. Questions go out together and answers are
// collected afterwards, so a question about many windows costs as many round trips as one about a
// single window. Any thread.

#pragma once

#include "platform/linux/rules/desktop_entries.h"
#include "platform/linux/rules/window_identity.h"
#include "platform/linux/x11/x11_connection.h"
#include "platform/ports/running_app.h"

#include <sys/types.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// A window and the application it belongs to.
struct ApplicationWindow {
    xcb_window_t window = XCB_WINDOW_NONE;
    RunningApp app;
    pid_t process = 0; ///< On this machine; 0 when not known.
    bool takesKeys = true;
};

class X11Applications {
public:
    /// Neither may be null or empty.
    X11Applications(std::shared_ptr<X11Connection> connection, InstalledEntries installed);

    [[nodiscard]] X11Connection& connection() { return *m_connection; }

    /// The window that has the user's attention. Absent when none has and when there is no window
    /// manager to keep the answer true. Of a window manager that does not tell which one it is, it
    /// is the one that has the keyboard.
    [[nodiscard]] std::optional<ApplicationWindow> active();

    /// The managed windows, oldest first where the window manager lists them. Absent when there is
    /// no window manager or no link.
    [[nodiscard]] std::optional<std::vector<xcb_window_t>> clients();
    /// The managed windows, the one in front first: as the window manager says or, when it does
    /// not, as the server has stacked them. Absent likewise.
    [[nodiscard]] std::optional<std::vector<xcb_window_t>> stacking();

    /// Whom these windows belong to, in the order given. `neighbours` may speak for those that no
    /// desktop file claims; topmost first. A window that is gone is left out.
    [[nodiscard]] std::vector<ApplicationWindow>
    identifyAll(const std::vector<xcb_window_t>& windows,
                const std::vector<xcb_window_t>& neighbours);

private:
    struct Read {
        WindowFacts facts;
        xcb_window_t transientFor = XCB_WINDOW_NONE;
        bool remote = false; ///< Shown here by a program on another machine.
    };
    using Reads = std::map<xcb_window_t, std::optional<Read>>; ///< Absent: the window is gone.

    [[nodiscard]] std::optional<std::vector<xcb_window_t>> list(std::string_view name);
    [[nodiscard]] bool isManager(xcb_window_t window, xcb_get_property_cookie_t proof);
    [[nodiscard]] bool somebodyManages();
    [[nodiscard]] xcb_window_t activeWindow();
    [[nodiscard]] xcb_window_t focusedWindow();
    [[nodiscard]] std::vector<xcb_window_t> windowsWithState();
    [[nodiscard]] std::vector<xcb_window_t> topmostFirst(std::vector<xcb_window_t> windows);
    void read(std::vector<xcb_window_t> windows, Reads& reads);
    [[nodiscard]] std::optional<IdentifiedWindow>
    decide(xcb_window_t window, const Reads& reads, const std::vector<xcb_window_t>& neighbours,
           const DesktopEntryIndex& index) const;
    [[nodiscard]] std::vector<xcb_window_t> chain(xcb_window_t window, const Reads& reads) const;

    std::shared_ptr<X11Connection> m_connection;
    InstalledEntries m_installed;
    std::string m_host;
    bool m_serverTellsProcesses = false; ///< The server knows which process each window is of.
};

} // namespace kelvane
