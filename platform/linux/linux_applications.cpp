#include "platform/linux/linux_applications.h"

#include "platform/linux/linux_platform.h"
#include "platform/linux/linux_session.h"
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
    auto opened = openLinuxApplications(environment, clock);
    auto display = opened.applications ? opened.display : opened.silentDisplay;
    return makeX11Workspace(std::move(opened.applications), std::move(display));
}

} // namespace kelvane
