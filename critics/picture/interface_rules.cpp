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

constexpr int kMostSlip = 3; // Farther off is another place, not a slip.

/// A rectangle seen along one axis: controls stacked along `along` should share their `edge`.
struct Span {
    int edge = 0;
    int breadth = 0;
    int along = 0;
    int length = 0;
    Rect box;

    [[nodiscard]] int end() const { return along + length; }
};

std::optional<int> prevailing(const std::vector<int>& values, std::size_t atLeast) {
    std::map<int, std::size_t> counts;
    for (const int value : values) ++counts[value];
    const auto most = std::ranges::max_element(
        counts, [](const auto& a, const auto& b) { return a.second < b.second; });
    if (most == counts.end() || most->second < atLeast || most->second * 10 < values.size() * 6) {
        return std::nullopt;
    }
    return most->first;
}

/// Controls of one colour and size: fields, buttons, cards.
std::vector<std::vector<Rect>> alikeControls(const PictureFacts& facts) {
    std::map<std::pair<std::string, int>, std::vector<Rect>> byLook;
    for (const Surface& surface : facts.regions.surfaces) {
        const Rect& box = surface.box;
        const bool sized = box.width >= 24 && box.height >= 10 && box.height <= 160 &&
                           box.width * 10 <= facts.picture.width * 6;
        if (!sized || std::int64_t{surface.pixels} * 2 < box.area()) continue;
        byLook[{hexName(surface.colour), box.height}].push_back(box);
    }
    std::vector<std::vector<Rect>> groups;
    for (auto& [look, boxes] : byLook) {
        if (boxes.size() >= 4) groups.push_back(std::move(boxes));
    }
    return groups;
}

/// Runs of spans that follow one another without overlap and without a wide gap.
std::vector<std::vector<Span>> stacks(std::vector<Span> spans) {
    std::ranges::stable_sort(spans, {}, &Span::along);
    std::vector<std::vector<Span>> runs;
    for (const Span& span : spans) {
        const auto next = std::ranges::find_if(runs, [&](const std::vector<Span>& run) {
            const Span& last = run.back();
            const int gap = span.along - last.end();
            return gap >= 0 && gap <= 3 * last.length &&
                   std::abs(span.edge - run.front().edge) <= 2 * kMostSlip &&
                   std::abs(span.breadth - last.breadth) <= 2 * kMostSlip;
        });
        if (next == runs.end())
            runs.push_back({span});
        else
            next->push_back(span);
    }
    std::erase_if(runs, [](const std::vector<Span>& run) { return run.size() < 4; });
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
    const std::optional<int> usual = prevailing(edges, 3);
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
    const std::optional<int> usual = prevailing(gaps, 3);
    if (!usual || *usual < 2) return;
    for (std::size_t i = 1; i < run.size(); ++i) {
        const int slip = std::abs(gaps[i - 1] - *usual);
        if (slip < 2 || slip > kMostSlip) continue;
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
    std::map<std::pair<std::string, int>, std::vector<const TextLine*>> byLook;
    for (const TextLine& line : facts.lines) {
        if (line.xHeight > 16) continue;
        byLook[{hexName(line.ground), line.box.x / 24}].push_back(&line);
        byLook[{hexName(line.ground), (line.box.x + 12) / 24 + 100'000}].push_back(&line);
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
            const std::size_t near = beside(x - 1) + count + beside(x + 1);
            if (near > most) {
                most = near;
                usual = x;
            }
        }
        if (most < 5 || most * 10 < lines.size() * 7) continue;
        for (const TextLine* line : lines) {
            const int slip = line->box.x - usual;
            if (std::abs(slip) < 3 || std::abs(slip) > 4) continue;
            // Narrow first letters stand in the middle of their room in fixed-width type.
            const auto first = std::ranges::find_if(facts.regions.marks, [&](const Mark& mark) {
                return mark.box.x == line->box.x && mark.box.y >= line->box.y &&
                       mark.box.bottom() <= line->box.bottom();
            });
            if (first == facts.regions.marks.end() || first->box.width * 20 < line->box.height * 9)
                continue;
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
    constexpr int kLeast = 3;
    std::size_t rows = 0;
    std::size_t crowded = 0;
    Rect box;
    int nearest = kLeast;
    for (const TextLine& line : facts.lines) {
        const bool leads = std::ranges::none_of(facts.lines, [&](const TextLine& other) {
            return other.box.right() <= line.box.x && other.box.y < line.box.bottom() &&
                   line.box.y < other.box.bottom();
        });
        if (!leads) continue;
        ++rows;
        if (line.box.x == 0 || line.box.x >= kLeast) continue;
        nearest = std::min(nearest, line.box.x);
        box = crowded++ == 0 ? line.box : united(box, line.box);
    }
    if (rows < 5 || crowded == 0 || crowded * 3 > rows) return;
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
