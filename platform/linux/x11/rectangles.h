// The part of an area that is left once some rectangles are taken away.

#pragma once

#include <cstdint>
#include <vector>

namespace kelvane {

struct Rectangle {
    std::int32_t x = 0, y = 0;
    std::int32_t width = 0, height = 0;

    [[nodiscard]] bool empty() const { return width <= 0 || height <= 0; }
    [[nodiscard]] bool overlaps(const Rectangle& other) const {
        return x < other.x + other.width && other.x < x + width && y < other.y + other.height &&
               other.y < y + height;
    }
    bool operator==(const Rectangle&) const = default;
};

/// `area` without `hole`. The rectangles of an area do not overlap one another, neither in what
/// goes in nor in what comes out.
[[nodiscard]] inline std::vector<Rectangle> without(const std::vector<Rectangle>& area,
                                                    const Rectangle& hole) {
    std::vector<Rectangle> left;
    const auto keep = [&left](const Rectangle& piece) {
        if (!piece.empty()) left.push_back(piece);
    };
    for (const auto& one : area) {
        if (hole.empty() || !one.overlaps(hole)) {
            keep(one);
            continue;
        }
        const auto right = one.x + one.width;
        const auto bottom = one.y + one.height;
        const auto top = hole.y > one.y ? hole.y : one.y;
        const auto holeBottom = hole.y + hole.height < bottom ? hole.y + hole.height : bottom;
        keep({one.x, one.y, one.width, top - one.y});
        keep({one.x, holeBottom, one.width, bottom - holeBottom});
        keep({one.x, top, hole.x - one.x, holeBottom - top});
        keep({hole.x + hole.width, top, right - hole.x - hole.width, holeBottom - top});
    }
    return left;
}

} // namespace kelvane
