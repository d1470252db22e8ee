// Is a mouse button pressed anywhere on the desktop?
//
// For what closes when the user clicks elsewhere. Nothing is grabbed and nothing is kept from
// whoever is clicked.

#pragma once

#include <functional>

namespace kelvane {

class PointerPresses {
public:
    virtual ~PointerPresses() = default;

    /// From now on has `pressed` called, on a thread of the adapter's own, whenever a button goes
    /// down, wherever the pointer is. Does nothing where the system does not tell. Main thread.
    virtual void start(std::function<void()> pressed) = 0;

    /// No call begins after this returns. Costs nothing until the next start. Main thread.
    virtual void stop() = 0;
};

} // namespace kelvane
