// The request to an application to copy its selection, where this program may make it.
//
// The copy key is the system's own business: Command+C on macOS; on Linux Ctrl+Insert, and for a
// terminal no key at all, because there every key is input to the program that runs in it.

#pragma once

#include "platform/ports/running_app.h"

namespace kelvane {

class Keyboard {
public:
    virtual ~Keyboard() = default;

    /// Whether key events posted by this program reach other applications: the Accessibility
    /// permission on macOS, a writable display with the XTEST extension on Linux. It may change
    /// between two calls, as the user grants or withdraws the permission.
    [[nodiscard]] virtual bool trusted() = 0;

    /// Asks `target` to copy its selection to the pasteboard and returns at once; whether anything
    /// was copied shows in `Pasteboard::changeCount()` a moment later. Precondition: `target` is
    /// the frontmost application. Nothing is posted when it no longer is.
    virtual void postCopy(ProcessId target) = 0;
};

} // namespace kelvane
