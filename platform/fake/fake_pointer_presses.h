// The scripted presses of mouse buttons.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/pointer_presses.h"

#include <functional>

namespace kelvane {

/// Tells on the thread that calls `press`. Writes "listen" and "stop listening" into the journal,
/// the latter only when somebody listened.
class FakePointerPresses : public PointerPresses {
public:
    explicit FakePointerPresses(Journal& journal) : m_journal(journal) {}

    bool systemTells = true; ///< Whether the coming starts are of use.

    void start(std::function<void()> pressed) override;
    void stop() override;

    [[nodiscard]] bool listening() const { return static_cast<bool>(m_pressed); }
    void press(); ///< A button goes down somewhere.

private:
    Journal& m_journal;
    std::function<void()> m_pressed;
};

} // namespace kelvane
