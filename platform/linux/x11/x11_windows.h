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

/// Invisible margins around a window that draws its own shadow, in pixels.
struct X11FrameExtents {
    std::uint32_t left = 0, right = 0, top = 0, bottom = 0;
};

struct X11WindowDescription {
    xcb_window_t window = XCB_WINDOW_NONE;
    X11WindowType type = X11WindowType::Normal;
    bool onScreen = false;   ///< Shown on any of the outputs; covered or not does not matter.
    std::uint32_t width = 0; ///< As the user sees it: without the invisible margins.
    std::uint32_t height = 0;
};

/// The margins a property states, as far as a window of this size can have them; none otherwise.
[[nodiscard]] X11FrameExtents frameExtents(const std::optional<X11Property>& property,
                                           std::uint32_t width, std::uint32_t height);

/// Describes windows in the order given, in one round trip. A window that is gone is left out.
[[nodiscard]] std::vector<X11WindowDescription>
describeWindows(X11Connection& connection, const std::vector<xcb_window_t>& windows);

} // namespace kelvane
