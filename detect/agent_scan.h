// The AI agents of this machine: which are there, which run, which are wired to the validator.
//
// The known agents are matched against observations that the caller brings; every known agent gets
// a row, found or not. Pure: no errors, any thread. `live_agent_scan.h` gathers the observations.

#pragma once

#include "detect/known_agents.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// The kind's name as it appears in machine-readable output, e.g. "codingHarness".
[[nodiscard]] std::string_view rawValue(AgentKind kind);

/// What is known of one agent beforehand, as far as a scan goes by it.
struct AgentSignature {
    std::string id; ///< Stable, lower case with underscores.
    std::string name;
    AgentKind kind = AgentKind::codingHarness;
    std::vector<std::string> bundleIds;   ///< One of these running means the agent runs; exact.
    std::vector<std::string> procNames;   ///< One of these in the process list means the same.
    std::optional<std::string> configKey; ///< Its key in `HarnessConfig`; absent: no configuration.
    bool canWire = false;                 ///< Whether the program can wire it to the validator.
};

/// What was found of one agent.
struct DetectedAgent {
    std::string id;
    std::string name;
    AgentKind kind = AgentKind::codingHarness;
    bool running = false;
    bool present = false;      ///< Running, or its configuration is on disk.
    std::optional<bool> wired; ///< Absent for an agent that cannot be wired.

    bool operator==(const DetectedAgent&) const = default;
};

namespace AgentScan {

/// The known agents, in the order of every result. Built once, on first use, from any thread.
[[nodiscard]] const std::vector<AgentSignature>& signatures();

/// One row per signature, in table order, found or not. `runningProcs` holds lower-cased base names
/// of processes; `configPresent` and `wired` hold configuration keys.
[[nodiscard]] std::vector<DetectedAgent> detect(const std::set<std::string>& runningBundleIds,
                                                const std::set<std::string>& runningProcs,
                                                const std::set<std::string>& configPresent,
                                                const std::set<std::string>& wired);

/// The same for any table: what `detect` does with `signatures()`.
[[nodiscard]] std::vector<DetectedAgent> detect(const std::vector<AgentSignature>& signatures,
                                                const std::set<std::string>& runningBundleIds,
                                                const std::set<std::string>& runningProcs,
                                                const std::set<std::string>& configPresent,
                                                const std::set<std::string>& wired);

} // namespace AgentScan

} // namespace kelvane
