// Where in the picture is writing, how large is it, and how well does it stand out?
//
// Nothing is read: writing is known by its strokes. A line of writing is a row of marks of one
// height on one ground, crossed by many strokes, neither as regular as a ruler nor as filled as an
// icon. The search would rather miss a line than take a picture for one.

#pragma once

#include "critics/picture/regions.h"

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

/// The lines of writing, from top to bottom and left to right.
[[nodiscard]] std::vector<TextLine> findTextLines(const Picture& picture, const Regions& regions);

} // namespace trevix
