#include "platform/linux/linux_platform.h"

#include "platform/linux/desktop_entries.h"
#include "platform/linux/desktop_icons.h"
#include "platform/linux/linux_session.h"
#include "platform/linux/x11_applications.h"
#include "platform/linux/x11_clipboard.h"
#include "platform/linux/x11_keyboard.h"
#include "platform/linux/x11_pasteboard.h"
#include "platform/linux/x11_window_list.h"
#include "platform/linux/x11_window_picture.h"
#include "platform/linux/x11_workspace.h"

#include <utility>

namespace kelvane {

namespace {

CopyTargetOf copyTargetOf(std::shared_ptr<X11Applications> applications) {
    return [applications = std::move(applications)](ProcessId pid) -> std::optional<CopyTarget> {
        if (!applications) return std::nullopt;
        const auto active = applications->active();
        if (!active || active->app.pid != pid) return std::nullopt;
        return CopyTarget{active->process, active->window, active->takesKeys};
    };
}

} // namespace

LinuxDesktop makeLinuxDesktop(Environment& environment, Clock& clock) {
    std::string display;
    std::shared_ptr<X11Applications> applications;
    std::shared_ptr<X11Clipboard> clipboard;
    const auto entries = std::make_shared<DesktopEntries>(dataFolders(environment),
                                                          messagesLocale(environment), clock);
    const auto session = linuxSession(environment);
    if (session.kind != LinuxSession::Kind::None) {
        if (auto connection = X11Connection::open(session.display)) {
            display = session.display;
            applications = std::make_shared<X11Applications>(std::move(connection), entries);
            clipboard = openX11Clipboard(display);
        }
    }
    return {makeX11Workspace(applications, display),
            makeX11Keyboard(clipboard, copyTargetOf(applications)),
            makeX11Pasteboard(clipboard),
            makeX11WindowList(applications),
            makeX11WindowPicture(display),
            makeDesktopIcons(entries)};
}

} // namespace kelvane
