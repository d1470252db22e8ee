// A workspace that knows this program itself.
//
// A system that finds an application by its installed description does not recognise one that was
// never installed, and names it by the class of its windows instead. This program gives its windows
// its own identifier as their class, so it knows itself under that name too. Everything else passes
// through.

#pragma once

#include "platform/ports/workspace.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class OwnWorkspace : public Workspace {
public:
    /// `bundleId` is this program's identifier. `workspace` must outlive this.
    OwnWorkspace(Workspace& workspace, std::string_view bundleId);

    std::optional<RunningApp> frontmost() override;
    std::vector<RunningApp> runningApplications() override;
    std::vector<RunningApp> instancesOf(std::string_view bundleId) override;
    bool activate(ProcessId pid) override;
    bool activateWindow(ProcessId pid, std::int64_t window) override;
    std::optional<std::string> silentDisplay() override;

    /// Brings this program itself to the front, by the window given, if one is. False when it has
    /// no window.
    bool activateItself(std::optional<std::int64_t> window);

private:
    void rename(RunningApp& app) const;

    Workspace& m_workspace;
    std::string m_bundleId;
    std::string m_classId;
};

} // namespace kelvane
