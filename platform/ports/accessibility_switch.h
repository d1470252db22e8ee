// The user's setting that has programs show themselves to assistive technology.
//
// It belongs to the user and all his programs, and it outlives the session: only he switches it.

#pragma once

#include <optional>

namespace kelvane {

class AccessibilitySwitch {
public:
    virtual ~AccessibilitySwitch() = default;

    /// Absent where there is no such setting. Any thread.
    [[nodiscard]] virtual std::optional<bool> isOn() = 0;

    /// Whether the setting is so now. Any thread.
    virtual bool set(bool on) = 0;
};

/// Where programs need no such setting.
class NoAccessibilitySwitch : public AccessibilitySwitch {
public:
    std::optional<bool> isOn() override { return std::nullopt; }
    bool set(bool) override { return false; }
};

} // namespace kelvane
