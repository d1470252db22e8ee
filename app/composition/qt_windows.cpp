#include "app/composition/qt_windows.h"

#include "app/shell/qt/panel_trace.h"
#include "app/shell/qt/qt_demo_window.h"
#include "app/shell/qt/qt_popover.h"
#include "app/shell/qt/qt_status_item.h"
#include "platform/desktop.h"

#include <utility>

namespace kelvane {

QtWindows::QtWindows(DesktopPorts& ports, std::function<void(const QWindow&)> bringForward,
                     std::function<void()> popoverWentAway)
    : m_ports(ports),
      m_bringForward(std::move(bringForward)),
      m_popoverWentAway(std::move(popoverWentAway)) {}

std::unique_ptr<StatusItem> QtWindows::statusItem() {
    return makeQtStatusItem();
}

std::unique_ptr<Popover> QtWindows::popover(CompanionModel& model) {
    return std::make_unique<QtPopover>(QtPopover::Ports{.model = model,
                                                        .images = images(),
                                                        .clock = *m_ports.clock,
                                                        .presses = *m_ports.presses,
                                                        .hold = *m_ports.hold,
                                                        .compositing = *m_ports.compositing,
                                                        .bringForward = m_bringForward,
                                                        .wentAway = m_popoverWentAway},
                                       m_ports.environment->get(kPanelTraceVariable).value_or(""));
}

std::unique_ptr<DemoWindow> QtWindows::demoWindow(CompanionModel& model, std::string_view title,
                                                  Size content) {
    return makeQtDemoWindow(model, images(), title, content);
}

PanelImages QtWindows::images() const {
    return {*m_ports.icons, *m_ports.resources};
}

} // namespace kelvane
