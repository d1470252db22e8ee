#include "critics/picture/picture_words.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

namespace trevix {
namespace {

// Where a comment names an experiment, `build/dev/bench/picture_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// Pixels of x-height that a line is brought to (experiment `words`).
constexpr int kReadXHeight = 20;
constexpr double kMostScale = 4;
/// Ground around the line, in parts of its height: room for dots and accents, and for a full stop
/// at its end, which are too small to count as marks.
constexpr int kMarginShare = 4;
constexpr int kLeastMargin = 3;
constexpr int kEndShare = 2;
/// Pixels of white around the cut, which the reader expects.
constexpr int kFrame = 10;
/// Pixels of one cut: a line of 300 letters at the height above, longer ones come smaller. It
/// bounds memory, and time that cannot be cut short: the reader looks at the clock between words,
/// and at worst, over noise, takes six seconds a megapixel before the first.
constexpr std::int64_t kMostCutPixels = 600'000;

/// Levels of 255 between shades of one ground, as in glyph_strokes.cpp.
constexpr int kSameGround = 12;

/// How much of the ink's colour each pixel has, as darkness: 0 is ink, 255 is ground.
class Darkness {
public:
    explicit Darkness(const TextLine& line)
        : m_ground(line.ground),
          m_red(line.ink.red - line.ground.red),
          m_green(line.ink.green - line.ground.green),
          m_blue(line.ink.blue - line.ground.blue),
          m_square(std::max(1, m_red * m_red + m_green * m_green + m_blue * m_blue)) {}

    // The pixel's share of the way from ground to ink, as a projection on that line between the
    // two: a colour beside it counts for what it has of the ink.
    [[nodiscard]] double of(const Colour& pixel) const {
        const int along = (pixel.red - m_ground.red) * m_red +
                          (pixel.green - m_ground.green) * m_green +
                          (pixel.blue - m_ground.blue) * m_blue;
        return 255.0 - 255.0 * std::clamp(static_cast<double>(along) / m_square, 0.0, 1.0);
    }

private:
    Colour m_ground;
    int m_red, m_green, m_blue;
    int m_square;
};

/// The weights of the two pixels on either side of a place between pixel centres.
struct Between {
    int first = 0;
    int second = 0;
    double weight = 0; ///< Of the second.
};

/// Whether ground of the line's own colour alone stands beside that end of it, for as far as two
/// letters may be apart. A letter that touches something else was not found as a part of the line.
bool endsFreely(const Picture& picture, const TextLine& line, bool left) {
    const int reach = std::max(2, line.xHeight / 2);
    const int from = left ? std::max(0, line.box.x - reach) : line.box.right();
    const int to = left ? line.box.x : std::min(picture.width, line.box.right() + reach);
    if (from >= to) return false; // The picture ends there.
    for (int y = line.box.y; y < line.box.bottom(); ++y) {
        for (int x = from; x < to; ++x) {
            if (channelDistance(picture.at(x, y), line.ground) > kSameGround) {
                // A full stop, or what else is too small for a mark.
                const int above = line.box.bottom() - y;
                if (left || above * 2 > line.box.height) return false;
            }
        }
    }
    return true;
}

// Pixel centres of the target, half a pixel in, in terms of those of the source. Made once for
// columns and once for rows.
std::vector<Between> steps(int from, int count, double scale) {
    std::vector<Between> all;
    for (int i = 0; i < count; ++i) {
        const double at = std::clamp((i + 0.5) / scale - 0.5, 0.0, from - 1.0);
        const int first = static_cast<int>(at);
        all.push_back({first, std::min(first + 1, from - 1), at - first});
    }
    return all;
}

} // namespace

Rect LineCut::inPicture(int x, int y, int width, int height) const {
    const auto place = [this](int at) {
        return static_cast<int>(std::lround((at - kFrame) / scale));
    };
    const int left = std::clamp(area.x + place(x), area.x, area.right() - 1);
    const int top = std::clamp(area.y + place(y), area.y, area.bottom() - 1);
    const int right = std::clamp(area.x + place(x + width), left + 1, area.right());
    const int bottom = std::clamp(area.y + place(y + height), top + 1, area.bottom());
    return {left, top, right - left, bottom - top};
}

LineCut cutLine(const Picture& picture, const TextLine& line) {
    LineCut cut;
    const int margin = std::max(kLeastMargin, line.box.height / kMarginShare);
    const int end = std::max(kLeastMargin, line.box.height / kEndShare);
    const int left = std::max(0, line.box.x - margin);
    const int top = std::max(0, line.box.y - margin);
    const int right = std::min(picture.width, line.box.right() + end);
    const int bottom = std::min(picture.height, line.box.bottom() + margin);
    cut.area = {left, top, right - left, bottom - top};
    // Area grows with the square of the scale.
    const double most = std::sqrt(static_cast<double>(kMostCutPixels) /
                                  static_cast<double>(std::max<std::int64_t>(1, cut.area.area())));
    cut.scale =
        std::min({static_cast<double>(kReadXHeight) / std::max(1, line.xHeight), kMostScale, most});
    const int width = std::max(1, static_cast<int>(std::lround(cut.area.width * cut.scale)));
    const int height = std::max(1, static_cast<int>(std::lround(cut.area.height * cut.scale)));

    const Darkness darkness(line);
    std::vector<double> source;
    source.reserve(static_cast<std::size_t>(cut.area.area()));
    for (int y = top; y < bottom; ++y) {
        for (int x = left; x < right; ++x) source.push_back(darkness.of(picture.at(x, y)));
    }
    const auto at = [&](int x, int y) {
        return source[static_cast<std::size_t>(y) * static_cast<std::size_t>(cut.area.width) +
                      static_cast<std::size_t>(x)];
    };
    LineImage& image = cut.image;
    image.width = width + 2 * kFrame;
    image.height = height + 2 * kFrame;
    // White all around, frame included.
    image.pixels.assign(
        static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height), 255);
    // Bilinear: nearest neighbours would turn antialiased strokes back into stairs.
    const std::vector<Between> columns = steps(cut.area.width, width, cut.scale);
    const std::vector<Between> rows = steps(cut.area.height, height, cut.scale);
    for (int y = 0; y < height; ++y) {
        const Between& row = rows[static_cast<std::size_t>(y)];
        auto* out = image.pixels.data() +
                    static_cast<std::size_t>(y + kFrame) * static_cast<std::size_t>(image.width) +
                    kFrame;
        for (const Between& column : columns) {
            const double above = at(column.first, row.first) * (1 - column.weight) +
                                 at(column.second, row.first) * column.weight;
            const double below = at(column.first, row.second) * (1 - column.weight) +
                                 at(column.second, row.second) * column.weight;
            *out++ = static_cast<std::uint8_t>(
                std::lround(above * (1 - row.weight) + below * row.weight));
        }
    }
    return cut;
}

WordsRead readWords(const Picture& picture, const std::vector<TextLine>& lines, LineReader& reader,
                    std::chrono::milliseconds limit) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + limit;
    WordsRead result;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        // What is left goes to the reader as its own limit, so the last line cannot take more
        // either.
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
        if (left.count() <= 0) {
            result.complete = false;
            return result;
        }
        const LineCut cut = cutLine(picture, lines[i]);
        auto words = reader.read(cut.image, left);
        if (!words) {
            result.complete = false;
            return result;
        }
        for (std::size_t w = 0; w < words->size(); ++w) {
            LineWord& word = (*words)[w];
            const bool whole = (w > 0 || endsFreely(picture, lines[i], true)) &&
                               (w + 1 < words->size() || endsFreely(picture, lines[i], false));
            result.words.push_back({std::move(word.text), word.confidence,
                                    cut.inPicture(word.x, word.y, word.width, word.height), i,
                                    whole});
        }
    }
    return result;
}

} // namespace trevix
