#include "platform/linux/x11/x11_workspace.h"

#include "platform/linux/x11/x11_windows.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

/// A running application and how far behind the window in front its own frontmost one lies.
struct Instance {
    RunningApp app;
    std::size_t depth = 0;
};

/// Applications stay where they are, oldest first; the instances of one change places, so that the
/// one in front comes first.
std::vector<RunningApp> frontInstancesFirst(std::vector<Instance> running) {
    // Positions are kept by id, so that the list of applications changes only when one comes or
    // goes.
    std::map<std::optional<std::string>, std::vector<std::size_t>> places;
    for (std::size_t i = 0; i < running.size(); ++i) places[running[i].app.bundleId].push_back(i);
    std::vector<RunningApp> ordered(running.size());
    for (const auto& [id, own] : places) {
        auto byDepth = own;
        std::ranges::stable_sort(byDepth, {}, [&](std::size_t i) { return running[i].depth; });
        for (std::size_t i = 0; i < own.size(); ++i) {
            ordered[own[i]] = std::move(running[byDepth[i]].app);
        }
    }
    return ordered;
}

class X11Workspace : public Workspace {
public:
    X11Workspace(std::shared_ptr<X11Applications> applications, std::string display)
        : m_applications(std::move(applications)),
          m_display(std::move(display)) {}

    std::optional<RunningApp> frontmost() override {
        if (!m_applications) return std::nullopt;
        auto active = m_applications->active();
        if (!active) return std::nullopt;
        return std::move(active->app);
    }

    std::vector<RunningApp> runningApplications() override {
        if (!m_applications) return {};
        const auto windows = m_applications->clients();
        if (!windows) return {};
        const auto front = m_applications->stacking().value_or(std::vector<xcb_window_t>{});
        std::map<xcb_window_t, std::size_t> depth; // 0 for the window in front
        // Windows that are in no stacking come behind all others.
        for (const auto window : front) depth.emplace(window, depth.size() + 1);
        const auto active = m_applications->active();
        if (active) depth[active->window] = 0;

        std::vector<Instance> running;
        // By process: two windows of one are one application, two processes are two.
        std::map<ProcessId, std::size_t> seen;
        for (auto& window : m_applications->identifyAll(*windows, front)) {
            const auto lies = depth.try_emplace(window.window, depth.size() + 1).first->second;
            const auto [known, isNew] = seen.emplace(window.app.pid, running.size());
            if (isNew) {
                running.push_back({std::move(window.app), lies});
            } else {
                auto& instance = running[known->second];
                instance.depth = std::min(instance.depth, lies);
            }
        }
        return frontInstancesFirst(std::move(running));
    }

    bool activate(ProcessId pid) override { return askFor(windowToRaise(windowsOf(pid))); }

    bool activateWindow(ProcessId pid, std::int64_t window) override {
        const auto own = windowsOf(pid);
        const auto found = std::ranges::find(own, window);
        return found != own.end() && askFor(*found);
    }

    std::optional<std::string> silentDisplay() override {
        const bool silent = m_applications ? m_applications->connection().alive() &&
                                                 !m_applications->connection().answers()
                                           : !m_display.empty();
        return silent ? std::optional(m_display) : std::nullopt;
    }

private:
    bool askFor(xcb_window_t window) {
        if (window == XCB_WINDOW_NONE) return false;
        // A link of its own, because it listens.
        const auto link = X11Connection::open(m_display);
        if (!link) return false;
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = link->atom("_NET_ACTIVE_WINDOW");
        // What a pager says, EWMH; window managers may refuse an application that puts itself in
        // front.
        message.data.data32[0] = 2; // On behalf of the user, not of another application.
        message.data.data32[1] = link->serverTime();
        // To the root: it is the window manager who acts on it.
        return link->succeeded(xcb_send_event_checked(link->xcb(), 0, link->root(),
                                                      XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT |
                                                          XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                                                      reinterpret_cast<const char*>(&message)));
    }

    /// Those that the window manager knows, from the lowest to the topmost.
    std::vector<xcb_window_t> windowsOf(ProcessId pid) {
        std::vector<xcb_window_t> own;
        const auto windows = m_applications ? m_applications->stacking() : std::nullopt;
        if (!windows) return own;
        for (const auto& window : m_applications->identifyAll(*windows, *windows)) {
            if (window.app.pid == pid) own.push_back(window.window);
        }
        return own;
    }

    /// The window that stands for its instance: one that is on screen before one that is not, a
    /// normal one before a dialog, the topmost of those.
    xcb_window_t windowToRaise(const std::vector<xcb_window_t>& own) {
        if (own.empty()) return XCB_WINDOW_NONE;
        xcb_window_t chosen = XCB_WINDOW_NONE;
        int chosenRank = 0;
        for (const auto& window : describeWindows(m_applications->connection(), own)) {
            if (window.type == X11WindowType::Desktop || window.type == X11WindowType::Dock)
                continue;
            const int rank =
                1 + (window.onScreen ? 2 : 0) + (window.type == X11WindowType::Normal ? 1 : 0);
            if (rank > chosenRank) {
                chosen = window.window;
                chosenRank = rank;
            }
        }
        return chosen;
    }

    std::shared_ptr<X11Applications> m_applications;
    std::string m_display;
};

} // namespace

std::unique_ptr<Workspace> makeX11Workspace(std::shared_ptr<X11Applications> applications,
                                            std::string display) {
    return std::make_unique<X11Workspace>(std::move(applications), std::move(display));
}

} // namespace kelvane
