// Messages that are kept.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/notifications.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

/// Writes "notify TITLE" into the journal, and "withdraw" when one was in sight.
class FakeNotifications : public Notifications {
public:
    explicit FakeNotifications(Journal& journal) : m_journal(journal) {}

    std::vector<Notification> shown; ///< All of them, the last one last.

    void show(const Notification& notification,
              std::function<void(const std::string&)> chosen) override {
        m_journal.add("notify " + notification.title);
        shown.push_back(notification);
        m_chosen = std::move(chosen);
    }
    void withdraw() override {
        if (std::exchange(m_chosen, nullptr)) m_journal.add("withdraw");
    }
    /// Somebody presses a button of the one in sight.
    void choose(const std::string& action) {
        if (const auto chosen = m_chosen) chosen(action);
    }

private:
    Journal& m_journal;
    std::function<void(const std::string&)> m_chosen;
};

} // namespace kelvane
