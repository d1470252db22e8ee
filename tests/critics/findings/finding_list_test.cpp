#include "critics/findings/finding_list.h"
#include "critics/sheet/sheet_rule_table.h"
#include "critics/text/text_rule_table.h"
#include "text/unicode.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

constexpr GradedRule kWord = declared<WorkKind::text>("text.doubled_word", Severity::medium);
constexpr GradedRule kSpacing = declared<WorkKind::text>("text.spacing");
constexpr GradedRule kError = declared<WorkKind::sheet>("sheet.formula_error", Severity::high);
constexpr GradedRule kNotAvailable =
    declared<WorkKind::sheet>("sheet.formula_error", Severity::medium);

constexpr Rule kFamily{"tool.*", {Severity::high, Severity::low}, "sound work", Unit::line, ""};

TEST(FindingList, ARuleOfAFamilyBearsTheCodeOfItsProgram) {
    const std::string text = "first\nsecond line";
    const SourceText source(text);
    FindingList list(source);
    list.addForeign(*graded(kFamily, Severity::low), "X12", 13, 6, 11, "is wrong");
    EXPECT_EQ(list.take(),
              (std::vector<Finding>{{Severity::low, "tool.X12", "sound work", "line 2, column 8",
                                     "second line", "Line 2, column 8: “second line” is wrong."}}));
}

TEST(FindingList, EachCodeOfAFamilyHasALimitOfItsOwn) {
    const std::string text(kMostFindingsPerRule + 2, 'x');
    const SourceText source(text);
    FindingList list(source);
    for (std::size_t i = 0; i < text.size(); ++i) {
        list.addForeign(*graded(kFamily, Severity::low), "A", i, i, 1, "is wrong");
    }
    list.addForeign(*graded(kFamily, Severity::high), "B", 0, 0, 1, "is wrong");
    const auto findings = list.take();
    ASSERT_EQ(findings.size(), kMostFindingsPerRule + 2);
    EXPECT_EQ(findings.back().rule, "tool.A");
    EXPECT_EQ(findings.back().severity, Severity::low);
    EXPECT_EQ(findings.back().evidence, "2 more");
}

TEST(GradedRule, OnlyAFamilyIsGradedWhileRunning) {
    EXPECT_TRUE(graded(kFamily, Severity::high).has_value());
    EXPECT_FALSE(graded(kFamily, Severity::medium).has_value());
    EXPECT_FALSE(graded(kWord.rule(), Severity::medium).has_value());
}

TEST(FindingList, WordsAFindingByPlaceAndEvidence) {
    const std::string text = "so it is\nthe the end";
    const SourceText source(text);
    FindingList list(source);
    list.add(kWord, 9, 7, "says the same word twice");
    list.addWith(kSpacing, 2, "one blank", "is a blank");
    const auto findings = list.take();
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].place, "line 1, column 3");
    EXPECT_EQ(findings[0].evidence, "one blank");
    EXPECT_EQ(findings[1],
              (Finding{Severity::medium, "text.doubled_word", "repeated words", "line 2, column 1",
                       "the the", "Line 2, column 1: “the the” says the same word twice."}));
    EXPECT_TRUE(list.take().empty());
}

TEST(FindingList, ACoordinateBeginsNoSentence) {
    const std::string text = "the the end";
    const auto detailAt = [&](const std::string& place) {
        const SourceText source(text, [&](std::size_t, std::size_t) { return place; });
        FindingList list(source);
        list.add(kWord, 0, 7, "says the same word twice");
        return list.take().at(0).detail;
    };
    EXPECT_EQ(detailAt("x 526, y 199, 30 x 14 px"),
              "At x 526, y 199, 30 x 14 px: “the the” says the same word twice.");
    EXPECT_EQ(detailAt("page 2"), "Page 2: “the the” says the same word twice.");
}

TEST(FindingList, KeepsTheOrderOfAddingWherePlacesAreTheCallers) {
    FindingList list;
    list.addAt(kNotAvailable, "cell B9", "#N/A", "The formula in cell B9 gives #N/A.");
    list.addAt(kError, "cell A1", "#REF!", "The formula in cell A1 gives #REF!.");
    const auto findings = list.take();
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0], (Finding{Severity::medium, "sheet.formula_error", "formula error",
                                    "cell B9", "#N/A", "The formula in cell B9 gives #N/A."}));
    EXPECT_EQ(findings[1].severity, Severity::high);
    EXPECT_EQ(findings[1].place, "cell A1");
}

TEST(FindingList, WhatIsNotListedIsCountedAlikeForTextsAndSheets) {
    const std::string text(kMostFindingsPerRule + 3, 'x');
    const SourceText source(text);
    FindingList ofText(source);
    FindingList ofSheet;
    for (std::size_t i = 0; i < text.size(); ++i) {
        ofText.add(kWord, i, 1, "is a letter");
        ofSheet.addAt(i + 1 == text.size() ? kError : kNotAvailable,
                      "cell A" + std::to_string(i + 1), "#N/A", "A formula fails.");
    }
    const auto inText = ofText.take();
    ASSERT_EQ(inText.size(), kMostFindingsPerRule + 1);
    EXPECT_EQ(inText.back().evidence, "3 more");
    EXPECT_EQ(inText.back().place, "line 1, column 51");
    EXPECT_EQ(inText.back().detail, "Line 1, column 51: “3 more” of the same kind are not listed, "
                                    "the first of them here.");
    const auto inSheet = ofSheet.take();
    ASSERT_EQ(inSheet.size(), kMostFindingsPerRule + 1);
    EXPECT_EQ(inSheet.back().detail,
              "Cell A51: “3 more” of the same kind are not listed, the first of them here.");
    EXPECT_EQ(inSheet.back().severity, Severity::high) << "the gravest of those not listed";
    EXPECT_EQ(inSheet.front().severity, Severity::medium);
}

TEST(FindingList, ExactlyTheMostIsNoMore) {
    FindingList list;
    for (std::size_t i = 0; i < kMostFindingsPerRule; ++i) {
        list.addAt(kError, "cell A1", "#REF!", "A formula fails.");
    }
    const auto findings = list.take();
    ASSERT_EQ(findings.size(), kMostFindingsPerRule);
    EXPECT_EQ(findings.back().evidence, "#REF!");
}

TEST(FindingList, NothingQuotesWhatIsHidden) {
    const std::string text = "key = abcdefgh, and more";
    const SourceText source(text);
    FindingList list(source);
    list.hide(6, 8);
    list.add(kWord, 0, text.size(), "tells");
    list.add(kWord, 8, 4, "tells");
    const auto findings = list.take();
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].evidence, "key = ab…, and more");
    EXPECT_EQ(findings[1].evidence, "ab…");
}

TEST(FindingList, EvidenceIsOneShortValidLine) {
    FindingList list;
    list.addAt(kError, "cell A1", "two\nlines\tand \xFF" + std::string(500, 'w'), "It fails.");
    const std::string evidence = list.take().front().evidence;
    EXPECT_TRUE(kelvane::text::isValidUtf8(evidence));
    EXPECT_EQ(kelvane::text::characterCount(evidence), kLongestEvidence);
    EXPECT_EQ(evidence.substr(0, 14), "two lines and ");
}

TEST(Shortened, CutsToTheLimit) {
    EXPECT_EQ(shortened("short", 10), "short");
    EXPECT_EQ(shortened("exactly ten", 11), "exactly ten");
    EXPECT_EQ(shortened("exactly ten", 10), "exactly t…");
    EXPECT_EQ(shortened("  a \r\n b\x01"
                        "c "),
              "a b c");
    // One character of very many bytes.
    std::string marks = "a";
    for (int i = 0; i < 4000; ++i) marks += "\xCC\x81";
    EXPECT_LE(shortened(marks).size(), 1300U);
    EXPECT_TRUE(kelvane::text::isValidUtf8(shortened(marks)));
}

TEST(SourceText, ANamerOfPlacesNamesThemAll) {
    const std::string text = "first page\nsecond page";
    const SourceText named(text, [](std::size_t offset, std::size_t length) {
        return "page " + std::to_string(offset < 11 ? 1 : 2) + ", " + std::to_string(length);
    });
    EXPECT_EQ(named.place(0, 5), "page 1, 5");
    EXPECT_EQ(named.place(18, 100), "page 2, 4"); // Not beyond the end.
    EXPECT_EQ(named.linePlace(12), "page 2, 0");
    EXPECT_EQ(SourceText(text).linePlace(12), "line 2");
    EXPECT_EQ(SourceText(text).place(12, 4), "line 2, column 2");
}

} // namespace
} // namespace trevix
