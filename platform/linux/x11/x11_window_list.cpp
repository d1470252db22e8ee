#include "platform/linux/x11/x11_window_list.h"

#include "platform/linux/x11/x11_windows.h"

#include <map>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

/// 0 for the windows people work in. The other numbers only have to differ from it; they grow with
/// how far in front such windows are kept.
std::int64_t layerOf(X11WindowType type) {
    switch (type) {
    case X11WindowType::Normal:
    case X11WindowType::Dialog:
    case X11WindowType::Utility:
        return 0;
    case X11WindowType::Toolbar:
        return 3;
    case X11WindowType::Splash:
        return 8;
    case X11WindowType::Dock:
        return 20;
    case X11WindowType::Notification:
        return 25;
    case X11WindowType::Menu:
        return 101;
    case X11WindowType::Desktop:
        return -1;
    }
    return -1;
}

class X11WindowList : public WindowList {
public:
    explicit X11WindowList(std::shared_ptr<X11Applications> applications)
        : m_applications(std::move(applications)) {}

    std::optional<std::vector<WindowInfo>> onScreenWindows() override {
        if (!m_applications) return std::nullopt;
        const auto windows = m_applications->stacking();
        if (!windows) return std::nullopt;
        std::map<xcb_window_t, ProcessId> owners;
        for (const auto& window : m_applications->identifyAll(*windows, *windows)) {
            owners[window.window] = window.app.pid;
        }
        std::vector<WindowInfo> list;
        for (const auto& window : describeWindows(m_applications->connection(), *windows)) {
            const auto owner = owners.find(window.window);
            // What could not be identified is nobody's, and the desktop is no window to people.
            if (owner == owners.end() || !window.onScreen ||
                window.type == X11WindowType::Desktop) {
                continue;
            }
            list.push_back({owner->second, layerOf(window.type),
                            WindowBounds{static_cast<double>(window.width),
                                         static_cast<double>(window.height)},
                            std::int64_t{window.window}});
        }
        // A list from a server that has gone would say that nothing is open.
        if (!m_applications->connection().alive()) return std::nullopt;
        return list;
    }

private:
    std::shared_ptr<X11Applications> m_applications;
};

} // namespace

std::unique_ptr<WindowList> makeX11WindowList(std::shared_ptr<X11Applications> applications) {
    return std::make_unique<X11WindowList>(std::move(applications));
}

} // namespace kelvane
