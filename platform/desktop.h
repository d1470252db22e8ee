// The ports of the application on a desktop, and the one place that makes them.
//
// Everything the panel's program asks of its machine, through Qt where the system has no means of
// its own. Which adapters stand behind the ports is the build's choice. Only the entry point sees
// the struct: everyone else is handed references to just the ports that he uses. Main thread only.

#pragma once

#include "platform/ports/accessibility_switch.h"
#include "platform/ports/app_icons.h"
#include "platform/ports/bundle_resources.h"
#include "platform/ports/clock.h"
#include "platform/ports/compositing.h"
#include "platform/ports/desktop_limits.h"
#include "platform/ports/dialogs.h"
#include "platform/ports/dispatcher.h"
#include "platform/ports/environment.h"
#include "platform/ports/file_system.h"
#include "platform/ports/global_shortcut.h"
#include "platform/ports/http_session.h"
#include "platform/ports/input_hold.h"
#include "platform/ports/kept_programs.h"
#include "platform/ports/keyboard.h"
#include "platform/ports/login_item.h"
#include "platform/ports/notifications.h"
#include "platform/ports/own_focus.h"
#include "platform/ports/panel_place.h"
#include "platform/ports/pasteboard.h"
#include "platform/ports/pointer_presses.h"
#include "platform/ports/process_runner.h"
#include "platform/ports/proxy_settings.h"
#include "platform/ports/quit_signal.h"
#include "platform/ports/url_opener.h"
#include "platform/ports/window_list.h"
#include "platform/ports/window_picture.h"
#include "platform/ports/workspace.h"

#include <memory>

namespace kelvane {

/// No pointer is null once it is made; a port whose mechanism is missing answers "absent". Members
/// are destroyed in reverse order: background jobs end with the dispatcher, before any port that
/// they use, and every port before those that it uses itself. An exchange or a wait that is under
/// way holds that up until `quit` is raised.
struct DesktopPorts {
    LoginItem loginItem = LoginItem::LaunchAgent; ///< What this system goes by.
    std::unique_ptr<QuitSignal> quit;
    std::unique_ptr<Environment> environment;
    std::unique_ptr<FileSystem> files;
    std::unique_ptr<BundleResources> resources;
    std::unique_ptr<ProcessRunner> processes;
    std::unique_ptr<KeptPrograms> programs;
    std::unique_ptr<Clock> clock;
    std::unique_ptr<OwnFocus> ownFocus;
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<Keyboard> keyboard;
    std::unique_ptr<Pasteboard> pasteboard;
    std::unique_ptr<WindowList> windows;
    std::unique_ptr<WindowPicture> picture;
    std::unique_ptr<PanelPlace> panelPlace;
    std::unique_ptr<DesktopLimits> limits;
    std::unique_ptr<AccessibilitySwitch> accessibility;
    std::unique_ptr<AppIcons> icons;
    std::unique_ptr<PointerPresses> presses;
    std::unique_ptr<GlobalShortcut> shortcut;
    std::unique_ptr<InputHold> hold;
    std::unique_ptr<Compositing> compositing;
    std::unique_ptr<Dialogs> dialogs;
    std::unique_ptr<UrlOpener> urls;
    std::unique_ptr<Notifications> notifications;
    std::unique_ptr<ProxySettings> proxies;
    std::unique_ptr<HttpSession> http;
    std::unique_ptr<Dispatcher> dispatcher;
};

/// For the session that the environment names now. Precondition: Qt's application object exists and
/// this is its thread.
[[nodiscard]] DesktopPorts makeDesktopPorts();

/// What the systems differ in: the ports from `ownFocus` to `notifications`, and `loginItem`.
/// Called by `makeDesktopPorts` once those before them are there.
void addSystemPorts(DesktopPorts& ports);

/// What this system's desktop says of the way out. All three must outlive it.
[[nodiscard]] std::unique_ptr<ProxySettings> makeProxySettings(Environment& environment,
                                                               Clock& clock, QuitSignal& quit);

/// What an exchange with a service needs, as it is in `DesktopPorts`, and no more.
struct ExchangePorts {
    std::unique_ptr<QuitSignal> quit;
    std::unique_ptr<Environment> environment;
    std::unique_ptr<Clock> clock;
    std::unique_ptr<ProxySettings> proxies;
    std::unique_ptr<HttpSession> http;
};

/// Needs no application object of Qt's.
[[nodiscard]] ExchangePorts makeExchangePorts();

/// Makes this an accessory application: on macOS it has no Dock icon and no menus; elsewhere a
/// program shows nowhere until it opens a window, and nothing is to be done. Call it once, right
/// after Qt's application object was made and before anything is shown.
void makeAccessoryApplication();

/// Brings this application before all others, as opening a window does not do by itself on macOS
/// for an accessory one. Elsewhere the window manager sees to it when the window asks.
void activateApplication();

} // namespace kelvane
