#include "platform/linux/wayland/kwin_screenshot.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace kelvane {
namespace {

/// A picture of 20 x 20 pixels with a window of `alpha` at (x, y) in it.
struct Picture {
    Picture(std::uint32_t x, std::uint32_t y, std::uint32_t width, std::uint32_t height,
            std::uint32_t alpha) {
        for (std::uint32_t row = y; row < y + height; ++row) {
            for (std::uint32_t column = x; column < x + width; ++column) {
                words[row * 20 + column] = alpha << 24U;
            }
        }
        pixels.bytes = std::as_bytes(std::span(words));
        pixels.width = pixels.height = 20;
        pixels.stride = 80;
        pixels.alpha = 0xFF000000;
    }
    [[nodiscard]] std::size_t offset(const ServerPixels& part) const {
        return static_cast<std::size_t>(part.bytes.data() - pixels.bytes.data()) / 4;
    }
    std::vector<std::uint32_t> words = std::vector<std::uint32_t>(400, 0x30000000);
    ServerPixels pixels;
};

TEST(KWinShadow, isCutOffAroundTheOpaqueWindow) {
    const Picture picture(3, 2, 10, 12, 0xFF);
    const auto part = withoutShadow(picture.pixels, 10, 12);
    EXPECT_EQ(part.width, 10U);
    EXPECT_EQ(part.height, 12U);
    EXPECT_EQ(picture.offset(part), 2U * 20 + 3);
    EXPECT_EQ(part.stride, 80U);
}

TEST(KWinShadow, aTranslucentWindowStandsInTheMiddle) {
    const Picture picture(5, 4, 10, 12, 0x90);
    const auto part = withoutShadow(picture.pixels, 10, 12);
    EXPECT_EQ(part.width, 10U);
    EXPECT_EQ(part.height, 12U);
    EXPECT_EQ(picture.offset(part), 4U * 20 + 5);
}

TEST(KWinShadow, whatHasNoneStaysWhole) {
    const Picture picture(0, 0, 20, 20, 0xFF);
    EXPECT_EQ(withoutShadow(picture.pixels, 20, 20).width, 20U);
    EXPECT_EQ(withoutShadow(picture.pixels, 25, 25).height, 20U);
    EXPECT_EQ(withoutShadow(picture.pixels, 0, 0).width, 20U) << "a frame that nobody told";
    auto plain = picture.pixels;
    plain.alpha = 0;
    EXPECT_EQ(withoutShadow(plain, 5, 5).width, 20U);
}

} // namespace
} // namespace kelvane
