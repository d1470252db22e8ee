// The user's workflow, inferred from the applications of the last while.
//
// Pure functions over values; the caller keeps the history.

#pragma once

#include "catalog/catalog_file.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

/// One switch to a catalogued application.
struct WorkflowEvent {
    std::string appId;
    std::string name;
    std::string category;
    std::string modality;

    bool operator==(const WorkflowEvent&) const = default;
};

struct WorkflowStep {
    std::string name;
    std::string modality;

    bool operator==(const WorkflowStep&) const = default;
};

struct WorkflowState {
    std::string node = "—"; ///< The current app's workflow step; "—" when it has none.
    std::vector<WorkflowStep> pipeline; ///< Distinct recent apps, oldest first, at most four.
    bool multiModal = false;            ///< Whether the pipeline crosses modalities.

    /// Pipelines compare as lists of "name|modality" texts.
    bool operator==(const WorkflowState& other) const;
};

namespace WorkflowInfer {

/// Events. Enough for a pipeline of four apps although some of them come twice.
inline constexpr std::size_t kHistoryLimit = 6;

/// The history with `event` at its end, without the oldest events beyond `limit`. An event of the
/// app that the history already ends with changes nothing.
[[nodiscard]] std::vector<WorkflowEvent>
append(std::vector<WorkflowEvent> history, WorkflowEvent event, std::size_t limit = kHistoryLimit);

/// The node comes from `current` alone, the pipeline from the history alone. Each app stands at its
/// most recent place.
[[nodiscard]] WorkflowState infer(const std::vector<WorkflowEvent>& history,
                                  const std::optional<CatalogApp>& current);

} // namespace WorkflowInfer

} // namespace kelvane
