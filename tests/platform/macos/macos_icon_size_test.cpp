#include "platform/macos/icon_size.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

TEST(MacosIconSize, IsTheLargestWidthUpToTheLimit) {
    EXPECT_EQ(iconSide({16, 32, 128}), 128);
    EXPECT_EQ(iconSide({128, 16, 32}), 128);
    EXPECT_EQ(iconSide({256}), 256);
}

TEST(MacosIconSize, LargerPicturesAreDrawnAtTheLimit) {
    EXPECT_EQ(iconSide({16, 512, 1024}), 256);
    EXPECT_EQ(iconSide({257}), 256);
}

TEST(MacosIconSize, DrawingHasEverySize) {
    EXPECT_EQ(iconSide({16, 0}), 256);
    EXPECT_EQ(iconSide({-1}), 256);
}

TEST(MacosIconSize, NoPictureIsNoIcon) {
    EXPECT_EQ(iconSide({}), std::nullopt);
}

} // namespace
} // namespace kelvane
