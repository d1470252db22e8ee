#include "critics/findings/stop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <thread>

namespace trevix {
namespace {

TEST(Stop, TokensSeeWhatTheirSourceAsks) {
    const auto source = std::make_unique<StopSource>();
    const StopToken token = source->token();
    EXPECT_FALSE(token.isAsked());
    EXPECT_TRUE(source->ask());
    EXPECT_FALSE(source->ask()) << "once";
    EXPECT_TRUE(token.isAsked());
    EXPECT_TRUE(source->isAsked());
    EXPECT_FALSE(StopToken().isAsked());
}

TEST(Stop, WhatIsRegisteredIsDoneOnceByWhoAsks) {
    const auto source = std::make_unique<StopSource>();
    std::thread::id on;
    int done = 0;
    const StopCallback callback(source->token(), [&] {
        on = std::this_thread::get_id();
        ++done;
    });
    std::thread asking([&] { source->ask(); });
    const auto asker = asking.get_id();
    asking.join();
    source->ask();
    EXPECT_EQ(on, asker);
    EXPECT_EQ(done, 1);
}

TEST(Stop, WhatComesTooLateIsDoneAtOnceAndWhatIsGoneIsNot) {
    const auto source = std::make_unique<StopSource>();
    bool gone = false;
    {
        const StopCallback callback(source->token(), [&] { gone = true; });
    }
    source->ask();
    EXPECT_FALSE(gone);
    bool late = false;
    const StopCallback callback(source->token(), [&] { late = true; });
    EXPECT_TRUE(late);
    const StopCallback nobodys(StopToken(), [] { ADD_FAILURE() << "nobody asks"; });
}

TEST(Stop, ACallbackMayEndItselfAndAskAgain) {
    const auto source = std::make_unique<StopSource>();
    std::optional<StopCallback> callback;
    bool done = false;
    callback.emplace(source->token(), [&] {
        source->ask();
        callback.reset();
        done = true;
    });
    source->ask();
    EXPECT_TRUE(done);
}

TEST(Stop, WhoEndsACallbackThatIsUnderWayWaitsForIt) {
    const auto source = std::make_unique<StopSource>();
    std::promise<void> begun;
    std::promise<void> goOn;
    std::atomic<bool> done = false;
    auto callback = std::make_unique<StopCallback>(source->token(), [&] {
        begun.set_value();
        goOn.get_future().wait();
        done = true;
    });
    std::thread asking([&] { source->ask(); });
    begun.get_future().wait();
    std::thread releasing([&] { goOn.set_value(); });
    callback.reset();
    EXPECT_TRUE(done);
    asking.join();
    releasing.join();
}

TEST(Stop, AThreadIsAskedAndWaitedForWhenItGoes) {
    std::atomic<bool> ended = false;
    {
        StoppableThread thread;
        thread = StoppableThread([&](const StopToken& stop) {
            while (!stop.isAsked()) std::this_thread::yield();
            ended = true;
        });
    }
    EXPECT_TRUE(ended);
}

} // namespace
} // namespace trevix
