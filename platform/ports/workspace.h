// The running applications: which one is in front, and bringing one forward.
//
// Any thread may call any member; adapters serialise what their mechanism needs serialised.
// Without a display every question has its absent answer: no application, an empty list, false.

#pragma once

#include "platform/ports/running_app.h"

#include <optional>
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
    /// has a window, so a program that merely runs in the background is not. The order is stable
    /// while the set is: oldest first where the system tells.
    [[nodiscard]] virtual std::vector<RunningApp> runningApplications() = 0;

    /// Asks the system to bring this instance forward and returns without waiting for it. False
    /// when there is nothing to ask: the instance is gone or there is no display.
    virtual bool activate(ProcessId pid) = 0;
};

/// The running instances whose bundle identifier is exactly `bundleId`, in the order of
/// `runningApplications()`. Empty when none is running.
[[nodiscard]] std::vector<RunningApp> runningApplications(Workspace& workspace,
                                                          std::string_view bundleId);

} // namespace kelvane
