// The lines of writing in a picture: place, size and contrast.
//
// Nothing is read: writing is known by its strokes. A line of writing is a row of marks of one
// height on one ground, crossed by many strokes, neither as regular as a ruler nor as filled as an
// icon. The search would rather miss a line than take a picture for one. All pure.

#pragma once

#include "critics/picture/regions.h"

#include <cstddef>
#include <vector>

namespace trevix {

struct TextLine {
    Rect box;        ///< From the top of the tallest mark to the bottom of the lowest.
    int xHeight = 0; ///< Of the band that most strokes stand in; cap height where all is capitals.
    int marks = 0;   ///< Letters, or words whose letters touch.
    double strokes = 0; ///< Mean number of strokes that a pixel row of the band crosses.
    Colour ground;
    Colour ink;
    double contrast = 1; ///< Of the better marks, so that thin letters do not count against it.
};

/// What tells writing from other rows of marks. `bench/picture_thresholds.cpp` prints these figures
/// for both, which is where the limits in the source come from.
struct RowShape {
    TextLine line;             ///< As it would be if the row were writing.
    double squares = 0;        ///< Width of the row in heights.
    double coverage = 0;       ///< Share of the box, from 0 to 1, that is ink.
    std::size_t runWidths = 0; ///< How many different widths the strokes have,
    std::size_t gapWidths = 0; ///< and the gaps between them.
    bool regular = false;      ///< Repeats one mark at one distance, as rulers do.
};

/// All rows of marks that have ink, writing or not, by their leftmost mark.
[[nodiscard]] std::vector<RowShape> shapesOfRows(const Picture& picture, const Regions& regions);

[[nodiscard]] bool isWriting(const RowShape& shape);

/// The lines of writing, from top to bottom and left to right.
[[nodiscard]] std::vector<TextLine> findTextLines(const Picture& picture, const Regions& regions);

} // namespace trevix
