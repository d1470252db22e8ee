// The running applications: which one is in front, and bringing one forward.
//
// Any thread may call any member; adapters serialise what their mechanism needs serialised.
// Without a display every question has its absent answer: no application, an empty list, false.

#pragma once

#include "platform/ports/running_app.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class Workspace {
public:
    virtual ~Workspace() = default;

    /// The application that has the user's attention now, or nothing when none has.
    [[nodiscard]] virtual std::optional<RunningApp> frontmost() = 0;

    /// Every application that the system counts as running, each instance once. macOS keeps such a
    /// list, and those without a Dock icon or a window are in it; on Linux an application is what
    /// has a window, so a program that merely runs in the background is not. The oldest
    /// application comes first where the system tells; of several instances of one application the
    /// one in front does, where the system tells that.
    [[nodiscard]] virtual std::vector<RunningApp> runningApplications() = 0;

    /// The running instances whose bundle identifier is exactly `bundleId`, in the order in which
    /// the system itself names them where it does. The plain answer takes them out of
    /// `runningApplications()`.
    [[nodiscard]] virtual std::vector<RunningApp> instancesOf(std::string_view bundleId);

    /// Asks the system to bring this instance forward and returns without waiting for it. False
    /// when there is nothing to ask: the instance is gone or there is no display.
    virtual bool activate(ProcessId pid) = 0;

    /// Asks for one window of this instance, by the number that its toolkit gives it, and returns
    /// without waiting for it. False as above, and when the window system does not manage that
    /// window (yet). The plain answer brings the instance forward by the window that stands for it.
    virtual bool activateWindow(ProcessId pid, std::int64_t window);

    /// The name of a display that is there but does not answer, which is why every answer is the
    /// absent one. Absent when it answers, and when there is none.
    [[nodiscard]] virtual std::optional<std::string> silentDisplay() { return std::nullopt; }
};

} // namespace kelvane
