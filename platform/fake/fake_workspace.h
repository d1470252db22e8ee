// Running applications, one of which may be in front.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/workspace.h"

#include <functional>
#include <optional>
#include <vector>

namespace kelvane {

class FakeWorkspace : public Workspace {
public:
    explicit FakeWorkspace(Journal& journal) : m_journal(journal) {}

    std::vector<RunningApp> running;
    std::optional<ProcessId> front; ///< A member of `running`, or nothing in front.
    /// What an activation does. Unset: the application comes to the front at once.
    std::function<void(ProcessId)> onActivate;

    std::optional<RunningApp> frontmost() override;
    std::vector<RunningApp> runningApplications() override { return running; }
    bool activate(ProcessId pid) override;
    /// As `activate`, with the window in the journal.
    bool activateWindow(ProcessId pid, std::int64_t window) override;

private:
    Journal& m_journal;
};

} // namespace kelvane
