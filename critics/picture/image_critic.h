// The critic of PNG pictures.
//
// Deterministic and stateless, but that words which could not be read in time are a gap in the
// coverage; bad input is a finding, never an exception; any thread. Memory is at most ten bytes a
// pixel up to `kMostAnalysedPixels`, and that of one row beyond.

#pragma once

#include "critics/findings/critique.h"
#include "critics/language/language_tools.h"
#include "critics/ocr/line_reader.h"
#include "critics/picture/pixels.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string_view>

namespace trevix {

/// Pixels of one picture beyond which only emptiness and size are judged: more than a screen of
/// 7680 x 4320 has. It bounds memory.
constexpr std::size_t kMostAnalysedPixels = 40'000'000;

/// How long the words of one picture, and those of all pictures of a submission, are read. A window
/// of 1280 x 800 full of writing takes a second.
constexpr std::chrono::milliseconds kMostReading{10'000};
constexpr std::chrono::milliseconds kMostReadingTogether{20'000};

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

    /// How long the words of the next picture may be read.
    [[nodiscard]] std::chrono::milliseconds reading() const {
        return std::min(kMostReading, m_reading);
    }
    void spend(std::chrono::milliseconds onReading) { m_reading -= std::min(m_reading, onReading); }

private:
    std::size_t m_left;
    std::chrono::milliseconds m_reading = kMostReadingTogether;
};

/// What is wrong with the picture, judged as what `modality` says it shows: "ui_ux", "deck" or
/// anything else. A picture that cannot be read, or for which the allowance does not suffice, is
/// one finding. Its words are read by one of `readers` and spelled by `tools`; without readers that
/// is a gap in the coverage.
[[nodiscard]] Critique critiqueImage(const Part& part, std::string_view modality,
                                     PictureAllowance& allowance, LineReaders* readers,
                                     const LanguageTools& tools);
/// Likewise, without anybody who reads.
[[nodiscard]] Critique critiqueImage(const Part& part, std::string_view modality,
                                     PictureAllowance& allowance);

} // namespace trevix
