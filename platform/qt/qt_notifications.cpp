#include "platform/qt/qt_notifications.h"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QUrl>
#include <QVariantMap>

#include <utility>

namespace kelvane {

namespace {

constexpr QLatin1String kService{"org.freedesktop.Notifications"};
constexpr QLatin1String kPath{"/org/freedesktop/Notifications"};
/// In sight as long as the service thinks fit.
constexpr int kUsualTime = -1;
/// As the protocol numbers them: low, normal, critical. A critical one would stay until it is
/// clicked away.
constexpr uchar kNormal = 1;

QDBusMessage question(const char* member) {
    return QDBusMessage::createMethodCall(kService, kPath, kService, QLatin1String(member));
}

QString text(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

} // namespace

QtNotifications::QtNotifications(Options options) : m_options(std::move(options)) {}

bool QtNotifications::connectOnce() {
    if (!m_bus) {
        m_bus = m_options.bus();
        // Qt must not be told to listen on a bus that has gone.
        if (!m_bus->isConnected()) {
            m_bus.reset();
            return false;
        }
        m_bus->connect(kService, kPath, kService, QStringLiteral("ActionInvoked"), this,
                       SLOT(actionInvoked(uint, QString)));
        m_bus->connect(kService, kPath, kService, QStringLiteral("NotificationClosed"), this,
                       SLOT(notificationClosed(uint, uint)));
        m_watcher.emplace(QString(kService), *m_bus, QDBusServiceWatcher::WatchForOwnerChange);
        // Another one has other abilities and numbers.
        connect(&*m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this] { forgetService(); });
    }
    return m_bus->isConnected();
}

void QtNotifications::forgetService() {
    m_abilities.reset();
    m_id = 0;
    ++m_round;
}

void QtNotifications::show(const Notification& notification,
                           std::function<void(const std::string&)> chosen) {
    m_next = notification;
    m_closes = false;
    m_chosen = std::move(chosen);
    goOn();
}

void QtNotifications::withdraw() {
    m_next.reset();
    m_chosen = nullptr;
    m_closes = true;
    goOn();
}

void QtNotifications::goOn() {
    // One question at a time: the number of what is in sight comes with the answer.
    if (m_asks) return;
    if (std::exchange(m_closes, false) && m_id != 0) close();
    if (!m_next) return;
    if (!connectOnce()) return m_next.reset();
    m_abilities ? send() : askWhatItCan();
}

void QtNotifications::ask(const QDBusMessage& question, Answer answer) {
    m_asks = true;
    const int patience = static_cast<int>(m_options.patience.count());
    auto* waiting = new QDBusPendingCallWatcher(m_bus->asyncCall(question, patience), this);
    connect(waiting, &QDBusPendingCallWatcher::finished, this,
            [this, waiting, round = m_round, answer = std::move(answer)] {
                waiting->deleteLater();
                m_asks = false;
                // What the service before has said is not true of this one.
                if (round == m_round) answer(waiting->reply());
                goOn();
            });
}

void QtNotifications::askWhatItCan() {
    ask(question("GetCapabilities"), [this](const QDBusMessage& answer) {
        const QDBusPendingReply<QStringList> reply(answer);
        // Nobody there, or one that is silent: the next message asks again.
        if (reply.isError()) return m_next.reset();
        m_abilities = reply.value();
    });
}

void QtNotifications::send() {
    const Notification shown = *std::exchange(m_next, std::nullopt);
    QStringList actions;
    if (m_abilities->contains(QStringLiteral("actions"))) {
        for (const auto& [name, label] : shown.actions) actions << text(name) << text(label);
    }
    QString body = text(shown.body);
    // Where marks are read, what looks like one is none.
    if (m_abilities->contains(QStringLiteral("body-markup"))) body = body.toHtmlEscaped();
    const QString icon =
        m_options.icon.isEmpty() ? QString() : QUrl::fromLocalFile(m_options.icon).toString();
    const QVariantMap hints{{QStringLiteral("urgency"), QVariant::fromValue(kNormal)},
                            {QStringLiteral("desktop-entry"), QGuiApplication::desktopFileName()}};
    auto notify = question("Notify");
    notify << QGuiApplication::applicationDisplayName() << m_id << icon << text(shown.title) << body
           << actions << hints << kUsualTime;
    ask(notify, [this](const QDBusMessage& answer) {
        const QDBusPendingReply<uint> reply(answer);
        if (reply.isError()) return forgetService();
        m_id = reply.value();
    });
}

void QtNotifications::close() {
    auto away = question("CloseNotification");
    away << std::exchange(m_id, 0U);
    // Whether it still was there is nobody's business.
    m_bus->send(away);
}

void QtNotifications::actionInvoked(uint id, const QString& action) {
    if (id != m_id || m_id == 0) return;
    // Its own copy: what it does may show another one.
    if (const auto chosen = m_chosen) chosen(action.toStdString());
}

void QtNotifications::notificationClosed(uint id, uint) {
    if (id == m_id) m_id = 0;
}

std::unique_ptr<Notifications>
makeQtNotifications(const std::optional<std::filesystem::path>& icon) {
    return std::make_unique<QtNotifications>(
        QtNotifications::Options{.icon = text(icon ? icon->string() : std::string())});
}

} // namespace kelvane
