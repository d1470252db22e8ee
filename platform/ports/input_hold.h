// The user's keys and clicks, kept from every program for a moment.
//
// A capture brings another application forward. What the user presses in that moment was meant for
// whatever had the keyboard before, and would land in the document that is being captured: while
// the hold lasts it goes nowhere. The copy key that this program posts itself still arrives.

#pragma once

#include <cstdint>

namespace kelvane {

class InputHold {
public:
    virtual ~InputHold() = default;

    /// From now on keys and clicks reach nobody. Does nothing while a hold lasts, and where the
    /// system has no such means or refuses it. Main thread.
    virtual void start() = 0;

    /// Ends the hold; nothing without one. What was pressed meanwhile is lost. Ends by itself with
    /// this program. Main thread.
    virtual void stop() = 0;

    /// Whether keys go to the window with this number of the window system once the hold ends. True
    /// where that cannot be told. Main thread.
    [[nodiscard]] virtual bool keyboardIsAt(std::int64_t window) = 0;
};

/// For systems without the means: it never holds anything.
class NoInputHold : public InputHold {
public:
    void start() override {}
    void stop() override {}
    bool keyboardIsAt(std::int64_t) override { return true; }
};

} // namespace kelvane
