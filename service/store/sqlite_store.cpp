#include "service/store/sqlite_store.h"

#include "service/store/clock_trust.h"
#include "service/store/own_file.h"
#include "service/store/sqlite_statement.h"
#include "service/store/stored_values.h"

#include <cmath>
#include <mutex>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace trevix {

namespace {

constexpr int kSchemaVersion = 3;
constexpr int kApplicationId = 0x54525658; // "TRVX": SQLite's mark of whose file it is.
// Milliseconds to wait for the lock of another program that looks into the file.
constexpr int kBusyTimeoutMs = 5000;
// Pages of 4 KiB, so 1 MiB: less is soon used again, and giving it back would rewrite the file.
constexpr std::int64_t kUnusedPagesKept = 256;

// Tables of runs and their parts have no row numbers of their own: they are reached by their key
// alone, so the key is how they are laid out. Jobs have one because it is their order, and because
// AUTOINCREMENT never gives a number out twice, even when the newest job is deleted.
constexpr const char* kSchema = R"sql(
CREATE TABLE jobs (
  seq        INTEGER PRIMARY KEY AUTOINCREMENT,
  id         TEXT NOT NULL UNIQUE,
  kind       TEXT NOT NULL CHECK (kind IN ('grade', 'iterate')),
  status     TEXT NOT NULL CHECK (status IN ('pending', 'completed', 'failed')),
  run_id     TEXT NOT NULL,
  iteration  INTEGER NOT NULL DEFAULT 0,
  error      TEXT,
  attempts   INTEGER NOT NULL DEFAULT 0,
  created    INTEGER NOT NULL,
  finished   INTEGER,
  payload    BLOB
);
CREATE INDEX jobs_pending ON jobs(seq) WHERE status = 'pending';
CREATE TABLE runs (
  id         TEXT PRIMARY KEY,
  modality   TEXT NOT NULL,
  vertical   TEXT NOT NULL,
  policy_id  TEXT NOT NULL
) WITHOUT ROWID;
CREATE TABLE iterations (
  run_id     TEXT NOT NULL REFERENCES runs(id) ON DELETE CASCADE,
  number     INTEGER NOT NULL,
  created    INTEGER NOT NULL,
  intent     TEXT NOT NULL,
  band       TEXT NOT NULL,
  score      REAL NOT NULL,
  PRIMARY KEY (run_id, number)
) WITHOUT ROWID;
CREATE TABLE parts (
  run_id     TEXT NOT NULL,
  number     INTEGER NOT NULL,
  ordinal    INTEGER NOT NULL,
  name       TEXT NOT NULL,
  mime_type  TEXT NOT NULL,
  bytes      INTEGER NOT NULL,
  PRIMARY KEY (run_id, number, ordinal),
  FOREIGN KEY (run_id, number) REFERENCES iterations(run_id, number) ON DELETE CASCADE
) WITHOUT ROWID;
CREATE TABLE findings (
  run_id     TEXT NOT NULL,
  number     INTEGER NOT NULL,
  ordinal    INTEGER NOT NULL,
  severity   INTEGER NOT NULL,
  rule       TEXT NOT NULL,
  criterion  TEXT NOT NULL,
  place      TEXT NOT NULL,
  evidence   TEXT NOT NULL,
  detail     TEXT NOT NULL,
  PRIMARY KEY (run_id, number, ordinal),
  FOREIGN KEY (run_id, number) REFERENCES iterations(run_id, number) ON DELETE CASCADE
) WITHOUT ROWID;
)sql";

// From format 1 to 2: how much work it was, and who judged it. Verdicts from before keep their
// bands, so they count as known.
constexpr const char* kCoverageColumns = R"sql(
ALTER TABLE iterations ADD COLUMN words INTEGER NOT NULL DEFAULT 0;
ALTER TABLE iterations ADD COLUMN lines INTEGER NOT NULL DEFAULT 0;
ALTER TABLE iterations ADD COLUMN cells INTEGER NOT NULL DEFAULT 0;
ALTER TABLE iterations ADD COLUMN known INTEGER NOT NULL DEFAULT 1;
CREATE TABLE coverage (
  run_id     TEXT NOT NULL,
  number     INTEGER NOT NULL,
  ordinal    INTEGER NOT NULL,
  checked    INTEGER NOT NULL,
  subject    TEXT NOT NULL,
  version    TEXT NOT NULL,
  about      TEXT NOT NULL,
  PRIMARY KEY (run_id, number, ordinal),
  FOREIGN KEY (run_id, number) REFERENCES iterations(run_id, number) ON DELETE CASCADE
) WITHOUT ROWID;
)sql";

// What ClockTrust is, in one row. Not of the format: an older program passes it over, and where it
// is missing it is begun.
constexpr const char* kClockTable = R"sql(
CREATE TABLE IF NOT EXISTS clock (
  one            INTEGER PRIMARY KEY CHECK (one = 1),
  believed       INTEGER NOT NULL,
  doubted_first  INTEGER,
  doubted_last   INTEGER
);
)sql";

// From format 2 to 3: the work that reports show. With a row number: large values are kept apart
// from what is looked at to find them.
constexpr const char* kWorks = R"sql(
CREATE TABLE works (
  run_id     TEXT NOT NULL,
  number     INTEGER NOT NULL,
  ordinal    INTEGER NOT NULL,
  is_text    INTEGER NOT NULL,
  bytes      BLOB NOT NULL,
  PRIMARY KEY (run_id, number, ordinal),
  FOREIGN KEY (run_id, number) REFERENCES iterations(run_id, number) ON DELETE CASCADE
);
)sql";

void insertCoverage(sqlite3* db, const std::string& runId, int number, const Coverage& coverage) {
    std::int64_t ordinal = 0;
    // Both kinds stand in one table, in the order of being told: what was checked by whom, and what
    // was not and why. A gap has its remedy where the other has the version.
    const auto insert = [&](bool checked, const std::string& subject, const std::string& version,
                            const std::string& about) {
        Statement(db, "INSERT INTO coverage (run_id, number, ordinal, checked, subject, version, "
                      "about) VALUES (?, ?, ?, ?, ?, ?, ?)")
            .bind(runId)
            .bind(std::int64_t{number})
            .bind(ordinal++)
            .bind(std::int64_t{checked ? 1 : 0})
            .bind(subject)
            .bind(version)
            .bind(about)
            .run();
    };
    for (const CheckedBy& by : coverage.checkedBy) insert(true, by.engine, by.version, by.knows);
    for (const NotChecked& gap : coverage.notChecked) {
        insert(false, gap.what, gap.remedy, gap.why);
    }
}

// Within a transaction of the caller: a verdict is kept with all its rows or not at all.
void insertIteration(sqlite3* db, const std::string& runId, int number, const Iteration& it) {
    Statement(db, "INSERT INTO iterations (run_id, number, created, intent, band, score, words, "
                  "lines, cells, known) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)")
        .bind(runId)
        .bind(std::int64_t{number})
        .bind(it.createdMs)
        .bind(it.intent)
        .bind(name(it.band))
        .bind(it.score)
        .bind(static_cast<std::int64_t>(it.extent.words))
        .bind(static_cast<std::int64_t>(it.extent.lines))
        .bind(static_cast<std::int64_t>(it.extent.cells))
        .bind(std::int64_t{it.coverage.known ? 1 : 0})
        .run();
    insertCoverage(db, runId, number, it.coverage);
    std::int64_t ordinal = 0;
    for (const PartSummary& part : it.parts) {
        Statement(db, "INSERT INTO parts (run_id, number, ordinal, name, mime_type, bytes) "
                      "VALUES (?, ?, ?, ?, ?, ?)")
            .bind(runId)
            .bind(std::int64_t{number})
            .bind(ordinal++)
            .bind(part.name)
            .bind(part.mimeType)
            .bind(static_cast<std::int64_t>(part.bytes))
            .run();
    }
    ordinal = 0;
    for (const Finding& finding : it.findings) {
        Statement(db, "INSERT INTO findings (run_id, number, ordinal, severity, rule, criterion, "
                      "place, evidence, detail) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)")
            .bind(runId)
            .bind(std::int64_t{number})
            .bind(ordinal++)
            .bind(storedSeverity(finding.severity))
            .bind(finding.rule)
            .bind(finding.criterion)
            .bind(finding.place)
            .bind(finding.evidence)
            .bind(finding.detail)
            .run();
    }
}

void insertWork(sqlite3* db, const std::string& runId, int number, const KeptWork& work) {
    // In the same transaction as the version that pushes the older one out.
    Statement(db, "DELETE FROM works WHERE run_id = ? AND number <= ?")
        .bind(runId)
        .bind(std::int64_t{number} - kVersionsWithWork)
        .run();
    for (const KeptPart& part : work) {
        Statement(db, "INSERT INTO works (run_id, number, ordinal, is_text, bytes) "
                      "VALUES (?, ?, ?, ?, ?)")
            .bind(runId)
            .bind(std::int64_t{number})
            .bind(static_cast<std::int64_t>(part.ordinal))
            .bind(std::int64_t{part.isText ? 1 : 0})
            .bindBlob(part.bytes)
            .run();
    }
}

void completeJob(sqlite3* db, const std::string& jobId, const std::string& runId, int number,
                 std::int64_t nowMs) {
    Statement(db, "UPDATE jobs SET status = 'completed', run_id = ?, iteration = ?, finished = ?, "
                  "payload = NULL WHERE id = ? AND status = 'pending'")
        .bind(runId)
        .bind(std::int64_t{number})
        .bind(nowMs)
        .bind(jobId)
        .run();
    // A job that was given up meanwhile has no verdict to take. Thrown before the commit, so that
    // the run just written is undone with it.
    if (sqlite3_changes(db) != 1) throw StoreError("the run store: no such pending job");
}

// Its log gets the mode of the file. What went wrong is told when the file is opened.
void makeOwn(const std::filesystem::path& file) {
    // SQLite would make the file by the process's umask, readable for others as a rule.
    const int fd = open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd >= 0) close(fd);
}

/// While it lives, what another program holds is an error at once.
class NoWaiting {
public:
    explicit NoWaiting(sqlite3* db) : m_db(db) { sqlite3_busy_timeout(m_db, 0); }
    NoWaiting(const NoWaiting&) = delete;
    NoWaiting& operator=(const NoWaiting&) = delete;
    ~NoWaiting() { sqlite3_busy_timeout(m_db, kBusyTimeoutMs); }

private:
    sqlite3* m_db;
};

} // namespace

class SqliteStore::Database {
public:
    explicit Database(const std::filesystem::path& file) {
        // No mutex of SQLite's own: ours has each call, of several statements, take its turn whole.
        const int code = sqlite3_open_v2(file.c_str(), &m_db,
                                         SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE |
                                             SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE,
                                         nullptr);
        try {
            if (code != SQLITE_OK) failWith(m_db, code);
            prepare();
        } catch (...) {
            // A handle is there even when opening failed, and has to be closed like any other.
            sqlite3_close(m_db);
            throw;
        }
    }
    ~Database() { sqlite3_close(m_db); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    [[nodiscard]] sqlite3* handle() const { return m_db; }
    [[nodiscard]] std::unique_lock<std::mutex> lock() { return std::unique_lock(m_mutex); }

private:
    [[nodiscard]] std::int64_t pragma(const char* sql) {
        Statement statement(m_db, sql);
        return statement.step() ? statement.integer(0) : 0;
    }

    void prepare() {
        sqlite3_busy_timeout(m_db, kBusyTimeoutMs);
        const std::int64_t version = pragma("PRAGMA user_version");
        if (version > kSchemaVersion) {
            throw StoreError("the run store was written by a newer trevix-local (format " +
                             std::to_string(version) + ")");
        }
        // 0 is what a file has that no program has marked: a new one.
        const std::int64_t owner = pragma("PRAGMA application_id");
        if (owner != 0 && owner != kApplicationId) {
            throw StoreError("the run store belongs to another program");
        }
        // Space that finished jobs leave behind is handed back; must be set before the first table.
        if (version == 0) execute(m_db, "PRAGMA auto_vacuum = INCREMENTAL");
        Statement(m_db, "PRAGMA journal_mode = WAL").run();
        // In WAL mode anything less than FULL may lose the newest commits with the power, and those
        // were promised. Deleted work is overwritten with zeros, not only forgotten. The log is cut
        // back to 16 MiB after a checkpoint, having grown with a large body.
        execute(m_db, "PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON;"
                      "PRAGMA secure_delete = ON; PRAGMA journal_size_limit = 16777216;");
        checkSound();
        bringUp(version);
        execute(m_db, kClockTable);
    }

    void checkSound() {
        // The quick check reads every page once but compares no index with its table, which would
        // make every start longer. One complaint is enough.
        Statement statement(m_db, "PRAGMA quick_check(1)");
        if (statement.step() && statement.text(0) != "ok") throw Damaged(statement.text(0));
    }

    /// From the format that it has to the one of this program, whole or not at all.
    void bringUp(std::int64_t version) {
        if (version == kSchemaVersion) return;
        Transaction transaction(m_db);
        if (version < 1) execute(m_db, kSchema);
        if (version < 2) execute(m_db, kCoverageColumns);
        if (version < 3) execute(m_db, kWorks);
        execute(m_db, "PRAGMA application_id = " + std::to_string(kApplicationId));
        execute(m_db, "PRAGMA user_version = " + std::to_string(kSchemaVersion));
        transaction.commit();
    }

    sqlite3* m_db = nullptr;
    std::mutex m_mutex;
};

SqliteStore::SqliteStore(std::unique_ptr<Database> database) : m_database(std::move(database)) {}
SqliteStore::~SqliteStore() = default;

SqliteStore::Opened SqliteStore::open(const std::filesystem::path& file, std::int64_t nowMs) {
    for (const char* suffix : {"", "-wal", "-shm"}) {
        // Before SQLite touches any of them: opening the file may already play the log into it.
        if (const auto problem = fileProblem(file.string() + suffix)) throw StoreError(*problem);
    }
    makeOwn(file);
    try {
        return {std::unique_ptr<SqliteStore>(new SqliteStore(std::make_unique<Database>(file))),
                {}};
    } catch (const Damaged& damaged) {
        // The log belongs to the damaged file: left in place it would be played into the new one.
        std::string aside = file.string() + ".damaged-" + std::to_string(nowMs / 1000);
        // Two damaged stores within a second must not replace each other.
        for (int n = 2; std::filesystem::exists(aside); ++n) {
            aside = file.string() + ".damaged-" + std::to_string(nowMs / 1000) + "-" +
                    std::to_string(n);
        }
        for (const char* suffix : {"", "-wal", "-shm"}) {
            std::error_code error;
            // Not every file has a log beside it.
            std::filesystem::rename(file.string() + suffix, aside + suffix, error);
            if (error && error != std::errc::no_such_file_or_directory) {
                throw StoreError(std::string(damaged.what()) +
                                 "; and it cannot be moved aside: " + error.message());
            }
        }
        makeOwn(file);
        return {std::unique_ptr<SqliteStore>(new SqliteStore(std::make_unique<Database>(file))),
                "the run store is damaged (" + std::string(damaged.what()) + "); it was moved to " +
                    aside + " and a new one was begun"};
    }
}

PendingJob SqliteStore::addJob(const std::string& id, JobKind kind, const std::string& runId,
                               std::string_view payload, std::int64_t nowMs) {
    const auto lock = m_database->lock();
    sqlite3* db = m_database->handle();
    // One statement is a transaction of its own: when it returns, the job outlives the service.
    Statement(db, "INSERT INTO jobs (id, kind, status, run_id, created, payload) "
                  "VALUES (?, ?, 'pending', ?, ?, ?)")
        .bind(id)
        .bind(std::string_view(kind == JobKind::grade ? "grade" : "iterate"))
        .bind(runId)
        .bind(nowMs)
        .bindBlob(payload)
        .run();
    // Nobody else inserts over this handle while the lock is held, so it is this job's number.
    return {sqlite3_last_insert_rowid(db), id, kind, runId, payload.size(), 0};
}

std::vector<PendingJob> SqliteStore::pendingJobs() {
    const auto lock = m_database->lock();
    Statement statement(m_database->handle(),
                        "SELECT seq, id, kind, run_id, length(payload), attempts FROM jobs "
                        "WHERE status = 'pending' ORDER BY seq");
    std::vector<PendingJob> jobs;
    while (statement.step()) {
        jobs.push_back({statement.integer(0), statement.text(1),
                        statement.text(2) == "grade" ? JobKind::grade : JobKind::iterate,
                        statement.text(3), static_cast<std::uint64_t>(statement.integer(4)),
                        static_cast<int>(statement.integer(5))});
    }
    return jobs;
}

bool SqliteStore::isPending(const std::string& jobId) {
    const auto lock = m_database->lock();
    Statement statement(m_database->handle(),
                        "SELECT 1 FROM jobs WHERE id = ? AND status = 'pending'");
    statement.bind(jobId);
    return statement.step();
}

std::optional<std::string> SqliteStore::payload(const std::string& jobId) {
    const auto lock = m_database->lock();
    Statement statement(m_database->handle(),
                        "SELECT payload FROM jobs WHERE id = ? AND status = 'pending'");
    statement.bind(jobId);
    if (!statement.step()) return std::nullopt;
    return statement.text(0);
}

int SqliteStore::beginAttempt(const std::string& jobId) {
    const auto lock = m_database->lock();
    Statement statement(m_database->handle(), "UPDATE jobs SET attempts = attempts + 1 "
                                              "WHERE id = ? AND status = 'pending' "
                                              "RETURNING attempts");
    statement.bind(jobId);
    const int attempts = statement.step() ? static_cast<int>(statement.integer(0)) : 0;
    // A statement with RETURNING must be run to its end before it counts as done.
    statement.run();
    return attempts;
}

void SqliteStore::finishGrade(const std::string& jobId, const RunRecord& run,
                              const KeptWork& work) {
    const auto lock = m_database->lock();
    sqlite3* db = m_database->handle();
    Transaction transaction(db);
    Statement(db, "INSERT INTO runs (id, modality, vertical, policy_id) VALUES (?, ?, ?, ?)")
        .bind(run.id)
        .bind(run.modality)
        .bind(run.vertical)
        .bind(run.policyId)
        .run();
    insertIteration(db, run.id, 0, run.iterations.front());
    insertWork(db, run.id, 0, work);
    completeJob(db, jobId, run.id, 0, run.iterations.front().createdMs);
    // Nothing of the job is changed until here, and everything is once this returns.
    transaction.commit();
}

int SqliteStore::finishIterate(const std::string& jobId, const std::string& runId,
                               const Iteration& iteration, const KeptWork& work) {
    const auto lock = m_database->lock();
    sqlite3* db = m_database->handle();
    Transaction transaction(db);
    int number = 0;
    {
        // Numbers have no holes: versions are added one by one and go with their run alone.
        Statement statement(db, "SELECT max(number) + 1 FROM iterations WHERE run_id = ?");
        statement.bind(runId);
        if (!statement.step() || statement.isNull(0)) {
            throw StoreError("the run store: no such run");
        }
        number = static_cast<int>(statement.integer(0));
    }
    insertIteration(db, runId, number, iteration);
    insertWork(db, runId, number, work);
    completeJob(db, jobId, runId, number, iteration.createdMs);
    transaction.commit();
    return number;
}

KeptWork SqliteStore::work(const std::string& runId, int number) {
    const auto lock = m_database->lock();
    Statement statement(m_database->handle(), "SELECT ordinal, is_text, bytes FROM works "
                                              "WHERE run_id = ? AND number = ? ORDER BY ordinal");
    statement.bind(runId).bind(std::int64_t{number});
    KeptWork work;
    while (statement.step()) {
        work.push_back({static_cast<std::size_t>(statement.integer(0)), statement.integer(1) != 0,
                        statement.text(2)});
    }
    return work;
}

std::size_t SqliteStore::dropWork(std::int64_t beforeMs, std::uint64_t mostBytes) {
    const auto lock = m_database->lock();
    sqlite3* db = m_database->handle();
    Transaction transaction(db);
    // A version that is gone has no time, and NULL < ? is not true; but its works went with it.
    Statement(db, "DELETE FROM works WHERE (SELECT created FROM iterations WHERE "
                  "iterations.run_id = works.run_id AND iterations.number = works.number) < ?")
        .bind(beforeMs)
        .run();
    std::size_t dropped = static_cast<std::size_t>(sqlite3_changes(db));
    std::vector<std::int64_t> rows;
    {
        // From the newest on: the budget is spent on what is likeliest to be looked at.
        Statement statement(db, "SELECT works.rowid, length(bytes) FROM works JOIN iterations "
                                "USING (run_id, number) ORDER BY created DESC, works.rowid DESC");
        std::uint64_t together = 0;
        while (statement.step()) {
            together += static_cast<std::uint64_t>(statement.integer(1));
            if (together > mostBytes) rows.push_back(statement.integer(0));
        }
    }
    for (const std::int64_t row : rows) {
        Statement(db, "DELETE FROM works WHERE rowid = ?").bind(row).run();
    }
    dropped += rows.size();
    transaction.commit();
    return dropped;
}

void SqliteStore::failJob(const std::string& jobId, const std::string& error, std::int64_t nowMs) {
    const auto lock = m_database->lock();
    // Without a look at how many rows changed: a job that is over by now keeps its end.
    Statement(m_database->handle(), "UPDATE jobs SET status = 'failed', error = ?, finished = ?, "
                                    "payload = NULL WHERE id = ? AND status = 'pending'")
        .bind(error)
        .bind(nowMs)
        .bind(jobId)
        .run();
}

std::optional<FinishedJob> SqliteStore::finishedJob(const std::string& jobId) {
    const auto lock = m_database->lock();
    Statement statement(m_database->handle(), "SELECT run_id, iteration, error FROM jobs "
                                              "WHERE id = ? AND status <> 'pending'");
    statement.bind(jobId);
    if (!statement.step()) return std::nullopt;
    FinishedJob job;
    // A job of a revision that failed names a run as well, the one that it was to revise. That is
    // no result.
    if (statement.isNull(2)) {
        job.runId = statement.text(0);
    } else {
        job.error = statement.text(2);
    }
    job.iteration = static_cast<int>(statement.integer(1));
    return job;
}

std::optional<RunRecord> SqliteStore::run(const std::string& runId) {
    const auto lock = m_database->lock();
    sqlite3* db = m_database->handle();
    RunRecord run;
    {
        Statement statement(db, "SELECT modality, vertical, policy_id FROM runs WHERE id = ?");
        statement.bind(runId);
        if (!statement.step()) return std::nullopt;
        run = {runId, statement.text(0), statement.text(1), statement.text(2), {}};
    }
    {
        // One question a table: a join would repeat every part for every finding of its version.
        // The lock is held throughout and this service alone writes, so all answers are of one
        // moment.
        Statement statement(db, "SELECT number, created, intent, band, score, words, lines, "
                                "cells, known FROM iterations WHERE run_id = ? ORDER BY number");
        statement.bind(runId);
        while (statement.step()) {
            Iteration iteration;
            if (statement.integer(0) != static_cast<std::int64_t>(run.iterations.size())) {
                throw StoreError("the run store: a version of a run is missing");
            }
            iteration.number = static_cast<int>(statement.integer(0));
            iteration.createdMs = statement.integer(1);
            iteration.intent = statement.text(2);
            iteration.band = bandOf(statement.text(3));
            iteration.score = statement.real(4);
            iteration.extent = {static_cast<std::uint64_t>(statement.integer(5)),
                                static_cast<std::uint64_t>(statement.integer(6)),
                                static_cast<std::uint64_t>(statement.integer(7))};
            iteration.coverage.known = statement.integer(8) != 0;
            if (!std::isfinite(iteration.score)) {
                throw StoreError("the run store: a score that is no number");
            }
            run.iterations.push_back(std::move(iteration));
        }
        if (run.iterations.empty()) throw StoreError("the run store: a run without a verdict");
    }
    {
        Statement statement(db, "SELECT number, name, mime_type, bytes FROM parts "
                                "WHERE run_id = ? ORDER BY number, ordinal");
        statement.bind(runId);
        while (statement.step()) {
            versionOf(run, statement.integer(0))
                .parts.push_back({statement.text(1), statement.text(2),
                                  static_cast<std::uint64_t>(statement.integer(3))});
        }
    }
    {
        Statement statement(db, "SELECT number, checked, subject, version, about FROM coverage "
                                "WHERE run_id = ? ORDER BY number, ordinal");
        statement.bind(runId);
        while (statement.step()) {
            Coverage& coverage = versionOf(run, statement.integer(0)).coverage;
            if (statement.integer(1) != 0) {
                coverage.checked({statement.text(2), statement.text(3), statement.text(4)});
            } else {
                coverage.missed({statement.text(2), statement.text(4), statement.text(3)});
            }
        }
    }
    Statement statement(db, "SELECT number, severity, rule, criterion, place, evidence, detail "
                            "FROM findings WHERE run_id = ? ORDER BY number, ordinal");
    statement.bind(runId);
    while (statement.step()) {
        Finding finding;
        finding.severity = severityOf(statement.integer(1));
        finding.rule = statement.text(2);
        finding.criterion = statement.text(3);
        finding.place = statement.text(4);
        finding.evidence = statement.text(5);
        finding.detail = statement.text(6);
        versionOf(run, statement.integer(0)).findings.push_back(std::move(finding));
    }
    return run;
}

bool SqliteStore::hasRun(const std::string& runId) {
    const auto lock = m_database->lock();
    Statement statement(m_database->handle(), "SELECT 1 FROM runs WHERE id = ?");
    statement.bind(runId);
    return statement.step();
}

bool SqliteStore::believesClock(std::int64_t nowMs) {
    const auto lock = m_database->lock();
    sqlite3* db = m_database->handle();
    Transaction transaction(db);
    // Before anything is in the store there is nothing to be too old: the present is believed.
    ClockTrust before{nowMs, std::nullopt};
    {
        Statement statement(db, "SELECT believed, doubted_first, doubted_last FROM clock");
        if (statement.step()) {
            before.believedMs = statement.integer(0);
            if (!statement.isNull(1)) {
                before.doubted = ClockTrust::Doubted{statement.integer(1), statement.integer(2)};
            }
        } else {
            Statement newest(db, "SELECT max(created) FROM iterations");
            if (newest.step() && !newest.isNull(0)) before.believedMs = newest.integer(0);
        }
    }
    const ClockTrust after = afterReading(before, nowMs);
    Statement note(db, "INSERT OR REPLACE INTO clock (one, believed, doubted_first, doubted_last) "
                       "VALUES (1, ?, ?, ?)");
    note.bind(after.believedMs);
    // Values not bound are NULL: no doubt.
    if (after.doubted) note.bind(after.doubted->firstMs).bind(after.doubted->lastMs);
    note.run();
    transaction.commit();
    return after.believedMs >= nowMs;
}

std::size_t SqliteStore::prune(std::int64_t beforeMs) {
    const auto lock = m_database->lock();
    sqlite3* db = m_database->handle();
    std::size_t deleted = 0;
    {
        Transaction transaction(db);
        // A run is as old as its newest version, and one that is just being revised is not old at
        // all.
        Statement(db, "DELETE FROM runs WHERE "
                      "(SELECT max(created) FROM iterations WHERE run_id = runs.id) < ? AND "
                      "NOT EXISTS (SELECT 1 FROM jobs WHERE run_id = runs.id AND "
                      "status = 'pending')")
            .bind(beforeMs)
            .run();
        deleted = static_cast<std::size_t>(sqlite3_changes(db));
        // A job is forgotten with its run; one that failed has none.
        Statement(db, "DELETE FROM jobs WHERE status <> 'pending' AND finished < ? AND "
                      "NOT EXISTS (SELECT 1 FROM runs WHERE runs.id = jobs.run_id)")
            .bind(beforeMs)
            .run();
        transaction.commit();
    }
    return deleted;
}

void SqliteStore::giveBackRoom() {
    const auto lock = m_database->lock();
    sqlite3* db = m_database->handle();
    std::int64_t unused = 0;
    {
        Statement statement(db, "PRAGMA freelist_count");
        if (statement.step()) unused = statement.integer(0);
    }
    // In the order of these two: moving pages writes to the log, which is then emptied.
    if (unused > kUnusedPagesKept) execute(db, "PRAGMA incremental_vacuum");
    // Without waiting for readers of the file: the log is emptied the next time there is nothing to
    // do.
    const NoWaiting soon(db);
    Statement(db, "PRAGMA wal_checkpoint(TRUNCATE)").run();
}

} // namespace trevix
