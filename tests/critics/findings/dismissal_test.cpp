#include "critics/findings/dismissal.h"

#include <gtest/gtest.h>

#include <string>

namespace trevix {
namespace {

Finding finding(std::string rule, std::string place, std::string evidence) {
    return {Severity::medium, std::move(rule),     "criterion",
            std::move(place), std::move(evidence), "detail"};
}

TEST(Dismissal, HoldsByRuleAndEvidenceWhereverItStands) {
    UserSays says;
    Dismissal dismissal = dismissalOf(finding("r", "line 3", "teh (see line 4)"));
    dismissal.reason = "a name";
    dismissal.when = "now";
    says.dismissals = {dismissal};
    std::vector<Finding> findings{finding("r", "line 90", "teh (see line 91)"),
                                  finding("r", "line 3", "hte"),
                                  finding("other", "line 3", "teh (see line 4)")};
    const auto dismissed = takeDismissed(findings, says);
    ASSERT_EQ(dismissed.size(), 1U);
    EXPECT_EQ(dismissed[0].finding.place, "line 90");
    EXPECT_EQ(dismissed[0].reason, "a name");
    EXPECT_EQ(dismissed[0].when, "now");
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].evidence, "hte");
    EXPECT_EQ(findings[1].rule, "other");
}

TEST(Dismissal, WhatHidesItsEvidenceIsDismissedAtItsPlaceAlone) {
    for (const char* evidence : {"", "AKIA…", "password = \"hunt…\"", "12 more"}) {
        UserSays says;
        says.dismissals = {dismissalOf(finding("text.secret", "line 3", evidence))};
        std::vector<Finding> findings{finding("text.secret", "line 4", evidence),
                                      finding("text.secret", "line 3", evidence)};
        const auto dismissed = takeDismissed(findings, says);
        ASSERT_EQ(dismissed.size(), 1U) << evidence;
        EXPECT_EQ(dismissed[0].finding.place, "line 3");
    }
    EXPECT_TRUE(needsPlace("AKIA…"));
    EXPECT_FALSE(needsPlace("teh"));
    // A long quote that merely breaks off is the same one elsewhere.
    std::string cut;
    for (int i = 0; i < 119; ++i) cut += 'x';
    EXPECT_EQ(dismissalOf(finding("r", "line 3", cut + "…")).place, "");
    EXPECT_EQ(dismissalOf(finding("r", "line 3", "no more")).place, "");
}

TEST(Dismissal, OneWithAPlaceHoldsThereAlone) {
    UserSays says;
    says.dismissals = {{"r", "teh", "line 3", "", ""}};
    std::vector<Finding> findings{finding("r", "line 3", "teh"), finding("r", "line 4", "teh")};
    EXPECT_EQ(takeDismissed(findings, says).size(), 1U);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].place, "line 4");
}

TEST(Dismissal, AWordOfTheDictionaryIsNoSlip) {
    UserSays says;
    says.words = {"kelvane", "Trevix"};
    std::vector<Finding> findings{finding("text.spelling", "line 1", "Kelvane"),
                                  finding("text.spelling", "line 2", "Trevix"),
                                  finding("text.spelling", "line 3", "trevix"),
                                  finding("text.agreement", "line 4", "kelvane")};
    const auto dismissed = takeDismissed(findings, says);
    ASSERT_EQ(dismissed.size(), 2U);
    EXPECT_TRUE(dismissed[0].byDictionary);
    EXPECT_EQ(dismissed[1].finding.evidence, "Trevix");
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(wordInDictionary(finding("text.spelling", "", "Kelvane"), says), "kelvane");
    EXPECT_EQ(wordOf(finding("text.spelling", "", "two words")), "");
    EXPECT_EQ(wordOf(finding("text.spelling", "", "#x")), "");
}

TEST(Dismissal, WhoSaysNothingChangesNothing) {
    std::vector<Finding> findings{finding("r", "line 1", "x")};
    EXPECT_TRUE(takeDismissed(findings, {}).empty());
    EXPECT_EQ(findings.size(), 1U);
}

} // namespace
} // namespace trevix
