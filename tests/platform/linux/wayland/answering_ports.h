// The product's ports on a compositor of the tests' own, once it answers them.

#pragma once

#include "platform/linux/linux_platform.h"
#include "tests/platform/linux/test_programs.h"

#include <chrono>
#include <stdexcept>
#include <thread>

namespace kelvane {

/// A compositor that was too busy to answer at once, or does not know this program yet, is asked
/// for its limits until it lets the ports post keys. Ports that were renewed keep their first
/// clipboard until a capture begins, so one does. Throws std::runtime_error when it does not answer
/// at all.
inline LinuxDesktop answeringPorts(Environment& environment, Clock& clock, OwnFocus& ownFocus) {
    auto ports = makeLinuxDesktop(environment, clock, ownFocus);
    const bool answers = TestPrograms::waitUntil([&] {
        if (ports.keyboard->trusted()) return true;
        // KWin looks for programs that are new to it at most every 1.5 s, and reads the whole file
        // of each newcomer: asked all the time, it comes to nothing else.
        std::this_thread::sleep_for(std::chrono::seconds(1));
        (void)ports.limits->now();
        return false;
    });
    if (!answers) throw std::runtime_error("the compositor answers no ports");
    (void)ports.pasteboard->remember();
    return ports;
}

} // namespace kelvane
