// The accessibility setting of a user that a test makes up.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/accessibility_switch.h"

#include <optional>

namespace kelvane {

class FakeAccessibilitySwitch : public AccessibilitySwitch {
public:
    explicit FakeAccessibilitySwitch(Journal& journal) : m_journal(journal) {}

    std::optional<bool> on = false; ///< Absent: there is no such setting.
    bool isStuck = false;           ///< It stays as it is, whatever is said.

    std::optional<bool> isOn() override { return on; }
    bool set(bool wanted) override {
        m_journal.add(wanted ? "accessibility on" : "accessibility off");
        if (on && !isStuck) on = wanted;
        return on == wanted;
    }

private:
    Journal& m_journal;
};

} // namespace kelvane
