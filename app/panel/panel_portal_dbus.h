// The settings portal, asked over the session bus.

#pragma once

#include "app/panel/panel_portal.h"

#include <QDBusVariant>
#include <QObject>

#include <functional>

namespace kelvane {

class PanelPortal : public QObject {
    Q_OBJECT

public:
    /// Asks at once; the answers come later. Without a session bus nothing ever comes.
    explicit PanelPortal(std::function<void(const DesktopLook&)> told);

private slots:
    void settingChanged(const QString& space, const QString& key, const QDBusVariant& value);

private:
    void ask(const char* space, const char* key);

    std::function<void(const DesktopLook&)> m_told;
    DesktopLook m_look; ///< As it is known by now.
};

} // namespace kelvane
