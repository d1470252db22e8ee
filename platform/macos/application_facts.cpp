#include "platform/macos/application_facts.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>

namespace kelvane {

namespace {

std::optional<std::string> unlessEmpty(std::optional<std::string> text) {
    if (text && text->empty()) return std::nullopt;
    return text;
}

double launchTime(const ApplicationFacts& facts) {
    if (!facts.launchedAt || std::isnan(*facts.launchedAt)) {
        return -std::numeric_limits<double>::infinity();
    }
    return *facts.launchedAt;
}

} // namespace

std::optional<RunningApp> runningApp(ApplicationFacts facts) {
    if (!systemProcessId(facts.processId)) return std::nullopt;
    return RunningApp{.bundleId = unlessEmpty(std::move(facts.bundleId)),
                      .name = std::move(facts.name),
                      .pid = facts.processId};
}

std::vector<RunningApp> runningApps(std::vector<ApplicationFacts> facts) {
    std::ranges::stable_sort(facts, {}, launchTime);
    std::vector<RunningApp> apps;
    std::set<ProcessId> seen;
    for (ApplicationFacts& one : facts) {
        auto app = runningApp(std::move(one));
        if (app && seen.insert(app->pid).second) apps.push_back(std::move(*app));
    }
    return apps;
}

std::optional<std::int32_t> systemProcessId(ProcessId pid) {
    if (pid <= 0 || pid > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
    return static_cast<std::int32_t>(pid);
}

} // namespace kelvane
