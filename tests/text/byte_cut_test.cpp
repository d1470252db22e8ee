#include "text/byte_cut.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvane::text {
namespace {

std::vector<std::size_t> startsIn(std::string_view text) {
    std::vector<std::size_t> starts;
    for (std::size_t i = 0; i <= text.size() + 1; ++i) starts.push_back(codePointStart(text, i));
    return starts;
}

TEST(ByteCut, EveryByteKnowsWhereItsCodePointBegins) {
    using Starts = std::vector<std::size_t>;
    EXPECT_EQ(startsIn(""), (Starts{0, 0}));
    EXPECT_EQ(startsIn("ab"), (Starts{0, 1, 2, 2}));
    EXPECT_EQ(startsIn("aé€😀b"), (Starts{0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 11, 11}));
}

TEST(ByteCut, BytesThatAreNotUtf8StandAlone) {
    using Starts = std::vector<std::size_t>;
    EXPECT_EQ(startsIn("\x80\x80\x80\x80\x80"), (Starts{0, 1, 2, 3, 4, 5, 5}));
    EXPECT_EQ(startsIn("\xE2\x82"), (Starts{0, 1, 2, 2})) << "cut short";
    EXPECT_EQ(startsIn("é\x80"), (Starts{0, 0, 2, 3, 3})) << "one too many";
    EXPECT_EQ(startsIn("\xED\xA0\x80"), (Starts{0, 1, 2, 3, 3})) << "a surrogate";
}

TEST(ByteCut, TheBeginningOfATextEndsBetweenCodePoints) {
    const std::string text = "aé€😀";
    const std::vector<std::string> cuts = {"",    "a",   "a",   "aé",  "aé", "aé",
                                           "aé€", "aé€", "aé€", "aé€", text, text};
    for (std::size_t most = 0; most < cuts.size(); ++most) {
        EXPECT_EQ(firstBytes(text, most), cuts[most]) << most;
    }
    EXPECT_EQ(firstBytes(text, std::string::npos), text);
}

} // namespace
} // namespace kelvane::text
