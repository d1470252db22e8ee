#include "critics/picture/picture_rule_table.h"
#include "critics/picture/picture_rules.h"

namespace trevix {
namespace {

constexpr GradedRule kOverexposed = declared<WorkKind::picture>("image.overexposed");
constexpr GradedRule kUnderexposed = declared<WorkKind::picture>("image.underexposed");
constexpr GradedRule kWashedOut = declared<WorkKind::picture>("image.washed_out");

// Where a comment names an experiment, `build/dev/bench/picture_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

// Chosen, and not measured: how light or dark a photograph may be is a matter of taste, and only
// extremes are told. Levels are of 255, shares from 0 to 1.
constexpr int kFewestPhotoBlocks = 24; // Blocks of 32 x 32: a photograph of 190 x 130 pixels.
constexpr int kPhotoTenths = 1;        // Of all blocks, for a picture that is a photograph in part,
constexpr int kMostlyPhotoTenths = 4;  // and as a whole.
constexpr double kBurntOut = 0.35;     // Share of white in an overexposed photograph.
constexpr int kBurntOutMedian = 225;
constexpr int kBurntOutDarkTenth = 120;
constexpr int kPaleMedian = 235; // A pale picture throughout: the middle, the darkest hundredth,
constexpr int kPaleDarkest = 180;
constexpr int kPaleLevels = 12;    // and enough levels to be no drawing on paper.
constexpr int kDarkBrightest = 64; // A dark one: a quarter of the scale,
constexpr int kDarkMedian = 30;
constexpr int kDarkLevels = 8;       // and enough levels to be no blank screen.
constexpr int kWashedOutLevels = 60; // Between the darkest and the brightest hundredth.

void judgeOverexposure(const PictureFacts& facts, FindingList& list) {
    const PictureMeasures& m = facts.measures;
    // A subject before a white ground has its own shades; overexposure takes those as well.
    const bool photo = m.photoBlocks >= kFewestPhotoBlocks &&
                       m.photoBlocks * 10 >= m.blocks * kPhotoTenths &&
                       m.photoTones.white >= kBurntOut && m.photoTones.median >= kBurntOutMedian &&
                       m.photoTones.percent10 >= kBurntOutDarkTenth;
    const bool throughout = facts.lines.empty() && m.tones.levels >= kPaleLevels &&
                            m.tones.percent1 >= kPaleDarkest && m.tones.median >= kPaleMedian;
    if (!photo && !throughout) return;
    const Tones& tones = photo ? m.photoTones : m.tones;
    const std::string place = placeName(photo ? m.photoBox : facts.whole());
    const std::string share = fixed(100 * tones.white, 0) + " %";
    const std::string figures = share + " of the pixels are white, 90 % are brighter than " +
                                std::to_string(tones.percent10) + " of 255";
    list.addAt(kOverexposed, place, figures,
               "At " + place + " " + figures + ", so the light parts show nothing.");
}

bool isUnderexposed(const Tones& tones) {
    return tones.percent99 <= kDarkBrightest && tones.median <= kDarkMedian &&
           tones.levels >= kDarkLevels;
}

void judgeUnderexposure(const PictureFacts& facts, FindingList& list) {
    // Even a dark interface has some bright letters; where nothing is bright, nothing shows.
    const Tones& tones = facts.measures.tones;
    if (!isUnderexposed(tones)) return;
    const std::string place = placeName(facts.whole());
    const std::string figures =
        "99 % of the pixels are darker than " + std::to_string(tones.percent99 + 1) + " of 255";
    list.addAt(kUnderexposed, place, figures,
               "On " + place + " " + figures + ", so hardly anything shows.");
}

void judgeFlatness(const PictureFacts& facts, FindingList& list) {
    const PictureMeasures& m = facts.measures;
    if (m.photoBlocks < kFewestPhotoBlocks || m.photoBlocks * 10 < m.blocks * kMostlyPhotoTenths)
        return;
    const Tones& tones = m.photoTones;
    if (tones.percent99 - tones.percent1 > kWashedOutLevels || isUnderexposed(m.tones)) return;
    const std::string place = placeName(m.photoBox);
    const std::string levels =
        std::to_string(tones.percent1) + " to " + std::to_string(tones.percent99) + " of 255";
    list.addAt(kWashedOut, place, "brightness " + levels,
               "At " + place + " the brightness only runs from " + levels +
                   ", so the picture looks flat.");
}

} // namespace

void judgePhotograph(const PictureFacts& facts, FindingList& list) {
    judgeOverexposure(facts, list);
    judgeUnderexposure(facts, list);
    judgeFlatness(facts, list);
}

} // namespace trevix
