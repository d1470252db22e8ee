// A combination of keys, grabbed from an X server.

#pragma once

#include "platform/ports/global_shortcut.h"

#include <memory>
#include <string>

namespace kelvane {

/// Connects to `display` for as long as a combination is in use; while none is there is no thread
/// and no link. Caps Lock and Num Lock do not matter. A key is looked for once, on the keyboard as
/// it is then. Blocks for as long as a server may take to answer, see x11_connection.h.
[[nodiscard]] std::unique_ptr<GlobalShortcut> makeX11Shortcut(std::string display);

} // namespace kelvane
