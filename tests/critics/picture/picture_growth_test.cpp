#include "critics/picture/image_critic.h"
#include "tests/critics/growth.h"
#include "tests/critics/picture/drawing.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace trevix {
namespace {

using drawing::blank;
using drawing::encodePng;
using drawing::fill;
using drawing::gray;
using drawing::noisy;
using drawing::write;

struct Hostile {
    const char* name;
    std::function<Picture(int side)> draw;
};

/// `draw(picture, x, y)` at every crossing of a grid.
template <typename Draw>
Picture grid(int side, int stepX, int stepY, const Draw& draw) {
    Picture picture = blank(side, side);
    for (int y = 0; y < side; y += stepY) {
        for (int x = 0; x < side; x += stepX) draw(picture, x, y);
    }
    return picture;
}

const std::vector<Hostile>& hostilePictures() {
    static const std::vector<Hostile> pictures{
        {"Checkers",
         [](int side) {
             return grid(side, 2, 2,
                         [](Picture& p, int x, int y) { fill(p, x, y, 1, 1, gray(0)); });
         }},
        {"Noise", [](int side) { return noisy(blank(side, side, gray(128)), 120); }},
        {"Dots",
         [](int side) {
             return grid(side, 7, 7,
                         [](Picture& p, int x, int y) { fill(p, x, y, 3, 4, gray(0)); });
         }},
        {"Bars",
         [](int side) {
             return grid(side, 8, 64, [](Picture& p, int x, int y) {
                 fill(p, x, y, 3, 40 + x % 20, gray(x % 200));
             });
         }},
        {"Writing",
         [](int side) {
             return grid(side, 128, 20, [](Picture& p, int x, int y) {
                 write(p, x + 3 + y / 20 % 3, y, "pack my box", gray(60));
             });
         }},
        {"PaleWritingInSteps",
         [](int side) {
             return grid(side, 96, 12, [](Picture& p, int x, int y) {
                 write(p, x + y % 5, y, "quick fox", gray(150 + (x / 96 + y / 12) % 50), 1);
             });
         }},
        {"Controls",
         [](int side) {
             return grid(side, 60, 30, [](Picture& p, int x, int y) {
                 fill(p, x + y / 30 % 4, y, 48, 20, gray(200));
             });
         }},
        {"ManyColours",
         [](int side) {
             return grid(side, 40, 30, [](Picture& p, int x, int y) {
                 fill(p, x, y, 36, 24,
                      {static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y), 90, 255});
             });
         }},
        {"Stairs",
         [](int side) {
             return grid(side, 8, side, [](Picture& p, int x, int y) {
                 fill(p, x, y, 8, p.height, gray(x / 2 % 250));
             });
         }},
        {"Spiral", // One surface that winds around itself.
         [](int side) {
             Picture picture = blank(side, side);
             for (int i = 0; i < side / 2; i += 2) {
                 fill(picture, i, i, side - 2 * i, 1, gray(0));
                 fill(picture, side - 1 - i, i, 1, side - 2 * i, gray(0));
                 fill(picture, i + 2, side - 1 - i, side - 2 * i - 2, 1, gray(0));
                 fill(picture, i + 2, i + 4, 1, side - 2 * i - 4, gray(0));
             }
             return picture;
         }},
    };
    return pictures;
}

class PictureGrowth : public testing::TestWithParam<std::size_t> {};

TEST_P(PictureGrowth, IsModest) {
    std::vector<Part> parts;
    for (const int side : {256, 512, 1024, 2048}) {
        Part part;
        part.mimeType = "image/png";
        part.isText = false;
        part.bytes = encodePng(hostilePictures()[GetParam()].draw(side));
        parts.push_back(std::move(part));
    }
    for (const char* modality : {"ui_ux", "deck"}) {
        expectModestGrowth(parts, [modality](const Part& part) {
            PictureAllowance allowance;
            (void)critiqueImage(part, modality, allowance).findings;
        });
    }
}

INSTANTIATE_TEST_SUITE_P(Hostile, PictureGrowth,
                         testing::Range(std::size_t{0}, hostilePictures().size()),
                         [](const auto& tested) { return hostilePictures()[tested.param].name; });

} // namespace
} // namespace trevix
