// Which application is in front, when the user types to this program in a terminal?
//
// The terminal is what the system reports, and it is not what the user wants graded. This workspace
// reports nothing in front while that terminal is, so that the model goes on describing the
// application the user came from. Everything else passes through.

#pragma once

#include "platform/ports/window_list.h"
#include "platform/ports/workspace.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

/// Who hosts this process, as terminals tell their children in the environment.
struct HostTerminal {
    std::optional<std::string> bundleId;
    std::optional<std::int64_t> window; ///< As in `WindowInfo::number`.
};

/// The window number in the value of WINDOWID: a positive decimal number, or nothing.
[[nodiscard]] std::optional<std::int64_t> windowNumber(const std::optional<std::string>& value);

class PastHostTerminal : public Workspace {
public:
    /// The ports must outlive this. With an empty `host` nothing is hidden.
    PastHostTerminal(Workspace& workspace, WindowList& windows, HostTerminal host);

    std::optional<RunningApp> frontmost() override;
    std::vector<RunningApp> runningApplications() override;
    bool activate(ProcessId pid) override;

private:
    [[nodiscard]] bool isHost(const RunningApp& app);

    Workspace& m_workspace;
    WindowList& m_windows;
    HostTerminal m_host;
};

} // namespace kelvane
