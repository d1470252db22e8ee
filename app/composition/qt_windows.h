// The things that hold a panel, made of Qt out of the ports of this desktop.

#pragma once

#include "app/panel/panel_bridge.h"
#include "app/shell/shell_ports.h"

#include <functional>

class QWindow;

namespace kelvane {

struct DesktopPorts;

class QtWindows : public Windows {
public:
    /// `ports`, and what the functions refer to, must outlive everything made here.
    QtWindows(DesktopPorts& ports, std::function<void(const QWindow&)> bringForward,
              std::function<void()> popoverWentAway);

    std::unique_ptr<StatusItem> statusItem() override;
    std::unique_ptr<Popover> popover(CompanionModel& model) override;
    std::unique_ptr<DemoWindow> demoWindow(CompanionModel& model, std::string_view title,
                                           Size content) override;

    [[nodiscard]] PanelImages images() const;

private:
    DesktopPorts& m_ports;
    std::function<void(const QWindow&)> m_bringForward;
    std::function<void()> m_popoverWentAway;
};

} // namespace kelvane
