// The kind of desktop session, and the X server, if any, that may be asked about it.
//
// Decided from the environment alone. Under Wayland only the windows of X11 programs can be seen,
// through the X server that the compositor runs for them; while a native Wayland window is in
// front that server names no active window, and every port has its absent answer.

#pragma once

#include "platform/ports/environment.h"

#include <string>

namespace kelvane {

struct LinuxSession {
    enum class Kind {
        None,     ///< No display that this program can ask: a console, a service, plain Wayland.
        X11,      ///< An X server shows everything.
        XWayland, ///< An X server shows the X11 programs of a Wayland session.
    };
    Kind kind = Kind::None;
    std::string display; ///< For the X server; empty exactly when `kind` is `None`.

    bool operator==(const LinuxSession&) const = default;
};

[[nodiscard]] LinuxSession linuxSession(Environment& environment);

} // namespace kelvane
