#include "platform/linux/wayland/wayland_applications.h"

#include "platform/linux/common/process_facts.h"
#include "platform/linux/rules/wayland_identity.h"

#include <algorithm>
#include <utility>

namespace kelvane {

namespace {

constexpr std::size_t kLongestChain = 8;

WindowFacts factsOf(const WaylandWindow& window) {
    auto facts = waylandFacts(window.appId, window.title, window.resourceName, window.process);
    addProcessFacts(facts);
    return facts;
}

} // namespace

WaylandApplications::WaylandApplications(std::shared_ptr<WaylandConnection> link,
                                         std::shared_ptr<WaylandWindows> windows, SwaySocket sway,
                                         InstalledEntries installed)
    : m_link(std::move(link)),
      m_windows(std::move(windows)),
      m_sway(std::move(sway)),
      m_installed(std::move(installed)) {}

std::optional<std::vector<WaylandWindow>> WaylandApplications::windows() {
    if (!m_link->answers()) return std::nullopt;
    auto windows = m_windows->windows();
    addProcesses(windows);
    return windows;
}

void WaylandApplications::addProcesses(std::vector<WaylandWindow>& windows) {
    const std::lock_guard lock(m_mutex);
    const auto unknown = [&](const WaylandWindow& window) {
        return window.process == 0 && !m_processes.contains(window.number);
    };
    if (std::ranges::any_of(windows, unknown)) {
        // Those that ended are forgotten on the way. A window that the socket does not know yet is
        // asked about again.
        std::erase_if(m_processes, [&](const auto& known) {
            return std::ranges::find(windows, known.first, &WaylandWindow::number) == windows.end();
        });
        const auto seen = tree();
        if (!seen) return;
        for (const auto& [number, window] : matchedWindows(windows, *seen)) {
            m_processes[number] = window.process;
        }
    }
    for (auto& window : windows) {
        if (window.process != 0) continue;
        const auto known = m_processes.find(window.number);
        if (known != m_processes.end()) window.process = known->second;
    }
}

std::optional<std::vector<SwayWindow>> WaylandApplications::tree() const {
    const auto text = m_sway.tree();
    return text ? swayWindows(*text) : std::nullopt;
}

std::optional<WaylandApplicationWindow> WaylandApplications::active() {
    const auto all = windows();
    if (!all) return std::nullopt;
    const auto active = std::ranges::find_if(*all, &WaylandWindow::active);
    if (active == all->end()) return std::nullopt;
    return identified(*active, *all, *m_installed());
}

std::optional<std::vector<WaylandApplicationWindow>> WaylandApplications::all() {
    const auto all = windows();
    if (!all) return std::nullopt;
    const auto index = m_installed();
    std::vector<WaylandApplicationWindow> identities;
    identities.reserve(all->size());
    for (const auto& window : *all) identities.push_back(identified(window, *all, *index));
    return identities;
}

WaylandApplicationWindow WaylandApplications::identified(const WaylandWindow& window,
                                                         const std::vector<WaylandWindow>& all,
                                                         const DesktopEntryIndex& index) const {
    std::vector<WindowFacts> chain;
    for (const auto* link = &window; chain.size() < kLongestChain;) {
        chain.push_back(factsOf(*link));
        const auto parent = std::ranges::find(all, link->parent, &WaylandWindow::number);
        if (link->parent == 0 || parent == all.end()) break;
        link = &*parent;
    }
    auto found = identify(chain, {}, index);
    if (window.process != 0 &&
        (!found || found->identity.source == WindowIdentity::Source::WmClass)) {
        std::vector<WindowFacts> neighbours;
        for (const auto& other : all) {
            if (other.number != window.number && other.process == window.process) {
                neighbours.push_back(factsOf(other));
            }
        }
        found = identify(chain, neighbours, index);
    }
    if (!found) {
        return {window, {std::nullopt, std::nullopt, processIdOf(window.process, "")}, true};
    }
    return {
        window,
        {found->identity.id, found->identity.name, processIdOf(found->process, found->identity.id)},
        found->identity.takesKeys};
}

bool WaylandApplications::activate(std::uint32_t number) {
    const auto asked = std::make_shared<bool>(false);
    const bool ran =
        m_link->run([windows = m_windows, number, asked] { *asked = windows->activate(number); });
    return ran && *asked;
}

} // namespace kelvane
