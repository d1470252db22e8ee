#include "app/past_host_terminal.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace kelvane {

std::optional<std::int64_t> windowNumber(const std::optional<std::string>& value) {
    if (!value) return std::nullopt;
    std::int64_t number = 0;
    const char* const end = value->data() + value->size();
    const auto parsed = std::from_chars(value->data(), end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end || number <= 0) return std::nullopt;
    return number;
}

PastHostTerminal::PastHostTerminal(Workspace& workspace, WindowList& windows, HostTerminal host)
    : m_workspace(workspace),
      m_windows(windows),
      m_host(std::move(host)) {}

std::optional<RunningApp> PastHostTerminal::frontmost() {
    auto front = m_workspace.frontmost();
    if (front && isHost(*front)) return std::nullopt;
    return front;
}

std::vector<RunningApp> PastHostTerminal::runningApplications() {
    return m_workspace.runningApplications();
}

bool PastHostTerminal::activate(ProcessId pid) {
    return m_workspace.activate(pid);
}

bool PastHostTerminal::isHost(const RunningApp& app) {
    if (m_host.bundleId && app.bundleId == m_host.bundleId) return true;
    if (!m_host.window) return false;
    const auto windows = m_windows.onScreenWindows();
    return windows && std::any_of(windows->begin(), windows->end(), [&](const WindowInfo& info) {
               return info.number == m_host.window && info.ownerPid == app.pid;
           });
}

} // namespace kelvane
