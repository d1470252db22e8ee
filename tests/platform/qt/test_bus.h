// A message bus of a test's own, and connections to it. Ends with the test.

#pragma once

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryFile>
#include <QTest>

#include <functional>

namespace kelvane {

class TestBus {
public:
    TestBus() {
        // Starts nothing of what is installed here.
        EXPECT_TRUE(m_rules.open());
        m_rules.write("<busconfig><type>session</type><listen>unix:tmpdir=/tmp</listen>"
                      "<policy context='default'><allow send_destination='*'/>"
                      "<allow receive_sender='*'/><allow own='*'/></policy></busconfig>");
        m_rules.close();
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--config-file=") + m_rules.fileName(),
                        QStringLiteral("--nofork"), QStringLiteral("--print-address=1")});
        EXPECT_TRUE(m_daemon.waitForStarted());
        while (!m_daemon.canReadLine() && m_daemon.waitForReadyRead(kLongest)) {
        }
        m_address = QString::fromLatin1(m_daemon.readLine().trimmed());
        EXPECT_FALSE(m_address.isEmpty());
    }
    ~TestBus() {
        for (const auto& name : m_names) QDBusConnection::disconnectFromBus(name);
        end();
    }
    TestBus(const TestBus&) = delete;
    TestBus& operator=(const TestBus&) = delete;

    /// The connection of that name; made when it is asked for first.
    QDBusConnection as(const char* name) {
        const auto connection = QString::fromLatin1(name);
        if (m_names.contains(connection)) return QDBusConnection(connection);
        m_names << connection;
        return QDBusConnection::connectToBus(m_address, connection);
    }
    [[nodiscard]] const QString& address() const { return m_address; }
    /// The bus goes, and with it all that is connected.
    void end() {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }

    /// For a condition; no test's success takes so long.
    static constexpr int kLongest = 20'000; // milliseconds
    static bool until(const std::function<bool()>& holds) {
        return QTest::qWaitFor(holds, kLongest);
    }

private:
    QTemporaryFile m_rules;
    QProcess m_daemon;
    QString m_address;
    QStringList m_names;
};

} // namespace kelvane
