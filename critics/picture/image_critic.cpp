#include "critics/picture/image_critic.h"

#include "critics/findings/finding_list.h"
#include "critics/picture/picture_rule_table.h"
#include "critics/picture/picture_rules.h"
#include "critics/picture/pixels.h"

#include <algorithm>
#include <map>
#include <utility>
#include <variant>

namespace trevix {
namespace {

constexpr GradedRule kTransparent = declared<WorkKind::picture>("picture.transparent");
constexpr GradedRule kBlack = declared<WorkKind::picture>("picture.black");
constexpr GradedRule kBlankHigh = declared<WorkKind::picture>("picture.blank", Severity::high);
constexpr GradedRule kBlankMedium = declared<WorkKind::picture>("picture.blank", Severity::medium);
constexpr GradedRule kUnreadable = declared<WorkKind::picture>("picture.unreadable");

/// Beyond this only what needs no map of regions is judged, so that memory stays bounded.
constexpr std::size_t kMostAnalysedPixels = 40'000'000;

/// The colour, in coarse steps, that most pixels have, and how many do not have it.
struct Filling {
    Colour colour;
    std::size_t others = 0;
};

Filling fillingOf(const Picture& picture) {
    // The candidate that outlives its rivals in pairs is the majority, if there is one.
    Colour candidate = picture.pixels.front();
    std::size_t lead = 0;
    const auto same = [](const Colour& one, const Colour& other) {
        return one == other || channelDistance(one, other) <= 3;
    };
    for (const Colour& pixel : picture.pixels) {
        if (lead == 0) candidate = pixel;
        if (same(candidate, pixel))
            ++lead;
        else
            --lead;
    }
    Filling filling{candidate, 0};
    for (const Colour& pixel : picture.pixels) filling.others += same(candidate, pixel) ? 0U : 1U;
    return filling;
}

/// Captures that failed and pictures with nothing on them. True when there is nothing to judge.
bool judgeEmptiness(const Picture& decoded, const Picture& shown, FindingList& list) {
    const std::string place = placeName({0, 0, decoded.width, decoded.height});
    const bool transparent =
        std::ranges::all_of(decoded.pixels, [](const Colour& pixel) { return pixel.alpha <= 8; });
    if (transparent) {
        list.addAt(kTransparent, place, "every pixel is transparent",
                   "Every pixel of " + place + " is transparent, as after a failed capture.");
        return true;
    }
    const bool black = std::ranges::all_of(
        shown.pixels, [](const Colour& pixel) { return brightness(pixel) <= 4; });
    if (black) {
        list.addAt(kBlack, place, "every pixel is black",
                   "Every pixel of " + place + " is black, as after a failed capture.");
        return true;
    }
    const Filling filling = fillingOf(shown);
    const std::size_t all = shown.pixels.size();
    if (filling.others * 500 > all) return false;
    const double share = 100.0 * static_cast<double>(filling.others) / static_cast<double>(all);
    const std::string figures =
        fixed(share, 2) + " % of the pixels differ from " + hexName(filling.colour);
    const bool blank = filling.others * 2000 <= all;
    list.addAt(blank ? kBlankHigh : kBlankMedium, place, figures,
               "On " + place + " only " + figures + ".");
    return blank;
}

} // namespace

std::vector<Finding> critiqueImage(const Part& part, std::string_view modality) {
    FindingList list;
    auto decoded = decodePng(part.bytes);
    if (const auto* failure = std::get_if<DecodeFailure>(&decoded)) {
        list.addAt(kUnreadable, "the whole picture", failure->reason,
                   "The whole picture cannot be read: " + failure->reason + ".");
        return list.take();
    }
    const PictureKind kind = kindOf(modality);
    auto& original = std::get<Picture>(decoded);
    PictureFacts facts;
    facts.kind = kind;
    {
        const bool opaque = std::ranges::all_of(
            original.pixels, [](const Colour& pixel) { return pixel.alpha == 255; });
        Picture shown = opaque ? original : onWhite(original);
        const bool nothing = judgeEmptiness(original, shown, list);
        original = {};
        facts.picture = std::move(shown);
        if (nothing) {
            judgeSize(facts, list);
            return list.take();
        }
    }
    if (facts.picture.pixels.size() > kMostAnalysedPixels) {
        judgeSize(facts, list);
        return list.take();
    }
    facts = factsOf(std::move(facts.picture), kind);
    judgeSize(facts, list);
    judgeWriting(facts, list);
    judgeRendering(facts, list);
    switch (kind) {
    case PictureKind::image:
        judgePhotograph(facts, list);
        break;
    case PictureKind::userInterface:
        judgeInterface(facts, list);
        break;
    case PictureKind::slide:
        judgeSlide(facts, list);
        break;
    }
    return list.take();
}

} // namespace trevix
