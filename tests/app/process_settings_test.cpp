#include "app/process_settings.h"

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace kelvane {
namespace {

using Env = std::map<std::string, std::string>;

TEST(ProcessSettings, ArgValueIsTheElementAfterTheFirstEqualOne) {
    const std::vector<std::string> list{"prog", "--catalog", "a.json", "--catalog", "b.json"};
    EXPECT_EQ(argValue(list, "--catalog"), "a.json");
}

TEST(ProcessSettings, SwitchAsLastArgumentHasNoValue) {
    EXPECT_EQ(argValue({"prog", "--catalog"}, "--catalog"), std::nullopt);
}

TEST(ProcessSettings, AbsentSwitchHasNoValue) {
    EXPECT_EQ(argValue({"prog", "x"}, "--catalog"), std::nullopt);
    EXPECT_EQ(argValue({}, "--catalog"), std::nullopt);
}

TEST(ProcessSettings, ValueMayLookLikeASwitch) {
    EXPECT_EQ(argValue({"prog", "--catalog", "--detect"}, "--catalog"), "--detect");
}

TEST(ProcessSettings, ValueMayBeEmpty) {
    EXPECT_EQ(argValue({"prog", "--catalog", ""}, "--catalog"), "");
}

TEST(ProcessSettings, ComparisonIsExactAndCaseSensitive) {
    EXPECT_EQ(argValue({"prog", "--Catalog", "x", "--catalogue", "y"}, "--catalog"), std::nullopt);
}

TEST(ProcessSettings, ElementZeroIsSearchedToo) {
    EXPECT_EQ(argValue({"--catalog", "x"}, "--catalog"), "x");
}

TEST(ProcessSettings, RecordsTheArgumentListWhole) {
    const char* const argv[] = {"prog", "--catalog", "some file.json"};
    recordArgs(3, argv);
    EXPECT_EQ(args(), (std::vector<std::string>{"prog", "--catalog", "some file.json"}));
    EXPECT_EQ(argValue("--catalog"), "some file.json");
    recordArgs(0, argv);
}

TEST(ProcessSettings, FlagCountsAsSetWithAnyValueTheEmptyOneIncluded) {
    EXPECT_TRUE(isSet(Env{{"BRASK_APP_NO_OPEN", ""}}, "BRASK_APP_NO_OPEN"));
    EXPECT_TRUE(isSet(Env{{"BRASK_APP_NO_OPEN", "0"}}, "BRASK_APP_NO_OPEN"));
    EXPECT_FALSE(isSet(Env{{"BRASK_APP_NO_OPEN_", "1"}}, "BRASK_APP_NO_OPEN"));
}

// The globals are computed once per process, so each value is looked at in a process of its own.
TEST(ProcessSettingsDeathTest, GlobalsAreASnapshotTakenOnFirstUse) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ::setenv("BRASK_APP_NO_OPEN", "", 1);
            ::setenv("BRASK_APP_NO_REFRESH", "", 1);
            ::unsetenv("BRASK_APP_NO_PERSIST");
            const bool open = kNoOpen() && kNoRefresh();
            const bool persist = kNoPersist();
            ::unsetenv("BRASK_APP_NO_OPEN");
            ::setenv("BRASK_APP_NO_PERSIST", "1", 1);
            const bool unchanged = kNoOpen() && !kNoPersist() &&
                                   kEnv().contains("BRASK_APP_NO_OPEN") &&
                                   !kEnv().contains("BRASK_APP_NO_PERSIST");
            std::_Exit(open && !persist && unchanged ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(ProcessSettings, HomeIsTheVariableWhenItIsNotEmpty) {
    FakePlatform fake;
    EXPECT_EQ(home(Env{{"HOME", "/does/not/exist"}}, fake.files), "/does/not/exist");
}

TEST(ProcessSettings, EmptyOrUnsetHomeFallsBackToTheAccount) {
    FakePlatform fake;
    fake.files.accountHome = "/home/ada";
    EXPECT_EQ(home(Env{{"HOME", ""}}, fake.files), "/home/ada");
    EXPECT_EQ(home(Env{}, fake.files), "/home/ada");
}

TEST(ProcessSettings, DataFolderIsBelowHomeAlsoWhenHomeDoesNotExist) {
    EXPECT_EQ(braskHome(std::filesystem::path("/does/not/exist")), "/does/not/exist/.brask");
}

TEST(ProcessSettings, AddressesAreHttpsOnTheServiceWithTheirPathsAndQuery) {
    EXPECT_TRUE(kConnectURL().starts_with("https://"));
    EXPECT_TRUE(kConnectURL().ends_with("/connect?from=macos-app"));
    EXPECT_TRUE(kCatalogURL().starts_with("https://"));
    EXPECT_TRUE(kCatalogURL().ends_with("/brask/app-catalog.json"));
    EXPECT_EQ(kConnectURL().find('/', 8), kConnectURL().find("/connect"));
}

TEST(ProcessSettings, IdentifierEndsInTheProductsMenubar) {
    EXPECT_TRUE(kBundleID.ends_with(".kelvane.menubar"));
}

} // namespace
} // namespace kelvane
