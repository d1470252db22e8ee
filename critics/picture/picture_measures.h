// The sharpness, noise, light and gradients of a picture.
//
// Figures over blocks of 32 x 32 pixels. Screens and slides consist mostly of blocks in which
// neighbouring pixels are equal; only blocks that vary throughout, as photographs do, are judged as
// photographs. All pure.

#pragma once

#include "critics/picture/regions.h"

#include <cstdint>
#include <vector>

namespace trevix {

/// How bright the pixels of a rectangle are, in levels from 0 to 255.
struct Tones {
    /// The level below which that share of the pixels lies.
    int percent1 = 0, percent10 = 0, median = 0, percent90 = 0, percent99 = 0;
    double white = 0; ///< Share, from 0 to 1, of pixels that are white, or nearly.
    int levels = 0;   ///< How many levels hold at least 0.3 % of the pixels each.
};

struct PictureMeasures {
    int blocks = 0;
    Tones tones; ///< Of the whole picture.

    int photoBlocks = 0; ///< Blocks that vary as photographs do.
    Rect photoBox;       ///< Around them.
    Tones photoTones;    ///< In that box.

    int noisyBlocks = 0;   ///< Photo blocks whose neighbouring pixels have nothing in common.
    double noiseSigma = 0; ///< Median deviation of their noise, in levels of 255.

    int edgyBlocks = 0; ///< Blocks with a distinct edge.
    /// How abrupt the sharpest edges are, from 0 (soft) to 1 or more (from one pixel to the next):
    /// the second difference in parts of the contrast of the block, 95th percentile.
    double sharpness = 0;
    double laplacianVariance = 0; ///< Of all pixels in edgy blocks.
};

/// Precondition: the picture is opaque and not empty.
[[nodiscard]] PictureMeasures measure(const Picture& picture);

struct Banding {
    Rect box;
    int bands = 0; ///< Most bands that one row or column of pixels crosses.
    int step = 0;  ///< Largest difference of brightness between two bands.
};

/// Gradients that advance in visible steps: six or more flat bands, each a like step brighter or
/// darker than the last. A gradient that advances by single levels has none.
[[nodiscard]] std::vector<Banding> findBanding(const Picture& picture);

} // namespace trevix
