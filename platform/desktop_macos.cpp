#include "platform/desktop.h"
#include "platform/macos/activation_policy.h"
#include "platform/macos/macos_platform.h"
#include "platform/macos/screencapture.h"

namespace kelvane {

void addSystemPorts(DesktopPorts& ports) {
    ports.loginItem = LoginItem::LaunchAgent;
    ports.ownFocus = std::make_unique<NoOwnFocus>();
    ports.workspace = makeNsWorkspace();
    ports.keyboard = makeCgKeyboard();
    ports.pasteboard = makeNsPasteboard();
    ports.windows = makeCgWindowList();
    ports.picture = makeScreencapture(*ports.processes, *ports.files);
    ports.panelPlace = std::make_unique<NoPanelPlace>();
    ports.limits = std::make_unique<NoDesktopLimits>();
    ports.accessibility = std::make_unique<NoAccessibilitySwitch>();
    ports.icons = makeNsAppIcons();
    ports.presses = makeNsPointerPresses();
    ports.shortcut = std::make_unique<NoGlobalShortcut>();
    ports.hold = std::make_unique<NoInputHold>();
    ports.compositing = std::make_unique<AlwaysCompositing>();
    ports.dialogs = makeNsDialogs();
    ports.urls = makeNsUrlOpener();
    ports.notifications = std::make_unique<NoNotifications>();
}

std::unique_ptr<ProxySettings> makeProxySettings(Environment&, Clock&, QuitSignal&) {
    return std::make_unique<NoProxySettings>();
}

void makeAccessoryApplication() {
    setAccessoryPolicy();
}

void activateApplication() {
    activateIgnoringOtherApplications();
}

} // namespace kelvane
