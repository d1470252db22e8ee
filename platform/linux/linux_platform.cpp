#include "platform/linux/linux_platform.h"

#include "platform/linux/accessibility/accessibility_switch.h"
#include "platform/linux/accessibility/accessible_ports.h"
#include "platform/linux/common/copy_keyboard.h"
#include "platform/linux/common/copy_pasteboard.h"
#include "platform/linux/desktop_icons.h"
#include "platform/linux/linux_applications.h"
#include "platform/linux/linux_limits.h"
#include "platform/linux/linux_session.h"
#include "platform/linux/unseen_sources.h"
#include "platform/linux/x11/x11_clipboard.h"
#include "platform/linux/x11/x11_input_hold.h"
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

LinuxDesktop makeLinuxDesktop(Environment& environment, Clock& clock, OwnFocus& ownFocus) {
    const auto [display, silent, applications, files] = openLinuxApplications(environment, clock);
    const auto session = linuxSession(environment);
    const auto pressesOf = session.kind == LinuxSession::Kind::X11 ? session.display : "";
    auto held = makeX11InputHold(pressesOf);
    const auto clipboard = applications ? openX11Clipboard(display, held.post) : nullptr;
    const InstalledEntries installed = [files = files] { return files->index(); };
    const auto unseen = openUnseenSources(environment, installed, clock, ownFocus);
    const DesktopOffer plain{.xServer = applications != nullptr,
                             .wayland = isWaylandSession(environment)};
    const auto offer = [unseen, plain] { return unseen.addTo(plain); };

    LinuxDesktop desktop;
    desktop.panelPlace = std::make_unique<NoPanelPlace>();
    TextPorts text{makeX11Workspace(applications, applications ? display : silent),
                   makeCopyKeyboard(clipboard, copyTargetOf(applications)),
                   makeCopyPasteboard(clipboard)};
    desktop.windowList = makeX11WindowList(applications);
    desktop.windowPicture = makeX11WindowPicture(display);
    const auto windows = chooseSources(offer()).windows;
    if (windows == DesktopSource::GnomeExtension) {
        auto gnome = makeGnomePorts(unseen.extension, unseen.accessible, installed, clock);
        text = {std::move(gnome.workspace), std::move(gnome.keyboard), std::move(gnome.pasteboard)};
        desktop.windowList = std::move(gnome.windowList);
        desktop.windowPicture = std::move(gnome.windowPicture);
        desktop.panelPlace = std::move(gnome.panelPlace);
    } else if (windows == DesktopSource::Accessibility) {
        auto own = makeAccessiblePorts(unseen.accessible);
        text = besideX11(std::move(text), {std::move(own.workspace), std::move(own.keyboard),
                                           std::move(own.pasteboard)});
    }
    desktop.workspace = std::move(text.workspace);
    desktop.keyboard = std::move(text.keyboard);
    desktop.pasteboard = std::move(text.pasteboard);
    desktop.limits = makeLinuxLimits(offer, plain.wayland && isGnomeShell(unseen.sessionBus));
    desktop.accessibility = makeAccessibilitySwitch(unseen.sessionBus);
    desktop.icons = makeDesktopIcons(files);
    desktop.pointerPresses = makeX11PointerPresses(pressesOf);
    desktop.hold = std::move(held.hold);
    return desktop;
}

} // namespace kelvane
