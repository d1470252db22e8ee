#include "platform/qt/portal_shortcut.h"

#include "text/translation.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QGuiApplication>
#include <QList>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace kelvane {

/// One of the shortcuts that a portal is asked for, or tells of.
struct PortalEntry {
    QString id;
    QVariantMap facts;
};

} // namespace kelvane

Q_DECLARE_METATYPE(kelvane::PortalEntry)

namespace kelvane {

QDBusArgument& operator<<(QDBusArgument& out, const PortalEntry& entry) {
    out.beginStructure();
    out << entry.id << entry.facts;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, PortalEntry& entry) {
    in.beginStructure();
    in >> entry.id >> entry.facts;
    in.endStructure();
    return in;
}

namespace {

constexpr QLatin1String kService{"org.freedesktop.portal.Desktop"};
constexpr QLatin1String kPath{"/org/freedesktop/portal/desktop"};
constexpr QLatin1String kShortcuts{"org.freedesktop.portal.GlobalShortcuts"};
constexpr QLatin1String kRequest{"org.freedesktop.portal.Request"};
constexpr QLatin1String kSession{"org.freedesktop.portal.Session"};
constexpr QLatin1String kRegistry{"org.freedesktop.host.portal.Registry"};
constexpr QLatin1String kId{"grade"};

constexpr const char* kNotGiven =
    "The desktop did not give these keys; its own settings of shortcuts may.";
constexpr const char* kTakenBack =
    "The desktop has taken these keys back; its own settings of shortcuts may give them again.";

QDBusMessage question(QLatin1String interface, const char* member) {
    return QDBusMessage::createMethodCall(kService, kPath, interface, QLatin1String(member));
}

/// Keys whose names in settings are not those of the keyboard's own tables.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kKeyNames{
    {{"Space", "space"}, {"PageUp", "Page_Up"}, {"PageDown", "Page_Down"}}};

} // namespace

std::string portalTrigger(const Shortcut& shortcut) {
    std::string trigger;
    if (shortcut.ctrl) trigger += "CTRL+";
    if (shortcut.alt) trigger += "ALT+";
    if (shortcut.shift) trigger += "SHIFT+";
    if (shortcut.super) trigger += "LOGO+";
    for (const auto& [ours, theirs] : kKeyNames) {
        if (shortcut.key == ours) return trigger + std::string(theirs);
    }
    const bool isLetter =
        shortcut.key.size() == 1 && shortcut.key[0] >= 'A' && shortcut.key[0] <= 'Z';
    return trigger + (isLetter ? std::string(1, static_cast<char>(shortcut.key[0] - 'A' + 'a'))
                               : shortcut.key);
}

PortalShortcut::PortalShortcut(Options options) : m_options(std::move(options)) {
    // Qt refuses a slot whose types it does not know by name, and learns this one only when
    // somebody has sent or received one.
    qRegisterMetaType<QDBusObjectPath>();
    qDBusRegisterMetaType<PortalEntry>();
    qDBusRegisterMetaType<QList<PortalEntry>>();
}

PortalShortcut::~PortalShortcut() {
    stop();
}

bool PortalShortcut::connectOnce() {
    if (!m_bus) {
        m_bus = m_options.bus();
        // Qt must not be told to listen on a bus that has gone.
        if (!m_bus->isConnected()) {
            m_bus.reset();
            return false;
        }
        m_bus->connect(kService, kPath, kShortcuts, QStringLiteral("Activated"), this,
                       SLOT(activated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
        m_watcher.emplace(QString(kService), *m_bus, QDBusServiceWatcher::WatchForOwnerChange);
        connect(&*m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString&, const QString&, const QString& now) {
                    ownerChanged(!now.isEmpty());
                });
        if (!m_options.appId.isEmpty()) {
            // A program outside a sandbox says who it is; portals that know it by other means
            // refuse that, and it does not matter.
            auto name = question(kRegistry, "Register");
            name << m_options.appId << QVariantMap();
            m_bus->asyncCall(name, static_cast<int>(m_options.patience.count()));
        }
    }
    return m_bus->isConnected();
}

void PortalShortcut::ownerChanged(bool isThere) {
    if (!isThere) {
        m_isLost = m_isLost || m_step != Step::Idle;
        m_step = Step::Idle;
        m_session.clear();
        m_request.clear();
        ++m_round;
    } else if (std::exchange(m_isLost, false) && m_wished) {
        beginSession();
    }
}

void PortalShortcut::use(const Shortcut& shortcut, std::function<void()> pressed,
                         std::function<void(const std::string&)> refused) {
    stop();
    m_wished = shortcut;
    m_pressed = std::move(pressed);
    m_refused = std::move(refused);
    if (!connectOnce()) return refuse(kNoGlobalShortcut);
    beginSession();
}

void PortalShortcut::stop() {
    ++m_round;
    m_wished.reset();
    m_pressed = nullptr;
    m_refused = nullptr;
    m_isLost = false;
    m_request.clear();
    closeSession();
    m_step = Step::Idle;
}

void PortalShortcut::closeSession() {
    if (m_session.isEmpty()) return;
    m_bus->send(QDBusMessage::createMethodCall(kService, std::exchange(m_session, QString()),
                                               kSession, QStringLiteral("Close")));
}

void PortalShortcut::refuse(const std::string& why) {
    closeSession();
    m_step = Step::Idle;
    m_request.clear();
    // Its own copy: it may use other keys.
    if (const auto refused = m_refused) refused(why);
}

void PortalShortcut::ask(const QDBusMessage& question, Answer answer) {
    const int patience = static_cast<int>(m_options.patience.count());
    auto* waiting = new QDBusPendingCallWatcher(m_bus->asyncCall(question, patience), this);
    connect(waiting, &QDBusPendingCallWatcher::finished, this,
            [this, waiting, round = m_round, answer = std::move(answer)] {
                waiting->deleteLater();
                if (round == m_round) answer(waiting->reply());
            });
}

QVariantMap PortalShortcut::expectResponse() {
    const auto token = QStringLiteral("kelvane%1").arg(++m_tokens);
    QString sender = m_bus->baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    m_request = kPath + QStringLiteral("/request/") + sender + QLatin1Char('/') + token;
    m_bus->connect(kService, m_request, kRequest, QStringLiteral("Response"), this,
                   SLOT(responded(uint, QVariantMap, QDBusMessage)));
    return {{QStringLiteral("handle_token"), token}};
}

void PortalShortcut::beginSession() {
    ++m_round;
    m_step = Step::Creating;
    createSession();
}

void PortalShortcut::createSession() {
    auto options = expectResponse();
    // Another one each time: the one before may still be about to go.
    options.insert(QStringLiteral("session_handle_token"),
                   options.value(QStringLiteral("handle_token")));
    auto create = question(kShortcuts, "CreateSession");
    create << options;
    ask(create, [this](const QDBusMessage& answer) {
        // No portal, one without shortcuts, or one that is silent.
        if (answer.type() == QDBusMessage::ErrorMessage) refuse(kNoGlobalShortcut);
    });
}

void PortalShortcut::bind() {
    m_step = Step::Binding;
    const QList<PortalEntry> entries{{kId,
                                      {{QStringLiteral("description"), m_options.description()},
                                       {QStringLiteral("preferred_trigger"),
                                        QString::fromStdString(portalTrigger(*m_wished))}}}};
    const auto options = expectResponse();
    auto bind = question(kShortcuts, "BindShortcuts");
    bind << QVariant::fromValue(QDBusObjectPath(m_session)) << QVariant::fromValue(entries)
         << QString() << options;
    ask(bind, [this](const QDBusMessage& answer) {
        if (answer.type() == QDBusMessage::ErrorMessage) refuse(kNotGiven);
    });
}

void PortalShortcut::responded(uint how, const QVariantMap& results, const QDBusMessage& message) {
    m_bus->disconnect(kService, message.path(), kRequest, QStringLiteral("Response"), this,
                      SLOT(responded(uint, QVariantMap, QDBusMessage)));
    if (message.path() != m_request) {
        // A session that came after it was given up.
        const QString late = results.value(QStringLiteral("session_handle")).toString();
        if (!late.isEmpty()) {
            m_bus->send(
                QDBusMessage::createMethodCall(kService, late, kSession, QStringLiteral("Close")));
        }
        return;
    }
    m_request.clear();
    if (how != 0) return refuse(kNotGiven);
    if (m_step == Step::Creating) {
        m_session = results.value(QStringLiteral("session_handle")).toString();
        if (m_session.isEmpty()) return refuse(kNotGiven);
        m_bus->connect(kService, m_session, kSession, QStringLiteral("Closed"), this,
                       SLOT(closed(QDBusMessage)));
        return bind();
    }
    const auto given = qdbus_cast<QList<PortalEntry>>(results.value(QStringLiteral("shortcuts")));
    const bool isOurs =
        std::ranges::any_of(given, [](const PortalEntry& entry) { return entry.id == kId; });
    if (!isOurs) return refuse(kNotGiven);
    m_step = Step::Bound;
}

void PortalShortcut::activated(const QDBusObjectPath& session, const QString& id, qulonglong,
                               const QVariantMap&) {
    if (session.path() != m_session || id != kId) return;
    if (const auto pressed = m_pressed) pressed();
}

void PortalShortcut::closed(const QDBusMessage& message) {
    if (message.path() != m_session) return;
    m_session.clear();
    refuse(kTakenBack);
}

std::unique_ptr<GlobalShortcut> makePortalShortcut() {
    return std::make_unique<PortalShortcut>(PortalShortcut::Options{
        .appId = QGuiApplication::desktopFileName(),
        .description =
            [] {
                return QString::fromStdString(
                    text::translated("Shortcut", "Grade what is in front"));
            },
        .bus =
            [] {
                return QDBusConnection::connectToBus(QDBusConnection::SessionBus,
                                                     QStringLiteral("kelvane-shortcuts"));
            }});
}

} // namespace kelvane
