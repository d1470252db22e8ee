#include "text/shown_text.h"

#include "text/unicode.h"

#include <gtest/gtest.h>

namespace kelvane::text {
namespace {

TEST(ShownText, OrdinaryTextStaysAsItIs) {
    for (const std::string text :
         {"", "Figma", "naïve – 日本語 🙂", "a\xC2\xA0z", "👩‍👩‍👧", "\uFFFD"}) {
        EXPECT_EQ(shownLine(text), text);
        EXPECT_EQ(shownParagraph(text), text);
    }
}

TEST(ShownText, ControlCharactersBecomeBlanks) {
    EXPECT_EQ(shownLine("a\x1b[2Jb\tc\r\nd\x7f"), "a [2Jb c  d ");
    EXPECT_EQ(shownLine(std::string("a\0b", 3)), "a b");
    EXPECT_EQ(shownLine("a\xC2\x85z\xC2\x9B"), "a z ");
    EXPECT_EQ(shownLine("a\xE2\x80\xA8z\xE2\x80\xA9"), "a z ");
}

TEST(ShownText, AParagraphKeepsItsLineFeedsAndALineDoesNot) {
    EXPECT_EQ(shownParagraph("a\n\tb\r\n"), "a\n b \n");
    EXPECT_EQ(shownLine("a\nb"), "a b");
}

TEST(ShownText, DirectionOverridesAreLeftOut) {
    EXPECT_EQ(shownLine("a\u202Egpj.exe\u202C"), "agpj.exe");
    EXPECT_EQ(shownLine("\u2066x\u2067y\u2068z\u2069\u202A\u202B\u202D"), "xyz");
}

TEST(ShownText, BytesThatAreNoCharactersStandForNone) {
    EXPECT_EQ(shownLine("cut \xE2\x80"), "cut \uFFFD");
    EXPECT_EQ(shownParagraph("\xFF\xFE"), "\uFFFD\uFFFD");
    // What is left out must not leave its neighbours one of its kind.
    EXPECT_EQ(shownLine("\xE2\xE2\x80\xAE\x80\xAE"
                        "gpj.exe"),
              "\uFFFD\uFFFD\uFFFDgpj.exe");
    EXPECT_EQ(shownLine("a\xC2\u202A\x80z"), "a\uFFFD\uFFFDz");
}

TEST(ShownText, AMarkOfADirectionTurnsNoLineAndStaysWhereItBelongs) {
    EXPECT_EQ(shownLine("\u200FTwo words (\u200E\u061C)."), "Two words ().");
    EXPECT_EQ(shownLine("\u05D0\u200F."), "\u05D0\u200F.");
}

TEST(ShownText, RightToLeftTextInsideASentenceIsIsolated) {
    EXPECT_EQ(shownWithin("Figma"), "Figma");
    EXPECT_EQ(shownWithin("日本語 ﬁ ︙"), "日本語 ﬁ ︙");
    for (const std::string text : {"עורך", "محرر", "a ב", "ﭏ", "ﻼ", "\U00010900", "\U0001E900"}) {
        EXPECT_EQ(shownWithin(text), "\u2068" + text + "\u2069") << text;
    }
}

TEST(ShownText, AnOverrideCannotLeaveItsIsolation) {
    EXPECT_EQ(shownWithin("\u2069\u202Eב"), "\u2068ב\u2069");
}

TEST(ShownText, VeryLongTextIsCutAtACharacter) {
    std::string text;
    for (int i = 0; i < 180'000; ++i) text += "é";
    const auto shown = shownParagraph(text);
    EXPECT_EQ(text::characterCount(shown), kLongestShownText + 1);
    EXPECT_TRUE(shown.ends_with("é…"));
    EXPECT_EQ(shownLine(text.substr(0, 2 * kLongestShownText)),
              text.substr(0, 2 * kLongestShownText));
}

TEST(ShownText, OneCharacterOfEndlessMarksIsCutToo) {
    std::string text = "a";
    for (int i = 0; i < 100'000; ++i) text += "\u0301";
    const auto shown = shownLine(text);
    EXPECT_LT(shown.size(), kLongestShownText * 8 + 4);
    EXPECT_TRUE(text::isValidUtf8(shown));
}

} // namespace
} // namespace kelvane::text
