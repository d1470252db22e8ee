#include "text/one_of.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace kelvane::text {
namespace {

TEST(IsOneOf, ComparesWholeTexts) {
    constexpr std::array<std::string_view, 2> kChoices{"one", "two"};
    static_assert(isOneOf("one", kChoices));
    EXPECT_TRUE(isOneOf("two", kChoices));
    EXPECT_FALSE(isOneOf("tw", kChoices));
    EXPECT_FALSE(isOneOf("TWO", kChoices));
    EXPECT_FALSE(isOneOf("", kChoices));
}

TEST(IsOneOf, TakesAnyRangeOfTexts) {
    EXPECT_TRUE(isOneOf("b", std::vector<std::string>{"a", "b"}));
    EXPECT_FALSE(isOneOf("a", std::vector<std::string>{}));
}

} // namespace
} // namespace kelvane::text
