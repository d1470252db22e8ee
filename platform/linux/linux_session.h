// The kind of desktop session, and who may be asked about it.
//
// Decided from the environment alone. Under Wayland an X server that the compositor runs shows the
// windows of X11 programs and no others; while a native Wayland window is in front it names no
// active window.

#pragma once

#include "platform/ports/environment.h"

#include <string>

namespace kelvane {

struct LinuxSession {
    enum class Kind {
        None,    ///< No display that this program can ask: a console, a service.
        X11,     ///< An X server shows everything.
        Wayland, ///< A compositor does, and perhaps an X server shows the X11 programs.
    };
    Kind kind = Kind::None;
    std::string display; ///< For the X server; empty where there is none.
    std::string wayland; ///< The compositor's socket, an absolute path; empty where none is named.

    bool operator==(const LinuxSession&) const = default;
};

[[nodiscard]] LinuxSession linuxSession(Environment& environment);

} // namespace kelvane
