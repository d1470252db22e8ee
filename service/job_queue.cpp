#include "service/job_queue.h"

#include "service/judge_job.h"
#include "service/kept_work.h"
#include "service/store/random_id.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace trevix {

namespace {

// Once a day: runs are kept by the day.
constexpr std::int64_t kPruneEveryMs = std::int64_t{24} * 60 * 60 * 1000;

} // namespace

JobQueue::JobQueue(RunStore& store, QueueOptions options)
    : m_store(store),
      m_options(std::move(options)) {
    for (PendingJob& job : m_store.pendingJobs()) {
        m_waitingBytes += job.bytes;
        m_waiting.push_back({std::move(job), std::nullopt});
    }
    // Stable: within each of the two halves the order of coming in stands.
    std::stable_partition(m_waiting.begin(), m_waiting.end(), [](const Waiting& waiting) {
        return waiting.job.attempts < kAttemptsInTurn;
    });
    for (std::size_t i = 0; i < m_options.atOnce; ++i) {
        m_workers.emplace_back([this, i] { work(i == 0); });
    }
}

JobQueue::~JobQueue() {
    stop();
}

JobQueue::Enqueued JobQueue::enqueue(JobKind kind, const std::string& runId, JobRequest request,
                                     std::string_view body) {
    const std::lock_guard lock(m_mutex);
    if (m_stopping) return QueueStopped{};
    // Waiting for judging counts here, being judged does not.
    if (m_waiting.size() >= m_options.maxWaiting ||
        m_waitingBytes + body.size() > m_options.maxWaitingBytes) {
        return QueueFull{};
    }
    // Written under the lock, so that the order in the store is the order in the queue.
    // A throw by the store leaves the queue as it was: the job was not accepted.
    PendingJob job = m_store.addJob(newJobId(), kind, runId, body, m_options.nowMs());
    m_waitingBytes += job.bytes;
    Waiting waiting{job, std::nullopt};
    if (m_heldBytes + job.bytes <= m_options.maxHeldBytes) {
        m_heldBytes += job.bytes;
        waiting.request = std::move(request);
    }
    m_waiting.push_back(std::move(waiting));
    // All, since workers and those who wait for a revision wait on the same condition.
    m_changed.notify_all();
    return job;
}

JobQueue::Submitted JobQueue::submit(SubmitRequest request, std::string_view body,
                                     const JobOwner& /*owner*/) {
    Enqueued enqueued = enqueue(JobKind::grade, {}, std::move(request), body);
    if (auto* job = std::get_if<PendingJob>(&enqueued)) return Accepted{std::move(job->id)};
    if (std::holds_alternative<QueueFull>(enqueued)) return QueueFull{};
    return QueueStopped{};
}

JobQueue::IterateOutcome JobQueue::iterate(const std::string& runId, IterateRequest request,
                                           std::string_view body, const JobOwner& /*owner*/) {
    if (!m_store.hasRun(runId)) return NoSuchRun{};
    const Enqueued enqueued = enqueue(JobKind::iterate, runId, std::move(request), body);
    if (std::holds_alternative<QueueFull>(enqueued)) return QueueFull{};
    if (std::holds_alternative<QueueStopped>(enqueued)) return QueueStopped{};
    const std::string& jobId = std::get<PendingJob>(enqueued).id;
    {
        std::unique_lock lock(m_mutex);
        // Waits on the queue and not on the store, which would have to be asked again and again.
        m_changed.wait(lock, [&] { return m_stopping || !isPending(jobId); });
        if (isPending(jobId)) return QueueStopped{};
    }
    const auto finished = m_store.finishedJob(jobId);
    if (!finished) return QueueStopped{}; // ended while the store could not be written
    if (finished->error) return JudgingFailed{*finished->error};
    auto run = m_store.run(runId);
    if (!run) return NoSuchRun{};
    return Iterated{std::move(*run), finished->iteration};
}

std::optional<JobStatus> JobQueue::status(const std::string& jobId) {
    JobStatus status;
    {
        const std::lock_guard lock(m_mutex);
        status.warming = m_warming;
        if (const auto running = m_running.find(jobId); running != m_running.end()) {
            status.state = JobState::running;
            status.progress = running->second.progress;
            return status;
        }
        const auto found = std::find_if(m_waiting.begin(), m_waiting.end(),
                                        [&](const Waiting& each) { return each.job.id == jobId; });
        if (found != m_waiting.end()) {
            // Those that are being judged go before it as well.
            status.position =
                static_cast<std::size_t>(found - m_waiting.begin()) + m_running.size();
            return status;
        }
    }
    // No job is in neither of the two: work() takes it out of the running ones only when its end is
    // stored.
    const auto finished = m_store.finishedJob(jobId);
    if (!finished) return std::nullopt;
    status.warming = false;
    if (finished->error) {
        status.state = JobState::failed;
        status.error = *finished->error;
        return status;
    }
    // A run may have been forgotten since, by its age; then its jobs are as well.
    const auto run = m_store.run(finished->runId);
    if (!run) return std::nullopt;
    status.state = JobState::completed;
    status.runId = run->id;
    status.result = run->iterations.at(static_cast<std::size_t>(finished->iteration));
    return status;
}

bool JobQueue::isIdle() const {
    const std::lock_guard lock(m_mutex);
    return m_waiting.empty() && m_running.empty() && !m_warming && !m_tidying;
}

bool JobQueue::isWarming() const {
    const std::lock_guard lock(m_mutex);
    return m_warming;
}

bool JobQueue::isAccepting() {
    const std::lock_guard lock(m_mutex);
    return !m_stopping;
}

void JobQueue::stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    // The destructor and whoever calls this meet here: a thread can be joined once.
    const std::lock_guard joining(m_joining);
    for (std::thread& worker : m_workers) {
        if (worker.joinable()) worker.join();
    }
}

bool JobQueue::isPending(const std::string& jobId) const {
    return m_running.count(jobId) > 0 ||
           std::any_of(m_waiting.begin(), m_waiting.end(),
                       [&](const Waiting& each) { return each.job.id == jobId; });
}

JobQueue::Cancelled JobQueue::cancel(const std::string& jobId) {
    {
        const std::lock_guard lock(m_mutex);
        if (const auto running = m_running.find(jobId); running != m_running.end()) {
            // Only asked: the critics see it between two steps, and the job ends as cancelled by
            // itself.
            running->second.cancel.ask();
            return Cancelled::done;
        }
        const auto found = std::find_if(m_waiting.begin(), m_waiting.end(),
                                        [&](const Waiting& each) { return each.job.id == jobId; });
        if (found != m_waiting.end()) {
            // First on the disk: what is not there would be judged after the next start.
            m_store.failJob(jobId, kCancelled, m_options.nowMs());
            forget(*found);
            m_waiting.erase(found);
            m_changed.notify_all();
            return Cancelled::done;
        }
    }
    return m_store.finishedJob(jobId) ? Cancelled::over : Cancelled::noSuchJob;
}

void JobQueue::work(bool warmsUp) {
    if (warmsUp) {
        try {
            m_options.warmUp();
        } catch (const std::exception& error) {
            log(std::string("the critics could not be warmed up: ") + error.what());
        }
    }
    std::unique_lock lock(m_mutex);
    if (warmsUp) {
        m_warming = false;
        m_changed.notify_all();
    }
    // Until the critics know what this machine has, no worker begins a job.
    m_changed.wait(lock, [this] { return m_stopping || !m_warming; });
    while (true) {
        // Only the last worker to run out of work tidies, outside the lock: it may take seconds,
        // and jobs that come in meanwhile are accepted and begun by the others.
        if (m_waiting.empty() && m_running.empty() && !m_stopping && !m_tidying) {
            m_tidying = true;
            lock.unlock();
            tidy();
            lock.lock();
            m_tidying = false;
        }
        m_changed.wait(lock, [this] { return m_stopping || !m_waiting.empty(); });
        // What still waits is on the disk, and is taken up by the next start.
        if (m_stopping) return;
        Waiting taken = takeFirst();
        const std::string id = taken.job.id;
        const StopToken cancel = m_running[id].cancel.token();
        lock.unlock();
        const auto begun = std::chrono::steady_clock::now();
        grade(taken, cancel);
        if (m_options.judged) {
            m_options.judged({id, taken.job.kind, taken.job.attempts + 1,
                              std::chrono::duration_cast<std::chrono::milliseconds>(
                                  std::chrono::steady_clock::now() - begun)});
        }
        lock.lock();
        // After its end is stored, see status().
        m_running.erase(id);
        m_changed.notify_all();
    }
}

JobQueue::Waiting JobQueue::takeFirst() {
    Waiting taken = std::move(m_waiting.front());
    m_waiting.pop_front();
    forget(taken);
    return taken;
}

void JobQueue::forget(const Waiting& waiting) {
    m_waitingBytes -= waiting.job.bytes;
    if (waiting.request) m_heldBytes -= waiting.job.bytes;
}

// Goes on until the job's end is on the disk: a full disk delays verdicts and loses none.
void JobQueue::grade(Waiting& taken, const StopToken& cancel) {
    const PendingJob& job = taken.job;
    bool told = false;
    bool begun = false;
    while (true) {
        try {
            // Counted on the disk before the judging: what ends the whole program can be counted in
            // no other way. Waiting for the store to work again counts once.
            if (!begun && m_store.beginAttempt(job.id) > kMostAttempts) {
                m_store.failJob(job.id, endedTooOften(), m_options.nowMs());
                return;
            }
            begun = true;
            gradeOnce(taken, cancel);
            return;
        } catch (const StoreError& error) {
            if (!told) log(std::string(error.what()) + "; trying again until it works");
            told = true;
        }
        std::unique_lock lock(m_mutex);
        // Left pending: the next start judges it again.
        if (m_changed.wait_for(lock, m_options.storeRetry, [this] { return m_stopping; })) return;
    }
}

void JobQueue::gradeOnce(Waiting& taken, const StopToken& cancel) {
    const std::string& jobId = taken.job.id;
    // A finish whose answer was lost, when the store failed after the commit.
    if (!m_store.isPending(jobId)) return; // already over
    const bool ended = judgeJob(
        m_store, m_options, taken.job, taken.request, cancel, [&](const GradingProgress& progress) {
            const std::lock_guard lock(m_mutex);
            if (const auto running = m_running.find(jobId); running != m_running.end()) {
                running->second.progress = progress;
            }
        });
    if (!ended) m_store.failJob(jobId, kCancelled, m_options.nowMs());
}

void JobQueue::tidy() {
    try {
        const std::int64_t now = m_options.nowMs();
        // Also when the clock went back: what it leapt to is no measure of the next time.
        const bool due =
            !m_lastPruneMs || now - *m_lastPruneMs >= kPruneEveryMs || now < *m_lastPruneMs;
        if (m_options.keep.count() > 0 && due) {
            // Judged by the clock only when the clock is believed: what is forgotten does not come
            // back.
            if (m_store.believesClock(now)) m_store.prune(now - m_options.keep.count());
            m_lastPruneMs = now;
        }
        // At every pause: what is no longer to be kept is not kept a day longer.
        if (m_options.keepsWork()) {
            // Of a clock that is not believed only the sizes count.
            m_store.dropWork(m_store.believesClock(now) ? now - m_options.keepWork.count() : 0,
                             kMostKept);
        } else {
            // Nothing is to be kept, so what an earlier start kept goes too.
            m_store.dropWork(now, 0);
        }
        m_store.giveBackRoom();
    } catch (const StoreError& error) {
        // Tidying can wait for the next pause; nothing depends on it.
        log(error.what());
    }
}

void JobQueue::log(const std::string& line) const {
    if (m_options.log) m_options.log(line);
}

} // namespace trevix
