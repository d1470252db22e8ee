// One job judged, from its body to the end that is written down.
//
// What the queue of one program and the queue that several share have in common. Called by whoever
// has taken the job and by nobody else; any thread.

#pragma once

#include "service/job_desk.h"

#include <functional>
#include <optional>
#include <string>

namespace trevix {

/// A job that was being graded this often when the program ended may be what ends it: from the next
/// start on it lets all others go first.
constexpr int kAttemptsInTurn = 3;
/// And after so many it has failed. The number is large because the end of a program mostly has
/// nothing to do with the job, and accepted work is not to be given up for that.
constexpr int kMostAttempts = 20;

/// What is told of a job that was given up.
constexpr const char* kCancelled = "the job was cancelled";

/// What is told of a job that was taken kMostAttempts times.
[[nodiscard]] std::string endedTooOften();

/// Judges the job and writes its end into the store: a run, a further version of one, or why there
/// is no verdict. `request` is what was read in its body; where it is absent it is read from the
/// store, and is there afterwards, so that a second attempt does not read it again. Returns false
/// when the critics gave up because `cancel` was asked for: then nothing is written. Throws
/// StoreError, after which the job may be judged again.
[[nodiscard]] bool judgeJob(RunStore& store, const QueueOptions& options, const PendingJob& job,
                            std::optional<JobRequest>& request, const StopToken& cancel,
                            const std::function<void(const GradingProgress&)>& progress);

} // namespace trevix
