#include "platform/ports/workspace.h"

#include <algorithm>
#include <iterator>

namespace kelvane {

std::vector<RunningApp> runningApplications(Workspace& workspace, std::string_view bundleId) {
    std::vector<RunningApp> found;
    for (RunningApp& app : workspace.runningApplications()) {
        if (app.bundleId == bundleId) found.push_back(std::move(app));
    }
    return found;
}

} // namespace kelvane
