#include "platform/linux/proxy_portal.h"

#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_environment.h"
#include "platform/ports/quit_signal.h"
#include "tests/platform/qt/test_bus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusContext>
#include <QObject>
#include <QStringList>

#include <future>
#include <memory>
#include <string>
#include <vector>

namespace kelvane {

/// What stands on the bus for the desktop's portal.
class ProxyResolver : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.ProxyResolver")

public:
    QStringList proxies;
    bool isSilent = false;
    std::vector<std::string> asked;

public slots:
    QStringList Lookup(const QString& uri) {
        asked.push_back(uri.toStdString());
        if (isSilent) setDelayedReply(true);
        return proxies;
    }
};

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class ProxyPortalTest : public testing::Test {
protected:
    void serve() {
        auto desktop = bus.as("desktop");
        EXPECT_TRUE(desktop.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"),
                                           &resolver, QDBusConnection::ExportAllSlots));
        EXPECT_TRUE(desktop.registerService(QStringLiteral("org.freedesktop.portal.Desktop")));
    }
    /// On a thread of its own, as the client of a service asks; the portal answers on this one.
    std::vector<std::string> ask(const std::string& origin = "https://host:443") {
        auto answer = std::async(std::launch::async, [&] { return portal->proxiesFor(origin); });
        EXPECT_TRUE(
            TestBus::until([&] { return answer.wait_for(0s) == std::future_status::ready; }));
        return answer.get();
    }

    TestBus bus;
    ProxyResolver resolver;
    Journal journal;
    FakeClock clock{journal};
    QuitSignal quit;
    FakeEnvironment environment = [this] {
        FakeEnvironment made;
        made.variables["DBUS_SESSION_BUS_ADDRESS"] = bus.address().toStdString();
        return made;
    }();
    std::unique_ptr<ProxySettings> portal = makeProxyPortal(environment, clock, quit);
};

TEST_F(ProxyPortalTest, TellsWhatTheDesktopResolvesAndAsksAgainAfterAMinute) {
    serve();
    resolver.proxies = {QStringLiteral("http://proxy:8080"), QStringLiteral("direct://")};
    EXPECT_THAT(ask(), ElementsAre("http://proxy:8080", "direct://"));
    EXPECT_THAT(ask(), ElementsAre("http://proxy:8080", "direct://"));
    EXPECT_THAT(resolver.asked, ElementsAre("https://host:443"));
    EXPECT_THAT(ask("http://other:80"), ElementsAre("http://proxy:8080", "direct://"));
    EXPECT_THAT(resolver.asked, ElementsAre("https://host:443", "http://other:80"));
    resolver.proxies = {QStringLiteral("direct://")};
    clock.time += 60s;
    EXPECT_THAT(ask(), ElementsAre("direct://"));
}

TEST_F(ProxyPortalTest, WithoutAPortalThereIsNothingAndALaterOneIsFound) {
    EXPECT_THAT(ask(), IsEmpty());
    serve();
    resolver.proxies = {QStringLiteral("direct://")};
    EXPECT_THAT(ask(), ElementsAre("direct://")) << "the bus said so: nobody was waited for";
}

TEST_F(ProxyPortalTest, OneThatDoesNotAnswerIsLeftAloneForHalfAMinute) {
    serve();
    resolver.isSilent = true;
    EXPECT_THAT(ask(), IsEmpty());
    EXPECT_THAT(ask(), IsEmpty());
    EXPECT_EQ(resolver.asked.size(), 1U);
    resolver.isSilent = false;
    resolver.proxies = {QStringLiteral("direct://")};
    clock.time += 30s;
    EXPECT_THAT(ask(), ElementsAre("direct://"));
}

TEST_F(ProxyPortalTest, QuittingEndsAQuestion) {
    serve();
    resolver.isSilent = true;
    quit.raise();
    EXPECT_THAT(ask(), IsEmpty());
}

TEST_F(ProxyPortalTest, WithoutABusThereIsNothing) {
    environment.variables["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nowhere";
    EXPECT_THAT(makeProxyPortal(environment, clock, quit)->proxiesFor("https://host:443"),
                IsEmpty());
    environment.variables.clear();
    EXPECT_THAT(makeProxyPortal(environment, clock, quit)->proxiesFor("https://host:443"),
                IsEmpty());
}

} // namespace
} // namespace kelvane

#include "proxy_portal_test.moc"
