#include "platform/posix/posix_platform.h"
#include "tests/platform/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

namespace kelvane {
namespace {

namespace fs = std::filesystem;

/// A bundle on disk: Kelvane.app/Contents/{MacOS/Kelvane, Resources/app-catalog.json,
/// Resources/kit/}.
class BundleResourcesTest : public testing::Test {
protected:
    BundleResourcesTest() {
        fs::create_directories(executable.parent_path());
        fs::create_directories(resources / "kit");
        putFile(executable, "");
        putFile(resources / "app-catalog.json", "{}");
        putFile(resources / "README", "");
    }

    static std::optional<fs::path> url(const fs::path& program, const std::string& name,
                                       const std::string& extension) {
        return makeBundleResources(program)->url(name, extension);
    }

    TemporaryFolder folder;
    fs::path contents = folder / "Kelvane.app/Contents";
    fs::path executable = contents / "MacOS/Kelvane";
    fs::path resources = contents / "Resources";
};

TEST_F(BundleResourcesTest, FindsAFileByNameAndExtension) {
    EXPECT_EQ(url(executable, "app-catalog", "json"), resources / "app-catalog.json");
}

TEST_F(BundleResourcesTest, WhatTheBundleLacksIsAbsent) {
    EXPECT_EQ(url(executable, "app-catalog", "txt"), std::nullopt);
    EXPECT_EQ(url(executable, "app-catalog", ""), std::nullopt);
    EXPECT_EQ(url(executable, "", "json"), std::nullopt);
    EXPECT_EQ(url(executable, "", ""), std::nullopt);
}

TEST_F(BundleResourcesTest, NoExtensionMeansTheBareName) {
    EXPECT_EQ(url(executable, "README", ""), resources / "README");
    EXPECT_EQ(url(executable, "kit", ""), resources / "kit");
}

TEST_F(BundleResourcesTest, KnowsTheBundleAndItsResourceFolder) {
    const auto bundle = makeBundleResources(executable);
    EXPECT_EQ(bundle->bundle(), folder / "Kelvane.app");
    EXPECT_EQ(bundle->resourceFolder(), resources);
}

TEST_F(BundleResourcesTest, KnowsTheBundleThroughALinkToTheProgram) {
    fs::create_symlink(executable, folder / "kelvane");
    EXPECT_EQ(makeBundleResources(folder / "kelvane")->bundle(), folder / "Kelvane.app");
}

TEST_F(BundleResourcesTest, BundleIsFoundThroughALinkToTheProgram) {
    fs::create_directories(folder / "bin");
    fs::create_symlink("../Kelvane.app/Contents/MacOS/Kelvane", folder / "bin/kelvane");
    EXPECT_EQ(url(folder / "bin/kelvane", "app-catalog", "json"), resources / "app-catalog.json");
}

TEST_F(BundleResourcesTest, BundleMayMoveAsAWhole) {
    fs::rename(folder / "Kelvane.app", folder / "Moved to here.app");
    EXPECT_EQ(url(folder / "Moved to here.app/Contents/MacOS/Kelvane", "app-catalog", "json"),
              folder / "Moved to here.app/Contents/Resources/app-catalog.json");
}

TEST_F(BundleResourcesTest, OutsideABundleNothingIsFound) {
    fs::create_directories(folder / "build/Resources");
    putFile(folder / "build/Resources/app-catalog.json", "{}");
    putFile(folder / "build/Kelvane", "");
    fs::create_directories(folder / "Contents/bin");
    fs::create_directories(folder / "Contents/Resources");
    putFile(folder / "Contents/bin/Kelvane", "");
    putFile(folder / "Contents/Resources/app-catalog.json", "{}");
    for (const fs::path& program :
         {folder / "build/Kelvane", folder / "Contents/bin/Kelvane", fs::path("Kelvane"),
          fs::path("/Kelvane"), fs::path("/"), fs::path()}) {
        EXPECT_EQ(url(program, "app-catalog", "json"), std::nullopt) << program;
        EXPECT_EQ(makeBundleResources(program)->bundle(), std::nullopt) << program;
        EXPECT_EQ(makeBundleResources(program)->resourceFolder(), std::nullopt) << program;
    }
}

TEST_F(BundleResourcesTest, BundleWithoutResourceFolderFindsNothing) {
    fs::remove_all(resources);
    EXPECT_EQ(url(executable, "app-catalog", "json"), std::nullopt);
    EXPECT_EQ(makeBundleResources(executable)->resourceFolder(), std::nullopt);
    EXPECT_EQ(makeBundleResources(executable)->bundle(), folder / "Kelvane.app");
}

TEST_F(BundleResourcesTest, ResourcesOutliveTheExecutableFile) {
    // As while an update replaces the program that is running.
    fs::remove(executable);
    EXPECT_EQ(url(executable, "app-catalog", "json"), resources / "app-catalog.json");
}

TEST(CurrentExecutable, IsThisTestProgram) {
    const auto program = currentExecutable();
    EXPECT_TRUE(program.is_absolute());
    EXPECT_TRUE(fs::is_regular_file(program));
    EXPECT_EQ(program.filename(), "platform_tests");
}

} // namespace
} // namespace kelvane
