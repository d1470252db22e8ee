// Whether a window of this program has the keyboard.

#pragma once

namespace kelvane {

class OwnFocus {
public:
    virtual ~OwnFocus() = default;

    /// As of now, as far as the toolkit knows. False without windows. Any thread.
    [[nodiscard]] virtual bool isHeld() = 0;
};

/// For a program that has no windows.
class NoOwnFocus : public OwnFocus {
public:
    bool isHeld() override { return false; }
};

} // namespace kelvane
