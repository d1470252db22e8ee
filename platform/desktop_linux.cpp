#include "platform/desktop.h"
#include "platform/linux/linux_platform.h"
#include "platform/qt/qt_dialogs.h"
#include "platform/qt/qt_own_focus.h"
#include "platform/qt/qt_url_opener.h"

#include <utility>

namespace kelvane {

void addSystemPorts(DesktopPorts& ports) {
    ports.loginItem = LoginItem::AutostartEntry;
    ports.ownFocus = makeQtOwnFocus();
    LinuxDesktop desktop = makeLinuxDesktop(*ports.environment, *ports.clock, *ports.ownFocus);
    ports.workspace = std::move(desktop.workspace);
    ports.keyboard = std::move(desktop.keyboard);
    ports.pasteboard = std::move(desktop.pasteboard);
    ports.windows = std::move(desktop.windowList);
    ports.picture = std::move(desktop.windowPicture);
    ports.panelPlace = std::move(desktop.panelPlace);
    ports.limits = std::move(desktop.limits);
    ports.accessibility = std::move(desktop.accessibility);
    ports.icons = std::move(desktop.icons);
    ports.presses = std::move(desktop.pointerPresses);
    ports.shortcut = std::move(desktop.shortcut);
    ports.hold = std::move(desktop.hold);
    ports.compositing = std::move(desktop.compositing);
    ports.dialogs = makeQtDialogs();
    ports.urls = makeQtUrlOpener();
}

void makeAccessoryApplication() {}

void activateApplication() {}

} // namespace kelvane
