// The panel's window as a layer of a Wayland desktop.
//
// There an ordinary window stands where the compositor likes: tiled, or in the middle. A compositor
// with a layer shell lets a program name an edge instead, over all windows. This names the corner
// where trays are, has the panel get the keyboard when it is opened, and tells of presses
// elsewhere, by a second layer without colour under the panel's: the press that closes the panel is
// lost to whoever lies below. Main thread only.

#pragma once

#include <QSize>

#include <functional>
#include <memory>

class QWindow;

namespace kelvane {

class LayerSurface {
public:
    virtual ~LayerSurface() = default;

    /// Before the window is shown, each time. False when the compositor does not take part within
    /// 300 ms; then the window is one like all others.
    virtual bool open(QSize size, int gap) = 0;
    /// The window has another size; nothing unless open.
    virtual void resize(QSize size) = 0;
    /// For the moment of a capture: under every window and without the keyboard, so that it is in
    /// no picture and takes no key; and back.
    virtual void lend(bool lent) = 0;
    /// Before the window is hidden, each time.
    virtual void close() = 0;
};

/// What has to hold before Qt's application object is made for windows to become layers.
void prepareLayerSurfaces();

/// For a window that was never shown; it gets what flags it needs, and must outlive this. Null
/// where there is no such compositor. `pressedElsewhere` comes from the event loop.
[[nodiscard]] std::unique_ptr<LayerSurface>
makeLayerSurface(QWindow& window, std::function<void()> pressedElsewhere);

} // namespace kelvane
