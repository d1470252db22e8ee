// The picture of one window on an X server, whatever covers it.
//
// A window that is visible as a whole is copied as it is. Of one that is covered in part, or
// reaches over the edge of the screen, the server is asked to keep a whole copy (XComposite) and
// the application gets a moment to draw what was missing. An application that does not draw (it
// hangs) has no picture: a wrong one would be worse. Nothing is asked of the compositing manager,
// and nothing but the window itself can get into the picture.

#pragma once

#include "platform/ports/window_picture.h"

#include <memory>
#include <string>

namespace kelvane {

/// Every picture opens a link of its own to `display`, which also undoes everything when it closes.
/// With an empty display there are no pictures.
[[nodiscard]] std::unique_ptr<WindowPicture> makeX11WindowPicture(std::string display);

} // namespace kelvane
