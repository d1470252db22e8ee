// The critic of PNG pictures.
//
// Deterministic and stateless; bad input is a finding, never an exception; any thread. Memory is at
// most ten bytes a pixel up to `kMostAnalysedPixels`, and that of one row beyond.

#pragma once

#include "critics/findings/critique.h"
#include "critics/picture/pixels.h"

#include <cstddef>
#include <string_view>

namespace trevix {

/// Pixels of one picture beyond which only emptiness and size are judged: more than a screen of
/// 7680 x 4320 has. It bounds memory.
constexpr std::size_t kMostAnalysedPixels = 40'000'000;

/// How much of a submission's pictures may still be judged. It bounds time: a few kilobytes can
/// hold a hundred megapixels, and a submission thousands of such files.
class PictureAllowance {
public:
    /// As many pixels as the largest picture may have by itself.
    explicit PictureAllowance(std::size_t pixels = kMostPicturePixels) : m_left(pixels) {}

    /// Whether there is room for a picture of that many pixels; if so, it is taken.
    [[nodiscard]] bool take(std::size_t pixels) {
        if (pixels > m_left) return false;
        m_left -= pixels;
        return true;
    }

private:
    std::size_t m_left;
};

/// What is wrong with the picture, judged as what `modality` says it shows: "ui_ux", "deck" or
/// anything else. A picture that cannot be read, or for which the allowance does not suffice, is
/// one finding.
[[nodiscard]] Critique critiqueImage(const Part& part, std::string_view modality,
                                     PictureAllowance& allowance);

} // namespace trevix
