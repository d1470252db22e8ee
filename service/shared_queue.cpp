#include "service/shared_queue.h"

#include "service/judge_job.h"
#include "service/store/random_id.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace trevix {

namespace {

std::chrono::steady_clock::time_point steadyNow() {
    return std::chrono::steady_clock::now();
}

} // namespace

SharedQueue::SharedQueue(SharedStore& store, QueueOptions options, SharingOptions sharing)
    : m_store(store),
      m_options(std::move(options)),
      m_sharing(sharing),
      m_name(randomName("worker_", 8)) {
    m_store.listen([this](const StoreNews& news) { hear(news); });
    if (m_options.atOnce == 0) return;
    m_keeper = StoppableThread([this](const StopToken& stop) { keepLeases(stop); });
    m_workers.emplace_back([this] {
        try {
            m_options.warmUp();
        } catch (const std::exception& error) {
            log(std::string("the critics could not be warmed up: ") + error.what());
        }
        {
            const std::lock_guard lock(m_mutex);
            m_isReady = true;
            m_hasChangedReady = true;
        }
        m_changed.notify_all();
        m_leases.notify_all();
        work();
    });
    for (std::size_t i = 1; i < m_options.atOnce; ++i) m_workers.emplace_back([this] { work(); });
}

SharedQueue::~SharedQueue() {
    stop();
}

void SharedQueue::hear(const StoreNews& news) {
    {
        const std::lock_guard lock(m_mutex);
        switch (news.kind) {
        case StoreNews::Kind::anything:
            ++m_news;
            for (auto& [id, look] : m_awaited) look = true;
            for (auto& [id, held] : m_held) held.wasCancelled = true;
            break;
        case StoreNews::Kind::jobCame:
            ++m_news;
            break;
        case StoreNews::Kind::jobOver:
            if (const auto found = m_awaited.find(news.jobId); found != m_awaited.end()) {
                found->second = true;
            }
            break;
        case StoreNews::Kind::cancelled:
            if (const auto found = m_held.find(news.jobId); found != m_held.end()) {
                found->second.wasCancelled = true;
            }
            break;
        }
    }
    m_changed.notify_all();
    m_leases.notify_all();
}

SharedQueue::Enqueued SharedQueue::enqueue(JobKind kind, const std::string& runId,
                                           std::string_view body, const JobOwner& owner) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_isStopping) return QueueStopped{};
    }
    auto added = m_store.addJobWithin({m_options.maxWaiting, m_options.maxWaitingBytes}, owner,
                                      newJobId(), kind, runId, body);
    if (auto* job = std::get_if<PendingJob>(&added)) return std::move(*job);
    if (std::get<Refusal>(added) == Refusal::quota) return QuotaUsed{};
    return QueueFull{};
}

JobDesk::Submitted SharedQueue::submit(SubmitRequest /*request*/, std::string_view body,
                                       const JobOwner& owner) {
    Enqueued enqueued = enqueue(JobKind::grade, {}, body, owner);
    if (auto* job = std::get_if<PendingJob>(&enqueued)) return Accepted{std::move(job->id)};
    if (std::holds_alternative<QueueFull>(enqueued)) return QueueFull{};
    if (std::holds_alternative<QuotaUsed>(enqueued)) return QuotaUsed{};
    return QueueStopped{};
}

JobDesk::IterateOutcome SharedQueue::iterate(const std::string& runId, IterateRequest /*request*/,
                                             std::string_view body, const JobOwner& owner) {
    if (!m_store.hasRun(runId)) return NoSuchRun{};
    const Enqueued enqueued = enqueue(JobKind::iterate, runId, body, owner);
    if (std::holds_alternative<QueueFull>(enqueued)) return QueueFull{};
    if (std::holds_alternative<QuotaUsed>(enqueued)) return QuotaUsed{};
    if (std::holds_alternative<QueueStopped>(enqueued)) return QueueStopped{};
    const std::string& jobId = std::get<PendingJob>(enqueued).id;
    std::optional<FinishedJob> finished;
    {
        std::unique_lock lock(m_mutex);
        // It may be over already, and its news have come: the first look is at once.
        m_awaited[jobId] = true;
        while (!finished && !m_isStopping) {
            m_changed.wait_for(lock, m_sharing.look,
                               [&] { return m_isStopping || m_awaited[jobId]; });
            m_awaited[jobId] = false;
            lock.unlock();
            try {
                finished = m_store.finishedJob(jobId);
            } catch (const StoreError&) {
                // The revision is accepted and will be judged; the next look may tell.
            }
            lock.lock();
        }
        m_awaited.erase(jobId);
    }
    if (!finished) return QueueStopped{};
    if (finished->error) return JudgingFailed{*finished->error};
    auto run = m_store.run(runId);
    if (!run) return NoSuchRun{};
    return Iterated{std::move(*run), finished->iteration};
}

std::optional<JobStatus> SharedQueue::status(const std::string& jobId) {
    auto standing = m_store.standing(jobId, kAttemptsInTurn);
    if (!standing) return std::nullopt;
    JobStatus status;
    status.state = standing->state;
    switch (standing->state) {
    case JobState::queued:
        status.warming = !standing->hasWorkers;
        status.position = standing->position;
        break;
    case JobState::running:
        status.progress = std::move(standing->progress);
        break;
    case JobState::failed:
        status.error = standing->finished.error.value_or("");
        break;
    case JobState::completed: {
        // A run may have been forgotten since, by its age; then its jobs are as well.
        const auto run = m_store.run(standing->finished.runId);
        if (!run) return std::nullopt;
        status.runId = run->id;
        status.result = run->iterations.at(static_cast<std::size_t>(standing->finished.iteration));
        break;
    }
    }
    return status;
}

JobDesk::Cancelled SharedQueue::cancel(const std::string& jobId) {
    switch (m_store.cancel(jobId, kCancelled)) {
    case SharedStore::Cancelled::done:
    case SharedStore::Cancelled::asked:
        return Cancelled::done;
    case SharedStore::Cancelled::over:
        return Cancelled::over;
    case SharedStore::Cancelled::noSuchJob:
        break;
    }
    return Cancelled::noSuchJob;
}

bool SharedQueue::isIdle() const {
    const std::lock_guard lock(m_mutex);
    return m_held.empty() && m_awaited.empty() && !m_isTidying &&
           (m_isReady || m_options.atOnce == 0);
}

bool SharedQueue::isWarming() const {
    {
        const std::lock_guard lock(m_mutex);
        if (m_isReady) return false;
    }
    return !m_store.hasWorkers();
}

bool SharedQueue::isAccepting() {
    {
        const std::lock_guard lock(m_mutex);
        if (m_isStopping) return false;
    }
    // Throws where the store does not answer.
    (void)m_store.nowMs();
    return true;
}

void SharedQueue::stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    m_changed.notify_all();
    const std::lock_guard joining(m_joining);
    for (std::thread& worker : m_workers) {
        if (worker.joinable()) worker.join();
    }
    // After them: while a last job is judged its lease is renewed.
    m_keeper = {};
    m_store.listen({});
}

void SharedQueue::work() {
    bool told = false;
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_isStopping || m_isReady; });
    while (!m_isStopping) {
        const std::uint64_t seen = m_news;
        lock.unlock();
        std::optional<TakenJob> taken;
        bool failed = false;
        try {
            taken = m_store.take(m_name, m_sharing.lease, kAttemptsInTurn);
            told = false;
        } catch (const StoreError& error) {
            if (!told) log(std::string(error.what()) + "; trying again until it works");
            told = true;
            failed = true;
        }
        if (taken) {
            judgeTaken(*taken);
            lock.lock();
            continue;
        }
        if (!failed) tidyWhenDue();
        lock.lock();
        if (failed) {
            m_changed.wait_for(lock, m_options.storeRetry, [this] { return m_isStopping; });
        } else {
            m_changed.wait_for(lock, m_sharing.look,
                               [&] { return m_isStopping || m_news != seen; });
        }
    }
}

void SharedQueue::judgeTaken(const TakenJob& taken) {
    const PendingJob& job = taken.job;
    {
        const std::lock_guard lock(m_mutex);
        Held& held = m_held[job.id];
        // Before anything is judged: who gave it up was told that it will not be.
        if (taken.isCancelled) held.cancel.ask();
    }
    const auto begun = steadyNow();
    judgeUntilWritten(job);
    if (m_options.judged) {
        m_options.judged(
            {job.id, job.kind, job.attempts,
             std::chrono::duration_cast<std::chrono::milliseconds>(steadyNow() - begun)});
    }
    const std::lock_guard lock(m_mutex);
    m_held.erase(job.id);
    m_changed.notify_all();
}

// Goes on until the job's end is written, or another program's business.
void SharedQueue::judgeUntilWritten(const PendingJob& job) {
    std::optional<JobRequest> request;
    bool told = false;
    const auto isLost = [&] {
        const std::lock_guard lock(m_mutex);
        return m_held.at(job.id).isLost;
    };
    const StopToken cancel = [&] {
        const std::lock_guard lock(m_mutex);
        return m_held.at(job.id).cancel.token();
    }();
    while (true) {
        try {
            if (job.attempts > kMostAttempts) {
                m_store.failJob(job.id, endedTooOften(), m_options.nowMs());
                return;
            }
            // A finish whose answer was lost, or another program was faster.
            if (isLost() || !m_store.isPending(job.id)) return;
            const bool ended =
                !cancel.isAsked() && judgeJob(m_store, m_options, job, request, cancel,
                                              [&](const GradingProgress& progress) {
                                                  const std::lock_guard lock(m_mutex);
                                                  Held& held = m_held.at(job.id);
                                                  held.progress = progress;
                                                  held.hasNews = true;
                                                  m_leases.notify_all();
                                              });
            // Who lost it has no say any more in what becomes of it.
            if (!ended && !isLost()) m_store.failJob(job.id, kCancelled, m_options.nowMs());
            return;
        } catch (const StoreError& error) {
            if (!told) log(std::string(error.what()) + "; trying again until it works");
            told = true;
        }
        std::unique_lock lock(m_mutex);
        // Left as it is: when the lease has run out another program takes it.
        if (m_changed.wait_for(lock, m_options.storeRetry, [this] { return m_isStopping; })) return;
    }
}

void SharedQueue::keepLeases(const StopToken& stop) {
    // Under the lock, or the word would be missed between the look and the wait.
    const StopCallback wake(stop, [this] {
        const std::lock_guard lock(m_mutex);
        m_leases.notify_all();
    });
    std::unique_lock lock(m_mutex);
    m_nextRenewal = steadyNow();
    auto lastRound = steadyNow() - m_sharing.progressEvery;
    while (!stop.isAsked()) {
        const auto somethingToTell = [this] {
            return m_hasChangedReady ||
                   std::any_of(m_held.begin(), m_held.end(), [](const auto& each) {
                       return each.second.hasNews || each.second.wasCancelled;
                   });
        };
        m_leases.wait_until(lock, m_nextRenewal,
                            [&] { return stop.isAsked() || somethingToTell(); });
        // However fast the critics go on, and however many jobs are judged here.
        if (!stop.isAsked()) {
            m_leases.wait_until(lock, lastRound + m_sharing.progressEvery, [&] {
                return stop.isAsked() || m_hasChangedReady ||
                       std::any_of(m_held.begin(), m_held.end(),
                                   [](const auto& each) { return each.second.wasCancelled; });
            });
        }
        lock.unlock();
        lastRound = steadyNow();
        renewAll(lastRound);
        lock.lock();
    }
    lock.unlock();
    try {
        m_store.forgetWorker(m_name);
    } catch (const StoreError&) {
        // It is forgotten by itself.
    }
}

void SharedQueue::renewAll(std::chrono::steady_clock::time_point now) {
    std::vector<std::pair<std::string, GradingProgress>> due;
    bool isReady = false;
    bool tells = false;
    {
        const std::lock_guard lock(m_mutex);
        const bool all = now >= m_nextRenewal;
        tells = all || m_hasChangedReady;
        if (all) m_nextRenewal = now + m_sharing.renewEvery;
        isReady = m_isReady;
        m_hasChangedReady = false;
        for (auto& [id, held] : m_held) {
            if (!all && !held.hasNews && !held.wasCancelled) continue;
            held.hasNews = false;
            held.wasCancelled = false;
            due.emplace_back(id, held.progress);
        }
    }
    try {
        if (tells) m_store.tellOfWorker(m_name, isReady, m_sharing.lease);
        for (const auto& [id, progress] : due) {
            const Lease lease = m_store.renew(id, m_name, m_sharing.lease, progress);
            const std::lock_guard lock(m_mutex);
            const auto found = m_held.find(id);
            if (lease == Lease::held || found == m_held.end()) continue;
            found->second.isLost = lease == Lease::lost;
            found->second.cancel.ask();
        }
    } catch (const StoreError&) {
        // Who judges is told by the store when a verdict cannot be written; the next renewal may
        // work, and until then another program may take the job. Sooner than usual, since a lease
        // may run out.
        const std::lock_guard lock(m_mutex);
        m_nextRenewal = std::min(m_nextRenewal, now + m_options.storeRetry);
    }
}

void SharedQueue::tidyWhenDue() {
    {
        const std::lock_guard lock(m_mutex);
        if (m_isTidying || (m_lastTidy && steadyNow() - *m_lastTidy < m_sharing.tidyEvery)) return;
        m_isTidying = true;
        m_lastTidy = steadyNow();
    }
    try {
        const std::int64_t now = m_options.nowMs();
        // Judged by the clock only when the clock is believed: what is forgotten does not come
        // back.
        const bool believed = m_store.believesClock(now);
        if (m_options.keep.count() > 0 && believed) {
            (void)m_store.prune(now - m_options.keep.count());
        }
        if (m_options.keepsWork()) {
            (void)m_store.dropWork(believed ? now - m_options.keepWork.count() : 0,
                                   m_sharing.mostKept);
        } else {
            (void)m_store.dropWork(now, 0);
        }
    } catch (const StoreError& error) {
        // Tidying can wait; nothing depends on it.
        log(error.what());
    }
    const std::lock_guard lock(m_mutex);
    m_isTidying = false;
}

void SharedQueue::log(const std::string& line) const {
    if (m_options.log) m_options.log(line);
}

} // namespace trevix
