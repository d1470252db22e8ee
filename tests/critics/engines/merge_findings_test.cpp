// Is one slip one finding, whoever noticed it?

#include "critics/engines/merge_findings.h"

#include "tests/critics/engines/recorded.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace trevix {
namespace {

using testing::ElementsAre;

Finding found(std::string rule, std::string place, Severity severity = Severity::high) {
    return {severity, std::move(rule), "", std::move(place), "", ""};
}

std::vector<std::string> merged(std::vector<Finding> known, std::vector<Finding> more) {
    mergeFindings(known, std::move(more));
    return rulesIn(known);
}

TEST(MergeFindings, TheSameSubjectOnTheSameLineIsOneSlip) {
    EXPECT_THAT(merged({found("code.runs_text", "line 3, column 1")},
                       {found("bandit.B602", "line 3, column 9")}),
                ElementsAre("code.runs_text"));
    EXPECT_THAT(merged({found("bandit.B501", "line 3, column 1")},
                       {found("ruff.S501", "line 3, column 9")}),
                ElementsAre("bandit.B501"));
    EXPECT_THAT(merged({found("bandit.B303", "line 3, column 1")},
                       {found("ruff.S324", "line 3, column 9")}),
                ElementsAre("bandit.B303"));
}

TEST(MergeFindings, AnotherLineOrSubjectIsAnotherSlip) {
    EXPECT_THAT(merged({found("code.runs_text", "line 3, column 1")},
                       {found("bandit.B602", "line 13, column 1")}),
                ElementsAre("code.runs_text", "bandit.B602"));
    EXPECT_THAT(merged({found("code.runs_text", "line 3, column 1")},
                       {found("bandit.B506", "line 3, column 1")}),
                ElementsAre("code.runs_text", "bandit.B506"));
    EXPECT_THAT(merged({found("bandit.B501", "line 3, column 1")},
                       {found("ruff.S502", "line 3, column 1")}),
                ElementsAre("bandit.B501", "ruff.S502"));
    EXPECT_THAT(
        merged({found("code.todo", "line 3, column 1")}, {found("code.todo", "line 3, column 1")}),
        ElementsAre("code.todo", "code.todo"));
}

Finding said(std::string rule, std::string place, std::string words,
             Severity severity = Severity::medium) {
    Finding finding = found(std::move(rule), std::move(place), severity);
    finding.evidence = std::move(words);
    return finding;
}

TEST(MergeFindings, OfProseTheSameWordsAreOneSlip) {
    EXPECT_THAT(merged({said("text.agreement", "line 1, column 9", "she don't")},
                       {said("harper.Agreement", "line 1, column 13", "don't"),
                        said("languagetool.HE_VERB_AGR", "line 1, column 18", "know")}),
                ElementsAre("text.agreement", "languagetool.HE_VERB_AGR"));
    EXPECT_THAT(merged({said("text.spelling", "line 1, column 9", "teh", Severity::low)},
                       {said("harper.Grammar", "line 1, column 9", "teh")}),
                ElementsAre("harper.Grammar"))
        << "the graver";
    EXPECT_THAT(merged({said("text.agreement", "line 1, column 9", "she don't")},
                       {said("harper.Agreement", "line 2, column 9", "don't")}),
                ElementsAre("text.agreement", "harper.Agreement"));
    EXPECT_THAT(merged({said("text.spelling", "part 2 (a.md), line 1, column 9", "teh")},
                       {said("model.language", "part 2 (a.md), line 1, column 9", "teh")}),
                ElementsAre("text.spelling", "model.language"))
        << "a model's word is another matter";
}

TEST(MergeFindings, SecondOpinionsOfMarkdownScriptsAndSecretsAreOneSlip) {
    EXPECT_THAT(merged({found("document.empty_link", "line 3, column 1")},
                       {found("markdownlint.MD042", "line 3, column 9")}),
                ElementsAre("document.empty_link"));
    EXPECT_THAT(merged({found("oxlint.no-dupe-keys", "line 3, column 1")},
                       {found("biome.noDuplicateObjectKeys", "line 3, column 9")}),
                ElementsAre("oxlint.no-dupe-keys"));
    EXPECT_THAT(merged({found("text.secret", "line 3, column 1", Severity::critical)},
                       {found("gitleaks.github-pat", "line 3, column 9")}),
                ElementsAre("text.secret"));
}

TEST(MergeFindings, TextThatDoesNotParseIsOneSlipWhereverItWasNoticed) {
    EXPECT_THAT(merged({found("code.syntax", "line 3, column 1")},
                       {found("python.syntax", "line 90, column 1")}),
                ElementsAre("code.syntax"));
    EXPECT_THAT(merged({found("bash.syntax", "line 9, column 1")},
                       {found("shellcheck.SC1046", "line 2, column 1"),
                        found("shellcheck.SC2086", "line 2, column 1", Severity::medium)}),
                ElementsAre("bash.syntax", "shellcheck.SC2086"));
    // A lone bracket in one place says nothing about another.
    EXPECT_THAT(merged({found("code.unclosed_bracket", "line 3, column 1", Severity::medium)},
                       {found("python.syntax", "line 90, column 1")}),
                ElementsAre("code.unclosed_bracket", "python.syntax"));
}

TEST(MergeFindings, OfTwoTheGraverStaysInItsPlace) {
    EXPECT_THAT(merged({found("code.unclosed_bracket", "line 3, column 1", Severity::medium),
                        found("code.todo", "line 9, column 1", Severity::low)},
                       {found("python.syntax", "line 3, column 1")}),
                ElementsAre("python.syntax", "code.todo"));
    EXPECT_THAT(merged({found("code.secret", "line 3, column 1", Severity::critical)},
                       {found("bandit.B105", "line 3, column 1", Severity::low)}),
                ElementsAre("code.secret"));
    EXPECT_THAT(merged({found("code.guessable_secret", "line 3, column 5", Severity::medium)},
                       {found("ruff.S311", "line 3, column 14", Severity::low)}),
                ElementsAre("code.guessable_secret"));
}

TEST(MergeFindings, WhatWasReadToBeTheAuthorsOwnTextIsNoneTheWorseForWhoDidNotLook) {
    const Finding own = found("code.runs_text", "line 3, column 1", Severity::low);
    EXPECT_THAT(merged({own}, {found("bandit.B602", "line 3, column 1")}),
                ElementsAre("code.runs_text"));
    EXPECT_THAT(merged({found("ruff.S307", "line 3, column 1")}, {own}),
                ElementsAre("code.runs_text"));
    EXPECT_THAT(merged({found("code.runs_text", "line 3, column 1", Severity::low),
                        found("code.runs_text", "line 3, column 30")},
                       {found("bandit.B602", "line 3, column 1")}),
                ElementsAre("code.runs_text", "code.runs_text"));
    EXPECT_THAT(merged({found("ruff.S602", "line 3, column 1", Severity::low)},
                       {found("bandit.B602", "line 3, column 1")}),
                ElementsAre("bandit.B602"))
        << "between two who did not look the graver stays";
}

TEST(MergeFindings, TwoOfOneCriticAreTwo) {
    EXPECT_THAT(merged({}, {found("bandit.B602", "line 3, column 1"),
                            found("bandit.B602", "line 3, column 1")}),
                ElementsAre("bandit.B602", "bandit.B602"));
}

TEST(MergeFindings, WithoutALineNothingIsTheSame) {
    EXPECT_THAT(merged({found("code.syntax", "part 1")}, {found("python.syntax", "part 1")}),
                ElementsAre("code.syntax", "python.syntax"));
}

TEST(MergeCritique, PutsCoverageTogetherToo) {
    Critique own;
    own.findings = {found("code.runs_text", "line 3, column 1")};
    own.coverage.checked({"trevix", "1", "habits"});
    own.extent.lines = 7;
    Critique other;
    other.findings = {found("bandit.B602", "line 3, column 9"), found("bandit.B506", "line 4")};
    other.coverage.checked({"Bandit", "1.7", "security, Python"});
    other.coverage.known = true;
    mergeCritique(own, std::move(other));
    EXPECT_THAT(rulesIn(own.findings), ElementsAre("code.runs_text", "bandit.B506"));
    EXPECT_EQ(own.coverage.checkedBy.size(), 2U);
    EXPECT_TRUE(own.coverage.known);
    EXPECT_EQ(own.extent.lines, 7U);
}

TEST(LineOf, IsTheNumberThatAPlaceBeginsWith) {
    EXPECT_EQ(lineOf("line 12, column 5"), 12U);
    EXPECT_EQ(lineOf("line 3"), 3U);
    EXPECT_EQ(lineOf("part 2 (a.py), line 12, column 5"), 12U);
    EXPECT_EQ(lineOf("part 2 (odd, line 7), line 12, column 5"), 12U);
    EXPECT_EQ(lineOf("line "), std::nullopt);
    EXPECT_EQ(lineOf("cell C4"), std::nullopt);
    EXPECT_EQ(lineOf(""), std::nullopt);
}

} // namespace
} // namespace trevix
