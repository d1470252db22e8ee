// The window of the history, made when it is first shown and let go when it is closed.
//
// Main thread only; what `ports` refers to must outlive it.

#pragma once

#include "app/panel/history_bridge.h"

#include <QObject>

#include <functional>
#include <memory>

class QQuickView;
class QWindow;

namespace kelvane {

class PanelAppearance;

class QtHistoryWindow : public QObject {
    Q_OBJECT

public:
    /// `bringForward` asks the system to bring a window forward; `wentAway` is called once the
    /// window has been closed.
    QtHistoryWindow(HistoryBridge::Ports ports, std::function<void(const QWindow&)> bringForward,
                    std::function<void()> wentAway);
    ~QtHistoryWindow() override;

    /// Shows it with what is kept now, or brings the one that is open to the front.
    void show();

public slots:
    void close();

private:
    void build();
    void letGo();

    HistoryBridge::Ports m_ports;
    std::function<void(const QWindow&)> m_bringForward;
    std::function<void()> m_wentAway;
    std::unique_ptr<HistoryBridge> m_bridge;
    std::unique_ptr<PanelAppearance> m_appearance;
    std::unique_ptr<QQuickView> m_view;
};

} // namespace kelvane
