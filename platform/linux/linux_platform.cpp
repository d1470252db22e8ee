#include "platform/linux/linux_platform.h"

#include "platform/linux/accessibility/accessibility_switch.h"
#include "platform/linux/accessibility/accessible_ports.h"
#include "platform/linux/common/copy_keyboard.h"
#include "platform/linux/common/copy_pasteboard.h"
#include "platform/linux/desktop_icons.h"
#include "platform/linux/linux_applications.h"
#include "platform/linux/linux_limits.h"
#include "platform/linux/renewed_desktop.h"
#include "platform/linux/unseen_sources.h"
#include "platform/linux/x11/x11_clipboard.h"
#include "platform/linux/x11/x11_compositing.h"
#include "platform/linux/x11/x11_input_hold.h"
#include "platform/linux/x11/x11_pointer_presses.h"
#include "platform/linux/x11/x11_shortcut.h"
#include "platform/linux/x11/x11_window_list.h"
#include "platform/linux/x11/x11_window_picture.h"

#include <memory>
#include <optional>
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

void useExtension(LinuxDesktop& desktop, const LinuxApplications& opened, Clock& clock) {
    auto gnome = makeGnomePorts(opened.unseen.extension, opened.unseen.accessible,
                                entriesOf(opened.files), clock);
    desktop.workspace = std::move(gnome.workspace);
    desktop.keyboard = std::move(gnome.keyboard);
    desktop.pasteboard = std::move(gnome.pasteboard);
    desktop.windowList = std::move(gnome.windowList);
    desktop.windowPicture = std::move(gnome.windowPicture);
    desktop.panelPlace = std::move(gnome.panelPlace);
}

/// Beside the X server, which answers for its own programs.
void readFromPrograms(LinuxDesktop& desktop, const LinuxApplications& opened) {
    auto own = makeAccessiblePorts(opened.unseen.accessible);
    auto text = besideX11(
        {x11WorkspaceOf(opened), std::move(desktop.keyboard), std::move(desktop.pasteboard)},
        {std::move(own.workspace), std::move(own.keyboard), std::move(own.pasteboard)});
    desktop.workspace = std::move(text.workspace);
    desktop.keyboard = std::move(text.keyboard);
    desktop.pasteboard = std::move(text.pasteboard);
}

LinuxDesktop desktopOf(const LinuxApplications& opened, Clock& clock) {
    const auto& session = opened.session;
    const auto& sources = opened.sources;
    const auto& wayland = opened.wayland;
    const auto& x11 = opened.x11;
    // Only presses on the windows of X11 programs would be heard under Wayland: half an answer.
    const auto wholeX11 = session.kind == LinuxSession::Kind::X11 ? session.display : "";
    auto held = makeX11InputHold(wholeX11);
    const auto clipboard = x11 ? openX11Clipboard(session.display, held.post) : nullptr;
    LinuxDesktop desktop;
    desktop.workspace = workspaceOf(opened, clock);
    desktop.panelPlace = std::make_unique<NoPanelPlace>();
    desktop.keyboard = isOfWayland(sources.keys) ? wayland->keyboard()
                                                 : makeCopyKeyboard(clipboard, copyTargetOf(x11));
    desktop.pasteboard =
        isOfWayland(sources.selection) ? wayland->pasteboard() : makeCopyPasteboard(clipboard);
    desktop.windowList =
        isOfWayland(sources.windows) ? wayland->windowList() : makeX11WindowList(x11);
    // Whoever tells of the windows, also where their pictures come later.
    desktop.windowPicture = isOfWayland(sources.windows)
                                ? wayland->windowPicture()
                                : makeX11WindowPicture(x11 ? session.display : "");
    if (sources.windows == DesktopSource::GnomeExtension) useExtension(desktop, opened, clock);
    if (sources.windows == DesktopSource::Accessibility) readFromPrograms(desktop, opened);
    const auto offer = [unseen = opened.unseen, plain = opened.offer, wayland] {
        if (!wayland) return unseen.addTo(plain);
        auto now = wayland->offer();
        now.xServer = plain.xServer;
        return unseen.addTo(now);
    };
    desktop.limits = makeLinuxLimits(offer, isGnomeShell(opened.unseen.sessionBus));
    desktop.accessibility = makeAccessibilitySwitch(opened.unseen.sessionBus);
    desktop.icons = makeDesktopIcons(opened.files);
    desktop.pointerPresses = makeX11PointerPresses(wholeX11);
    desktop.shortcut = makeX11Shortcut(wholeX11);
    desktop.hold = std::move(held.hold);
    desktop.compositing = compositingOf(session);
    return desktop;
}

/// `answered` as in `openLinuxApplications`.
LinuxDesktop desktopWith(std::unique_ptr<WaylandSession> answered, Environment& environment,
                         Clock& clock, OwnFocus& ownFocus) {
    const auto opened = std::make_shared<LinuxApplications>(openLinuxApplications(
        environment, clock, ownFocus, WaylandUse::Everything, std::move(answered)));
    auto desktop = desktopOf(*opened, clock);
    if (!mayTellMore(*opened)) return desktop;
    return makeRenewedDesktop(
        std::move(desktop),
        [opened, &environment, &clock, &ownFocus]() -> std::optional<LinuxDesktop> {
            auto told = tellsMore(*opened);
            if (!told.more) return std::nullopt;
            return desktopWith(std::move(told.session), environment, clock, ownFocus);
        });
}

} // namespace

LinuxDesktop makeLinuxDesktop(Environment& environment, Clock& clock, OwnFocus& ownFocus) {
    return desktopWith(nullptr, environment, clock, ownFocus);
}

} // namespace kelvane
