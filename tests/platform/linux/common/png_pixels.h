// What colour does this PNG have there? Decoded with the library, for tests.

#pragma once

#include <png.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

struct PngPixels {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool hasAlpha = false;
    std::vector<std::uint8_t> rgba;

    /// 0xAARRGGBB.
    [[nodiscard]] std::uint32_t at(std::uint32_t x, std::uint32_t y) const {
        const auto* const p = &rgba.at((std::size_t{y} * width + x) * 4);
        return (std::uint32_t{p[3]} << 24U) | (std::uint32_t{p[0]} << 16U) |
               (std::uint32_t{p[1]} << 8U) | p[2];
    }
    [[nodiscard]] std::size_t count(std::uint32_t colour) const {
        std::size_t found = 0;
        for (std::uint32_t y = 0; y < height; ++y) {
            for (std::uint32_t x = 0; x < width; ++x) found += at(x, y) == colour;
        }
        return found;
    }
};

inline std::optional<PngPixels> decodePng(const std::string& bytes) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()) == 0) return {};
    PngPixels pixels;
    pixels.hasAlpha = (image.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    image.format = PNG_FORMAT_RGBA;
    pixels.width = image.width;
    pixels.height = image.height;
    pixels.rgba.resize(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, pixels.rgba.data(), 0, nullptr) == 0) return {};
    return pixels;
}

} // namespace kelvane
