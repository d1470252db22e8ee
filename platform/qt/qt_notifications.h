// Messages by the service org.freedesktop.Notifications of the session bus.
//
// The first question starts the service where it is started on demand. Nothing waits for it: one
// that has not answered a question after five seconds is taken for absent, what was to be shown
// then is dropped, and the next message asks anew. Main thread only; needs an application object.

#pragma once

#include "platform/ports/notifications.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kelvane {

class QtNotifications : public QObject, public Notifications {
    Q_OBJECT

public:
    struct Options {
        QString icon = {}; ///< The path of a picture; empty: none.
        /// Called when the first message is shown.
        std::function<QDBusConnection()> bus = QDBusConnection::sessionBus;
        /// A service on a busy machine answers within a second; its start takes two or three.
        std::chrono::milliseconds patience{5'000};
    };

    explicit QtNotifications(Options options);

    void show(const Notification& notification,
              std::function<void(const std::string&)> chosen) override;
    void withdraw() override;

private slots:
    void actionInvoked(uint id, const QString& action);
    void notificationClosed(uint id, uint reason);

private:
    using Answer = std::function<void(const QDBusMessage&)>;

    [[nodiscard]] bool connectOnce();
    void ask(const QDBusMessage& question, Answer answer);
    void goOn();
    void askWhatItCan();
    void send();
    void close();
    void forgetService();

    Options m_options;
    std::optional<QDBusConnection> m_bus;
    std::optional<QDBusServiceWatcher> m_watcher;
    std::optional<QStringList> m_abilities; ///< Absent until the service has told.
    bool m_asks = false;                    ///< A question to the service has no answer yet.
    std::optional<Notification> m_next;     ///< To be shown once it has.
    bool m_closes = false;                  ///< What is in sight then is to go.
    std::function<void(const std::string&)> m_chosen;
    uint m_id = 0;   ///< Of the one that is in sight; 0: none.
    int m_round = 0; ///< Counts the services that there have been.
};

/// Of the session that this program is in, with that picture.
[[nodiscard]] std::unique_ptr<Notifications>
makeQtNotifications(const std::optional<std::filesystem::path>& icon);

} // namespace kelvane
