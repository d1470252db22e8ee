// What every file system promises, asked of the fake and of the real one.

#include "platform/fake/fakes.h"
#include "platform/posix/posix_platform.h"
#include "tests/platform/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {
namespace {

enum class Side { Fake, Posix };

class FileSystemContract : public testing::TestWithParam<Side> {
protected:
    FileSystemContract() { m_fake.files.folders.insert("/folder/of/the test"); }

    FileSystem& files() { return GetParam() == Side::Fake ? m_fake.files : *m_posix; }

    /// A path in the test's own folder, which exists and is empty at first.
    std::filesystem::path at(const std::string& name) const {
        return (GetParam() == Side::Fake ? std::filesystem::path("/folder/of/the test")
                                         : m_folder.path()) /
               name;
    }

private:
    FakePlatform m_fake;
    TemporaryFolder m_folder;
    std::unique_ptr<FileSystem> m_posix = makePosixFileSystem();
};

TEST_P(FileSystemContract, WhatIsMissingIsAbsent) {
    EXPECT_EQ(files().read(at("f")), std::nullopt);
    EXPECT_FALSE(files().exists(at("f")));
    EXPECT_FALSE(files().remove(at("f")));
    EXPECT_EQ(files().read(at("no/f")), std::nullopt);
    EXPECT_FALSE(files().exists(at("no/f")));
}

TEST_P(FileSystemContract, WrittenBytesComeBack) {
    const std::string bytes("a\0\r\n\xff\xfe z", 8);
    EXPECT_TRUE(files().writeAtomically(at("f"), bytes));
    EXPECT_TRUE(files().exists(at("f")));
    EXPECT_EQ(files().read(at("f")), bytes);
}

TEST_P(FileSystemContract, APrivateFileIsWrittenWithItsFolder) {
    EXPECT_TRUE(files().writePrivately(at("new/f"), "x"));
    EXPECT_EQ(files().read(at("new/f")), "x");
    EXPECT_TRUE(files().writePrivately(at("new/f"), "y"));
    EXPECT_EQ(files().read(at("new/f")), "y");
    EXPECT_FALSE(files().writePrivately(at("new/f/below"), "z"));
    EXPECT_EQ(files().read(at("new/f")), "y");
}

TEST_P(FileSystemContract, EmptyFileIsThereAndEmpty) {
    EXPECT_TRUE(files().writeAtomically(at("f"), ""));
    EXPECT_TRUE(files().exists(at("f")));
    EXPECT_EQ(files().read(at("f")), "");
}

TEST_P(FileSystemContract, WritingAgainReplacesTheWhole) {
    EXPECT_TRUE(files().writeAtomically(at("f"), "a long text"));
    EXPECT_TRUE(files().writeAtomically(at("f"), "short"));
    EXPECT_EQ(files().read(at("f")), "short");
}

TEST_P(FileSystemContract, NamesMayHoldAnything) {
    for (const char* name : {" ", "a b", "\u00e9\U0001F600", "-x", ".hidden", "a\\b", "*"}) {
        EXPECT_TRUE(files().writeAtomically(at(name), name)) << name;
        EXPECT_EQ(files().read(at(name)), name);
    }
}

TEST_P(FileSystemContract, FolderIsNoFile) {
    EXPECT_TRUE(files().createDirectories(at("d")));
    EXPECT_TRUE(files().exists(at("d")));
    EXPECT_TRUE(files().exists(at("d/")));
    EXPECT_EQ(files().read(at("d")), std::nullopt);
    EXPECT_FALSE(files().writeAtomically(at("d"), "x"));
    EXPECT_FALSE(files().writeAtomically(at("d/"), "x"));
    EXPECT_FALSE(files().remove(at("d")));
    EXPECT_TRUE(files().exists(at("d")));
}

TEST_P(FileSystemContract, FileIsNoFolder) {
    EXPECT_TRUE(files().writeAtomically(at("f"), "x"));
    EXPECT_FALSE(files().exists(at("f/")));
    EXPECT_EQ(files().read(at("f/")), std::nullopt);
    EXPECT_FALSE(files().exists(at("f/below")));
    EXPECT_FALSE(files().writeAtomically(at("f/below"), "y"));
    EXPECT_FALSE(files().createDirectories(at("f")));
    EXPECT_FALSE(files().createDirectories(at("f/below")));
    EXPECT_FALSE(files().createDirectories(at("f/far/below")));
    EXPECT_EQ(files().read(at("f")), "x");
}

TEST_P(FileSystemContract, MissingFoldersAreMadeAllTheWay) {
    EXPECT_TRUE(files().createDirectories(at("a/b/c")));
    for (const char* folder : {"a", "a/b", "a/b/c"}) EXPECT_TRUE(files().exists(at(folder)));
    EXPECT_TRUE(files().writeAtomically(at("a/b/c/f"), "x"));
    EXPECT_TRUE(files().writeAtomically(at("a/f"), "x"));
}

TEST_P(FileSystemContract, MakingAFolderThatIsThereSucceeds) {
    EXPECT_TRUE(files().createDirectories(at("d")));
    EXPECT_TRUE(files().writeAtomically(at("d/f"), "x"));
    EXPECT_TRUE(files().createDirectories(at("d")));
    EXPECT_TRUE(files().createDirectories(at("d/")));
    EXPECT_TRUE(files().createDirectories("/"));
    EXPECT_EQ(files().read(at("d/f")), "x");
}

TEST_P(FileSystemContract, TrailingSlashMakesTheSameFolder) {
    EXPECT_TRUE(files().createDirectories(at("d/e/")));
    EXPECT_TRUE(files().exists(at("d/e")));
}

TEST_P(FileSystemContract, WritingMakesNoFolders) {
    EXPECT_FALSE(files().writeAtomically(at("no/f"), "x"));
    EXPECT_FALSE(files().exists(at("no")));
}

TEST_P(FileSystemContract, RemovedFileIsGoneAndItsFolderStays) {
    EXPECT_TRUE(files().createDirectories(at("d")));
    EXPECT_TRUE(files().writeAtomically(at("d/f"), "x"));
    EXPECT_TRUE(files().remove(at("d/f")));
    EXPECT_FALSE(files().exists(at("d/f")));
    EXPECT_EQ(files().read(at("d/f")), std::nullopt);
    EXPECT_FALSE(files().remove(at("d/f")));
    EXPECT_TRUE(files().exists(at("d")));
}

// --- trees ---------------------------------------------------------------------------------------

TEST_P(FileSystemContract, ListedNamesAreSortedAndHoldHiddenOnes) {
    EXPECT_TRUE(files().createDirectories(at("d/b/below")));
    for (const char* name : {"d/c", "d/a", "d/.hidden", "d/B"}) {
        EXPECT_TRUE(files().writeAtomically(at(name), "x"));
    }
    const std::vector<std::string> names{".hidden", "B", "a", "b", "c"};
    EXPECT_EQ(files().list(at("d")), names);
    EXPECT_EQ(files().list(at("d/")), names);
}

TEST_P(FileSystemContract, EmptyFolderListsNothingAndWhatIsNoFolderIsAbsent) {
    EXPECT_TRUE(files().createDirectories(at("d")));
    EXPECT_TRUE(files().writeAtomically(at("f"), "x"));
    EXPECT_EQ(files().list(at("d")), std::vector<std::string>{});
    EXPECT_EQ(files().list(at("f")), std::nullopt);
    EXPECT_EQ(files().list(at("no")), std::nullopt);
    EXPECT_EQ(files().list(""), std::nullopt);
}

TEST_P(FileSystemContract, RemovedTreeIsGoneWithEverythingInItAndNothingBesideIt) {
    EXPECT_TRUE(files().createDirectories(at("d/a/b")));
    EXPECT_TRUE(files().writeAtomically(at("d/a/f"), "x"));
    EXPECT_TRUE(files().writeAtomically(at("d/f"), "x"));
    EXPECT_TRUE(files().writeAtomically(at("da"), "stays"));
    EXPECT_TRUE(files().removeTree(at("d/a")));
    EXPECT_EQ(files().list(at("d")), std::vector<std::string>{"f"});
    EXPECT_TRUE(files().removeTree(at("d/")));
    EXPECT_FALSE(files().exists(at("d")));
    EXPECT_EQ(files().read(at("da")), "stays");
}

TEST_P(FileSystemContract, RemovingATreeRemovesAFileToo) {
    EXPECT_TRUE(files().writeAtomically(at("f"), "x"));
    EXPECT_TRUE(files().removeTree(at("f")));
    EXPECT_FALSE(files().exists(at("f")));
    EXPECT_TRUE(files().exists(at("")));
}

TEST_P(FileSystemContract, NothingToRemoveIsAFailure) {
    for (const char* name : {"no", "no/f"}) EXPECT_FALSE(files().removeTree(at(name))) << name;
    EXPECT_FALSE(files().removeTree("/"));
    EXPECT_FALSE(files().removeTree(""));
}

TEST_P(FileSystemContract, CopiedFileIsTheSameAndTheOriginalStays) {
    const std::string bytes("a\0\xff", 3);
    EXPECT_TRUE(files().writeAtomically(at("f"), bytes));
    EXPECT_TRUE(files().copyTree(at("f"), at("g")));
    EXPECT_EQ(files().read(at("g")), bytes);
    EXPECT_EQ(files().read(at("f")), bytes);
}

TEST_P(FileSystemContract, CopiedFolderHoldsEverything) {
    EXPECT_TRUE(files().createDirectories(at("d/empty")));
    EXPECT_TRUE(files().createDirectories(at("d/a/b")));
    EXPECT_TRUE(files().writeAtomically(at("d/a/b/f"), "deep"));
    EXPECT_TRUE(files().writeAtomically(at("d/.hidden"), ""));
    EXPECT_TRUE(files().copyTree(at("d/"), at("copy/")));
    EXPECT_EQ(files().list(at("copy")), (std::vector<std::string>{".hidden", "a", "empty"}));
    EXPECT_EQ(files().list(at("copy/empty")), std::vector<std::string>{});
    EXPECT_EQ(files().read(at("copy/a/b/f")), "deep");
    EXPECT_EQ(files().read(at("d/a/b/f")), "deep");
}

TEST_P(FileSystemContract, CopyOntoSomethingFailsAndLeavesIt) {
    EXPECT_TRUE(files().createDirectories(at("d")));
    EXPECT_TRUE(files().createDirectories(at("empty")));
    EXPECT_TRUE(files().writeAtomically(at("d/f"), "new"));
    EXPECT_TRUE(files().writeAtomically(at("f"), "old"));
    for (const char* target : {"f", "empty", "d", "d/f"}) {
        EXPECT_FALSE(files().copyTree(at("d"), at(target))) << target;
        EXPECT_FALSE(files().copyTree(at("d/f"), at(target))) << target;
    }
    EXPECT_EQ(files().read(at("f")), "old");
    EXPECT_EQ(files().list(at("empty")), std::vector<std::string>{});
    EXPECT_EQ(files().list(at("d")), std::vector<std::string>{"f"});
}

TEST_P(FileSystemContract, CopyOfNothingOrToNowhereFails) {
    EXPECT_TRUE(files().writeAtomically(at("f"), "x"));
    EXPECT_FALSE(files().copyTree(at("no"), at("g")));
    EXPECT_FALSE(files().copyTree(at("f"), at("no/g")));
    EXPECT_FALSE(files().copyTree(at("f"), at("f/g")));
    EXPECT_FALSE(files().copyTree(at("f"), ""));
    EXPECT_FALSE(files().copyTree("", at("g")));
    EXPECT_FALSE(files().copyTree("/", at("g")));
    EXPECT_FALSE(files().copyTree(at("f"), "/"));
    EXPECT_EQ(files().list(at("")), std::vector<std::string>{"f"});
}

TEST_P(FileSystemContract, FolderIsNotCopiedIntoItself) {
    EXPECT_TRUE(files().createDirectories(at("d/a")));
    EXPECT_FALSE(files().copyTree(at("d"), at("d/a/copy")));
    EXPECT_FALSE(files().copyTree(at("d"), at("d")));
    EXPECT_EQ(files().list(at("d")), std::vector<std::string>{"a"});
    EXPECT_EQ(files().list(at("d/a")), std::vector<std::string>{});
}

TEST_P(FileSystemContract, ExchangedThingsStandInEachOthersPlace) {
    ASSERT_TRUE(files().createDirectories(at("d/e")));
    ASSERT_TRUE(files().writeAtomically(at("d/e/f"), "deep"));
    ASSERT_TRUE(files().writeAtomically(at("f"), "x"));
    EXPECT_TRUE(files().exchange(at("d/"), at("f")));
    EXPECT_EQ(files().read(at("d")), "x");
    EXPECT_EQ(files().read(at("f/e/f")), "deep");
    EXPECT_EQ(files().list(at("")), (std::vector<std::string>{"d", "f"}));
}

TEST_P(FileSystemContract, ExchangeWithNothingMoves) {
    ASSERT_TRUE(files().writeAtomically(at("f"), "x"));
    EXPECT_TRUE(files().exchange(at("f"), at("g")));
    EXPECT_EQ(files().list(at("")), std::vector<std::string>{"g"});
    EXPECT_EQ(files().read(at("g")), "x");
}

TEST_P(FileSystemContract, ExchangeThatCannotBeLeavesBoth) {
    ASSERT_TRUE(files().createDirectories(at("d/e")));
    ASSERT_TRUE(files().writeAtomically(at("f"), "x"));
    EXPECT_FALSE(files().exchange(at("no"), at("f")));
    EXPECT_FALSE(files().exchange(at("f"), at("no/f")));
    EXPECT_FALSE(files().exchange(at("d"), at("d/e")));
    EXPECT_FALSE(files().exchange(at("d/e"), at("d")));
    EXPECT_FALSE(files().exchange(at("f"), ""));
    EXPECT_FALSE(files().exchange("", at("f")));
    EXPECT_FALSE(files().exchange("/", at("f")));
    EXPECT_EQ(files().list(at("")), (std::vector<std::string>{"d", "f"}));
    EXPECT_EQ(files().list(at("d")), std::vector<std::string>{"e"});
    EXPECT_EQ(files().read(at("f")), "x");
}

TEST_P(FileSystemContract, ResolvedSpellingsOfOnePlaceAreEqual) {
    EXPECT_TRUE(files().createDirectories(at("d/a")));
    for (const char* spelling : {"d/a", "d/a/", "d/./a", "d/../d/a", "d//a/."}) {
        EXPECT_EQ(files().resolve(at(spelling)), at("d/a")) << spelling;
    }
    EXPECT_EQ(files().resolve(at("not/there/../yet")), at("not/yet"));
    EXPECT_EQ(files().resolve("/"), "/");
}

TEST_P(FileSystemContract, OwnFilesAreGuardedByTheirOwner) {
    EXPECT_TRUE(files().writeAtomically(at("f"), "x"));
    const auto guard = files().guard(at("f"));
    ASSERT_TRUE(guard.has_value());
    EXPECT_TRUE(guard->isOurs);
    EXPECT_FALSE(guard->othersWrite);
    EXPECT_EQ(files().guard(at("no")), std::nullopt);
    EXPECT_EQ(files().guard(""), std::nullopt);
}

TEST_P(FileSystemContract, TheRootExists) {
    EXPECT_TRUE(files().exists("/"));
    EXPECT_EQ(files().read("/"), std::nullopt);
    EXPECT_FALSE(files().writeAtomically("/", "x"));
    EXPECT_FALSE(files().remove("/"));
}

TEST_P(FileSystemContract, EmptyPathIsNothing) {
    EXPECT_EQ(files().read(""), std::nullopt);
    EXPECT_FALSE(files().writeAtomically("", "x"));
    EXPECT_FALSE(files().remove(""));
}

TEST_P(FileSystemContract, TemporaryFolderIsAbsoluteAndEndsWithASlash) {
    const std::string folder = files().temporaryDirectory().string();
    EXPECT_TRUE(folder.starts_with('/')) << folder;
    EXPECT_TRUE(folder.ends_with('/')) << folder;
}

TEST_P(FileSystemContract, HomeFolderIsAbsoluteWhereThereIsOne) {
    const auto home = files().homeDirectoryForCurrentUser();
    EXPECT_TRUE(home.empty() || home.is_absolute()) << home;
}

INSTANTIATE_TEST_SUITE_P(All, FileSystemContract, testing::Values(Side::Fake, Side::Posix),
                         [](const auto& side) {
                             return side.param == Side::Fake ? "Fake" : "Posix";
                         });

} // namespace
} // namespace kelvane
