// What is on the screens of a wlroots desktop, through zwlr_screencopy.
//
// It knows screens and no windows: whatever covers a window is in the picture.

#pragma once

#include "platform/linux/common/display_rect.h"
#include "platform/linux/wayland/wayland_globals.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

class WaylandScreens : public WaylandPart {
public:
    /// After the start; any thread, like all below.
    [[nodiscard]] virtual bool offered() const = 0;
    /// Where the screens are on the desktop.
    [[nodiscard]] virtual std::vector<DisplayRect> screens() const = 0;
    /// PNG bytes of what that part of the desktop shows, which must lie on one screen. Waits for
    /// the next frame, at most a second; absent when none came. Any thread but the link's.
    [[nodiscard]] virtual std::optional<std::string> png(const DisplayRect& part) = 0;
};

[[nodiscard]] std::shared_ptr<WaylandScreens> makeWaylandScreens();

} // namespace kelvane
