// The queue of work to grade of one program that has its store to itself.
//
// Jobs are begun in the order in which they came in, a few at a time, and may be cancelled while
// they wait and while they are graded. The store is the truth: a job is accepted when it is on the
// disk, and after a crash at any moment a new queue over the same store goes on where the old one
// was.
//
// A request's body is read once, at the door: the queue keeps what was read beside the stored
// bytes. From the store a job is read back, once, when it was taken up from an earlier start or
// when the queue already held as much read work as it may.
//
// Revisions wait in the same queue, but whoever sends one waits for its verdict.
//
// Any thread may call anything. StoreError passes through to the caller.

#pragma once

#include "service/job_desk.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <variant>
#include <vector>

namespace trevix {

class JobQueue final : public JobDesk {
public:
    /// Takes up what the store still has to grade, and starts. `store` must outlive the queue.
    JobQueue(RunStore& store, QueueOptions options);
    ~JobQueue() override;

    [[nodiscard]] Submitted submit(SubmitRequest request, std::string_view body,
                                   const JobOwner& owner) override;
    [[nodiscard]] IterateOutcome iterate(const std::string& runId, IterateRequest request,
                                         std::string_view body, const JobOwner& owner) override;
    [[nodiscard]] std::optional<JobStatus> status(const std::string& jobId) override;
    Cancelled cancel(const std::string& jobId) override;
    [[nodiscard]] bool isIdle() const override;
    [[nodiscard]] bool isWarming() const override;
    [[nodiscard]] bool isAccepting() override;
    [[nodiscard]] bool keepsWork() const override { return m_options.keepsWork(); }
    void stop() override;

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
