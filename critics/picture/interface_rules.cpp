#include "critics/picture/picture_rule_table.h"
#include "critics/picture/picture_rules.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace trevix {
namespace {

constexpr GradedRule kUnevenGap = declared<WorkKind::picture>("ui.uneven_gap");
constexpr GradedRule kMisalignedLeft = declared<WorkKind::picture>("ui.misaligned_left");
constexpr GradedRule kMisalignedTop = declared<WorkKind::picture>("ui.misaligned_top");
constexpr GradedRule kMisalignedText = declared<WorkKind::picture>("ui.misaligned_text");
constexpr GradedRule kCrowdedMargin = declared<WorkKind::picture>("ui.crowded_margin");

// Where a comment names an experiment, `build/dev/bench/picture_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

// Pixels, unless said otherwise.

/// Chosen: farther off is another place (indents begin at four), not a slip.
constexpr int kMostSlip = 3;
/// Fields, buttons, cards: smaller surfaces are parts of icons, larger ones are panes.
constexpr int kNarrowestControl = 24;
constexpr int kLowestControl = 10;
constexpr int kHighestControl = 160;
constexpr int kWidestControlTenths = 6; // Of the picture's width.
constexpr int kControlFill = 2;         // One in so many pixels of the box is of the surface.
/// Three of four that agree make the fourth a stray; an edge or gap prevails from six in ten on.
constexpr std::size_t kFewestAlike = 4;
constexpr std::size_t kFewestAgreeing = 3;
constexpr std::size_t kPrevailingTenths = 6;
constexpr int kWidestGapLengths = 3; // Between controls of one stack, in lengths of a control.
constexpr int kLeastUnevenGap = 2;   // Layouts share out left-over pixels by one.
constexpr int kLeastGap = 2;         // Controls that touch are cells of a table.

/// Labels have letters of at most this height; titles are set apart on purpose.
constexpr int kTallestLabel = 16;
/// Numbers for the second row of buckets, half a bucket beside the first, beyond any in the first.
constexpr int kShiftedBuckets = 100'000;
constexpr int kLabelBucket = 24; // Lines that begin within it are held against one another.
/// Letters that are wide begin up to two pixels beside the edge they are set to, so that only three
/// and more tell (experiment `bearings`); five and more are an indent.
constexpr int kLeastLabelSlip = 3;
constexpr int kMostLabelSlip = 4;
constexpr std::size_t kFewestLabels = 5;
constexpr std::size_t kLabelTenths = 7;
/// Twentieths of the line's height that a first letter is wide: i and l stand in the middle of
/// their room in fixed-width type (experiment `bearings`).
constexpr int kNarrowLetterTwentieths = 9;

/// Chosen: pixels of margin; lines that lead a row, and the share of crowded ones (one in so many)
/// from which that is the style.
constexpr int kLeastMargin = 3;
constexpr std::size_t kFewestRows = 5;
constexpr std::size_t kCrowdedShare = 3;

/// A rectangle seen along one axis: controls stacked along `along` should share their `edge`.
struct Span {
    int edge = 0;
    int breadth = 0;
    int along = 0;
    int length = 0;
    Rect box;

    [[nodiscard]] int end() const { return along + length; }
};

// Mode and not mean: a slip would shift the mean for all.
std::optional<int> prevailing(const std::vector<int>& values, std::size_t atLeast) {
    std::map<int, std::size_t> counts;
    for (const int value : values) ++counts[value];
    const auto most = std::ranges::max_element(
        counts, [](const auto& a, const auto& b) { return a.second < b.second; });
    if (most == counts.end() || most->second < atLeast ||
        most->second * 10 < values.size() * kPrevailingTenths) {
        return std::nullopt;
    }
    return most->first;
}

/// Controls of one colour and size: fields, buttons, cards.
std::vector<std::vector<Rect>> alikeControls(const PictureFacts& facts) {
    std::map<std::pair<std::string, int>, std::vector<Rect>> byLook;
    for (const Surface& surface : facts.regions.surfaces) {
        const Rect& box = surface.box;
        const bool sized = box.width >= kNarrowestControl && box.height >= kLowestControl &&
                           box.height <= kHighestControl &&
                           box.width * 10 <= facts.picture.width * kWidestControlTenths;
        if (!sized || std::int64_t{surface.pixels} * kControlFill < box.area()) continue;
        byLook[{hexName(surface.colour), box.height}].push_back(box);
    }
    std::vector<std::vector<Rect>> groups;
    for (auto& [look, boxes] : byLook) {
        if (boxes.size() >= kFewestAlike) groups.push_back(std::move(boxes));
    }
    return groups;
}

/// Runs of spans that follow one another without overlap and without a wide gap.
std::vector<std::vector<Span>> stacks(std::vector<Span> spans) {
    std::ranges::stable_sort(spans, {}, &Span::along);
    std::vector<std::vector<Span>> runs;
    for (const Span& span : spans) {
        // Twice the slip: both ends of a run may be off, in opposite directions.
        const auto next = std::ranges::find_if(runs, [&](const std::vector<Span>& run) {
            const Span& last = run.back();
            const int gap = span.along - last.end();
            return gap >= 0 && gap <= kWidestGapLengths * last.length &&
                   std::abs(span.edge - run.front().edge) <= 2 * kMostSlip &&
                   std::abs(span.breadth - last.breadth) <= 2 * kMostSlip;
        });
        if (next == runs.end())
            runs.push_back({span});
        else
            next->push_back(span);
    }
    std::erase_if(runs, [](const std::vector<Span>& run) { return run.size() < kFewestAlike; });
    return runs;
}

struct Axis {
    std::string_view edge; ///< "left" or "top".
    GradedRule rule;
    std::string_view direction; ///< Where a slip of more pixels leads: "right" or "down".
    std::string_view opposite;
};

std::string pixels(int count) {
    return std::to_string(count) + " px";
}

void judgeEdges(const std::vector<Span>& run, const Axis& axis, FindingList& list) {
    std::vector<int> edges;
    for (const Span& span : run) edges.push_back(span.edge);
    const std::optional<int> usual = prevailing(edges, kFewestAgreeing);
    if (!usual) return;
    for (const Span& span : run) {
        const int slip = span.edge - *usual;
        if (slip == 0 || std::abs(slip) > kMostSlip) continue;
        const std::string place = placeName(span.box);
        const std::string by = pixels(std::abs(slip));
        list.addAt(axis.rule, place,
                   by + " off the common " + std::string(axis.edge) + " edge at " + pixels(*usual),
                   "The element at " + place + " stands " + by + " too far " +
                       std::string(slip > 0 ? axis.direction : axis.opposite) + "; the " +
                       std::to_string(run.size() - 1) + " others like it share the " +
                       std::string(axis.edge) + " edge at " + pixels(*usual) + ".");
    }
}

/// Layouts share out left-over pixels, so that gaps may differ by one.
void judgeGaps(const std::vector<Span>& run, FindingList& list) {
    std::vector<int> gaps;
    for (std::size_t i = 1; i < run.size(); ++i) gaps.push_back(run[i].along - run[i - 1].end());
    const std::optional<int> usual = prevailing(gaps, kFewestAgreeing);
    if (!usual || *usual < kLeastGap) return;
    for (std::size_t i = 1; i < run.size(); ++i) {
        const int slip = std::abs(gaps[i - 1] - *usual);
        if (slip < kLeastUnevenGap || slip > kMostSlip) continue;
        const std::string place = placeName(run[i].box);
        list.addAt(kUnevenGap, place,
                   pixels(gaps[i - 1]) + " where the others have " + pixels(*usual),
                   "The gap before the element at " + place + " is " + pixels(gaps[i - 1]) +
                       "; between the others like it it is " + pixels(*usual) + ".");
    }
}

void judgeControls(const PictureFacts& facts, FindingList& list) {
    const Axis left{"left", kMisalignedLeft, "right", "left"};
    const Axis top{"top", kMisalignedTop, "low", "high"};
    for (const std::vector<Rect>& boxes : alikeControls(facts)) {
        std::vector<Span> down;
        std::vector<Span> across;
        // The same rules on either axis: a column of controls has edges on its left, a row of them
        // on its top.
        for (const Rect& box : boxes) {
            down.push_back({box.x, box.width, box.y, box.height, box});
            across.push_back({box.y, box.height, box.x, box.width, box});
        }
        for (const auto& run : stacks(std::move(down))) {
            judgeEdges(run, left, list);
            judgeGaps(run, list);
        }
        for (const auto& run : stacks(std::move(across))) {
            judgeEdges(run, top, list);
            judgeGaps(run, list);
        }
    }
}

/// Letters begin up to two pixels beside the edge they are set to, so only three and more tell.
void judgeLabels(const PictureFacts& facts, FindingList& list) {
    // Every line is in two buckets, half a bucket apart, so that lines a few pixels apart share one
    // of them wherever the borders fall.
    std::map<std::pair<std::string, int>, std::vector<const TextLine*>> byLook;
    for (const TextLine& line : facts.lines) {
        if (line.xHeight > kTallestLabel) continue;
        byLook[{hexName(line.ground), line.box.x / kLabelBucket}].push_back(&line);
        byLook[{hexName(line.ground),
                (line.box.x + kLabelBucket / 2) / kLabelBucket + kShiftedBuckets}]
            .push_back(&line);
    }
    std::vector<const TextLine*> reported;
    for (const auto& [look, lines] : byLook) {
        std::map<int, std::size_t> counts;
        for (const TextLine* line : lines) ++counts[line->box.x];
        int usual = 0;
        std::size_t most = 0;
        for (const auto& [x, count] : counts) {
            const auto beside = [&](int at) {
                const auto found = counts.find(at);
                return found == counts.end() ? std::size_t{0} : found->second;
            };
            // Neighbours by one pixel count: wide and narrow first letters of one edge.
            const std::size_t near = beside(x - 1) + count + beside(x + 1);
            if (near > most) {
                most = near;
                usual = x;
            }
        }
        if (most < kFewestLabels || most * 10 < lines.size() * kLabelTenths) continue;
        for (const TextLine* line : lines) {
            const int slip = line->box.x - usual;
            if (std::abs(slip) < kLeastLabelSlip || std::abs(slip) > kMostLabelSlip) continue;
            // Narrow first letters stand in the middle of their room in fixed-width type.
            const auto first = std::ranges::find_if(facts.regions.marks, [&](const Mark& mark) {
                return mark.box.x == line->box.x && mark.box.y >= line->box.y &&
                       mark.box.bottom() <= line->box.bottom();
            });
            if (first == facts.regions.marks.end() ||
                first->box.width * 20 < line->box.height * kNarrowLetterTwentieths)
                continue;
            // Once, though it is in two buckets.
            if (std::ranges::find(reported, line) != reported.end()) continue;
            reported.push_back(line);
            const std::string place = placeName(line->box);
            const std::string by = pixels(std::abs(slip));
            list.addAt(kMisalignedText, place, by + " off the common left edge at " + pixels(usual),
                       "The writing at " + place + " begins " + by + " beside the left edge at " +
                           pixels(usual) + " that " + std::to_string(most) + " other lines share.");
        }
    }
}

/// Editors and terminals run their text to the frame throughout; elsewhere text keeps clear of it.
void judgeMargins(const PictureFacts& facts, FindingList& list) {
    std::size_t rows = 0;
    std::size_t crowded = 0;
    Rect box;
    int nearest = kLeastMargin;
    for (const TextLine& line : facts.lines) {
        // A line leads its row when nothing stands to the left of it. Every line with every other:
        // thousands at most.
        const bool leads = std::ranges::none_of(facts.lines, [&](const TextLine& other) {
            return other.box.right() <= line.box.x && other.box.y < line.box.bottom() &&
                   line.box.y < other.box.bottom();
        });
        if (!leads) continue;
        ++rows;
        if (line.box.x == 0 || line.box.x >= kLeastMargin) continue;
        nearest = std::min(nearest, line.box.x);
        box = crowded++ == 0 ? line.box : united(box, line.box);
    }
    if (rows < kFewestRows || crowded == 0 || crowded * kCrowdedShare > rows) return;
    const std::string place = placeName(box);
    list.addAt(kCrowdedMargin, place, pixels(nearest) + " from the border",
               "The writing at " + place + " stands only " + pixels(nearest) +
                   " from the border of the picture, while other lines keep clear of it.");
}

} // namespace

void judgeInterface(const PictureFacts& facts, FindingList& list) {
    judgeControls(facts, list);
    judgeLabels(facts, list);
    judgeMargins(facts, list);
}

} // namespace trevix
