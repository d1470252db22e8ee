#include "service/setup/idle_watch.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

using namespace std::chrono_literals;

const IdleWatch::Instant kStart{};

TEST(IdleWatchTest, IsOverAfterTheLimitAndNotBefore) {
    IdleWatch watch(10s, kStart);
    EXPECT_FALSE(watch.isOver(kStart + 9999ms, 0, false));
    EXPECT_TRUE(watch.isOver(kStart + 10s, 0, false));
}

TEST(IdleWatchTest, AConnectionBeginsTheWaitAnew) {
    IdleWatch watch(10s, kStart);
    EXPECT_FALSE(watch.isOver(kStart + 6s, 1, false));
    EXPECT_FALSE(watch.isOver(kStart + 15s, 1, false));
    EXPECT_TRUE(watch.isOver(kStart + 16s, 1, false));
}

TEST(IdleWatchTest, WhileThereIsWorkItIsNeverOver) {
    IdleWatch watch(10s, kStart);
    for (auto at = 1s; at < 600s; at += 7s) {
        EXPECT_FALSE(watch.isOver(kStart + at, 0, true)) << at.count();
    }
    EXPECT_FALSE(watch.isOver(kStart + 603s, 0, false));
    EXPECT_TRUE(watch.isOver(kStart + 620s, 0, false));
}

TEST(IdleWatchTest, WhatWasGoingOnAfterAllBeginsItAnewToo) {
    IdleWatch watch(10s, kStart);
    EXPECT_TRUE(watch.isOver(kStart + 10s, 0, false));
    watch.restart(kStart + 10s);
    EXPECT_FALSE(watch.isOver(kStart + 19s, 0, false));
    EXPECT_TRUE(watch.isOver(kStart + 20s, 0, false));
}

TEST(IdleWatchTest, LooksOftenEnoughAndSeldomEnough) {
    EXPECT_EQ(IdleWatch(1s, kStart).period(), 250ms);
    EXPECT_EQ(IdleWatch(300s, kStart).period(), 1s);
}

} // namespace
} // namespace trevix
