#include "critics/picture/ink.h"

#include "tests/critics/picture/drawing.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

using drawing::blank;
using drawing::fill;
using drawing::gray;
using drawing::write;

Rect whole(const Picture& picture) {
    return {0, 0, picture.width, picture.height};
}

/// Letters of which no pixel has the colour of the ink: each is a blend, one row another.
Picture blended(int ink, int width = 360) {
    Picture picture = blank(width, 20);
    write(picture, 4, 3, "the quick brown fox jumps over", gray(0));
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            if (picture.at(x, y) == gray(0)) picture.at(x, y) = gray(ink + (x * 7 + y * 3) % 60);
        }
    }
    return picture;
}

TEST(Ink, TheColourThatFillsStrokesIsSeen) {
    Picture picture = blank(360, 20, gray(250));
    write(picture, 4, 3, "the quick brown fox jumps over", {0x30, 0x60, 0x90, 255});
    const Ink ink = inkIn(picture, whole(picture), gray(255));
    EXPECT_EQ(ink.ground, gray(250));
    EXPECT_EQ(ink.colour, (Colour{0x30, 0x60, 0x90, 255}));
    EXPECT_DOUBLE_EQ(ink.full, 1);
    EXPECT_TRUE(ink.sure);
    EXPECT_FALSE(ink.outlined);
    EXPECT_NEAR(ink.contrast, contrastRatio(ink.colour, ink.ground), 1e-9);
    EXPECT_NEAR(ink.stroke, 2, 0.01);
}

TEST(Ink, BlendsAloneAreNotSure) {
    const Picture picture = blended(90);
    const Ink ink = inkIn(picture, whole(picture), gray(255));
    EXPECT_FALSE(ink.sure) << ink.full;
    EXPECT_LT(ink.full, 0.12);
}

TEST(Ink, OneLetterMayBeABlendThroughout) {
    Picture picture = blank(360, 20);
    write(picture, 4, 3, "l", gray(120));
    EXPECT_FALSE(inkIn(picture, {2, 1, 16, 18}, gray(255)).sure);
    write(picture, 4, 3, "let us have a look at it", gray(120));
    EXPECT_TRUE(inkIn(picture, whole(picture), gray(255)).sure);
}

TEST(Ink, SpecksOfAnotherColourAreNotTheInk) {
    Picture picture = blank(360, 20);
    write(picture, 4, 3, "the quick brown fox jumps over", gray(120));
    fill(picture, 355, 8, 2, 1, gray(0));
    EXPECT_EQ(inkIn(picture, whole(picture), gray(255)).colour, gray(120));
}

TEST(Ink, LightLettersOnDark) {
    Picture picture = blank(360, 20, gray(30));
    write(picture, 4, 3, "the quick brown fox jumps over", gray(200));
    const Ink ink = inkIn(picture, whole(picture), gray(30));
    EXPECT_EQ(ink.colour, gray(200));
    EXPECT_EQ(ink.ground, gray(30));
}

TEST(Ink, AGlowAroundLettersIsTheirContrast) {
    Picture picture = blank(360, 20, gray(0x73));
    for (const auto& [dx, dy] : {std::pair{-1, 0}, {1, 0}, {0, -1}, {0, 1}}) {
        write(picture, 4 + dx, 4 + dy, "the quick brown fox jumps", gray(255));
    }
    write(picture, 4, 4, "the quick brown fox jumps", gray(0));
    const Ink ink = inkIn(picture, whole(picture), gray(0x73));
    EXPECT_TRUE(ink.outlined);
    EXPECT_NEAR(ink.contrast, 21, 0.01);
}

TEST(Ink, NothingOnTheGround) {
    const Picture picture = blank(40, 20, gray(200));
    const Ink ink = inkIn(picture, whole(picture), gray(200));
    EXPECT_EQ(ink.colour, ink.ground);
    EXPECT_DOUBLE_EQ(ink.contrast, 1);
    EXPECT_FALSE(ink.sure);
    EXPECT_DOUBLE_EQ(ink.stroke, 0);
}

} // namespace
} // namespace trevix
