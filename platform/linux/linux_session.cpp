#include "platform/linux/linux_session.h"

#include <utility>

namespace kelvane {

namespace {

std::string socketOf(const std::string& name, const std::string& runtime) {
    if (name.empty() || name.front() == '/') return name;
    return runtime.empty() || runtime.front() != '/' ? std::string() : runtime + "/" + name;
}

} // namespace

LinuxSession linuxSession(Environment& environment) {
    auto display = environment.get("DISPLAY").value_or("");
    const auto wayland = environment.get("WAYLAND_DISPLAY").value_or("");
    const auto type = environment.get("XDG_SESSION_TYPE").value_or("");
    // A remote display has nothing to do with the session that this program was started from.
    const bool local = display.empty() || display.front() == ':' || display.starts_with("unix:");
    if (local && (!wayland.empty() || (type == "wayland" && !display.empty()))) {
        return {LinuxSession::Kind::Wayland, std::move(display),
                socketOf(wayland, environment.get("XDG_RUNTIME_DIR").value_or(""))};
    }
    if (display.empty()) return {};
    return {LinuxSession::Kind::X11, std::move(display), {}};
}

} // namespace kelvane
