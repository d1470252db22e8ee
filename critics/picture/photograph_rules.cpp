#include "critics/picture/picture_rule_table.h"
#include "critics/picture/picture_rules.h"

namespace trevix {
namespace {

constexpr GradedRule kOverexposed = declared<WorkKind::picture>("image.overexposed");
constexpr GradedRule kUnderexposed = declared<WorkKind::picture>("image.underexposed");
constexpr GradedRule kWashedOut = declared<WorkKind::picture>("image.washed_out");

void judgeOverexposure(const PictureFacts& facts, FindingList& list) {
    const PictureMeasures& m = facts.measures;
    // A subject before a white ground has its own shades; overexposure takes those as well.
    const bool photo = m.photoBlocks >= 24 && m.photoBlocks * 10 >= m.blocks &&
                       m.photoTones.white >= 0.35 && m.photoTones.median >= 225 &&
                       m.photoTones.percent10 >= 120;
    const bool throughout = facts.lines.empty() && m.tones.levels >= 12 &&
                            m.tones.percent1 >= 180 && m.tones.median >= 235;
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
    return tones.percent99 <= 64 && tones.median <= 30 && tones.levels >= 8;
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
    if (m.photoBlocks < 24 || m.photoBlocks * 10 < m.blocks * 4) return;
    const Tones& tones = m.photoTones;
    if (tones.percent99 - tones.percent1 > 60 || isUnderexposed(m.tones)) return;
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
