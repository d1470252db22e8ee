// How much of a secret is shown?

#include "critics/findings/shown_secret.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

TEST(ShownSecret, IsItsKindOrAThird) {
    EXPECT_EQ(shownSecret("abcdefghijklmnopqrst"), "abcd…");
    EXPECT_EQ(shownSecret("abcdefghijkl"), "abcd…");
    EXPECT_EQ(shownSecret("mapleleaf"), "map…");
    EXPECT_EQ(shownSecret("ab"), "…");
    EXPECT_EQ(shownSecret(""), "…");
}

TEST(ShownSecret, IsCutBetweenCharacters) {
    EXPECT_EQ(shownSecret("äöüßéè"), "äö…");
    EXPECT_EQ(shownOfSecret("äöüßéè"), "äö");
}

} // namespace
} // namespace trevix
