#include "critics/picture/picture_measures.h"

#include "tests/critics/picture/drawing.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

using drawing::blank;
using drawing::blurred;
using drawing::fill;
using drawing::gray;
using drawing::noisy;
using drawing::photograph;

TEST(PictureMeasures, FlatPictureHasNothingToMeasure) {
    const PictureMeasures measures = measure(blank(320, 240, gray(128)));
    EXPECT_EQ(measures.blocks, 63); // 9 x 7 whole blocks inside a border of one pixel.
    EXPECT_EQ(measures.photoBlocks, 0);
    EXPECT_EQ(measures.noisyBlocks, 0);
    EXPECT_EQ(measures.edgyBlocks, 0);
    EXPECT_EQ(measures.tones.median, 128);
    EXPECT_EQ(measures.tones.levels, 1);
}

TEST(PictureMeasures, TonesAreShares) {
    Picture picture = blank(200, 100, gray(10));
    fill(picture, 0, 0, 100, 100, gray(255));
    const Tones tones = measure(picture).tones;
    EXPECT_DOUBLE_EQ(tones.white, 0.5);
    EXPECT_EQ(tones.percent10, 10);
    EXPECT_EQ(tones.percent90, 255);
    EXPECT_EQ(tones.levels, 2);
}

TEST(PictureMeasures, NoiseIsMeasuredInLevels) {
    // Evenly spread noise of 30 levels either way deviates by 61 / sqrt(12), about 17.6.
    const PictureMeasures measures = measure(noisy(blank(320, 240, gray(128)), 30));
    EXPECT_EQ(measures.noisyBlocks, measures.blocks);
    EXPECT_NEAR(measures.noiseSigma, 17.6, 0.8);
}

TEST(PictureMeasures, TextureOfNeighbouringPixelsIsNoNoise) {
    const PictureMeasures measures = measure(blurred(noisy(blank(320, 240, gray(128)), 90), 1));
    EXPECT_GT(measures.photoBlocks, 0);
    EXPECT_EQ(measures.noisyBlocks, 0);
}

TEST(PictureMeasures, SharpnessFallsWithBlur) {
    const Picture sharp = photograph(320, 240);
    const double before = measure(sharp).sharpness;
    const double after = measure(blurred(blurred(sharp, 3), 3)).sharpness;
    EXPECT_GT(before, 0.3);
    EXPECT_LT(after, 0.12);
}

TEST(PictureMeasures, BandingTellsBandsAndStep) {
    Picture picture = blank(400, 200);
    for (int i = 0; i < 10; ++i) fill(picture, i * 40, 0, 40, 200, gray(40 + i * 15));
    const auto found = findBanding(picture);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].bands, 10);
    EXPECT_EQ(found[0].step, 15);
    EXPECT_EQ(found[0].box.width, 400);

    Picture few = blank(400, 200); // Five shades are a design.
    for (int i = 0; i < 5; ++i) fill(few, i * 80, 0, 80, 200, gray(40 + i * 15));
    EXPECT_TRUE(findBanding(few).empty());

    Picture back = blank(400, 200); // Up and down is a pattern.
    for (int i = 0; i < 10; ++i) fill(back, i * 40, 0, 40, 200, gray(40 + i % 2 * 15));
    EXPECT_TRUE(findBanding(back).empty());
}

} // namespace
} // namespace trevix
