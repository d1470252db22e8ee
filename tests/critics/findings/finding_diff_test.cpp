#include "critics/findings/finding_diff.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

Finding finding(std::string rule, std::string place, std::string evidence) {
    Finding made;
    made.rule = std::move(rule);
    made.place = std::move(place);
    made.evidence = std::move(evidence);
    made.detail = "At " + made.place + ": " + made.evidence;
    return made;
}

using Findings = std::vector<Finding>;

TEST(CompareFindings, NothingAndNothingIsNothing) {
    EXPECT_EQ(compareFindings({}, {}), FindingDiff{});
}

TEST(CompareFindings, TellsFixedRemainingAndNewApart) {
    const Findings before{finding("r1", "line 1", "a"), finding("r2", "line 2", "b")};
    const Findings after{finding("r2", "line 2", "b"), finding("r3", "line 9", "c")};
    const FindingDiff diff = compareFindings(before, after);
    EXPECT_EQ(diff.fixed, Findings{before[0]});
    EXPECT_EQ(diff.remaining, Findings{after[0]});
    EXPECT_EQ(diff.fresh, Findings{after[1]});
}

TEST(CompareFindings, AFlawThatMovedIsNotNewAndIsShownWhereItIsNow) {
    const FindingDiff diff =
        compareFindings({finding("r", "line 5", "TODO")}, {finding("r", "line 50", "TODO")});
    EXPECT_EQ(diff.remaining, Findings{finding("r", "line 50", "TODO")});
    EXPECT_TRUE(diff.fixed.empty());
    EXPECT_TRUE(diff.fresh.empty());
}

TEST(CompareFindings, OtherEvidenceAtTheSamePlaceRemains) {
    const FindingDiff diff = compareFindings({finding("reading", "the whole text", "grade 14.2")},
                                             {finding("reading", "the whole text", "grade 13.8")});
    EXPECT_EQ(diff.remaining, Findings{finding("reading", "the whole text", "grade 13.8")});
    EXPECT_TRUE(diff.fixed.empty());
    EXPECT_TRUE(diff.fresh.empty());
}

TEST(CompareFindings, OtherEvidenceElsewhereIsFixedAndNew) {
    const FindingDiff diff =
        compareFindings({finding("r", "line 1", "a")}, {finding("r", "line 2", "b")});
    EXPECT_EQ(diff.fixed.size(), 1U);
    EXPECT_EQ(diff.fresh.size(), 1U);
    EXPECT_TRUE(diff.remaining.empty());
}

TEST(CompareFindings, AnotherRuleAtTheSamePlaceIsNew) {
    const FindingDiff diff =
        compareFindings({finding("r1", "line 1", "a")}, {finding("r2", "line 1", "a")});
    EXPECT_EQ(diff.fixed.size(), 1U);
    EXPECT_EQ(diff.fresh.size(), 1U);
}

TEST(CompareFindings, OfThreeEqualFlawsOneMendedLeavesTwo) {
    const Findings before{finding("r", "line 1", "x"), finding("r", "line 2", "x"),
                          finding("r", "line 3", "x")};
    const Findings after{finding("r", "line 1", "x"), finding("r", "line 3", "x")};
    const FindingDiff diff = compareFindings(before, after);
    EXPECT_EQ(diff.fixed, Findings{before[1]}) << "the one whose place is gone";
    EXPECT_EQ(diff.remaining, after);
    EXPECT_TRUE(diff.fresh.empty());
}

TEST(CompareFindings, TheSameFlawOnceMoreIsNew) {
    const FindingDiff diff = compareFindings(
        {finding("r", "line 4", "x")}, {finding("r", "line 2", "x"), finding("r", "line 4", "x")});
    EXPECT_EQ(diff.fresh, Findings{finding("r", "line 2", "x")});
    EXPECT_EQ(diff.remaining, Findings{finding("r", "line 4", "x")});
}

TEST(CompareFindings, AMovedFlawIsPairedBeforeAChangedOne) {
    // "a" went from line 1 to line 2, where "b" was, which is mended.
    const FindingDiff diff = compareFindings(
        {finding("r", "line 1", "a"), finding("r", "line 2", "b")}, {finding("r", "line 2", "a")});
    EXPECT_EQ(diff.remaining, Findings{finding("r", "line 2", "a")});
    EXPECT_EQ(diff.fixed, Findings{finding("r", "line 2", "b")});
}

TEST(CompareFindings, EvidenceThatOnlyNamesOtherLinesIsTheSame) {
    const FindingDiff diff = compareFindings({finding("repeat", "line 3", "same as line 9")},
                                             {finding("repeat", "line 5", "same as line 11")});
    EXPECT_EQ(diff.remaining.size(), 1U);
    EXPECT_TRUE(diff.fresh.empty());
}

TEST(WithoutPlaces, TakesOutWhereAndLeavesWhat) {
    const struct {
        const char* evidence;
        const char* kept;
    } cases[] = {
        {"line 12", "line #"},
        {"Line 3, column 48", "Line #, column #"},
        {"cell C4 is 12", "cell # is 12"},
        {"cells AB17 and rows 3", "cells # and rows #"},
        {"part 2 (selection)", "part # (selection)"},
        {"grade 14", "grade 14"},
        {"deadline 14", "deadline 14"},
        {"page 4th", "page 4th"},
        {"line", "line"},
        {"line ", "line "},
        {"line up", "line up"},
        {"", ""},
        {"Zeile 3 über line 4 ü", "Zeile 3 über line # ü"},
    };
    for (const auto& [evidence, kept] : cases) EXPECT_EQ(withoutPlaces(evidence), kept);
}

} // namespace
} // namespace trevix
