// The product's ports on a compositor of the tests' own, once it answers them.

#pragma once

#include "platform/linux/linux_platform.h"
#include "platform/linux/linux_session.h"
#include "platform/linux/wayland/wayland_connection.h"
#include "tests/platform/linux/test_programs.h"

#include <chrono>
#include <stdexcept>
#include <thread>

namespace kelvane {

/// A compositor that has just been started is waited for, once: each newcomer that gives up costs
/// it more time. One that does not know this program yet is come to anew: ports that were renewed
/// would keep their first clipboard until a capture begins, and are renewed only when somebody asks
/// for their limits. Throws std::runtime_error when it does not answer at all.
inline LinuxDesktop answeringPorts(Environment& environment, Clock& clock, OwnFocus& ownFocus) {
    constexpr std::chrono::minutes kUntilUp{2};
    const bool up =
        WaylandConnection::open(linuxSession(environment).wayland, {}, kUntilUp).link != nullptr;
    if (!up) throw std::runtime_error("the compositor does not answer");
    LinuxDesktop ports;
    const bool answers = TestPrograms::waitUntil([&] {
        ports = makeLinuxDesktop(environment, clock, ownFocus);
        if (ports.keyboard->trusted()) return true;
        // KWin looks for programs that are new to it at most every 1.5 s, and reads the whole file
        // of each newcomer: asked all the time, it comes to nothing else.
        std::this_thread::sleep_for(std::chrono::seconds(1));
        return false;
    });
    if (!answers) throw std::runtime_error("the compositor answers no ports");
    return ports;
}

} // namespace kelvane
