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
constexpr const char* kAppearance = "org.freedesktop.appearance";
constexpr const char* kScheme = "color-scheme";
constexpr const char* kContrast = "contrast"; // 1: as much of it as there is
// How large texts are is no setting of all desktops yet; GNOME's own is handed on by every portal.
constexpr const char* kGnome = "org.gnome.desktop.interface";
constexpr const char* kTextScale = "text-scaling-factor";

/// The portal wraps a value once when it tells of a change and twice when it is asked.
QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
    return value;
}

} // namespace

PanelPortal::PanelPortal(std::function<void(const DesktopLook&)> told) : m_told(std::move(told)) {
    auto bus = QDBusConnection::sessionBus();
    // Without a session bus there is no portal, and everything looks as usual.
    if (!bus.isConnected()) return;
    // Qt refuses a slot whose types it does not know by name, and learns this one only when
    // somebody has sent or received one.
    qRegisterMetaType<QDBusVariant>();
    const bool listens = bus.connect(QLatin1String(kService), QLatin1String(kPath),
                                     QLatin1String(kInterface), QStringLiteral("SettingChanged"),
                                     this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    if (!listens) qWarning("changes of the desktop's colours are not heard of");
    ask(kAppearance, kScheme);
    ask(kAppearance, kContrast);
    ask(kGnome, kTextScale);
}

void PanelPortal::ask(const char* space, const char* key) {
    auto question =
        QDBusMessage::createMethodCall(QLatin1String(kService), QLatin1String(kPath),
                                       QLatin1String(kInterface), QStringLiteral("Read"));
    question << QLatin1String(space) << QLatin1String(key);
    // Asked without waiting, since a portal may be started by this very question.
    auto* answer =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, space, key] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        if (reply.isError()) return;
        settingChanged(QLatin1String(space), QLatin1String(key), reply.value());
    });
}

void PanelPortal::settingChanged(const QString& space, const QString& key,
                                 const QDBusVariant& value) {
    const QVariant said = unwrapped(value.variant());
    DesktopLook look = m_look;
    if (space == QLatin1String(kAppearance) && key == QLatin1String(kScheme)) {
        look.scheme = colorScheme(said.toUInt());
    } else if (space == QLatin1String(kAppearance) && key == QLatin1String(kContrast)) {
        look.highContrast = said.toUInt() == 1;
    } else if (space == QLatin1String(kGnome) && key == QLatin1String(kTextScale)) {
        look.textScale = textScale(said.toDouble());
    } else {
        return;
    }
    m_look = look;
    m_told(look);
}

std::unique_ptr<QObject> watchPortal(std::function<void(const DesktopLook&)> told) {
    return std::make_unique<PanelPortal>(std::move(told));
}

} // namespace kelvane
