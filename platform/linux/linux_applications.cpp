#include "platform/linux/linux_applications.h"

#include "platform/linux/accessibility/accessible_ports.h"
#include "platform/linux/linux_platform.h"
#include "platform/linux/linux_session.h"
#include "platform/linux/unseen_sources.h"
#include "platform/linux/x11/x11_workspace.h"

#include <utility>

namespace kelvane {

LinuxApplications openLinuxApplications(Environment& environment, Clock& clock) {
    LinuxApplications opened;
    const DesktopVariables variables = desktopVariables(environment);
    opened.files =
        std::make_shared<DesktopFiles>(dataFolders(variables), messagesLocale(variables), clock);
    const auto session = linuxSession(environment);
    if (session.kind == LinuxSession::Kind::None) return opened;
    auto connection = X11Connection::tryOpen(session.display);
    if (connection.silent) opened.silentDisplay = session.display;
    if (connection.link) {
        opened.display = session.display;
        opened.applications = std::make_shared<X11Applications>(
            std::move(connection.link), [files = opened.files] { return files->index(); });
    }
    return opened;
}

std::unique_ptr<Workspace> makeLinuxWorkspace(Environment& environment, Clock& clock) {
    static NoOwnFocus none; // Who asks here has no windows.
    auto opened = openLinuxApplications(environment, clock);
    const InstalledEntries installed = [files = opened.files] { return files->index(); };
    const auto unseen = openUnseenSources(environment, installed, clock, none);
    const auto sources = chooseSources(unseen.addTo(
        {.xServer = opened.applications != nullptr, .wayland = isWaylandSession(environment)}));
    if (sources.windows == DesktopSource::GnomeExtension) {
        return makeGnomePorts(unseen.extension, unseen.accessible, installed, clock).workspace;
    }
    auto display = opened.applications ? opened.display : opened.silentDisplay;
    auto x11 = makeX11Workspace(std::move(opened.applications), std::move(display));
    if (sources.windows != DesktopSource::Accessibility) return x11;
    return besideX11(std::move(x11), makeAccessiblePorts(unseen.accessible).workspace);
}

} // namespace kelvane
