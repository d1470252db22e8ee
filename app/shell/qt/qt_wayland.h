// Qt's own connection to a Wayland compositor, for what Qt 6.4 has no call for. Main thread only.

#pragma once

#include <chrono>
#include <string>

struct wl_display;
struct wl_surface;
struct xdg_activation_v1;
struct zwlr_layer_shell_v1;

class QWindow;

namespace kelvane {

/// A compositor that stands still is waited for no longer.
inline constexpr std::chrono::milliseconds kQtCompositorSilence{300};

/// What it offers beyond what Qt uses.
struct QtWayland {
    wl_display* display = nullptr;
    zwlr_layer_shell_v1* layers = nullptr; ///< Null where it has none; so are the others.
    xdg_activation_v1* activation = nullptr;
    bool hasBarBelow = false; ///< Its own shell has its bar at the lower edge of the screen.
};

/// Null where Qt talks to no compositor. Asked once, kept for as long as the program.
[[nodiscard]] const QtWayland* qtWayland();

/// The surface of a window that was created; null where it has none.
[[nodiscard]] wl_surface* surfaceOf(QWindow& window);

/// Deals with what the compositor says until `done` holds; false when it does not in time.
bool dispatchUntil(wl_display* display, bool (*done)(void*), void* data);

} // namespace kelvane
