// How far a job is.
//
// Plain values; any thread.

#pragma once

#include "critics/findings/progress.h"
#include "service/store/run_record.h"

#include <cstddef>
#include <optional>
#include <string>

namespace trevix {

enum class JobState { queued, running, completed, failed };

struct JobStatus {
    JobState state = JobState::queued;
    bool warming = false;     ///< The critics are still being made ready; never once it is over.
    std::size_t position = 0; ///< Jobs that come before this one, those being graded included.
    GradingProgress progress; ///< While it is running.
    std::string runId;        ///< When completed.
    std::optional<Iteration> result; ///< When completed: the verdict of this very job.
    std::string error;               ///< When failed, for people.

    bool operator==(const JobStatus&) const = default;
};

} // namespace trevix
