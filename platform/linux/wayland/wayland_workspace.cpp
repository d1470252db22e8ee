#include "platform/linux/wayland/wayland_workspace.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <tuple>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

using Windows = std::vector<WaylandApplicationWindow>;

void frontFirst(Windows& windows) {
    std::ranges::stable_sort(windows, std::ranges::greater(),
                             [](const WaylandApplicationWindow& one) {
                                 return std::tuple(one.window.active, one.window.raised);
                             });
}

class WaylandWorkspace : public Workspace {
public:
    WaylandWorkspace(std::shared_ptr<WaylandApplications> applications, std::string display)
        : m_applications(std::move(applications)),
          m_display(std::move(display)) {}

    std::optional<RunningApp> frontmost() override {
        auto active = m_applications->active();
        if (!active) return std::nullopt;
        return std::move(active->app);
    }

    std::vector<RunningApp> runningApplications() override {
        const auto windows = m_applications->all();
        if (!windows) return {};
        // Applications oldest first; the instances of one change places, the one in front first.
        auto front = *windows;
        frontFirst(front);
        std::map<std::optional<std::string>, std::vector<RunningApp>> instances;
        std::set<ProcessId> seen;
        for (auto& window : front) {
            if (seen.insert(window.app.pid).second) {
                instances[window.app.bundleId].push_back(std::move(window.app));
            }
        }
        std::vector<RunningApp> running;
        std::map<std::optional<std::string>, std::size_t> taken;
        seen.clear();
        for (const auto& window : *windows) {
            if (!seen.insert(window.app.pid).second) continue;
            const auto& id = window.app.bundleId;
            running.push_back(instances[id][taken[id]++]);
        }
        return running;
    }

    bool activate(ProcessId pid) override {
        auto windows = m_applications->all();
        if (!windows) return false;
        std::erase_if(*windows, [&](const auto& window) { return window.app.pid != pid; });
        if (windows->empty()) return false;
        // One that is shown before one that is not, a window before its dialogs, the topmost.
        const auto chosen = std::ranges::max_element(*windows, {}, [](const auto& one) {
            return std::tuple(!one.window.minimised, one.window.parent == 0, one.window.active,
                              one.window.raised);
        });
        return m_applications->activate(chosen->window.number);
    }

    std::optional<std::string> silentDisplay() override {
        auto& link = m_applications->link();
        const bool silent = link.alive() && !link.answers() && link.alive();
        return silent ? std::optional(m_display) : std::nullopt;
    }

private:
    std::shared_ptr<WaylandApplications> m_applications;
    std::string m_display;
};

class WaylandWindowList : public WindowList {
public:
    WaylandWindowList(std::shared_ptr<WaylandApplications> applications,
                      std::function<bool()> picturesOfMinimised)
        : m_applications(std::move(applications)),
          m_picturesOfMinimised(std::move(picturesOfMinimised)) {}

    std::optional<std::vector<WindowInfo>> onScreenWindows() override {
        auto windows = m_applications->all();
        if (!windows) return std::nullopt;
        frontFirst(*windows);
        addPlaces(*windows);
        std::vector<WindowInfo> list;
        std::set<ProcessId> shown;
        for (const auto& window : *windows) {
            if (window.window.minimised) continue;
            shown.insert(window.app.pid);
            list.push_back(described(window));
        }
        if (!m_picturesOfMinimised()) return list;
        for (const auto& window : *windows) {
            if (window.window.minimised && !shown.contains(window.app.pid)) {
                list.push_back(described(window));
            }
        }
        return list;
    }

private:
    static WindowInfo described(const WaylandApplicationWindow& window) {
        std::optional<WindowBounds> bounds;
        if (const auto& frame = window.window.frame) {
            bounds =
                WindowBounds{static_cast<double>(frame->width), static_cast<double>(frame->height)};
        }
        return {window.app.pid, 0, bounds, std::int64_t{window.window.number}};
    }

    /// From sway's own socket, and without the windows that it does not show.
    void addPlaces(Windows& windows) {
        const bool unknown = std::ranges::any_of(
            windows, [](const auto& one) { return !one.window.frame.has_value(); });
        const auto tree = unknown ? m_applications->tree() : std::nullopt;
        if (!tree) return;
        std::vector<WaylandWindow> plain;
        for (const auto& one : windows) plain.push_back(one.window);
        const auto matched = matchedWindows(plain, *tree);
        std::erase_if(windows, [&](WaylandApplicationWindow& one) {
            const auto found = matched.find(one.window.number);
            if (found == matched.end()) return false;
            one.window.frame = found->second.rect;
            return !found->second.visible;
        });
    }

    std::shared_ptr<WaylandApplications> m_applications;
    std::function<bool()> m_picturesOfMinimised;
};

} // namespace

std::unique_ptr<Workspace> makeWaylandWorkspace(std::shared_ptr<WaylandApplications> applications,
                                                std::string display) {
    return std::make_unique<WaylandWorkspace>(std::move(applications), std::move(display));
}

std::unique_ptr<WindowList> makeWaylandWindowList(std::shared_ptr<WaylandApplications> applications,
                                                  std::function<bool()> picturesOfMinimised) {
    return std::make_unique<WaylandWindowList>(std::move(applications),
                                               std::move(picturesOfMinimised));
}

} // namespace kelvane
