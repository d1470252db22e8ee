#include "app/verdict_text.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

Verdict graded(Band band, double score, std::vector<Flaw> flaws) {
    Verdict verdict;
    verdict.band = band;
    verdict.score = score;
    verdict.flaws = std::move(flaws);
    return verdict;
}

TEST(VerdictText, ShowsBandScoreAndEveryFlaw) {
    EXPECT_EQ(verdictText(graded(Band::route_to_fix, 0.625,
                                 {{"HIGH", "contrast", "too low"}, {"LOW", "spacing", ""}})),
              "band   route to fix\n"
              "score  0.62\n"
              "flaws (2)\n"
              "  HIGH      contrast: too low\n"
              "  LOW       spacing\n");
}

TEST(VerdictText, WithoutFlawsSaysWhetherTheWorkClears) {
    EXPECT_EQ(verdictText(graded(Band::ship, 1, {})), "band   ship\nscore  1.00\nno flaws\n");
    Verdict held;
    held.band = Band::quarantine;
    EXPECT_EQ(verdictText(held),
              "band   quarantine\nscore  no score\nno itemised flaws returned\n");
}

TEST(VerdictText, FailureShowsItsErrorAndWhetherTheGraderWasWarming) {
    auto verdict = Verdict::failure("grade timed out after 420s");
    EXPECT_EQ(verdictText(verdict), "not graded: grade timed out after 420s\n");
    verdict.warming = true;
    EXPECT_EQ(verdictText(verdict),
              "not graded: grade timed out after 420s\nthe grader was still warming up\n");
}

TEST(VerdictText, ControlCharactersOfAFlawAreMadeVisible) {
    const auto text =
        verdictText(graded(Band::block, 0, {{"H\nIGH", "c\x1b[2J", std::string("d\0\x7f", 3)}}));
    EXPECT_NE(text.find("H\\x0AIGH"), std::string::npos);
    EXPECT_NE(text.find("c\\x1B[2J"), std::string::npos);
    EXPECT_NE(text.find("d\\x00\\x7F"), std::string::npos);
    EXPECT_EQ(text.find('\x1b'), std::string::npos);
}

TEST(VerdictText, VisibleControlsLeavesOtherTextAlone) {
    EXPECT_EQ(withVisibleControls("naïve – 日本語 🙂"), "naïve – 日本語 🙂");
    EXPECT_EQ(withVisibleControls("\xC2\x9B"
                                  "31m"),
              "\\x9B31m");
    EXPECT_EQ(withVisibleControls("\xC2\xA0"), "\xC2\xA0");
    EXPECT_EQ(withVisibleControls("\xC2"), "\xC2");
}

TEST(ChangeText, TellsFixedRemainingAndNewApart) {
    const Flaw fixed{"HIGH", "a", "1"};
    const Flaw kept{"LOW", "b", "2"};
    const Flaw added{"LOW", "c", "3"};
    EXPECT_EQ(
        changeText(graded(Band::block, 0.1, {fixed, kept}), graded(Band::ship, 0.9, {kept, added})),
        "band   block -> ship\n"
        "score  0.10 -> 0.90\n"
        "fixed (1)\n"
        "  HIGH      a: 1\n"
        "remaining (1)\n"
        "  LOW       b: 2\n"
        "new (1)\n"
        "  LOW       c: 3\n");
}

TEST(ChangeText, EqualFlawsAreMatchedOneToOne) {
    const Flaw flaw{"LOW", "a", "1"};
    const auto text =
        changeText(graded(Band::ship, 0.9, {flaw, flaw, flaw}), graded(Band::ship, 0.9, {flaw}));
    EXPECT_NE(text.find("fixed (2)"), std::string::npos);
    EXPECT_NE(text.find("remaining (1)"), std::string::npos);
    EXPECT_EQ(text.find("new"), std::string::npos);
}

TEST(ChangeText, AFailedReGradeShowsItsError) {
    EXPECT_EQ(changeText(graded(Band::ship, 1, {}), Verdict::failure("gone")),
              "not graded: gone\n");
}

} // namespace
} // namespace kelvane
