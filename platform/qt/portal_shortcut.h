// The keys of a desktop that gives them through its portal, org.freedesktop.portal.GlobalShortcuts.
//
// The desktop shows its own dialog, in which the person may choose other keys, and keeps what was
// chosen: its settings change it from then on. Nothing waits for the portal. One that has not
// answered a question after five seconds is taken for absent; the dialog may take as long as the
// person does. A portal that ends and comes back is asked again. Main thread only; needs an
// application object.

#pragma once

#include "platform/ports/global_shortcut.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kelvane {

class PortalShortcut : public QObject, public GlobalShortcut {
    Q_OBJECT

public:
    struct Options {
        QString appId; ///< The name of the program's desktop file.
        /// What the keys do, for the desktop's dialog.
        std::function<QString()> description;
        /// A connection of its own: a portal is told the program's name before all else. Called
        /// when the first keys are wanted.
        std::function<QDBusConnection()> bus;
        /// A portal on a busy machine answers within a second; its start takes two or three.
        std::chrono::milliseconds patience{5'000};
    };

    explicit PortalShortcut(Options options);
    ~PortalShortcut() override;

    void use(const Shortcut& shortcut, std::function<void()> pressed,
             std::function<void(const std::string& why)> refused) override;
    void stop() override;

private slots:
    void responded(uint how, const QVariantMap& results, const QDBusMessage& message);
    void activated(const QDBusObjectPath& session, const QString& id, qulonglong time,
                   const QVariantMap& options);
    void closed(const QDBusMessage& message);

private:
    using Answer = std::function<void(const QDBusMessage&)>;
    enum class Step { Idle, Creating, Binding, Bound };

    [[nodiscard]] bool connectOnce();
    void ownerChanged(bool isThere);
    void ask(const QDBusMessage& question, Answer answer);
    /// `expect` is the path of the request that the answer will come by.
    [[nodiscard]] QVariantMap expectResponse();
    void beginSession();
    void createSession();
    void bind();
    void refuse(const std::string& why);
    void closeSession();

    Options m_options;
    std::optional<QDBusConnection> m_bus;
    std::optional<QDBusServiceWatcher> m_watcher;
    std::optional<Shortcut> m_wished;
    std::function<void()> m_pressed;
    std::function<void(const std::string&)> m_refused;
    Step m_step = Step::Idle;
    QString m_session; ///< Its object's path; empty: there is none.
    QString m_request; ///< The request that is under way; empty: none.
    int m_round = 0;   ///< Answers to an earlier one are for nobody.
    int m_tokens = 0;
    bool m_isLost = false; ///< The portal has ended while the keys were in use.
};

/// Of the session that this program is in.
[[nodiscard]] std::unique_ptr<GlobalShortcut> makePortalShortcut();

/// As portals write a combination: "CTRL+ALT+g". Pure.
[[nodiscard]] std::string portalTrigger(const Shortcut& shortcut);

} // namespace kelvane
