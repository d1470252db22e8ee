// The picture of one window on an X server, whatever covers it.
//
// Nobody can tell from the pixels of a window who drew them: where another window was a moment ago
// its picture stays until the program below has drawn. So every picture is drawn for us: the server
// keeps a whole copy of the window (XComposite), the program is told that all of it is to be drawn,
// and only what has been drawn since (XDamage) counts. A program that does not draw (it was
// stopped, it hangs) has no picture: a wrong one would be worse. What lies outside the shape of a
// window without straight edges is black. Nothing is asked of the compositing manager, and nothing
// but the window itself can get into the picture.

#pragma once

#include "platform/ports/window_picture.h"

#include <memory>
#include <string>

namespace kelvane {

/// Every picture opens a link of its own to `display`, which also undoes everything when it closes,
/// and takes up to about a second, whatever the program and the server do. With an empty display,
/// and on a server without XComposite or XDamage, there are no pictures.
[[nodiscard]] std::unique_ptr<WindowPicture> makeX11WindowPicture(std::string display);

} // namespace kelvane
