#include "platform/qt/portal_shortcut.h"

#include "tests/platform/qt/test_bus.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVirtualObject>
#include <QList>

#include <chrono>
#include <string>
#include <vector>

namespace kelvane {

/// As it goes over the bus: (sa{sv}).
struct SentShortcut {
    QString id = QStringLiteral("grade");
    QVariantMap facts = {};
};
using SentShortcuts = QList<SentShortcut>;

QDBusArgument& operator<<(QDBusArgument& out, const SentShortcut& sent) {
    out.beginStructure();
    out << sent.id << sent.facts;
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, SentShortcut& sent) {
    in.beginStructure();
    in >> sent.id >> sent.facts;
    in.endStructure();
    return in;
}

/// The portal of a desktop, as far as it is asked. What the person does in its dialog is
/// `respond()`.
class ShortcutPortal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.GlobalShortcuts")

public:
    explicit ShortcutPortal(QDBusConnection bus) : m_bus(std::move(bus)) {}

    std::vector<std::string> told;
    uint createsWith = 0;      ///< Of the response to CreateSession.
    bool answersBySelf = true; ///< The person says yes at once.
    bool isSilent = false;     ///< Answers no question.
    bool isLate = false;       ///< The response to CreateSession comes by answerCreate().
    QString session;           ///< The last one.
    QString request;           ///< The last one.

    void respond(uint how) {
        const SentShortcuts given(how == 0 ? 1 : 0);
        send(request, how, {{QStringLiteral("shortcuts"), QVariant::fromValue(given)}});
    }
    void press(const QString& id = QStringLiteral("grade")) {
        auto signal = QDBusMessage::createSignal(kPath, kName, QStringLiteral("Activated"));
        signal << QVariant::fromValue(QDBusObjectPath(session)) << id << qulonglong{1}
               << QVariantMap();
        m_bus.send(signal);
    }
    void takeBack() {
        m_bus.send(QDBusMessage::createSignal(
            session, QStringLiteral("org.freedesktop.portal.Session"), QStringLiteral("Closed")));
    }

public slots:
    QDBusObjectPath CreateSession(const QVariantMap& options) {
        told.emplace_back("create");
        request = requestOf(options);
        if (isSilent) {
            setDelayedReply(true);
            return {};
        }
        session = QStringLiteral("/org/freedesktop/portal/desktop/session/x/") +
                  options.value(QStringLiteral("session_handle_token")).toString();
        if (!isLate) answerCreate();
        return QDBusObjectPath(request);
    }
    // Qt finds the type by this name.
    QDBusObjectPath BindShortcuts(const QDBusObjectPath& of,
                                  const QList<kelvane::SentShortcut>& wished, const QString&,
                                  const QVariantMap& options) {
        const SentShortcut first = wished.value(0);
        told.push_back(("bind " + first.id + " " +
                        first.facts.value(QStringLiteral("preferred_trigger")).toString() + " “" +
                        first.facts.value(QStringLiteral("description")).toString() + "”" +
                        (of.path() == session ? "" : " of another session"))
                           .toStdString());
        request = requestOf(options);
        if (answersBySelf) respond(0);
        return QDBusObjectPath(request);
    }

public:
    void answerCreate() {
        send(request, createsWith, {{QStringLiteral("session_handle"), session}});
    }

    const QString kName = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
    const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");

private:
    QString requestOf(const QVariantMap& options) {
        QString sender = message().service().mid(1);
        sender.replace(QLatin1Char('.'), QLatin1Char('_'));
        return kPath + QStringLiteral("/request/") + sender + QLatin1Char('/') +
               options.value(QStringLiteral("handle_token")).toString();
    }
    void send(const QString& path, uint how, const QVariantMap& results) {
        auto signal = QDBusMessage::createSignal(
            path, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
        signal << how << results;
        m_bus.send(signal);
    }

    QDBusConnection m_bus;
};

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class PortalShortcutTest : public testing::Test {
protected:
    PortalShortcutTest() {
        qDBusRegisterMetaType<SentShortcut>();
        qDBusRegisterMetaType<SentShortcuts>();
        EXPECT_TRUE(bus.as("desktop").registerObject(portal.kPath, &portal,
                                                     QDBusConnection::ExportAllSlots));
        EXPECT_TRUE(bus.as("desktop").registerVirtualObject(
            portal.kPath + QStringLiteral("/session"), &sessions, QDBusConnection::SubPath));
    }

    void serve() { EXPECT_TRUE(bus.as("desktop").registerService(kService)); }
    void use(const Shortcut& keys = {.ctrl = true, .alt = true, .key = "G"}) {
        shortcut.use(
            keys, [this] { ++presses; },
            [this](const std::string& why) { refusals.push_back(why); });
    }
    /// Presses until it is heard: the portal's word and its listener's meet on the way.
    bool isHeard() {
        const int before = presses;
        return TestBus::until([&] {
            portal.press();
            QTest::qWait(1);
            return presses > before;
        });
    }
    bool isTold(std::size_t count) {
        return TestBus::until([&] { return portal.told.size() >= count; });
    }
    bool isRefused() {
        return TestBus::until([&] { return !refusals.empty(); });
    }
    /// Everything that was on its way to the program has come.
    void settle() {
        bool answered = false;
        QDBusPendingCallWatcher later(bus.as("program").asyncCall(QDBusMessage::createMethodCall(
            kService, portal.kPath, portal.kName, QStringLiteral("NoSuchMember"))));
        QObject::connect(&later, &QDBusPendingCallWatcher::finished, [&] { answered = true; });
        EXPECT_TRUE(TestBus::until([&] { return answered; }));
    }

    /// What sessions are told: that they are to end.
    class Sessions : public QDBusVirtualObject {
    public:
        std::vector<std::string> told;
        QString introspect(const QString&) const override { return {}; }
        bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
            told.push_back((message.member() + QLatin1Char(' ') + message.path().section('/', -1))
                               .toStdString());
            return true;
        }
    };

    const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
    TestBus bus;
    ShortcutPortal portal{bus.as("desktop")};
    Sessions sessions;
    int presses = 0;
    std::vector<std::string> refusals;
    PortalShortcut shortcut{{.appId = QStringLiteral("com.example.app"),
                             .description = [] { return QStringLiteral("Grade"); },
                             .bus = [this] { return bus.as("program"); },
                             .patience = 20s}};
};

TEST_F(PortalShortcutTest, KeysThatTheDesktopGivesAreHeard) {
    serve();
    use();
    ASSERT_TRUE(isTold(2));
    EXPECT_THAT(portal.told, ElementsAre("create", "bind grade CTRL+ALT+g “Grade”"));
    EXPECT_TRUE(isHeard());
    // Presses that were still on their way when the first was heard.
    settle();
    const int heard = presses;
    portal.press(QStringLiteral("another"));
    settle();
    EXPECT_EQ(presses, heard);
    EXPECT_THAT(refusals, IsEmpty());
    shortcut.stop();
    portal.press();
    settle();
    EXPECT_EQ(presses, heard) << "given back";
    EXPECT_THAT(sessions.told, SizeIs(1));
}

TEST_F(PortalShortcutTest, OthersTakeThePlaceOfTheOnesBefore) {
    serve();
    use();
    ASSERT_TRUE(isTold(2));
    use({.shift = true, .super = true, .key = "PageUp"});
    ASSERT_TRUE(isTold(4));
    EXPECT_EQ(portal.told[3], "bind grade SHIFT+LOGO+Page_Up “Grade”");
    EXPECT_TRUE(isHeard());
    EXPECT_THAT(sessions.told, ElementsAre("Close kelvane1"));
}

TEST_F(PortalShortcutTest, WhoSaysNoInTheDialogIsTold) {
    portal.answersBySelf = false;
    serve();
    use();
    ASSERT_TRUE(isTold(2));
    settle();
    EXPECT_THAT(refusals, IsEmpty()) << "the person may take all the time there is";
    portal.respond(1);
    ASSERT_TRUE(isRefused());
    EXPECT_THAT(refusals[0], HasSubstr("did not give"));
    EXPECT_TRUE(TestBus::until([&] { return sessions.told.size() == 1; }));
}

TEST_F(PortalShortcutTest, ASessionThatIsRefusedIsTold) {
    portal.createsWith = 2;
    serve();
    use();
    ASSERT_TRUE(isRefused());
    EXPECT_THAT(portal.told, ElementsAre("create"));
}

TEST_F(PortalShortcutTest, ASessionThatComesAfterItWasGivenUpIsClosed) {
    portal.isLate = true;
    serve();
    use();
    ASSERT_TRUE(isTold(1));
    shortcut.stop();
    portal.answerCreate();
    EXPECT_TRUE(TestBus::until([&] { return sessions.told.size() == 1; }));
    EXPECT_THAT(portal.told, ElementsAre("create"));
    EXPECT_THAT(refusals, IsEmpty());
}

TEST_F(PortalShortcutTest, WithoutAPortalThatIsSaid) {
    use();
    ASSERT_TRUE(isRefused());
    EXPECT_THAT(refusals, ElementsAre(kNoGlobalShortcut));
}

TEST_F(PortalShortcutTest, APortalWithoutShortcutsIsNone) {
    bus.as("desktop").unregisterObject(portal.kPath);
    serve();
    use();
    ASSERT_TRUE(isRefused());
    EXPECT_THAT(refusals, ElementsAre(kNoGlobalShortcut));
}

TEST_F(PortalShortcutTest, WithoutABusThatIsSaid) {
    (void)bus.as("program");
    bus.end();
    EXPECT_TRUE(TestBus::until([&] { return !bus.as("program").isConnected(); }));
    use();
    EXPECT_THAT(refusals, ElementsAre(kNoGlobalShortcut));
}

TEST_F(PortalShortcutTest, APortalThatIsSilentIsGivenUp) {
    portal.isSilent = true;
    serve();
    PortalShortcut hasty({.appId = {},
                          .description = [] { return QString(); },
                          .bus = [this] { return bus.as("program"); },
                          .patience = 1ms});
    hasty.use({.key = "F9"}, nullptr, [this](const std::string& why) { refusals.push_back(why); });
    EXPECT_TRUE(isRefused());
}

TEST_F(PortalShortcutTest, KeysThatTheDesktopTakesBackAreToldOf) {
    serve();
    use();
    ASSERT_TRUE(isTold(2));
    ASSERT_TRUE(isHeard());
    portal.takeBack();
    ASSERT_TRUE(isRefused());
    EXPECT_THAT(refusals[0], HasSubstr("taken these keys back"));
}

TEST_F(PortalShortcutTest, APortalThatEndsAndComesBackIsAskedAgain) {
    serve();
    use();
    ASSERT_TRUE(isTold(2));
    ASSERT_TRUE(isHeard());
    EXPECT_TRUE(bus.as("desktop").unregisterService(kService));
    serve();
    ASSERT_TRUE(isTold(4));
    EXPECT_TRUE(isHeard());
    EXPECT_THAT(refusals, IsEmpty());
}

TEST(PortalTrigger, IsWrittenAsPortalsWriteIt) {
    EXPECT_EQ(portalTrigger({.ctrl = true, .alt = true, .shift = true, .super = true, .key = "A"}),
              "CTRL+ALT+SHIFT+LOGO+a");
    EXPECT_EQ(portalTrigger({.key = "F12"}), "F12");
    EXPECT_EQ(portalTrigger({.ctrl = true, .key = "7"}), "CTRL+7");
    EXPECT_EQ(portalTrigger({.alt = true, .key = "Space"}), "ALT+space");
    EXPECT_EQ(portalTrigger({.key = "PageDown"}), "Page_Down");
    EXPECT_EQ(portalTrigger({.key = "Return"}), "Return");
}

} // namespace
} // namespace kelvane

#include "portal_shortcut_test.moc"
