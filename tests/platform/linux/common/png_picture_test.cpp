#include "platform/linux/common/png_picture.h"

#include "platform/linux/x11/rectangles.h"
#include "tests/platform/linux/common/png_pixels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

std::vector<std::byte> bytes(std::initializer_list<int> values) {
    std::vector<std::byte> made;
    for (const int value : values) made.push_back(static_cast<std::byte>(value));
    return made;
}

std::optional<PngPixels> roundTrip(const ServerPixels& pixels) {
    const auto png = pngFrom(pixels);
    return png ? decodePng(*png) : std::nullopt;
}

TEST(PngPicture, keepsEveryColourAndLeavesOutThePadding) {
    const auto data = bytes({3, 2, 1, 0, 6,  5,  4,  0, 99, 99, 99, 99, //
                             9, 8, 7, 0, 12, 11, 10, 0, 99, 99, 99, 99});
    const auto png = roundTrip({.bytes = data, .width = 2, .height = 2, .stride = 12});
    ASSERT_TRUE(png);
    EXPECT_FALSE(png->hasAlpha);
    EXPECT_EQ(png->at(0, 0), 0xFF010203U);
    EXPECT_EQ(png->at(1, 0), 0xFF040506U);
    EXPECT_EQ(png->at(0, 1), 0xFF070809U);
    EXPECT_EQ(png->at(1, 1), 0xFF0A0B0CU);
}

TEST(PngPicture, readsEveryFormatAServerHas) {
    const auto big = bytes({0, 1, 2, 3});
    EXPECT_EQ(roundTrip({.bytes = big, .width = 1, .height = 1, .stride = 4, .bigEndian = true})
                  ->at(0, 0),
              0xFF010203U);
    const auto packed = bytes({3, 2, 1});
    EXPECT_EQ(roundTrip({.bytes = packed, .width = 1, .height = 1, .stride = 3, .bitsPerPixel = 24})
                  ->at(0, 0),
              0xFF010203U);
    const auto sixteen = bytes({0xE0, 0xFF}); // Red and green full, blue none.
    EXPECT_EQ(roundTrip({.bytes = sixteen,
                         .width = 1,
                         .height = 1,
                         .stride = 2,
                         .bitsPerPixel = 16,
                         .red = 0xF800,
                         .green = 0x07E0,
                         .blue = 0x001F})
                  ->at(0, 0),
              0xFFFFFF00U);
    const auto thirty = bytes({0xFF, 0x03, 0x00, 0x20}); // Blue full, red a half.
    EXPECT_EQ(roundTrip({.bytes = thirty,
                         .width = 1,
                         .height = 1,
                         .stride = 4,
                         .red = 0x3FF00000,
                         .green = 0x000FFC00,
                         .blue = 0x000003FF})
                  ->at(0, 0),
              0xFF8000FFU);
    const auto swapped = bytes({1, 2, 3, 0});
    EXPECT_EQ(roundTrip({.bytes = swapped,
                         .width = 1,
                         .height = 1,
                         .stride = 4,
                         .red = 0xFF,
                         .green = 0xFF00,
                         .blue = 0xFF0000})
                  ->at(0, 0),
              0xFF010203U);
}

TEST(PngPicture, keepsAlphaWhereItMeansSomething) {
    const struct {
        std::vector<std::byte> data;
        bool hasAlpha;
        std::uint32_t first;
        const char* why;
    } cases[] = {
        {bytes({1, 2, 3, 255, 0, 0, 0, 0}), true, 0xFF030201, "a transparent corner"},
        {bytes({64, 32, 0, 128, 0, 0, 0, 255}), true, 0x80004080, "colours come multiplied"},
        {bytes({1, 2, 3, 255, 4, 5, 6, 255}), false, 0xFF030201, "full everywhere"},
        {bytes({1, 2, 3, 0, 4, 5, 6, 0}), false, 0xFF030201, "colours without any alpha"},
        {bytes({0, 0, 0, 0, 0, 0, 0, 0}), false, 0xFF000000, "nothing at all"},
        {bytes({200, 2, 3, 100, 0, 0, 0, 255}), false, 0xFF0302C8, "more colour than alpha"},
    };
    for (const auto& one : cases) {
        const auto png = roundTrip(
            {.bytes = one.data, .width = 2, .height = 1, .stride = 8, .alpha = 0xFF000000});
        ASSERT_TRUE(png) << one.why;
        EXPECT_EQ(png->hasAlpha, one.hasAlpha) << one.why;
        EXPECT_EQ(png->at(0, 0), one.first) << one.why;
    }
}

TEST(PngPicture, refusesWhatMakesNoSense) {
    const auto data = bytes({1, 2, 3, 4});
    EXPECT_TRUE(pngFrom({.bytes = data, .width = 1, .height = 1, .stride = 4}));
    EXPECT_FALSE(pngFrom({.bytes = data, .width = 0, .height = 1, .stride = 4}));
    EXPECT_FALSE(pngFrom({.bytes = data, .width = 1, .height = 0, .stride = 4}));
    EXPECT_FALSE(pngFrom({.bytes = data, .width = 2, .height = 1, .stride = 8}));
    EXPECT_FALSE(pngFrom({.bytes = data, .width = 1, .height = 2, .stride = 4}));
    EXPECT_FALSE(pngFrom({.bytes = data, .width = 1, .height = 1, .stride = 3}));
    EXPECT_FALSE(pngFrom({.bytes = data, .width = 1, .height = 1, .stride = 4, .bitsPerPixel = 8}));
    EXPECT_FALSE(pngFrom({.bytes = data, .width = 1, .height = 1, .stride = 4, .red = 0}));
    EXPECT_FALSE(pngFrom({.bytes = {}, .width = 4'000'000, .height = 1, .stride = 16'000'000}));
}

TEST(Rectangles, whatIsLeftAfterAPieceIsTakenAway) {
    const std::vector<Rectangle> area{{0, 0, 10, 10}};
    EXPECT_THAT(without(area, {20, 0, 5, 5}), ElementsAre(Rectangle{0, 0, 10, 10}));
    EXPECT_THAT(without(area, {10, 0, 5, 5}), ElementsAre(Rectangle{0, 0, 10, 10}));
    EXPECT_THAT(without(area, {-5, -5, 30, 30}), IsEmpty());
    EXPECT_THAT(without(area, {0, 0, 0, 5}), ElementsAre(Rectangle{0, 0, 10, 10}));
    EXPECT_THAT(without(area, {0, 0, 10, 4}), ElementsAre(Rectangle{0, 4, 10, 6}));
    EXPECT_THAT(without(area, {3, 3, 4, 4}),
                UnorderedElementsAre(Rectangle{0, 0, 10, 3}, Rectangle{0, 7, 10, 3},
                                     Rectangle{0, 3, 3, 4}, Rectangle{7, 3, 3, 4}));
    EXPECT_THAT(without({{0, 0, 4, 4}, {6, 0, 4, 4}}, {2, 0, 6, 4}),
                ElementsAre(Rectangle{0, 0, 2, 4}, Rectangle{8, 0, 2, 4}));
    EXPECT_THAT(without({}, {0, 0, 1, 1}), IsEmpty());
}

} // namespace
} // namespace kelvane
