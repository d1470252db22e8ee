#include "app/panel_appearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QFontInfo>
#include <QGuiApplication>
#include <QPalette>

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

ColorScheme colorScheme(unsigned number) {
    if (number == 1) return ColorScheme::dark;
    if (number == 2) return ColorScheme::light;
    return ColorScheme::noPreference;
}

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::WindowText).lightness() >
           palette.color(QPalette::Window).lightness();
}

PanelAppearance::PanelAppearance(PanelBridge& bridge) : m_bridge(bridge) {
    QCoreApplication::instance()->installEventFilter(this);
    apply();
    askPortal();
}

bool PanelAppearance::eventFilter(QObject* watched, QEvent* event) {
    const auto type = event->type();
    if (watched == QCoreApplication::instance() &&
        (type == QEvent::ApplicationPaletteChange || type == QEvent::ApplicationFontChange)) {
        apply();
    }
    return false;
}

void PanelAppearance::askPortal() {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    bus.connect(QLatin1String(kService), QLatin1String(kPath), QLatin1String(kInterface),
                QStringLiteral("SettingChanged"), this,
                SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
    auto question =
        QDBusMessage::createMethodCall(QLatin1String(kService), QLatin1String(kPath),
                                       QLatin1String(kInterface), QStringLiteral("Read"));
    question << QLatin1String(kSpace) << QLatin1String(kKey);
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        if (reply.isError()) return;
        portalSettingChanged(QLatin1String(kSpace), QLatin1String(kKey), reply.value());
    });
}

void PanelAppearance::portalSettingChanged(const QString& space, const QString& key,
                                           const QDBusVariant& value) {
    if (space != QLatin1String(kSpace) || key != QLatin1String(kKey)) return;
    m_scheme = colorScheme(unwrapped(value.variant()).toUInt());
    apply();
}

void PanelAppearance::apply() {
    m_bridge.setDark(m_scheme == ColorScheme::noPreference ? isDark(QGuiApplication::palette())
                                                           : m_scheme == ColorScheme::dark);
    m_bridge.setTextSize(QFontInfo(QGuiApplication::font()).pixelSize());
}

} // namespace kelvane
