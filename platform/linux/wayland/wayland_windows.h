// The windows of a Wayland desktop, as the compositor tells whoever lists windows.
//
// Through zwlr_foreign_toplevel_management or org_kde_plasma_window_management, whichever is there;
// the second tells more. Every change is told as it happens, so looking costs nothing.

#pragma once

#include "platform/linux/common/display_rect.h"
#include "platform/linux/wayland/wayland_globals.h"

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct wl_seat;

namespace kelvane {

struct WaylandWindow {
    std::uint32_t number = 0; ///< Ours, never given twice by one link.
    std::string appId;
    std::string title;
    std::string resourceName; ///< Of an X11 program, where the compositor tells.
    std::string uuid;         ///< KWin's own name of it; empty elsewhere.
    pid_t process = 0;        ///< 0 when not told.
    std::uint32_t parent = 0; ///< The window that it is a dialog of; 0 when none.
    bool active = false;
    bool minimised = false;
    bool skipsTaskbar = false;
    /// Without its shadow; with the title bar that KWin puts around it. Absent when not told.
    std::optional<DisplayRect> frame;
    std::uint64_t raised = 0; ///< Greater than of those that were in front earlier.

    bool operator==(const WaylandWindow&) const = default;
};

class WaylandWindows : public WaylandPart {
public:
    /// Whether the compositor tells; after the start. Any thread, like all below.
    [[nodiscard]] virtual bool hasForeignToplevel() const = 0;
    [[nodiscard]] virtual bool hasPlasmaWindows() const = 0;
    /// Whether it is one that tells those of its windows whom it knows.
    [[nodiscard]] virtual bool hasPlasmaShell() const = 0;
    /// Oldest first where the compositor says so.
    [[nodiscard]] virtual std::vector<WaylandWindow> windows() const = 0;
    /// The active one's number, 0 when none is.
    [[nodiscard]] virtual std::uint32_t active() const = 0;
    /// Asks for it to be brought forward; the link's thread only. False when there is no such
    /// window.
    virtual bool activate(std::uint32_t number) = 0;
};

[[nodiscard]] std::shared_ptr<WaylandWindows> makeWaylandWindows();

} // namespace kelvane
