// The applications behind the windows of a Wayland desktop.
//
// What the workspace, the window list, the picture and the keyboard have in common. Any thread.

#pragma once

#include "platform/linux/rules/desktop_entries.h"
#include "platform/linux/wayland/sway_socket.h"
#include "platform/linux/wayland/sway_tree.h"
#include "platform/linux/wayland/wayland_connection.h"
#include "platform/linux/wayland/wayland_windows.h"
#include "platform/ports/running_app.h"

#include <sys/types.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace kelvane {

/// A window and the application it belongs to.
struct WaylandApplicationWindow {
    WaylandWindow window; ///< With its process, where anybody tells.
    RunningApp app;
    bool takesKeys = true;
};

class WaylandApplications {
public:
    /// Nothing may be null. `sway` has no path where there is no such socket.
    WaylandApplications(std::shared_ptr<WaylandConnection> link,
                        std::shared_ptr<WaylandWindows> windows, SwaySocket sway,
                        InstalledEntries installed);

    [[nodiscard]] WaylandConnection& link() { return *m_link; }

    /// The window that has the user's attention; absent when none has, and when the compositor does
    /// not answer.
    [[nodiscard]] std::optional<WaylandApplicationWindow> active();

    /// All windows, oldest first. Absent when the compositor does not answer.
    [[nodiscard]] std::optional<std::vector<WaylandApplicationWindow>> all();

    /// Asks for a window to be brought forward. False when there is none of that number.
    bool activate(std::uint32_t number);

    /// The windows as sway sees them; absent where it is not there to tell.
    [[nodiscard]] std::optional<std::vector<SwayWindow>> tree() const;

private:
    [[nodiscard]] std::optional<std::vector<WaylandWindow>> windows();
    void addProcesses(std::vector<WaylandWindow>& windows);
    [[nodiscard]] WaylandApplicationWindow identified(const WaylandWindow& window,
                                                      const std::vector<WaylandWindow>& all,
                                                      const DesktopEntryIndex& index) const;

    std::shared_ptr<WaylandConnection> m_link;
    std::shared_ptr<WaylandWindows> m_windows;
    SwaySocket m_sway;
    InstalledEntries m_installed;
    std::mutex m_mutex; ///< Guards what follows.
    /// A window keeps its process, so the socket is asked once for each.
    std::map<std::uint32_t, pid_t> m_processes;
};

} // namespace kelvane
