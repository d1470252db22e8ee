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

// Where a comment names an experiment, `build/dev/bench/picture_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// Percent of the width: a bare slide is a screen or an export, which hit a format but for
/// rounding; in a window a slide may have a frame.
constexpr double kBareOff = 0.5;
constexpr double kMostOff = 3;
/// Pixels: the smallest width at which `judgeSize` takes slides.
constexpr int kBareWidth = 640;
/// Strokes of a line that tell its size and colour: a word of three letters.
constexpr double kTellingStrokes = 6;
/// Percent by which the next size is larger, with a pixel for rounding. Chosen: nearer sizes are
/// seen as one.
constexpr int kNextSizePercent = 115;

// Chosen, and not measured: how much a slide may hold is a matter of taste, and only extremes are
// told.
constexpr std::size_t kMostSizes = 6;
constexpr std::size_t kMostColours = 6;
constexpr int kMostLines = 20;          // Twice what guides for slides ask for, with captions.
constexpr int kMostLinesInWindow = 45;  // The program's own menus and lists are among them.
constexpr double kMostTextPercent = 38; // Of the area.
constexpr int kMarginShare = 80;        // The least margin: one in so many pixels of the width,
constexpr int kLeastMargin = 4;         // but pixels at least.
/// Share of the height below which letters are too small to project: an x-height of nine points is
/// about half that, and 0.9 % of the 540 points of a slide 7.5 inches high is 4.9.
constexpr double kLeastLetterShare = 0.009;
constexpr std::size_t kFewestSmallLines = 3;
constexpr int kPrevailingTenths = 3; // Of the width of all writing.
/// Levels of 255 between the colours of one ink, antialiased.
constexpr int kSameInk = 48;

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
    return offFormat(facts) < kBareOff && facts.picture.width >= kBareWidth;
}

/// Lines of enough writing to tell their size.
std::vector<const TextLine*> tellingLines(const PictureFacts& facts) {
    std::vector<const TextLine*> lines;
    for (const TextLine& line : facts.lines) {
        if (line.strokes >= kTellingStrokes) lines.push_back(&line);
    }
    return lines;
}

void judgeFormat(const PictureFacts& facts, FindingList& list) {
    const double off = offFormat(facts);
    if (off <= kMostOff) return;
    const std::string size =
        std::to_string(facts.picture.width) + " x " + std::to_string(facts.picture.height) + " px";
    const std::string place = placeName(facts.whole());
    list.addAt(kFormat, place, size + ", " + fixed(off, 1) + " % off",
               "With " + size + " the picture is " + fixed(off, 1) +
                   " % off the nearest slide format (16:9, 16:10 or 4:3).");
}

// Sorted, sizes are told apart by where the next is clearly larger.
void judgeSizes(const PictureFacts& facts, FindingList& list) {
    std::vector<int> heights;
    for (const TextLine* line : tellingLines(facts)) heights.push_back(line->xHeight);
    std::ranges::sort(heights);
    std::vector<int> sizes;
    for (const int height : heights) {
        // Rounding to pixels and lines in capitals spread one size over neighbouring heights.
        if (sizes.empty() || height * 100 > sizes.back() * kNextSizePercent + 100)
            sizes.push_back(height);
    }
    if (sizes.size() <= kMostSizes) return;
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
    // Lines come from the top down. One whose middle is above the bottom of the last row stands
    // beside it.
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
    const int mostRows = bare ? kMostLines : kMostLinesInWindow;
    if (rows <= mostRows && percent <= kMostTextPercent) return;
    const std::string figures =
        std::to_string(rows) + " lines, " + fixed(percent, 0) + " % of the area";
    list.addAt(bare ? kTextAmountMedium : kTextAmountLow, placeName(box), figures,
               "The slide is full of text: " + figures + " at " + placeName(box) + ".");
}

void judgeSmallText(const PictureFacts& facts, FindingList& list) {
    if (!isBareSlide(facts)) return;
    const double least = facts.picture.height * kLeastLetterShare;
    std::vector<const TextLine*> small;
    int width = 0;
    for (const TextLine* line : tellingLines(facts)) {
        if (line->xHeight >= least) continue;
        small.push_back(line);
        width += line->box.width;
    }
    if (small.size() < kFewestSmallLines || width * 10 < facts.textWidth() * kPrevailingTenths)
        return;
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
    const int margin = std::max(kLeastMargin, facts.picture.width / kMarginShare);
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
    // Greedy: each ink joins the first colour that it is near to. How many there are may change by
    // one with the order, which is always the same.
    for (const TextLine* line : tellingLines(facts)) {
        box = colours.empty() ? line->box : united(box, line->box);
        const bool known = std::ranges::any_of(colours, [&](const Colour& colour) {
            return channelDistance(colour, line->ink) <= kSameInk;
        });
        if (!known) colours.push_back(line->ink);
    }
    if (colours.size() <= kMostColours) return;
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
