#include "critics/picture/regions.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace trevix {
namespace {

constexpr int kSoftStep = 2; // Neighbours closer than this belong to one surface.
constexpr int kFewestSurfacePixels = 600;
constexpr int kTallestLetter = 240;
constexpr int kWidestWord = 2400;
constexpr int kSameGround = 8;              // Shades of one ground: soft gradients, rounding.
constexpr std::size_t kMostMarks = 300'000; // More is texture, not text.

bool blends(const Colour& one, const Colour& other) {
    return one == other || (std::abs(one.red - other.red) <= kSoftStep &&
                            std::abs(one.green - other.green) <= kSoftStep &&
                            std::abs(one.blue - other.blue) <= kSoftStep);
}

/// Union-find over pixel indices; the root of a set is its first pixel.
class PixelSets {
public:
    explicit PixelSets(std::size_t count) : m_parent(count) {
        for (std::size_t i = 0; i < count; ++i) m_parent[i] = static_cast<std::uint32_t>(i);
    }
    std::uint32_t root(std::uint32_t i) {
        while (m_parent[i] != i) {
            m_parent[i] = m_parent[m_parent[i]];
            i = m_parent[i];
        }
        return i;
    }
    void attach(std::uint32_t i, std::uint32_t to) { m_parent[i] = root(to); }
    void join(std::uint32_t one, std::uint32_t other) {
        one = root(one);
        other = root(other);
        if (one < other)
            m_parent[other] = one;
        else
            m_parent[one] = other;
    }

private:
    std::vector<std::uint32_t> m_parent;
};

struct Extent {
    int left, top, right, bottom;

    void include(int x, int y) {
        left = std::min(left, x);
        right = std::max(right, x + 1);
        top = std::min(top, y);
        bottom = std::max(bottom, y + 1);
    }
    [[nodiscard]] Rect box() const { return {left, top, right - left, bottom - top}; }
};

/// Letters of a big title are flat as well; what tells a surface is that it fills its box.
bool isSurface(const Surface& surface) {
    if (surface.box.width < 16 || surface.box.height < 8) return false;
    const bool large = surface.box.height > kTallestLetter || surface.box.width > 400;
    return large || std::int64_t{surface.pixels} * 10 >= surface.box.area() * 6;
}

void findSurfaces(const Picture& picture, Regions& regions) {
    const auto width = static_cast<std::uint32_t>(picture.width);
    const std::size_t count = picture.pixels.size();
    PixelSets sets(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const bool left = i % width != 0 && blends(picture.pixels[i], picture.pixels[i - 1]);
        const bool above = i >= width && blends(picture.pixels[i], picture.pixels[i - width]);
        if (left)
            sets.attach(i, i - 1);
        else if (above)
            sets.attach(i, i - width);
        if (left && above) sets.join(i, i - width);
    }
    std::vector<std::uint32_t>& at = regions.surfaceAt;
    at.assign(count, 0);
    std::vector<std::uint32_t> sizes(count, 0);
    for (std::uint32_t i = 0; i < count; ++i) ++sizes[sets.root(i)];

    std::vector<Surface> candidates;
    std::vector<Extent> extents;
    // The size of a root is no longer needed once it has its number.
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t root = sets.root(i);
        const int x = static_cast<int>(i % width);
        const int y = static_cast<int>(i / width);
        if (root == i) {
            if (sizes[i] < kFewestSurfacePixels) {
                sizes[i] = 0;
                continue;
            }
            Surface surface;
            surface.pixels = static_cast<int>(sizes[i]);
            surface.colour = picture.pixels[i];
            candidates.push_back(surface);
            extents.push_back({x, y, x + 1, y + 1});
            sizes[i] = static_cast<std::uint32_t>(candidates.size());
        }
        at[i] = sizes[root];
        if (at[i] != 0) extents[at[i] - 1].include(x, y);
    }
    std::vector<std::uint32_t> renumbered(candidates.size() + 1, 0);
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        candidates[i].box = extents[i].box();
        if (!isSurface(candidates[i])) continue;
        regions.surfaces.push_back(candidates[i]);
        renumbered[i + 1] = static_cast<std::uint32_t>(regions.surfaces.size());
    }
    for (std::uint32_t& number : at) number = renumbered[number];
}

class MarkFinder {
public:
    MarkFinder(const Picture& picture, Regions& regions)
        : m_picture(picture),
          m_regions(regions),
          m_seen(picture.pixels.size(), false) {}

    void findAll() {
        for (std::uint32_t i = 0; i < m_picture.pixels.size(); ++i) {
            if (m_regions.surfaceAt[i] != 0 || m_seen[i]) continue;
            collect(i);
            if (m_regions.marks.size() >= kMostMarks) {
                m_regions.marks.clear();
                return;
            }
        }
    }

private:
    void visit(int x, int y) {
        if (x < 0 || y < 0 || x >= m_picture.width || y >= m_picture.height) return;
        const auto i = static_cast<std::uint32_t>(y) * static_cast<std::uint32_t>(m_picture.width) +
                       static_cast<std::uint32_t>(x);
        if (m_regions.surfaceAt[i] != 0) {
            const Colour& colour = m_picture.pixels[i];
            if (m_borders++ == 0)
                m_ground = colour;
            else if (channelDistance(colour, m_ground) > kSameGround)
                ++m_foreign;
            return;
        }
        if (m_seen[i]) return;
        m_seen[i] = true;
        m_queue.push_back(i);
    }

    void collect(std::uint32_t start) {
        m_queue.assign(1, start);
        m_seen[start] = true;
        m_borders = 0;
        m_foreign = 0;
        const int width = m_picture.width;
        const int x0 = static_cast<int>(start) % width;
        const int y0 = static_cast<int>(start) / width;
        Extent extent{x0, y0, x0 + 1, y0 + 1};
        for (std::size_t next = 0; next < m_queue.size(); ++next) {
            const int x = static_cast<int>(m_queue[next]) % width;
            const int y = static_cast<int>(m_queue[next]) / width;
            extent.include(x, y);
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dx = -1; dx <= 1; ++dx) {
                    if (dx != 0 || dy != 0) visit(x + dx, y + dy);
                }
            }
        }
        const Rect box = extent.box();
        const bool sized =
            box.height >= 3 && box.height <= kTallestLetter && box.width <= kWidestWord;
        if (!sized || m_borders == 0 || m_foreign * 20 > m_borders) return;
        // The outline of a button or field encloses more than strokes do.
        const auto inked = static_cast<std::int64_t>(m_queue.size());
        if (box.width >= 24 && box.height >= 14 && inked * 100 < box.area() * 18) return;
        Mark mark{box, static_cast<int>(m_queue.size()), m_ground, m_ground, 1};
        const double groundLight = relativeLuminance(m_ground);
        double farthest = -1;
        for (const std::uint32_t i : m_queue) {
            const double distance = std::abs(relativeLuminance(m_picture.pixels[i]) - groundLight);
            if (distance <= farthest) continue;
            farthest = distance;
            mark.ink = m_picture.pixels[i];
        }
        mark.contrast = contrastRatio(mark.ink, mark.ground);
        m_regions.marks.push_back(mark);
    }

    const Picture& m_picture;
    Regions& m_regions;
    std::vector<bool> m_seen;
    std::vector<std::uint32_t> m_queue;
    Colour m_ground;
    int m_borders = 0;
    int m_foreign = 0;
};

} // namespace

Rect united(const Rect& one, const Rect& other) {
    const int x = std::min(one.x, other.x);
    const int y = std::min(one.y, other.y);
    return {x, y, std::max(one.right(), other.right()) - x,
            std::max(one.bottom(), other.bottom()) - y};
}

std::string placeName(const Rect& rect) {
    return "x " + std::to_string(rect.x) + ", y " + std::to_string(rect.y) + ", " +
           std::to_string(rect.width) + " x " + std::to_string(rect.height) + " px";
}

Regions findRegions(const Picture& picture) {
    Regions regions;
    findSurfaces(picture, regions);
    MarkFinder(picture, regions).findAll();
    return regions;
}

} // namespace trevix
