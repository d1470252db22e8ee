#include "text/build_version.h"

#include <gtest/gtest.h>

namespace kelvane::text {
namespace {

TEST(BuildVersion, IsTheProjectsOwn) {
    EXPECT_EQ(buildVersion(), PROJECT_VERSION_SAID);
}

} // namespace
} // namespace kelvane::text
