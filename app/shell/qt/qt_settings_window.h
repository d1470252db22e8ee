// The window of settings, an ordinary one with a frame.
//
// Main thread only. Made when it is first opened and kept; Escape and its frame close it.

#pragma once

#include "app/panel/panel_bridge.h"
#include "app/panel/settings_bridge.h"

#include <QObject>

#include <functional>
#include <memory>

class QQuickView;
class QWindow;

namespace kelvane {

class PanelAppearance;

class QtSettingsWindow : public QObject {
    Q_OBJECT

public:
    /// All of it must outlive the window. `bringForward` asks the system to bring a window forward.
    QtSettingsWindow(SettingsBridge::Ports ports, PanelImages images,
                     std::function<void(const QWindow&)> bringForward);
    ~QtSettingsWindow() override;

    /// Shows it, or brings it forward, with what holds now.
    void open();

private slots:
    void close();

private:
    PanelBridge m_panel;
    SettingsBridge m_bridge;
    std::unique_ptr<PanelAppearance> m_appearance;
    std::unique_ptr<QQuickView> m_view;
    std::function<void(const QWindow&)> m_bringForward;
};

} // namespace kelvane
