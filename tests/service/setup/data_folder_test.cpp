#include "service/setup/data_folder.h"

#include "tests/service/temporary_folder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>

#include <sys/stat.h>

namespace trevix {
namespace {

unsigned modeOf(const std::filesystem::path& path) {
    struct stat facts {};
    EXPECT_EQ(stat(path.c_str(), &facts), 0);
    return facts.st_mode & 07777U;
}

TEST(DataFolder, IsMadeWithThoseAboveItForItsOwnerOnly) {
    const TemporaryFolder temporary;
    const auto made = makeDataFolder(temporary.path() / "a" / "b/");
    ASSERT_TRUE(std::holds_alternative<std::filesystem::path>(made));
    EXPECT_EQ(std::get<std::filesystem::path>(made), temporary.path() / "a" / "b");
    EXPECT_EQ(modeOf(temporary.path() / "a"), 0700U);
    EXPECT_EQ(modeOf(temporary.path() / "a" / "b"), 0700U);
}

TEST(DataFolder, ThatIsThereKeepsItsMode) {
    const TemporaryFolder temporary;
    ASSERT_EQ(mkdir((temporary.path() / "d").c_str(), 0755), 0);
    ASSERT_EQ(chmod((temporary.path() / "d").c_str(), 0755), 0);
    EXPECT_TRUE(
        std::holds_alternative<std::filesystem::path>(makeDataFolder(temporary.path() / "d")));
    EXPECT_EQ(modeOf(temporary.path() / "d"), 0755U);
}

TEST(DataFolder, BelowAFileIsAnError) {
    const TemporaryFolder temporary;
    std::ofstream(temporary.path() / "file") << "x";
    const auto made = makeDataFolder(temporary.path() / "file" / "d");
    ASSERT_TRUE(std::holds_alternative<FolderError>(made));
    EXPECT_NE(std::get<FolderError>(made).text.find("cannot make the folder"), std::string::npos);
}

TEST(DataFolder, ThatCannotBeMadeSaysWhyNot) {
    const TemporaryFolder temporary;
    // Looking behind the link fails as well, and for another reason: there is no such folder.
    std::filesystem::create_symlink("nowhere", temporary.path() / "link");
    const auto made = makeDataFolder(temporary.path() / "link" / "d");
    ASSERT_TRUE(std::holds_alternative<FolderError>(made));
    EXPECT_EQ(std::get<FolderError>(made).text, "cannot make the folder " +
                                                    (temporary.path() / "link").string() + ": " +
                                                    std::strerror(EEXIST));
}

TEST(FolderLock, IsHeldByOneAndFreeAgainAfterwards) {
    const TemporaryFolder temporary;
    {
        const auto first = FolderLock::take(temporary.path());
        ASSERT_TRUE(std::holds_alternative<FolderLock>(first));
        const auto second = FolderLock::take(temporary.path());
        ASSERT_TRUE(std::holds_alternative<FolderError>(second));
        EXPECT_EQ(std::get<FolderError>(second).text,
                  "another trevix-local is using " + temporary.path().string());
    }
    EXPECT_TRUE(std::holds_alternative<FolderLock>(FolderLock::take(temporary.path())));
}

} // namespace
} // namespace trevix
