// The programs of this desktop as they show themselves to assistive technology (AT-SPI).
//
// Tells which window has the keyboard, whose it is, and what is selected in it, on desktops where
// nobody else may be asked. Programs answer for themselves: one that hangs is waited for once, at
// most 150 ms for all questions of a look together, and then left alone for half a minute. What may
// be asked of whom is decided in `rules/accessible_tree.h`.
//
// Starts no program and no bus: where none is there every answer is the absent one, at the cost of
// a look at a socket. Calls are serialised; any thread.

#pragma once

#include "platform/linux/rules/accessible_tree.h"
#include "platform/linux/rules/desktop_entries.h"
#include "platform/ports/clock.h"
#include "platform/ports/own_focus.h"
#include "platform/ports/running_app.h"

#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

struct AccessibleWindow {
    AccessibleRef window;
    RunningApp app;
    pid_t process = 0;
    bool active = false; ///< It has the user's attention, says its program.
    bool takesKeys = true;
};

class AccessibleDesktop {
public:
    struct Buses {
        std::string session; ///< The address of the user's bus, where the other one is asked for.
        std::string accessibility; ///< Where the environment names it; else empty.
    };

    virtual ~AccessibleDesktop() = default;

    /// Whether the bus is there and somebody keeps a list of programs on it.
    [[nodiscard]] virtual bool isThere() = 0;

    /// The window that has the user's attention: while a window of this program has the keyboard,
    /// the one that had it before, as long as it is there. Absent when none of those that speak has
    /// it.
    [[nodiscard]] virtual std::optional<AccessibleWindow> front() = 0;

    /// The windows of all programs that speak, but for this one's own.
    [[nodiscard]] virtual std::vector<AccessibleWindow> windows() = 0;

    /// What is selected in the window in front when that is `target`'s. Absent when nothing is,
    /// when it is a password, when the program does not tell, and when it tells only a part.
    [[nodiscard]] virtual std::optional<std::string> selectedText(ProcessId target) = 0;
};

/// `installed` says whose windows are whose. `clock` and `ownFocus` must outlive the answer.
[[nodiscard]] std::shared_ptr<AccessibleDesktop>
openAccessibleDesktop(AccessibleDesktop::Buses buses, InstalledEntries installed, Clock& clock,
                      OwnFocus& ownFocus);

} // namespace kelvane
