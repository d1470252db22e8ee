#include "critics/picture/pixels.h"

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <png.h>
#include <utility>

namespace trevix {
namespace {

/// Deflate writes at most 258 bytes for two bits, that is 1032 for one byte; the rest is for the
/// file's own frame (RFC 1951, section 3.2.5).
constexpr std::size_t kMostDeflated = 1100;

/// Bytes of one chunk of text, profile or the like, and pixels of one side: beyond these libpng
/// itself says that the file is damaged.
constexpr png_alloc_size_t kMostChunkBytes = 8U << 20U;
constexpr png_uint_32 kMostSide = 1'000'000;

struct Source {
    std::string_view bytes;
    std::size_t at = 0;
};

void readBytes(png_structp png, png_bytep out, std::size_t length) {
    auto* source = static_cast<Source*>(png_get_io_ptr(png));
    if (source->bytes.size() - source->at < length) png_error(png, "the file ends too early");
    std::memcpy(out, source->bytes.data() + source->at, length);
    source->at += length;
}

void rememberError(png_structp png, png_const_charp message) {
    auto* reason = static_cast<std::string*>(png_get_error_ptr(png));
    if (reason->empty()) *reason = message;
    png_longjmp(png, 1);
}

void ignoreWarning(png_structp, png_const_charp) {}

/// Runs calls of libpng; false when one of them failed. libpng leaves by longjmp, so a step owns
/// nothing that needs a destructor. (Its simplified interface spares callers this, but knows whole
/// pictures only: four bytes for each of 100 megapixels.)
template <typename Step>
bool succeeds(png_structp png, const Step& step) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    step();
    return true;
}

class Decoder {
public:
    explicit Decoder(std::string_view bytes) : m_source{bytes} {
        m_png =
            png_create_read_struct(PNG_LIBPNG_VER_STRING, &m_reason, rememberError, ignoreWarning);
        if (m_png != nullptr) m_info = png_create_info_struct(m_png);
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder() { png_destroy_read_struct(&m_png, &m_info, nullptr); }

    /// Reads what comes before the pixels.
    std::optional<DecodeFailure> begin() {
        if (m_source.bytes.size() > kMostPictureBytes)
            return DecodeFailure{"the file is larger than 64 MiB"};
        constexpr std::size_t kSignature = 8;
        if (m_source.bytes.size() < kSignature ||
            png_sig_cmp(reinterpret_cast<png_const_bytep>(m_source.bytes.data()), 0, kSignature) !=
                0)
            return DecodeFailure{"it is not a PNG picture"};
        if (m_info == nullptr) return DecodeFailure{"there is no memory to read it"};
        const bool read = succeeds(m_png, [this] {
            png_set_read_fn(m_png, &m_source, readBytes);
            png_set_user_limits(m_png, kMostSide, kMostSide);
            png_set_chunk_malloc_max(m_png, kMostChunkBytes);
            png_read_info(m_png, m_info);
        });
        if (!read) return DecodeFailure{"its header is damaged: " + m_reason};
        m_size = {static_cast<int>(png_get_image_width(m_png, m_info)),
                  static_cast<int>(png_get_image_height(m_png, m_info))};
        if (m_size.pixels() > kMostPicturePixels)
            return DecodeFailure{"it has more than 100 megapixels"};
        // A header that promises more than the file can hold lies; no memory is spent on it.
        // Reckoned in the file's own bits a pixel: at eight, a blank picture of one bit would look
        // cut short.
        const std::size_t packed =
            png_get_rowbytes(m_png, m_info) * static_cast<std::size_t>(m_size.height);
        if (packed / kMostDeflated > m_source.bytes.size())
            return DecodeFailure{"the file ends too early"};
        return std::nullopt;
    }

    [[nodiscard]] PictureSize size() const { return m_size; }

    std::optional<DecodeFailure> readAll(Picture& picture) {
        std::vector<png_bytep> rows;
        for (int y = 0; y < m_size.height; ++y)
            rows.push_back(reinterpret_cast<png_bytep>(&picture.at(0, y)));
        const png_bytepp all = rows.data();
        const bool read = succeeds(m_png, [this, all] {
            askForRgba();
            png_set_interlace_handling(m_png);
            png_read_update_info(m_png, m_info);
            png_read_image(m_png, all);
            png_read_end(m_png, nullptr);
        });
        if (!read) return damage();
        return std::nullopt;
    }

    std::optional<DecodeFailure> readRows(const std::function<void(std::span<Colour>)>& visit) {
        const bool ready = succeeds(m_png, [this] {
            askForRgba();
            png_read_update_info(m_png, m_info);
        });
        if (!ready) return damage();
        const bool interlaced = png_get_interlace_type(m_png, m_info) == PNG_INTERLACE_ADAM7;
        // With interlacing each pass brings some columns of some rows, and every pixel comes once
        // in all of them; in which order does not matter here.
        std::vector<Colour> row(static_cast<std::size_t>(m_size.width));
        const auto bytes = reinterpret_cast<png_bytep>(row.data());
        for (int pass = 0; pass < (interlaced ? PNG_INTERLACE_ADAM7_PASSES : 1); ++pass) {
            const int columns = interlaced ? PNG_PASS_COLS(m_size.width, pass) : m_size.width;
            const int rows = interlaced ? PNG_PASS_ROWS(m_size.height, pass) : m_size.height;
            if (columns == 0) continue;
            for (int y = 0; y < rows; ++y) {
                if (!succeeds(m_png, [&] { png_read_row(m_png, bytes, nullptr); })) return damage();
                visit(std::span(row).first(static_cast<std::size_t>(columns)));
            }
        }
        if (!succeeds(m_png, [this] { png_read_end(m_png, nullptr); })) return damage();
        return std::nullopt;
    }

private:
    void askForRgba() {
        // Whatever the file has, from one bit of grey to sixteen of colour, comes as four bytes a
        // pixel.
        png_set_expand(m_png);
        png_set_scale_16(m_png);
        png_set_gray_to_rgb(m_png);
        png_set_add_alpha(m_png, 0xFF, PNG_FILLER_AFTER);
    }

    [[nodiscard]] DecodeFailure damage() const { return {"its data is damaged: " + m_reason}; }

    Source m_source;
    std::string m_reason;
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
    PictureSize m_size;
};

const std::array<double, 256>& linearLight() {
    static const std::array<double, 256> table = [] {
        std::array<double, 256> values{};
        for (std::size_t i = 0; i < values.size(); ++i) {
            const double share = static_cast<double>(i) / 255.0;
            values[i] = share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
        }
        return values;
    }();
    return table;
}

std::uint8_t over(std::uint8_t value, std::uint8_t alpha) {
    // 127 rounds to the nearest.
    const int mixed = (value * alpha + 255 * (255 - alpha) + 127) / 255;
    return static_cast<std::uint8_t>(mixed);
}

} // namespace

static_assert(sizeof(Colour) == 4, "rows of libpng are read straight into pixels");

std::variant<PictureSize, DecodeFailure> sizeOfPng(std::string_view bytes) {
    Decoder decoder(bytes);
    if (auto failure = decoder.begin()) return *failure;
    return decoder.size();
}

std::variant<Picture, DecodeFailure> decodePng(std::string_view bytes) {
    Decoder decoder(bytes);
    if (auto failure = decoder.begin()) return *failure;
    const PictureSize size = decoder.size();
    Picture picture{size.width, size.height, std::vector<Colour>(size.pixels())};
    if (auto failure = decoder.readAll(picture)) return *failure;
    return picture;
}

std::optional<DecodeFailure> visitPixels(std::string_view bytes,
                                         const std::function<void(std::span<Colour>)>& visit) {
    Decoder decoder(bytes);
    if (auto failure = decoder.begin()) return failure;
    return decoder.readRows(visit);
}

void layOnWhite(std::span<Colour> pixels) {
    // Most pictures are opaque throughout.
    for (Colour& pixel : pixels) {
        if (pixel.alpha == 255) continue;
        pixel = {over(pixel.red, pixel.alpha), over(pixel.green, pixel.alpha),
                 over(pixel.blue, pixel.alpha), 255};
    }
}

int brightness(const Colour& colour) {
    // The weights of Rec. 601 for luma, which goes by levels and not by light: it is for telling
    // levels apart.
    return (299 * colour.red + 587 * colour.green + 114 * colour.blue + 500) / 1000;
}

double relativeLuminance(const Colour& colour) {
    // WCAG 2.2, "relative luminance" and "contrast ratio"; the curve is that of sRGB.
    const auto& linear = linearLight();
    return 0.2126 * linear[colour.red] + 0.7152 * linear[colour.green] +
           0.0722 * linear[colour.blue];
}

double contrastRatio(const Colour& one, const Colour& other) {
    const double a = relativeLuminance(one);
    const double b = relativeLuminance(other);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

int channelDistance(const Colour& one, const Colour& other) {
    return std::max({std::abs(one.red - other.red), std::abs(one.green - other.green),
                     std::abs(one.blue - other.blue)});
}

std::string hexName(const Colour& colour) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "#%02x%02x%02x", colour.red, colour.green, colour.blue);
    return text.data();
}

} // namespace trevix
