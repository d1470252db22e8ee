// Where the build has no Wayland, no window is a layer.

#include "app/shell/qt/layer_surface.h"

namespace kelvane {

void prepareLayerSurfaces() {}

std::unique_ptr<LayerSurface> makeLayerSurface(QWindow&, std::function<void()>) {
    return nullptr;
}

} // namespace kelvane
