#include "text/json_shape.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane::text {
namespace {

TEST(JsonShape, CountsWhatIsOpenAtOnceAndHowManyValuesThereMayBe) {
    struct Case {
        std::string_view json;
        std::size_t depth;
        std::size_t values;
    };
    for (const auto& [json, depth, values] : {Case{"", 0, 1},
                                              {"1", 0, 1},
                                              {"[]", 1, 2},
                                              {R"({"a":[1,2],"b":[]})", 2, 6},
                                              {"[][][]", 1, 4},
                                              {"[[[", 3, 4},
                                              {"]]]]", 0, 1},
                                              {"]][[", 2, 3}}) {
        EXPECT_EQ(jsonShape(json), (JsonShape{.hasNul = false, .depth = depth, .values = values}))
            << json;
    }
}

TEST(JsonShape, BracketsInStringsDoNotCount) {
    EXPECT_EQ(jsonShape(R"(["[[[[,,,"])").depth, 1U);
    EXPECT_EQ(jsonShape(R"(["a\"[[["])").depth, 1U);
    EXPECT_EQ(jsonShape(R"(["a\\",[]])").depth, 2U);
    EXPECT_EQ(jsonShape(R"(["[[[[,,,"])").values, 2U);
}

TEST(JsonShape, UnfinishedStringsEndWithTheInput) {
    EXPECT_EQ(jsonShape(R"(["abc)").depth, 1U);
    EXPECT_EQ(jsonShape("[\"abc\\").depth, 1U);
}

TEST(JsonShape, FindsANulAnywhere) {
    EXPECT_TRUE(jsonShape(std::string_view("{}\0", 3)).hasNul);
    EXPECT_TRUE(jsonShape(std::string_view("\"\0\"", 3)).hasNul);
}

TEST(JsonShape, AMillionBracketsAreNoTrouble) {
    EXPECT_EQ(jsonShape(std::string(1'000'000, '[')).depth, 1'000'000U);
}

} // namespace
} // namespace kelvane::text
