// The panel as a picture.
//
// Drawn off screen, without a window on any display. Needs a QGuiApplication; on a machine without
// a display its platform must be "offscreen". Main thread only.

#pragma once

#include "app/panel/panel_bridge.h"
#include "app/panel/panel_item.h"

#include <QImage>

namespace kelvane {

/// The panel of `model`, dark on a solid grey ground (white level 0.11) under all its edges,
/// `width` points wide and as high as its content, each point `scale` pixels. Null when nothing
/// could be drawn.
[[nodiscard]] QImage renderPanel(CompanionModel& model, PanelImages images, int width = kPanelWidth,
                                 double scale = 2.0);

/// The same of a bridge that may be light or dark. `ground` is painted under the panel.
[[nodiscard]] QImage renderPanel(PanelBridge& bridge, const QColor& ground, int width,
                                 double scale);

} // namespace kelvane
