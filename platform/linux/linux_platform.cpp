#include "platform/linux/linux_platform.h"

#include "platform/linux/desktop_icons.h"
#include "platform/linux/linux_applications.h"
#include "platform/linux/linux_session.h"
#include "platform/linux/x11/x11_clipboard.h"
#include "platform/linux/x11/x11_input_hold.h"
#include "platform/linux/common/copy_keyboard.h"
#include "platform/linux/common/copy_pasteboard.h"
#include "platform/linux/x11/x11_pointer_presses.h"
#include "platform/linux/x11/x11_window_list.h"
#include "platform/linux/x11/x11_window_picture.h"
#include "platform/linux/x11/x11_workspace.h"

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
    const auto [display, silent, applications, files] = openLinuxApplications(environment, clock);
    const auto session = linuxSession(environment);
    const auto pressesOf = session.kind == LinuxSession::Kind::X11 ? session.display : "";
    auto held = makeX11InputHold(pressesOf);
    const auto clipboard = applications ? openX11Clipboard(display, held.post) : nullptr;
    return {makeX11Workspace(applications, applications ? display : silent),
            makeCopyKeyboard(clipboard, copyTargetOf(applications)),
            makeCopyPasteboard(clipboard),
            makeX11WindowList(applications),
            makeX11WindowPicture(display),
            makeDesktopIcons(files),
            makeX11PointerPresses(pressesOf),
            std::move(held.hold)};
}

} // namespace kelvane
