#include "platform/linux/linux_platform.h"

#include "platform/linux/common/copy_keyboard.h"
#include "platform/linux/common/copy_pasteboard.h"
#include "platform/linux/desktop_icons.h"
#include "platform/linux/linux_applications.h"
#include "platform/linux/x11/x11_clipboard.h"
#include "platform/linux/x11/x11_compositing.h"
#include "platform/linux/x11/x11_input_hold.h"
#include "platform/linux/x11/x11_pointer_presses.h"
#include "platform/linux/x11/x11_window_list.h"
#include "platform/linux/x11/x11_window_picture.h"

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

std::unique_ptr<Compositing> compositingOf(const LinuxSession& session) {
    if (session.kind == LinuxSession::Kind::X11) return makeX11Compositing(session.display);
    return std::make_unique<AlwaysCompositing>(); // as every Wayland desktop does
}

bool isOfWayland(DesktopSource source) {
    return source == DesktopSource::Wlroots || source == DesktopSource::KWin;
}

} // namespace

LinuxDesktop makeLinuxDesktop(Environment& environment, Clock& clock) {
    const auto opened = openLinuxApplications(environment, clock, WaylandUse::Everything);
    const auto& [session, sources, silent, wayland, x11, files] = opened;
    // Only presses on the windows of X11 programs would be heard under Wayland: half an answer.
    const auto wholeX11 = session.kind == LinuxSession::Kind::X11 ? session.display : "";
    auto held = makeX11InputHold(wholeX11);
    const auto clipboard = x11 ? openX11Clipboard(session.display, held.post) : nullptr;
    LinuxDesktop desktop;
    desktop.workspace = workspaceOf(opened);
    desktop.keyboard = isOfWayland(sources.keys) ? wayland->keyboard()
                                                 : makeCopyKeyboard(clipboard, copyTargetOf(x11));
    desktop.pasteboard =
        isOfWayland(sources.selection) ? wayland->pasteboard() : makeCopyPasteboard(clipboard);
    desktop.windowList =
        isOfWayland(sources.windows) ? wayland->windowList() : makeX11WindowList(x11);
    desktop.windowPicture = isOfWayland(sources.picture)
                                ? wayland->windowPicture(sources.picture)
                                : makeX11WindowPicture(x11 ? session.display : "");
    desktop.icons = makeDesktopIcons(files);
    desktop.pointerPresses = makeX11PointerPresses(wholeX11);
    desktop.hold = std::move(held.hold);
    desktop.compositing = compositingOf(session);
    return desktop;
}

} // namespace kelvane
