#include "critics/picture/glyph_strokes.h"

#include "tests/critics/picture/drawing.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

using drawing::blank;
using drawing::fill;
using drawing::gray;
using drawing::write;

std::vector<TextLine> linesOf(const Picture& picture) {
    return findTextLines(picture, findRegions(picture));
}

TEST(GlyphStrokes, FindsALineWithItsSizeAndColours) {
    Picture picture = blank(500, 120);
    write(picture, 40, 30, "the quick brown fox", gray(60));
    const auto lines = linesOf(picture);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].box, (Rect{40, 30, 226, 14}));
    EXPECT_EQ(lines[0].xHeight, 10);
    EXPECT_EQ(lines[0].ink, gray(60));
    EXPECT_EQ(lines[0].ground, gray(255));
    EXPECT_NEAR(lines[0].contrast, contrastRatio(gray(60), gray(255)), 1e-9);
    EXPECT_EQ(lines[0].marks, 16);
}

TEST(GlyphStrokes, FindsLightWritingOnDarkAndOnSoftGradients) {
    Picture picture = blank(500, 200);
    for (int y = 0; y < 200; ++y) fill(picture, 0, y, 500, 1, gray(20 + y / 4));
    write(picture, 40, 30, "the quick brown fox", gray(230));
    write(picture, 40, 150, "jumps over the lazy dog", gray(230));
    EXPECT_EQ(linesOf(picture).size(), 2U);
}

TEST(GlyphStrokes, KeepsLinesAndColumnsApart) {
    Picture picture = blank(800, 200);
    write(picture, 40, 30, "the quick brown fox", gray(0));
    write(picture, 40, 52, "jumps over the dog", gray(0));
    write(picture, 480, 30, "pack my box with jugs", gray(0));
    const auto lines = linesOf(picture);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].box.x, 40);
    EXPECT_EQ(lines[1].box.x, 480);
    EXPECT_EQ(lines[2].box.y, 52);
}

TEST(GlyphStrokes, FindsLargeLetters) {
    Picture picture = blank(1200, 200);
    write(picture, 40, 30, "large title here", gray(0), 10);
    const auto lines = linesOf(picture);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].xHeight, 50);
}

TEST(GlyphStrokes, OtherThingsAreNoWriting) {
    Picture picture = blank(800, 600);
    for (int i = 0; i < 40; ++i) fill(picture, 40 + i * 10, 20, 2, i % 5 == 0 ? 12 : 6, gray(0));
    for (int i = 0; i < 60; ++i) fill(picture, 40 + i * 8, 60, 4, 4, gray(0));    // A dotted line.
    fill(picture, 40, 100, 600, 2, gray(0));                                      // A rule.
    fill(picture, 40, 140, 300, 40, gray(120));                                   // A button.
    for (int i = 0; i < 3; ++i) fill(picture, 40 + i * 40, 220, 20, 20, gray(0)); // Icons.
    for (int i = 0; i < 12; ++i) fill(picture, 40 + i * 30, 400 - i * 9, 20, i * 9 + 4, gray(90));
    EXPECT_TRUE(linesOf(picture).empty());
    EXPECT_TRUE(linesOf(drawing::photograph(640, 480)).empty());
    EXPECT_TRUE(linesOf(drawing::noisy(blank(640, 480, gray(128)), 60)).empty());
}

TEST(GlyphStrokes, ButtonWithItsLabel) {
    Picture picture = blank(400, 120);
    fill(picture, 40, 40, 160, 40, gray(60));
    write(picture, 70, 52, "save file", gray(250));
    const auto lines = linesOf(picture);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].ground, gray(60));
    EXPECT_EQ(lines[0].ink, gray(250));
}

} // namespace
} // namespace trevix
