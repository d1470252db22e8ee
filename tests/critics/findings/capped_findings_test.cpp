#include "critics/findings/capped_findings.h"

#include "text/unicode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace trevix {
namespace {

Finding finding(const std::string& rule, const std::string& evidence = "x") {
    return {Severity::low, rule, "criterion", "cell A1", evidence, "Cell A1 holds x."};
}

TEST(CappedFindings, KeepsTheOrderOfAdding) {
    CappedFindings list;
    list.add(finding("b"));
    list.add(finding("a"));
    list.add(finding("b"));
    ASSERT_EQ(list.findings().size(), 3U);
    EXPECT_EQ(list.findings()[1].rule, "a");
    EXPECT_TRUE(list.has("a"));
    EXPECT_FALSE(list.has("c"));
}

TEST(CappedFindings, TheLastOneOfARuleTellsHowManyMore) {
    CappedFindings list;
    for (std::size_t i = 0; i < CappedFindings::kMostPerRule + 1; ++i) list.add(finding("a"));
    list.add(finding("b"));
    const auto findings = list.findings();
    ASSERT_EQ(findings.size(), CappedFindings::kMostPerRule + 1);
    EXPECT_EQ(findings[CappedFindings::kMostPerRule - 1].detail,
              "Cell A1 holds x. There is 1 more of this kind.");
    EXPECT_EQ(findings[0].detail, "Cell A1 holds x.");
    EXPECT_EQ(findings.back().detail, "Cell A1 holds x.");
}

TEST(CappedFindings, ExactlyTheMostIsNoMore) {
    CappedFindings list;
    for (std::size_t i = 0; i < CappedFindings::kMostPerRule; ++i) list.add(finding("a"));
    EXPECT_EQ(list.findings().back().detail, "Cell A1 holds x.");
}

TEST(CappedFindings, EvidenceIsPrintable) {
    CappedFindings list;
    list.add(finding("a", "two\nlines\tand \xFF" + std::string(500, 'w')));
    const std::string evidence = list.findings()[0].evidence;
    EXPECT_TRUE(kelvane::text::isValidUtf8(evidence));
    EXPECT_EQ(kelvane::text::characterCount(evidence), 120U);
    EXPECT_EQ(evidence.find('\n'), std::string::npos);
}

TEST(CappedFindings, PrintableCutsToTheLimit) {
    EXPECT_EQ(printable("short", 10), "short");
    EXPECT_EQ(printable("exactly ten", 11), "exactly ten");
    EXPECT_EQ(printable("exactly ten", 10), "exactly t…");
}

} // namespace
} // namespace trevix
