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
    /// Asks at once; the answer comes later. Without a session bus nothing ever comes.
    explicit PanelPortal(std::function<void(ColorScheme)> told);

private slots:
    void settingChanged(const QString& space, const QString& key, const QDBusVariant& value);

private:
    std::function<void(ColorScheme)> m_told;
};

} // namespace kelvane
