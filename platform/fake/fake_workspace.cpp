#include "platform/fake/fake_workspace.h"

#include <algorithm>
#include <string>

namespace kelvane {

std::optional<RunningApp> FakeWorkspace::frontmost() {
    const auto found = std::find_if(running.begin(), running.end(),
                                    [&](const RunningApp& app) { return app.pid == front; });
    if (found == running.end()) return std::nullopt;
    return *found;
}

bool FakeWorkspace::activate(ProcessId pid) {
    m_journal.add("activate " + std::to_string(pid));
    const bool runs = std::any_of(running.begin(), running.end(),
                                  [&](const RunningApp& app) { return app.pid == pid; });
    if (!runs) return false;
    if (onActivate) {
        onActivate(pid);
    } else {
        front = pid;
    }
    return true;
}

bool FakeWorkspace::activateWindow(ProcessId pid, std::int64_t window) {
    m_journal.add("window " + std::to_string(window));
    return activate(pid);
}

} // namespace kelvane
