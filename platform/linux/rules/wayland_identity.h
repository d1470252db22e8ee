// What a Wayland window says about itself, as the facts that windows are identified by.
//
// A window has one name, its app_id, which should be the id of its desktop file and often is not.
// Values in, values out.

#pragma once

#include "platform/linux/rules/window_identity.h"

#include <string_view>

namespace kelvane {

/// The facts that a window with this app_id and title states; `resourceName` is the first half of
/// an X11 window's class where the compositor tells it, `process` its process or 0. Nothing of what
/// the kernel knows of the process is in them.
[[nodiscard]] WindowFacts waylandFacts(std::string_view appId, std::string_view title,
                                       std::string_view resourceName, std::int32_t process);

} // namespace kelvane
