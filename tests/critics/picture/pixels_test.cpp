#include "critics/picture/pixels.h"

#include "tests/critics/picture/drawing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <png.h>
#include <random>
#include <span>
#include <tuple>
#include <utility>

namespace trevix {
namespace {

using drawing::blank;
using drawing::encodePng;
using drawing::gray;
using testing::HasSubstr;

Picture decoded(const std::string& bytes) {
    auto result = decodePng(bytes);
    if (const auto* failure = std::get_if<DecodeFailure>(&result)) {
        ADD_FAILURE() << failure->reason;
        return {};
    }
    return std::get<Picture>(std::move(result));
}

std::string failure(const std::string& bytes) {
    const auto result = decodePng(bytes);
    const auto* failed = std::get_if<DecodeFailure>(&result);
    return failed == nullptr ? "" : failed->reason;
}

Picture colourful(int width, int height) {
    Picture picture = blank(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            picture.at(x, y) = {static_cast<std::uint8_t>(x * 5), static_cast<std::uint8_t>(y * 7),
                                static_cast<std::uint8_t>(x * y), 255};
        }
    }
    return picture;
}

struct Kind {
    int colourType;
    int depth;
    int interlace = PNG_INTERLACE_NONE;
};

/// A file of the given kind whose row bytes `rows` gives.
std::string written(int width, int height, Kind kind, const std::vector<std::string>& rows) {
    std::string out;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &out,
        [](png_structp p, png_bytep data, std::size_t length) {
            static_cast<std::string*>(png_get_io_ptr(p))
                ->append(reinterpret_cast<const char*>(data), length);
        },
        [](png_structp) {});
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height),
                 kind.depth, kind.colourType, kind.interlace, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    const png_color palette[] = {{10, 20, 30}, {200, 100, 50}};
    const png_byte palettAlpha[] = {255, 128};
    if (kind.colourType == PNG_COLOR_TYPE_PALETTE) {
        png_set_PLTE(png, info, palette, 2);
        png_set_tRNS(png, info, palettAlpha, 2, nullptr);
    }
    png_write_info(png, info);
    std::vector<std::string> copies = rows;
    std::vector<png_bytep> pointers;
    for (std::string& row : copies) pointers.push_back(reinterpret_cast<png_bytep>(row.data()));
    png_write_image(png, pointers.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return out;
}

std::vector<std::string> rowsOf(const Picture& picture) {
    std::vector<std::string> rows;
    for (int y = 0; y < picture.height; ++y) {
        rows.emplace_back(reinterpret_cast<const char*>(&picture.at(0, y)),
                          static_cast<std::size_t>(picture.width) * 4);
    }
    return rows;
}

TEST(Pixels, EncodedPicturesComeBackTheSame) {
    Picture picture = colourful(37, 23);
    picture.at(3, 4).alpha = 77;
    const Picture back = decoded(encodePng(picture));
    EXPECT_EQ(back.width, 37);
    EXPECT_EQ(back.height, 23);
    EXPECT_EQ(back.pixels, picture.pixels);
}

TEST(Pixels, DecodesSixteenBits) {
    const std::string bytes =
        written(1, 1, {PNG_COLOR_TYPE_RGB, 16}, {std::string("\xFF\xFF\x80\x80\x00\x00", 6)});
    EXPECT_EQ(decoded(bytes).at(0, 0), (Colour{255, 128, 0, 255}));
}

TEST(Pixels, DecodesPaletteWithTransparency) {
    const std::string bytes =
        written(2, 1, {PNG_COLOR_TYPE_PALETTE, 8}, {std::string("\x00\x01", 2)});
    const Picture picture = decoded(bytes);
    EXPECT_EQ(picture.at(0, 0), (Colour{10, 20, 30, 255}));
    EXPECT_EQ(picture.at(1, 0), (Colour{200, 100, 50, 128}));
}

TEST(Pixels, DecodesSingleBitsOfGray) {
    const Picture picture =
        decoded(written(8, 1, {PNG_COLOR_TYPE_GRAY, 1}, {std::string("\xA0", 1)}));
    EXPECT_EQ(picture.at(0, 0), gray(255));
    EXPECT_EQ(picture.at(1, 0), gray(0));
    EXPECT_EQ(picture.at(2, 0), gray(255));
}

TEST(Pixels, DecodesGrayWithAlpha) {
    const Picture picture =
        decoded(written(1, 1, {PNG_COLOR_TYPE_GRAY_ALPHA, 8}, {std::string("\x64\x32", 2)}));
    EXPECT_EQ(picture.at(0, 0), (Colour{100, 100, 100, 50}));
}

TEST(Pixels, DecodesInterlaced) {
    const Picture picture = colourful(19, 17);
    const Kind kind{PNG_COLOR_TYPE_RGB_ALPHA, 8, PNG_INTERLACE_ADAM7};
    EXPECT_EQ(decoded(written(19, 17, kind, rowsOf(picture))).pixels, picture.pixels);
}

TEST(Pixels, WhatIsNoPictureSaysSo) {
    EXPECT_EQ(failure(""), "it is not a PNG picture");
    EXPECT_EQ(failure("hello, world, this is text"), "it is not a PNG picture");
    EXPECT_EQ(failure("\xFF\xD8\xFF\xE0 a JPEG picture"), "it is not a PNG picture");
    EXPECT_THAT(failure("\x89PNG\r\n\x1A\n"), HasSubstr("damaged"));
}

TEST(Pixels, CutShortAtAnyByteFails) {
    const std::string bytes = encodePng(colourful(12, 9));
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_NE(failure(bytes.substr(0, length)), "") << length;
    }
    EXPECT_EQ(failure(bytes), "");
}

TEST(Pixels, FlippedBitsNeverCrash) {
    const std::string good = encodePng(colourful(40, 30));
    std::mt19937 random(99);
    int failures = 0;
    for (int round = 0; round < 600; ++round) {
        std::string bad = good;
        for (int flips = 0; flips < 3; ++flips) {
            char& byte = bad[random() % bad.size()];
            byte = static_cast<char>(static_cast<unsigned char>(byte) ^ (1U << (random() % 8)));
        }
        failures += failure(bad).empty() ? 0 : 1;
    }
    EXPECT_GT(failures, 300);
}

/// A header that claims the size, with a right checksum, before the data of a small picture.
std::string claiming(std::uint32_t width, std::uint32_t height) {
    std::string bytes = encodePng(blank(4, 4));
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[16 + i] = static_cast<char>(width >> (24 - 8 * i));
        bytes[20 + i] = static_cast<char>(height >> (24 - 8 * i));
    }
    std::uint32_t crc = 0xFFFFFFFFU;
    for (std::size_t i = 12; i < 29; ++i) {
        crc ^= static_cast<unsigned char>(bytes[i]);
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1U) ^ (0xEDB88320U & (0U - (crc & 1U)));
    }
    crc = ~crc;
    for (std::size_t i = 0; i < 4; ++i) bytes[29 + i] = static_cast<char>(crc >> (24 - 8 * i));
    return bytes;
}

TEST(Pixels, BombsAreRefusedBeforeMemoryIsSpent) {
    EXPECT_EQ(failure(claiming(4, 4)), "");
    EXPECT_EQ(failure(claiming(20'000, 20'000)), "it has more than 100 megapixels");
    EXPECT_EQ(failure(claiming(9'000, 9'000)), "the file ends too early");
    EXPECT_THAT(failure(claiming(4'000'000'000U, 4)), HasSubstr("header is damaged"));
    EXPECT_THAT(failure(claiming(0, 4)), HasSubstr("header is damaged"));
    EXPECT_EQ(failure(std::string(kMostPictureBytes + 1, 'x')), "the file is larger than 64 MiB");
}

TEST(Pixels, BlankPicturesOfOneBitAreRead) {
    const int width = 4000;
    const int height = 3000;
    const std::vector<std::string> rows(height, std::string(width / 8, '\xFF'));
    const std::string bytes = written(width, height, {PNG_COLOR_TYPE_GRAY, 1}, rows);
    // Less than a file of eight bits a pixel can have.
    ASSERT_LT(bytes.size(), std::size_t{width} * height / 1100);
    EXPECT_EQ(decoded(bytes).at(width - 1, height - 1), gray(255));
}

TEST(Pixels, TheSizeIsKnownBeforeAnyPixelIsRead) {
    const auto size = sizeOfPng(encodePng(blank(37, 23)).substr(0, 60));
    ASSERT_TRUE(std::holds_alternative<PictureSize>(size));
    EXPECT_EQ(std::get<PictureSize>(size).pixels(), 37U * 23U);
}

/// Every pixel that a visit sees, and why it broke off, if it did.
struct Visit {
    std::vector<Colour> pixels;
    std::string failure;
};

Visit visited(const std::string& bytes) {
    Visit visit;
    const auto failure = visitPixels(bytes, [&](std::span<const Colour> pixels) {
        visit.pixels.insert(visit.pixels.end(), pixels.begin(), pixels.end());
    });
    if (failure) visit.failure = failure->reason;
    return visit;
}

TEST(Pixels, AVisitSeesEveryPixelInReadingOrder) {
    const Picture picture = colourful(37, 23);
    const Visit visit = visited(encodePng(picture));
    EXPECT_EQ(visit.failure, "");
    EXPECT_EQ(visit.pixels, picture.pixels);
}

TEST(Pixels, AVisitOfAnInterlacedFileSeesEveryPixelOnce) {
    for (const auto& [width, height] : {std::pair{19, 17}, {1, 1}, {3, 9}, {5, 2}}) {
        const Picture picture = colourful(width, height);
        const Kind kind{PNG_COLOR_TYPE_RGB_ALPHA, 8, PNG_INTERLACE_ADAM7};
        Visit visit = visited(written(width, height, kind, rowsOf(picture)));
        EXPECT_EQ(visit.failure, "");
        const auto order = [](const Colour& one, const Colour& other) {
            return std::tie(one.red, one.green, one.blue) <
                   std::tie(other.red, other.green, other.blue);
        };
        std::vector<Colour> expected = picture.pixels;
        std::ranges::sort(expected, order);
        std::ranges::sort(visit.pixels, order);
        EXPECT_EQ(visit.pixels, expected) << width << " x " << height;
    }
}

TEST(Pixels, AVisitTellsDamage) {
    const std::string bytes = encodePng(colourful(12, 9));
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_NE(visited(bytes.substr(0, length)).failure, "") << length;
    }
}

TEST(Pixels, TransparencyShowsWhite) {
    Picture picture = blank(3, 1, {0, 0, 0, 255});
    picture.at(1, 0).alpha = 0;
    picture.at(2, 0).alpha = 51;
    layOnWhite(picture.pixels);
    EXPECT_EQ(picture.at(0, 0), gray(0));
    EXPECT_EQ(picture.at(1, 0), gray(255));
    EXPECT_EQ(picture.at(2, 0), gray(204));
}

TEST(Pixels, ContrastIsThatOfTheAccessibilityGuidelines) {
    EXPECT_NEAR(contrastRatio(gray(0), gray(255)), 21.0, 0.001);
    EXPECT_NEAR(contrastRatio(gray(255), gray(0)), 21.0, 0.001);
    EXPECT_NEAR(contrastRatio(gray(0x77), gray(255)), 4.48, 0.005);
    EXPECT_NEAR(contrastRatio(gray(0x76), gray(255)), 4.54, 0.005);
    EXPECT_NEAR(contrastRatio({255, 0, 0, 255}, gray(255)), 4.0, 0.005);
    EXPECT_NEAR(contrastRatio({0, 0, 255, 255}, gray(255)), 8.59, 0.005);
    EXPECT_NEAR(contrastRatio(gray(40), gray(40)), 1.0, 0.001);
}

TEST(Pixels, SmallFacts) {
    EXPECT_EQ(brightness(gray(130)), 130);
    EXPECT_EQ(channelDistance({10, 20, 30, 255}, {12, 14, 30, 0}), 6);
    EXPECT_EQ(hexName({0x1A, 0x2B, 0x0C, 255}), "#1a2b0c");
}

} // namespace
} // namespace trevix
