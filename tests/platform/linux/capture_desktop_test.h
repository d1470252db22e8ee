// What the tests with real programs share: the product's own ports on a whole desktop, and a
// capture made through them.

#pragma once

#include "detect/capture.h"
#include "platform/fake/fakes.h"
#include "platform/linux/linux_platform.h"
#include "tests/platform/linux/x11/clipboard_desktop_test.h"

#include <functional>
#include <string>

namespace kelvane {

/// Time that passes for the code under test as it asks, and for everyone else `speed` times faster:
/// real programs get a part of each wait, tests do not take minutes.
class HastyClock : public Clock {
public:
    explicit HastyClock(int speed) : m_speed(speed) {}
    Instant now() override { return m_now; }
    SleepEnd sleep(std::chrono::nanoseconds duration) override {
        if (meanwhile) {
            meanwhile();
        } else {
            std::this_thread::sleep_for(duration / m_speed);
        }
        m_now += duration;
        return SleepEnd::Elapsed;
    }

    /// What other programs do while the code under test waits, in place of the wait: they are as
    /// fast as that, however busy the machine is.
    std::function<void()> meanwhile;

private:
    int m_speed;
    Instant m_now{0};
};

struct ProductPorts {
    explicit ProductPorts(VirtualDesktop& desktop, int speed = 1) : clock(speed) {
        fakes.environment.variables = {{"DISPLAY", desktop.display()},
                                       {"HOME", desktop.home().string()}};
        ports = makeLinuxDesktop(fakes.environment, clock, fakes.ownFocus);
    }

    /// Captures what is selected in the application in front; a picture is never taken.
    CaptureResult capture() {
        const auto front = ports.workspace->frontmost();
        if (!front) return {};
        CatalogApp entry;
        entry.id = "probe";
        entry.capture = "selection";
        const DetectedApp app{front->bundleId.value_or(""), front->name.value_or(""), entry};
        return Capture::capture({*ports.workspace, *ports.keyboard, *ports.pasteboard,
                                 *ports.windowList, fakes.picture, clock},
                                app);
    }

    /// The text of a capture; absent when there was none.
    std::optional<std::string> captureText() {
        const auto result = capture();
        return result.parts.empty() ? std::nullopt : result.parts.front().text;
    }

    FakePlatform fakes;
    HastyClock clock;
    LinuxDesktop ports;
};

} // namespace kelvane
