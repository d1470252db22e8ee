// The panel as a picture in a file.

#pragma once

#include "app/panel/panel_bridge.h"
#include "app/shell/shell_ports.h"

namespace kelvane {

/// Draws off screen. What `images` refers to must outlive it.
[[nodiscard]] std::unique_ptr<PanelRenderer> makeQtPanelRenderer(PanelImages images);

} // namespace kelvane
