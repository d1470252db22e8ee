// The plain surfaces of a picture and the marks that stand on them.
//
// Screens and slides are made of flat surfaces with things drawn on them. A surface is a connected
// area whose neighbouring pixels hardly differ, so that a soft gradient is one surface too; what is
// left over falls into marks: letters, icons, lines, photographs. All pure; time is linear in the
// pixels, and memory is five bytes for each beside the picture itself.

#pragma once

#include "critics/picture/pixels.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace trevix {

/// In pixels, from the top left corner of the picture.
struct Rect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    [[nodiscard]] int right() const { return x + width; }   ///< One past the last column.
    [[nodiscard]] int bottom() const { return y + height; } ///< One past the last row.
    [[nodiscard]] std::int64_t area() const { return std::int64_t{width} * height; }
    bool operator==(const Rect&) const = default;
};

/// The smallest rectangle around both.
[[nodiscard]] Rect united(const Rect& one, const Rect& other);

/// "x 10, y 40, 120 x 30 px", as findings name a place.
[[nodiscard]] std::string placeName(const Rect& rect);

struct Surface {
    Rect box;
    int pixels = 0;
    Colour colour; ///< Of its first pixel in reading order.
};

/// Something that stands on surface alone: its whole edge borders on one colour.
struct Mark {
    Rect box;
    int pixels = 0;
    Colour ground;       ///< The colour around it.
    Colour ink;          ///< Its pixel that stands out most from the ground.
    double contrast = 1; ///< Between the two, as WCAG defines it.
};

struct Regions {
    std::vector<Surface> surfaces; ///< In reading order of their first pixels.
    std::vector<Mark> marks;       ///< In reading order; only marks of the size that letters have.
    /// For each pixel 1 + the index of its surface, or 0.
    std::vector<std::uint32_t> surfaceAt;
};

/// Precondition: the picture is opaque and not empty.
[[nodiscard]] Regions findRegions(const Picture& picture);

} // namespace trevix
