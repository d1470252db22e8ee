#include "platform/qt/qt_notifications.h"

#include "tests/platform/qt/test_bus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QGuiApplication>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace kelvane {

/// The service of a desktop, as far as it is asked.
class NotificationService : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    QStringList abilities{QStringLiteral("actions"), QStringLiteral("body"),
                          QStringLiteral("body-markup")};
    bool isSilent = false; ///< Answers nothing from now on.
    std::vector<std::string> told;
    QVariantMap hints; ///< Of the last one.
    uint last = 0;

public slots:
    QStringList GetCapabilities() {
        hear("capabilities");
        return abilities;
    }
    uint Notify(const QString& app, uint replaces, const QString& icon, const QString& title,
                const QString& body, const QStringList& actions, const QVariantMap& said, int) {
        hints = said;
        hear(QStringLiteral("%1|%2|%3|%4|%5|%6")
                 .arg(app)
                 .arg(replaces)
                 .arg(icon, title, body, actions.join(QLatin1Char(',')))
                 .toStdString());
        if (replaces == 0) ++last;
        return last;
    }
    void CloseNotification(uint id) { hear("close " + std::to_string(id)); }

signals:
    void ActionInvoked(uint id, const QString& action);
    void NotificationClosed(uint id, uint reason);

private:
    void hear(const std::string& what) {
        told.push_back(what);
        if (isSilent) setDelayedReply(true);
    }
};

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class QtNotificationsTest : public testing::Test {
protected:
    QtNotificationsTest() {
        QGuiApplication::setApplicationDisplayName(QStringLiteral("Kelvane Companion"));
        EXPECT_TRUE(bus.as("desktop").registerObject(
            QStringLiteral("/org/freedesktop/Notifications"), &service,
            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals));
    }

    void serve() { EXPECT_TRUE(bus.as("desktop").registerService(kName)); }
    void show(const std::string& title, const std::string& body = "a <b> & c") {
        notifications.show(
            {.title = title, .body = body, .actions = {{"default", "Show"}, {"show", "Show"}}},
            [this](const std::string& action) { chosen.push_back(action); });
    }
    bool hasTold(std::size_t count) {
        return TestBus::until([&] { return service.told.size() >= count; });
    }
    /// Shows one again and again until the service has been told of it.
    bool isShownSoon(const std::string& title) {
        return TestBus::until([&] {
            show(title);
            QTest::qWait(1);
            return !service.told.empty() && service.told.back().find(title) != std::string::npos;
        });
    }
    /// Until an answer that was asked for has arrived: a later question is answered after it.
    void settle() {
        (void)bus.as("program").interface();
        bool answered = false;
        QDBusPendingCallWatcher later(bus.as("program").asyncCall(
            QDBusMessage::createMethodCall(kName, QStringLiteral("/org/freedesktop/Notifications"),
                                           kName, QStringLiteral("NoSuchMember"))));
        QObject::connect(&later, &QDBusPendingCallWatcher::finished, [&] { answered = true; });
        EXPECT_TRUE(TestBus::until([&] { return answered; }));
    }

    const QString kName = QStringLiteral("org.freedesktop.Notifications");
    TestBus bus;
    NotificationService service;
    std::vector<std::string> chosen;
    std::chrono::milliseconds patience = 20s;
    QtNotifications notifications{{.icon = QStringLiteral("/bundle/br ask.png"),
                                   .bus = [this] { return bus.as("program"); },
                                   .patience = patience}};
};

TEST_F(QtNotificationsTest, IsShownAndReplacedAndTellsWhatIsChosen) {
    serve();
    show("One");
    ASSERT_TRUE(hasTold(2));
    EXPECT_THAT(service.told,
                ElementsAre("capabilities", "Kelvane Companion|0|file:///bundle/br ask.png|One|"
                                            "a &lt;b&gt; &amp; c|default,Show,show,Show"));
    EXPECT_EQ(service.hints.value(QStringLiteral("urgency")).toInt(), 1);
    // Its number is known with the answer; until then a second one waits, and a third takes its
    // place.
    show("Two");
    show("Three");
    ASSERT_TRUE(hasTold(3));
    EXPECT_THAT(service.told[2], HasSubstr("|1|file:///bundle/br ask.png|Three|"));
    settle();
    emit service.ActionInvoked(7, QStringLiteral("other"));
    emit service.ActionInvoked(1, QStringLiteral("show"));
    ASSERT_TRUE(TestBus::until([&] { return !chosen.empty(); }));
    EXPECT_THAT(chosen, ElementsAre("show"));
    // Once it is gone the next is a new one.
    emit service.NotificationClosed(1, 2);
    emit service.ActionInvoked(1, QStringLiteral("late"));
    settle();
    show("Four");
    ASSERT_TRUE(hasTold(4));
    EXPECT_THAT(service.told[3], HasSubstr("|0|file:///bundle/br ask.png|Four|"));
    EXPECT_THAT(chosen, SizeIs(1));
}

TEST_F(QtNotificationsTest, IsTakenBack) {
    serve();
    notifications.withdraw();
    show("One");
    ASSERT_TRUE(hasTold(2));
    // Even before its number is known.
    notifications.withdraw();
    ASSERT_TRUE(hasTold(3));
    EXPECT_EQ(service.told[2], "close 1");
    emit service.ActionInvoked(1, QStringLiteral("show"));
    settle();
    EXPECT_THAT(chosen, SizeIs(0));
    notifications.withdraw();
    show("Two");
    ASSERT_TRUE(hasTold(4));
    EXPECT_THAT(service.told[3], HasSubstr("|0|"));
}

TEST_F(QtNotificationsTest, WhatTheServiceCannotDoIsNotAskedOfIt) {
    service.abilities = {QStringLiteral("body")};
    serve();
    show("One");
    ASSERT_TRUE(hasTold(2));
    EXPECT_EQ(service.told[1], "Kelvane Companion|0|file:///bundle/br ask.png|One|a <b> & c|");
}

TEST_F(QtNotificationsTest, WithoutAServiceNothingHappensUntilThereIsOne) {
    show("Lost");
    // What answers the question has nobody to ask.
    settle();
    EXPECT_THAT(service.told, SizeIs(0));
    serve();
    EXPECT_TRUE(isShownSoon("Found"));
    for (const auto& each : service.told) EXPECT_EQ(each.find("Lost"), std::string::npos);
}

TEST_F(QtNotificationsTest, OneThatComesAnewIsAskedAnewAndReplacesNothing) {
    serve();
    show("One");
    ASSERT_TRUE(hasTold(2));
    settle();
    EXPECT_TRUE(bus.as("desktop").unregisterService(kName));
    service.abilities = {};
    serve();
    // The bus tells of the old one's end before it tells of the new one.
    EXPECT_TRUE(TestBus::until([&] {
        show("Two");
        QTest::qWait(1);
        return std::ranges::find(service.told, "Kelvane Companion|0|file:///bundle/br ask.png|Two|"
                                               "a <b> & c|") != service.told.end();
    }));
}

TEST_F(QtNotificationsTest, WithoutABusFromTheStartThereIsSilenceToo) {
    (void)bus.as("program");
    bus.end();
    EXPECT_TRUE(TestBus::until([&] { return !bus.as("program").isConnected(); }));
    show("One");
    notifications.withdraw();
    EXPECT_THAT(service.told, SizeIs(0));
}

TEST_F(QtNotificationsTest, AfterTheBusHasGoneThereIsSilence) {
    serve();
    show("One");
    ASSERT_TRUE(hasTold(2));
    bus.end();
    EXPECT_TRUE(TestBus::until([&] { return !bus.as("program").isConnected(); }));
    show("Two");
    notifications.withdraw();
    EXPECT_THAT(service.told, SizeIs(2));
}

class SilentServiceTest : public QtNotificationsTest {
protected:
    SilentServiceTest() { serve(); }
    QtNotifications hasty{{.bus = [this] { return bus.as("program"); }, .patience = 1ms}};
};

TEST_F(SilentServiceTest, OneThatDoesNotAnswerIsGivenUpAndAskedAgainWithTheNext) {
    service.isSilent = true;
    hasty.show({.title = "Lost", .body = "", .actions = {}}, nullptr);
    ASSERT_TRUE(hasTold(1));
    // A question that has no answer would hold up every other one.
    ASSERT_TRUE(TestBus::until([&] {
        hasty.show({.title = "Lost", .body = "", .actions = {}}, nullptr);
        QTest::qWait(1);
        return service.told.size() >= 3;
    }));
    EXPECT_THAT(service.told, testing::Each(std::string("capabilities")));
}

} // namespace
} // namespace kelvane

#include "qt_notifications_test.moc"
