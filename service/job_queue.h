// The queue of work to grade, and what has become of each job.
//
// Jobs are begun in the order in which they came in, a few at a time, and may be cancelled while
// they wait and while they are graded. The store is the truth: a job is accepted when it is on the
// disk, and after a crash at any moment a new queue over the same store goes on where the old one
// was. Grading is deterministic, so that doing a job again whose verdict was not yet written does
// no harm.
//
// A request's body is read once, at the door: the queue keeps what was read beside the stored
// bytes. From the store a job is read back, once, when it was taken up from an earlier start or
// when the queue already held as much read work as it may.
//
// Revisions wait in the same queue, but whoever sends one waits for its verdict.
//
// Any thread may call anything. StoreError passes through to the caller.

#pragma once

#include "critics/findings/stop.h"
#include "critics/grading/grader.h"
#include "service/store/job_status.h"
#include "service/store/run_store.h"
#include "service/wire.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <variant>
#include <vector>

namespace trevix {

/// A job that was being graded this often when the program ended may be what ends it: from the next
/// start on it lets all others go first.
constexpr int kAttemptsInTurn = 3;
/// And after so many it has failed. The number is large because the end of a program mostly has
/// nothing to do with the job, and accepted work is not to be given up for that.
constexpr int kMostAttempts = 20;

struct QueueOptions {
    std::size_t maxWaiting = 256; ///< Jobs that wait, without the one being graded.
    std::uint64_t maxWaitingBytes = std::uint64_t{1} << 30U; ///< Their bodies together.
    /// How much of that is also held as it was read, by the size of the bodies; what comes on top
    /// of it lies in the store alone. The default is one body of the largest size that the server
    /// takes.
    std::uint64_t maxHeldBytes = std::uint64_t{64} << 20U;
    /// Runs are forgotten this long after their last version; zero keeps them for good.
    std::chrono::milliseconds keep{0};
    /// The work itself is kept this long after its verdict, see kept_work.h; zero keeps none.
    std::chrono::milliseconds keepWork{0};
    std::chrono::milliseconds storeRetry{1000}; ///< Between attempts while the store cannot write.

    std::size_t atOnce = 1; ///< Jobs graded at the same time.

    /// Judges one work; absent when it was cancelled. Called from as many threads as jobs are
    /// graded at once.
    std::function<std::optional<Critique>(const Submission&, const StopToken& cancel,
                                          const std::function<void(const GradingProgress&)>&)>
        critic;
    std::function<void()> warmUp;                ///< Runs once, on a worker, before the first job.
    std::function<std::int64_t()> nowMs;         ///< Since 1970, UTC.
    std::function<void(const std::string&)> log; ///< One line for the person who runs the service.
};

/// The queue holds as many jobs, or as many bytes, as it may.
struct QueueFull {};
/// The service is ending.
struct QueueStopped {};
struct NoSuchRun {};
/// A revision that could not be judged; `error` is for people.
struct JudgingFailed {
    std::string error;
};
/// A revision's verdict: `run.iterations[number]`.
struct Iterated {
    RunRecord run;
    int number = 0;
};
/// The new job's id.
struct Accepted {
    std::string jobId;
};

class JobQueue {
public:
    using Submitted = std::variant<Accepted, QueueFull, QueueStopped>;
    using IterateOutcome =
        std::variant<Iterated, NoSuchRun, QueueFull, JudgingFailed, QueueStopped>;

    /// Takes up what the store still has to grade, and starts. `store` must outlive the queue.
    JobQueue(RunStore& store, QueueOptions options);
    ~JobQueue();
    JobQueue(const JobQueue&) = delete;
    JobQueue& operator=(const JobQueue&) = delete;

    /// `request` is what parseSubmit() read in `body`.
    [[nodiscard]] Submitted submit(SubmitRequest request, std::string_view body);

    /// Blocks until the revision is judged or the queue stops. `request` is what parseIterate()
    /// read in `body`. A revision that the queue has taken is judged even if nobody waits any more.
    [[nodiscard]] IterateOutcome iterate(const std::string& runId, IterateRequest request,
                                         std::string_view body);

    /// Absent for an id that no job has.
    [[nodiscard]] std::optional<JobStatus> status(const std::string& jobId);

    enum class Cancelled {
        done,      ///< It will not be judged; its status is failed, and says so.
        over,      ///< It has its verdict, or has failed, already.
        noSuchJob, ///< There is no job of that id.
    };

    /// Gives a job up: at once when it waits, soon when it is being graded. What was accepted and
    /// is cancelled leaves nothing but its status.
    Cancelled cancel(const std::string& jobId);

    /// Whether nothing waits, is being graded, made ready or tidied.
    [[nodiscard]] bool isIdle() const;

    /// Whether the critics are still being made ready.
    [[nodiscard]] bool isWarming() const;

    /// Waits for the jobs being graded, not for those that wait, and returns those who wait for a
    /// revision. Nothing is accepted afterwards. May be called again.
    void stop();

private:
    using Enqueued = std::variant<PendingJob, QueueFull, QueueStopped>;

    struct Waiting {
        PendingJob job;
        std::optional<JobRequest> request; // absent: in the store alone
    };

    [[nodiscard]] Enqueued enqueue(JobKind kind, const std::string& runId, JobRequest request,
                                   std::string_view body);
    [[nodiscard]] bool isPending(const std::string& jobId) const; // under m_mutex
    void work(bool warmsUp);
    [[nodiscard]] Waiting takeFirst();   // under m_mutex
    void forget(const Waiting& waiting); // its bytes; under m_mutex
    void grade(Waiting& taken, const StopToken& cancel);
    void gradeOnce(Waiting& taken, const StopToken& cancel);
    void judgeJob(Waiting& taken, const StopToken& cancel);
    void judgeWork(const PendingJob& job, const SubmitRequest& request, const StopToken& cancel);
    void judgeRevision(const PendingJob& job, IterateRequest& request, const StopToken& cancel);
    /// The verdict on the work; absent when the job was cancelled, which is then on the disk.
    [[nodiscard]] std::optional<Iteration> verdict(const PendingJob& job, const Submission& work,
                                                   const StopToken& cancel);
    [[nodiscard]] KeptWork toKeep(const Submission& work) const;
    void tidy();
    void log(const std::string& line) const;

    RunStore& m_store;
    const QueueOptions m_options;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed; // jobs came, a job ended, or stop
    std::deque<Waiting> m_waiting;
    std::uint64_t m_waitingBytes = 0;
    std::uint64_t m_heldBytes = 0; // of the bodies whose request waits here too
    /// A job that is being graded.
    struct Running {
        StopSource cancel;
        GradingProgress progress;
    };
    std::map<std::string, Running> m_running; // by id of the job
    bool m_warming = true;
    bool m_stopping = false;
    bool m_tidying = false;
    std::optional<std::int64_t> m_lastPruneMs;

    std::mutex m_joining;
    std::vector<std::thread> m_workers;
};

} // namespace trevix
