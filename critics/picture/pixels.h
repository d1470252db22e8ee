// What does this picture show, pixel by pixel?
//
// Decodes PNG of every kind (16 bit, palette, gray, transparent, interlaced) to plain RGBA and
// answers the questions of colour that rules about pictures share. Decoding is bounded: at most
// 100 megapixels and 64 MiB of file. All functions are pure.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trevix {

struct Colour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    std::uint8_t alpha = 255;

    bool operator==(const Colour&) const = default;
};

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<Colour> pixels; ///< Row by row, width x height of them.

    [[nodiscard]] const Colour& at(int x, int y) const {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)];
    }
    [[nodiscard]] Colour& at(int x, int y) {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)];
    }
};

constexpr std::size_t kMostPictureBytes = std::size_t{64} << 20U;
constexpr std::size_t kMostPicturePixels = 100'000'000;

/// Why a file could not be decoded, in words for people: "it is not a PNG picture".
struct DecodeFailure {
    std::string reason;
};

[[nodiscard]] std::variant<Picture, DecodeFailure> decodePng(std::string_view bytes);

/// The picture as a PNG file. Precondition: width, height > 0 and as many pixels as they say.
[[nodiscard]] std::string encodePng(const Picture& picture);

/// The picture on white, opaque throughout.
[[nodiscard]] Picture onWhite(Picture picture);

/// Perceived brightness from 0 to 255, by the weights of BT.601.
[[nodiscard]] int brightness(const Colour& colour);

/// Relative luminance from 0 to 1 as WCAG 2 defines it.
[[nodiscard]] double relativeLuminance(const Colour& colour);

/// Contrast from 1 to 21 as WCAG 2 defines it; the order does not matter.
[[nodiscard]] double contrastRatio(const Colour& one, const Colour& other);

/// The largest difference of any of the three channels.
[[nodiscard]] int channelDistance(const Colour& one, const Colour& other);

/// "#1a2b3c".
[[nodiscard]] std::string hexName(const Colour& colour);

} // namespace trevix
