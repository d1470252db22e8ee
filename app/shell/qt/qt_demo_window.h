// The panel in an ordinary window.

#pragma once

#include "app/panel/panel_bridge.h"
#include "app/shell/shell_ports.h"

#include <string_view>

namespace kelvane {

/// A window of exactly that size, with a title and a close button, over a panel of its own.
/// Closing it quits the application. `model` and what `images` refers to must outlive it.
[[nodiscard]] std::unique_ptr<DemoWindow>
makeQtDemoWindow(CompanionModel& model, PanelImages images, std::string_view title, Size content);

} // namespace kelvane
