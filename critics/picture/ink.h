// The colour that writing was drawn with, and how surely it is known.
//
// Letters are antialiased: most pixels of a thin stroke are a blend of ink and ground, and the
// strongest of them may still fall short of the ink. Where many pixels have one strongest colour,
// strokes that fill whole pixels have shown the ink itself. Pure.

#pragma once

#include "critics/picture/regions.h"

namespace trevix {

struct Ink {
    Colour ground;
    Colour colour;       ///< The farthest from the ground that more than stray pixels have.
    double contrast = 1; ///< Between the two, as WCAG defines it; of outlined letters see below.
    /// Share, from 0 to 1, of the inked pixels that have the colour itself.
    double full = 0;
    /// Whether `full` tells that the ink's own colour was seen, and not a blend of it.
    bool sure = false;
    /// Letters with an outline, glow or shadow lighter than the ground where they are darker, or
    /// the other way round. Their contrast is that between ink and outline when that is more.
    bool outlined = false;
    double stroke = 0; ///< Width of the middling stroke, in pixels; 0 without any.
};

/// The ink in a box that holds writing on a ground like `ground`.
[[nodiscard]] Ink inkIn(const Picture& picture, const Rect& box, const Colour& ground);

} // namespace trevix
