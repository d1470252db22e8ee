// The workspace and the window list on a Wayland desktop that tells of its windows.
//
// A program is running when it has a window. The order of windows is that in which they were last
// in front, or the compositor's own where it tells.

#pragma once

#include "platform/linux/wayland/wayland_applications.h"
#include "platform/ports/window_list.h"
#include "platform/ports/workspace.h"

#include <functional>
#include <memory>
#include <string>

namespace kelvane {

/// `display` is what the compositor is called. Not null.
[[nodiscard]] std::unique_ptr<Workspace>
makeWaylandWorkspace(std::shared_ptr<WaylandApplications> applications, std::string display);

/// Sizes are in the desktop's own units; absent where nobody tells them. A minimised window is
/// listed, last, where its picture can be taken all the same (`picturesOfMinimised`, on any thread)
/// and its application shows no other.
[[nodiscard]] std::unique_ptr<WindowList>
makeWaylandWindowList(std::shared_ptr<WaylandApplications> applications,
                      std::function<bool()> picturesOfMinimised);

} // namespace kelvane
