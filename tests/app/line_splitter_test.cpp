#include "app/line_splitter.h"

#include <gtest/gtest.h>

#include <vector>

namespace kelvane {
namespace {

struct LineSplitterTest : testing::Test {
    std::vector<std::string> lines;
    LineSplitter splitter{[this](std::string_view line) { lines.emplace_back(line); }};
};

TEST_F(LineSplitterTest, LinesComeWholeHoweverTheBytesArrive) {
    for (const char c : std::string("grade\nquit\n")) splitter.feed({&c, 1});
    EXPECT_EQ(lines, (std::vector<std::string>{"grade", "quit"}));
    splitter.feed("a\nb\nc");
    EXPECT_EQ(lines.size(), 4U);
    splitter.finish();
    EXPECT_EQ(lines.back(), "c");
}

TEST_F(LineSplitterTest, EmptyLinesArePassedOver) {
    splitter.feed("\n\n\na\n\n");
    splitter.finish();
    EXPECT_EQ(lines, (std::vector<std::string>{"a"}));
}

TEST_F(LineSplitterTest, EndlessLineIsDroppedAndTheNextOneRead) {
    for (int i = 0; i < 100; ++i) splitter.feed(std::string(10'000, 'x'));
    splitter.feed("\ngrade\n");
    EXPECT_EQ(lines, (std::vector<std::string>{"grade"}));
}

} // namespace
} // namespace kelvane
