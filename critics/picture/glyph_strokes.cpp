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

constexpr int kBucketHeight = 16;
constexpr int kSameGround = 12;
constexpr std::size_t kMostLines = 5000; // No screen shows that much writing; it is a texture.

struct Draft {
    Rect box;
    std::vector<const Mark*> marks;
};

bool continues(const Draft& line, const Mark& mark) {
    const Rect& a = line.box;
    const Rect& b = mark.box;
    const int tall = std::max(a.height, b.height);
    const int gap = b.x - a.right();
    if (gap > std::max(6, tall * 14 / 10) || gap < -tall) return false;
    const int overlap = std::min(a.bottom(), b.bottom()) - std::max(a.y, b.y);
    if (overlap * 2 < std::min(a.height, b.height)) return false;
    if (std::min(a.height, b.height) * 5 < tall && b.height > 6) return false;
    return channelDistance(line.marks.front()->ground, mark.ground) <= kSameGround;
}

std::vector<Draft> draftLines(const std::vector<Mark>& marks) {
    std::vector<const Mark*> order;
    order.reserve(marks.size());
    for (const Mark& mark : marks) order.push_back(&mark);
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
                return box.right() + 240 < mark->box.x;
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
    return line.marks.size() >= 3 && sizes.size() + gaps.size() <= 3;
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
        for (int x = box.x; x <= box.right(); ++x) {
            bool isInk = false;
            if (x < box.right()) {
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

std::optional<TextLine> asText(const Picture& picture, const Draft& draft) {
    const Rect& box = draft.box;
    if (box.height < 4 || box.width * 10 < box.height * 22 || isRegular(draft)) return std::nullopt;
    std::vector<const Mark*> byContrast = draft.marks;
    std::ranges::stable_sort(byContrast, {}, [](const Mark* mark) { return mark->contrast; });
    const Mark& telling = *byContrast[(byContrast.size() - 1) * 4 / 5];
    if (std::abs(brightness(telling.ink) - brightness(telling.ground)) < 4) return std::nullopt;

    const StrokeProfile profile = profileOf(picture, box, telling.ground, telling.ink);
    const int most = std::ranges::max(profile.inkPerRow);
    if (most == 0) return std::nullopt;
    int top = 0;
    int bottom = box.height - 1;
    const auto isBand = [&](int row) {
        return profile.inkPerRow[static_cast<std::size_t>(row)] * 100 >= most * 42;
    };
    while (top < bottom && !isBand(top)) ++top;
    while (bottom > top && !isBand(bottom)) --bottom;
    double runs = 0;
    for (int row = top; row <= bottom; ++row) {
        runs += profile.runsPerRow[static_cast<std::size_t>(row)];
    }
    runs /= bottom - top + 1;
    const double squares = static_cast<double>(box.width) / box.height;
    const double coverage = static_cast<double>(profile.ink) / static_cast<double>(box.area());
    const bool crossed = runs >= 3.5 && runs >= 0.7 * squares && runs <= 6.0 * squares;
    const bool varied = profile.runWidths.size() >= 2 && profile.gapWidths.size() >= 3;
    if (!crossed || !varied || coverage < 0.05 || coverage > 0.6) return std::nullopt;

    TextLine line;
    line.box = box;
    line.xHeight = bottom - top + 1;
    line.marks = static_cast<int>(draft.marks.size());
    line.strokes = runs;
    line.ground = telling.ground;
    line.ink = telling.ink;
    line.contrast = telling.contrast;
    return line;
}

} // namespace

std::vector<TextLine> findTextLines(const Picture& picture, const Regions& regions) {
    std::vector<TextLine> lines;
    for (const Draft& draft : draftLines(regions.marks)) {
        if (auto line = asText(picture, draft)) lines.push_back(*line);
        if (lines.size() > kMostLines) return {};
    }
    std::ranges::stable_sort(lines, [](const TextLine& a, const TextLine& b) {
        return std::pair(a.box.y, a.box.x) < std::pair(b.box.y, b.box.x);
    });
    return lines;
}

} // namespace trevix
