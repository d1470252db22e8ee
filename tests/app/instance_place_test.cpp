#include "app/instance_place.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

TEST(InstanceMessages, AreReadAsTheyWereWritten) {
    for (const GradeWish wish : {GradeWish::AsCatalog, GradeWish::Selection, GradeWish::Window}) {
        EXPECT_EQ(gradeWishOf(askGrade(wish)), wish);
    }
    for (const GradeBegun begun :
         {GradeBegun::Yes, GradeBegun::NothingInFront, GradeBegun::NoKey, GradeBegun::Already,
          GradeBegun::Paused, GradeBegun::NeverCaptured}) {
        EXPECT_EQ(gradeBegunOf(gradeReply(begun)), begun);
    }
}

TEST(InstanceMessages, OfAnotherKindAreNone) {
    for (const char* line : {"", "grade  window", "grade window ", "open", "status", "GRADE"}) {
        EXPECT_EQ(gradeWishOf(line), std::nullopt) << line;
    }
    for (const char* reply : {"", "unknown", "Done", "{}"}) {
        EXPECT_EQ(gradeBegunOf(reply), std::nullopt) << reply;
    }
}

TEST(InstancePlace, IsTheSocketOfADesktop) {
    EXPECT_EQ(instanceSocket("/run/user/7/k", "x11-_0"), "/run/user/7/k/x11-_0.socket");
}

} // namespace
} // namespace kelvane
