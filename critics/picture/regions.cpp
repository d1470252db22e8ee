#include "critics/picture/regions.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

namespace trevix {
namespace {

// Where a comment names an experiment, `build/dev/bench/picture_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// Levels of 255 between neighbours of one surface: a gradient in 8 bits advances by one or two.
constexpr int kSoftStep = 2;
/// Pixels of a surface at least: a button of 48 x 16, less its label (experiment `surfaces`).
constexpr std::uint32_t kFewestSurfacePixels = 600;
constexpr int kNarrowestSurface = 16;
constexpr int kLowestSurface = 8;
/// Tenths of its box that a surface fills; letters fill less (experiment `surfaces`).
constexpr int kFilledTenths = 6;
/// Pixels beyond which a flat shape is a surface even if it fills little of its box.
constexpr int kWidestFlatLetter = 400;

/// Pixels: the largest title on a screen of 2160 rows, and the longest word in it that touches.
constexpr int kTallestLetter = 240;
constexpr int kLowestMark = 3; // Pixels; lower marks are dots and lines.
constexpr int kWidestWord = 2400;
constexpr std::size_t kMostMarkPixels = std::size_t{kTallestLetter} * kWidestWord;
/// Levels of 255 between shades of one ground: soft gradients, rounding of two blends.
constexpr int kSameGround = 8;
/// One in so many pixels around a mark may be of another colour: a neighbour's antialiased corner.
constexpr int kForeignShare = 20;
/// Outlines of buttons and fields: from this size on, in pixels, marks with less than this
/// percentage of ink are no letters (experiment `surfaces`).
constexpr int kNarrowestOutline = 24;
constexpr int kLowestOutline = 14;
constexpr int kOutlinePercent = 18;
/// Marks; more is texture, not text: 5000 lines of 60 letters.
constexpr std::size_t kMostMarks = 300'000;

bool blends(const Colour& one, const Colour& other) {
    return one == other || (std::abs(one.red - other.red) <= kSoftStep &&
                            std::abs(one.green - other.green) <= kSoftStep &&
                            std::abs(one.blue - other.blue) <= kSoftStep);
}

/// Sets of pixels in one array of a number a pixel. A set's first pixel, its root, holds the size
/// of the set; every other pixel holds an earlier pixel of it. At the end the array turns into
/// labels in place. A union-find. Earlier pixels as parents make the root the first pixel in
/// reading order, which the labelling below rests on; sizes and parents share the array, since only
/// roots have a size.
class PixelSets {
public:
    explicit PixelSets(std::size_t count) : m_slots(count, kRoot | 1U) {}

    /// Puts pixel `i`, so far alone, into the set of an earlier pixel.
    void attach(std::uint32_t i, std::uint32_t to) {
        const std::uint32_t root = rootOf(to);
        m_slots[i] = root;
        ++m_slots[root];
    }

    void join(std::uint32_t one, std::uint32_t other) {
        one = rootOf(one);
        other = rootOf(other);
        if (one == other) return;
        if (one > other) std::swap(one, other);
        m_slots[one] += m_slots[other] & ~kRoot;
        m_slots[other] = one;
    }

    /// Each pixel's label: what `labelOf(root, size)` says of its set, asked once per set in
    /// reading order. Labels are below 2^31.
    template <typename LabelOf>
    [[nodiscard]] std::vector<std::uint32_t> labels(LabelOf labelOf) && {
        // A parent is always earlier, and so labelled by now.
        for (std::uint32_t i = 0; i < m_slots.size(); ++i) {
            // An earlier pixel has its label already.
            m_slots[i] = isRoot(i) ? kRoot | labelOf(i, m_slots[i] & ~kRoot) : m_slots[m_slots[i]];
        }
        for (std::uint32_t& slot : m_slots) slot &= ~kRoot;
        return std::move(m_slots);
    }

private:
    static constexpr std::uint32_t kRoot = 1U << 31U;

    [[nodiscard]] bool isRoot(std::uint32_t i) const { return (m_slots[i] & kRoot) != 0; }

    std::uint32_t rootOf(std::uint32_t i) {
        // Each step shortens the way for the next look (path halving), so that a look costs next to
        // nothing on average.
        while (!isRoot(i)) {
            const std::uint32_t before = m_slots[i];
            if (!isRoot(before)) m_slots[i] = m_slots[before];
            i = before;
        }
        return i;
    }

    std::vector<std::uint32_t> m_slots;
};

struct Extent {
    int left = std::numeric_limits<int>::max();
    int top = std::numeric_limits<int>::max();
    int right = 0;
    int bottom = 0;

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
    if (surface.box.width < kNarrowestSurface || surface.box.height < kLowestSurface) return false;
    const bool large = surface.box.height > kTallestLetter || surface.box.width > kWidestFlatLetter;
    return large || std::int64_t{surface.pixels} * 10 >= surface.box.area() * kFilledTenths;
}

void findSurfaces(const Picture& picture, Regions& regions) {
    const auto width = static_cast<std::uint32_t>(picture.width);
    const std::size_t count = picture.pixels.size();
    PixelSets sets(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        const bool left = i % width != 0 && blends(picture.pixels[i], picture.pixels[i - 1]);
        const bool above = i >= width && blends(picture.pixels[i], picture.pixels[i - width]);
        // A pixel that blends with neither stays a set of its own.
        if (left)
            sets.attach(i, i - 1);
        else if (above)
            sets.attach(i, i - width);
        if (left && above) sets.join(i, i - width);
    }
    std::vector<Surface> candidates;
    regions.surfaceAt =
        std::move(sets).labels([&](std::uint32_t root, std::uint32_t size) -> std::uint32_t {
            if (size < kFewestSurfacePixels) return 0;
            Surface surface;
            surface.pixels = static_cast<int>(size);
            surface.colour = picture.pixels[root];
            candidates.push_back(surface);
            return static_cast<std::uint32_t>(candidates.size());
        });
    std::vector<std::uint32_t>& at = regions.surfaceAt;
    std::vector<Extent> extents(candidates.size());
    for (std::uint32_t i = 0; i < count; ++i) {
        if (at[i] == 0) continue;
        extents[at[i] - 1].include(static_cast<int>(i % width), static_cast<int>(i / width));
    }
    // What is no surface gets the number 0, like pixels of none.
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
            // Ground around a mark counts once for each mark pixel that it touches, corners too.
            const Colour& colour = m_picture.pixels[i];
            if (m_borders++ == 0)
                m_ground = colour;
            else if (channelDistance(colour, m_ground) > kSameGround)
                ++m_foreign;
            return;
        }
        if (m_seen[i]) return;
        add(i);
    }

    /// What is larger than any word is followed to its end but not remembered.
    void add(std::uint32_t i) {
        m_seen[i] = true;
        m_frontier.push_back(i);
        if (m_members.size() <= kMostMarkPixels) m_members.push_back(i);
    }

    void collect(std::uint32_t start) {
        m_members.clear();
        m_frontier.clear();
        add(start);
        m_borders = 0;
        m_foreign = 0;
        const int width = m_picture.width;
        Extent extent;
        std::vector<std::uint32_t> reached;
        // By layers, without recursion: a mark may be as large as the picture.
        while (!m_frontier.empty()) {
            reached.swap(m_frontier);
            m_frontier.clear();
            for (const std::uint32_t i : reached) {
                const int x = static_cast<int>(i) % width;
                const int y = static_cast<int>(i) / width;
                extent.include(x, y);
                for (int dy = -1; dy <= 1; ++dy) {
                    for (int dx = -1; dx <= 1; ++dx) {
                        if (dx != 0 || dy != 0) visit(x + dx, y + dy);
                    }
                }
            }
        }
        const Rect box = extent.box();
        const bool sized =
            box.height >= kLowestMark && box.height <= kTallestLetter && box.width <= kWidestWord;
        if (!sized || m_borders == 0 || m_foreign * kForeignShare > m_borders) return;
        // The outline of a button or field encloses more than strokes do.
        const auto inked = static_cast<std::int64_t>(m_members.size());
        if (box.width >= kNarrowestOutline && box.height >= kLowestOutline &&
            inked * 100 < box.area() * kOutlinePercent)
            return;
        Mark mark{box, static_cast<int>(m_members.size()), m_ground, m_ground, 1};
        // The farther from the ground in luminance, the less of it is blended in.
        const double groundLight = relativeLuminance(m_ground);
        double farthest = -1;
        for (const std::uint32_t i : m_members) {
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
    std::vector<std::uint32_t> m_members;  ///< In the order of finding.
    std::vector<std::uint32_t> m_frontier; ///< Found, and their neighbours not yet asked.
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
