// The rules for pictures: all of them, photographs, user interfaces, slides.

#pragma once

#include "critics/findings/rule.h"

#include <array>

namespace trevix {

template <>
struct RulesFor<WorkKind::picture> {
    static constexpr std::array kRules = {
        Rule{"picture.unreadable", Severity::high, "cannot be read", Unit::part,
             "64 MiB and 100 megapixels: what the machine can hold decoded"},
        Rule{"picture.unjudged", Severity::medium, "not judged", Unit::part,
             "100 megapixels of pictures in one submission: some seconds of work, and as much as "
             "one "
             "picture may have"},
        Rule{"picture.transparent", Severity::high, "nothing captured", Unit::part,
             "chosen: an opacity of 8 of 255 cannot be seen"},
        Rule{"picture.black", Severity::high, "nothing captured", Unit::part,
             "chosen: a brightness of 4 of 255 cannot be told from black"},
        Rule{"picture.blank",
             {Severity::high, Severity::medium},
             "blank picture",
             Unit::part,
             "chosen: 0.05 % and 0.2 % of the pixels, a pointer and a line of writing"},
        Rule{"picture.small", Severity::medium, "too small", Unit::part,
             "chosen, in pixels by kind of picture"},
        Rule{"picture.aspect", Severity::medium, "extreme proportions", Unit::part,
             "chosen, as width to height by kind of picture"},
        Rule{"picture.low_contrast",
             {Severity::high, Severity::medium, Severity::low},
             "weak contrast",
             Unit::region,
             "WCAG 2.2 (1.4.3) asks for 4.5:1, for large letters 3:1; measured (picture_thresholds "
             "ink): when the ink's own colour was seen; measured (picture_thresholds contrast): "
             "antialiased letters have less, so else 4.0, 3.0 below 8 px, 2.9 for large ones"},
        Rule{"picture.tiny_text",
             {Severity::medium, Severity::low},
             "unreadably small text",
             Unit::region,
             "chosen: letters of three pixels have no room for their strokes"},
        Rule{"picture.cut_text",
             {Severity::medium, Severity::low},
             "text cut off",
             Unit::region,
             "chosen: a quarter of the letters of a line, three at least, touch the edge"},
        Rule{"picture.blur", Severity::medium, "out of focus", Unit::part,
             "measured (picture_thresholds blur): a sharpness of 0.12, which edges blurred by two "
             "to three "
             "pixels have; sharp ones have 1 and more"},
        Rule{"picture.noise",
             {Severity::medium, Severity::low},
             "visual noise",
             Unit::part,
             "chosen: 8 and 16 levels of 255; measured (picture_thresholds noise): what the blocks "
             "say"},
        Rule{"picture.banding",
             {Severity::medium, Severity::low},
             "colour banding",
             Unit::region,
             "measured (picture_thresholds banding): six steps of 3 to 40 levels of 255; chosen: "
             "large from "
             "a twentieth of the picture on"},
        Rule{"image.overexposed", Severity::medium, "overexposed", Unit::part,
             "chosen, in levels of 255 and shares of the pixels"},
        Rule{"image.underexposed", Severity::medium, "underexposed", Unit::part,
             "chosen: 99 % of the pixels darker than 64 of 255"},
        Rule{"image.washed_out", Severity::low, "washed out", Unit::part,
             "chosen: at most 60 levels of 255 between the darkest and brightest hundredth"},
        Rule{"ui.misaligned_left", Severity::medium, "misaligned", Unit::region,
             "chosen: 1 to 3 pixels off, farther is another place; three like controls of four"},
        Rule{"ui.misaligned_top", Severity::medium, "misaligned", Unit::region,
             "as ui.misaligned_left"},
        Rule{"ui.misaligned_text", Severity::low, "misaligned", Unit::region,
             "measured (picture_thresholds bearings): letters begin up to two pixels beside their "
             "edge, so 3 "
             "or 4 tell; chosen: five lines, "
             "seven tenths of them on one edge"},
        Rule{"ui.uneven_gap", Severity::low, "uneven spacing", Unit::region,
             "chosen: 2 or 3 pixels, since layouts share out left-over pixels by one"},
        Rule{"ui.crowded_margin", Severity::low, "too little margin", Unit::region,
             "chosen: 3 pixels; a third of the lines at most, more is the style of editors"},
        Rule{"deck.format", Severity::low, "no slide format", Unit::part,
             "the formats 16:9, 16:10 and 4:3; chosen: 3 % off"},
        Rule{"deck.text_amount",
             {Severity::medium, Severity::low},
             "too much text",
             Unit::part,
             "chosen: 20 lines (45 in a window) or 38 % of the area"},
        Rule{"deck.small_text", Severity::medium, "text too small to project", Unit::region,
             "chosen: 0.9 % of the height, about nine points on a slide of 7.5 inches"},
        Rule{"deck.text_sizes", Severity::low, "too many text sizes", Unit::part,
             "chosen: six sizes"},
        Rule{"deck.text_colours", Severity::low, "too many text colours", Unit::part,
             "chosen: six colours"},
        Rule{"deck.margin", Severity::low, "too little margin", Unit::region,
             "chosen: 1/80 of the width"},
    };
};

} // namespace trevix
