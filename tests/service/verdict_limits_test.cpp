#include "service/verdict_limits.h"

#include "service/wire.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace trevix {
namespace {

using testing::SizeIs;

Finding finding(Severity severity, std::size_t number) {
    return {severity, "rule", "criterion", "line " + std::to_string(number), "evidence", "detail"};
}

TEST(VerdictLimits, AnOrdinaryVerdictStaysAsItIs) {
    Iteration verdict;
    verdict.intent = "Validate this.";
    verdict.band = Band::block;
    verdict.score = 0.4;
    verdict.parts = {{"a.txt", "text/plain", 7}};
    for (std::size_t i = 0; i < kMostFindings; ++i) {
        verdict.findings.push_back(finding(Severity::low, i));
    }
    verdict.coverage.checked({"trevix", "", "text"});
    EXPECT_EQ(withinLimits(verdict), verdict);
}

TEST(VerdictLimits, TheMostSevereFindingsStayInTheirOrderAndTheRestIsTold) {
    Iteration verdict;
    verdict.band = Band::block;
    for (std::size_t i = 0; i < 900; ++i) verdict.findings.push_back(finding(Severity::low, i));
    for (std::size_t i = 900; i < 1500; ++i) {
        verdict.findings.push_back(finding(i % 2 == 0 ? Severity::critical : Severity::medium, i));
    }
    verdict.findings.push_back(finding(Severity::high, 1500));
    const Iteration kept = withinLimits(verdict);
    ASSERT_THAT(kept.findings, SizeIs(kMostFindings));
    EXPECT_EQ(kept.band, Band::block);
    const auto count = [&](Severity severity) {
        return std::count_if(kept.findings.begin(), kept.findings.end(),
                             [&](const Finding& each) { return each.severity == severity; });
    };
    EXPECT_EQ(count(Severity::critical), 300);
    EXPECT_EQ(count(Severity::high), 1);
    EXPECT_EQ(count(Severity::medium), 300);
    EXPECT_EQ(count(Severity::low), 399);
    EXPECT_EQ(kept.findings[398].place, "line 398") << "of those that weigh the same the first";
    EXPECT_EQ(kept.findings[399].place, "line 900");
    ASSERT_THAT(kept.coverage.notChecked, SizeIs(1));
    EXPECT_EQ(kept.coverage.notChecked[0].what, "501 more findings");
}

TEST(VerdictLimits, WhatTheLargestWorkSaysFitsIntoSomeMegabytes) {
    Iteration verdict;
    const std::string longText(100'000, 'x');
    for (std::size_t i = 0; i < 5000; ++i) {
        const std::string text = std::to_string(i) + longText.substr(0, 5000);
        verdict.parts.push_back({text, text, 1});
        verdict.findings.push_back({Severity::low, text, text, text, text, text});
        verdict.coverage.checkedBy.push_back({text, text, text});
        verdict.coverage.notChecked.push_back({text, text, text});
    }
    verdict.intent = std::string(1'000'000, 'x');
    JobStatus status;
    status.state = JobState::completed;
    status.result = withinLimits(verdict);
    EXPECT_LT(statusJson(status).size(), 25'000'000U) << "were all of it at its limit";
    EXPECT_THAT(status.result->parts, SizeIs(kMostNamed));
    EXPECT_THAT(status.result->coverage.notChecked, SizeIs(kMostNamed + 3));
    EXPECT_EQ(status.result->intent.size(), kLongestIntent);
}

TEST(VerdictLimits, TextIsCutBetweenCharacters) {
    EXPECT_EQ(cutTo("", 3), "");
    EXPECT_EQ(cutTo("abcd", 4), "abcd");
    EXPECT_EQ(cutTo("abcde", 4), "a\xe2\x80\xa6");
    EXPECT_EQ(cutTo("a\xc3\xa4\xc3\xa4\xc3\xa4", 5), "a\xe2\x80\xa6");
    EXPECT_EQ(cutTo("a\xc3\xa4\xc3\xa4\xc3\xa4", 6), "a\xc3\xa4\xe2\x80\xa6");
    EXPECT_EQ(cutTo("\xf0\x9f\x98\x80 smile", 6), "\xe2\x80\xa6");
}

} // namespace
} // namespace trevix
