#include "service/report/page_action.h"

#include <gtest/gtest.h>

#include <string>

namespace trevix {
namespace {

TEST(PageAction, AFormIsRead) {
    const auto action =
        parsePageAction("token=t%31&finding=00ff&reason=It+is+%22fine%22+%C3%A9&do=dismiss");
    ASSERT_TRUE(action);
    EXPECT_EQ(action->kind, PageAction::Kind::dismiss);
    EXPECT_EQ(action->token, "t1");
    EXPECT_EQ(action->finding, "00ff");
    EXPECT_EQ(action->reason, "It is \"fine\" é");
    for (const auto kind : {PageAction::Kind::undo, PageAction::Kind::addWord,
                            PageAction::Kind::removeWord, PageAction::Kind::dismiss}) {
        const auto one = parsePageAction("finding=1&do=" + std::string(name(kind)));
        ASSERT_TRUE(one) << name(kind);
        EXPECT_EQ(one->kind, kind);
    }
}

TEST(PageAction, AnythingElseIsNotUnderstood) {
    for (const std::string& body :
         {std::string(), std::string("do=dismiss"), std::string("finding=1"),
          std::string("finding=1&do=destroy"), std::string("finding=1&do"),
          std::string("finding=%zz&do=undo"), std::string("finding=%f&do=undo"),
          std::string("finding=%ff&do=undo"), std::string("{\"do\":\"undo\"}"),
          "finding=1&do=undo&reason=" + std::string(kLargestForm, 'x')}) {
        EXPECT_FALSE(parsePageAction(body)) << body.substr(0, 60);
    }
}

TEST(PageAction, AKeyTellsFindingsApart) {
    const Finding one{Severity::low, "rule", "c", "line 1", "evidence", "d"};
    Finding other = one;
    other.criterion = "x";
    EXPECT_EQ(findingKey(one), findingKey(other));
    EXPECT_EQ(findingKey(one).size(), 16U);
    other = one;
    other.place = "line 2";
    EXPECT_NE(findingKey(one), findingKey(other));
    EXPECT_NE(findingKey({Severity::low, "ab", "", "", "c", ""}),
              findingKey({Severity::low, "a", "", "", "bc", ""}));
}

} // namespace
} // namespace trevix
