// What an adapter tells about one running application.

#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kelvane {

/// Tells one running application instance from every other for as long as it runs.
///
/// Where one process is one application this is the process id. Where a single process hosts
/// several applications (an office suite whose text and sheet windows share a process) the adapter
/// hands out a different number for each, and the window list uses the same numbers as owners.
/// Compare it, pass it back to a port; never read anything else into it.
using ProcessId = std::int64_t;

/// One running application. What the system did not tell is absent; adapters never guess.
struct RunningApp {
    /// macOS: the bundle identifier. Linux: the desktop-file id, or "wmclass:<class>" for a window
    /// that no desktop file claims.
    std::optional<std::string> bundleId;
    /// The name a person would know it by.
    std::optional<std::string> name;
    ProcessId pid = 0;

    bool operator==(const RunningApp&) const = default;
};

} // namespace kelvane
