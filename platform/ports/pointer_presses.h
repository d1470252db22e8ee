// Presses of mouse buttons, wherever on the desktop they happen.
//
// For what closes when the user clicks elsewhere. Nothing is grabbed and nothing is kept from
// whoever is clicked.

#pragma once

#include <functional>

namespace kelvane {

class PointerPresses {
public:
    virtual ~PointerPresses() = default;

    /// From now on has `pressed` called whenever a button goes down, wherever the pointer is: over
    /// this program's own windows too. The wheel is no button. The call comes on the thread on
    /// which the system tells, which may be the main one or one of the adapter's own; `pressed`
    /// must therefore do for any thread, return soon, and neither start nor stop. It takes the
    /// place of what an earlier start named. Nobody is called where the system does not tell, nor
    /// for an empty function, which is as good as a stop. Main thread.
    virtual void start(std::function<void()> pressed) = 0;

    /// No call is under way or begins after this returns. Costs nothing until the next start, and
    /// does nothing when nobody listens. Main thread.
    virtual void stop() = 0;
};

} // namespace kelvane
