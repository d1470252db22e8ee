#include "platform/linux/common/png_picture.h"

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <csetjmp>
#include <cstring>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

/// One colour channel of a pixel as 0..255.
class Channel {
public:
    explicit Channel(std::uint32_t mask)
        : m_mask(mask),
          m_shift(mask == 0 ? 0 : std::countr_zero(mask)),
          m_most(mask >> m_shift) {}

    [[nodiscard]] std::uint8_t of(std::uint32_t pixel) const {
        // Channels of 5 or 6 bits are stretched to 8, rounded to the nearest.
        const std::uint64_t value = (pixel & m_mask) >> m_shift;
        if (m_most == 255 || m_most == 0) return static_cast<std::uint8_t>(value);
        return static_cast<std::uint8_t>((value * 255 + m_most / 2) / m_most);
    }

private:
    std::uint32_t m_mask;
    int m_shift;
    std::uint32_t m_most;
};

class Reader {
public:
    explicit Reader(const ServerPixels& pixels)
        : m_pixels(pixels),
          m_red(pixels.red),
          m_green(pixels.green),
          m_blue(pixels.blue),
          m_alpha(pixels.alpha),
          m_plain(pixels.bitsPerPixel == 32 && pixels.red == 0xFF0000 && pixels.green == 0xFF00 &&
                  pixels.blue == 0xFF && (pixels.alpha == 0 || pixels.alpha == 0xFF000000)) {}

    // A window may have an alpha channel and leave it full, or leave it at nothing. It is meant
    // when it varies and no colour is larger than it, as premultiplied colours never are.
    [[nodiscard]] bool alphaIsMeant() const {
        if (m_pixels.alpha == 0) return false;
        bool full = true;
        bool none = true;
        for (std::uint32_t y = 0; y < m_pixels.height; ++y) {
            for (std::uint32_t x = 0; x < m_pixels.width; ++x) {
                const auto pixel = at(x, y);
                const auto alpha = m_alpha.of(pixel);
                full = full && alpha == 255;
                none = none && alpha == 0;
                if (std::max({m_red.of(pixel), m_green.of(pixel), m_blue.of(pixel)}) > alpha) {
                    return false;
                }
            }
        }
        return !full && !none;
    }

    /// Whether this looks like a program and not like a photograph: a third of all pixels, by a
    /// sample, are the same as the one before.
    [[nodiscard]] bool isFlat() const {
        constexpr std::uint32_t kSampleEvery = 16;
        std::size_t looked = 0;
        std::size_t same = 0;
        for (std::uint32_t y = 0; y < m_pixels.height; y += kSampleEvery) {
            for (std::uint32_t x = 1; x < m_pixels.width; ++x) {
                ++looked;
                if (at(x, y) == at(x - 1, y)) ++same;
            }
        }
        return same * 3 >= looked;
    }

    void rgb(std::uint32_t y, std::uint8_t* row) const {
        const auto* const source = m_pixels.bytes.data() + y * m_pixels.stride;
        const bool little = !m_pixels.bigEndian;
        for (std::uint32_t x = 0; x < m_pixels.width; ++x, row += 3) {
            // The usual layout is read byte by byte, without masks.
            if (m_plain) {
                const auto* const pixel = source + std::size_t{x} * 4;
                row[0] = std::to_integer<std::uint8_t>(pixel[little ? 2 : 1]);
                row[1] = std::to_integer<std::uint8_t>(pixel[little ? 1 : 2]);
                row[2] = std::to_integer<std::uint8_t>(pixel[little ? 0 : 3]);
            } else {
                const auto pixel = at(x, y);
                row[0] = m_red.of(pixel);
                row[1] = m_green.of(pixel);
                row[2] = m_blue.of(pixel);
            }
        }
    }

    void rgba(std::uint32_t y, std::uint8_t* row) const {
        for (std::uint32_t x = 0; x < m_pixels.width; ++x, row += 4) {
            const auto pixel = at(x, y);
            const std::uint32_t alpha = m_alpha.of(pixel);
            // The server's colours are premultiplied, those of a PNG are not.
            const auto whole = [alpha](std::uint32_t colour) {
                return alpha == 0 ? std::uint8_t{0}
                                  : static_cast<std::uint8_t>((colour * 255 + alpha / 2) / alpha);
            };
            row[0] = whole(m_red.of(pixel));
            row[1] = whole(m_green.of(pixel));
            row[2] = whole(m_blue.of(pixel));
            row[3] = static_cast<std::uint8_t>(alpha);
        }
    }

private:
    [[nodiscard]] std::uint32_t at(std::uint32_t x, std::uint32_t y) const {
        const std::size_t size = m_pixels.bitsPerPixel / 8U;
        const auto* const bytes = m_pixels.bytes.data() + y * m_pixels.stride + x * size;
        // The most significant byte first, wherever the server has it.
        std::uint32_t pixel = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const auto byte =
                std::to_integer<std::uint32_t>(bytes[m_pixels.bigEndian ? i : size - 1 - i]);
            pixel = (pixel << 8U) | byte;
        }
        return pixel;
    }

    const ServerPixels& m_pixels;
    Channel m_red, m_green, m_blue, m_alpha;
    bool m_plain;
};

bool makeSense(const ServerPixels& pixels) {
    if (pixels.width == 0 || pixels.height == 0) return false;
    if (pixels.width > PNG_USER_WIDTH_MAX || pixels.height > PNG_USER_HEIGHT_MAX) return false;
    if (pixels.bitsPerPixel != 16 && pixels.bitsPerPixel != 24 && pixels.bitsPerPixel != 32) {
        return false;
    }
    if (pixels.red == 0 || pixels.green == 0 || pixels.blue == 0) return false;
    const auto row = std::size_t{pixels.width} * (pixels.bitsPerPixel / 8U);
    return pixels.stride >= row &&
           pixels.bytes.size() >= pixels.stride * (std::size_t{pixels.height} - 1) + row;
}

void append(png_structp png, png_bytep bytes, std::size_t count) {
    // An exception must not pass through frames of C.
    auto& out = *static_cast<std::string*>(png_get_io_ptr(png));
    try {
        out.append(reinterpret_cast<const char*>(bytes), count);
    } catch (...) {
        png_error(png, "out of memory");
    }
}

void fail(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

void ignore(png_structp, png_const_charp) {}

/// Everything with a destructor lives in the caller: errors leave this function by longjmp.
///
/// libpng's simplified interface needs no longjmp but knows no filter and no strategy. Its fast
/// mode is as good for areas of one colour; noisy gradients, as in a photograph, took it twice as
/// long and came out 1.5 times as large (1600 x 1000 pixels, both ways in turns within one run).
bool write(const Reader& reader, const ServerPixels& pixels, bool withAlpha, bool flat,
           std::vector<std::uint8_t>& row, std::string& out) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore);
    if (png == nullptr) return false;
    png_infop info = png_create_info_struct(png);
    if (info == nullptr || setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    png_set_write_fn(png, &out, append, [](png_structp) {});
    // A user is waiting, but the picture also has to cross a network. Level 3 is where more work
    // stops to pay off. Areas of one colour are shortest as they are; noise is shortest as
    // differences, and looking for repetitions in it is wasted time.
    png_set_compression_level(png, 3);
    png_set_compression_strategy(png, flat ? Z_DEFAULT_STRATEGY : Z_RLE);
    png_set_compression_buffer_size(png, 1 << 18);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, flat ? PNG_FILTER_NONE : PNG_FILTER_SUB);
    png_set_IHDR(png, info, pixels.width, pixels.height, 8,
                 withAlpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (std::uint32_t y = 0; y < pixels.height; ++y) {
        if (withAlpha) {
            reader.rgba(y, row.data());
        } else {
            reader.rgb(y, row.data());
        }
        // Rows are written as they are made: no second picture in memory.
        png_write_row(png, row.data());
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return true;
}

} // namespace

std::optional<std::string> pngFrom(const ServerPixels& pixels) {
    if (!makeSense(pixels)) return std::nullopt;
    const Reader reader(pixels);
    const bool withAlpha = reader.alphaIsMeant();
    std::vector<std::uint8_t> row(std::size_t{pixels.width} * (withAlpha ? 4 : 3));
    std::string out;
    // A guess for most windows; it grows if need be.
    out.reserve(std::size_t{pixels.width} * pixels.height / 4);
    if (!write(reader, pixels, withAlpha, reader.isFlat(), row, out)) return std::nullopt;
    return out;
}

} // namespace kelvane
