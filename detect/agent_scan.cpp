#include "detect/agent_scan.h"

#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kelvane {

namespace {

constexpr std::array<std::pair<AgentKind, std::string_view>, 3> kKinds{{
    {AgentKind::codingHarness, "codingHarness"},
    {AgentKind::desktopAgent, "desktopAgent"},
    {AgentKind::localModel, "localModel"},
}};

std::vector<std::string> strings(std::span<const std::string_view> texts) {
    return {texts.begin(), texts.end()};
}

AgentSignature signatureOf(const KnownAgent& agent) {
    AgentSignature signature{
        .id = std::string(agent.id),
        .name = std::string(agent.name),
        .kind = agent.kind,
        .bundleIds = strings(agent.bundleIds),
        .procNames = strings(agent.processNames),
        .configKey = std::nullopt,
        .canWire = agent.wiring != nullptr,
    };
    if (agent.wiring != nullptr) signature.configKey = agent.wiring->key;
    return signature;
}

bool isRunning(const AgentSignature& signature, const std::set<std::string>& bundleIds,
               const std::set<std::string>& procs) {
    return std::any_of(signature.bundleIds.begin(), signature.bundleIds.end(),
                       [&](const std::string& id) { return bundleIds.contains(id); }) ||
           std::any_of(
               signature.procNames.begin(), signature.procNames.end(),
               [&](const std::string& name) { return procs.contains(text::lowercased(name)); });
}

} // namespace

std::string_view rawValue(AgentKind kind) {
    for (const auto& [known, raw] : kKinds) {
        if (known == kind) return raw;
    }
    return {};
}

namespace AgentScan {

const std::vector<AgentSignature>& signatures() {
    static const std::vector<AgentSignature> table = [] {
        std::vector<AgentSignature> all;
        all.reserve(knownAgents().size());
        for (const KnownAgent& agent : knownAgents()) all.push_back(signatureOf(agent));
        return all;
    }();
    return table;
}

std::vector<DetectedAgent> detect(const std::set<std::string>& runningBundleIds,
                                  const std::set<std::string>& runningProcs,
                                  const std::set<std::string>& configPresent,
                                  const std::set<std::string>& wired) {
    return detect(signatures(), runningBundleIds, runningProcs, configPresent, wired);
}

std::vector<DetectedAgent> detect(const std::vector<AgentSignature>& signatures,
                                  const std::set<std::string>& runningBundleIds,
                                  const std::set<std::string>& runningProcs,
                                  const std::set<std::string>& configPresent,
                                  const std::set<std::string>& wired) {
    std::vector<DetectedAgent> agents;
    agents.reserve(signatures.size());
    for (const AgentSignature& signature : signatures) {
        const auto& key = signature.configKey;
        const bool running = isRunning(signature, runningBundleIds, runningProcs);
        DetectedAgent agent{
            .id = signature.id,
            .name = signature.name,
            .kind = signature.kind,
            .running = running,
            .present = running || (key && configPresent.contains(*key)),
            .wired = std::nullopt,
        };
        if (signature.canWire) agent.wired = key && wired.contains(*key);
        agents.push_back(std::move(agent));
    }
    return agents;
}

} // namespace AgentScan

} // namespace kelvane
