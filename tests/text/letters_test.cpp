#include "text/letters.h"

#include "text/unicode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvane::text {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> textsOf(std::string_view text) {
    std::vector<std::string> texts;
    for (const Word& word : wordsIn(text, 0, text.size())) {
        texts.emplace_back(text.substr(word.offset, word.length));
    }
    return texts;
}

TEST(Letters, KindsOfCharacters) {
    EXPECT_TRUE(isLetter('a') && isLetter(0xDF) && isLetter(0x4E2D) && isLetter(0x0301));
    EXPECT_FALSE(isLetter('1') || isLetter(' ') || isLetter(0x2019));
    EXPECT_TRUE(isDigit('7') && isDigit(0x0664));
    EXPECT_FALSE(isDigit('a') || isDigit(0xBD));
    EXPECT_TRUE(isUpper('A') && isUpper(0xC4) && isLower('a') && isLower(0xE4));
    EXPECT_FALSE(isUpper('a') || isLower('A') || isUpper(0x4E2D) || isLower(0x4E2D));
    EXPECT_TRUE(isSpace(' ') && isSpace('\n') && isSpace(0xA0) && isSpace(0x2028) && isSpace(0x85));
    EXPECT_FALSE(isSpace('x') || isSpace(0x200B));
}

TEST(Letters, AByteThatIsNotUtf8IsNothing) {
    EXPECT_FALSE(isLetter(kNoCodePoint) || isDigit(kNoCodePoint) || isUpper(kNoCodePoint) ||
                 isLower(kNoCodePoint) || isSpace(kNoCodePoint));
}

TEST(Letters, AsciiKindsAreOfAsciiAlone) {
    EXPECT_TRUE(isAsciiLetter('z') && isAsciiLetter('A') && isAsciiDigit('0') && isAsciiWord('_'));
    EXPECT_FALSE(isAsciiLetter('_') || isAsciiDigit('a') || isAsciiWord('-') ||
                 isAsciiWord('\xE4') || isAsciiLetter('\xC3'));
}

TEST(Letters, AWordIsFoundWithoutRegardToCase) {
    EXPECT_TRUE(hasAt("see TODO here", 4, "todo"));
    EXPECT_TRUE(startsWithIgnoringCase("Section 3", "section "));
    EXPECT_FALSE(hasAt("see TOD", 4, "todo"));
    EXPECT_FALSE(hasAt("see", 9, ""));
    EXPECT_EQ(trimmed(" \t a b\r\n"), "a b");
    EXPECT_EQ(trimmed(" \n"), "");
    EXPECT_TRUE(sameWord("Äpfel", "äPFEL"));
    EXPECT_TRUE(sameWord("The", "the"));
    EXPECT_FALSE(sameWord("the", "then"));
}

TEST(Words, AreLettersDigitsAndInnerApostrophes) {
    EXPECT_THAT(textsOf("It’s Ana's 2nd try, isn't it? rock 'n' roll"),
                ElementsAre("It’s", "Ana's", "2nd", "try", "isn't", "it", "rock", "n", "roll"));
    EXPECT_THAT(textsOf("… – !"), IsEmpty());
    EXPECT_THAT(textsOf("a\xFF"
                        "b"),
                ElementsAre("a", "b"));
    EXPECT_THAT(textsOf("end'"), ElementsAre("end"));
}

TEST(Words, KnowTheirLetters) {
    const std::string text = "Ärger USA b2B";
    const std::vector<Word> words = wordsIn(text, 0, text.size());
    ASSERT_EQ(words.size(), 3U);
    EXPECT_TRUE(words[0].capitalised);
    EXPECT_EQ(words[0].letters, 5U);
    EXPECT_FALSE(words[0].allUpper());
    EXPECT_TRUE(words[1].allUpper());
    EXPECT_TRUE(words[2].digits);
    EXPECT_FALSE(words[2].capitalised);
    EXPECT_EQ(words[2].end(), text.size());
}

TEST(Words, OnlyThoseBetweenTheOffsets) {
    const std::string text = "one two three";
    const std::vector<Word> words = wordsIn(text, 4, 7);
    ASSERT_EQ(words.size(), 1U);
    EXPECT_EQ(words[0].offset, 4U);
    EXPECT_EQ(words[0].length, 3U);
}

} // namespace
} // namespace kelvane::text
