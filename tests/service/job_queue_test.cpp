#include "service/job_queue.h"

#include "service/judge_job.h"
#include "service/store/sqlite_store.h"

#include "tests/service/bodies.h"
#include "tests/service/gated_critic.h"
#include "tests/service/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <set>
#include <sqlite3.h>
#include <stdexcept>
#include <utility>

namespace trevix {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class JobQueueTest : public testing::Test {
protected:
    JobQueueTest() : m_store(openStore()) {}
    ~JobQueueTest() override {
        m_critic.open();
        m_queue.reset();
    }

    [[nodiscard]] std::filesystem::path file() const { return m_folder.path() / "runs.db"; }
    std::unique_ptr<RunStore> openStore() { return SqliteStore::open(file(), 1).store; }

    QueueOptions options() {
        QueueOptions options;
        options.critic = [this](const auto&... asked) { return m_critic(asked...); };
        options.warmUp = [] {};
        options.nowMs = [this] { return m_now.load(); };
        options.storeRetry = std::chrono::milliseconds(2);
        options.log = [this](const std::string& line) {
            const std::lock_guard lock(m_logMutex);
            m_log.push_back(line);
        };
        return options;
    }

    JobQueue& start(QueueOptions options) {
        m_queue = std::make_unique<JobQueue>(*m_store, std::move(options));
        return *m_queue;
    }
    JobQueue& start() { return start(options()); }

    // As after a crash: whatever was being graded never got to its end.
    void restart() {
        m_queue.reset();
        m_store.reset();
        m_store = openStore();
        start();
    }

    // As the door does it: read once, handed on with the bytes.
    JobQueue::Submitted submitted(const std::string& text) {
        const std::string body = submitBody(text);
        return m_queue->submit(std::get<SubmitRequest>(parseSubmit(body)), body);
    }
    JobQueue::IterateOutcome iterated(const std::string& runId, const std::string& text) {
        const std::string body = iterateBody(text);
        return m_queue->iterate(runId, std::get<IterateRequest>(parseIterate(body)), body);
    }

    std::string submit(const std::string& text) {
        const auto outcome = submitted(text);
        EXPECT_TRUE(std::holds_alternative<Accepted>(outcome));
        return std::holds_alternative<Accepted>(outcome) ? std::get<Accepted>(outcome).jobId : "";
    }

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

    JobStatus finished(const std::string& jobId) {
        while (true) {
            const auto status = m_queue->status(jobId);
            if (!status) {
                ADD_FAILURE() << "no such job";
                return {};
            }
            if (status->state == JobState::completed || status->state == JobState::failed) {
                return *status;
            }
            std::this_thread::yield();
        }
    }

    TemporaryFolder m_folder;
    std::atomic<std::int64_t> m_now{1'000};
    GatedCritic m_critic{true};
    std::mutex m_logMutex;
    std::vector<std::string> m_log;
    std::unique_ptr<RunStore> m_store;
    std::unique_ptr<JobQueue> m_queue;
};

class ClosedJobQueueTest : public JobQueueTest {
protected:
    ClosedJobQueueTest() { m_closed = std::make_unique<GatedCritic>(false); }
    ~ClosedJobQueueTest() override {
        m_closed->open();
        m_queue.reset();
    }
    QueueOptions closedOptions() {
        QueueOptions made = options();
        made.critic = [this](const auto&... asked) { return (*m_closed)(asked...); };
        return made;
    }
    std::unique_ptr<GatedCritic> m_closed;
};

TEST_F(JobQueueTest, AJobIsJudgedByTheCritics) {
    start();
    const JobStatus status = finished(submit("high text.placeholder: TODO"));
    EXPECT_EQ(status.state, JobState::completed);
    EXPECT_FALSE(status.warming);
    ASSERT_TRUE(status.result);
    EXPECT_EQ(status.result->band, Band::route_to_fix);
    EXPECT_EQ(status.result->score, 0.8);
    EXPECT_EQ(status.result->createdMs, 1000);
    ASSERT_THAT(status.result->findings, SizeIs(1));
    EXPECT_EQ(status.result->findings[0].evidence, "TODO");
    const auto run = m_store->run(status.runId);
    ASSERT_TRUE(run);
    EXPECT_EQ(run->modality, "text");
    EXPECT_EQ(run->iterations.front().parts,
              (std::vector<PartSummary>{{"selection", "text/plain", 27}}));
}

TEST_F(JobQueueTest, UnknownIdsHaveNoStatus) {
    start();
    EXPECT_EQ(m_queue->status("job_none"), std::nullopt);
    EXPECT_EQ(m_queue->status(""), std::nullopt);
}

TEST_F(JobQueueTest, IdsAreLongAndSafeInAnAddress) {
    start();
    const std::string id = submit("x");
    EXPECT_EQ(id.size(), 4U + 32U);
    EXPECT_EQ(id.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_"), std::string::npos);
    EXPECT_THAT(finished(id).runId, SizeIs(36));
}

TEST_F(ClosedJobQueueTest, JobsAreJudgedOneByOneInTheirOrder) {
    start(closedOptions());
    std::vector<std::string> ids;
    for (const char* text : {"first", "second", "third"}) ids.push_back(submit(text));
    m_closed->awaitArrivals(1);
    EXPECT_EQ(m_queue->status(ids[0])->state, JobState::running);
    EXPECT_EQ(m_queue->status(ids[0])->position, 0U);
    EXPECT_EQ(m_queue->status(ids[1])->state, JobState::queued);
    EXPECT_EQ(m_queue->status(ids[1])->position, 1U);
    EXPECT_EQ(m_queue->status(ids[2])->position, 2U);
    EXPECT_THAT(m_closed->judged(), SizeIs(1)) << "one at a time";

    m_closed->letOnePass();
    m_closed->awaitArrivals(2);
    EXPECT_EQ(finished(ids[0]).state, JobState::completed);
    EXPECT_EQ(m_queue->status(ids[2])->position, 1U);
    m_closed->open();
    finished(ids[2]);
    std::vector<std::string> order;
    for (const Submission& work : m_closed->judged()) order.push_back(work.parts[0].text);
    EXPECT_THAT(order, ElementsAre("first", "second", "third"));
}

TEST_F(ClosedJobQueueTest, SeveralJobsAreJudgedAtOnce) {
    QueueOptions two = closedOptions();
    two.atOnce = 2;
    start(std::move(two));
    std::vector<std::string> ids;
    for (const char* text : {"first", "second", "third"}) ids.push_back(submit(text));
    m_closed->awaitArrivals(2);
    EXPECT_EQ(m_queue->status(ids[0])->state, JobState::running);
    EXPECT_EQ(m_queue->status(ids[1])->state, JobState::running);
    EXPECT_EQ(m_queue->status(ids[2])->state, JobState::queued);
    EXPECT_EQ(m_queue->status(ids[2])->position, 2U);
    m_closed->open();
    for (const std::string& id : ids) EXPECT_EQ(finished(id).state, JobState::completed);
}

TEST_F(ClosedJobQueueTest, ProgressIsToldWhileAJobIsJudged) {
    start(closedOptions());
    const std::string id = submit("work");
    m_closed->awaitArrivals(1);
    EXPECT_EQ(m_queue->status(id)->progress, (GradingProgress{0, 1, {"gate"}}));
    m_closed->open();
    EXPECT_EQ(finished(id).progress, GradingProgress{});
}

TEST_F(ClosedJobQueueTest, AJobThatIsBeingJudgedIsCancelled) {
    start(closedOptions());
    const std::string running = submit("running");
    const std::string waiting = submit("waiting");
    m_closed->awaitArrivals(1);
    EXPECT_EQ(m_queue->cancel(running), JobQueue::Cancelled::done);
    const JobStatus status = finished(running);
    EXPECT_EQ(status.state, JobState::failed);
    EXPECT_EQ(status.error, "the job was cancelled");
    m_closed->open();
    EXPECT_EQ(finished(waiting).state, JobState::completed);
}

TEST_F(ClosedJobQueueTest, AJobThatWaitsIsCancelledAtOnceAndForGood) {
    QueueOptions small = closedOptions();
    small.maxWaiting = 1;
    start(std::move(small));
    submit("running");
    m_closed->awaitArrivals(1);
    const std::string waiting = submit("waiting");
    EXPECT_EQ(m_queue->cancel(waiting), JobQueue::Cancelled::done);
    EXPECT_EQ(m_queue->status(waiting)->error, "the job was cancelled");
    submit("there is room again");
    EXPECT_FALSE(m_store->isPending(waiting));
    m_closed->open();
}

TEST_F(ClosedJobQueueTest, ARevisionThatIsCancelledReturnsToWhoWaits) {
    start(closedOptions());
    const std::string first = submit("first");
    m_closed->letOnePass();
    const std::string runId = finished(first).runId;
    auto revision = std::async(std::launch::async, [&] { return iterated(runId, "revised"); });
    m_closed->awaitArrivals(2);
    EXPECT_EQ(m_queue->cancel(m_store->pendingJobs().at(0).id), JobQueue::Cancelled::done);
    const auto outcome = revision.get();
    ASSERT_TRUE(std::holds_alternative<JudgingFailed>(outcome));
    EXPECT_EQ(std::get<JudgingFailed>(outcome).error, "the job was cancelled");
    EXPECT_THAT(m_store->run(runId)->iterations, SizeIs(1));
}

TEST_F(JobQueueTest, WhatIsOverOrUnknownIsNotCancelled) {
    start();
    const std::string id = submit("work");
    finished(id);
    EXPECT_EQ(m_queue->cancel(id), JobQueue::Cancelled::over);
    EXPECT_EQ(finished(id).state, JobState::completed);
    EXPECT_EQ(m_queue->cancel("job_none"), JobQueue::Cancelled::noSuchJob);
}

TEST_F(JobQueueTest, TheVerdictSaysWhoJudged) {
    start();
    const std::string runId = finished(submit("work")).runId;
    const auto run = m_store->run(runId);
    ASSERT_TRUE(run);
    EXPECT_TRUE(run->latest().coverage.known);
    EXPECT_EQ(run->latest().coverage.checkedBy,
              (std::vector<CheckedBy>{{"gate", "1", "what it was told"}}));
}

TEST_F(ClosedJobQueueTest, AFullQueueTakesNothing) {
    QueueOptions small = closedOptions();
    small.maxWaiting = 2;
    start(std::move(small));
    const std::string running = submit("running");
    m_closed->awaitArrivals(1);
    submit("waiting 1");
    submit("waiting 2");
    EXPECT_TRUE(std::holds_alternative<QueueFull>(submitted("too many")));
    m_closed->letOnePass();
    m_closed->awaitArrivals(2);
    submit("fits again");
}

TEST_F(ClosedJobQueueTest, ManyBytesFillTheQueueToo) {
    QueueOptions small = closedOptions();
    small.maxWaitingBytes = 1000;
    start(std::move(small));
    submit("running");
    m_closed->awaitArrivals(1);
    EXPECT_TRUE(std::holds_alternative<QueueFull>(submitted(std::string(2000, 'x'))));
    submit("small");
}

TEST_F(ClosedJobQueueTest, WhatCameThroughTheDoorIsNotReadAgain) {
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

TEST_F(ClosedJobQueueTest, WhatIsTooMuchToHoldWaitsInTheStoreAlone) {
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

TEST_F(JobQueueTest, WarmingIsToldUntilTheCriticsAreReady) {
    std::promise<void> ready;
    QueueOptions slow = options();
    slow.warmUp = [&] { ready.get_future().wait(); };
    start(std::move(slow));
    const std::string id = submit("x");
    EXPECT_TRUE(m_queue->isWarming());
    const auto status = m_queue->status(id);
    EXPECT_EQ(status->state, JobState::queued);
    EXPECT_TRUE(status->warming);
    EXPECT_THAT(m_critic.judged(), SizeIs(0));
    ready.set_value();
    EXPECT_FALSE(finished(id).warming);
    EXPECT_FALSE(m_queue->isWarming());
}

TEST_F(JobQueueTest, AWarmUpThatFailsIsToldAndTheServiceGoesOn) {
    QueueOptions failing = options();
    failing.warmUp = [] { throw std::runtime_error("no tables"); };
    start(std::move(failing));
    EXPECT_EQ(finished(submit("x")).state, JobState::completed);
    EXPECT_THAT(m_log, ElementsAre(HasSubstr("no tables")));
}

TEST_F(JobQueueTest, ACriticThatThrowsFailsItsJobOnly) {
    start();
    const std::string bad = submit("throw");
    const std::string good = submit("fine");
    const JobStatus status = finished(bad);
    EXPECT_EQ(status.state, JobState::failed);
    EXPECT_EQ(status.error, "the critics could not judge this work: the critic stumbled");
    EXPECT_EQ(status.result, std::nullopt);
    EXPECT_EQ(finished(good).state, JobState::completed);
}

TEST_F(JobQueueTest, ARevisionIsComparedWithTheVersionBefore) {
    start();
    const std::string runId = finished(submit("high a: one\nmedium b: two\nlow c: three")).runId;
    const auto outcome = iterated(runId, "a new line\nmedium b: two\nlow d: four");
    ASSERT_TRUE(std::holds_alternative<Iterated>(outcome));
    const auto& [run, number] = std::get<Iterated>(outcome);
    EXPECT_EQ(number, 1);
    ASSERT_THAT(run.iterations, SizeIs(2));
    EXPECT_EQ(run.iterations[1].number, 1);
    EXPECT_EQ(run.iterations[1].band, Band::ship);
    ASSERT_THAT(run.iterations[1].findings, SizeIs(2));
    EXPECT_EQ(m_critic.judged().back().modality, "text") << "the run's";
}

TEST_F(JobQueueTest, ARevisionOfNoRunIsTurnedAway) {
    start();
    EXPECT_TRUE(std::holds_alternative<NoSuchRun>(iterated("run_none", "x")));
    EXPECT_THAT(m_store->pendingJobs(), SizeIs(0));
}

TEST_F(JobQueueTest, ARevisionThatCannotBeJudgedLeavesTheRunAsItWas) {
    start();
    const std::string runId = finished(submit("x")).runId;
    const auto outcome = iterated(runId, "throw");
    ASSERT_TRUE(std::holds_alternative<JudgingFailed>(outcome));
    EXPECT_THAT(std::get<JudgingFailed>(outcome).error, HasSubstr("stumbled"));
    EXPECT_THAT(m_store->run(runId)->iterations, SizeIs(1));
}

TEST_F(ClosedJobQueueTest, ARevisionWaitsItsTurn) {
    start(closedOptions());
    const std::string first = submit("first");
    m_closed->letOnePass();
    const std::string runId = finished(first).runId;
    const std::string second = submit("second");
    m_closed->awaitArrivals(2);
    auto revision = std::async(std::launch::async, [&] { return iterated(runId, "revised"); });
    while (m_store->pendingJobs().size() < 2) std::this_thread::yield();
    EXPECT_EQ(m_queue->status(second)->state, JobState::running);
    m_closed->open();
    EXPECT_TRUE(std::holds_alternative<Iterated>(revision.get()));
    EXPECT_EQ(m_closed->judged()[1].parts[0].text, "second");
    EXPECT_EQ(m_closed->judged()[2].parts[0].text, "revised");
}

TEST_F(ClosedJobQueueTest, StoppingReturnsThoseWhoWaitAndKeepsTheirWork) {
    start(closedOptions());
    const std::string first = submit("first");
    m_closed->letOnePass();
    const std::string runId = finished(first).runId;
    const std::string running = submit("running");
    m_closed->awaitArrivals(2);
    auto revision = std::async(std::launch::async, [&] { return iterated(runId, "revised"); });
    while (m_store->pendingJobs().size() < 2) std::this_thread::yield();
    auto stopped = std::async(std::launch::async, [&] { m_queue->stop(); });
    EXPECT_TRUE(std::holds_alternative<QueueStopped>(revision.get()));
    m_closed->open();
    stopped.get();
    EXPECT_TRUE(std::holds_alternative<QueueStopped>(submitted("late")));
    EXPECT_EQ(m_queue->status(running)->state, JobState::completed) << "the one under way ended";

    restart();
    while (!m_store->pendingJobs().empty()) std::this_thread::yield();
    EXPECT_THAT(m_store->run(runId)->iterations, SizeIs(2)) << "taken, so judged";
}

TEST_F(JobQueueTest, WhatWaitedBeforeARestartIsJudgedAfterItInOrder) {
    m_store->addJob("job_1", JobKind::grade, "", submitBody("one"), 1);
    m_store->addJob("job_2", JobKind::grade, "", submitBody("two"), 1);
    (void)m_store->beginAttempt("job_1"); // and then the lights went out
    restart();
    EXPECT_EQ(finished("job_1").state, JobState::completed);
    EXPECT_EQ(finished("job_2").state, JobState::completed);
    EXPECT_EQ(m_critic.judged()[0].parts[0].text, "one");
}

TEST_F(JobQueueTest, WorkThatWasCutOffOftenLetsTheOthersGoFirst) {
    for (const char* name : {"1", "2", "3"}) {
        m_store->addJob(std::string("job_") + name, JobKind::grade, "", submitBody(name), 1);
    }
    for (int i = 0; i < kAttemptsInTurn - 1; ++i) (void)m_store->beginAttempt("job_1");
    for (int i = 0; i < kAttemptsInTurn; ++i) (void)m_store->beginAttempt("job_2");
    restart();
    EXPECT_EQ(finished("job_2").state, JobState::completed);
    std::vector<std::string> order;
    for (const Submission& work : m_critic.judged()) order.push_back(work.parts[0].text);
    EXPECT_THAT(order, ElementsAre("1", "3", "2"));
}

TEST_F(JobQueueTest, WorkThatKeepsEndingTheProgramIsGivenUp) {
    m_store->addJob("job_1", JobKind::grade, "", submitBody("deadly"), 1);
    m_store->addJob("job_2", JobKind::grade, "", submitBody("fine"), 1);
    for (int i = 0; i < kMostAttempts; ++i) (void)m_store->beginAttempt("job_1");
    restart();
    const JobStatus status = finished("job_1");
    EXPECT_EQ(status.state, JobState::failed);
    EXPECT_EQ(status.error, "the service ended 20 times while it judged this work");
    EXPECT_EQ(finished("job_2").state, JobState::completed);
    EXPECT_THAT(m_critic.judged(), SizeIs(1));
}

TEST_F(JobQueueTest, AStoredBodyThatCannotBeReadFailsItsJob) {
    m_store->addJob("job_1", JobKind::grade, "", "no JSON", 1);
    m_store->addJob("job_2", JobKind::iterate, "run_gone", iterateBody("x"), 1);
    restart();
    EXPECT_EQ(finished("job_1").error, "the body is not valid JSON");
    EXPECT_EQ(finished("job_2").error, "the run is gone");
}

TEST_F(ClosedJobQueueTest, AStoreThatCannotWriteDelaysVerdictsAndLosesNone) {
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

TEST_F(JobQueueTest, TheWorkIsKeptForItsTimeAndNoLonger) {
    QueueOptions keeping = options();
    keeping.keepWork = std::chrono::hours(24);
    start(std::move(keeping));
    const std::string run = finished(submit("work to show")).runId;
    EXPECT_EQ(m_store->work(run, 0), (KeptWork{{0, true, "work to show"}}));
    const auto revised = iterated(run, "shown again");
    ASSERT_TRUE(std::holds_alternative<Iterated>(revised));
    EXPECT_EQ(m_store->work(run, 1), (KeptWork{{0, true, "shown again"}}));
    m_now += std::int64_t{25} * 60 * 60 * 1000;
    finished(submit("new"));
    while (!m_store->work(run, 1).empty()) std::this_thread::yield();
    EXPECT_TRUE(m_store->hasRun(run)) << "the verdict stays";
}

TEST_F(JobQueueTest, WhoKeepsNoWorkKeepsNoneOfBeforeEither) {
    QueueOptions keeping = options();
    keeping.keepWork = std::chrono::hours(24);
    start(std::move(keeping));
    const std::string run = finished(submit("work to show")).runId;
    ASSERT_FALSE(m_store->work(run, 0).empty());
    restart();
    while (!m_store->work(run, 0).empty()) std::this_thread::yield();
    const std::string other = finished(submit("more work")).runId;
    EXPECT_TRUE(m_store->work(other, 0).empty());
}

TEST_F(JobQueueTest, RunsAreForgottenAfterTheirTime) {
    QueueOptions keeping = options();
    keeping.keep = std::chrono::hours(24 * 10);
    start(std::move(keeping));
    const JobStatus old = finished(submit("old"));
    m_now += std::int64_t{11} * 24 * 60 * 60 * 1000;
    const std::string second = submit("new");
    finished(second);
    while (m_store->hasRun(old.runId)) std::this_thread::yield();
    EXPECT_EQ(finished(second).state, JobState::completed);
}

TEST_F(JobQueueTest, AClockThatLeapsDuringOneJobForgetsNothing) {
    QueueOptions keeping = options();
    keeping.keep = std::chrono::hours(24 * 365);
    start(std::move(keeping));
    const JobStatus old = finished(submit("old"));
    m_now += std::int64_t{2} * 366 * 24 * 60 * 60 * 1000;
    finished(submit("judged in another year"));
    const JobStatus also = finished(submit("still there"));
    m_now = 2'000;
    finished(submit("the clock is right again"));
    m_queue.reset(); // What there was to tidy is tidied.
    EXPECT_TRUE(m_store->hasRun(old.runId));
    EXPECT_TRUE(m_store->hasRun(also.runId));
}

TEST_F(JobQueueTest, AHundredJobsFromManyThreadsAreAllJudgedOnce) {
    start();
    std::vector<std::future<std::string>> clients;
    for (int i = 0; i < 100; ++i) {
        clients.push_back(std::async(std::launch::async,
                                     [this, i] { return submit("work " + std::to_string(i)); }));
    }
    std::set<std::string> runs;
    for (auto& client : clients) runs.insert(finished(client.get()).runId);
    EXPECT_THAT(runs, SizeIs(100));
    EXPECT_THAT(m_critic.judged(), SizeIs(100));
}

} // namespace
} // namespace trevix
