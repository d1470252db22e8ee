// What the desktop tells of a verdict that comes while nobody looks at the panel: a message, and a
// dot at the icon.
//
// Main thread only; the functions are pure.

#pragma once

#include "app/companion_model.h"
#include "app/companion_view.h"
#include "app/history/turn_verdict.h"
#include "platform/ports/clock.h"
#include "platform/ports/notifications.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace kelvane {

class SettingsStore;

/// Between two messages at least. Desktops show one for five to ten seconds: a row of verdicts
/// would replace each unread.
inline constexpr std::chrono::seconds kNoticePause{10};

/// The names of what a message's buttons do. A click on the message is the first one.
inline constexpr const char* kNoticeClicked = "default";
inline constexpr const char* kNoticeShow = "show";
inline constexpr const char* kNoticeReport = "report";

enum class NoticeNow {
    Show,
    Wait, ///< Until kNoticePause is over; a newer one takes its place.
    Drop,
};

/// What becomes of a message. `sinceLast` is absent before the first.
[[nodiscard]] NoticeNow noticeNow(bool isWanted, bool panelIsShown,
                                  const std::optional<std::chrono::nanoseconds>& sinceLast);

[[nodiscard]] Notification verdictNotice(const Verdict& verdict,
                                         const std::optional<GradedWork>& about);

/// A message, and the run that its report is of.
struct Notice {
    Notification notification;
    std::optional<std::string> runId;
};

/// Of an agent's turn. `base` is the service that is asked now: a report of another one is not
/// offered.
[[nodiscard]] Notice turnNotice(const history::TurnVerdict& turn, const std::string& base);

/// The colour of the dot at the icon: that of a band, until the panel has been opened after the
/// verdict. Absent for a verdict without a band.
[[nodiscard]] std::optional<Tint> badgeOf(const std::optional<Verdict>& verdict, bool isSeen);

/// What the icon's tool tip says beneath its usual line; empty without a dot.
[[nodiscard]] std::string badgeTip(const std::optional<Verdict>& verdict, bool isSeen);

class Notifier {
public:
    struct Ports {
        Notifications& notifications;
        SettingsStore& settings;
        Clock& clock;
    };

    /// All of it must outlive the notifier.
    explicit Notifier(Ports ports) : m_ports(ports) {}

    using Chosen = std::function<void(const std::string& action)>;

    /// Shows it, or keeps it until it may be shown, or does not, as noticeNow() says. `chosen` is
    /// called with the action that the person chooses, and the message goes.
    void tell(Notification notice, bool panelIsShown, Chosen chosen);

    /// Time has passed: shows what waits, where it may be shown now.
    void look(bool panelIsShown);

    /// The person looks at the panel: what was told, or waits, is not news any more.
    void withdraw();

private:
    Ports m_ports;
    std::optional<Instant> m_last;
    std::optional<std::pair<Notification, Chosen>> m_next; ///< Waits.
};

} // namespace kelvane
