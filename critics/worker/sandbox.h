// How a child is shut in: the command that starts it where it sees the system's programs, its own
// folder and what it was told it may read, and nothing else of the machine.
//
// Pure; any thread.

#pragma once

#include "critics/worker/child_process.h"

#include <string>
#include <vector>

namespace trevix {

/// What this machine has to shut a program in with.
struct SandboxFacts {
    std::string bubblewrap; ///< Absolute path of a bwrap that works here; empty without one.
    /// Folders of the root that are links into /usr, as they are since the two were merged: name
    /// and target, "/bin" and "usr/bin".
    std::vector<std::pair<std::string, std::string>> rootLinks;

    bool operator==(const SandboxFacts&) const = default;
};

/// The whole command, program first, for a request whose own folder is `folder`. Without bubblewrap
/// it is the request's own.
[[nodiscard]] std::vector<std::string> shutIn(const ChildRequest& request,
                                              const std::string& folder, const SandboxFacts& facts);

} // namespace trevix
