// The last things a child does before it becomes its program: what only the system at hand can do.
//
// Nothing here allocates: all may be called between fork and exec.

#pragma once

#include <sys/types.h>

namespace trevix {

/// From now on this process, and whatever it becomes or starts, opens no socket but those within
/// the machine's file system, and gains no privileges. False where the system has no such means;
/// then nothing changed.
[[nodiscard]] bool giveUpNetwork();

/// When `parent`, the process that made this one, ends, however it ends, so does this process,
/// where the system has such means; when it has ended already, at once.
void endWithParent(pid_t parent);

/// No descriptor but the three standard ones outlives the next exec.
void keepOnlyStandardDescriptors();

} // namespace trevix
