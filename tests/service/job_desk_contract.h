// What every queue of work to grade does, whoever it shares its store with.
//
// For each kind: a class with `bool isHere()`; `std::unique_ptr<RunStore> open()`, which opens a
// store that is empty at first, and the same one again; and `std::unique_ptr<JobDesk>
// start(RunStore&, QueueOptions)`. INSTANTIATE_TYPED_TEST_SUITE_P(Name, JobDeskContract, Class)
// runs the suite.

#pragma once

#include "service/job_desk.h"
#include "service/judge_job.h"

#include "tests/service/bodies.h"
#include "tests/service/gated_critic.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace trevix {

template <typename Kind>
class JobDeskContract : public testing::Test {
public:
    void SetUp() override {
        if (!m_kind.isHere()) GTEST_SKIP() << "no database server";
        m_store = m_kind.open();
    }
    ~JobDeskContract() override {
        m_critic.open();
        m_closed->open();
        m_queue.reset();
    }

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
    /// Nothing is judged before the test says so.
    QueueOptions closedOptions() {
        QueueOptions made = options();
        made.critic = [this](const auto&... asked) { return (*m_closed)(asked...); };
        return made;
    }

    JobDesk& start(QueueOptions options) {
        m_queue = m_kind.start(*m_store, std::move(options));
        return *m_queue;
    }
    JobDesk& start() { return start(options()); }

    // As after a crash: whatever was being graded never got to its end.
    void restart() {
        m_queue.reset();
        m_store.reset();
        m_store = m_kind.open();
        start();
    }

    // As the door does it: read once, handed on with the bytes.
    JobDesk::Submitted submitted(const std::string& text) {
        const std::string body = submitBody(text);
        return m_queue->submit(std::get<SubmitRequest>(parseSubmit(body)), body, m_owner);
    }
    JobDesk::IterateOutcome iterated(const std::string& runId, const std::string& text) {
        const std::string body = iterateBody(text);
        return m_queue->iterate(runId, std::get<IterateRequest>(parseIterate(body)), body, m_owner);
    }

    std::string submit(const std::string& text) {
        const auto outcome = submitted(text);
        EXPECT_TRUE(std::holds_alternative<Accepted>(outcome));
        return std::holds_alternative<Accepted>(outcome) ? std::get<Accepted>(outcome).jobId : "";
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

    Kind m_kind;
    JobOwner m_owner;
    std::atomic<std::int64_t> m_now{1'000};
    GatedCritic m_critic{true};
    std::unique_ptr<GatedCritic> m_closed = std::make_unique<GatedCritic>(false);
    std::mutex m_logMutex;
    std::vector<std::string> m_log;
    std::unique_ptr<RunStore> m_store;
    std::unique_ptr<JobDesk> m_queue;
};

TYPED_TEST_SUITE_P(JobDeskContract);

TYPED_TEST_P(JobDeskContract, AJobIsJudgedByTheCritics) {
    this->start();
    const JobStatus status = this->finished(this->submit("high text.placeholder: TODO"));
    EXPECT_EQ(status.state, JobState::completed);
    EXPECT_FALSE(status.warming);
    ASSERT_TRUE(status.result);
    EXPECT_EQ(status.result->band, Band::route_to_fix);
    EXPECT_EQ(status.result->score, 0.8);
    EXPECT_EQ(status.result->createdMs, 1000);
    ASSERT_THAT(status.result->findings, testing::SizeIs(1));
    EXPECT_EQ(status.result->findings[0].evidence, "TODO");
    const auto run = this->m_store->run(status.runId);
    ASSERT_TRUE(run);
    EXPECT_EQ(run->modality, "text");
    EXPECT_EQ(run->iterations.front().parts,
              (std::vector<PartSummary>{{"selection", "text/plain", 27}}));
}

TYPED_TEST_P(JobDeskContract, UnknownIdsHaveNoStatus) {
    this->start();
    EXPECT_EQ(this->m_queue->status("job_none"), std::nullopt);
    EXPECT_EQ(this->m_queue->status(""), std::nullopt);
}

TYPED_TEST_P(JobDeskContract, IdsAreLongAndSafeInAnAddress) {
    this->start();
    const std::string id = this->submit("x");
    EXPECT_EQ(id.size(), 4U + 32U);
    EXPECT_EQ(id.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_"), std::string::npos);
    EXPECT_THAT(this->finished(id).runId, testing::SizeIs(36));
}

TYPED_TEST_P(JobDeskContract, JobsAreJudgedOneByOneInTheirOrder) {
    this->start(this->closedOptions());
    std::vector<std::string> ids;
    for (const char* text : {"first", "second", "third"}) ids.push_back(this->submit(text));
    this->m_closed->awaitArrivals(1);
    EXPECT_EQ(this->m_queue->status(ids[0])->state, JobState::running);
    EXPECT_EQ(this->m_queue->status(ids[0])->position, 0U);
    EXPECT_EQ(this->m_queue->status(ids[1])->state, JobState::queued);
    EXPECT_EQ(this->m_queue->status(ids[1])->position, 1U);
    EXPECT_EQ(this->m_queue->status(ids[2])->position, 2U);
    EXPECT_THAT(this->m_closed->judged(), testing::SizeIs(1)) << "one at a time";

    this->m_closed->letOnePass();
    this->m_closed->awaitArrivals(2);
    EXPECT_EQ(this->finished(ids[0]).state, JobState::completed);
    EXPECT_EQ(this->m_queue->status(ids[2])->position, 1U);
    this->m_closed->open();
    this->finished(ids[2]);
    std::vector<std::string> order;
    for (const Submission& work : this->m_closed->judged()) order.push_back(work.parts[0].text);
    EXPECT_THAT(order, testing::ElementsAre("first", "second", "third"));
}

TYPED_TEST_P(JobDeskContract, SeveralJobsAreJudgedAtOnce) {
    QueueOptions two = this->closedOptions();
    two.atOnce = 2;
    this->start(std::move(two));
    std::vector<std::string> ids;
    for (const char* text : {"first", "second", "third"}) ids.push_back(this->submit(text));
    this->m_closed->awaitArrivals(2);
    EXPECT_EQ(this->m_queue->status(ids[0])->state, JobState::running);
    EXPECT_EQ(this->m_queue->status(ids[1])->state, JobState::running);
    EXPECT_EQ(this->m_queue->status(ids[2])->state, JobState::queued);
    EXPECT_EQ(this->m_queue->status(ids[2])->position, 2U);
    this->m_closed->open();
    for (const std::string& id : ids) EXPECT_EQ(this->finished(id).state, JobState::completed);
}

TYPED_TEST_P(JobDeskContract, ProgressIsToldWhileAJobIsJudged) {
    this->start(this->closedOptions());
    const std::string id = this->submit("work");
    this->m_closed->awaitArrivals(1);
    const GradingProgress progress{0, 1, {"gate"}};
    while (this->m_queue->status(id)->progress != progress) std::this_thread::yield();
    this->m_closed->open();
    EXPECT_EQ(this->finished(id).progress, GradingProgress{});
}

TYPED_TEST_P(JobDeskContract, AJobThatIsBeingJudgedIsCancelled) {
    this->start(this->closedOptions());
    const std::string running = this->submit("running");
    const std::string waiting = this->submit("waiting");
    this->m_closed->awaitArrivals(1);
    EXPECT_EQ(this->m_queue->cancel(running), JobDesk::Cancelled::done);
    const JobStatus status = this->finished(running);
    EXPECT_EQ(status.state, JobState::failed);
    EXPECT_EQ(status.error, "the job was cancelled");
    this->m_closed->open();
    EXPECT_EQ(this->finished(waiting).state, JobState::completed);
}

TYPED_TEST_P(JobDeskContract, AJobThatWaitsIsCancelledAtOnceAndForGood) {
    QueueOptions small = this->closedOptions();
    small.maxWaiting = 1;
    this->start(std::move(small));
    this->submit("running");
    this->m_closed->awaitArrivals(1);
    const std::string waiting = this->submit("waiting");
    EXPECT_EQ(this->m_queue->cancel(waiting), JobDesk::Cancelled::done);
    EXPECT_EQ(this->m_queue->status(waiting)->error, "the job was cancelled");
    this->submit("there is room again");
    EXPECT_FALSE(this->m_store->isPending(waiting));
    this->m_closed->open();
}

TYPED_TEST_P(JobDeskContract, ARevisionThatIsCancelledReturnsToWhoWaits) {
    this->start(this->closedOptions());
    const std::string first = this->submit("first");
    this->m_closed->letOnePass();
    const std::string runId = this->finished(first).runId;
    auto revision =
        std::async(std::launch::async, [&] { return this->iterated(runId, "revised"); });
    this->m_closed->awaitArrivals(2);
    EXPECT_EQ(this->m_queue->cancel(this->m_store->pendingJobs().at(0).id),
              JobDesk::Cancelled::done);
    const auto outcome = revision.get();
    ASSERT_TRUE(std::holds_alternative<JudgingFailed>(outcome));
    EXPECT_EQ(std::get<JudgingFailed>(outcome).error, "the job was cancelled");
    EXPECT_THAT(this->m_store->run(runId)->iterations, testing::SizeIs(1));
}

TYPED_TEST_P(JobDeskContract, WhatIsOverOrUnknownIsNotCancelled) {
    this->start();
    const std::string id = this->submit("work");
    this->finished(id);
    EXPECT_EQ(this->m_queue->cancel(id), JobDesk::Cancelled::over);
    EXPECT_EQ(this->finished(id).state, JobState::completed);
    EXPECT_EQ(this->m_queue->cancel("job_none"), JobDesk::Cancelled::noSuchJob);
}

TYPED_TEST_P(JobDeskContract, TheVerdictSaysWhoJudged) {
    this->start();
    const std::string runId = this->finished(this->submit("work")).runId;
    const auto run = this->m_store->run(runId);
    ASSERT_TRUE(run);
    EXPECT_TRUE(run->latest().coverage.known);
    EXPECT_EQ(run->latest().coverage.checkedBy,
              (std::vector<CheckedBy>{{"gate", "1", "what it was told"}}));
}

TYPED_TEST_P(JobDeskContract, AFullQueueTakesNothing) {
    QueueOptions small = this->closedOptions();
    small.maxWaiting = 2;
    this->start(std::move(small));
    const std::string running = this->submit("running");
    this->m_closed->awaitArrivals(1);
    this->submit("waiting 1");
    this->submit("waiting 2");
    EXPECT_TRUE(std::holds_alternative<QueueFull>(this->submitted("too many")));
    this->m_closed->letOnePass();
    this->m_closed->awaitArrivals(2);
    this->submit("fits again");
}

TYPED_TEST_P(JobDeskContract, ManyBytesFillTheQueueToo) {
    QueueOptions small = this->closedOptions();
    small.maxWaitingBytes = 1000;
    this->start(std::move(small));
    this->submit("running");
    this->m_closed->awaitArrivals(1);
    EXPECT_TRUE(std::holds_alternative<QueueFull>(this->submitted(std::string(2000, 'x'))));
    this->submit("small");
}

TYPED_TEST_P(JobDeskContract, WarmingIsToldUntilTheCriticsAreReady) {
    std::promise<void> ready;
    QueueOptions slow = this->options();
    slow.warmUp = [&] { ready.get_future().wait(); };
    this->start(std::move(slow));
    const std::string id = this->submit("x");
    EXPECT_TRUE(this->m_queue->isWarming());
    const auto status = this->m_queue->status(id);
    EXPECT_EQ(status->state, JobState::queued);
    EXPECT_TRUE(status->warming);
    EXPECT_THAT(this->m_critic.judged(), testing::SizeIs(0));
    ready.set_value();
    EXPECT_FALSE(this->finished(id).warming);
    EXPECT_FALSE(this->m_queue->isWarming());
}

TYPED_TEST_P(JobDeskContract, AWarmUpThatFailsIsToldAndTheServiceGoesOn) {
    QueueOptions failing = this->options();
    failing.warmUp = [] { throw std::runtime_error("no tables"); };
    this->start(std::move(failing));
    EXPECT_EQ(this->finished(this->submit("x")).state, JobState::completed);
    EXPECT_THAT(this->m_log, testing::ElementsAre(testing::HasSubstr("no tables")));
}

TYPED_TEST_P(JobDeskContract, ACriticThatThrowsFailsItsJobOnly) {
    this->start();
    const std::string bad = this->submit("throw");
    const std::string good = this->submit("fine");
    const JobStatus status = this->finished(bad);
    EXPECT_EQ(status.state, JobState::failed);
    EXPECT_EQ(status.error, "the critics could not judge this work: the critic stumbled");
    EXPECT_EQ(status.result, std::nullopt);
    EXPECT_EQ(this->finished(good).state, JobState::completed);
}

TYPED_TEST_P(JobDeskContract, ARevisionIsComparedWithTheVersionBefore) {
    this->start();
    const std::string runId =
        this->finished(this->submit("high a: one\nmedium b: two\nlow c: three")).runId;
    const auto outcome = this->iterated(runId, "a new line\nmedium b: two\nlow d: four");
    ASSERT_TRUE(std::holds_alternative<Iterated>(outcome));
    const auto& [run, number] = std::get<Iterated>(outcome);
    EXPECT_EQ(number, 1);
    ASSERT_THAT(run.iterations, testing::SizeIs(2));
    EXPECT_EQ(run.iterations[1].number, 1);
    EXPECT_EQ(run.iterations[1].band, Band::ship);
    ASSERT_THAT(run.iterations[1].findings, testing::SizeIs(2));
    EXPECT_EQ(this->m_critic.judged().back().modality, "text") << "the run's";
}

TYPED_TEST_P(JobDeskContract, ARevisionOfNoRunIsTurnedAway) {
    this->start();
    EXPECT_TRUE(std::holds_alternative<NoSuchRun>(this->iterated("run_none", "x")));
    EXPECT_THAT(this->m_store->pendingJobs(), testing::SizeIs(0));
}

TYPED_TEST_P(JobDeskContract, ARevisionThatCannotBeJudgedLeavesTheRunAsItWas) {
    this->start();
    const std::string runId = this->finished(this->submit("x")).runId;
    const auto outcome = this->iterated(runId, "throw");
    ASSERT_TRUE(std::holds_alternative<JudgingFailed>(outcome));
    EXPECT_THAT(std::get<JudgingFailed>(outcome).error, testing::HasSubstr("stumbled"));
    EXPECT_THAT(this->m_store->run(runId)->iterations, testing::SizeIs(1));
}

TYPED_TEST_P(JobDeskContract, ARevisionWaitsItsTurn) {
    this->start(this->closedOptions());
    const std::string first = this->submit("first");
    this->m_closed->letOnePass();
    const std::string runId = this->finished(first).runId;
    const std::string second = this->submit("second");
    this->m_closed->awaitArrivals(2);
    auto revision =
        std::async(std::launch::async, [&] { return this->iterated(runId, "revised"); });
    while (this->m_store->pendingJobs().size() < 2) std::this_thread::yield();
    EXPECT_EQ(this->m_queue->status(second)->state, JobState::running);
    this->m_closed->open();
    EXPECT_TRUE(std::holds_alternative<Iterated>(revision.get()));
    EXPECT_EQ(this->m_closed->judged()[1].parts[0].text, "second");
    EXPECT_EQ(this->m_closed->judged()[2].parts[0].text, "revised");
}

TYPED_TEST_P(JobDeskContract, StoppingReturnsThoseWhoWaitAndKeepsTheirWork) {
    this->start(this->closedOptions());
    const std::string first = this->submit("first");
    this->m_closed->letOnePass();
    const std::string runId = this->finished(first).runId;
    const std::string running = this->submit("running");
    this->m_closed->awaitArrivals(2);
    auto revision =
        std::async(std::launch::async, [&] { return this->iterated(runId, "revised"); });
    while (this->m_store->pendingJobs().size() < 2) std::this_thread::yield();
    auto stopped = std::async(std::launch::async, [&] { this->m_queue->stop(); });
    EXPECT_TRUE(std::holds_alternative<QueueStopped>(revision.get()));
    this->m_closed->open();
    stopped.get();
    EXPECT_TRUE(std::holds_alternative<QueueStopped>(this->submitted("late")));
    EXPECT_EQ(this->m_queue->status(running)->state, JobState::completed)
        << "the one under way ended";

    this->restart();
    while (!this->m_store->pendingJobs().empty()) std::this_thread::yield();
    EXPECT_THAT(this->m_store->run(runId)->iterations, testing::SizeIs(2)) << "taken, so judged";
}

TYPED_TEST_P(JobDeskContract, WhatWaitedBeforeARestartIsJudgedAfterItInOrder) {
    this->m_store->addJob("job_1", JobKind::grade, "", submitBody("one"), 1);
    this->m_store->addJob("job_2", JobKind::grade, "", submitBody("two"), 1);
    (void)this->m_store->beginAttempt("job_1"); // and then the lights went out
    this->restart();
    EXPECT_EQ(this->finished("job_1").state, JobState::completed);
    EXPECT_EQ(this->finished("job_2").state, JobState::completed);
    EXPECT_EQ(this->m_critic.judged()[0].parts[0].text, "one");
}

TYPED_TEST_P(JobDeskContract, WorkThatWasCutOffOftenLetsTheOthersGoFirst) {
    for (const char* name : {"1", "2", "3"}) {
        this->m_store->addJob(std::string("job_") + name, JobKind::grade, "", submitBody(name), 1);
    }
    for (int i = 0; i < kAttemptsInTurn - 1; ++i) (void)this->m_store->beginAttempt("job_1");
    for (int i = 0; i < kAttemptsInTurn; ++i) (void)this->m_store->beginAttempt("job_2");
    this->restart();
    EXPECT_EQ(this->finished("job_2").state, JobState::completed);
    std::vector<std::string> order;
    for (const Submission& work : this->m_critic.judged()) order.push_back(work.parts[0].text);
    EXPECT_THAT(order, testing::ElementsAre("1", "3", "2"));
}

TYPED_TEST_P(JobDeskContract, WorkThatKeepsEndingTheProgramIsGivenUp) {
    this->m_store->addJob("job_1", JobKind::grade, "", submitBody("deadly"), 1);
    this->m_store->addJob("job_2", JobKind::grade, "", submitBody("fine"), 1);
    for (int i = 0; i < kMostAttempts; ++i) (void)this->m_store->beginAttempt("job_1");
    this->restart();
    const JobStatus status = this->finished("job_1");
    EXPECT_EQ(status.state, JobState::failed);
    EXPECT_EQ(status.error, "the service ended 20 times while it judged this work");
    EXPECT_EQ(this->finished("job_2").state, JobState::completed);
    EXPECT_THAT(this->m_critic.judged(), testing::SizeIs(1));
}

TYPED_TEST_P(JobDeskContract, AStoredBodyThatCannotBeReadFailsItsJob) {
    this->m_store->addJob("job_1", JobKind::grade, "", "no JSON", 1);
    this->m_store->addJob("job_2", JobKind::iterate, "run_gone", iterateBody("x"), 1);
    this->restart();
    EXPECT_EQ(this->finished("job_1").error, "the body is not valid JSON");
    EXPECT_EQ(this->finished("job_2").error, "the run is gone");
}

TYPED_TEST_P(JobDeskContract, TheWorkIsKeptForItsTimeAndNoLonger) {
    QueueOptions keeping = this->options();
    keeping.keepWork = std::chrono::hours(24);
    this->start(std::move(keeping));
    const std::string run = this->finished(this->submit("work to show")).runId;
    EXPECT_EQ(this->m_store->work(run, 0), (KeptWork{{0, true, "work to show"}}));
    const auto revised = this->iterated(run, "shown again");
    ASSERT_TRUE(std::holds_alternative<Iterated>(revised));
    EXPECT_EQ(this->m_store->work(run, 1), (KeptWork{{0, true, "shown again"}}));
    this->m_now += std::int64_t{25} * 60 * 60 * 1000;
    this->finished(this->submit("new"));
    while (!this->m_store->work(run, 1).empty()) std::this_thread::yield();
    EXPECT_TRUE(this->m_store->hasRun(run)) << "the verdict stays";
}

TYPED_TEST_P(JobDeskContract, WhoKeepsNoWorkKeepsNoneOfBeforeEither) {
    QueueOptions keeping = this->options();
    keeping.keepWork = std::chrono::hours(24);
    this->start(std::move(keeping));
    const std::string run = this->finished(this->submit("work to show")).runId;
    ASSERT_FALSE(this->m_store->work(run, 0).empty());
    this->restart();
    while (!this->m_store->work(run, 0).empty()) std::this_thread::yield();
    const std::string other = this->finished(this->submit("more work")).runId;
    EXPECT_TRUE(this->m_store->work(other, 0).empty());
}

TYPED_TEST_P(JobDeskContract, RunsAreForgottenAfterTheirTime) {
    QueueOptions keeping = this->options();
    keeping.keep = std::chrono::hours(24 * 10);
    this->start(std::move(keeping));
    const JobStatus old = this->finished(this->submit("old"));
    this->m_now += std::int64_t{11} * 24 * 60 * 60 * 1000;
    const std::string second = this->submit("new");
    this->finished(second);
    while (this->m_store->hasRun(old.runId)) std::this_thread::yield();
    EXPECT_EQ(this->finished(second).state, JobState::completed);
}

TYPED_TEST_P(JobDeskContract, AClockThatLeapsDuringOneJobForgetsNothing) {
    QueueOptions keeping = this->options();
    keeping.keep = std::chrono::hours(24 * 365);
    this->start(std::move(keeping));
    const JobStatus old = this->finished(this->submit("old"));
    this->m_now += std::int64_t{2} * 366 * 24 * 60 * 60 * 1000;
    this->finished(this->submit("judged in another year"));
    const JobStatus also = this->finished(this->submit("still there"));
    this->m_now = 2'000;
    this->finished(this->submit("the clock is right again"));
    this->m_queue.reset(); // What there was to tidy is tidied.
    EXPECT_TRUE(this->m_store->hasRun(old.runId));
    EXPECT_TRUE(this->m_store->hasRun(also.runId));
}

TYPED_TEST_P(JobDeskContract, AHundredJobsFromManyThreadsAreAllJudgedOnce) {
    this->start();
    std::vector<std::future<std::string>> clients;
    for (int i = 0; i < 100; ++i) {
        clients.push_back(std::async(
            std::launch::async, [this, i] { return this->submit("work " + std::to_string(i)); }));
    }
    std::set<std::string> runs;
    for (auto& client : clients) runs.insert(this->finished(client.get()).runId);
    EXPECT_THAT(runs, testing::SizeIs(100));
    EXPECT_THAT(this->m_critic.judged(), testing::SizeIs(100));
}

REGISTER_TYPED_TEST_SUITE_P(
    JobDeskContract, AJobIsJudgedByTheCritics, UnknownIdsHaveNoStatus, IdsAreLongAndSafeInAnAddress,
    JobsAreJudgedOneByOneInTheirOrder, SeveralJobsAreJudgedAtOnce, ProgressIsToldWhileAJobIsJudged,
    AJobThatIsBeingJudgedIsCancelled, AJobThatWaitsIsCancelledAtOnceAndForGood,
    ARevisionThatIsCancelledReturnsToWhoWaits, WhatIsOverOrUnknownIsNotCancelled,
    TheVerdictSaysWhoJudged, AFullQueueTakesNothing, ManyBytesFillTheQueueToo,
    WarmingIsToldUntilTheCriticsAreReady, AWarmUpThatFailsIsToldAndTheServiceGoesOn,
    ACriticThatThrowsFailsItsJobOnly, ARevisionIsComparedWithTheVersionBefore,
    ARevisionOfNoRunIsTurnedAway, ARevisionThatCannotBeJudgedLeavesTheRunAsItWas,
    ARevisionWaitsItsTurn, StoppingReturnsThoseWhoWaitAndKeepsTheirWork,
    WhatWaitedBeforeARestartIsJudgedAfterItInOrder, WorkThatWasCutOffOftenLetsTheOthersGoFirst,
    WorkThatKeepsEndingTheProgramIsGivenUp, AStoredBodyThatCannotBeReadFailsItsJob,
    TheWorkIsKeptForItsTimeAndNoLonger, WhoKeepsNoWorkKeepsNoneOfBeforeEither,
    RunsAreForgottenAfterTheirTime, AClockThatLeapsDuringOneJobForgetsNothing,
    AHundredJobsFromManyThreadsAreAllJudgedOnce);

} // namespace trevix
