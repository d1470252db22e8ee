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

void appendBytes(png_structp png, png_bytep data, std::size_t length) {
    static_cast<std::string*>(png_get_io_ptr(png))
        ->append(reinterpret_cast<const char*>(data), length);
}

void flushNothing(png_structp) {}

void rememberError(png_structp png, png_const_charp message) {
    auto* reason = static_cast<std::string*>(png_get_error_ptr(png));
    if (reason->empty()) *reason = message;
    png_longjmp(png, 1);
}

void ignoreWarning(png_structp, png_const_charp) {}

/// Frees what libpng made, however decoding ends.
struct Reader {
    png_structp png = nullptr;
    png_infop info = nullptr;

    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};

struct Writer {
    png_structp png = nullptr;
    png_infop info = nullptr;

    Writer() = default;
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;
    ~Writer() { png_destroy_write_struct(&png, &info); }
};

/// Header and transformations. libpng leaves by longjmp, so nothing here may need a destructor.
bool readHeader(Reader& reader, Source& source, png_uint_32& width, png_uint_32& height) {
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    png_set_read_fn(reader.png, &source, readBytes);
    png_set_user_limits(reader.png, 1'000'000, 1'000'000);
    png_set_chunk_malloc_max(reader.png, 8U << 20U);
    png_read_info(reader.png, reader.info);
    width = png_get_image_width(reader.png, reader.info);
    height = png_get_image_height(reader.png, reader.info);
    png_set_expand(reader.png);
    png_set_scale_16(reader.png);
    png_set_gray_to_rgb(reader.png);
    png_set_add_alpha(reader.png, 0xFF, PNG_FILLER_AFTER);
    png_set_interlace_handling(reader.png);
    png_read_update_info(reader.png, reader.info);
    return png_get_rowbytes(reader.png, reader.info) == std::size_t{4} * width;
}

bool readRows(Reader& reader, png_bytepp rows) {
    if (setjmp(png_jmpbuf(reader.png)) != 0) return false;
    png_read_image(reader.png, rows);
    png_read_end(reader.png, nullptr);
    return true;
}

bool writeAll(Writer& writer, std::string& out, const Picture& picture, png_bytepp rows) {
    if (setjmp(png_jmpbuf(writer.png)) != 0) return false;
    png_set_write_fn(writer.png, &out, appendBytes, flushNothing);
    png_set_IHDR(writer.png, writer.info, static_cast<png_uint_32>(picture.width),
                 static_cast<png_uint_32>(picture.height), 8, PNG_COLOR_TYPE_RGB_ALPHA,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_rows(writer.png, writer.info, rows);
    png_write_png(writer.png, writer.info, PNG_TRANSFORM_IDENTITY, nullptr);
    return true;
}

std::vector<png_bytep> rowsOf(Picture& picture) {
    std::vector<png_bytep> rows(static_cast<std::size_t>(picture.height));
    for (int y = 0; y < picture.height; ++y) {
        rows[static_cast<std::size_t>(y)] = reinterpret_cast<png_bytep>(&picture.at(0, y));
    }
    return rows;
}

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
    const int mixed = (value * alpha + 255 * (255 - alpha) + 127) / 255;
    return static_cast<std::uint8_t>(mixed);
}

} // namespace

static_assert(sizeof(Colour) == 4, "rows of libpng are read straight into pixels");

std::variant<Picture, DecodeFailure> decodePng(std::string_view bytes) {
    if (bytes.size() > kMostPictureBytes) return DecodeFailure{"the file is larger than 64 MiB"};
    if (bytes.size() < 8 ||
        png_sig_cmp(reinterpret_cast<png_const_bytep>(bytes.data()), 0, 8) != 0) {
        return DecodeFailure{"it is not a PNG picture"};
    }
    std::string reason;
    Source source{bytes};
    Reader reader;
    reader.png =
        png_create_read_struct(PNG_LIBPNG_VER_STRING, &reason, rememberError, ignoreWarning);
    if (reader.png != nullptr) reader.info = png_create_info_struct(reader.png);
    if (reader.info == nullptr) return DecodeFailure{"there is no memory to read it"};

    png_uint_32 width = 0;
    png_uint_32 height = 0;
    if (!readHeader(reader, source, width, height)) {
        return DecodeFailure{"its header is damaged: " + reason};
    }
    const std::size_t pixels = std::size_t{width} * height;
    if (pixels > kMostPicturePixels) return DecodeFailure{"it has more than 100 megapixels"};
    // The best that deflate can do is about 1 : 1032; a header that promises more lies, and no
    // memory is spent on it.
    const std::size_t rowBits = std::size_t{width} * png_get_bit_depth(reader.png, reader.info);
    if (rowBits / 8 * height / 1100 > bytes.size()) {
        return DecodeFailure{"the file ends too early"};
    }
    Picture picture{static_cast<int>(width), static_cast<int>(height), {}};
    picture.pixels.resize(pixels);
    std::vector<png_bytep> rows = rowsOf(picture);
    if (!readRows(reader, rows.data())) return DecodeFailure{"its data is damaged: " + reason};
    return picture;
}

std::string encodePng(const Picture& picture) {
    std::string out;
    std::string reason;
    Picture copy = picture;
    std::vector<png_bytep> rows = rowsOf(copy);
    Writer writer;
    writer.png =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, &reason, rememberError, ignoreWarning);
    if (writer.png != nullptr) writer.info = png_create_info_struct(writer.png);
    if (writer.info == nullptr || !writeAll(writer, out, picture, rows.data())) out.clear();
    return out;
}

Picture onWhite(Picture picture) {
    for (Colour& pixel : picture.pixels) {
        if (pixel.alpha == 255) continue;
        pixel = {over(pixel.red, pixel.alpha), over(pixel.green, pixel.alpha),
                 over(pixel.blue, pixel.alpha), 255};
    }
    return picture;
}

int brightness(const Colour& colour) {
    return (299 * colour.red + 587 * colour.green + 114 * colour.blue + 500) / 1000;
}

double relativeLuminance(const Colour& colour) {
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
