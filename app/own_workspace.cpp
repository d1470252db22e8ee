#include "app/own_workspace.h"

namespace kelvane {

OwnWorkspace::OwnWorkspace(Workspace& workspace, std::string_view bundleId)
    : m_workspace(workspace),
      m_bundleId(bundleId),
      m_classId("wmclass:" + m_bundleId) {}

std::optional<RunningApp> OwnWorkspace::frontmost() {
    auto app = m_workspace.frontmost();
    if (app) rename(*app);
    return app;
}

std::vector<RunningApp> OwnWorkspace::runningApplications() {
    auto apps = m_workspace.runningApplications();
    for (auto& app : apps) rename(app);
    return apps;
}

std::vector<RunningApp> OwnWorkspace::instancesOf(std::string_view bundleId) {
    if (bundleId == m_bundleId || bundleId == m_classId) return Workspace::instancesOf(bundleId);
    return m_workspace.instancesOf(bundleId);
}

bool OwnWorkspace::activate(ProcessId pid) {
    return m_workspace.activate(pid);
}

bool OwnWorkspace::activateWindow(ProcessId pid, std::int64_t window) {
    return m_workspace.activateWindow(pid, window);
}

std::optional<std::string> OwnWorkspace::silentDisplay() {
    return m_workspace.silentDisplay();
}

bool OwnWorkspace::activateItself(std::optional<std::int64_t> window) {
    const auto own = instancesOf(m_bundleId);
    if (own.empty()) return false;
    const auto pid = own.front().pid;
    return window ? activateWindow(pid, *window) : activate(pid);
}

void OwnWorkspace::rename(RunningApp& app) const {
    if (app.bundleId == m_classId) app.bundleId = m_bundleId;
}

} // namespace kelvane
