// The clipboard of a Wayland desktop, with PRIMARY beside it, as copies go through it.

#pragma once

#include "platform/linux/common/copy_clipboard.h"
#include "platform/linux/wayland/wayland_connection.h"
#include "platform/linux/wayland/wayland_keys.h"
#include "platform/linux/wayland/wayland_selections.h"
#include "platform/linux/wayland/wayland_windows.h"

#include <memory>

namespace kelvane {

struct WaylandClipboardParts {
    std::shared_ptr<WaylandConnection> link;
    std::shared_ptr<WaylandWindows> windows;
    std::shared_ptr<WaylandSelections> selections;
    std::shared_ptr<WaylandKeys> keys;
};

/// Nothing may be null. `CopyTarget::window` is the number of a window in `windows`. What it offers
/// on the clipboard ends with the link.
[[nodiscard]] std::shared_ptr<CopyClipboard> makeWaylandClipboard(WaylandClipboardParts parts);

} // namespace kelvane
