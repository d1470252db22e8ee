// The scripted shortcut.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/global_shortcut.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace kelvane {

/// Tells on the thread that calls `press`. Writes "use KEY" and "give back" into the journal, the
/// latter only when one was in use.
class FakeGlobalShortcut : public GlobalShortcut {
public:
    explicit FakeGlobalShortcut(Journal& journal) : m_journal(journal) {}

    std::optional<std::string> refusal; ///< Why the coming ones cannot be had.
    std::optional<Shortcut> used;

    void use(const Shortcut& shortcut, std::function<void()> pressed,
             std::function<void(const std::string&)> refused) override {
        stop();
        m_journal.add("use " + shortcut.key);
        if (refusal) return refused(*refusal);
        used = shortcut;
        m_pressed = std::move(pressed);
    }
    void stop() override {
        if (!std::exchange(m_pressed, nullptr)) return;
        used.reset();
        m_journal.add("give back");
    }
    /// The keys are pressed.
    void press() {
        if (m_pressed) m_pressed();
    }

private:
    Journal& m_journal;
    std::function<void()> m_pressed;
};

} // namespace kelvane
