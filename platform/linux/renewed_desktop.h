// The ports of a desktop that tells more later than it did at first.
//
// KWin keeps its windows and keys from a program until its index of desktop files names it, and
// decides that once for each link. At login and after an installation the index is seconds late:
// what was found at the start would hold for good. So the desktop is asked anew, as often as its
// limits are, until it tells. One that was silent at the start is asked for what it says by then,
// and so is GNOME's extension, which the user may turn on while the program runs.

#pragma once

#include "platform/linux/linux_platform.h"

#include <functional>
#include <optional>

namespace kelvane {

/// Answers as `first` does, of which nothing may be null, until `look` brings others; from then on
/// as they do. `look` is called by `limits->now()`, on its thread and never twice at once, and not
/// again once it has brought some. A capture ends with the clipboard it began with. What answers
/// for this program alone stays `first`'s.
[[nodiscard]] LinuxDesktop makeRenewedDesktop(LinuxDesktop first,
                                              std::function<std::optional<LinuxDesktop>()> look);

} // namespace kelvane
