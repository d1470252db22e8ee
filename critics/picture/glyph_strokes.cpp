#include "critics/picture/glyph_strokes.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <utility>

namespace trevix {
namespace {

// Where a comment names an experiment, `build/dev/bench/picture_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// Pixels; only how finely open lines are indexed.
constexpr int kBucketHeight = 16;
/// Levels of 255 between the grounds of two marks on one line; a mark's own ground is known to
/// `kSameGround` of regions.cpp on either side, and dithered gradients add a little.
constexpr int kSameGround = 12;
/// Lines. No screen shows that much writing: 2160 rows of pixels hold 240 lines of 9 pixels in 20
/// columns. It is a texture.
constexpr std::size_t kMostLines = 5000;

// How marks make a line, in tenths of the height of the taller (experiment `rows`).
constexpr int kWidestGapTenths = 14;
constexpr int kNarrowestReach = 6; // Pixels; word gaps of the smallest type.
/// A mark less than a fifth as high as its neighbour is no letter of that line, unless it is a dot.
constexpr int kMostTimesTaller = 5;
constexpr int kTallestDot = 6; // Pixels.
/// Pixels after which nothing continues a line: `kWidestGapTenths` of the tallest letter would be
/// more, but words of that size make a line of their own.
constexpr int kFarthestNext = 240;

/// Letters of a line need at least so many pixels to be told from dashes, and a line is longer than
/// a single wide letter: W is 1.4 times as wide as high.
constexpr int kLeastHeight = 4;
constexpr double kLeastSquares = 2.2;
/// Levels of 255 between ink and ground; less is the noise of a display's dithering.
constexpr int kLeastInk = 4;
/// The better marks of a line: four in five have at most this contrast.
constexpr std::size_t kTellingFifths = 4;
/// Percent of the fullest row of pixels that a row of the x-height band has (experiment `heights`).
constexpr int kBandPercent = 42;

// What writing looks like (experiment `rows`).
constexpr double kFewestStrokes = 3.5; // Crossed by a row of the band, on average.
constexpr double kFewestStrokesPerSquare = 0.7;
constexpr double kMostStrokesPerSquare = 6.0;
constexpr std::size_t kFewestRunWidths = 2;
constexpr std::size_t kFewestGapWidths = 3;
constexpr double kLeastCoverage = 0.05;
constexpr double kMostCoverage = 0.6;
/// Kinds of size and gap together that a ruler has at most.
constexpr std::size_t kMostRulerKinds = 3;
constexpr std::size_t kFewestRulerMarks = 3;

struct Draft {
    Rect box;
    std::vector<const Mark*> marks;
};

bool continues(const Draft& line, const Mark& mark) {
    const Rect& a = line.box;
    const Rect& b = mark.box;
    const int tall = std::max(a.height, b.height);
    // Marks overlap where type is slanted or kerned, by less than a height.
    const int gap = b.x - a.right();
    if (gap > std::max(kNarrowestReach, tall * kWidestGapTenths / 10) || gap < -tall) return false;
    const int overlap = std::min(a.bottom(), b.bottom()) - std::max(a.y, b.y);
    if (overlap * 2 < std::min(a.height, b.height)) return false;
    if (std::min(a.height, b.height) * kMostTimesTaller < tall && b.height > kTallestDot)
        return false;
    return channelDistance(line.marks.front()->ground, mark.ground) <= kSameGround;
}

std::vector<Draft> draftLines(const std::vector<Mark>& marks) {
    std::vector<const Mark*> order;
    order.reserve(marks.size());
    for (const Mark& mark : marks) order.push_back(&mark);
    // From left to right, so that a line only grows to the right. Each mark joins the open line
    // that it shares most rows with. Buckets of rows keep the search to lines nearby: a mark is
    // compared with those that reach its rows and end not far to its left.
    std::ranges::stable_sort(order, {}, [](const Mark* mark) { return mark->box.x; });

    std::vector<Draft> lines;
    std::map<int, std::vector<std::size_t>> open; // By bucket of rows: lines that may go on.
    for (const Mark* mark : order) {
        const int first = mark->box.y / kBucketHeight;
        const int last = (mark->box.bottom() - 1) / kBucketHeight;
        std::optional<std::size_t> best;
        int bestOverlap = 0;
        for (int bucket = first; bucket <= last; ++bucket) {
            auto& candidates = open[bucket];
            std::erase_if(candidates, [&](std::size_t i) {
                const Rect& box = lines[i].box;
                return box.right() + kFarthestNext < mark->box.x;
            });
            for (const std::size_t i : candidates) {
                if (!continues(lines[i], *mark)) continue;
                const Rect& box = lines[i].box;
                const int overlap =
                    std::min(box.bottom(), mark->box.bottom()) - std::max(box.y, mark->box.y);
                if (overlap <= bestOverlap) continue;
                best = i;
                bestOverlap = overlap;
            }
        }
        if (!best) {
            best = lines.size();
            lines.push_back({mark->box, {}});
        }
        Draft& line = lines[*best];
        line.box = united(line.box, mark->box);
        line.marks.push_back(mark);
        // A line is in every bucket that one of its marks touches.
        for (int bucket = first; bucket <= last; ++bucket) {
            auto& candidates = open[bucket];
            if (std::ranges::find(candidates, *best) == candidates.end())
                candidates.push_back(*best);
        }
    }
    return lines;
}

/// Rulers, dotted lines and progress bars repeat one mark at one distance; writing does not.
bool isRegular(const Draft& line) {
    std::set<std::pair<int, int>> sizes;
    std::set<int> gaps;
    for (std::size_t i = 0; i < line.marks.size(); ++i) {
        const Rect& box = line.marks[i]->box;
        sizes.insert({box.width, box.height});
        if (i > 0) gaps.insert(box.x - line.marks[i - 1]->box.right());
    }
    return line.marks.size() >= kFewestRulerMarks && sizes.size() + gaps.size() <= kMostRulerKinds;
}

struct StrokeProfile {
    std::vector<int> inkPerRow;
    std::vector<int> runsPerRow;
    std::set<int> runWidths;
    std::set<int> gapWidths;
    std::int64_t ink = 0;
};

StrokeProfile profileOf(const Picture& picture, const Rect& box, const Colour& ground,
                        const Colour& ink) {
    StrokeProfile profile;
    const int groundLight = brightness(ground);
    const int range = brightness(ink) - groundLight;
    for (int y = box.y; y < box.bottom(); ++y) {
        int inked = 0;
        int runs = 0;
        int runStart = -1;
        int lastEnd = -1;
        // One column beyond the box ends the last run.
        for (int x = box.x; x <= box.right(); ++x) {
            bool isInk = false;
            if (x < box.right()) {
                // Half way from the ground to the ink, in either direction.
                const int delta = brightness(picture.at(x, y)) - groundLight;
                isInk = range >= 0 ? delta * 2 > range : delta * 2 < range;
            }
            if (isInk) {
                ++inked;
                if (runStart < 0) {
                    runStart = x;
                    if (lastEnd >= 0) profile.gapWidths.insert(x - lastEnd);
                }
            } else if (runStart >= 0) {
                ++runs;
                profile.runWidths.insert(x - runStart);
                lastEnd = x;
                runStart = -1;
            }
        }
        profile.inkPerRow.push_back(inked);
        profile.runsPerRow.push_back(runs);
        profile.ink += inked;
    }
    return profile;
}

/// The mark that speaks for the line's colours.
const Mark& tellingMark(const Draft& draft) {
    // Not the strongest: that may be an icon or an emoji in the line.
    std::vector<const Mark*> byContrast = draft.marks;
    std::ranges::stable_sort(byContrast, {}, [](const Mark* mark) { return mark->contrast; });
    return *byContrast[(byContrast.size() - 1) * kTellingFifths / 5];
}

std::optional<RowShape> shapeOf(const Picture& picture, const Draft& draft) {
    const Rect& box = draft.box;
    const Mark& telling = tellingMark(draft);
    const StrokeProfile profile = profileOf(picture, box, telling.ground, telling.ink);
    const int most = std::ranges::max(profile.inkPerRow);
    if (most == 0) return std::nullopt;
    // The x-height is where the rows are full: from the first to the last row with enough ink.
    // Above it stand ascenders, below it descenders, fewer of either.
    int top = 0;
    int bottom = box.height - 1;
    const auto isBand = [&](int row) {
        return profile.inkPerRow[static_cast<std::size_t>(row)] * 100 >= most * kBandPercent;
    };
    while (top < bottom && !isBand(top)) ++top;
    while (bottom > top && !isBand(bottom)) --bottom;
    double runs = 0;
    for (int row = top; row <= bottom; ++row) {
        runs += profile.runsPerRow[static_cast<std::size_t>(row)];
    }
    RowShape shape;
    shape.line.box = box;
    shape.line.xHeight = bottom - top + 1;
    shape.line.marks = static_cast<int>(draft.marks.size());
    shape.line.strokes = runs / shape.line.xHeight;
    shape.line.ground = telling.ground;
    shape.line.ink = telling.ink;
    shape.line.contrast = telling.contrast;
    shape.squares = static_cast<double>(box.width) / box.height;
    shape.coverage = static_cast<double>(profile.ink) / static_cast<double>(box.area());
    shape.runWidths = profile.runWidths.size();
    shape.gapWidths = profile.gapWidths.size();
    shape.regular = isRegular(draft);
    return shape;
}

} // namespace

bool isWriting(const RowShape& shape) {
    const TextLine& line = shape.line;
    const bool sized = line.box.height >= kLeastHeight && shape.squares >= kLeastSquares;
    if (!sized || shape.regular) return false;
    if (std::abs(brightness(line.ink) - brightness(line.ground)) < kLeastInk) return false;
    const bool crossed = line.strokes >= kFewestStrokes &&
                         line.strokes >= kFewestStrokesPerSquare * shape.squares &&
                         line.strokes <= kMostStrokesPerSquare * shape.squares;
    const bool varied = shape.runWidths >= kFewestRunWidths && shape.gapWidths >= kFewestGapWidths;
    return crossed && varied && shape.coverage >= kLeastCoverage && shape.coverage <= kMostCoverage;
}

std::vector<RowShape> shapesOfRows(const Picture& picture, const Regions& regions) {
    std::vector<RowShape> shapes;
    for (const Draft& draft : draftLines(regions.marks)) {
        if (auto shape = shapeOf(picture, draft)) shapes.push_back(*shape);
    }
    return shapes;
}

std::vector<TextLine> findTextLines(const Picture& picture, const Regions& regions) {
    std::vector<TextLine> lines;
    for (const Draft& draft : draftLines(regions.marks)) {
        const auto shape = shapeOf(picture, draft);
        if (shape && isWriting(*shape)) lines.push_back(shape->line);
        // Nothing rather than a part: whatever looks like that is no writing.
        if (lines.size() > kMostLines) return {};
    }
    std::ranges::stable_sort(lines, [](const TextLine& a, const TextLine& b) {
        return std::pair(a.box.y, a.box.x) < std::pair(b.box.y, b.box.x);
    });
    return lines;
}

} // namespace trevix
