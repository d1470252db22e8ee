#include "platform/macos/window_dictionary.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace kelvane {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

WindowDictionary ordinary() {
    return {{kWindowOwnerKey, std::int64_t{501}},
            {kWindowLayerKey, std::int64_t{0}},
            {kWindowBoundsKey, WindowNumbers{{"X", 10.0},
                                             {"Y", 20.0},
                                             {kBoundsWidthKey, 800.5},
                                             {kBoundsHeightKey, std::int64_t{600}}}},
            {kWindowNumberKey, std::int64_t{77}},
            {"kCGWindowOwnerName", ForeignValue{}}};
}

WindowDictionary without(const char* key) {
    auto dictionary = ordinary();
    dictionary.erase(key);
    return dictionary;
}

WindowDictionary with(const char* key, WindowValue value) {
    auto dictionary = ordinary();
    dictionary[key] = std::move(value);
    return dictionary;
}

std::optional<WindowBounds> boundsWith(WindowNumber width, WindowNumber height) {
    return windowInfo(with(kWindowBoundsKey,
                           WindowNumbers{{kBoundsWidthKey, width}, {kBoundsHeightKey, height}}))
        .bounds;
}

TEST(MacosWindowDictionary, OrdinaryWindow) {
    EXPECT_EQ(windowInfo(ordinary()),
              (WindowInfo{.ownerPid = 501,
                          .layer = 0,
                          .bounds = WindowBounds{.width = 800.5, .height = 600.0},
                          .number = 77}));
}

TEST(MacosWindowDictionary, KeysAreSpelledAsTheSystemSpellsThem) {
    const WindowDictionary dictionary{
        {"kCGWindowOwnerPID", std::int64_t{1}},
        {"kCGWindowLayer", std::int64_t{2}},
        {"kCGWindowBounds", WindowNumbers{{"Width", 3.0}, {"Height", 4.0}}},
        {"kCGWindowNumber", std::int64_t{5}}};
    EXPECT_EQ(windowInfo(dictionary),
              (WindowInfo{.ownerPid = 1,
                          .layer = 2,
                          .bounds = WindowBounds{.width = 3.0, .height = 4.0},
                          .number = 5}));
}

TEST(MacosWindowDictionary, EmptyDictionaryTellsNothing) {
    EXPECT_EQ(windowInfo({}), WindowInfo{});
}

TEST(MacosWindowDictionary, MissingKeyLeavesOnlyItsOwnFieldAbsent) {
    EXPECT_EQ(windowInfo(without(kWindowOwnerKey)).ownerPid, std::nullopt);
    EXPECT_EQ(windowInfo(without(kWindowOwnerKey)).number, 77);
    EXPECT_EQ(windowInfo(without(kWindowLayerKey)).layer, std::nullopt);
    EXPECT_EQ(windowInfo(without(kWindowBoundsKey)).bounds, std::nullopt);
    EXPECT_EQ(windowInfo(without(kWindowBoundsKey)).ownerPid, 501);
    EXPECT_EQ(windowInfo(without(kWindowNumberKey)).number, std::nullopt);
}

TEST(MacosWindowDictionary, ValueOfAnotherKindIsNoInteger) {
    for (const char* key : {kWindowOwnerKey, kWindowLayerKey, kWindowNumberKey}) {
        for (const WindowValue& value : {WindowValue{ForeignValue{}}, WindowValue{WindowNumbers{}},
                                         WindowValue{0.5}, WindowValue{kNan}}) {
            const WindowInfo info = windowInfo(with(key, value));
            const int absent = int{!info.ownerPid} + int{!info.layer} + int{!info.number};
            EXPECT_EQ(absent, 1) << key << " " << value.index();
        }
    }
}

TEST(MacosWindowDictionary, WholeFloatingPointNumberIsAnInteger) {
    EXPECT_EQ(windowInfo(with(kWindowLayerKey, 25.0)).layer, 25);
    EXPECT_EQ(windowInfo(with(kWindowLayerKey, -0.0)).layer, 0);
    EXPECT_EQ(windowInfo(with(kWindowLayerKey, -0x1p63)).layer, kLeast);
}

TEST(MacosWindowDictionary, FloatingPointNumberOutOfRangeIsNoInteger) {
    for (const double value : {0x1p63, -0x1.8p63, 1e300, -1e300, kInfinity, -kInfinity}) {
        EXPECT_EQ(windowInfo(with(kWindowNumberKey, value)).number, std::nullopt) << value;
    }
}

TEST(MacosWindowDictionary, LargeIntegersAreNotRounded) {
    EXPECT_EQ(windowInfo(with(kWindowNumberKey, kMost)).number, kMost);
    EXPECT_EQ(windowInfo(with(kWindowNumberKey, kLeast)).number, kLeast);
    EXPECT_EQ(windowInfo(with(kWindowNumberKey, std::int64_t{9'007'199'254'740'993})).number,
              9'007'199'254'740'993);
}

TEST(MacosWindowDictionary, BoundsOfAnotherKindAreNone) {
    for (const WindowValue& value :
         {WindowValue{ForeignValue{}}, WindowValue{std::int64_t{4}}, WindowValue{4.0}}) {
        EXPECT_EQ(windowInfo(with(kWindowBoundsKey, value)).bounds, std::nullopt);
    }
}

TEST(MacosWindowDictionary, BoundsWithoutALengthLackOnlyThat) {
    EXPECT_EQ(windowInfo(with(kWindowBoundsKey, WindowNumbers{{kBoundsWidthKey, 4.0}})).bounds,
              (WindowBounds{.width = 4.0, .height = std::nullopt}));
    EXPECT_EQ(windowInfo(with(kWindowBoundsKey, WindowNumbers{})).bounds, WindowBounds{});
}

TEST(MacosWindowDictionary, LengthMayBeAnyKindOfNumber) {
    EXPECT_EQ(boundsWith(std::int64_t{3}, 4.5), (WindowBounds{.width = 3.0, .height = 4.5}));
    EXPECT_EQ(boundsWith(0.0, std::int64_t{0}), (WindowBounds{.width = 0.0, .height = 0.0}));
}

TEST(MacosWindowDictionary, NegativeSizeIsASize) {
    EXPECT_EQ(boundsWith(-1.0, 4.0), (WindowBounds{.width = -1.0, .height = 4.0}));
    EXPECT_EQ(boundsWith(4.0, std::int64_t{-600}), (WindowBounds{.width = 4.0, .height = -600.0}));
}

TEST(MacosWindowDictionary, SizeThatIsNoNumberIsNone) {
    EXPECT_EQ(boundsWith(kNan, 4.0), (WindowBounds{.width = std::nullopt, .height = 4.0}));
    EXPECT_EQ(boundsWith(4.0, kInfinity), (WindowBounds{.width = 4.0, .height = std::nullopt}));
    EXPECT_EQ(boundsWith(ForeignValue{}, 4.0),
              (WindowBounds{.width = std::nullopt, .height = 4.0}));
}

} // namespace
} // namespace kelvane
