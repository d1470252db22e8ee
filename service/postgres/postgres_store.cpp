#include "service/postgres/postgres_store.h"

#include "service/postgres/connection_pool.h"
#include "service/postgres/news_listener.h"
#include "service/postgres/schema.h"
#include "service/store/clock_trust.h"
#include "service/store/stored_values.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>
#include <variant>
#include <vector>

namespace trevix {

namespace {

// A program holds the job, so it is not one that waits.
constexpr const char* kWaiting = "(lease_until IS NULL OR lease_until < now())";

// Rows of one statement: one answer for many, and far from the 65,535 values that it may have.
constexpr std::size_t kRowsAtOnce = 1000;
// Runs forgotten in one transaction, so that none lasts for long.
constexpr std::int64_t kForgottenAtOnce = 1000;

std::int64_t number64(std::uint64_t value) {
    return static_cast<std::int64_t>(value);
}

const char* boolean(bool value) {
    return value ? "true" : "false";
}

/// Rows to insert, a few statements for all of them. Casts nothing: each value becomes what its
/// column is.
class Rows {
public:
    Rows(SqlConnection& connection, std::string columns, std::size_t width)
        : m_connection(connection),
          m_columns(std::move(columns)),
          m_width(width) {}

    void add(std::vector<SqlValue> row) {
        for (SqlValue& value : row) m_values.push_back(std::move(value));
        if (m_values.size() >= kRowsAtOnce * m_width) flush();
    }

    void flush() {
        if (m_values.empty()) return;
        std::string sql = "INSERT INTO " + m_columns + " VALUES ";
        for (std::size_t i = 0; i < m_values.size(); ++i) {
            if (i % m_width == 0) sql += i == 0 ? "(" : "), (";
            if (i % m_width != 0) sql += ", ";
            sql += "$" + std::to_string(i + 1);
        }
        m_connection.query(sql + ")", m_values);
        m_values.clear();
    }

private:
    SqlConnection& m_connection;
    const std::string m_columns;
    const std::size_t m_width;
    std::vector<SqlValue> m_values;
};

void insertIteration(SqlConnection& db, const std::string& runId, int versionNumber,
                     const Iteration& it) {
    const std::int64_t number = versionNumber;
    db.query("INSERT INTO iterations (run_id, number, created, intent, band, score, words, lines, "
             "cells, known) VALUES ($1, $2, $3, $4, $5, $6, $7, $8, $9, $10)",
             {runId, number, it.createdMs, it.intent, name(it.band), it.score,
              number64(it.extent.words), number64(it.extent.lines), number64(it.extent.cells),
              boolean(it.coverage.known)});
    std::int64_t ordinal = 0;
    Rows coverage(db, "coverage (run_id, number, ordinal, checked, subject, version, about)", 7);
    for (const CheckedBy& by : it.coverage.checkedBy) {
        coverage.add({runId, number, ordinal++, boolean(true), by.engine, by.version, by.knows});
    }
    // A gap has its remedy where the other has the version.
    for (const NotChecked& gap : it.coverage.notChecked) {
        coverage.add({runId, number, ordinal++, boolean(false), gap.what, gap.remedy, gap.why});
    }
    coverage.flush();
    ordinal = 0;
    Rows parts(db, "parts (run_id, number, ordinal, name, mime_type, bytes)", 6);
    for (const PartSummary& part : it.parts) {
        parts.add({runId, number, ordinal++, part.name, part.mimeType, number64(part.bytes)});
    }
    parts.flush();
    ordinal = 0;
    Rows findings(db,
                  "findings (run_id, number, ordinal, severity, rule, criterion, place, evidence, "
                  "detail)",
                  9);
    for (const Finding& finding : it.findings) {
        findings.add({runId, number, ordinal++, storedSeverity(finding.severity), finding.rule,
                      finding.criterion, finding.place, finding.evidence, finding.detail});
    }
    findings.flush();
}

void insertWork(SqlConnection& db, const std::string& runId, int number, std::int64_t createdMs,
                const KeptWork& work) {
    // In the same transaction as the version that pushes the older one out.
    if (number >= kVersionsWithWork) {
        db.query("DELETE FROM works WHERE run_id = $1 AND number <= $2",
                 {runId, std::int64_t{number} - kVersionsWithWork});
    }
    for (const KeptPart& part : work) {
        db.query("INSERT INTO works (run_id, number, ordinal, created, is_text, bytes) "
                 "VALUES ($1, $2, $3, $4, $5, $6)",
                 {runId, std::int64_t{number}, number64(part.ordinal), createdMs,
                  boolean(part.isText), SqlValue::bytes(part.bytes)});
    }
}

void dropPayload(SqlConnection& db, const std::string& jobId) {
    db.query("DELETE FROM payloads WHERE job_id = $1", {jobId});
    db.query("SELECT pg_notify($1, 'over ' || $2::text)", {kChannel, jobId});
}

void completeJob(SqlConnection& db, const std::string& jobId, const std::string& runId, int number,
                 std::int64_t nowMs) {
    // Whoever comes second finds it no longer pending, and all that it has written is undone.
    const SqlRows rows =
        db.query("UPDATE jobs SET status = 'completed', run_id = $2, iteration = $3, finished = $4 "
                 "WHERE id = $1 AND status = 'pending'",
                 {jobId, runId, std::int64_t{number}, nowMs});
    if (rows.changed() != 1) throw StoreError("the run store: no such pending job");
    dropPayload(db, jobId);
}

PendingJob pendingJob(const SqlRows& rows, std::size_t row) {
    PendingJob job;
    job.sequence = rows.integer(row, 0);
    job.id = rows.text(row, 1);
    job.kind = rows.text(row, 2) == "grade" ? JobKind::grade : JobKind::iterate;
    job.runId = rows.text(row, 3);
    job.bytes = static_cast<std::uint64_t>(rows.integer(row, 4));
    job.attempts = static_cast<int>(rows.integer(row, 5));
    return job;
}

FinishedJob finishedIn(const SqlRows& rows, int runId, int iteration, int error) {
    FinishedJob job;
    // A job of a revision that failed names a run as well, the one that it was to revise. That is
    // no result.
    if (rows.isNull(0, error)) {
        job.runId = rows.text(0, runId);
    } else {
        job.error = rows.text(0, error);
    }
    job.iteration = static_cast<int>(rows.integer(0, iteration));
    return job;
}

// Names in one text: no name has a line feed.
std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : "\n") + name;
    return text;
}

std::vector<std::string> parted(const std::string& text) {
    std::vector<std::string> names;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        names.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return names;
}

class PostgresStore final : public SharedStore {
public:
    explicit PostgresStore(const std::string& address)
        : m_address(address),
          m_pool(address, kMostConnections) {
        const auto db = m_pool.borrow();
        bringUp(*db);
    }

    PendingJob addJob(const std::string& id, JobKind kind, const std::string& runId,
                      std::string_view payload, std::int64_t nowMs) override {
        // Without limits there is always room.
        return std::get<PendingJob>(add({}, {}, id, kind, runId, payload, nowMs));
    }

    std::variant<PendingJob, Refusal> addJobWithin(const WaitingLimits& limits,
                                                   const JobOwner& owner, const std::string& id,
                                                   JobKind kind, const std::string& runId,
                                                   std::string_view payload) override {
        return add(limits, owner, id, kind, runId, payload, std::nullopt);
    }

    std::optional<std::string> groupOfJob(const std::string& jobId) override {
        const SqlRows rows =
            m_pool.borrow()->query("SELECT owner_group FROM jobs WHERE id = $1", {jobId});
        return rows.empty() ? std::nullopt : std::optional(rows.text(0, 0));
    }

    std::optional<std::string> groupOfRun(const std::string& runId) override {
        const SqlRows rows =
            m_pool.borrow()->query("SELECT owner_group FROM runs WHERE id = $1", {runId});
        return rows.empty() ? std::nullopt : std::optional(rows.text(0, 0));
    }

    bool addKey(const TeamKey& key) override {
        const auto ms = [](const std::optional<std::int64_t>& time) {
            return time ? SqlValue(*time) : SqlValue::null();
        };
        return m_pool.borrow()
                   ->query("INSERT INTO keys (name, of_group, digest, scope, created, expires, "
                           "revoked, per_minute, per_day) VALUES ($1, $2, $3, $4, $5, $6, $7, $8, "
                           "$9) ON CONFLICT (name) DO NOTHING",
                           {key.name, key.group, key.digest,
                            key.scope == KeyScope::read ? "read" : "grade", key.createdMs,
                            ms(key.expiresMs), ms(key.revokedMs), key.perMinute, key.perDay})
                   .changed() == 1;
    }

    bool revokeKey(const std::string& name) override {
        return m_pool.borrow()
                   ->query("UPDATE keys SET revoked = floor(extract(epoch FROM now()) * "
                           "1000)::bigint WHERE name = $1 AND revoked IS NULL",
                           {name})
                   .changed() == 1;
    }

    std::vector<TeamKey> keys() override {
        const SqlRows rows =
            m_pool.borrow()->query("SELECT name, of_group, digest, scope, created, expires, "
                                   "revoked, per_minute, per_day FROM keys ORDER BY name");
        const auto ms = [&](std::size_t row, int column) {
            return rows.isNull(row, column) ? std::nullopt
                                            : std::optional(rows.integer(row, column));
        };
        std::vector<TeamKey> keys;
        for (std::size_t row = 0; row < rows.size(); ++row) {
            TeamKey key;
            key.name = rows.text(row, 0);
            key.group = rows.text(row, 1);
            key.digest = rows.text(row, 2);
            // Of what a later program may know, the least.
            key.scope = rows.text(row, 3) == "grade" ? KeyScope::grade : KeyScope::read;
            key.createdMs = rows.integer(row, 4);
            key.expiresMs = ms(row, 5);
            key.revokedMs = ms(row, 6);
            key.perMinute = rows.integer(row, 7);
            key.perDay = rows.integer(row, 8);
            keys.push_back(std::move(key));
        }
        return keys;
    }

    void noteUse(const KeyUse& use) override {
        m_pool.borrow()->query("INSERT INTO uses (key, action, status) VALUES ($1, $2, $3)",
                               {use.key, use.action, std::int64_t{use.status}});
    }

    std::vector<PendingJob> pendingJobs() override {
        const SqlRows rows =
            m_pool.borrow()->query("SELECT seq, id, kind, run_id, bytes, attempts FROM jobs "
                                   "WHERE status = 'pending' ORDER BY seq");
        std::vector<PendingJob> jobs;
        for (std::size_t row = 0; row < rows.size(); ++row) jobs.push_back(pendingJob(rows, row));
        return jobs;
    }

    bool isPending(const std::string& jobId) override {
        return !m_pool.borrow()
                    ->query("SELECT 1 FROM jobs WHERE id = $1 AND status = 'pending'", {jobId})
                    .empty();
    }

    std::optional<std::string> payload(const std::string& jobId) override {
        const SqlRows rows =
            m_pool.borrow()->query("SELECT bytes FROM payloads WHERE job_id = $1", {jobId});
        if (rows.empty()) return std::nullopt;
        return rows.bytes(0, 0);
    }

    int beginAttempt(const std::string& jobId) override {
        const SqlRows rows = m_pool.borrow()->query(
            "UPDATE jobs SET attempts = attempts + 1 WHERE id = $1 RETURNING attempts", {jobId});
        return rows.empty() ? 0 : static_cast<int>(rows.integer(0, 0));
    }

    void finishGrade(const std::string& jobId, const RunRecord& run,
                     const KeptWork& work) override {
        const Iteration& first = run.iterations.front();
        const auto db = m_pool.borrow();
        SqlTransaction transaction(*db);
        // First: where another was faster nothing else is tried.
        completeJob(*db, jobId, run.id, 0, first.createdMs);
        // Whose the job is, the run is.
        db->query("INSERT INTO runs (id, modality, vertical, policy_id, newest, owner_group) "
                  "SELECT $1, $2, $3, $4, $5::bigint, owner_group FROM jobs WHERE id = $6",
                  {run.id, run.modality, run.vertical, run.policyId, first.createdMs, jobId});
        insertIteration(*db, run.id, 0, first);
        insertWork(*db, run.id, 0, first.createdMs, work);
        transaction.commit();
        ++m_completed;
    }

    int finishIterate(const std::string& jobId, const std::string& runId,
                      const Iteration& iteration, const KeptWork& work) override {
        const auto db = m_pool.borrow();
        SqlTransaction transaction(*db);
        // Held until the commit, so that two revisions of one run get two numbers.
        if (db->query("UPDATE runs SET newest = greatest(newest, $2::bigint) WHERE id = $1",
                      {runId, iteration.createdMs})
                .changed() != 1) {
            throw StoreError("the run store: no such run");
        }
        const auto number = static_cast<int>(
            db->query("SELECT max(number) + 1 FROM iterations WHERE run_id = $1", {runId})
                .integer(0, 0));
        completeJob(*db, jobId, runId, number, iteration.createdMs);
        insertIteration(*db, runId, number, iteration);
        insertWork(*db, runId, number, iteration.createdMs, work);
        transaction.commit();
        ++m_completed;
        return number;
    }

    KeptWork work(const std::string& runId, int number) override {
        const SqlRows rows =
            m_pool.borrow()->query("SELECT ordinal, is_text, bytes FROM works "
                                   "WHERE run_id = $1 AND number = $2 ORDER BY ordinal",
                                   {runId, std::int64_t{number}});
        KeptWork work;
        for (std::size_t row = 0; row < rows.size(); ++row) {
            work.push_back({static_cast<std::size_t>(rows.integer(row, 0)), rows.boolean(row, 1),
                            rows.bytes(row, 2)});
        }
        return work;
    }

    std::size_t dropWork(std::int64_t beforeMs, std::uint64_t mostBytes) override {
        const auto db = m_pool.borrow();
        std::size_t dropped =
            db->query("DELETE FROM works WHERE created < $1", {beforeMs}).changed();
        // From the newest on: the room is spent on what is likeliest to be looked at.
        dropped +=
            db->query("DELETE FROM works WHERE seq IN (SELECT seq FROM (SELECT seq, "
                      "sum(length(bytes)) OVER (ORDER BY created DESC, seq DESC) AS together "
                      "FROM works) AS newest_first WHERE together > $1)",
                      {number64(mostBytes)})
                .changed();
        return dropped;
    }

    void failJob(const std::string& jobId, const std::string& error, std::int64_t nowMs) override {
        const auto db = m_pool.borrow();
        SqlTransaction transaction(*db);
        // A job that is over by now keeps its end.
        const bool failed =
            db->query("UPDATE jobs SET status = 'failed', error = $2, finished = $3 "
                      "WHERE id = $1 AND status = 'pending'",
                      {jobId, error, nowMs})
                .changed() == 1;
        if (failed) dropPayload(*db, jobId);
        transaction.commit();
        if (failed) ++m_failed;
    }

    std::optional<FinishedJob> finishedJob(const std::string& jobId) override {
        const SqlRows rows = m_pool.borrow()->query("SELECT run_id, iteration, error FROM jobs "
                                                    "WHERE id = $1 AND status <> 'pending'",
                                                    {jobId});
        if (rows.empty()) return std::nullopt;
        return finishedIn(rows, 0, 1, 2);
    }

    std::optional<RunRecord> run(const std::string& runId) override {
        const auto db = m_pool.borrow();
        // All answers are of one moment, whoever writes meanwhile.
        SqlTransaction transaction(*db, "ISOLATION LEVEL REPEATABLE READ READ ONLY");
        RunRecord run;
        {
            const SqlRows rows =
                db->query("SELECT modality, vertical, policy_id FROM runs WHERE id = $1", {runId});
            if (rows.empty()) return std::nullopt;
            run = {runId, rows.text(0, 0), rows.text(0, 1), rows.text(0, 2), {}};
        }
        readIterations(*db, run);
        readParts(*db, run);
        readCoverage(*db, run);
        readFindings(*db, run);
        transaction.commit();
        return run;
    }

    bool hasRun(const std::string& runId) override {
        return !m_pool.borrow()->query("SELECT 1 FROM runs WHERE id = $1", {runId}).empty();
    }

    bool believesClock(std::int64_t nowMs) override {
        const auto db = m_pool.borrow();
        SqlTransaction transaction(*db);
        // Whoever else asks in this moment reads what this one writes.
        db->query("LOCK TABLE clock IN SHARE ROW EXCLUSIVE MODE");
        ClockTrust before{nowMs, std::nullopt};
        {
            const SqlRows rows =
                db->query("SELECT believed, doubted_first, doubted_last FROM clock");
            if (!rows.empty()) {
                before.believedMs = rows.integer(0, 0);
                if (!rows.isNull(0, 1)) {
                    before.doubted = ClockTrust::Doubted{rows.integer(0, 1), rows.integer(0, 2)};
                }
            } else {
                const SqlRows newest = db->query("SELECT max(newest) FROM runs");
                if (!newest.isNull(0, 0)) before.believedMs = newest.integer(0, 0);
            }
        }
        const ClockTrust after = afterReading(before, nowMs);
        const auto doubted = [&](std::int64_t ClockTrust::Doubted::*which) {
            return after.doubted ? SqlValue((*after.doubted).*which) : SqlValue::null();
        };
        db->query("INSERT INTO clock (one, believed, doubted_first, doubted_last) "
                  "VALUES (1, $1, $2, $3) ON CONFLICT (one) DO UPDATE SET believed = "
                  "excluded.believed, doubted_first = excluded.doubted_first, doubted_last = "
                  "excluded.doubted_last",
                  {after.believedMs, doubted(&ClockTrust::Doubted::firstMs),
                   doubted(&ClockTrust::Doubted::lastMs)});
        transaction.commit();
        return after.believedMs >= nowMs;
    }

    std::size_t prune(std::int64_t beforeMs) override {
        const auto db = m_pool.borrow();
        std::size_t deleted = 0;
        while (true) {
            const std::size_t now =
                db->query("DELETE FROM runs WHERE id IN (SELECT id FROM runs WHERE newest < $1 AND "
                          "NOT EXISTS (SELECT 1 FROM jobs WHERE jobs.run_id = runs.id AND "
                          "status = 'pending' AND kind = 'iterate') ORDER BY newest LIMIT $2 "
                          "FOR UPDATE SKIP LOCKED)",
                          {beforeMs, kForgottenAtOnce})
                    .changed();
            deleted += now;
            if (now == 0) break;
        }
        while (db->query("DELETE FROM uses WHERE ctid IN (SELECT ctid FROM uses WHERE "
                         "at < to_timestamp($1::bigint / 1000.0) LIMIT $2)",
                         {beforeMs, kForgottenAtOnce})
                   .changed() > 0) {
        }
        // A job is forgotten with its run; one that failed has none.
        while (db->query("DELETE FROM jobs WHERE id IN (SELECT id FROM jobs WHERE "
                         "status <> 'pending' AND finished < $1 AND NOT EXISTS (SELECT 1 FROM runs "
                         "WHERE runs.id = jobs.run_id) ORDER BY finished LIMIT $2)",
                         {beforeMs, kForgottenAtOnce})
                   .changed() > 0) {
        }
        return deleted;
    }

    void giveBackRoom() override {} // The database vacuums by itself.

    std::int64_t nowMs() override {
        return m_pool.borrow()
            ->query("SELECT floor(extract(epoch FROM clock_timestamp()) * 1000)::bigint")
            .integer(0, 0);
    }

    std::optional<TakenJob> take(const std::string& worker, std::chrono::milliseconds lease,
                                 int inTurn) override {
        // Of programs that ask in the same moment each gets another one, and none waits. A job that
        // this program held and whose lease ran out is still being judged by it.
        const SqlRows rows = m_pool.borrow()->query(
            std::string("UPDATE jobs SET worker = $1, attempts = attempts + 1, done = 0, "
                        "of_all = 0, at_work = '', lease_until = now() + $2::bigint * interval "
                        "'1 millisecond' WHERE seq = (SELECT seq FROM jobs WHERE "
                        "status = 'pending' AND ") +
                kWaiting +
                " AND worker IS DISTINCT FROM $1 ORDER BY attempts >= $3::integer, seq FOR UPDATE "
                "SKIP LOCKED LIMIT 1) "
                "RETURNING seq, id, kind, run_id, bytes, attempts, cancel_asked",
            {worker, std::int64_t{lease.count()}, std::int64_t{inTurn}});
        if (rows.empty()) return std::nullopt;
        return TakenJob{pendingJob(rows, 0), rows.boolean(0, 6)};
    }

    Lease renew(const std::string& jobId, const std::string& worker,
                std::chrono::milliseconds lease, const GradingProgress& progress) override {
        // A lease that has run out is held again as long as nobody else took the job.
        const SqlRows rows = m_pool.borrow()->query(
            "UPDATE jobs SET lease_until = now() + $3::bigint * interval '1 millisecond', "
            "done = $4, of_all = $5, at_work = $6 "
            "WHERE id = $1 AND worker = $2 AND status = 'pending' RETURNING cancel_asked",
            {jobId, worker, std::int64_t{lease.count()}, number64(progress.done),
             number64(progress.of), joined(progress.running)});
        if (rows.empty()) return Lease::lost;
        return rows.boolean(0, 0) ? Lease::cancelled : Lease::held;
    }

    std::optional<JobStanding> standing(const std::string& jobId, int inTurn) override {
        const SqlRows rows = m_pool.borrow()->query(
            "SELECT j.status, coalesce(j.lease_until >= now(), false), "
            "CASE WHEN j.status = 'pending' THEN (SELECT count(*) FROM jobs AS o WHERE "
            "o.status = 'pending' AND o.seq <> j.seq AND (coalesce(o.lease_until >= now(), false) "
            "OR (o.attempts >= $2::integer, o.seq) < (j.attempts >= $2::integer, j.seq))) END, "
            "j.done, j.of_all, j.at_work, j.run_id, j.iteration, j.error, "
            "EXISTS (SELECT 1 FROM workers WHERE ready AND until >= now()) "
            "FROM jobs AS j WHERE j.id = $1",
            {jobId, std::int64_t{inTurn}});
        if (rows.empty()) return std::nullopt;
        JobStanding standing;
        standing.hasWorkers = rows.boolean(0, 9);
        const std::string status = rows.text(0, 0);
        if (status != "pending") {
            standing.state = status == "failed" ? JobState::failed : JobState::completed;
            standing.finished = finishedIn(rows, 6, 7, 8);
        } else if (rows.boolean(0, 1)) {
            standing.state = JobState::running;
            standing.progress = {static_cast<std::size_t>(rows.integer(0, 3)),
                                 static_cast<std::size_t>(rows.integer(0, 4)),
                                 parted(rows.text(0, 5))};
        } else {
            standing.position = static_cast<std::size_t>(rows.integer(0, 2));
        }
        return standing;
    }

    Cancelled cancel(const std::string& jobId, const std::string& error) override {
        const auto db = m_pool.borrow();
        SqlTransaction transaction(*db);
        // Taken by somebody in this very moment it is held, and who holds it is asked below.
        if (db->query(std::string("UPDATE jobs SET status = 'failed', error = $2, finished = "
                                  "floor(extract(epoch FROM now()) * 1000)::bigint "
                                  "WHERE id = $1 AND status = 'pending' AND ") +
                          kWaiting,
                      {jobId, error})
                .changed() == 1) {
            dropPayload(*db, jobId);
            transaction.commit();
            ++m_failed;
            return Cancelled::done;
        }
        if (db->query("UPDATE jobs SET cancel_asked = true WHERE id = $1 AND status = 'pending'",
                      {jobId})
                .changed() == 1) {
            db->query("SELECT pg_notify($1, 'cancel ' || $2::text)", {kChannel, jobId});
            transaction.commit();
            return Cancelled::asked;
        }
        return db->query("SELECT 1 FROM jobs WHERE id = $1", {jobId}).empty() ? Cancelled::noSuchJob
                                                                              : Cancelled::over;
    }

    void tellOfWorker(const std::string& worker, bool isReady,
                      std::chrono::milliseconds believed) override {
        m_pool.borrow()->query("INSERT INTO workers (id, ready, until) VALUES ($1, $2, now() + "
                               "$3::bigint * interval '1 millisecond') ON CONFLICT (id) DO UPDATE "
                               "SET ready = excluded.ready, until = excluded.until",
                               {worker, boolean(isReady), std::int64_t{believed.count()}});
        // Those that never said that they went.
        m_pool.borrow()->query("DELETE FROM workers WHERE until < now() - interval '1 hour'");
    }

    void forgetWorker(const std::string& worker) override {
        m_pool.borrow()->query("DELETE FROM workers WHERE id = $1", {worker});
    }

    bool hasWorkers() override {
        return m_pool.borrow()
            ->query("SELECT EXISTS (SELECT 1 FROM workers WHERE ready AND until >= now())")
            .boolean(0, 0);
    }

    StoreFigures figures() override {
        const SqlRows rows = m_pool.borrow()->query(
            std::string("SELECT count(*) FILTER (WHERE free), count(*) FILTER (WHERE NOT free), "
                        "coalesce(greatest(0, floor(extract(epoch FROM now()) * 1000)::bigint - "
                        "min(created) FILTER (WHERE free)), 0), "
                        "(SELECT count(*) FROM workers WHERE ready AND until >= now()), "
                        "(SELECT count(*) FROM workers WHERE NOT ready AND until >= now()) "
                        "FROM (SELECT created, ") +
            kWaiting + " AS free FROM jobs WHERE status = 'pending') AS pending");
        const auto count = [&](int column) {
            return static_cast<std::uint64_t>(rows.integer(0, column));
        };
        return {count(0), count(1), std::chrono::milliseconds(rows.integer(0, 2)), count(3),
                count(4)};
    }

    StoreCounts counts() const override { return {m_completed, m_failed, m_pool.errors()}; }

    void listen(std::function<void(const StoreNews&)> news) override {
        const std::lock_guard lock(m_listening);
        m_listener.reset();
        if (news) m_listener = std::make_unique<NewsListener>(m_address, std::move(news));
    }

private:
    std::variant<PendingJob, Refusal> add(const std::optional<WaitingLimits>& limits,
                                          const JobOwner& owner, const std::string& id,
                                          JobKind kind, const std::string& runId,
                                          std::string_view payload,
                                          std::optional<std::int64_t> nowMs) {
        // Below zero there is no limit.
        const std::int64_t jobs = limits ? number64(limits->jobs) : -1;
        const std::int64_t bytes = limits ? number64(limits->bytes) : -1;
        // One statement is a transaction of its own: when it returns, the job outlives the service.
        const SqlRows rows = m_pool.borrow()->query(
            std::string(
                "WITH asked AS (SELECT coalesce($4::bigint, floor(extract(epoch FROM now()) * "
                "1000)::bigint) AS at), allowed AS (SELECT "
                "$6::bigint < 0 OR (SELECT count(*) < $6::bigint AND coalesce(sum(bytes), 0) + "
                "$5::bigint <= $7::bigint FROM jobs WHERE status = 'pending' AND ") +
                kWaiting +
                ") AS has_room, "
                "$12::bigint = 0 OR (SELECT count(*) FROM jobs, asked WHERE owner_key = $11 AND "
                "created > asked.at - 86400000) < $12::bigint AS has_quota), "
                "added AS (INSERT INTO jobs (id, kind, run_id, created, bytes, owner_group, "
                "owner_key) SELECT $1, $2, $3, asked.at, $5::bigint, $10, $11 FROM asked, allowed "
                "WHERE has_room AND has_quota RETURNING seq, id), "
                "kept AS (INSERT INTO payloads (job_id, bytes) SELECT id, $8::bytea FROM added) "
                "SELECT has_quota, told.* FROM allowed LEFT JOIN "
                "(SELECT seq, pg_notify($9, 'came') FROM added) AS told ON true",
            {id, kind == JobKind::grade ? "grade" : "iterate", runId,
             nowMs ? SqlValue(*nowMs) : SqlValue::null(), number64(payload.size()), jobs, bytes,
             SqlValue::bytes(payload), kChannel, owner.group, owner.key, owner.perDay});
        if (rows.isNull(0, 1)) return rows.boolean(0, 0) ? Refusal::full : Refusal::quota;
        return PendingJob{rows.integer(0, 1), id, kind, runId, payload.size(), 0};
    }

    // Numbers of versions are indices: versions have no holes. at() throws where the database says
    // otherwise.
    static void readIterations(SqlConnection& db, RunRecord& run) {
        const SqlRows rows =
            db.query("SELECT number, created, intent, band, score, words, lines, cells, known "
                     "FROM iterations WHERE run_id = $1 ORDER BY number",
                     {run.id});
        for (std::size_t row = 0; row < rows.size(); ++row) {
            Iteration iteration;
            iteration.number = static_cast<int>(rows.integer(row, 0));
            iteration.createdMs = rows.integer(row, 1);
            iteration.intent = rows.text(row, 2);
            iteration.band = bandOf(rows.text(row, 3));
            iteration.score = rows.real(row, 4);
            iteration.extent = {static_cast<std::uint64_t>(rows.integer(row, 5)),
                                static_cast<std::uint64_t>(rows.integer(row, 6)),
                                static_cast<std::uint64_t>(rows.integer(row, 7))};
            iteration.coverage.known = rows.boolean(row, 8);
            run.iterations.push_back(std::move(iteration));
        }
    }

    static void readParts(SqlConnection& db, RunRecord& run) {
        const SqlRows rows = db.query("SELECT number, name, mime_type, bytes FROM parts "
                                      "WHERE run_id = $1 ORDER BY number, ordinal",
                                      {run.id});
        for (std::size_t row = 0; row < rows.size(); ++row) {
            versionOf(run, rows.integer(row, 0))
                .parts.push_back({rows.text(row, 1), rows.text(row, 2),
                                  static_cast<std::uint64_t>(rows.integer(row, 3))});
        }
    }

    static void readCoverage(SqlConnection& db, RunRecord& run) {
        const SqlRows rows =
            db.query("SELECT number, checked, subject, version, about FROM coverage "
                     "WHERE run_id = $1 ORDER BY number, ordinal",
                     {run.id});
        for (std::size_t row = 0; row < rows.size(); ++row) {
            Coverage& coverage = versionOf(run, rows.integer(row, 0)).coverage;
            if (rows.boolean(row, 1)) {
                coverage.checked({rows.text(row, 2), rows.text(row, 3), rows.text(row, 4)});
            } else {
                coverage.missed({rows.text(row, 2), rows.text(row, 4), rows.text(row, 3)});
            }
        }
    }

    static void readFindings(SqlConnection& db, RunRecord& run) {
        const SqlRows rows =
            db.query("SELECT number, severity, rule, criterion, place, evidence, detail "
                     "FROM findings WHERE run_id = $1 ORDER BY number, ordinal",
                     {run.id});
        for (std::size_t row = 0; row < rows.size(); ++row) {
            Finding finding;
            finding.severity = severityOf(rows.integer(row, 1));
            finding.rule = rows.text(row, 2);
            finding.criterion = rows.text(row, 3);
            finding.place = rows.text(row, 4);
            finding.evidence = rows.text(row, 5);
            finding.detail = rows.text(row, 6);
            versionOf(run, rows.integer(row, 0)).findings.push_back(std::move(finding));
        }
    }

    const std::string m_address;
    ConnectionPool m_pool;
    std::atomic<std::uint64_t> m_completed = 0;
    std::atomic<std::uint64_t> m_failed = 0;
    std::mutex m_listening;
    std::unique_ptr<NewsListener> m_listener; // last: it ends before what it tells of
};

} // namespace

std::unique_ptr<SharedStore> openPostgresStore(const std::string& address) {
    return std::make_unique<PostgresStore>(address);
}

} // namespace trevix
