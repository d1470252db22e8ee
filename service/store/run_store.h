// The run store: everything that the service must not lose.
//
// A job's body is kept from the moment it is accepted until it is judged, and dropped in the
// transaction that writes its verdict: there is no moment at which a crash loses either or counts a
// job twice. What the report shows of the work is kept apart from it, of the last two versions of a
// run, until it is dropped. Commits are on the disk when a call returns, because an accepted job
// has been promised.
//
// Any thread may call anything. What the database cannot do (disk full, connection gone) is thrown
// as StoreError and changes nothing, or, where only its answer was lost, everything that the call
// was to change.

#pragma once

#include "service/store/run_record.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

class StoreError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class JobKind { grade, iterate };

/// A job that has yet to be graded.
struct PendingJob {
    std::int64_t sequence = 0; ///< Grows with every job; the order of grading.
    std::string id;
    JobKind kind = JobKind::grade;
    std::string runId;       ///< The run to revise, for `iterate`.
    std::uint64_t bytes = 0; ///< Of the payload.
    int attempts = 0;        ///< See beginAttempt().

    bool operator==(const PendingJob&) const = default;
};

/// A job that is over.
struct FinishedJob {
    std::string runId;                ///< Empty when it failed.
    int iteration = 0;                ///< The version of the work that this job judged.
    std::optional<std::string> error; ///< Present when it failed.

    bool operator==(const FinishedJob&) const = default;
};

class RunStore {
public:
    RunStore() = default;
    virtual ~RunStore() = default;
    RunStore(const RunStore&) = delete;
    RunStore& operator=(const RunStore&) = delete;

    /// Adds a job at the end of the queue.
    virtual PendingJob addJob(const std::string& id, JobKind kind, const std::string& runId,
                              std::string_view payload, std::int64_t nowMs) = 0;

    /// In the order of grading.
    [[nodiscard]] virtual std::vector<PendingJob> pendingJobs() = 0;

    [[nodiscard]] virtual bool isPending(const std::string& jobId) = 0;

    /// The body that the job came with. Absent for a job that is over or unknown.
    [[nodiscard]] virtual std::optional<std::string> payload(const std::string& jobId) = 0;

    /// Notes that the job is about to be graded and returns how often that has now happened: more
    /// than once means that an earlier attempt was cut off.
    virtual int beginAttempt(const std::string& jobId) = 0;

    /// Ends the job with a new run that has one iteration, number 0.
    virtual void finishGrade(const std::string& jobId, const RunRecord& run,
                             const KeptWork& work = {}) = 0;

    /// Ends the job with a further iteration of its run and returns the number that it got.
    virtual int finishIterate(const std::string& jobId, const std::string& runId,
                              const Iteration& iteration, const KeptWork& work = {}) = 0;

    /// What is kept of a version, by ordinal. Empty when nothing is.
    [[nodiscard]] virtual KeptWork work(const std::string& runId, int number) = 0;

    /// Drops the kept work of versions judged before `beforeMs`, then of the oldest
    /// ones until no more than `mostBytes` are left. Returns the number of parts dropped.
    virtual std::size_t dropWork(std::int64_t beforeMs, std::uint64_t mostBytes) = 0;

    virtual void failJob(const std::string& jobId, const std::string& error,
                         std::int64_t nowMs) = 0;

    /// Absent for a job that is pending or unknown.
    [[nodiscard]] virtual std::optional<FinishedJob> finishedJob(const std::string& jobId) = 0;

    /// Absent when there is none of that id. Rows that make no run (another program's, or from a
    /// damaged disk) are a StoreError.
    [[nodiscard]] virtual std::optional<RunRecord> run(const std::string& runId) = 0;
    [[nodiscard]] virtual bool hasRun(const std::string& runId) = 0;

    /// Notes what the clock says, and whether it can be believed about what is old; see
    /// clock_trust.h. Until the first time the newest thing in the store is what was believed.
    [[nodiscard]] virtual bool believesClock(std::int64_t nowMs) = 0;

    /// Deletes runs whose last iteration is older than `beforeMs` and that no pending job revises,
    /// and the jobs that ended before it. Returns the number of runs deleted.
    virtual std::size_t prune(std::int64_t beforeMs) = 0;

    /// Gives unused room back, and leaves no dropped work behind where that is the store's to do.
    /// For moments when there is nothing else to do.
    virtual void giveBackRoom() = 0;
};

} // namespace trevix
