// Pictures of windows on a Wayland desktop.

#pragma once

#include "platform/linux/wayland/kwin_screenshot.h"
#include "platform/linux/wayland/wayland_applications.h"
#include "platform/linux/wayland/wayland_screens.h"
#include "platform/ports/window_picture.h"

#include <memory>

namespace kelvane {

/// Through KWin, which draws the window by itself: covered and minimised ones too.
[[nodiscard]] std::unique_ptr<WindowPicture>
makeKWinWindowPicture(std::shared_ptr<WaylandApplications> applications,
                      std::shared_ptr<const KWinScreenshot> screenshot);

/// Cut out of the screen, where sway tells the window's place. A window that another one covers is
/// brought forward first; absent when it is covered even then, when it is not shown, and where the
/// compositor gives no pictures.
[[nodiscard]] std::unique_ptr<WindowPicture>
makeScreenWindowPicture(std::shared_ptr<WaylandApplications> applications,
                        std::shared_ptr<WaylandScreens> screens);

} // namespace kelvane
