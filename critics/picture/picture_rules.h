// The rules for pictures, over what was found in one.
//
// Those for every picture, and those for what it is meant to show. Each adds to the list and keeps
// no state. A picture of a window shows a program's own frame as well as the work in it, so rules
// weigh what prevails and let single oddities pass. All pure.

#pragma once

#include "critics/findings/finding_list.h"
#include "critics/picture/glyph_strokes.h"
#include "critics/picture/ink.h"
#include "critics/picture/picture_measures.h"
#include "critics/picture/picture_words.h"
#include "critics/picture/regions.h"

#include <string>
#include <string_view>
#include <vector>

namespace trevix {

enum class PictureKind { image, userInterface, slide };

/// What a modality's pictures show: "ui_ux", "deck", anything else.
[[nodiscard]] PictureKind kindOf(std::string_view modality);

/// A line of writing, or a part of it whose words have one colour.
struct Writing {
    Rect box;
    int xHeight = 0;
    Ink ink;
};

/// A picture with everything that the rules ask about it.
struct PictureFacts {
    PictureKind kind = PictureKind::image;
    Picture picture; ///< On white.
    Regions regions;
    std::vector<TextLine> lines;
    std::vector<PictureWord> words; ///< Empty where they were not read.
    PictureMeasures measures;

    [[nodiscard]] Rect whole() const { return {0, 0, picture.width, picture.height}; }
    /// Of all lines of writing together, in pixels.
    [[nodiscard]] int textWidth() const;
};

[[nodiscard]] PictureFacts factsOf(Picture onWhite, PictureKind kind);

/// What is written, by colour: each line whole where its words were not read, else parted where the
/// colour changes. In the order of the lines.
[[nodiscard]] std::vector<Writing> writingIn(const PictureFacts& facts);

/// "3.50", with `decimals` digits after the point.
[[nodiscard]] std::string fixed(double value, int decimals);

void judgeSize(const PictureFacts& facts, FindingList& list);
void judgeWriting(const PictureFacts& facts, FindingList& list);   ///< Contrast, size, cut edges.
void judgeRendering(const PictureFacts& facts, FindingList& list); ///< Blur, noise, banding.
void judgePhotograph(const PictureFacts& facts, FindingList& list);
void judgeInterface(const PictureFacts& facts, FindingList& list);
void judgeSlide(const PictureFacts& facts, FindingList& list);

} // namespace trevix
