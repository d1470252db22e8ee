#include "platform/linux/linux_session.h"

#include <utility>

namespace kelvane {

LinuxSession linuxSession(Environment& environment) {
    auto display = environment.get("DISPLAY").value_or("");
    if (display.empty()) return {};
    const auto wayland = environment.get("WAYLAND_DISPLAY").value_or("");
    const auto type = environment.get("XDG_SESSION_TYPE").value_or("");
    // A remote display has nothing to do with the session that this program was started from.
    const bool local = display.front() == ':' || display.starts_with("unix:");
    const bool isWayland = local && (!wayland.empty() || type == "wayland");
    return {isWayland ? LinuxSession::Kind::XWayland : LinuxSession::Kind::X11, std::move(display)};
}

} // namespace kelvane
