#include "app/shell/qt/qt_history_window.h"

#include "app/panel/history_item.h"
#include "app/panel/panel_appearance.h"
#include "app/panel/panel_item.h"
#include "text/translation.h"

#include <QQuickItem>
#include <QQuickView>

#include <utility>

namespace kelvane {

namespace {

// Points: room for a list and a flaw beside it, on the smallest screens as well.
constexpr QSize kSize{820, 560};
constexpr QSize kSmallest{560, 360};

} // namespace

QtHistoryWindow::QtHistoryWindow(HistoryBridge::Ports ports,
                                 std::function<void(const QWindow&)> bringForward,
                                 std::function<void()> wentAway)
    : m_ports(std::move(ports)),
      m_bringForward(std::move(bringForward)),
      m_wentAway(std::move(wentAway)) {}

QtHistoryWindow::~QtHistoryWindow() {
    if (m_view) m_view->disconnect(this);
}

void QtHistoryWindow::build() {
    m_bridge = std::make_unique<HistoryBridge>(m_ports);
    m_appearance =
        std::make_unique<PanelAppearance>([bridge = m_bridge.get()](const WindowLook& look) {
            bridge->setDark(look.dark);
            bridge->setHighContrast(look.highContrast);
            bridge->setTextSize(look.textSize);
        });
    m_view = makeHistoryView(*m_bridge);
    if (!m_view) return;
    m_view->resize(QSize(static_cast<int>(kSize.width() * m_bridge->grown()), kSize.height()));
    const auto keepRoom = [this] { growTo(*m_view, kSmallest, m_bridge->grown()); };
    connect(m_bridge.get(), &HistoryBridge::lookChanged, m_view.get(), keepRoom);
    keepRoom();
    connect(m_view->rootObject(), SIGNAL(dismissed()), this, SLOT(close()));
    // A verdict may have come while somebody was elsewhere.
    connect(m_view.get(), &QWindow::activeChanged, this, [this] {
        if (m_view && m_view->isActive()) m_bridge->reload();
    });
    connect(m_view.get(), &QWindow::visibleChanged, this, [this](bool visible) {
        // Not within a call of its own.
        if (!visible)
            QMetaObject::invokeMethod(
                this, [this] { letGo(); }, Qt::QueuedConnection);
    });
}

void QtHistoryWindow::letGo() {
    if (!m_view || m_view->isVisible()) return;
    m_view->disconnect(this);
    m_view.reset();
    m_appearance.reset();
    m_bridge.reset();
    m_wentAway();
}

void QtHistoryWindow::show() {
    if (!m_view) build();
    if (!m_view) return;
    m_bridge->reload();
    m_view->setTitle(QString::fromStdString(text::translated("Window", "History of verdicts")));
    m_view->show();
    m_view->raise();
    m_view->requestActivate();
    m_view->rootObject()->forceActiveFocus();
    if (!m_view->isActive()) m_bringForward(*m_view);
}

void QtHistoryWindow::close() {
    if (m_view) m_view->hide();
}

} // namespace kelvane
