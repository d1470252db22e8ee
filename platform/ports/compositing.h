// Whether windows are laid over one another by their transparency.

#pragma once

namespace kelvane {

class Compositing {
public:
    virtual ~Compositing() = default;

    /// Whether what is transparent in a window shows what lies below it, now: a user may switch it
    /// on and off. Where it does not, what is transparent is black. False where that cannot be
    /// told. Main thread.
    [[nodiscard]] virtual bool isOn() = 0;
};

/// For systems that always do.
class AlwaysCompositing : public Compositing {
public:
    bool isOn() override { return true; }
};

} // namespace kelvane
