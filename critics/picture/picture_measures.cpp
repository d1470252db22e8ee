#include "critics/picture/picture_measures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <optional>

namespace trevix {
namespace {

// Where a comment names an experiment, `build/dev/bench/picture_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// Pixels of a side; enough for the statistics of a thousand, small beside a window's parts.
constexpr int kBlock = 32;
/// A block varies throughout, as photographs do, when fewer than 40 % of its pixels equal their
/// right neighbour and its levels of 255 span at least eight (experiment `blocks`).
constexpr int kMostEqualTenths = 4;
constexpr int kLeastPhotoRange = 8;
/// Correlation of neighbouring pixels below which they have nothing in common, either way:
/// dithering alternates, which is correlation too (experiment `noise`).
constexpr double kMostNoiseCorrelation = 0.4;
/// Levels of 255 that an edge spans at least, and how many tenths as steep as an even ramp over the
/// block its steepest step is (experiment `blur`).
constexpr int kLeastEdgeRange = 48;
constexpr int kSteeperTenths = 22;
/// The share of edgy blocks that are less sharp than the figure reported, from 0 to 1: not the
/// single sharpest, which may be a cursor.
constexpr double kSharpestShare = 0.95;
/// Levels from here to 255 are white, or nearly.
constexpr std::size_t kWhitest = 252;
/// Thousandths of the pixels that make a level count as used.
constexpr std::int64_t kUsedThousandths = 3;

struct Light {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> values;

    [[nodiscard]] int at(int x, int y) const {
        return values[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)];
    }
};

Light lightOf(const Picture& picture) {
    Light light{picture.width, picture.height, {}};
    light.values.reserve(picture.pixels.size());
    for (const Colour& pixel : picture.pixels) {
        light.values.push_back(static_cast<std::uint8_t>(brightness(pixel)));
    }
    return light;
}

struct BlockFigures {
    bool photo = false;
    bool noisy = false;
    double sigma = 0;
    bool edgy = false;
    double sharpness = 0;
    std::int64_t laplacianSum = 0;
    std::int64_t laplacianSquares = 0;
    int pixels = 0;
};

// All figures of a block in one pass. The caller leaves a border of one pixel, so that every pixel
// has its four neighbours.
BlockFigures figuresOf(const Light& light, int left, int top) {
    std::int64_t sum = 0;
    std::int64_t squares = 0;
    std::int64_t across = 0;
    std::int64_t down = 0;
    int equal = 0;
    int least = 255;
    int most = 0;
    int steepest = 0;
    int sharpest = 0;
    BlockFigures figures;
    for (int y = top; y < top + kBlock; ++y) {
        for (int x = left; x < left + kBlock; ++x) {
            const int value = light.at(x, y);
            const int right = light.at(x + 1, y);
            const int below = light.at(x, y + 1);
            sum += value;
            // At most 1024 x 255 x 255, which an int would hold too; the whole picture's sum would
            // not.
            squares += value * value;
            across += value * right;
            down += value * below;
            if (value == right) ++equal;
            least = std::min(least, value);
            most = std::max(most, value);
            steepest = std::max({steepest, std::abs(value - right), std::abs(value - below)});
            // How far a pixel is from the mean of its four neighbours, four times: zero on any even
            // ramp.
            const int laplacian =
                right + below + light.at(x - 1, y) + light.at(x, y - 1) - 4 * value;
            sharpest = std::max(sharpest, std::abs(laplacian));
            figures.laplacianSum += laplacian;
            figures.laplacianSquares += laplacian * laplacian;
        }
    }
    constexpr int kPixels = kBlock * kBlock;
    figures.pixels = kPixels;
    const int range = most - least;
    figures.photo = equal * 10 < kPixels * kMostEqualTenths && range >= kLeastPhotoRange;
    if (figures.photo) {
        // Correlation is the covariance with a neighbour over the variance; multiplied out, so that
        // nothing is divided by zero.
        const double mean = static_cast<double>(sum) / kPixels;
        const double variance = static_cast<double>(squares) / kPixels - mean * mean;
        // The neighbours' mean differs by one row or column at most, which does not matter here.
        const double alike = std::max(static_cast<double>(across) / kPixels - mean * mean,
                                      static_cast<double>(down) / kPixels - mean * mean);
        const double unlike = std::min(static_cast<double>(across) / kPixels - mean * mean,
                                       static_cast<double>(down) / kPixels - mean * mean);
        figures.noisy =
            alike < kMostNoiseCorrelation * variance && unlike > -kMostNoiseCorrelation * variance;
        // What neighbours share is the picture; the rest of the variance is noise.
        figures.sigma = std::sqrt(std::max(0.0, variance - std::max(0.0, alike)));
    }
    // An even ramp is no edge: its steepest step is no steeper than the others.
    figures.edgy = range >= kLeastEdgeRange && steepest * kBlock * 10 >= range * kSteeperTenths;
    if (figures.edgy) figures.sharpness = static_cast<double>(sharpest) / range;
    return figures;
}

template <typename T>
T atShare(std::vector<T>& values, double share) {
    const auto index = static_cast<std::size_t>(static_cast<double>(values.size() - 1) * share);
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(index));
    return values[index];
}

Tones tonesOf(const Light& light, const Rect& box) {
    std::array<std::int64_t, 256> histogram{};
    for (int y = box.y; y < box.bottom(); ++y) {
        for (int x = box.x; x < box.right(); ++x) {
            ++histogram[static_cast<std::size_t>(light.at(x, y))];
        }
    }
    const std::int64_t all = box.area();
    // The level that more than that share of the pixels does not exceed.
    const auto below = [&](int percent) {
        std::int64_t seen = 0;
        for (std::size_t level = 0; level < histogram.size(); ++level) {
            seen += histogram[level];
            if (seen * 100 > all * percent) return static_cast<int>(level);
        }
        return 255;
    };
    Tones tones{below(1), below(10), below(50), below(90), below(99), 0, 0};
    std::int64_t white = 0;
    for (std::size_t level = kWhitest; level < histogram.size(); ++level) white += histogram[level];
    tones.white = static_cast<double>(white) / static_cast<double>(all);
    for (const std::int64_t pixels : histogram)
        tones.levels += pixels * 1000 >= all * kUsedThousandths ? 1 : 0;
    return tones;
}

// ---- banding ----------------------------------------------------------------------------------

// Pixels, unless said otherwise (experiment `banding`).
constexpr int kSampleStep = 8;  // Between the rows or columns that are looked at.
constexpr int kFewestBands = 6; // Bands.
constexpr int kFewestLines = 8; // Sampled lines that show the same stairs: 64 pixels.
constexpr int kShortestStairs = 64;
constexpr int kNarrowestBand = 4; // Narrower ones blend into a gradient for the eye.
constexpr int kWidestBand = 240;
constexpr int kSmallestStep = 3; // Levels of 255; a gradient in 8 bits advances by one or two.
constexpr int kLargestStep = 40; // Levels; farther apart are two colours, not one gradient.
constexpr int kMostUnlike = 6;   // Times, between the steps and between the widths of a gradient.

struct Stairs {
    int begin = 0;
    int end = 0;
    int bands = 0;
    int step = 0;
};

/// The longest stairs of brightness along one line of `length` pixels.
template <typename PixelAt>
std::optional<Stairs> stairsAlong(int length, PixelAt pixelAt) {
    Stairs best;
    Stairs current;
    int smallest = 0;
    int sign = 0;
    int previousLength = 0;
    int previousLight = 0;
    const auto restart = [&](int begin, int end) {
        current = {begin, end, 1, 0};
        sign = 0;
        smallest = kLargestStep;
    };
    // Runs of one colour, one after the other: each either continues the stairs so far or begins
    // new ones.
    for (int begin = 0; begin < length;) {
        int end = begin + 1;
        while (end < length && pixelAt(end) == pixelAt(begin)) ++end;
        const int light = brightness(pixelAt(begin));
        const int size = end - begin;
        const int delta = light - previousLight;
        const int step = std::abs(delta);
        const bool sized = size >= kNarrowestBand && size <= kWidestBand;
        const bool follows = begin > 0 && sized && previousLength >= kNarrowestBand &&
                             previousLength <= kWidestBand && step >= kSmallestStep &&
                             step <= kLargestStep && (sign == 0 || (delta > 0) == (sign > 0));
        const int low = std::min(smallest, step);
        const int high = std::max(current.step, step);
        // Bands of one gradient are alike; a row of unlike things only happens to brighten.
        const bool alike = high <= kMostUnlike * low && size <= kMostUnlike * previousLength &&
                           previousLength <= kMostUnlike * size;
        if (follows && alike && current.bands > 0) {
            sign = delta;
            smallest = low;
            current.step = high;
            current.end = end;
            ++current.bands;
        } else {
            restart(begin, end);
        }
        if (current.bands > best.bands) best = current;
        previousLength = size;
        previousLight = light;
        begin = end;
    }
    if (best.bands < kFewestBands || best.end - best.begin < kShortestStairs) return std::nullopt;
    return best;
}

/// Stairs that go on over neighbouring sample lines, as rectangles.
template <typename StairsOf, typename BoxOf>
void collectBands(int across, StairsOf stairsOf, BoxOf boxOf, std::vector<Banding>& found) {
    struct Stretch {
        int first, last, lines;
        Stairs stairs;
    };
    std::optional<Stretch> open;
    const auto close = [&] {
        if (open && open->lines >= kFewestLines) {
            found.push_back({boxOf(open->first, open->last, open->stairs), open->stairs.bands,
                             open->stairs.step});
        }
        open.reset();
    };
    for (int at = kSampleStep / 2; at < across; at += kSampleStep) {
        const std::optional<Stairs> stairs = stairsOf(at);
        if (!stairs) {
            close();
            continue;
        }
        if (open) {
            // Half of it at least, or it is another gradient that happens to lie beside.
            const int overlap = std::min(open->stairs.end, stairs->end) -
                                std::max(open->stairs.begin, stairs->begin);
            if (overlap * 2 < stairs->end - stairs->begin) close();
        }
        if (!open) open = Stretch{at, at, 0, *stairs};
        open->last = at;
        ++open->lines;
        open->stairs.begin = std::min(open->stairs.begin, stairs->begin);
        open->stairs.end = std::max(open->stairs.end, stairs->end);
        open->stairs.bands = std::max(open->stairs.bands, stairs->bands);
        open->stairs.step = std::max(open->stairs.step, stairs->step);
    }
    close();
}

} // namespace

PictureMeasures measure(const Picture& picture) {
    PictureMeasures measures;
    const Light light = lightOf(picture);
    std::vector<double> sigmas;
    std::vector<double> sharpness;
    std::int64_t sum = 0;
    std::int64_t squares = 0;
    std::int64_t pixels = 0;
    // Whole blocks only; what is left at the right and bottom is less than one of them.
    for (int top = 1; top + kBlock < light.height; top += kBlock) {
        for (int left = 1; left + kBlock < light.width; left += kBlock) {
            const BlockFigures figures = figuresOf(light, left, top);
            ++measures.blocks;
            const Rect box{left, top, kBlock, kBlock};
            if (figures.photo) {
                measures.photoBox =
                    measures.photoBlocks++ == 0 ? box : united(measures.photoBox, box);
            }
            if (figures.noisy) {
                ++measures.noisyBlocks;
                sigmas.push_back(figures.sigma);
            }
            if (figures.edgy) {
                ++measures.edgyBlocks;
                sharpness.push_back(figures.sharpness);
                sum += figures.laplacianSum;
                squares += figures.laplacianSquares;
                pixels += figures.pixels;
            }
        }
    }
    // The middle one: a few blocks of grass are rougher than any camera.
    if (!sigmas.empty()) measures.noiseSigma = atShare(sigmas, 0.5);
    if (!sharpness.empty()) {
        measures.sharpness = atShare(sharpness, kSharpestShare);
        const double mean = static_cast<double>(sum) / static_cast<double>(pixels);
        measures.laplacianVariance =
            static_cast<double>(squares) / static_cast<double>(pixels) - mean * mean;
    }
    measures.tones = tonesOf(light, {0, 0, light.width, light.height});
    if (measures.photoBlocks > 0) measures.photoTones = tonesOf(light, measures.photoBox);
    return measures;
}

std::vector<Banding> findBanding(const Picture& picture) {
    std::vector<Banding> found;
    collectBands(
        picture.height,
        [&](int y) {
            return stairsAlong(picture.width,
                               [&](int x) -> const Colour& { return picture.at(x, y); });
        },
        [](int first, int last, const Stairs& stairs) {
            return Rect{stairs.begin, first, stairs.end - stairs.begin, last - first + 1};
        },
        found);
    collectBands(
        picture.width,
        [&](int x) {
            return stairsAlong(picture.height,
                               [&](int y) -> const Colour& { return picture.at(x, y); });
        },
        [](int first, int last, const Stairs& stairs) {
            return Rect{first, stairs.begin, last - first + 1, stairs.end - stairs.begin};
        },
        found);
    // A slanted gradient shows its steps along rows and columns alike; it is one finding.
    std::vector<Banding> distinct;
    for (const Banding& banding : found) {
        const auto same = std::ranges::find_if(distinct, [&](const Banding& other) {
            const int wide = std::min(other.box.right(), banding.box.right()) -
                             std::max(other.box.x, banding.box.x);
            const int high = std::min(other.box.bottom(), banding.box.bottom()) -
                             std::max(other.box.y, banding.box.y);
            return wide > 0 && high > 0;
        });
        if (same == distinct.end()) {
            distinct.push_back(banding);
            continue;
        }
        same->box = united(same->box, banding.box);
        same->bands = std::max(same->bands, banding.bands);
        same->step = std::max(same->step, banding.step);
    }
    return distinct;
}

} // namespace trevix
