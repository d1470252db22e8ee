// A keyboard whose copy key does what a test says.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/keyboard.h"

#include <deque>
#include <functional>

namespace kelvane {

class FakeKeyboard : public Keyboard {
public:
    explicit FakeKeyboard(Journal& journal) : m_journal(journal) {}

    bool isTrusted = true;
    /// What the coming questions hear, first one first; `isTrusted` once they are used up.
    std::deque<bool> trustedAnswers;
    std::function<void(ProcessId)> onCopy; ///< What the application does about it.

    bool trusted() override;
    void postCopy(ProcessId target) override;

private:
    Journal& m_journal;
};

} // namespace kelvane
