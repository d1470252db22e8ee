// A run store that several programs share, on one machine or on many.
//
// Jobs are taken for a while: who takes one holds it by a lease, renews the lease while it judges,
// and loses the job to another when it does not. All times are the store's own, so that it does not
// matter what the clocks of the programs say. Whoever finishes a job first gives it its verdict;
// whoever comes later has its transaction refused, so no job ever has two.
//
// Any thread may call anything. Errors are those of RunStore.

#pragma once

#include "critics/findings/progress.h"
#include "service/store/job_status.h"
#include "service/store/run_store.h"
#include "service/store/team_key.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trevix {

/// How much may wait to be taken.
struct WaitingLimits {
    std::size_t jobs = 0;
    std::uint64_t bytes = 0; ///< Of their bodies together.
};

/// Why a job was not taken in.
enum class Refusal {
    full,  ///< As much as may waits already.
    quota, ///< Its owner's key has handed in as much as it may within 24 hours.
};

/// A job that was taken; `attempts` counts this time as well.
struct TakenJob {
    PendingJob job;
    bool isCancelled = false; ///< Given up while a program held it that has let go of it since.

    bool operator==(const TakenJob&) const = default;
};

/// What has become of a lease.
enum class Lease {
    held,
    cancelled, ///< Held, and the job was given up: it is to be failed.
    lost,      ///< The job is over, or another program has it.
};

/// How far a job is, as far as the store knows.
struct JobStanding {
    JobState state = JobState::queued;
    bool hasWorkers = false;    ///< Whether a program that is ready to judge was heard of lately.
    std::size_t position = 0;   ///< As JobStatus has it.
    GradingProgress progress{}; ///< As the holder last told it.
    FinishedJob finished{};     ///< When completed or failed.

    bool operator==(const JobStanding&) const = default;
};

/// Something that happened, told to every program that listens.
struct StoreNews {
    enum class Kind {
        anything,  ///< The connection is new, or was lost: whatever may have happened.
        jobCame,   ///< There is something to take.
        jobOver,   ///< `jobId` is over.
        cancelled, ///< `jobId` is to be given up by who holds it.
    };
    Kind kind = Kind::anything;
    std::string jobId;

    bool operator==(const StoreNews&) const = default;
};

/// How much there is to do, and who is there to do it.
struct StoreFigures {
    std::uint64_t queued = 0;                  ///< Jobs that nobody holds.
    std::uint64_t running = 0;                 ///< Jobs that a program holds.
    std::chrono::milliseconds oldestQueued{0}; ///< How long the first queued one waits.
    std::uint64_t workersReady = 0;
    std::uint64_t workersWarming = 0; ///< There, and not ready to judge yet.

    bool operator==(const StoreFigures&) const = default;
};

/// What went through this object since it was made.
struct StoreCounts {
    std::uint64_t completed = 0; ///< Jobs.
    std::uint64_t failed = 0;    ///< Jobs, cancelled ones among them.
    std::uint64_t errors = 0;    ///< Statements and connections.

    bool operator==(const StoreCounts&) const = default;
};

class SharedStore : public RunStore {
public:
    /// What the store's clock says, in milliseconds since 1970, UTC.
    [[nodiscard]] virtual std::int64_t nowMs() = 0;

    /// addJob() for this owner, unless so much waits already or the owner has used up its quota. Of
    /// jobs that come in the same moment a few more than that may be taken.
    [[nodiscard]] virtual std::variant<PendingJob, Refusal>
    addJobWithin(const WaitingLimits& limits, const JobOwner& owner, const std::string& id,
                 JobKind kind, const std::string& runId, std::string_view payload) = 0;

    /// Whose a job or a run is: the group of the key that handed it in. Absent for an unknown one.
    [[nodiscard]] virtual std::optional<std::string> groupOfJob(const std::string& jobId) = 0;
    [[nodiscard]] virtual std::optional<std::string> groupOfRun(const std::string& runId) = 0;

    /// False when there is one of that name, good or not.
    [[nodiscard]] virtual bool addKey(const TeamKey& key) = 0;
    /// False when there is no good one of that name.
    [[nodiscard]] virtual bool revokeKey(const std::string& name) = 0;
    [[nodiscard]] virtual std::vector<TeamKey> keys() = 0; ///< By name.
    /// Writes down what was done with a key, for good until prune() forgets runs of that time.
    virtual void noteUse(const KeyUse& use) = 0;

    /// Takes the first job that nobody holds; those that were taken `inTurn` times or more come
    /// after all others. Absent when there is none.
    [[nodiscard]] virtual std::optional<TakenJob>
    take(const std::string& worker, std::chrono::milliseconds lease, int inTurn) = 0;

    /// Holds the job for so long from now on, and tells how far it is.
    [[nodiscard]] virtual Lease renew(const std::string& jobId, const std::string& worker,
                                      std::chrono::milliseconds lease,
                                      const GradingProgress& progress) = 0;

    /// Absent for an id that no job has.
    [[nodiscard]] virtual std::optional<JobStanding> standing(const std::string& jobId,
                                                              int inTurn) = 0;

    enum class Cancelled {
        done,      ///< Nobody held it: it has failed with `error`.
        asked,     ///< Who holds it is told.
        over,      ///< It is over already.
        noSuchJob, ///< There is no job of that id.
    };
    virtual Cancelled cancel(const std::string& jobId, const std::string& error) = 0;

    /// Says that a program that judges is there, and for how long that is to be believed.
    virtual void tellOfWorker(const std::string& worker, bool isReady,
                              std::chrono::milliseconds believed) = 0;
    virtual void forgetWorker(const std::string& worker) = 0;
    /// Whether one that is ready is believed to be there.
    [[nodiscard]] virtual bool hasWorkers() = 0;

    [[nodiscard]] virtual StoreFigures figures() = 0;
    /// Asks nobody.
    [[nodiscard]] virtual StoreCounts counts() const = 0;

    /// Calls `news` from a thread of the store's own, first with `anything`, until listening is
    /// ended by an empty function. Not to be called from within `news`.
    virtual void listen(std::function<void(const StoreNews&)> news) = 0;
};

} // namespace trevix
