#include "app/own_workspace.h"

namespace kelvane {

OwnWorkspace::OwnWorkspace(Workspace& workspace, std::string_view bundleId, ProcessId self)
    : m_workspace(workspace),
      m_bundleId(bundleId),
      m_self(self) {}

std::optional<RunningApp> OwnWorkspace::frontmost() {
    auto app = m_workspace.frontmost();
    if (app) name(*app);
    return app;
}

std::vector<RunningApp> OwnWorkspace::runningApplications() {
    auto apps = m_workspace.runningApplications();
    for (auto& app : apps) name(app);
    return apps;
}

bool OwnWorkspace::activate(ProcessId pid) {
    return m_workspace.activate(pid);
}

void OwnWorkspace::name(RunningApp& app) const {
    if (app.pid == m_self) app.bundleId = m_bundleId;
}

} // namespace kelvane
