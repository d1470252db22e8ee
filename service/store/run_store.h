// The run store: everything that the service must not lose, in one SQLite file.
// A job's body is kept from the moment it
// is accepted until it is judged, and dropped in the transaction that writes its verdict: there is
// no moment at which a crash loses either or counts a job twice. What the report shows of the work
// is kept apart from it, of the last two versions of a run, until it is dropped. Commits are on the
// disk when a call returns (write-ahead log, synchronous=FULL), because an accepted job has been
// promised.
//
// Any thread may call anything; calls take turns. What the database cannot do (disk full, file
// gone) is thrown as StoreError and stays within this folder.

#pragma once

#include "service/store/run_record.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
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
    struct Opened {
        std::unique_ptr<RunStore> store; ///< Never null.
        std::string notice; ///< What had to be done to open it, for people; usually empty.
    };

    /// Opens the file, or makes it. A file that is damaged or no database is renamed to
    /// "NAME.damaged-TIME" together with its log, and a new one is begun. Throws StoreError when
    /// the file cannot be used and is not to blame: no permission, written by a newer version, or
    /// not this user's alone (see own_file.h); then nothing is changed.
    [[nodiscard]] static Opened open(const std::filesystem::path& file, std::int64_t nowMs);

    ~RunStore();
    RunStore(const RunStore&) = delete;
    RunStore& operator=(const RunStore&) = delete;

    /// Adds a job at the end of the queue.
    PendingJob addJob(const std::string& id, JobKind kind, const std::string& runId,
                      std::string_view payload, std::int64_t nowMs);

    /// In the order of grading.
    [[nodiscard]] std::vector<PendingJob> pendingJobs();

    [[nodiscard]] bool isPending(const std::string& jobId);

    /// The body that the job came with. Absent for a job that is over or unknown.
    [[nodiscard]] std::optional<std::string> payload(const std::string& jobId);

    /// Notes that the job is about to be graded and returns how often that has now happened: more
    /// than once means that an earlier attempt was cut off.
    int beginAttempt(const std::string& jobId);

    /// Ends the job with a new run that has one iteration, number 0.
    void finishGrade(const std::string& jobId, const RunRecord& run, const KeptWork& work = {});

    /// Ends the job with a further iteration of its run and returns the number that it got.
    int finishIterate(const std::string& jobId, const std::string& runId,
                      const Iteration& iteration, const KeptWork& work = {});

    /// What is kept of a version, by ordinal. Empty when nothing is.
    [[nodiscard]] KeptWork work(const std::string& runId, int number);

    /// Drops and overwrites the kept work of versions judged before `beforeMs`, then of the oldest
    /// ones until no more than `mostBytes` are left. Returns the number of parts dropped.
    std::size_t dropWork(std::int64_t beforeMs, std::uint64_t mostBytes);

    void failJob(const std::string& jobId, const std::string& error, std::int64_t nowMs);

    /// Absent for a job that is pending or unknown.
    [[nodiscard]] std::optional<FinishedJob> finishedJob(const std::string& jobId);

    /// Absent when there is none of that id. Rows that make no run (another program's, or from a
    /// damaged disk) are a StoreError.
    [[nodiscard]] std::optional<RunRecord> run(const std::string& runId);
    [[nodiscard]] bool hasRun(const std::string& runId);

    /// Notes what the clock says, and whether it can be believed about what is old; see
    /// clock_trust.h. Until the first time the newest thing in the store is what was believed.
    [[nodiscard]] bool believesClock(std::int64_t nowMs);

    /// Deletes runs whose last iteration is older than `beforeMs` and that no pending job revises,
    /// and the jobs that ended before it. Returns the number of runs deleted.
    std::size_t prune(std::int64_t beforeMs);

    /// Empties the log, so that no work is left in it, and makes the file smaller when much of it
    /// is unused. For moments when there is nothing else to do.
    void giveBackRoom();

private:
    class Database;
    explicit RunStore(std::unique_ptr<Database> database);

    std::unique_ptr<Database> m_database;
};

} // namespace trevix
