#include "critics/picture/picture_rules.h"
#include "critics/picture/picture_rule_table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <utility>

namespace trevix {
namespace {

constexpr GradedRule kPale = declared<WorkKind::picture>("picture.low_contrast", Severity::low);
constexpr GradedRule kWeakContrast =
    declared<WorkKind::picture>("picture.low_contrast", Severity::medium);
constexpr GradedRule kWeakThroughout =
    declared<WorkKind::picture>("picture.low_contrast", Severity::high);
constexpr GradedRule kTinyTextMedium =
    declared<WorkKind::picture>("picture.tiny_text", Severity::medium);
constexpr GradedRule kTinyTextLow = declared<WorkKind::picture>("picture.tiny_text", Severity::low);
constexpr GradedRule kCutTextLow = declared<WorkKind::picture>("picture.cut_text", Severity::low);
constexpr GradedRule kCutTextMedium =
    declared<WorkKind::picture>("picture.cut_text", Severity::medium);
constexpr GradedRule kSmall = declared<WorkKind::picture>("picture.small");
constexpr GradedRule kAspect = declared<WorkKind::picture>("picture.aspect");
constexpr GradedRule kBlur = declared<WorkKind::picture>("picture.blur");
constexpr GradedRule kNoiseMedium = declared<WorkKind::picture>("picture.noise", Severity::medium);
constexpr GradedRule kNoiseLow = declared<WorkKind::picture>("picture.noise", Severity::low);
constexpr GradedRule kBandingMedium =
    declared<WorkKind::picture>("picture.banding", Severity::medium);
constexpr GradedRule kBandingLow = declared<WorkKind::picture>("picture.banding", Severity::low);

struct LowContrast {
    Rect box;
    Writing worst;
    bool hard = false; ///< Anything in it is hard to read.
    bool sure = false; ///< Anything in it is known to fall short.
};

// Where a comment names an experiment, `build/dev/bench/picture_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// WCAG 2.2, success criterion 1.4.3: contrast that writing needs, and large writing, which begins
/// at 18 points, or 24 pixels of type, and when bold at 14 points, or 18.7 pixels. Type of 24
/// pixels has letters of about 13, of 18.7 pixels about 10 (experiment `heights`); strokes of bold
/// type are a quarter of that wide, of regular type at most a fifth (experiment `ink`).
constexpr double kNeededContrast = 4.5;
constexpr double kNeededContrastLarge = 3.0;
constexpr int kLargeXHeight = 13;
constexpr int kLargeBoldXHeight = 10;
constexpr double kBoldStroke = 0.21;
/// What rounds to the contrast that is needed counts as that.
constexpr double kRoundedOff = 0.05;

bool isLarge(const Writing& writing) {
    if (writing.xHeight >= kLargeXHeight) return true;
    return writing.xHeight >= kLargeBoldXHeight &&
           writing.ink.stroke >= kBoldStroke * writing.xHeight;
}

double requiredContrast(const Writing& writing) {
    return isLarge(writing) ? kNeededContrastLarge : kNeededContrast;
}

/// Contrasts below which even the best pixels of antialiased letters tell that the colour is too
/// weak, where the ink's own colour was not seen. Of writing drawn at 4.5:1, one line in a hundred
/// measures less than 4.06; letters below `kSmallXHeight` pixels have no stroke that fills a pixel,
/// a tenth measures less than 3.4, and so they are held to 3:1, which nothing on a screen may have
/// less of (1.4.11). Large letters measure what they have, but for rounding to 255 levels
/// (experiment `contrast`).
constexpr double kHardToRead = 2.9;
constexpr double kTooLow = 4.0;
constexpr double kTooLowSmall = 3.0;
constexpr int kSmallXHeight = 8;

double surelyTooLow(const Writing& writing) {
    if (writing.ink.sure) return requiredContrast(writing) - kRoundedOff;
    if (isLarge(writing)) return kHardToRead;
    return writing.xHeight >= kSmallXHeight ? kTooLow : kTooLowSmall;
}

/// Fainter than this is rather a trace in a light surface than writing: white and a gray 21
/// levels of 255 darker.
constexpr double kFaintest = 1.2;

/// Weak lines of one colour are one finding: the colours of antialiased letters differ by so many
/// levels of 255, and the lines stand at most two heights apart.
constexpr int kSameGround = 12;
constexpr int kSameInk = 48;
constexpr int kNeighbourHeights = 2;

/// Of 100: what was read with less is perhaps no word, and its box not that of one.
constexpr int kTellingConfidence = 50;
/// X-heights of a word that tells its own colour from that of the words beside it: two letters.
constexpr int kTellingHeights = 2;

/// Tenths of the width of all writing that prevail, and those that are no oddity any more; the
/// lines that are none either.
constexpr int kPrevailingTenths = 4;
constexpr int kMoreThanOddTenths = 1;
constexpr int kMostOddLines = 3;

/// Pixels: letters of so few rows have no room for the three strokes of an e. With fewer strokes
/// than these a line may be a dotted rule.
constexpr int kUnreadableXHeight = 3;
constexpr int kUnreadableHeight = 6;
constexpr double kFewestTinyStrokes = 8;
constexpr std::size_t kFewestTinyLines = 2; // One may be a thumbnail or a logo.
constexpr std::size_t kFewestPrevailingTinyLines = 3;
constexpr int kPrevailingTinyTenths = 3;

/// Of a line's marks, at least a quarter and three touch an edge that cuts it: a single tail may.
constexpr int kCutShare = 4;
constexpr int kFewestCutMarks = 3;
/// At the sides a line that only ends there is cut when others are too, or when it is a title, that
/// is so many pixels high.
constexpr std::size_t kFewestCutLines = 3;
constexpr int kTitleHeight = 24;

/// Blocks that a judgement on blur, or noise, rests on, at least; and their share, one in so many
/// of all blocks, or tenths of the photographic ones.
constexpr int kFewestEdgyBlocks = 12;
constexpr int kEdgyShare = 20;
constexpr int kFewestNoisyBlocks = 24;
constexpr int kNoisyTenths = 4;
/// Sharp edges measure 1 and more, edges blurred by a pixel 0.3, by two or three this (experiment
/// `blur`).
constexpr double kBlurred = 0.12;
/// Levels of 255 (experiment `noise`).
constexpr double kNoisy = 8;
constexpr double kVeryNoisy = 16;
/// A gradient is large from this share of the picture on: one in so many pixels.
constexpr int kLargeShare = 20;

bool isWeak(const Writing& writing, double below) {
    return writing.ink.contrast >= kFaintest && writing.ink.contrast < below;
}

std::vector<LowContrast> lowContrastRegions(const std::vector<Writing>& all) {
    std::vector<LowContrast> regions;
    for (const Writing& writing : all) {
        if (!isWeak(writing, surelyTooLow(writing))) continue;
        const Ink& ink = writing.ink;
        // By the first region near enough. Lines come from the top down, so a region grows
        // downwards.
        const auto joined = std::ranges::find_if(regions, [&](const LowContrast& region) {
            const int gap = writing.box.y - region.box.bottom();
            const int side = std::max(writing.box.x, region.box.x) -
                             std::min(writing.box.right(), region.box.right());
            return gap <= writing.box.height * kNeighbourHeights &&
                   side <= writing.box.height * kNeighbourHeights &&
                   channelDistance(region.worst.ink.ground, ink.ground) <= kSameGround &&
                   channelDistance(region.worst.ink.colour, ink.colour) <= kSameInk;
        });
        const bool hard = ink.contrast < kHardToRead;
        if (joined == regions.end()) {
            regions.push_back({writing.box, writing, hard, ink.sure});
            continue;
        }
        joined->box = united(joined->box, writing.box);
        joined->hard = joined->hard || hard;
        joined->sure = joined->sure || ink.sure;
        if (ink.contrast < joined->worst.ink.contrast) joined->worst = writing;
    }
    // The worst first, since the list holds so many of a rule and no more.
    std::ranges::stable_sort(regions, {},
                             [](const LowContrast& region) { return region.worst.ink.contrast; });
    return regions;
}

/// How much of the writing is weak: its width and its pieces.
struct Weakness {
    int width = 0;
    int pieces = 0;

    void add(const Writing& writing) {
        width += writing.box.width;
        ++pieces;
    }
    [[nodiscard]] bool isOdd(int all) const {
        return width * 10 < all * kMoreThanOddTenths && pieces <= kMostOddLines;
    }
    [[nodiscard]] bool prevails(int all) const {
        return width * 10 >= all * kPrevailingTenths && pieces >= 2;
    }
};

void judgeContrast(const PictureFacts& facts, FindingList& list) {
    const std::vector<Writing> writing = writingIn(facts);
    Weakness hard;
    Weakness known; // To fall short, hard to read or not.
    int all = 0;
    for (const Writing& piece : writing) {
        all += piece.box.width;
        const bool isHard = isWeak(piece, kHardToRead);
        if (isHard) hard.add(piece);
        if (isHard || (piece.ink.sure && isWeak(piece, surelyTooLow(piece)))) known.add(piece);
    }
    // A few pale words may be disabled controls or hints; most of the writing may not. Nor is it
    // the gravest fault unless it is hard to read.
    // In photographs the search may take ripples for writing.
    const PictureMeasures& m = facts.measures;
    const bool photograph = m.photoBlocks * 2 > m.blocks;
    const GradedRule ofKnown = known.isOdd(all) || photograph ? kPale : kWeakContrast;
    const GradedRule ofHard = hard.prevails(all) && !photograph ? kWeakThroughout : ofKnown;
    for (const LowContrast& region : lowContrastRegions(writing)) {
        const Writing& worst = region.worst;
        const std::string place = placeName(region.box);
        const std::string ratio = fixed(worst.ink.contrast, 2) + ":1";
        // Both, so that a person can check the figure.
        const std::string colours = hexName(worst.ink.colour) + " on " + hexName(worst.ink.ground);
        list.addAt(region.hard   ? ofHard
                   : region.sure ? ofKnown
                                 : kPale,
                   place, ratio + ", " + colours,
                   "The writing at " + place + " has a contrast of only " + ratio + " (" + colours +
                       "); at its size " + fixed(requiredContrast(worst), 1) + ":1 is needed.");
    }
}

void judgeTinyText(const PictureFacts& facts, FindingList& list) {
    std::vector<const TextLine*> tiny;
    int width = 0;
    for (const TextLine& line : facts.lines) {
        // A dotted rule has as few rows, but not the strokes.
        if (line.xHeight > kUnreadableXHeight || line.box.height > kUnreadableHeight ||
            line.strokes < kFewestTinyStrokes)
            continue;
        tiny.push_back(&line);
        width += line.box.width;
    }
    if (tiny.size() < kFewestTinyLines) return;
    const bool prevails = width * 10 >= facts.textWidth() * kPrevailingTinyTenths &&
                          tiny.size() >= kFewestPrevailingTinyLines;
    for (const TextLine* line : tiny) {
        const std::string place = placeName(line->box);
        const std::string height = std::to_string(line->xHeight) + " px";
        list.addAt(prevails ? kTinyTextMedium : kTinyTextLow, place, "x-height " + height,
                   "The small letters at " + place + " are only " + height +
                       " high, too few pixels to tell them apart.");
    }
}

/// Marks of the line that reach the picture's edge row or column.
int marksAtEdge(const PictureFacts& facts, const TextLine& line, bool top) {
    int touching = 0;
    // Through all marks: done for the lines at two edges of the picture alone.
    for (const Mark& mark : facts.regions.marks) {
        const bool inside = mark.box.x >= line.box.x && mark.box.right() <= line.box.right();
        const bool touches = top ? mark.box.y == 0 : mark.box.bottom() == facts.picture.height;
        if (inside && touches) ++touching;
    }
    return touching;
}

struct Edge {
    std::string_view name;
    bool scrolls; ///< Whether content that scrolls is cut there as a matter of course.
    std::vector<const TextLine*> lines;
};

void judgeCutText(const PictureFacts& facts, FindingList& list) {
    const Rect whole = facts.whole();
    Edge top{"top", false, {}};
    Edge left{"left", false, {}};
    Edge bottom{"bottom", true, {}};
    Edge right{"right", true, {}};
    for (const TextLine& line : facts.lines) {
        const int enough = std::max(kFewestCutMarks, line.marks / kCutShare);
        // Each line is cut at the top or bottom at most.
        if (line.box.y == 0 && marksAtEdge(facts, line, true) >= enough) {
            top.lines.push_back(&line);
        } else if (line.box.bottom() == whole.height && marksAtEdge(facts, line, false) >= enough) {
            bottom.lines.push_back(&line);
        }
        if (line.box.x == 0) left.lines.push_back(&line);
        if (line.box.right() == whole.width) right.lines.push_back(&line);
    }
    for (Edge* side : {&left, &right}) {
        const bool tells = side->lines.size() >= kFewestCutLines ||
                           std::ranges::any_of(side->lines, [](const TextLine* line) {
                               return line->box.height >= kTitleHeight;
                           });
        if (!tells) side->lines.clear();
    }
    for (const Edge* edge : {&top, &left, &bottom, &right}) {
        if (edge->lines.empty()) continue;
        // One finding for an edge, however many lines it cuts.
        Rect box = edge->lines.front()->box;
        for (const TextLine* line : edge->lines) box = united(box, line->box);
        const bool mild = edge->scrolls && facts.kind != PictureKind::slide;
        const std::string place = placeName(box);
        const std::string name(edge->name);
        list.addAt(mild ? kCutTextLow : kCutTextMedium, place,
                   std::to_string(edge->lines.size()) +
                       (edge->lines.size() == 1 ? " line touches" : " lines touch") + " the " +
                       name + " edge",
                   "The writing at " + place + " runs into the " + name +
                       " edge of the picture and is cut off.");
    }
}

} // namespace

PictureKind kindOf(std::string_view modality) {
    if (modality == "ui_ux") return PictureKind::userInterface;
    if (modality == "deck") return PictureKind::slide;
    return PictureKind::image;
}

int PictureFacts::textWidth() const {
    int width = 0;
    for (const TextLine& line : lines) width += line.box.width;
    return width;
}

PictureFacts factsOf(Picture onWhite, PictureKind kind) {
    PictureFacts facts;
    facts.kind = kind;
    facts.picture = std::move(onWhite);
    facts.regions = findRegions(facts.picture);
    facts.lines = findTextLines(facts.picture, facts.regions);
    facts.measures = measure(facts.picture);
    return facts;
}

std::vector<Writing> writingIn(const PictureFacts& facts) {
    std::vector<Writing> all;
    // Both lists go by lines, so one walk through each is enough.
    std::size_t next = 0; // Of the words, which are in the order of the lines.
    for (std::size_t i = 0; i < facts.lines.size(); ++i) {
        const TextLine& line = facts.lines[i];
        std::vector<Writing> pieces;
        for (; next < facts.words.size() && facts.words[next].line == i; ++next) {
            const PictureWord& word = facts.words[next];
            if (word.confidence < kTellingConfidence) continue;
            const Writing piece{word.box, line.xHeight,
                                inkIn(facts.picture, word.box, line.ground)};
            const bool tells = piece.ink.sure && piece.box.width >= line.xHeight * kTellingHeights;
            const bool same =
                !pieces.empty() &&
                channelDistance(pieces.back().ink.ground, piece.ink.ground) <= kSameGround &&
                channelDistance(pieces.back().ink.colour, piece.ink.colour) <= kSameInk;
            // A short word has too few pixels to know its colour by: it goes with what stands
            // before it.
            if (!pieces.empty() && (same || !tells)) {
                pieces.back().box = united(pieces.back().box, piece.box);
                continue;
            }
            pieces.push_back(piece);
        }
        if (pieces.size() <= 1) {
            all.push_back({line.box, line.xHeight, inkIn(facts.picture, line.box, line.ground)});
            continue;
        }
        // More pixels know the ink better. So it is measured again over all of a piece.
        for (Writing& piece : pieces) {
            piece.ink = inkIn(facts.picture, piece.box, line.ground);
            all.push_back(piece);
        }
    }
    return all;
}

std::string fixed(double value, int decimals) {
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    return text.data();
}

void judgeSize(const PictureFacts& facts, FindingList& list) {
    // Chosen, in pixels and times: a window less high than a dialogue, a slide smaller than the
    // least projector, and strips that no screen, page or photograph has. A whole web page may be
    // long.
    struct Limits {
        int width, height;
        int wide, tall; ///< Most times wider than high, and higher than wide.
        std::string_view what;
    };
    const auto limits = [&]() -> Limits {
        switch (facts.kind) {
        case PictureKind::userInterface:
            return {200, 120, 8, 16, "a user interface"};
        case PictureKind::slide:
            return {640, 360, 3, 2, "a slide"};
        case PictureKind::image:
            break;
        }
        return {160, 120, 6, 6, "a picture"};
    }();
    const int width = facts.picture.width;
    const int height = facts.picture.height;
    const std::string size = std::to_string(width) + " x " + std::to_string(height) + " px";
    const std::string place = placeName(facts.whole());
    if (width < limits.width || height < limits.height) {
        list.addAt(kSmall, place, size,
                   "The picture is only " + size + "; " + std::string(limits.what) +
                       " needs at least " + std::to_string(limits.width) + " x " +
                       std::to_string(limits.height) + " px.");
    }
    if (width > limits.wide * height || height > limits.tall * width) {
        const double ratio = static_cast<double>(std::max(width, height)) / std::min(width, height);
        const std::string times = fixed(ratio, 1);
        list.addAt(kAspect, place, size + ", " + times + ":1",
                   "With " + size + " the picture is " + times + " times as " +
                       (width > height ? "wide as high" : "high as wide") + ", more than " +
                       std::string(limits.what) + " can well be.");
    }
}

void judgeWriting(const PictureFacts& facts, FindingList& list) {
    judgeContrast(facts, list);
    judgeTinyText(facts, list);
    judgeCutText(facts, list);
}

void judgeRendering(const PictureFacts& facts, FindingList& list) {
    const PictureMeasures& m = facts.measures;
    // Too few edges, and a picture is not blurred but empty.
    if (m.edgyBlocks >= kFewestEdgyBlocks && m.edgyBlocks * kEdgyShare >= m.blocks &&
        m.sharpness < kBlurred) {
        const std::string place = placeName(facts.whole());
        const std::string figures = "edge sharpness " + fixed(m.sharpness, 3) +
                                    ", Laplacian variance " + fixed(m.laplacianVariance, 1);
        list.addAt(kBlur, place, figures,
                   "Over " + place + " even the sharpest edges are soft (" + figures +
                       "); sharp ones reach 0.3.");
    }
    if (m.noisyBlocks >= kFewestNoisyBlocks && m.noisyBlocks * 10 >= m.photoBlocks * kNoisyTenths &&
        m.noiseSigma >= kNoisy) {
        const std::string place = placeName(m.photoBox);
        const std::string figures = "noise of " + fixed(m.noiseSigma, 1) + " levels in " +
                                    std::to_string(m.noisyBlocks) + " of " +
                                    std::to_string(m.photoBlocks) + " blocks";
        list.addAt(m.noiseSigma >= kVeryNoisy ? kNoiseMedium : kNoiseLow, place, figures,
                   "At " + place + " neighbouring pixels differ at random: " + figures + ".");
    }
    for (const Banding& banding : findBanding(facts.picture)) {
        const bool large = banding.box.area() * kLargeShare >= facts.whole().area();
        const std::string place = placeName(banding.box);
        const std::string figures = std::to_string(banding.bands) + " bands, steps of up to " +
                                    std::to_string(banding.step) + " levels";
        list.addAt(large ? kBandingMedium : kBandingLow, place, figures,
                   "The gradient at " + place + " shows steps: " + figures + ".");
    }
}

} // namespace trevix
