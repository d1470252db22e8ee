#include "platform/desktop.h"
#include "platform/linux/linux_platform.h"
#include "platform/linux/linux_session.h"
#include "platform/linux/proxy_portal.h"
#include "platform/qt/portal_shortcut.h"
#include "platform/qt/qt_dialogs.h"
#include "platform/qt/qt_notifications.h"
#include "platform/qt/qt_own_focus.h"
#include "platform/qt/qt_url_opener.h"

#include <memory>
#include <utility>

namespace kelvane {

namespace {

/// A compositor gives keys to nobody; where there is a portal, that does.
std::unique_ptr<GlobalShortcut> shortcutOf(Environment& environment,
                                           std::unique_ptr<GlobalShortcut> ofServer) {
    if (linuxSession(environment).kind != LinuxSession::Kind::Wayland) return ofServer;
    return makePortalShortcut();
}

} // namespace

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
    ports.shortcut = shortcutOf(*ports.environment, std::move(desktop.shortcut));
    ports.hold = std::move(desktop.hold);
    ports.compositing = std::move(desktop.compositing);
    ports.dialogs = makeQtDialogs();
    ports.urls = makeQtUrlOpener();
    ports.notifications = makeQtNotifications(ports.resources->url("brask", "png"));
}

std::unique_ptr<ProxySettings> makeProxySettings(Environment& environment, Clock& clock,
                                                 QuitSignal& quit) {
    return makeProxyPortal(environment, clock, quit);
}

void makeAccessoryApplication() {}

void activateApplication() {}

} // namespace kelvane
