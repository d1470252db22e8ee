// What does the judge say it looked at, and how much was there?

#include "critics/findings/critique.h"

#include "tests/critics/critic_cases.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

TEST(Coverage, SaysEachThingOnce) {
    Coverage coverage;
    coverage.checked({"hunspell", "1.7", "spelling, English"});
    coverage.checked({"hunspell", "1.7", "spelling, English"});
    coverage.checked({"hunspell", "1.7", "spelling, French"});
    coverage.missed({"grammar", "nobody knows it", ""});
    coverage.missed({"grammar", "nobody knows it", ""});
    EXPECT_EQ(coverage.checkedBy.size(), 2U);
    EXPECT_EQ(coverage.notChecked.size(), 1U);
}

TEST(Critique, ASecondOpinionIsOfTheSameWork) {
    Critique first{{}, {10, 0, 0}, {{}, {}, false}};
    addSecondOpinion(first, {{Finding{}}, {12, 3, 0}, {{}, {}, true}});
    EXPECT_EQ(first.extent, (Extent{12, 3, 0}));
    EXPECT_EQ(first.findings.size(), 1U);
    EXPECT_TRUE(first.coverage.known);
}

TEST(Critique, AFurtherPartIsMoreWorkAndKnownOnlyWhenAllOfItIs) {
    Critique whole{{}, {10, 0, 0}, {{}, {}, true}};
    addPart(whole, {{Finding{}}, {12, 3, 4}, {{}, {}, false}});
    EXPECT_EQ(whole.extent, (Extent{22, 3, 4}));
    EXPECT_FALSE(whole.coverage.known);
}

Critique of(const Part& part, std::string modality = "") {
    Submission submission;
    submission.modality = std::move(modality);
    submission.parts.push_back(part);
    return critique(submission);
}

TEST(Critique, CountsWordsLinesOrCells) {
    EXPECT_EQ(of(textPart("Three plain words")).extent, (Extent{3, 0, 0}));
    EXPECT_EQ(of(textPart("int a;\n\n  \nint b;\n", "a.c", "text/x-code")).extent,
              (Extent{0, 2, 0}));
    EXPECT_EQ(of(textPart("a,b\n1,\n2,3\n", "a.csv", "text/csv")).extent, (Extent{0, 0, 5}));
}

TEST(Critique, KnowsTheLanguagesThatItHasAGrammarOf) {
    EXPECT_TRUE(of(textPart("x = 1\n", "a.py", "text/x-code")).coverage.known);
    EXPECT_TRUE(of(textPart("{\"a\": 1}\n", "a.json", "text/x-code")).coverage.known);
    EXPECT_TRUE(of(textPart("a: [1\n", "a.yaml", "text/x-code")).coverage.known);
    const Coverage coverage = of(textPart("x = 1\n", "a.zig", "text/x-code")).coverage;
    EXPECT_FALSE(coverage.known);
    ASSERT_EQ(coverage.notChecked.size(), 1U);
    EXPECT_EQ(coverage.notChecked[0].what, "syntax, a language that is not known here");
}

TEST(Critique, DoesNotReadOneLanguageByTheGrammarOfAnother) {
    const std::string text = "pub fn main() void {\n    const x: i32 = 1;\n    _ = x;\n}\n";
    const Critique critique = of(textPart(text, "a.zig", "text/x-code"));
    EXPECT_FALSE(critique.coverage.known);
    EXPECT_TRUE(critique.findings.empty());
}

TEST(Critique, SaysThatCodeWasTooLongForTheGrammar) {
    std::string text;
    while (text.size() < 61'000) text += "value = 1\n";
    const Coverage coverage = of(textPart(text, "a.py", "text/x-code")).coverage;
    EXPECT_FALSE(coverage.known);
    ASSERT_EQ(coverage.notChecked.size(), 1U);
    EXPECT_EQ(coverage.notChecked[0].why, "the text is longer than the parser can take");
}

TEST(Critique, DoesNotKnowWhatItCannotRead) {
    Part part;
    part.isText = false;
    part.mimeType = "application/x-thing";
    part.bytes = "abc";
    const Coverage coverage = of(part).coverage;
    EXPECT_FALSE(coverage.known);
    EXPECT_EQ(coverage.notChecked.size(), 1U);
}

TEST(Critique, KnowsNothingWhenItSeesIt) {
    EXPECT_TRUE(of(textPart("")).coverage.known);
    EXPECT_TRUE(critique(Submission{}).coverage.known);
}

} // namespace
} // namespace trevix
