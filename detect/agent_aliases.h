// The names that agents go by elsewhere than in the table of known agents.
//
// The table names agents as one system does. On a Linux desktop an application is known by its
// desktop file or the class of its windows, and some programs name their processes after what they
// do just now. Here such names are turned into the table's own, before anything is matched. Pure;
// any thread.

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvane::AgentAliases {

/// The table's bundle identifier for an application of this identifier; absent when it has no other
/// name.
[[nodiscard]] std::optional<std::string> bundleIdFor(std::string_view bundleId);

/// The table's bundle identifier for an application whose process has this name, in lower case;
/// absent when such a process is nobody's in particular.
[[nodiscard]] std::optional<std::string> bundleIdForProcess(std::string_view process);

/// The table's process name for a process of this name, in lower case; absent when it has no other.
[[nodiscard]] std::optional<std::string> processFor(std::string_view process);

} // namespace kelvane::AgentAliases
