// A scripted hold on keys and clicks.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/input_hold.h"

namespace kelvane {

/// Writes "hold input" and "let input go" into the journal, each only when it changes something.
class FakeInputHold : public InputHold {
public:
    explicit FakeInputHold(Journal& journal) : m_journal(journal) {}

    std::int64_t keyboardAt = 0; ///< The window that has the keyboard.

    void start() override;
    void stop() override;
    bool keyboardIsAt(std::int64_t window) override { return window == keyboardAt; }

    [[nodiscard]] bool holds() const { return m_holds; }

private:
    Journal& m_journal;
    bool m_holds = false;
};

} // namespace kelvane
