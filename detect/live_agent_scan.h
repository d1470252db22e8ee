// The agents on this machine as it is now.
//
// Gathers the running applications and the process list and hands them to `AgentScan::detect`.
// Nothing fails: without a process list, agents are still found by bundle identifier and
// configuration.

#pragma once

#include "detect/agent_scan.h"

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class ProcessRunner;
class RunningProcess;
class Workspace;

namespace LiveAgentScan {

struct Ports {
    Workspace& workspace;
    ProcessRunner& processes;
};

/// Starts "/bin/ps" and waits for it, asking the workspace meanwhile. Keeps nothing between calls.
[[nodiscard]] std::vector<DetectedAgent> scan(const Ports& ports,
                                              const std::set<std::string>& configPresent,
                                              const std::set<std::string>& wired);

/// What runs, in the words of the table of known agents as well as its own.
struct Observations {
    std::set<std::string> bundleIds;
    std::set<std::string> processes;
};

/// Adds the table's names for what goes by others here. Pure.
[[nodiscard]] Observations inTheTablesWords(Observations seen);

/// The rest of a scan whose process listing was started and whose applications were asked for.
[[nodiscard]] std::vector<DetectedAgent> finish(std::unique_ptr<RunningProcess> listing,
                                                std::set<std::string> bundleIds,
                                                const std::set<std::string>& configPresent,
                                                const std::set<std::string>& wired);

/// The bundle identifiers of the applications that run.
[[nodiscard]] std::set<std::string> runningBundleIds(Workspace& workspace);

/// Starts listing all processes; null when that cannot be done. Let other work go on before
/// `runningProcessNames` waits for it: listing takes most of a scan's time.
[[nodiscard]] std::unique_ptr<RunningProcess> startProcessListing(ProcessRunner& processes);

/// The base names of all processes, trimmed of blanks and lower-cased. Empty when the list could
/// not be had or is not UTF-8.
[[nodiscard]] std::set<std::string> runningProcessNames(std::unique_ptr<RunningProcess> listing);

/// The names in one process listing, a command path a line. Pure.
[[nodiscard]] std::set<std::string> processNames(std::string_view listing);

} // namespace LiveAgentScan

} // namespace kelvane
