// Is it this program itself that is in front?
//
// A system that finds an application by its installed description does not recognise one that was
// never installed. This program knows its own number, so it can put its own name where the system
// found another or none. Everything else passes through.

#pragma once

#include "platform/ports/workspace.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class OwnWorkspace : public Workspace {
public:
    /// `bundleId` is this program's identifier and `self` its process id, which is also the number
    /// of its application. `workspace` must outlive this.
    OwnWorkspace(Workspace& workspace, std::string_view bundleId, ProcessId self);

    std::optional<RunningApp> frontmost() override;
    std::vector<RunningApp> runningApplications() override;
    bool activate(ProcessId pid) override;

private:
    void name(RunningApp& app) const;

    Workspace& m_workspace;
    std::string m_bundleId;
    ProcessId m_self;
};

} // namespace kelvane
