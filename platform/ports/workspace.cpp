#include "platform/ports/workspace.h"

#include <utility>

namespace kelvane {

std::vector<RunningApp> Workspace::instancesOf(std::string_view bundleId) {
    std::vector<RunningApp> found;
    for (RunningApp& app : runningApplications()) {
        if (app.bundleId == bundleId) found.push_back(std::move(app));
    }
    return found;
}

bool Workspace::activateWindow(ProcessId pid, std::int64_t) {
    return activate(pid);
}

} // namespace kelvane
