// What the kernel tells of a process of this machine. Any thread; waits for nobody.

#pragma once

#include "platform/linux/rules/window_identity.h"

#include <sys/types.h>

namespace kelvane {

/// Adds what `facts.process` runs, and the sandbox that it runs in, to what its window says.
/// Nothing when the process is not known (0) or may not be looked at.
void addProcessFacts(WindowFacts& facts);

/// Whether a process was stopped (by a signal or a debugger) and so cannot draw.
[[nodiscard]] bool isStopped(pid_t process);

} // namespace kelvane
