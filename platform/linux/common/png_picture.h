// The pixels of a display server as a PNG.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kelvane {

/// Pixels as a server hands them out: rows of whole pixels, whose colours are where the masks say.
struct ServerPixels {
    std::span<const std::byte> bytes;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::size_t stride = 0;         ///< Bytes from one row to the next.
    std::uint8_t bitsPerPixel = 32; ///< 16, 24 or 32.
    bool bigEndian = false;         ///< Within one pixel.
    std::uint32_t red = 0xFF0000;   ///< Masks within one pixel.
    std::uint32_t green = 0x00FF00;
    std::uint32_t blue = 0x0000FF;
    std::uint32_t alpha = 0; ///< 0 when there is none; colours are multiplied by it otherwise.
};

/// PNG bytes of these pixels. Without an alpha channel when there is none, when it is full
/// everywhere, and when it is plainly not meant (nothing but zero, or less than the colours it goes
/// with). Absent when the pixels do not make sense: no area, too few bytes, a format nobody has.
[[nodiscard]] std::optional<std::string> pngFrom(const ServerPixels& pixels);

} // namespace kelvane
