#include "platform/qt/qt_own_focus.h"

#include <QGuiApplication>
#include <QObject>
#include <QWindow>

#include <atomic>

namespace kelvane {

namespace {

class QtOwnFocus : public OwnFocus {
public:
    QtOwnFocus() : m_held(QGuiApplication::focusWindow() != nullptr) {
        m_change = QObject::connect(qGuiApp, &QGuiApplication::focusWindowChanged, qGuiApp,
                                    [this](const QWindow* window) { m_held = window != nullptr; });
    }
    ~QtOwnFocus() override { QObject::disconnect(m_change); }

    bool isHeld() override { return m_held; }

private:
    std::atomic<bool> m_held;
    QMetaObject::Connection m_change;
};

} // namespace

std::unique_ptr<OwnFocus> makeQtOwnFocus() {
    return std::make_unique<QtOwnFocus>();
}

} // namespace kelvane
