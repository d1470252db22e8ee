#include "app/panel/panel_portal_dbus.h"

#include "app/panel/panel_appearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace kelvane {

namespace {

constexpr const char* kService = "org.freedesktop.portal.Desktop";
constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kInterface = "org.freedesktop.portal.Settings";
constexpr const char* kSpace = "org.freedesktop.appearance";
constexpr const char* kKey = "color-scheme";

/// The portal wraps a value once when it tells of a change and twice when it is asked.
QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

PanelPortal::PanelPortal(std::function<void(ColorScheme)> told) : m_told(std::move(told)) {
    auto bus = QDBusConnection::sessionBus();
    // Without a session bus there is no portal, and the palette stays as it is.
    if (!bus.isConnected()) return;
    // Qt refuses a slot whose types it does not know by name, and learns this one only when
    // somebody has sent or received one.
    qRegisterMetaType<QDBusVariant>();
    const bool listens = bus.connect(QLatin1String(kService), QLatin1String(kPath),
                                     QLatin1String(kInterface), QStringLiteral("SettingChanged"),
                                     this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    if (!listens) qWarning("changes of the desktop's colours are not heard of");
    auto question =
        QDBusMessage::createMethodCall(QLatin1String(kService), QLatin1String(kPath),
                                       QLatin1String(kInterface), QStringLiteral("Read"));
    question << QLatin1String(kSpace) << QLatin1String(kKey);
    // Asked without waiting, since a portal may be started by this very question.
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        if (reply.isError()) return;
        settingChanged(QLatin1String(kSpace), QLatin1String(kKey), reply.value());
    });
}

void PanelPortal::settingChanged(const QString& space, const QString& key,
                                 const QDBusVariant& value) {
    if (space != QLatin1String(kSpace) || key != QLatin1String(kKey)) return;
    m_told(colorScheme(unwrapped(value.variant()).toUInt()));
}

std::unique_ptr<QObject> watchPortal(std::function<void(ColorScheme)> told) {
    return std::make_unique<PanelPortal>(std::move(told));
}

} // namespace kelvane
