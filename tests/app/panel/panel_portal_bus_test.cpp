#include "app/panel/panel_portal_dbus.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QProcess>
#include <QString>
#include <QTest>

#include <vector>

namespace kelvane {
namespace {

/// A session bus with a portal on it, in a process that has used neither before: what Qt knows of
/// the types on a bus it learns from being used.
TEST(PanelPortalOnABus, AChangeIsHeardOf) {
    QProcess bus;
    bus.start("dbus-daemon", {"--session", "--nofork", "--print-address=1"});
    ASSERT_TRUE(bus.waitForStarted());
    while (!bus.canReadLine()) ASSERT_TRUE(bus.waitForReadyRead(20'000));
    const QByteArray address = bus.readLine().trimmed();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address);

    std::vector<DesktopLook> told;
    const PanelPortal portal([&](const DesktopLook& look) { told.push_back(look); });
    auto desktop = QDBusConnection::connectToBus(QString::fromLatin1(address), "desktop");
    ASSERT_TRUE(desktop.registerService("org.freedesktop.portal.Desktop"));
    for (const unsigned scheme : {1U, 2U}) {
        auto change = QDBusMessage::createSignal(
            "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings", "SettingChanged");
        change << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme")
               << QVariant::fromValue(QDBusVariant(scheme));
        // Whoever listens hears of a new owner of the name first, in a turn of its own.
        ASSERT_TRUE(QTest::qWaitFor([&] {
            desktop.send(change);
            QTest::qWait(20);
            return !told.empty() &&
                   told.back().scheme == (scheme == 1 ? ColorScheme::dark : ColorScheme::light);
        }));
    }
    QDBusConnection::disconnectFromBus("desktop");
    bus.kill();
    bus.waitForFinished();
}

} // namespace
} // namespace kelvane
