#include "detect/live_agent_scan.h"

#include "detect/agent_aliases.h"
#include "platform/ports/process_runner.h"
#include "platform/ports/workspace.h"
#include "text/unicode.h"

#include <optional>
#include <utility>

namespace kelvane::LiveAgentScan {

namespace {

/// What stands after the last slash that has something after it; the whole line when nothing but
/// slashes is in it.
std::string_view lastPiece(std::string_view line) {
    const std::size_t last = line.find_last_not_of('/');
    if (last == std::string_view::npos) return line;
    line = line.substr(0, last + 1);
    return line.substr(line.rfind('/') + 1); // from the start when there is no slash
}

} // namespace

std::set<std::string> processNames(std::string_view listing) {
    std::set<std::string> names;
    while (!listing.empty()) {
        const std::size_t end = listing.find('\n');
        const std::string_view line = listing.substr(0, end);
        listing.remove_prefix(end == std::string_view::npos ? listing.size() : end + 1);
        std::string name = text::lowercased(text::trimmedBlanks(lastPiece(line)));
        if (!name.empty()) names.insert(std::move(name));
    }
    return names;
}

std::unique_ptr<RunningProcess> startProcessListing(ProcessRunner& processes) {
    return processes.start({
        .program = "/bin/ps",
        .arguments = {"-axo", "comm="}, // the same on both systems
        .output = ProcessOutput::Capture,
    });
}

std::set<std::string> runningProcessNames(std::unique_ptr<RunningProcess> listing) {
    if (!listing) return {};
    const ProcessResult result = listing->finish();
    if (!text::isValidUtf8(result.output)) return {};
    return processNames(result.output);
}

std::set<std::string> runningBundleIds(Workspace& workspace) {
    std::set<std::string> bundleIds;
    for (RunningApp& app : workspace.runningApplications()) {
        if (app.bundleId) bundleIds.insert(std::move(*app.bundleId));
    }
    return bundleIds;
}

Observations inTheTablesWords(Observations seen) {
    Observations more;
    const auto add = [](std::set<std::string>& to, std::optional<std::string> name) {
        if (name) to.insert(*std::move(name));
    };
    for (const auto& id : seen.bundleIds) add(more.bundleIds, AgentAliases::bundleIdFor(id));
    for (const auto& process : seen.processes) {
        add(more.bundleIds, AgentAliases::bundleIdForProcess(process));
        add(more.processes, AgentAliases::processFor(process));
    }
    seen.bundleIds.merge(more.bundleIds);
    seen.processes.merge(more.processes);
    return seen;
}

std::vector<DetectedAgent> finish(std::unique_ptr<RunningProcess> listing,
                                  std::set<std::string> bundleIds,
                                  const std::set<std::string>& configPresent,
                                  const std::set<std::string>& wired) {
    const auto seen =
        inTheTablesWords({std::move(bundleIds), runningProcessNames(std::move(listing))});
    return AgentScan::detect(seen.bundleIds, seen.processes, configPresent, wired);
}

std::vector<DetectedAgent> scan(const Ports& ports, const std::set<std::string>& configPresent,
                                const std::set<std::string>& wired) {
    auto listing = startProcessListing(ports.processes); // goes on beside the next question
    auto bundleIds = runningBundleIds(ports.workspace);
    return finish(std::move(listing), std::move(bundleIds), configPresent, wired);
}

} // namespace kelvane::LiveAgentScan
