#include "app/panel/panel_portal.h"

namespace kelvane {

std::unique_ptr<QObject> watchPortal(std::function<void(ColorScheme)>) {
    return nullptr;
}

} // namespace kelvane
