#include "text/base64.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace kelvane::text {
namespace {

using namespace std::string_view_literals;

TEST(Base64, EncodesTheStandardVectors) {
    const struct {
        std::string_view bytes;
        std::string_view encoded;
    } cases[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xFB\xFF\xFE"sv, "+//+"},
        {"\0"sv, "AA=="},
    };
    for (const auto& [bytes, encoded] : cases) {
        EXPECT_EQ(base64(bytes), encoded);
        EXPECT_EQ(fromBase64(encoded), bytes);
    }
}

TEST(Base64, BringsBackEveryByteAtEveryLength) {
    std::string bytes;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(fromBase64(base64(bytes)), bytes);
        EXPECT_EQ(base64(bytes).size(), (bytes.size() + 2) / 3 * 4);
        bytes.push_back(static_cast<char>(i * 7));
    }
}

TEST(Base64, HasNoLineBreaks) {
    EXPECT_EQ(base64(std::string(10'000, 'x')).find_first_of("\r\n"), std::string::npos);
}

TEST(FromBase64, PassesOverAsciiWhiteSpace) {
    EXPECT_EQ(fromBase64(" Zm9v\r\nYm\tFy\f\v\n"), "foobar");
    EXPECT_EQ(fromBase64("Z m 9 v Y g = ="), "foob");
    EXPECT_EQ(fromBase64(" \n"), "");
}

TEST(FromBase64, RefusesWhatIsNotPaddedStandardBase64) {
    for (const auto encoded : {"Z"sv, "Zg"sv, "Zg="sv, "Zm8"sv, "Zm9vY"sv, "="sv, "===="sv,
                               "Z==="sv, "Zg==="sv, "Zm9v="sv, "Zg==Zg=="sv, "Zg=Z"sv, "Zg=Y"sv,
                               "Zm9-"sv, "Zm9_"sv, "Zm9v!"sv, "Zm\0v"sv, "Zm9\xC3"sv}) {
        EXPECT_EQ(fromBase64(encoded), std::nullopt) << encoded;
    }
}

TEST(FromBase64, RefusesUnusedBitsThatAreNotZero) {
    EXPECT_EQ(fromBase64("Zh=="), std::nullopt);
    EXPECT_EQ(fromBase64("Zm9="), std::nullopt);
}

} // namespace
} // namespace kelvane::text
