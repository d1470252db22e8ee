// The sources by which applications are told apart on the desktop of this login.

#pragma once

#include "platform/linux/desktop_files.h"
#include "platform/linux/x11/x11_applications.h"
#include "platform/ports/clock.h"
#include "platform/ports/environment.h"

#include <memory>
#include <string>

namespace kelvane {

struct LinuxApplications {
    std::string display;       ///< Of the X server; empty when there is none to ask.
    std::string silentDisplay; ///< Of one that let nobody in within the time it had; else empty.
    std::shared_ptr<X11Applications> applications; ///< Null likewise.
    std::shared_ptr<DesktopFiles> files;           ///< Never null; reads nothing until asked.
};

/// Connects to the display that `environment` names, if any. The environment is read now and never
/// again; `clock` must outlive what is made.
[[nodiscard]] LinuxApplications openLinuxApplications(Environment& environment, Clock& clock);

} // namespace kelvane
