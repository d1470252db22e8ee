#include "service/job_queue.h"

#include "service/judge_job.h"
#include "service/store/sqlite_store.h"

#include "tests/service/bodies.h"
#include "tests/service/job_desk_contract.h"
#include "tests/service/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <utility>

#include <sqlite3.h>

namespace trevix {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class OfOneProgram {
public:
    static bool isHere() { return true; }
    std::unique_ptr<RunStore> open() { return SqliteStore::open(file(), 1).store; }
    static std::unique_ptr<JobDesk> start(RunStore& store, QueueOptions options) {
        return std::make_unique<JobQueue>(store, std::move(options));
    }
    [[nodiscard]] std::filesystem::path file() const { return m_folder.path() / "runs.db"; }

private:
    TemporaryFolder m_folder;
};

INSTANTIATE_TYPED_TEST_SUITE_P(OfOneProgram, JobDeskContract, OfOneProgram);

class JobQueueTest : public JobDeskContract<OfOneProgram> {
protected:
    [[nodiscard]] std::filesystem::path file() const { return m_kind.file(); }

    // Whoever reads a stored body from now on cannot.
    void spoilStoredBodies() const {
        sqlite3* other = nullptr;
        ASSERT_EQ(sqlite3_open(file().c_str(), &other), SQLITE_OK);
        sqlite3_busy_timeout(other, 5000);
        ASSERT_EQ(
            sqlite3_exec(other, "UPDATE jobs SET payload = 'spoilt'", nullptr, nullptr, nullptr),
            SQLITE_OK);
        sqlite3_close(other);
    }
};

TEST_F(JobQueueTest, WhatCameThroughTheDoorIsNotReadAgain) {
    start(closedOptions());
    const std::string first = submit("high a: one");
    m_closed->letOnePass();
    const std::string runId = finished(first).runId;
    const std::string held = submit("low b: two");
    m_closed->awaitArrivals(2);
    const std::string waiting = submit("medium c: three");
    auto revision = std::async(std::launch::async, [&] { return iterated(runId, "low d: four"); });
    while (m_store->pendingJobs().size() < 3) std::this_thread::yield();
    spoilStoredBodies();
    m_closed->open();
    EXPECT_EQ(finished(held).result->findings.at(0).evidence, "two");
    EXPECT_EQ(finished(waiting).result->findings.at(0).evidence, "three");
    const auto outcome = revision.get();
    ASSERT_TRUE(std::holds_alternative<Iterated>(outcome));
    EXPECT_EQ(m_closed->judged().back().modality, "text") << "the run's";
}

TEST_F(JobQueueTest, WhatIsTooMuchToHoldWaitsInTheStoreAlone) {
    QueueOptions small = closedOptions();
    small.maxHeldBytes = submitBody("high a: one").size() + 1;
    start(std::move(small));
    submit("running");
    m_closed->awaitArrivals(1);
    const std::string held = submit("high a: one");
    const std::string stored = submit("high b: two");
    m_closed->letOnePass();
    m_closed->awaitArrivals(2); // "high a: one" is being judged: there is room again
    const std::string heldAgain = submit("high c: tri");
    m_closed->letOnePass();
    m_closed->awaitArrivals(3); // "high b: two" has been read
    EXPECT_EQ(m_closed->judged().at(2).parts.at(0).text, "high b: two");
    const std::string storedAgain = submit("high d: for");
    spoilStoredBodies();
    m_closed->open();
    EXPECT_EQ(finished(held).state, JobState::completed);
    EXPECT_EQ(finished(stored).state, JobState::completed);
    EXPECT_EQ(finished(heldAgain).state, JobState::completed);
    EXPECT_EQ(finished(storedAgain).error, "the body is not valid JSON");
}

TEST_F(JobQueueTest, AStoreThatCannotWriteDelaysVerdictsAndLosesNone) {
    start(closedOptions());
    const std::string id = submit("high a: one");
    m_closed->awaitArrivals(1);
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(file().c_str(), &other), SQLITE_OK);
    sqlite3_busy_timeout(other, 5000);
    ASSERT_EQ(sqlite3_exec(other,
                           "CREATE TRIGGER no_space BEFORE INSERT ON runs BEGIN "
                           "SELECT RAISE(ABORT, 'disk is full'); END",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    m_closed->open();
    m_closed->awaitArrivals(kMostAttempts + 2); // a retry is no new attempt
    EXPECT_EQ(m_queue->status(id)->state, JobState::running);
    ASSERT_EQ(sqlite3_exec(other, "DROP TRIGGER no_space", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(other);
    EXPECT_EQ(finished(id).state, JobState::completed);
    EXPECT_THAT(m_log, ElementsAre(HasSubstr("disk is full"))) << "told once";
}

} // namespace
} // namespace trevix
