#include "service/http/request_target.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

TEST(RequestTarget, IsTakenApart) {
    EXPECT_EQ(requestTarget("/"), (RequestTarget{"/", {}}));
    EXPECT_EQ(
        requestTarget("/console?run=a%20b&x=1&run=second&flag&=empty"),
        (RequestTarget{"/console", {{"run", "a b"}, {"x", "1"}, {"flag", ""}, {"", "empty"}}}));
    EXPECT_EQ(requestTarget("/a+b?c+d=e+f"), (RequestTarget{"/a+b", {{"c d", "e f"}}}));
    EXPECT_EQ(requestTarget("/x?&&a=b=c&#rest"), (RequestTarget{"/x", {{"a", "b=c"}}}));
    EXPECT_EQ(requestTarget("/x?"), (RequestTarget{"/x", {}}));
}

TEST(RequestTarget, EscapesAreTwoDigitsAndNothingElse) {
    EXPECT_EQ(requestTarget("/%61pi/%2F%ff"), (RequestTarget{"/api//\xff", {}}));
    EXPECT_EQ(requestTarget("/%00x"), (RequestTarget{std::string("/\0x", 3), {}}));
    EXPECT_EQ(requestTarget("/%"), (RequestTarget{"/%", {}}));
    EXPECT_EQ(requestTarget("/%4"), (RequestTarget{"/%4", {}}));
    EXPECT_EQ(requestTarget("/%zz%4g%-1% 1"), (RequestTarget{"/%zz%4g%-1% 1", {}}));
    EXPECT_EQ(requestTarget("/%25%32%35"), (RequestTarget{"/%25", {}})) << "once, not twice";
}

TEST(RequestTarget, ThatIsNoPathIsAbsent) {
    for (const char* target : {"", "*", "http://127.0.0.1/", "x", "?run=1", "%2F"}) {
        EXPECT_EQ(requestTarget(target), std::nullopt) << target;
    }
}

} // namespace
} // namespace trevix
