// The queue of work to grade that several programs share, as one of them sees it.
//
// Whatever program a job came in through, any that judges may take it. A taken job is held by a
// lease that is renewed while it is judged; whose lease runs out, because the program or its
// machine went or was cut off, is taken by another, kMostAttempts times at most. So an accepted job
// gets one verdict, and waits for it no longer than a lease after a program that can judge is
// there.
//
// News of the store wake who waits. They may be lost, so who waits also looks every `look`.
//
// Any thread may call anything. StoreError passes through to the caller.

#pragma once

#include "service/job_desk.h"
#include "service/store/shared_store.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <variant>
#include <vector>

namespace trevix {

struct SharingOptions {
    /// Chosen: long enough for a database that is started anew, short for who waits.
    std::chrono::milliseconds lease{30'000};
    /// A third of it: two renewals may fail.
    std::chrono::milliseconds renewEvery{10'000};
    /// Progress is told no more often than that: each time is a commit of the database's.
    std::chrono::milliseconds progressEvery{500};
    /// How long news are relied on. Leases that run out are no news.
    std::chrono::milliseconds look{5'000};
    /// Between two tidyings of one program.
    std::chrono::milliseconds tidyEvery{3'600'000};
    /// Of the work that is kept to be shown, bytes of all runs. Chosen: a week of some hundred
    /// people.
    std::uint64_t mostKept = std::uint64_t{8} << 30U;
};

class SharedQueue final : public JobDesk {
public:
    /// Starts; with `options.atOnce` 0 it takes jobs in and judges none. Of `options` the bytes
    /// that are held in memory do not count: every body is in the store alone. `store` must outlive
    /// the queue, and is listened to by it alone.
    SharedQueue(SharedStore& store, QueueOptions options, SharingOptions sharing = {});
    ~SharedQueue() override;

    [[nodiscard]] Submitted submit(SubmitRequest request, std::string_view body,
                                   const JobOwner& owner) override;
    [[nodiscard]] IterateOutcome iterate(const std::string& runId, IterateRequest request,
                                         std::string_view body, const JobOwner& owner) override;
    [[nodiscard]] std::optional<JobStatus> status(const std::string& jobId) override;
    Cancelled cancel(const std::string& jobId) override;
    /// Of this program alone: what waits may be another's.
    [[nodiscard]] bool isIdle() const override;
    /// Whether no program that is ready to judge is there.
    [[nodiscard]] bool isWarming() const override;
    [[nodiscard]] bool isAccepting() override;
    [[nodiscard]] bool keepsWork() const override { return m_options.keepsWork(); }
    void stop() override;

    /// What this program is called in the store.
    [[nodiscard]] const std::string& name() const { return m_name; }

private:
    using Enqueued = std::variant<PendingJob, QueueFull, QuotaUsed, QueueStopped>;

    /// A job that this program judges.
    struct Held {
        StopSource cancel;
        GradingProgress progress;
        bool isLost = false;       ///< Another program has it, or it is over.
        bool hasNews = false;      ///< The progress was not told yet.
        bool wasCancelled = false; ///< Somebody may have given it up: to be looked at at once.
    };

    [[nodiscard]] Enqueued enqueue(JobKind kind, const std::string& runId, std::string_view body,
                                   const JobOwner& owner);
    void hear(const StoreNews& news);
    void work();
    void judgeTaken(const TakenJob& taken);
    void judgeUntilWritten(const PendingJob& job);
    void keepLeases(const StopToken& stop);
    void renewAll(std::chrono::steady_clock::time_point now);
    void tidyWhenDue();
    void log(const std::string& line) const;

    SharedStore& m_store;
    const QueueOptions m_options;
    const SharingOptions m_sharing;
    const std::string m_name;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;     // news came, or stop
    std::condition_variable m_leases;      // what is held changed
    std::uint64_t m_news = 0;              // how often there may be something to take
    std::map<std::string, bool> m_awaited; // jobs that somebody here waits for, and whether to look
    std::map<std::string, Held> m_held;    // by id of the job
    bool m_isReady = false;
    bool m_hasChangedReady = false;
    bool m_isStopping = false;
    bool m_isTidying = false;
    std::chrono::steady_clock::time_point m_nextRenewal;
    std::optional<std::chrono::steady_clock::time_point> m_lastTidy;

    std::mutex m_joining;
    std::vector<std::thread> m_workers;
    StoppableThread m_keeper;
};

} // namespace trevix
