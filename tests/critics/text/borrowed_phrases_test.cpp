// Which words are a phrase that English has borrowed?

#include "critics/text/borrowed_phrases.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

std::size_t phraseOf(const std::vector<std::string>& words) {
    return borrowedPhrase(words);
}

TEST(BorrowedPhrase, IsTheLongestFromTheFirstWordOn) {
    EXPECT_EQ(phraseOf({"fait", "accompli", "of"}), 2U);
    EXPECT_EQ(phraseOf({"status", "quo"}), 2U);
    EXPECT_EQ(phraseOf({"status", "quo", "ante", "bellum"}), 3U);
    EXPECT_EQ(phraseOf({"honi", "soit", "qui", "mal", "y", "pense"}), kMostWordsOfPhrase);
}

TEST(BorrowedPhrase, HasTheMarksOfItsLettersOrNot) {
    EXPECT_EQ(phraseOf({"pièce", "de", "résistance"}), 3U);
    EXPECT_EQ(phraseOf({"piece", "de", "résistance"}), 3U);
    EXPECT_EQ(phraseOf({"hors", "d'œuvre"}), 2U);
    EXPECT_EQ(phraseOf({"über", "alles"}), 2U);
}

TEST(BorrowedPhrase, IsNoneOfOtherWords) {
    EXPECT_EQ(phraseOf({}), 0U);
    EXPECT_EQ(phraseOf({"fait"}), 0U);
    EXPECT_EQ(phraseOf({"fait", "of", "accompli"}), 0U);
    EXPECT_EQ(phraseOf({"a", "fait", "accompli"}), 0U);
    EXPECT_EQ(phraseOf({"fait", "accomplis"}), 0U);
    EXPECT_EQ(phraseOf({"", ""}), 0U);
    EXPECT_EQ(phraseOf({"\xC3", "\xFF"}), 0U);
}

} // namespace
} // namespace trevix
