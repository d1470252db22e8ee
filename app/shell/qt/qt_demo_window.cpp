#include "app/shell/qt/qt_demo_window.h"

#include "app/panel/panel_appearance.h"
#include "app/panel/panel_item.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>
#include <QString>

#include <utility>

namespace kelvane {

namespace {

class QtDemoWindow : public DemoWindow {
public:
    QtDemoWindow(CompanionModel& model, PanelImages images, std::string_view title, Size content)
        : m_bridge(model, images),
          m_appearance(m_bridge),
          m_panel(makePanelItem(m_engine, m_bridge, m_window.contentItem())) {
        m_window.setTitle(QString::fromUtf8(title.data(), static_cast<qsizetype>(title.size())));
        m_window.setFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                          Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint);
        const QSize size(content.width, content.height);
        m_window.setMinimumSize(size);
        m_window.setMaximumSize(size);
        m_window.resize(size);
        if (m_panel) {
            // Its foot stands at the window's lower edge, however much there is above it.
            m_panel->setSize(QSizeF(size));
        }
        QObject::connect(&m_window, &QWindow::visibleChanged, &m_window, [](bool visible) {
            if (!visible) QGuiApplication::quit();
        });
    }

    ~QtDemoWindow() override { m_window.disconnect(); }

    void center() override {
        const QScreen* const screen = QGuiApplication::primaryScreen();
        if (screen == nullptr) return;
        QRect place(QPoint(0, 0), m_window.size());
        place.moveCenter(screen->availableGeometry().center());
        m_window.setPosition(place.topLeft());
    }

    void makeKeyAndOrderFront() override {
        m_window.show();
        m_window.raise();
        m_window.requestActivate();
        if (m_panel) m_panel->forceActiveFocus();
    }

    std::optional<std::int64_t> windowNumber() const override {
        return static_cast<std::int64_t>(m_window.winId());
    }

private:
    PanelBridge m_bridge;
    PanelAppearance m_appearance;
    QQmlEngine m_engine;
    QQuickWindow m_window;
    std::unique_ptr<QQuickItem> m_panel; // Goes before the window that shows it.
};

} // namespace

std::unique_ptr<DemoWindow> makeQtDemoWindow(CompanionModel& model, PanelImages images,
                                             std::string_view title, Size content) {
    return std::make_unique<QtDemoWindow>(model, images, title, content);
}

} // namespace kelvane
