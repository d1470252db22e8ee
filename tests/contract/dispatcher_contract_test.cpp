// What every dispatcher promises, asked of the fake and of the real one.

#include "platform/fake/fake_dispatcher.h"
#include "platform/qt/qt_dispatcher.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

/// One kind of dispatcher under test, with the means to let time pass on the main thread.
class DispatcherUnderTest {
public:
    virtual ~DispatcherUnderTest() = default;
    virtual Dispatcher& dispatcher() = 0;
    /// Runs the main thread until `done` says so; false when that does not come.
    virtual bool runUntil(const std::function<bool()>& done) = 0;
};

class FakeDispatcherUnderTest : public DispatcherUnderTest {
public:
    Dispatcher& dispatcher() override { return m_fake; }
    bool runUntil(const std::function<bool()>& done) override {
        m_fake.runAll();
        return done();
    }

private:
    FakeDispatcher m_fake;
};

bool runEventsUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + 10s;
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
    return true;
}

class QtDispatcherUnderTest : public DispatcherUnderTest {
public:
    Dispatcher& dispatcher() override { return *m_dispatcher; }
    bool runUntil(const std::function<bool()>& done) override { return runEventsUntil(done); }

private:
    std::unique_ptr<Dispatcher> m_dispatcher = makeQtDispatcher();
};

enum class Side { Fake, Qt };

class DispatcherContract : public testing::TestWithParam<Side> {
protected:
    DispatcherContract() {
        if (GetParam() == Side::Fake) {
            m_under = std::make_unique<FakeDispatcherUnderTest>();
        } else {
            m_under = std::make_unique<QtDispatcherUnderTest>();
        }
    }

    Dispatcher& dispatcher() { return m_under->dispatcher(); }
    bool runUntil(const std::function<bool()>& done) { return m_under->runUntil(done); }

private:
    std::unique_ptr<DispatcherUnderTest> m_under;
};

TEST_P(DispatcherContract, MainJobsRunLaterAndNotAtOnce) {
    bool ran = false;
    dispatcher().main([&] { ran = true; });
    EXPECT_FALSE(ran);
    EXPECT_TRUE(runUntil([&] { return ran; }));
}

TEST_P(DispatcherContract, MainJobsRunInTheOrderInWhichTheyCame) {
    std::vector<int> order;
    for (int i = 0; i < 100; ++i) dispatcher().main([&order, i] { order.push_back(i); });
    ASSERT_TRUE(runUntil([&] { return order.size() == 100; }));
    for (int i = 0; i < 100; ++i) EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
}

TEST_P(DispatcherContract, AMainJobMayHandInAnother) {
    std::vector<int> order;
    dispatcher().main([&] {
        dispatcher().main([&] { order.push_back(2); });
        order.push_back(1);
    });
    ASSERT_TRUE(runUntil([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST_P(DispatcherContract, WorkGoesToTheBackgroundAndBack) {
    const auto mainThread = std::this_thread::get_id();
    std::thread::id reportedOn;
    int result = 0;
    dispatcher().background([&] {
        dispatcher().main([&, found = 42] {
            reportedOn = std::this_thread::get_id();
            result = found;
        });
    });
    ASSERT_TRUE(runUntil([&] { return result != 0; }));
    EXPECT_EQ(result, 42);
    EXPECT_EQ(reportedOn, mainThread);
}

TEST_P(DispatcherContract, EveryBackgroundJobRuns) {
    std::atomic<int> count = 0;
    for (int i = 0; i < 100; ++i) dispatcher().background([&] { ++count; });
    EXPECT_TRUE(runUntil([&] { return count == 100; }));
}

INSTANTIATE_TEST_SUITE_P(All, DispatcherContract, testing::Values(Side::Fake, Side::Qt),
                         [](const auto& side) { return side.param == Side::Fake ? "Fake" : "Qt"; });

// ---- of the real one alone

TEST(QtDispatcher, BackgroundJobsRunOnOtherThreads) {
    const auto dispatcher = makeQtDispatcher();
    std::promise<std::thread::id> thread;
    dispatcher->background([&] { thread.set_value(std::this_thread::get_id()); });
    EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
}

TEST(QtDispatcher, JobsThatWaitKeepNobodyFromStarting) {
    const auto dispatcher = makeQtDispatcher();
    std::promise<void> release;
    const auto released = release.get_future().share();
    for (int i = 0; i < 4; ++i) dispatcher->background([released] { released.wait(); });
    std::promise<void> started;
    dispatcher->background([&] { started.set_value(); });
    EXPECT_EQ(started.get_future().wait_for(10s), std::future_status::ready);
    release.set_value();
}

TEST(QtDispatcher, MainJobsFromManyThreadsKeepEachThreadsOrder) {
    const auto dispatcher = makeQtDispatcher();
    std::vector<std::vector<int>> seen(4);
    for (std::size_t lane = 0; lane < seen.size(); ++lane) {
        dispatcher->background([&, lane] {
            for (int i = 0; i < 200; ++i)
                dispatcher->main([&, lane, i] { seen[lane].push_back(i); });
        });
    }
    ASSERT_TRUE(runEventsUntil([&] {
        return std::all_of(seen.begin(), seen.end(), [](const auto& s) { return s.size() == 200; });
    }));
    for (const auto& lane : seen) EXPECT_TRUE(std::is_sorted(lane.begin(), lane.end()));
}

TEST(QtDispatcher, ItsEndDropsMainJobsThatWait) {
    auto dispatcher = makeQtDispatcher();
    bool ran = false;
    const auto captured = std::make_shared<int>(7);
    dispatcher->main([&ran, captured] { ran = true; });
    dispatcher.reset();
    QCoreApplication::processEvents();
    EXPECT_FALSE(ran);
    EXPECT_EQ(captured.use_count(), 1); // the job is gone with what it held
}

TEST(QtDispatcher, ItsEndWaitsForJobsThatRunAndDropsTheOthers) {
    constexpr int kMany = 200; // more than it has threads
    std::atomic<bool> quit = false;
    std::atomic<int> begun = 0;
    std::atomic<int> ended = 0;
    std::atomic<int> late = 0;
    auto dispatcher = makeQtDispatcher();
    Dispatcher* const raw = dispatcher.get();
    for (int i = 0; i < kMany; ++i) {
        raw->background([&, raw] {
            ++begun;
            while (!quit) std::this_thread::yield();
            raw->background([&] { ++late; });
            raw->main([&] { ++late; });
            ++ended;
        });
    }
    auto last = std::make_shared<int>();
    std::weak_ptr<int> waiting = last;
    raw->background([&, kept = std::move(last)] { ++late; });

    // The jobs end when the last one has been dropped, which only the dispatcher's end does.
    std::thread quitter([&] {
        while (!waiting.expired()) std::this_thread::yield();
        quit = true;
    });
    dispatcher.reset();
    EXPECT_EQ(ended.load(), begun.load());
    EXPECT_LT(begun, kMany);
    quitter.join();
    QCoreApplication::processEvents();
    EXPECT_EQ(late, 0);
}

} // namespace
} // namespace kelvane
