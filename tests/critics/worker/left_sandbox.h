// A process of bubblewrap whose maker was killed between making it and letting it go on.

#pragma once

#include "critics/worker/sandbox.h"

#include <filesystem>

#include <sys/types.h>

namespace trevix {

/// Started as a child's sandbox over `folder`, which is made. Linux only, and where bwrap works.
/// Ended with its owner.
class LeftSandbox {
public:
    /// Throws std::runtime_error when no process comes to wait.
    LeftSandbox(const std::filesystem::path& folder, const SandboxFacts& facts);
    ~LeftSandbox();
    LeftSandbox(const LeftSandbox&) = delete;
    LeftSandbox& operator=(const LeftSandbox&) = delete;

    [[nodiscard]] bool waits() const;
    /// Blocks until it has ended, for a minute at most.
    void awaitEnd() const;

private:
    int m_held = -1; ///< The process, whatever its number comes to mean.
};

} // namespace trevix
