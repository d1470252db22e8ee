#include "platform/linux/linux_applications.h"

#include "platform/linux/accessibility/accessible_ports.h"
#include "platform/linux/linux_platform.h"
#include "platform/linux/x11/x11_workspace.h"

#include <utility>

namespace kelvane {

InstalledEntries entriesOf(const std::shared_ptr<DesktopFiles>& files) {
    return [files] { return files->index(); };
}

namespace {

/// What the compositor offers; nothing where there is none.
DesktopOffer offerOf(LinuxApplications& opened, Environment& environment, WaylandUse use,
                     std::unique_ptr<WaylandSession> answered) {
    DesktopOffer offer;
    offer.wayland = opened.session.kind == LinuxSession::Kind::Wayland;
    if (opened.session.wayland.empty()) return offer;
    opened.place = {opened.session.wayland, environment.get("SWAYSOCK").value_or(""),
                    environment.get("DBUS_SESSION_BUS_ADDRESS").value_or("")};
    auto wayland = answered ? OpenedWaylandSession{std::move(answered), false, nullptr}
                            : openWaylandSession(opened.place, entriesOf(opened.files), use);
    if (wayland.silent) opened.silentDisplay = opened.session.wayland;
    opened.late = std::move(wayland.late);
    if (wayland.session) offer = wayland.session->offer();
    opened.wayland = std::move(wayland.session);
    return offer;
}

/// False where there is no server that lets this program in.
bool openX11(LinuxApplications& opened) {
    // One that a compositor runs stands still with it.
    if (opened.session.display.empty() || !opened.silentDisplay.empty()) return false;
    auto connection = X11Connection::tryOpen(opened.session.display);
    if (connection.silent) opened.silentDisplay = opened.session.display;
    if (!connection.link) return false;
    opened.x11 =
        std::make_shared<X11Applications>(std::move(connection.link), entriesOf(opened.files));
    return true;
}

} // namespace

LinuxApplications openLinuxApplications(Environment& environment, Clock& clock, OwnFocus& ownFocus,
                                        WaylandUse use, std::unique_ptr<WaylandSession> answered) {
    LinuxApplications opened;
    opened.session = linuxSession(environment);
    const DesktopVariables variables = desktopVariables(environment);
    opened.files =
        std::make_shared<DesktopFiles>(dataFolders(variables), messagesLocale(variables), clock);
    if (opened.session.kind == LinuxSession::Kind::None) return opened;
    auto offer = offerOf(opened, environment, use, std::move(answered));
    if (offer.wayland && chooseSources(offer).windows == DesktopSource::None) {
        opened.unseen = openUnseenSources(environment, entriesOf(opened.files), clock, ownFocus);
        offer = opened.unseen.addTo(offer);
    }
    // A server that shows a part of the windows is asked when nobody else knows any, and beside
    // programs that tell of themselves.
    const auto windows = chooseSources(offer).windows;
    if (windows == DesktopSource::None || windows == DesktopSource::Accessibility) {
        offer.xServer = openX11(opened);
    }
    opened.offer = offer;
    opened.sources = chooseSources(offer);
    return opened;
}

namespace {

bool wasSilent(const LinuxApplications& opened) {
    return !opened.place.socket.empty() && opened.silentDisplay == opened.place.socket;
}

/// The extension, or accessibility.
bool mayBeTurnedOn(const LinuxApplications& opened) {
    return opened.unseen.extension != nullptr &&
           opened.sources.windows != DesktopSource::GnomeExtension;
}

} // namespace

bool mayTellMore(const LinuxApplications& opened) {
    return wasSilent(opened) || mayOfferMore(opened.offer) || mayBeTurnedOn(opened);
}

MoreTold tellsMore(const LinuxApplications& opened) {
    if (wasSilent(opened)) {
        auto session = opened.late ? opened.late() : nullptr;
        const bool more = session != nullptr;
        return {more, std::move(session)};
    }
    if (mayOfferMore(opened.offer)) {
        const auto now =
            openWaylandSession(opened.place, entriesOf(opened.files), WaylandUse::WindowsOnly);
        if (now.session && !mayOfferMore(now.session->offer())) return {true, nullptr};
    }
    const bool more = mayBeTurnedOn(opened) &&
                      seeMore(chooseSources(opened.unseen.addTo(opened.offer)), opened.sources);
    return {more, nullptr};
}

std::unique_ptr<Workspace> x11WorkspaceOf(const LinuxApplications& opened) {
    return makeX11Workspace(opened.x11, opened.x11 ? opened.session.display : opened.silentDisplay);
}

std::unique_ptr<Workspace> workspaceOf(const LinuxApplications& opened, Clock& clock) {
    switch (opened.sources.windows) {
    case DesktopSource::Wlroots:
    case DesktopSource::KWin:
        return opened.wayland->workspace();
    case DesktopSource::GnomeExtension:
        return makeGnomePorts(opened.unseen.extension, opened.unseen.accessible,
                              entriesOf(opened.files), clock)
            .workspace;
    case DesktopSource::Accessibility:
        return besideX11(x11WorkspaceOf(opened),
                         makeAccessiblePorts(opened.unseen.accessible).workspace);
    case DesktopSource::X11:
    case DesktopSource::None:
        break;
    }
    return x11WorkspaceOf(opened);
}

std::unique_ptr<Workspace> makeLinuxWorkspace(Environment& environment, Clock& clock) {
    static NoOwnFocus none; // Who asks here has no windows.
    return workspaceOf(openLinuxApplications(environment, clock, none, WaylandUse::WindowsOnly),
                       clock);
}

} // namespace kelvane
