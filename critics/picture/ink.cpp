#include "critics/picture/ink.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <unordered_map>
#include <vector>

namespace trevix {
namespace {

// Where a comment names an experiment, `build/dev/bench/picture_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// Levels of 255 between shades of one ground, as in glyph_strokes.cpp.
constexpr int kSameGround = 12;
/// Levels of 255 within which a colour counts as the ink's own: rounding of a blend.
constexpr int kSameInk = 2;
/// One pixel in so many, and so many at least, lie beyond the colour taken for the ink's: specks of
/// what stands beside the writing.
constexpr std::size_t kStrayShare = 100;
constexpr std::size_t kFewestFull = 3;
/// Share of the inked pixels that have the ink's colour when it was seen itself, by the width of
/// the box in its heights: the fewer letters, the more alike their blends may be (experiment
/// `ink`).
struct SureFull {
    int heights;
    double share;
};
constexpr std::array<SureFull, 3> kSureFull{{{14, 0.12}, {5, 0.2}, {3, 0.35}}};
/// Of the pixels that are not ground, one in so many on either side of it makes an outline.
constexpr std::size_t kOutlineShare = 6;

std::uint32_t keyOf(const Colour& colour) {
    return static_cast<std::uint32_t>(colour.red) << 16U |
           static_cast<std::uint32_t>(colour.green) << 8U | colour.blue;
}

struct Shade {
    Colour colour;
    double light = 0; ///< Relative luminance.
    std::size_t pixels = 0;
};

/// The farthest shade that more than stray pixels reach; shades are sorted from the farthest on.
const Shade& farthest(const std::vector<Shade>& shades, std::size_t pixels) {
    const std::size_t stray = std::max(kFewestFull, pixels / kStrayShare);
    std::size_t reached = 0;
    for (const Shade& shade : shades) {
        reached += shade.pixels;
        if (reached >= stray) return shade;
    }
    return shades.back();
}

/// Widths of the runs of ink in every row, the middle one.
double strokeOf(const Picture& picture, const Rect& box, const Ink& ink) {
    const int ground = brightness(ink.ground);
    const int range = brightness(ink.colour) - ground;
    std::vector<int> widths;
    for (int y = box.y; y < box.bottom(); ++y) {
        int sum = 0; // Of 255ths of a pixel: blended pixels count for their share.
        for (int x = box.x; x <= box.right(); ++x) {
            int share = 0;
            if (x < box.right() && range != 0)
                share = std::clamp((brightness(picture.at(x, y)) - ground) * 255 / range, 0, 255);
            // A tenth of ink is the blur beside a stroke; half a pixel of it is the least that
            // counts as one.
            if (share > 25) {
                sum += share;
            } else if (sum > 0) {
                if (sum >= 128) widths.push_back(sum);
                sum = 0;
            }
        }
    }
    if (widths.empty()) return 0;
    const auto middle = widths.begin() + static_cast<std::ptrdiff_t>(widths.size() / 2);
    std::ranges::nth_element(widths, middle);
    return *middle / 255.0;
}

} // namespace

Ink inkIn(const Picture& picture, const Rect& box, const Colour& ground) {
    // Colours with their numbers of pixels: letters have few colours, so all else goes over these.
    std::unordered_map<std::uint32_t, Shade> counted;
    for (int y = box.y; y < box.bottom(); ++y) {
        for (int x = box.x; x < box.right(); ++x) {
            const Colour& pixel = picture.at(x, y);
            Shade& shade = counted[keyOf(pixel)];
            shade.colour = pixel;
            ++shade.pixels;
        }
    }
    Ink ink;
    ink.ground = ground;
    ink.colour = ground;
    std::size_t most = 0;
    // The most frequent shade near the ground that the line was found on. The key breaks ties,
    // since the order of a hash map is not to be relied on.
    for (const auto& [key, shade] : counted) {
        if (channelDistance(shade.colour, ground) > kSameGround) continue;
        if (shade.pixels < most || (shade.pixels == most && key >= keyOf(ink.ground))) continue;
        most = shade.pixels;
        ink.ground = shade.colour;
    }
    ink.colour = ink.ground;

    const double groundLight = relativeLuminance(ink.ground);
    std::vector<Shade> darker;
    std::vector<Shade> lighter;
    std::size_t darkerPixels = 0;
    std::size_t lighterPixels = 0;
    for (auto& [key, shade] : counted) {
        if (channelDistance(shade.colour, ink.ground) <= kSameGround) continue;
        shade.light = relativeLuminance(shade.colour);
        // Ink lies on one side of the ground. What lies on the other is an outline, or stands
        // beside it.
        (shade.light < groundLight ? darker : lighter).push_back(shade);
        (shade.light < groundLight ? darkerPixels : lighterPixels) += shade.pixels;
    }
    if (darker.empty() && lighter.empty()) return ink;
    const auto sorted = [](std::vector<Shade>& shades, bool darkFirst) {
        std::ranges::sort(shades, [darkFirst](const Shade& a, const Shade& b) {
            if (a.light != b.light) return darkFirst ? a.light < b.light : a.light > b.light;
            return keyOf(a.colour) < keyOf(b.colour);
        });
    };
    sorted(darker, true);
    sorted(lighter, false);
    // The side with more pixels is the ink's.
    const bool dark = darkerPixels >= lighterPixels;
    const std::vector<Shade>& own = dark ? darker : lighter;
    const std::vector<Shade>& other = dark ? lighter : darker;
    const Shade& full = farthest(own, dark ? darkerPixels : lighterPixels);
    ink.colour = full.colour;
    ink.contrast = contrastRatio(ink.colour, ink.ground);

    // From half the way on a pixel counts as ink; less is the edge of a stroke.
    const double half = std::abs(brightness(ink.colour) - brightness(ink.ground)) / 2.0;
    std::size_t inked = 0;
    std::size_t fully = 0;
    for (const Shade& shade : own) {
        if (std::abs(brightness(shade.colour) - brightness(ink.ground)) < half) continue;
        inked += shade.pixels;
        if (channelDistance(shade.colour, ink.colour) <= kSameInk) fully += shade.pixels;
    }
    if (inked > 0) ink.full = static_cast<double>(fully) / static_cast<double>(inked);
    ink.sure = std::ranges::any_of(kSureFull, [&](const SureFull& limit) {
        return box.width >= limit.heights * box.height && ink.full >= limit.share;
    });
    const std::size_t all = darkerPixels + lighterPixels;
    // Readers see the letters against their outline where the ground is too like them.
    if (std::min(darkerPixels, lighterPixels) * kOutlineShare >= all) {
        ink.outlined = true;
        const Shade& rim = farthest(other, std::min(darkerPixels, lighterPixels));
        ink.contrast = std::max(ink.contrast, contrastRatio(ink.colour, rim.colour));
    }
    ink.stroke = strokeOf(picture, box, ink);
    return ink;
}

} // namespace trevix
