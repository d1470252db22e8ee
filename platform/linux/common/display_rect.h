// A rectangle of a desktop's surface.

#pragma once

#include <algorithm>
#include <cstdint>

namespace kelvane {

/// In the desktop's own units, which a scaled screen shows as more than one pixel each.
struct DisplayRect {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;

    [[nodiscard]] bool empty() const { return width <= 0 || height <= 0; }

    /// What both have in common; empty when nothing.
    [[nodiscard]] DisplayRect sharedWith(const DisplayRect& other) const {
        const auto left = std::max(x, other.x);
        const auto top = std::max(y, other.y);
        return {left, top, std::min(x + width, other.x + other.width) - left,
                std::min(y + height, other.y + other.height) - top};
    }

    bool operator==(const DisplayRect&) const = default;
};

} // namespace kelvane
