// The run store of one service on one machine, in one SQLite file.
//
// Commits are on the disk when a call returns (write-ahead log, synchronous=FULL). Calls take
// turns.

#pragma once

#include "service/store/run_store.h"

#include <filesystem>
#include <memory>

namespace trevix {

class SqliteStore final : public RunStore {
public:
    struct Opened {
        std::unique_ptr<SqliteStore> store; ///< Never null.
        std::string notice; ///< What had to be done to open it, for people; usually empty.
    };

    /// Opens the file, or makes it. A file that is damaged or no database is renamed to
    /// "NAME.damaged-TIME" together with its log, and a new one is begun. Throws StoreError when
    /// the file cannot be used and is not to blame: no permission, written by a newer version, or
    /// not this user's alone (see own_file.h); then nothing is changed.
    [[nodiscard]] static Opened open(const std::filesystem::path& file, std::int64_t nowMs);

    ~SqliteStore() override;
    SqliteStore(const SqliteStore&) = delete;
    SqliteStore& operator=(const SqliteStore&) = delete;

    PendingJob addJob(const std::string& id, JobKind kind, const std::string& runId,
                      std::string_view payload, std::int64_t nowMs) override;
    [[nodiscard]] std::vector<PendingJob> pendingJobs() override;
    [[nodiscard]] bool isPending(const std::string& jobId) override;
    [[nodiscard]] std::optional<std::string> payload(const std::string& jobId) override;
    int beginAttempt(const std::string& jobId) override;
    void finishGrade(const std::string& jobId, const RunRecord& run,
                     const KeptWork& work = {}) override;
    int finishIterate(const std::string& jobId, const std::string& runId,
                      const Iteration& iteration, const KeptWork& work = {}) override;
    [[nodiscard]] KeptWork work(const std::string& runId, int number) override;
    std::size_t dropWork(std::int64_t beforeMs, std::uint64_t mostBytes) override;
    void failJob(const std::string& jobId, const std::string& error, std::int64_t nowMs) override;
    [[nodiscard]] std::optional<FinishedJob> finishedJob(const std::string& jobId) override;
    [[nodiscard]] std::optional<RunRecord> run(const std::string& runId) override;
    [[nodiscard]] bool hasRun(const std::string& runId) override;
    [[nodiscard]] bool believesClock(std::int64_t nowMs) override;
    std::size_t prune(std::int64_t beforeMs) override;
    void giveBackRoom() override;

private:
    class Database;
    explicit SqliteStore(std::unique_ptr<Database> database);

    std::unique_ptr<Database> m_database;
};

} // namespace trevix
