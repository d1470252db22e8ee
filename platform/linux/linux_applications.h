// The sources by which a desktop's questions are answered, found in the session of this login.

#pragma once

#include "platform/linux/desktop_files.h"
#include "platform/linux/linux_session.h"
#include "platform/linux/rules/desktop_sources.h"
#include "platform/linux/wayland/wayland_session.h"
#include "platform/linux/x11/x11_applications.h"
#include "platform/ports/clock.h"
#include "platform/ports/environment.h"

#include <memory>
#include <string>

namespace kelvane {

struct LinuxApplications {
    LinuxSession session;
    DesktopSources sources;
    std::string silentDisplay; ///< Of one that let nobody in within the time it had; else empty.
    std::unique_ptr<WaylandSession> wayland; ///< Not null for the sources Wlroots and KWin.
    std::shared_ptr<X11Applications> x11;    ///< Not null for the source X11.
    std::shared_ptr<DesktopFiles> files;     ///< Never null; reads nothing until asked.
};

/// Connects to whom `environment` names, if anybody. The environment is read now and never again;
/// `clock` must outlive what is made.
[[nodiscard]] LinuxApplications openLinuxApplications(Environment& environment, Clock& clock,
                                                      WaylandUse use);

/// Who is in front and who runs, by the source that was chosen for it. Never null.
[[nodiscard]] std::unique_ptr<Workspace> workspaceOf(const LinuxApplications& opened);

} // namespace kelvane
