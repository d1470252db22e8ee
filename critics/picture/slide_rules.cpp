#include "critics/picture/picture_rule_table.h"
#include "critics/picture/picture_rules.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

namespace trevix {
namespace {

constexpr GradedRule kFormat = declared<WorkKind::picture>("deck.format");
constexpr GradedRule kTextSizes = declared<WorkKind::picture>("deck.text_sizes");
constexpr GradedRule kTextAmountMedium =
    declared<WorkKind::picture>("deck.text_amount", Severity::medium);
constexpr GradedRule kTextAmountLow =
    declared<WorkKind::picture>("deck.text_amount", Severity::low);
constexpr GradedRule kSmallText = declared<WorkKind::picture>("deck.small_text");
constexpr GradedRule kMargin = declared<WorkKind::picture>("deck.margin");
constexpr GradedRule kTextColours = declared<WorkKind::picture>("deck.text_colours");

struct Format {
    std::string_view name;
    int width, height;
};

constexpr std::array<Format, 3> kFormats{{{"16:9", 16, 9}, {"16:10", 16, 10}, {"4:3", 4, 3}}};

/// How far, in percent of the width, the picture is from the nearest format of slides.
double offFormat(const PictureFacts& facts) {
    double least = 100;
    for (const Format& format : kFormats) {
        const double right =
            static_cast<double>(facts.picture.height) * format.width / format.height;
        least = std::min(least, std::abs(facts.picture.width / right - 1) * 100);
    }
    return least;
}

/// Whether this is a slide by itself and not the window of a program that shows one.
bool isBareSlide(const PictureFacts& facts) {
    return offFormat(facts) < 0.5 && facts.picture.width >= 640;
}

/// Lines of enough writing to tell their size.
std::vector<const TextLine*> tellingLines(const PictureFacts& facts) {
    std::vector<const TextLine*> lines;
    for (const TextLine& line : facts.lines) {
        if (line.strokes >= 6) lines.push_back(&line);
    }
    return lines;
}

void judgeFormat(const PictureFacts& facts, FindingList& list) {
    const double off = offFormat(facts);
    if (off <= 3) return;
    const std::string size =
        std::to_string(facts.picture.width) + " x " + std::to_string(facts.picture.height) + " px";
    const std::string place = placeName(facts.whole());
    list.addAt(kFormat, place, size + ", " + fixed(off, 1) + " % off",
               "With " + size + " the picture is " + fixed(off, 1) +
                   " % off the nearest slide format (16:9, 16:10 or 4:3).");
}

void judgeSizes(const PictureFacts& facts, FindingList& list) {
    std::vector<int> heights;
    for (const TextLine* line : tellingLines(facts)) heights.push_back(line->xHeight);
    std::ranges::sort(heights);
    std::vector<int> sizes;
    for (const int height : heights) {
        // Rounding to pixels and lines in capitals spread one size over neighbouring heights.
        if (sizes.empty() || height * 100 > sizes.back() * 115 + 100) sizes.push_back(height);
    }
    if (sizes.size() <= 6) return;
    std::string shown;
    for (const int size : sizes) shown += (shown.empty() ? "" : ", ") + std::to_string(size);
    const std::string place = placeName(facts.whole());
    list.addAt(kTextSizes, place, shown + " px",
               "The slide uses " + std::to_string(sizes.size()) + " sizes of text (x-heights of " +
                   shown + " px) over " + place + "; six are more than enough.");
}

void judgeAmount(const PictureFacts& facts, FindingList& list) {
    int rows = 0;
    int bottom = -1;
    std::int64_t covered = 0;
    Rect box;
    for (const TextLine& line : facts.lines) {
        covered += line.box.area();
        box = covered == line.box.area() ? line.box : united(box, line.box);
        if (line.box.y + line.box.height / 2 < bottom) continue;
        bottom = line.box.bottom();
        ++rows;
    }
    const bool bare = isBareSlide(facts);
    const auto percent =
        static_cast<double>(100 * covered) / static_cast<double>(facts.whole().area());
    const int mostRows = bare ? 20 : 45;
    if (rows <= mostRows && percent <= 38) return;
    const std::string figures =
        std::to_string(rows) + " lines, " + fixed(percent, 0) + " % of the area";
    list.addAt(bare ? kTextAmountMedium : kTextAmountLow, placeName(box), figures,
               "The slide is full of text: " + figures + " at " + placeName(box) + ".");
}

void judgeSmallText(const PictureFacts& facts, FindingList& list) {
    if (!isBareSlide(facts)) return;
    // About nine points on a slide of 7.5 inches; page numbers and sources may be that small.
    const double least = facts.picture.height * 0.009;
    std::vector<const TextLine*> small;
    int width = 0;
    for (const TextLine* line : tellingLines(facts)) {
        if (line->xHeight >= least) continue;
        small.push_back(line);
        width += line->box.width;
    }
    if (small.size() < 3 || width * 10 < facts.textWidth() * 3) return;
    for (const TextLine* line : small) {
        const std::string place = placeName(line->box);
        const std::string height =
            std::to_string(line->xHeight) + " px of " + std::to_string(facts.picture.height);
        list.addAt(kSmallText, place, "x-height " + height,
                   "The letters at " + place + " are " + height +
                       " high, too small to read from the back of a room.");
    }
}

void judgeMargins(const PictureFacts& facts, FindingList& list) {
    if (!isBareSlide(facts)) return;
    const int margin = std::max(4, facts.picture.width / 80);
    const std::array<std::string_view, 4> names{"left", "top", "right", "bottom"};
    for (std::size_t edge = 0; edge < names.size(); ++edge) {
        int nearest = margin;
        std::optional<Rect> box;
        for (const TextLine& line : facts.lines) {
            const std::array<int, 4> distances{line.box.x, line.box.y,
                                               facts.picture.width - line.box.right(),
                                               facts.picture.height - line.box.bottom()};
            // Writing that touches the edge is cut off, which has a rule of its own.
            if (distances[edge] >= margin || distances[edge] == 0) continue;
            nearest = std::min(nearest, distances[edge]);
            box = box ? united(*box, line.box) : line.box;
        }
        if (!box) continue;
        const std::string place = placeName(*box);
        const std::string distance = std::to_string(nearest) + " px";
        list.addAt(kMargin, place, distance + " from the " + std::string(names[edge]) + " edge",
                   "The writing at " + place + " comes within " + distance + " of the " +
                       std::string(names[edge]) + " edge of the slide; " + std::to_string(margin) +
                       " px are the least.");
    }
}

void judgeColours(const PictureFacts& facts, FindingList& list) {
    std::vector<Colour> colours;
    Rect box;
    for (const TextLine* line : tellingLines(facts)) {
        box = colours.empty() ? line->box : united(box, line->box);
        const bool known = std::ranges::any_of(colours, [&](const Colour& colour) {
            return channelDistance(colour, line->ink) <= 48;
        });
        if (!known) colours.push_back(line->ink);
    }
    if (colours.size() <= 6) return;
    std::string shown;
    for (const Colour& colour : colours) shown += (shown.empty() ? "" : ", ") + hexName(colour);
    const std::string place = placeName(box);
    list.addAt(kTextColours, place, shown,
               "The writing at " + place + " comes in " + std::to_string(colours.size()) +
                   " colours: " + shortened(shown, 80) + ".");
}

} // namespace

void judgeSlide(const PictureFacts& facts, FindingList& list) {
    judgeFormat(facts, list);
    judgeSizes(facts, list);
    judgeAmount(facts, list);
    judgeSmallText(facts, list);
    judgeMargins(facts, list);
    judgeColours(facts, list);
}

} // namespace trevix
