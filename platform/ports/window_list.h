// The windows on screen, front to back.

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace kelvane {

struct WindowBounds {
    std::optional<double> width;  ///< In pixels.
    std::optional<double> height; ///< In pixels.

    bool operator==(const WindowBounds&) const = default;
};

/// One entry of the window list. Every field is optional because a window system may leave any of
/// them out or fill it with something that is not a number; an adapter reports that as absent and
/// leaves it to the reader what an entry without it is worth.
struct WindowInfo {
    std::optional<std::int64_t> ownerPid; ///< The owner, as in `RunningApp::pid`.
    std::optional<std::int64_t> layer;    ///< 0 for normal windows; panels and menus differ.
    std::optional<WindowBounds> bounds;
    std::optional<std::int64_t> number; ///< What `WindowPicture::png` takes.

    bool operator==(const WindowInfo&) const = default;
};

class WindowList {
public:
    virtual ~WindowList() = default;

    /// The windows that are on screen now, frontmost first, without the desktop itself. Absent when
    /// the list cannot be had at all; empty when there simply is no window. Any thread.
    [[nodiscard]] virtual std::optional<std::vector<WindowInfo>> onScreenWindows() = 0;
};

} // namespace kelvane
