// The pixels of a PNG file, and the measures of colour that rules about pictures share.
//
// PNG of every kind (16 bit, palette, gray, transparent, interlaced) is read as plain RGBA. A file
// that is damaged, too large or no PNG is an ordinary answer, `DecodeFailure`. Whoever needs a
// whole picture takes four bytes of memory a pixel; `visitPixels` takes one row. All functions are
// pure and may run on any thread.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
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

/// Bytes of one file; docs/critics.md states it.
constexpr std::size_t kMostPictureBytes = std::size_t{64} << 20U;
/// Pixels of one picture; docs/critics.md states it.
constexpr std::size_t kMostPicturePixels = 100'000'000;

struct PictureSize {
    int width = 0;
    int height = 0;

    [[nodiscard]] std::size_t pixels() const {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }
};

/// Why a file could not be decoded, in words for people: "it is not a PNG picture".
struct DecodeFailure {
    std::string reason;
};

/// What the file's header says, within the limits above and not beyond what so few bytes can hold.
/// Reads no pixel.
[[nodiscard]] std::variant<PictureSize, DecodeFailure> sizeOfPng(std::string_view bytes);

[[nodiscard]] std::variant<Picture, DecodeFailure> decodePng(std::string_view bytes);

/// Hands every pixel to `visit` once: row by row from the top or, of an interlaced file, in the
/// order of its passes. Nothing when the file was read to its end.
[[nodiscard]] std::optional<DecodeFailure>
visitPixels(std::string_view bytes, const std::function<void(std::span<Colour>)>& visit);

/// Lays the pixels on white; they are opaque afterwards.
void layOnWhite(std::span<Colour> pixels);

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
