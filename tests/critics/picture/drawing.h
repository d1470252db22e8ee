// The pictures that tests judge, drawn by code.
//
// Flat ground, rectangles, and writing in a small bitmap font that can be scaled up. Everything is
// drawn by code, so that a test shows what is in its picture.

#pragma once

#include "critics/picture/pixels.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <png.h>
#include <random>
#include <string>
#include <string_view>

namespace trevix::drawing {

inline Picture blank(int width, int height, Colour ground = {255, 255, 255, 255}) {
    Picture picture{width, height, {}};
    picture.pixels.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height),
                          ground);
    return picture;
}

/// Fills the part of the rectangle that lies inside the picture.
inline void fill(Picture& picture, int x, int y, int width, int height, Colour colour) {
    for (int row = std::max(0, y); row < std::min(picture.height, y + height); ++row) {
        for (int column = std::max(0, x); column < std::min(picture.width, x + width); ++column) {
            picture.at(column, row) = colour;
        }
    }
}

/// Rows of five bits, highest bit left, of a to z; ascenders reach two rows higher than vowels.
inline constexpr std::array<std::array<std::uint8_t, 7>, 26> kLetters{{
    {0, 0, 14, 1, 15, 17, 15},  {16, 16, 30, 17, 17, 17, 30}, {0, 0, 14, 16, 16, 17, 14},
    {1, 1, 15, 17, 17, 17, 15}, {0, 0, 14, 17, 31, 16, 14},   {6, 9, 8, 28, 8, 8, 8},
    {0, 0, 15, 17, 15, 1, 14},  {16, 16, 30, 17, 17, 17, 17}, {4, 0, 12, 4, 4, 4, 14},
    {2, 0, 6, 2, 2, 18, 12},    {16, 16, 18, 20, 24, 20, 18}, {12, 4, 4, 4, 4, 4, 14},
    {0, 0, 26, 21, 21, 21, 21}, {0, 0, 30, 17, 17, 17, 17},   {0, 0, 14, 17, 17, 17, 14},
    {0, 0, 30, 17, 30, 16, 16}, {0, 0, 15, 17, 15, 1, 1},     {0, 0, 22, 25, 16, 16, 16},
    {0, 0, 15, 16, 14, 1, 30},  {8, 8, 28, 8, 8, 9, 6},       {0, 0, 17, 17, 17, 19, 13},
    {0, 0, 17, 17, 17, 10, 4},  {0, 0, 17, 21, 21, 21, 10},   {0, 0, 17, 10, 4, 10, 17},
    {0, 0, 17, 17, 15, 1, 14},  {0, 0, 31, 2, 4, 8, 31},
}};

/// Writes in letters 5 x 7 pixels times `scale`, from the top left corner; other characters are
/// gaps.
inline void write(Picture& picture, int x, int y, std::string_view text, Colour ink,
                  int scale = 2) {
    for (const char letter : text) {
        if (letter >= 'a' && letter <= 'z') {
            const auto& rows = kLetters[static_cast<std::size_t>(letter - 'a')];
            for (int row = 0; row < 7; ++row) {
                for (int column = 0; column < 5; ++column) {
                    if ((rows[static_cast<std::size_t>(row)] >> (4 - column) & 1) == 0) continue;
                    fill(picture, x + column * scale, y + row * scale, scale, scale, ink);
                }
            }
        }
        x += 6 * scale;
    }
}

inline Colour gray(int level) {
    const auto value = static_cast<std::uint8_t>(std::clamp(level, 0, 255));
    return {value, value, value, 255};
}

/// A landscape of soft shapes with one hard horizon, as a photograph has them; the same each time.
inline Picture photograph(int width, int height, int darkest = 20, int brightest = 230) {
    Picture picture = blank(width, height);
    std::mt19937 random(7);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int wave = (x * 7 / 4 + y * 3) % 160;
            const int soft = wave < 80 ? wave : 160 - wave;
            const int side = (x / 90 + y / 70) % 2 == 0 ? 0 : 110;
            const int grain = static_cast<int>(random() % 3);
            const int level = std::min(255, soft + side + grain + 20);
            picture.at(x, y) = gray(darkest + level * (brightest - darkest) / 255);
        }
    }
    return picture;
}

/// Each pixel the mean of the square of pixels around it.
inline Picture blurred(const Picture& picture, int radius) {
    Picture result = picture;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            int sum = 0;
            int count = 0;
            for (int dy = -radius; dy <= radius; ++dy) {
                for (int dx = -radius; dx <= radius; ++dx) {
                    const int atX = std::clamp(x + dx, 0, picture.width - 1);
                    const int atY = std::clamp(y + dy, 0, picture.height - 1);
                    sum += picture.at(atX, atY).green;
                    ++count;
                }
            }
            result.at(x, y) = gray(sum / count);
        }
    }
    return result;
}

/// With noise of up to `strength` levels either way on every pixel; the same each time.
inline Picture noisy(Picture picture, int strength) {
    std::mt19937 random(11);
    for (Colour& pixel : picture.pixels) {
        const auto span = 2 * static_cast<unsigned long>(strength) + 1;
        pixel = gray(pixel.green + static_cast<int>(random() % span) - strength);
    }
    return picture;
}

/// The picture as a PNG file.
inline std::string encodePng(const Picture& picture) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGBA;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::string bytes(size, '\0');
    if (png_image_write_to_memory(&image, bytes.data(), &size, 0, picture.pixels.data(), 0,
                                  nullptr) == 0)
        return {};
    bytes.resize(size);
    return bytes;
}

} // namespace trevix::drawing
