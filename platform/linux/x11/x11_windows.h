// The kind, the size and the visibility of windows.

#pragma once

#include "platform/linux/x11/x11_connection.h"

#include <cstdint>
#include <vector>

namespace kelvane {

enum class X11WindowType {
    Normal, ///< Also a window that does not say.
    Dialog,
    Utility,
    Toolbar,
    Menu,
    Splash,
    Notification, ///< Also tooltips, combo boxes and what is being dragged.
    Dock,
    Desktop,
};

struct X11WindowDescription {
    xcb_window_t window = XCB_WINDOW_NONE;
    X11WindowType type = X11WindowType::Normal;
    bool onScreen = false;   ///< Shown on any of the outputs; covered or not does not matter.
    std::uint32_t width = 0; ///< As the user sees it: without the invisible margins.
    std::uint32_t height = 0;
};

/// Describes windows in the order given, in one round trip. A window that is gone is left out.
[[nodiscard]] std::vector<X11WindowDescription>
describeWindows(X11Connection& connection, const std::vector<xcb_window_t>& windows);

} // namespace kelvane
