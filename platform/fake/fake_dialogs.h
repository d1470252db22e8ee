// Alerts that are kept, and answered as a test says.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/dialogs.h"

#include <cstddef>
#include <deque>
#include <optional>
#include <vector>

namespace kelvane {

class FakeDialogs : public Dialogs {
public:
    explicit FakeDialogs(Journal& journal) : m_journal(journal) {}

    /// Which button the coming alerts see pressed, first one first; closed without one once they
    /// are used up.
    std::deque<std::optional<std::size_t>> answers;
    std::vector<Alert> shown;

    std::optional<std::size_t> show(const Alert& alert) override;

private:
    Journal& m_journal;
};

} // namespace kelvane
