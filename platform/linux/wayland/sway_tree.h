// What sway's own socket tells of windows: their processes and where they stand. Pure.

#pragma once

#include "platform/linux/common/display_rect.h"
#include "platform/linux/wayland/wayland_windows.h"

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

struct SwayWindow {
    std::int64_t id = 0;
    std::string appId;    ///< Of an X11 program its class.
    std::string instance; ///< Of an X11 program.
    std::string title;
    pid_t process = 0;
    bool focused = false;
    bool visible = false;
    bool floating = false;
    bool fullscreen = false;
    DisplayRect rect;

    bool operator==(const SwayWindow&) const = default;
};

/// The windows of a tree as sway tells it, in its order: of floating ones the highest comes last.
/// Absent when the text is no such tree.
[[nodiscard]] std::optional<std::vector<SwayWindow>> swayWindows(std::string_view json);

/// Which window of sway's each of ours is, by what both say of it. Of several that say the same,
/// the active one is the focused one, and the others follow the order in which they were opened, if
/// there are as many here as there.
/// One that has another name since it appeared is known by its title where nobody else has that.
[[nodiscard]] std::map<std::uint32_t, SwayWindow>
matchedWindows(const std::vector<WaylandWindow>& windows, const std::vector<SwayWindow>& tree);

/// Whether another window that is shown hides any of `window`.
[[nodiscard]] bool isCovered(const SwayWindow& window, const std::vector<SwayWindow>& tree);

} // namespace kelvane
