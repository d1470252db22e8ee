#include "app/panel/panel_portal.h"

namespace kelvane {

std::unique_ptr<QObject> watchPortal(std::function<void(const DesktopLook&)>) {
    return nullptr;
}

} // namespace kelvane
