#include "app/published.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvane {
namespace {

struct Object {
    WillChange willChange;
    Published<int> number{willChange, 1};
    Published<std::string> text{willChange, "a"};
};

TEST(Published, NotifiesBeforeTheValueChanges) {
    Object object;
    std::vector<std::pair<int, int>> seen; // old, new
    const auto watching =
        object.number.observe([&](int next) { seen.emplace_back(*object.number, next); });
    object.number = 2;
    EXPECT_EQ(seen, (std::vector<std::pair<int, int>>{{1, 2}}));
    EXPECT_EQ(*object.number, 2);
}

TEST(Published, EveryAssignmentNotifiesAlsoOfTheSameValue) {
    Object object;
    int calls = 0;
    const auto watching = object.number.observe([&](int) { ++calls; });
    object.number = 1;
    object.number = 1;
    EXPECT_EQ(calls, 2);
}

TEST(Published, EachPropertyHasItsOwnStreamAndTheObjectHasOneForAll) {
    Object object;
    int numbers = 0;
    int texts = 0;
    int all = 0;
    const auto a = object.number.observe([&](int) { ++numbers; });
    const auto b = object.text.observe([&](const std::string&) { ++texts; });
    const auto c = object.willChange.add([&] { ++all; });
    object.number = 5;
    object.text = "b";
    object.text = "c";
    EXPECT_EQ(numbers, 1);
    EXPECT_EQ(texts, 2);
    EXPECT_EQ(all, 3);
}

TEST(Published, TheObjectsStreamSpeaksBeforeTheValueChangesToo) {
    Object object;
    int seen = 0;
    const auto watching = object.willChange.add([&] { seen = *object.number; });
    object.number = 9;
    EXPECT_EQ(seen, 1);
}

TEST(Published, SubscriptionEndsWithItsOwner) {
    Object object;
    int calls = 0;
    {
        const auto watching = object.number.observe([&](int) { ++calls; });
        object.number = 2;
    }
    object.number = 3;
    EXPECT_EQ(calls, 1);
}

TEST(Published, MovedSubscriptionGoesOnAndEndsOnce) {
    Object object;
    int calls = 0;
    auto first = object.number.observe([&](int) { ++calls; });
    Subscription second;
    second = std::move(first);
    object.number = 2;
    EXPECT_EQ(calls, 1);
    second.end();
    second.end();
    object.number = 3;
    EXPECT_EQ(calls, 1);
}

TEST(Published, SubscriptionMayOutliveWhatItWatched) {
    Subscription watching;
    {
        Object object;
        watching = object.number.observe([](int) {});
    }
    watching.end();
}

TEST(Published, ObserverMayEndItselfAndOthersWhileItIsCalled) {
    Object object;
    int first = 0;
    int second = 0;
    Subscription b;
    Subscription a = object.number.observe([&](int) {
        ++first;
        a.end();
        b.end();
    });
    b = object.number.observe([&](int) { ++second; });
    object.number = 2;
    object.number = 3;
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 0);
}

} // namespace
} // namespace kelvane
