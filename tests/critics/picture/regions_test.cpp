#include "critics/picture/regions.h"

#include "tests/critics/picture/drawing.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

using drawing::blank;
using drawing::fill;
using drawing::gray;

TEST(Regions, SurfacesAndTheMarksOnThem) {
    Picture picture = blank(300, 200, gray(240));
    fill(picture, 40, 50, 120, 60, gray(90));
    fill(picture, 60, 70, 4, 12, gray(250));
    const Regions regions = findRegions(picture);
    ASSERT_EQ(regions.surfaces.size(), 2U);
    EXPECT_EQ(regions.surfaces[0].box, (Rect{0, 0, 300, 200}));
    EXPECT_EQ(regions.surfaces[0].colour, gray(240));
    EXPECT_EQ(regions.surfaces[0].pixels, 300 * 200 - 120 * 60);
    EXPECT_EQ(regions.surfaces[1].box, (Rect{40, 50, 120, 60}));
    ASSERT_EQ(regions.marks.size(), 1U);
    EXPECT_EQ(regions.marks[0].box, (Rect{60, 70, 4, 12}));
    EXPECT_EQ(regions.marks[0].ground, gray(90));
    EXPECT_EQ(regions.marks[0].ink, gray(250));
    EXPECT_EQ(regions.marks[0].pixels, 48);
    EXPECT_EQ(regions.surfaceAt[0], 1U);
    EXPECT_EQ(regions.surfaceAt[300 * 55 + 45], 2U);
    EXPECT_EQ(regions.surfaceAt[300 * 75 + 61], 0U);
}

TEST(Regions, SoftGradientIsOneSurface) {
    Picture picture = blank(500, 100);
    for (int x = 0; x < 500; ++x) fill(picture, x, 0, 1, 100, gray(x / 2));
    const Regions regions = findRegions(picture);
    ASSERT_EQ(regions.surfaces.size(), 1U);
    EXPECT_EQ(regions.surfaces[0].pixels, 50'000);
}

TEST(Regions, InkIsThePixelThatStandsOutMost) {
    Picture picture = blank(100, 100);
    fill(picture, 40, 40, 6, 10, gray(200)); // Soft edges around
    fill(picture, 42, 42, 2, 6, gray(30));   // a dark stroke.
    const Regions regions = findRegions(picture);
    ASSERT_EQ(regions.marks.size(), 1U);
    EXPECT_EQ(regions.marks[0].ink, gray(30));
    EXPECT_NEAR(regions.marks[0].contrast, contrastRatio(gray(30), gray(255)), 1e-9);
}

TEST(Regions, WhatBordersOnTwoColoursIsNoMark) {
    Picture picture = blank(200, 100, gray(250));
    fill(picture, 100, 0, 100, 100, gray(40));
    fill(picture, 95, 40, 10, 10, gray(140));
    EXPECT_TRUE(findRegions(picture).marks.empty());
}

TEST(Regions, OutlineOfAFieldIsNoMark) {
    Picture picture = blank(300, 200, gray(250));
    fill(picture, 40, 50, 200, 30, gray(120));
    fill(picture, 41, 51, 198, 28, gray(250));
    EXPECT_TRUE(findRegions(picture).marks.empty());
}

TEST(Regions, PlacesReadAsWords) {
    EXPECT_EQ(placeName({10, 40, 120, 30}), "x 10, y 40, 120 x 30 px");
    EXPECT_EQ(united({10, 40, 20, 5}, {0, 42, 15, 30}), (Rect{0, 40, 30, 32}));
}

} // namespace
} // namespace trevix
