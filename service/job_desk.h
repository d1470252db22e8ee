// Where work to grade is handed in, and where is told what has become of it.
//
// What the door of the service knows of the queue behind it: one program's own (job_queue.h), or
// one that several share (shared_queue.h). Grading is deterministic, so that doing a job again
// whose verdict was not yet written does no harm.
//
// Any thread may call anything. StoreError passes through to the caller.

#pragma once

#include "critics/findings/stop.h"
#include "critics/grading/grader.h"
#include "service/store/job_status.h"
#include "service/store/run_store.h"
#include "service/store/team_key.h"
#include "service/wire.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace trevix {

/// Judges one work; absent when it was cancelled. Called from as many threads as jobs are graded at
/// once.
using WorkCritic =
    std::function<std::optional<Critique>(const Submission&, const StopToken& cancel,
                                          const std::function<void(const GradingProgress&)>&)>;

/// A job that was judged, or could not be, as it is told to who watches.
struct JudgedJob {
    std::string id;
    JobKind kind = JobKind::grade;
    int attempts = 0;                  ///< This time as well.
    std::chrono::milliseconds took{0}; ///< From taken to written.
};

/// How a queue of either kind is run.
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
    [[nodiscard]] bool keepsWork() const { return keepWork.count() > 0; }
    std::chrono::milliseconds storeRetry{1000}; ///< Between attempts while the store cannot write.

    std::size_t atOnce = 1; ///< Jobs graded at the same time.

    WorkCritic critic;
    std::function<void()> warmUp;                 ///< Runs once, on a worker, before the first job.
    std::function<std::int64_t()> nowMs;          ///< Since 1970, UTC.
    std::function<void(const std::string&)> log;  ///< One line for the person who runs the service.
    std::function<void(const JudgedJob&)> judged; ///< After each job; may be empty.
};

/// The queue holds as many jobs, or as many bytes, as it may.
struct QueueFull {};
/// The owner has handed in as much as it may within a day.
struct QuotaUsed {};
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

class JobDesk {
public:
    using Submitted = std::variant<Accepted, QueueFull, QuotaUsed, QueueStopped>;
    using IterateOutcome =
        std::variant<Iterated, NoSuchRun, QueueFull, QuotaUsed, JudgingFailed, QueueStopped>;

    JobDesk() = default;
    virtual ~JobDesk() = default;
    JobDesk(const JobDesk&) = delete;
    JobDesk& operator=(const JobDesk&) = delete;

    /// `request` is what parseSubmit() read in `body`. Only a queue that is shared asks whose the
    /// job is.
    [[nodiscard]] virtual Submitted submit(SubmitRequest request, std::string_view body,
                                           const JobOwner& owner) = 0;

    /// Blocks until the revision is judged or the queue stops. `request` is what parseIterate()
    /// read in `body`. A revision that the queue has taken is judged even if nobody waits any more.
    [[nodiscard]] virtual IterateOutcome iterate(const std::string& runId, IterateRequest request,
                                                 std::string_view body, const JobOwner& owner) = 0;

    /// Absent for an id that no job has.
    [[nodiscard]] virtual std::optional<JobStatus> status(const std::string& jobId) = 0;

    enum class Cancelled {
        done,      ///< It will not be judged; its status is failed, and says so.
        over,      ///< It has its verdict, or has failed, already.
        noSuchJob, ///< There is no job of that id.
    };

    /// Gives a job up: at once when it waits, soon when it is being graded. What was accepted and
    /// is cancelled leaves nothing but its status.
    virtual Cancelled cancel(const std::string& jobId) = 0;

    /// Whether nothing waits, is being graded, made ready or tidied here.
    [[nodiscard]] virtual bool isIdle() const = 0;

    /// Whether the critics are still being made ready.
    [[nodiscard]] virtual bool isWarming() const = 0;

    /// Whether a job that came now would be taken, but for how many wait already.
    [[nodiscard]] virtual bool isAccepting() = 0;

    /// Whether what is judged is kept for the reports.
    [[nodiscard]] virtual bool keepsWork() const = 0;

    /// Waits for the jobs being graded here, not for those that wait, and returns those who wait
    /// for a revision. Nothing is accepted afterwards. May be called again.
    virtual void stop() = 0;
};

} // namespace trevix
