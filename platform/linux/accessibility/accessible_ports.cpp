#include "platform/linux/accessibility/accessible_ports.h"

#include "platform/linux/common/read_selection.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

class AccessibleWorkspace : public Workspace {
public:
    explicit AccessibleWorkspace(std::shared_ptr<AccessibleDesktop> desktop)
        : m_desktop(std::move(desktop)) {}

    std::optional<RunningApp> frontmost() override {
        auto front = m_desktop->front();
        if (!front) return std::nullopt;
        return std::move(front->app);
    }

    std::vector<RunningApp> runningApplications() override {
        std::vector<RunningApp> running;
        const auto front = m_desktop->front();
        if (front) running.push_back(front->app);
        for (auto& window : m_desktop->windows()) {
            const bool known = std::ranges::any_of(
                running, [&](const RunningApp& app) { return app.pid == window.app.pid; });
            if (!known) running.push_back(std::move(window.app));
        }
        return running;
    }

    /// Only the one in front is there already; nobody here can bring another one forward.
    bool activate(ProcessId pid) override {
        const auto front = m_desktop->front();
        return front && front->app.pid == pid;
    }

private:
    std::shared_ptr<AccessibleDesktop> m_desktop;
};

class AccessibleKeyboard : public Keyboard {
public:
    AccessibleKeyboard(std::shared_ptr<AccessibleDesktop> desktop,
                       std::shared_ptr<ReadSelection> selection)
        : m_desktop(std::move(desktop)),
          m_selection(std::move(selection)) {}

    bool trusted() override { return m_desktop->isThere(); }
    void postCopy(ProcessId target) override { m_selection->set(m_desktop->selectedText(target)); }

private:
    std::shared_ptr<AccessibleDesktop> m_desktop;
    std::shared_ptr<ReadSelection> m_selection;
};

} // namespace

AccessiblePorts makeAccessiblePorts(std::shared_ptr<AccessibleDesktop> desktop) {
    const auto selection = std::make_shared<ReadSelection>();
    return {std::make_unique<AccessibleWorkspace>(desktop),
            std::make_unique<AccessibleKeyboard>(std::move(desktop), selection),
            makeReadPasteboard(selection)};
}

} // namespace kelvane
