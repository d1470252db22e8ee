#include "detect/workflow_infer.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace kelvane {

namespace {

// Apps. As many as the panel's one line has room for.
constexpr std::size_t kPipelineLimit = 4;

// What a person sees of a step; ids behind the same name are not told apart.
std::string joined(const WorkflowStep& step) {
    return step.name + "|" + step.modality;
}

} // namespace

bool WorkflowState::operator==(const WorkflowState& other) const {
    return node == other.node && multiModal == other.multiModal &&
           std::equal(
               pipeline.begin(), pipeline.end(), other.pipeline.begin(), other.pipeline.end(),
               [](const WorkflowStep& a, const WorkflowStep& b) { return joined(a) == joined(b); });
}

namespace WorkflowInfer {

std::vector<WorkflowEvent> append(std::vector<WorkflowEvent> history, WorkflowEvent event,
                                  std::size_t limit) {
    // Looking at the front application every few seconds would else fill it with one app.
    if (!history.empty() && history.back().appId == event.appId) return history;
    history.push_back(std::move(event));
    // The oldest go.
    if (history.size() > limit) {
        history.erase(history.begin(), history.end() - static_cast<std::ptrdiff_t>(limit));
    }
    return history;
}

WorkflowState infer(const std::vector<WorkflowEvent>& history,
                    const std::optional<CatalogApp>& current) {
    WorkflowState state;
    if (current && !current->workflowNodes.empty()) state.node = current->workflowNodes.front();

    std::set<std::string_view> taken;
    std::set<std::string_view> modalities;
    // From the newest on: of several visits to one app the last gives its place.
    for (auto event = history.rbegin(); event != history.rend(); ++event) {
        if (!taken.insert(event->appId).second) continue;
        state.pipeline.push_back({.name = event->name, .modality = event->modality});
        modalities.insert(event->modality);
        if (state.pipeline.size() == kPipelineLimit) break;
    }
    std::reverse(state.pipeline.begin(), state.pipeline.end());
    state.multiModal = modalities.size() > 1;
    return state;
}

} // namespace WorkflowInfer

} // namespace kelvane
