// What every run store does, whatever database it keeps things in.
//
// For each adapter: a class with `bool isHere()`, and `std::unique_ptr<RunStore> open()`, which
// opens a store that is empty at first, and the same one again.
// INSTANTIATE_TYPED_TEST_SUITE_P(Name, RunStoreContract, Class) runs the suite.

#pragma once

#include "service/store/run_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace trevix {

template <typename Adapter>
class RunStoreContract : public testing::Test {
protected:
    void SetUp() override {
        if (!m_adapter.isHere()) GTEST_SKIP() << "no database server";
        m_store = m_adapter.open();
    }
    void reopen() {
        m_store.reset();
        m_store = m_adapter.open();
    }

    std::unique_ptr<RunStore> m_store;

private:
    Adapter m_adapter;
};

TYPED_TEST_SUITE_P(RunStoreContract);

inline Finding finding(Severity severity, const std::string& text) {
    return {severity, "rule " + text, "criterion", "line 1", "evidence " + text, "detail " + text};
}

inline Iteration iteration(int number, std::int64_t createdMs, std::vector<Finding> findings = {}) {
    return {number,
            createdMs,
            "intent",
            Band::ship,
            0.92,
            {{"name", "text/plain", 12}},
            std::move(findings),
            {120, 3, 40},
            {{{"hunspell", "1.7", "spelling, English"}, {"trevix", "", "dates"}},
             {{"spelling, French", "no dictionary", "install one"}},
             createdMs % 2 == 0}};
}

inline RunRecord runRecord(std::string id, std::int64_t createdMs) {
    return {std::move(id),
            "text",
            "writing",
            "policy",
            {iteration(0, createdMs,
                       {finding(Severity::critical, "a"), finding(Severity::high, "b"),
                        finding(Severity::medium, "c"), finding(Severity::low, "d")})}};
}

TYPED_TEST_P(RunStoreContract, JobsWaitInTheOrderInWhichTheyCame) {
    RunStore& store = *this->m_store;
    EXPECT_EQ(store.addJob("job_b", JobKind::grade, "", "first", 1),
              (PendingJob{1, "job_b", JobKind::grade, "", 5, 0}));
    store.addJob("job_a", JobKind::iterate, "run_1", "second", 2);
    EXPECT_EQ(store.pendingJobs(),
              (std::vector<PendingJob>{{1, "job_b", JobKind::grade, "", 5, 0},
                                       {2, "job_a", JobKind::iterate, "run_1", 6, 0}}));
    EXPECT_EQ(store.payload("job_b"), "first");
    EXPECT_EQ(store.payload("job_c"), std::nullopt);
    EXPECT_TRUE(store.isPending("job_b"));
    EXPECT_FALSE(store.isPending("job_c"));
    EXPECT_EQ(store.finishedJob("job_b"), std::nullopt);
}

TYPED_TEST_P(RunStoreContract, EverythingIsThereAgainAfterReopening) {
    std::string payload;
    for (int i = 0; i < 1000; ++i) payload += static_cast<char>(i);
    this->m_store->addJob("job_1", JobKind::grade, "", payload, 1);
    this->m_store->addJob("job_2", JobKind::grade, "", "", 2);
    this->m_store->addJob("job_3", JobKind::grade, "", "third", 3);
    this->m_store->finishGrade("job_3", runRecord("run_3", 5));
    EXPECT_EQ(this->m_store->beginAttempt("job_1"), 1);
    this->reopen();
    RunStore& store = *this->m_store;
    EXPECT_EQ(store.pendingJobs().size(), 2U);
    EXPECT_EQ(store.pendingJobs().at(0).attempts, 1);
    EXPECT_EQ(store.payload("job_1"), payload);
    EXPECT_EQ(store.payload("job_2"), "");
    EXPECT_EQ(store.finishedJob("job_3"), (FinishedJob{"run_3", 0, std::nullopt}));
    EXPECT_EQ(store.run("run_3"), runRecord("run_3", 5));
    EXPECT_EQ(store.beginAttempt("job_1"), 2);
    EXPECT_EQ(store.beginAttempt("job_none"), 0);
}

TYPED_TEST_P(RunStoreContract, WhateverWorkHoldsIsToldAsItWas) {
    RunStore& store = *this->m_store;
    constexpr char kOdd[] = "\x1a\0\xff \xed\xa0\x80 \xf0\x9f\x98\x80 '\"\\x00 \n";
    const std::string odd(kOdd, sizeof kOdd); // with the zero at its end
    RunRecord run = runRecord("run_1", 5);
    run.vertical = odd;
    Iteration& first = run.iterations.front();
    first.intent = odd;
    first.score = 0.1 + 0.2;
    first.extent = {std::uint64_t{1} << 62U, 0, 1};
    first.parts = {{odd, odd, std::uint64_t{1} << 62U}, {"", "", 0}};
    first.findings = {{Severity::low, odd, odd, odd, odd, odd}};
    first.coverage.checkedBy = {{odd, odd, odd}};
    store.addJob("job_1", JobKind::grade, "", "x", 1);
    store.finishGrade("job_1", run);
    EXPECT_EQ(store.run("run_1"), run);
    store.addJob("job_2", JobKind::grade, "", "x", 1);
    store.failJob("job_2", odd, 2);
    EXPECT_EQ(store.finishedJob("job_2"), (FinishedJob{"", 0, odd}));
    EXPECT_EQ(store.run(odd), std::nullopt);
    EXPECT_FALSE(store.hasRun(odd));
    EXPECT_EQ(store.finishedJob(odd), std::nullopt);
}

TYPED_TEST_P(RunStoreContract, AVerdictOfManyFindingsIsKeptWhole) {
    RunStore& store = *this->m_store;
    RunRecord run = runRecord("run_1", 5);
    for (int i = 0; i < 2500; ++i) {
        run.iterations.front().findings.push_back(finding(Severity::low, std::to_string(i)));
    }
    store.addJob("job_1", JobKind::grade, "", "x", 1);
    store.finishGrade("job_1", run);
    EXPECT_EQ(store.run("run_1"), run);
}

TYPED_TEST_P(RunStoreContract, AFinishedJobLosesItsWork) {
    RunStore& store = *this->m_store;
    for (const char* id : {"job_1", "job_2"}) {
        store.addJob(id, JobKind::grade, "", "private words", 1);
    }
    store.finishGrade("job_1", runRecord("run_1", 5));
    store.failJob("job_2", "why", 2);
    EXPECT_THAT(store.pendingJobs(), testing::IsEmpty());
    EXPECT_EQ(store.payload("job_1"), std::nullopt);
    EXPECT_EQ(store.payload("job_2"), std::nullopt);
    EXPECT_EQ(store.finishedJob("job_2"), (FinishedJob{"", 0, "why"}));
}

TYPED_TEST_P(RunStoreContract, TheWorkOfTheLastTwoVersionsIsKeptUntilItIsDropped) {
    RunStore& store = *this->m_store;
    const std::string bytes("\x89 \0 \xff", 5);
    store.addJob("job_1", JobKind::grade, "", "x", 1);
    store.finishGrade("job_1", runRecord("run_1", 5), {{0, true, "first"}, {2, false, bytes}});
    EXPECT_EQ(store.work("run_1", 0), (KeptWork{{0, true, "first"}, {2, false, bytes}}));
    for (int number = 1; number <= 2; ++number) {
        const std::string job = "job_again_" + std::to_string(number);
        store.addJob(job, JobKind::iterate, "run_1", "x", 6);
        EXPECT_EQ(store.finishIterate(job, "run_1", iteration(0, 10 * number),
                                      {{0, true, "version " + std::to_string(number)}}),
                  number);
    }
    EXPECT_THAT(store.work("run_1", 0), testing::IsEmpty());
    EXPECT_EQ(store.work("run_1", 1), (KeptWork{{0, true, "version 1"}}));
    EXPECT_EQ(store.work("run_1", 2), (KeptWork{{0, true, "version 2"}}));

    EXPECT_EQ(store.dropWork(10, 100), 0U);
    EXPECT_EQ(store.dropWork(11, 100), 1U) << "what is older than that";
    EXPECT_THAT(store.work("run_1", 1), testing::IsEmpty());
    store.addJob("job_2", JobKind::grade, "", "x", 7);
    store.finishGrade("job_2", runRecord("run_2", 30), {{0, true, "another"}});
    EXPECT_EQ(store.dropWork(0, 7), 1U) << "the oldest of too much";
    EXPECT_THAT(store.work("run_1", 2), testing::IsEmpty());
    EXPECT_EQ(store.work("run_2", 0), (KeptWork{{0, true, "another"}}));
    EXPECT_EQ(store.prune(31), 2U);
    EXPECT_THAT(store.work("run_2", 0), testing::IsEmpty()) << "with its run";
    store.giveBackRoom();
}

TYPED_TEST_P(RunStoreContract, IterationsAreNumberedAndKeepTheirFindings) {
    RunStore& store = *this->m_store;
    store.addJob("job_1", JobKind::grade, "", "x", 1);
    store.finishGrade("job_1", runRecord("run_1", 5));
    store.addJob("job_2", JobKind::iterate, "run_1", "x", 6);
    store.addJob("job_3", JobKind::iterate, "run_1", "x", 7);
    EXPECT_EQ(
        store.finishIterate("job_2", "run_1", iteration(0, 8, {finding(Severity::low, "left")})),
        1);
    EXPECT_EQ(store.finishIterate("job_3", "run_1", iteration(0, 9)), 2);
    RunRecord expected = runRecord("run_1", 5);
    expected.iterations.push_back(iteration(1, 8, {finding(Severity::low, "left")}));
    expected.iterations.push_back(iteration(2, 9));
    EXPECT_EQ(store.run("run_1"), expected);
    EXPECT_EQ(store.finishedJob("job_3"), (FinishedJob{"run_1", 2, std::nullopt}));
}

TYPED_TEST_P(RunStoreContract, AnIterationOfNoRunChangesNothing) {
    RunStore& store = *this->m_store;
    store.addJob("job_1", JobKind::iterate, "run_1", "x", 1);
    EXPECT_THROW((void)store.finishIterate("job_1", "run_1", iteration(0, 2)), StoreError);
    EXPECT_EQ(store.pendingJobs().size(), 1U);
    EXPECT_EQ(store.payload("job_1"), "x");
}

TYPED_TEST_P(RunStoreContract, AJobEndsOnce) {
    RunStore& store = *this->m_store;
    store.addJob("job_1", JobKind::grade, "", "x", 1);
    store.finishGrade("job_1", runRecord("run_1", 5));
    EXPECT_THROW(store.finishGrade("job_1", runRecord("run_2", 6)), StoreError);
    EXPECT_FALSE(store.hasRun("run_2")) << "undone with the rest of its transaction";
    EXPECT_THROW((void)store.finishIterate("job_1", "run_1", iteration(0, 7)), StoreError);
    EXPECT_EQ(store.run("run_1"), runRecord("run_1", 5));
    store.failJob("job_1", "too late", 7);
    EXPECT_EQ(store.finishedJob("job_1"), (FinishedJob{"run_1", 0, std::nullopt}));
}

TYPED_TEST_P(RunStoreContract, OfManyWhoEndAJobOneDoes) {
    RunStore& store = *this->m_store;
    store.addJob("job_1", JobKind::grade, "", "x", 1);
    std::vector<std::future<int>> judges;
    std::atomic<int> refused = 0;
    for (int i = 0; i < 8; ++i) {
        judges.push_back(std::async(std::launch::async, [&, i] {
            try {
                store.finishGrade("job_1", runRecord("run_" + std::to_string(i), 5));
                return i;
            } catch (const StoreError&) {
                ++refused;
                return -1;
            }
        }));
    }
    int winner = -1;
    for (auto& judge : judges) winner = std::max(winner, judge.get());
    EXPECT_EQ(refused, 7);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(store.hasRun("run_" + std::to_string(i)), i == winner);
}

TYPED_TEST_P(RunStoreContract, RevisionsThatEndTogetherGetNumbersOfTheirOwn) {
    RunStore& store = *this->m_store;
    store.addJob("job_1", JobKind::grade, "", "x", 1);
    store.finishGrade("job_1", runRecord("run_1", 5));
    std::vector<std::future<int>> judges;
    for (int i = 0; i < 8; ++i) {
        const std::string id = "job_again_" + std::to_string(i);
        store.addJob(id, JobKind::iterate, "run_1", "x", 6);
        judges.push_back(std::async(std::launch::async, [&store, id] {
            return store.finishIterate(id, "run_1", iteration(0, 8), {{0, true, id}});
        }));
    }
    std::vector<int> numbers;
    for (auto& judge : judges) numbers.push_back(judge.get());
    EXPECT_THAT(numbers, testing::UnorderedElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(store.run("run_1")->iterations.size(), 9U);
}

TYPED_TEST_P(RunStoreContract, TextFromOutsideIsNeverPartOfAStatement) {
    RunStore& store = *this->m_store;
    const std::string hostile = "'; DROP TABLE jobs; --";
    store.addJob(hostile, JobKind::grade, hostile, hostile, 1);
    EXPECT_EQ(store.payload(hostile), hostile);
    EXPECT_EQ(store.run(hostile), std::nullopt);
    EXPECT_EQ(store.pendingJobs().size(), 1U);
}

TYPED_TEST_P(RunStoreContract, OldRunsAreForgottenButNotWhatIsStillRevised) {
    RunStore& store = *this->m_store;
    for (const char* name : {"1", "2", "3"}) {
        store.addJob(std::string("job_") + name, JobKind::grade, "", "x", 1);
        store.finishGrade(std::string("job_") + name, runRecord(std::string("run_") + name, 100));
    }
    store.addJob("job_4", JobKind::iterate, "run_2", "x", 150);
    store.addJob("job_5", JobKind::iterate, "run_3", "x", 150);
    (void)store.finishIterate("job_5", "run_3", iteration(0, 200));
    store.addJob("job_6", JobKind::grade, "", "x", 1);
    store.failJob("job_6", "why", 120);

    EXPECT_EQ(store.prune(150), 1U);
    EXPECT_FALSE(store.hasRun("run_1"));
    EXPECT_TRUE(store.hasRun("run_2")) << "a job still revises it";
    EXPECT_TRUE(store.hasRun("run_3")) << "revised lately";
    EXPECT_EQ(store.finishedJob("job_1"), std::nullopt);
    EXPECT_EQ(store.finishedJob("job_6"), std::nullopt);
    EXPECT_NE(store.finishedJob("job_2"), std::nullopt);
    EXPECT_NE(store.finishedJob("job_3"), std::nullopt);
}

TYPED_TEST_P(RunStoreContract, RemembersWhatTheClockSaidFromStartToStart) {
    constexpr std::int64_t kDay = std::int64_t{24} * 60 * 60 * 1000;
    constexpr std::int64_t kNow = 20'000 * kDay;
    EXPECT_TRUE(this->m_store->believesClock(kNow));
    this->reopen();
    EXPECT_FALSE(this->m_store->believesClock(kNow + 730 * kDay));
    this->reopen();
    EXPECT_FALSE(this->m_store->believesClock(kNow + 733 * kDay));
    this->reopen();
    EXPECT_TRUE(this->m_store->believesClock(kNow + 737 * kDay)) << "it has said so for a week";
}

TYPED_TEST_P(RunStoreContract, TheNewestRunIsBelievedBeforeTheClockIsReadForTheFirstTime) {
    constexpr std::int64_t kDay = std::int64_t{24} * 60 * 60 * 1000;
    this->m_store->addJob("job_1", JobKind::grade, "", "x", 1);
    this->m_store->finishGrade("job_1", runRecord("run_1", 20'000 * kDay));
    EXPECT_FALSE(this->m_store->believesClock(20'400 * kDay));
}

REGISTER_TYPED_TEST_SUITE_P(
    RunStoreContract, JobsWaitInTheOrderInWhichTheyCame, EverythingIsThereAgainAfterReopening,
    WhateverWorkHoldsIsToldAsItWas, AVerdictOfManyFindingsIsKeptWhole, AFinishedJobLosesItsWork,
    TheWorkOfTheLastTwoVersionsIsKeptUntilItIsDropped, IterationsAreNumberedAndKeepTheirFindings,
    AnIterationOfNoRunChangesNothing, AJobEndsOnce, OfManyWhoEndAJobOneDoes,
    RevisionsThatEndTogetherGetNumbersOfTheirOwn, TextFromOutsideIsNeverPartOfAStatement,
    OldRunsAreForgottenButNotWhatIsStillRevised, RemembersWhatTheClockSaidFromStartToStart,
    TheNewestRunIsBelievedBeforeTheClockIsReadForTheFirstTime);

} // namespace trevix
