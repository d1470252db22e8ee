// The window list on an X server: what is on screen, front to back, as the window manager has it.

#pragma once

#include "platform/linux/x11/x11_applications.h"
#include "platform/ports/window_list.h"

#include <memory>

namespace kelvane {

/// Owners bear the numbers that the workspace over the same applications gives. With null
/// applications the list cannot be had.
[[nodiscard]] std::unique_ptr<WindowList>
makeX11WindowList(std::shared_ptr<X11Applications> applications);

} // namespace kelvane
