#include "platform/ports/quit_signal.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;

TEST(QuitSignal, StartsNotRaised) {
    const QuitSignal quit;
    EXPECT_FALSE(quit.raised());
}

TEST(QuitSignal, WaitPassesWhenNothingIsRaised) {
    QuitSignal quit;
    const auto before = std::chrono::steady_clock::now();
    EXPECT_FALSE(quit.waitFor(2ms));
    EXPECT_GE(std::chrono::steady_clock::now() - before, 2ms);
}

TEST(QuitSignal, WaitOfNoTimeOrLessReturnsAtOnce) {
    QuitSignal quit;
    EXPECT_FALSE(quit.waitFor(0ns));
    EXPECT_FALSE(quit.waitFor(-1h));
    EXPECT_FALSE(quit.waitFor(std::chrono::nanoseconds::min()));
}

TEST(QuitSignal, RaisedEndsWaitsToCome) {
    QuitSignal quit;
    quit.raise();
    EXPECT_TRUE(quit.raised());
    EXPECT_TRUE(quit.waitFor(1h));
    EXPECT_TRUE(quit.waitFor(std::chrono::nanoseconds::max()));
    EXPECT_TRUE(quit.waitFor(-1s));
}

TEST(QuitSignal, RaiseEndsAllWaitsUnderWay) {
    QuitSignal quit;
    std::vector<std::future<bool>> waits;
    for (const auto duration : {std::chrono::nanoseconds(1h), std::chrono::nanoseconds::max(),
                                std::chrono::nanoseconds(24h)}) {
        waits.push_back(
            std::async(std::launch::async, [&quit, duration] { return quit.waitFor(duration); }));
    }
    quit.raise();
    for (auto& wait : waits) EXPECT_TRUE(wait.get());
}

TEST(QuitSignal, CallbacksRunOnceOldestFirstOnTheRaisingThread) {
    QuitSignal quit;
    std::vector<std::string> calls;
    std::thread::id thread;
    const auto first = quit.onRaise([&] {
        calls.emplace_back("first");
        thread = std::this_thread::get_id();
    });
    const auto second = quit.onRaise([&] {
        EXPECT_TRUE(quit.raised());
        calls.emplace_back("second");
    });
    EXPECT_TRUE(calls.empty());
    quit.raise();
    quit.raise();
    EXPECT_EQ(calls, (std::vector<std::string>{"first", "second"}));
    EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(QuitSignal, RegistrationAfterTheRaiseIsCalledAtOnce) {
    QuitSignal quit;
    quit.raise();
    int calls = 0;
    const auto registration = quit.onRaise([&] { ++calls; });
    EXPECT_EQ(calls, 1);
}

TEST(QuitSignal, EndedRegistrationIsNotCalled) {
    QuitSignal quit;
    int calls = 0;
    {
        const auto registration = quit.onRaise([&] { ++calls; });
    }
    auto reset = quit.onRaise([&] { ++calls; });
    reset.reset();
    reset.reset();
    auto replaced = quit.onRaise([&] { ++calls; });
    replaced = QuitSignal::Registration();
    quit.raise();
    EXPECT_EQ(calls, 0);
}

TEST(QuitSignal, EndedRegistrationLetsGoOfWhatItHeld) {
    QuitSignal quit;
    const auto held = std::make_shared<int>(1);
    auto registration = quit.onRaise([held] {});
    EXPECT_EQ(held.use_count(), 2);
    registration.reset();
    EXPECT_EQ(held.use_count(), 1);
    registration = quit.onRaise([held] {});
    quit.raise();
    EXPECT_EQ(held.use_count(), 1) << "a callback that has been called is done with";
}

TEST(QuitSignal, WhatACallbackHoldsMayEndARegistration) {
    QuitSignal quit;
    int calls = 0;
    auto held = std::make_shared<QuitSignal::Registration>();
    const auto first = quit.onRaise([held] {});
    *held = quit.onRaise([&] { ++calls; });
    held.reset(); // the first callback is now its only owner, and goes before the second's turn
    quit.raise();
    EXPECT_EQ(calls, 0);
}

TEST(QuitSignal, MovedRegistrationStaysRegistered) {
    QuitSignal quit;
    int calls = 0;
    QuitSignal::Registration outer;
    {
        auto inner = quit.onRaise([&] { ++calls; });
        outer = std::move(inner);
    }
    const auto last = std::move(outer);
    quit.raise();
    EXPECT_EQ(calls, 1);
}

TEST(QuitSignal, CallbackMayEndItsOwnAndAnothersRegistration) {
    QuitSignal quit;
    int calls = 0;
    QuitSignal::Registration own;
    QuitSignal::Registration others;
    own = quit.onRaise([&] {
        ++calls;
        own.reset();
        others.reset();
    });
    others = quit.onRaise([&] { calls += 100; });
    quit.raise();
    EXPECT_EQ(calls, 1);
}

TEST(QuitSignal, CallbackMayRegisterAnother) {
    QuitSignal quit;
    int calls = 0;
    QuitSignal::Registration inner;
    const auto outer = quit.onRaise([&] { inner = quit.onRaise([&] { ++calls; }); });
    quit.raise();
    EXPECT_EQ(calls, 1);
}

TEST(QuitSignal, EndOfARegistrationWaitsForACallUnderWay) {
    QuitSignal quit;
    std::promise<void> started;
    std::promise<void> go;
    std::atomic<bool> finished = false;
    auto registration = quit.onRaise([&, mayGo = go.get_future().share()] {
        started.set_value();
        mayGo.wait();
        finished = true;
    });
    auto raising = std::async(std::launch::async, [&] { quit.raise(); });
    started.get_future().wait();
    auto ending = std::async(std::launch::async, [&] {
        registration.reset();
        return finished.load();
    });
    EXPECT_EQ(ending.wait_for(5ms), std::future_status::timeout) << "it must not return yet";
    go.set_value();
    EXPECT_TRUE(ending.get());
    raising.get();
}

TEST(QuitSignal, ManyThreadsRegisteringAndEndingDuringARaise) {
    QuitSignal quit;
    std::atomic<int> afterEnd = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 200; ++i) {
                // What the callback touches ends right after its registration.
                auto alive = std::make_unique<std::atomic<bool>>(true);
                auto registration = quit.onRaise([&afterEnd, state = alive.get()] {
                    if (!state->load()) ++afterEnd;
                });
                registration.reset();
                alive->store(false);
            }
        });
    }
    quit.raise();
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(afterEnd, 0);
}

} // namespace
} // namespace kelvane
