#include "app/shell/qt/qt_settings_window.h"

#include "app/panel/panel_appearance.h"
#include "app/panel/panel_item.h"
#include "text/translation.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>

#include <algorithm>
#include <utility>

namespace kelvane {

QtSettingsWindow::QtSettingsWindow(SettingsBridge::Ports ports, PanelImages images,
                                   std::function<void(const QWindow&)> bringForward)
    : m_panel(ports.model, images),
      m_bridge(std::move(ports)),
      m_appearance(std::make_unique<PanelAppearance>(m_panel)),
      m_view(makeSettingsView(m_bridge, m_panel)),
      m_bringForward(std::move(bringForward)) {
    if (!m_view) return;
    m_view->setFlags(Qt::Dialog);
    m_view->setPersistentSceneGraph(false);
    m_view->setPersistentGraphics(false);
    const QQuickItem& root = *m_view->rootObject();
    QSize size(static_cast<int>(root.implicitWidth()), static_cast<int>(root.implicitHeight()));
    if (const QScreen* const screen = QGuiApplication::primaryScreen()) {
        size = size.boundedTo(screen->availableSize());
    }
    m_view->resize(size);
    connect(m_view->rootObject(), SIGNAL(dismissed()), this, SLOT(close()));
}

QtSettingsWindow::~QtSettingsWindow() {
    if (m_view) m_view->disconnect(this);
}

void QtSettingsWindow::open() {
    if (!m_view) return;
    m_bridge.redraw();
    m_view->setTitle(QString::fromStdString(text::translated("Window", "Kelvane Settings")));
    m_view->show();
    m_view->raise();
    m_view->requestActivate();
    m_view->rootObject()->forceActiveFocus();
    if (!m_view->isActive()) m_bringForward(*m_view);
}

void QtSettingsWindow::close() {
    m_view->hide();
}

} // namespace kelvane
