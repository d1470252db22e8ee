#include "text/xdg_folders.h"

#include <gtest/gtest.h>

namespace kelvane::text {
namespace {

TEST(XdgFolders, AnAbsoluteValueIsTheFolder) {
    EXPECT_EQ(xdgConfigHome("/etc/ada", "/home/ada"), "/etc/ada");
    EXPECT_EQ(xdgDataHome("/data/ada/", "/home/ada"), "/data/ada/");
    EXPECT_EQ(xdgDataHome("/data/ada", ""), "/data/ada");
}

TEST(XdgFolders, EveryOtherValueCountsAsNotThere) {
    for (const auto* const value : {"", "relative", "./here", "~/data", "\n/data"}) {
        EXPECT_EQ(xdgConfigHome(value, "/home/ada"), "/home/ada/.config") << value;
        EXPECT_EQ(xdgDataHome(value, "/home/ada"), "/home/ada/.local/share") << value;
        EXPECT_FALSE(xdgDataHome(value, "").is_absolute()) << value;
    }
}

} // namespace
} // namespace kelvane::text
