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

AgentSignature wireable(std::string id, std::string name, std::vector<std::string> bundleIds,
                        std::vector<std::string> procNames, std::string configKey) {
    return {
        .id = std::move(id),
        .name = std::move(name),
        .kind = AgentKind::codingHarness,
        .bundleIds = std::move(bundleIds),
        .procNames = std::move(procNames),
        .configKey = std::move(configKey),
        .canWire = true,
    };
}

AgentSignature shownOnly(std::string id, std::string name, AgentKind kind,
                         std::vector<std::string> bundleIds,
                         std::vector<std::string> procNames = {}) {
    return {
        .id = std::move(id),
        .name = std::move(name),
        .kind = kind,
        .bundleIds = std::move(bundleIds),
        .procNames = std::move(procNames),
        .configKey = std::nullopt,
        .canWire = false,
    };
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

std::optional<AgentKind> agentKindFromRawValue(std::string_view raw) {
    for (const auto& [kind, known] : kKinds) {
        if (known == raw) return kind;
    }
    return std::nullopt;
}

namespace AgentScan {

const std::vector<AgentSignature>& signatures() {
    using enum AgentKind;
    static const std::vector<AgentSignature> table{
        wireable("claude_code", "Claude Code", {}, {"claude"}, "claude"),
        wireable("codex", "Codex", {"com.openai.codex"}, {"codex"}, "codex"),
        wireable("cursor", "Cursor", {"com.todesktop.230313mzl4w4u92"}, {}, "cursor"),
        wireable("openclaw", "OpenClaw", {}, {"openclaw"}, "openclaw"),
        // Shown, never offered for wiring.
        shownOnly("antigravity", "Antigravity", codingHarness, {"com.google.antigravity"}),
        shownOnly("claude_desktop", "Claude", desktopAgent, {"com.anthropic.claudefordesktop"}),
        shownOnly("chatgpt", "ChatGPT", desktopAgent, {"com.openai.chat", "com.openai.atlas"}),
        shownOnly("gemini", "Gemini", desktopAgent, {"com.google.GeminiMacOS"}),
        shownOnly("ollama", "Ollama", localModel, {"com.electron.ollama"}, {"ollama"}),
        shownOnly("lm_studio", "LM Studio", localModel, {"ai.elementlabs.lmstudio"}),
    };
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
