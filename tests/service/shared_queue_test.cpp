// The queue that several programs share: one of them alone does what every queue does, and several
// do it together.

#include "service/shared_queue.h"

#include "service/postgres/postgres_store.h"

#include "tests/service/job_desk_contract.h"
#include "tests/service/postgres_cluster.h"

#include <thread>

namespace trevix {
namespace {

using namespace std::chrono_literals;

SharingOptions quick() {
    SharingOptions sharing;
    // What would be a pause in a service is none here; news come without any.
    sharing.progressEvery = 1ms;
    sharing.renewEvery = 20ms;
    sharing.look = 20ms;
    sharing.tidyEvery = 0ms;
    return sharing;
}

class Shared {
public:
    Shared() {
        if (isHere()) m_cluster->clear();
    }
    [[nodiscard]] bool isHere() const { return m_cluster != nullptr; }
    std::unique_ptr<RunStore> open() { return openPostgresStore(m_cluster->address()); }
    static std::unique_ptr<JobDesk> start(RunStore& store, QueueOptions options) {
        return std::make_unique<SharedQueue>(dynamic_cast<SharedStore&>(store), std::move(options),
                                             quick());
    }
    [[nodiscard]] PostgresCluster& cluster() const { return *m_cluster; }

private:
    PostgresCluster* m_cluster = PostgresCluster::ofThisProgram();
};

INSTANTIATE_TYPED_TEST_SUITE_P(Shared, JobDeskContract, Shared);

class SharedQueueTest : public JobDeskContract<Shared> {
protected:
    /// Another program, with a critic of its own.
    struct Program {
        std::unique_ptr<SharedStore> store;
        std::unique_ptr<GatedCritic> critic = std::make_unique<GatedCritic>(true);
        std::unique_ptr<SharedQueue> queue;

        ~Program() {
            critic->open();
            queue.reset();
        }
    };
    std::unique_ptr<Program> program(std::size_t atOnce, bool open = true,
                                     SharingOptions sharing = quick()) {
        auto made = std::make_unique<Program>();
        made->store = openPostgresStore(m_kind.cluster().address());
        if (!open) made->critic = std::make_unique<GatedCritic>(false);
        QueueOptions own = options();
        own.atOnce = atOnce;
        own.critic = [critic = made->critic.get()](const auto&... asked) {
            return (*critic)(asked...);
        };
        made->queue = std::make_unique<SharedQueue>(*made->store, std::move(own), sharing);
        return made;
    }
    // As a client does it that was told to try again.
    std::string submitUntilTaken(const std::string& text) {
        while (true) {
            try {
                return submit(text);
            } catch (const StoreError&) {
                std::this_thread::yield();
            }
        }
    }
    /// A program that only takes work in.
    void startDoor() {
        QueueOptions none = options();
        none.atOnce = 0;
        start(std::move(none));
    }
};

TEST_F(SharedQueueTest, WhatOneProgramTakesInAnotherJudges) {
    startDoor();
    const std::string id = submit("high a: one");
    EXPECT_TRUE(m_queue->isWarming());
    EXPECT_TRUE(m_queue->status(id)->warming) << "nobody is there to judge it";
    const auto worker = program(1);
    EXPECT_EQ(finished(id).result->findings.at(0).evidence, "one");
    // Whoever judges tells that it is there in its own time.
    while (m_queue->isWarming()) std::this_thread::yield();
    const auto outcome = iterated(finished(id).runId, "low b: two");
    ASSERT_TRUE(std::holds_alternative<Iterated>(outcome));
    EXPECT_EQ(std::get<Iterated>(outcome).number, 1);
    EXPECT_EQ(worker->critic->judged().size(), 2U);
}

TEST_F(SharedQueueTest, ARunningJobIsCancelledThroughAnotherProgram) {
    startDoor();
    const auto worker = program(1, false);
    const std::string id = submit("work");
    worker->critic->awaitArrivals(1);
    EXPECT_EQ(m_queue->status(id)->state, JobState::running);
    EXPECT_EQ(m_queue->cancel(id), JobDesk::Cancelled::done);
    EXPECT_EQ(finished(id).error, kCancelled);
}

TEST_F(SharedQueueTest, ManyJobsOfManyProgramsAreJudgedOnceEach) {
    startDoor();
    const auto first = program(2);
    const auto second = program(2);
    std::vector<std::future<std::string>> clients;
    for (int i = 0; i < 60; ++i) {
        clients.push_back(std::async(std::launch::async,
                                     [this, i] { return submit("work " + std::to_string(i)); }));
    }
    std::set<std::string> runs;
    for (auto& client : clients) runs.insert(finished(client.get()).runId);
    EXPECT_EQ(runs.size(), 60U);
    EXPECT_EQ(first->critic->judged().size() + second->critic->judged().size(), 60U);
}

TEST_F(SharedQueueTest, WhoIsCutOffLosesItsJobAndHasNoSayInItAnyMore) {
    startDoor();
    SharingOptions shortLease = quick();
    shortLease.lease = 0ms; // As if it had not been heard of for a whole lease.
    shortLease.renewEvery = 1h;
    shortLease.progressEvery = 1h;
    const auto cutOff = program(1, false, shortLease);
    const std::string id = submit("high a: one");
    cutOff->critic->awaitArrivals(1);
    const auto other = program(1);
    const JobStatus status = finished(id);
    EXPECT_EQ(status.state, JobState::completed);
    cutOff->critic->open();
    // It goes on with what comes next, and its late verdict has gone nowhere.
    cutOff->queue->stop();
    EXPECT_EQ(finished(id), status);
    EXPECT_EQ(m_kind.cluster().query("SELECT count(*) FROM runs"), "1");
}

TEST_F(SharedQueueTest, ARenewedLeaseIsNotLostHoweverLongTheJudgingTakes) {
    startDoor();
    SharingOptions shortLease = quick();
    shortLease.lease = 10s;
    shortLease.renewEvery = 1ms;
    const auto slow = program(1, false, shortLease);
    const std::string id = submit("work");
    slow->critic->awaitArrivals(1);
    const auto lease = [&] {
        return m_kind.cluster().query("SELECT lease_until FROM jobs WHERE id = '" + id + "'");
    };
    const std::string first = lease();
    while (lease() == first) std::this_thread::yield();
    slow->critic->open();
    EXPECT_EQ(finished(id).state, JobState::completed);
}

TEST_F(SharedQueueTest, ADatabaseThatIsKilledUnderLoadLosesNoAcceptedJob) {
    startDoor();
    const auto worker = program(2);
    std::vector<std::string> accepted;
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 10; ++i) accepted.push_back(submitUntilTaken("work"));
        m_kind.cluster().kill();
        m_kind.cluster().start();
    }
    const auto settled = [&](const std::string& id) {
        while (true) {
            try {
                return finished(id);
            } catch (const StoreError&) {
                std::this_thread::yield();
            }
        }
    };
    std::set<std::string> runs;
    for (const std::string& id : accepted) runs.insert(settled(id).runId);
    EXPECT_EQ(runs.size(), accepted.size());
    // What was taken in without anybody being told is judged too, and nothing twice.
    while (m_kind.cluster().query("SELECT count(*) FROM jobs WHERE status = 'pending'") != "0") {
        std::this_thread::yield();
    }
    EXPECT_EQ(m_kind.cluster().query("SELECT (SELECT count(*) FROM runs) = (SELECT count(*) FROM "
                                     "jobs WHERE status = 'completed')"),
              "t");
}

TEST_F(SharedQueueTest, ARevisionOutlivesADatabaseThatIsStartedAnew) {
    startDoor();
    const auto worker = program(1, false);
    const std::string first = submit("first");
    worker->critic->letOnePass();
    const std::string runId = finished(first).runId;
    auto revision = std::async(std::launch::async, [&] { return iterated(runId, "revised"); });
    worker->critic->awaitArrivals(2);
    m_kind.cluster().kill();
    m_kind.cluster().start();
    worker->critic->open();
    EXPECT_TRUE(std::holds_alternative<Iterated>(revision.get()));
}

} // namespace
} // namespace trevix
