// What the real file system does beyond the contract: links, permissions, special files, faults.

#include "platform/posix/posix_platform.h"
#include "tests/platform/temporary_folder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <optional>
#include <pwd.h>
#include <stdlib.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

namespace fs = std::filesystem;

mode_t modeOf(const fs::path& path) {
    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
    return static_cast<mode_t>(info.st_mode & 07777);
}

class PosixFileSystemTest : public testing::Test {
protected:
    TemporaryFolder folder;
    std::unique_ptr<FileSystem> files = makePosixFileSystem();
};

// --- reading -------------------------------------------------------------------------------------

TEST_F(PosixFileSystemTest, ReadsALargeFileWhole) {
    std::string bytes;
    for (int i = 0; bytes.size() < 3'000'000; ++i) bytes += std::to_string(i);
    putFile(folder / "f", bytes);
    EXPECT_EQ(files->read(folder / "f"), bytes);
}

TEST_F(PosixFileSystemTest, ReadsAFileThatStatesNoSize) {
    if (!fs::exists("/proc/self/status")) GTEST_SKIP() << "this system has no /proc";
    ASSERT_EQ(fs::file_size("/proc/self/status"), 0U);
    const auto status = files->read("/proc/self/status");
    ASSERT_TRUE(status.has_value());
    EXPECT_NE(status->find("Name:"), std::string::npos);
    EXPECT_TRUE(status->ends_with('\n'));
}

TEST_F(PosixFileSystemTest, ReadsAnyKindOfFileUpToABound) {
    putFile(folder / "f", "0123456789");
    EXPECT_EQ(files->readAny(folder / "f", 10), "0123456789");
    EXPECT_EQ(files->readAny(folder / "f", 9), std::nullopt);
    EXPECT_EQ(files->readAny(folder / "none", 10), std::nullopt);
    EXPECT_EQ(files->readAny(folder.path(), 10), std::nullopt);
    EXPECT_EQ(files->readAny("/dev/null", 10), "");
    EXPECT_EQ(files->readAny("/dev/zero", 1 << 20), std::nullopt) << "it never ends";
}

TEST_F(PosixFileSystemTest, ReadsAPipeToItsEnd) {
    std::string bytes;
    for (int i = 0; bytes.size() < 300'000; ++i) bytes += std::to_string(i);
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    const auto write = [&] {
        const int writing = open((folder / "pipe").c_str(), O_WRONLY | O_CLOEXEC);
        for (std::size_t at = 0; at < bytes.size();) {
            const auto sent = ::write(writing, bytes.data() + at, bytes.size() - at);
            if (sent <= 0) break; // the reader has had enough
            at += static_cast<std::size_t>(sent);
        }
        close(writing);
    };
    for (const std::size_t most : {bytes.size(), bytes.size() - 1}) {
        std::thread writer(write);
        const auto read = files->readAny(folder / "pipe", most);
        writer.join();
        EXPECT_TRUE(most == bytes.size() ? read == bytes : read == std::nullopt) << most;
    }
}

TEST_F(PosixFileSystemTest, PipeThatNobodyWritesToIsAbsentAtOnce) {
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(files->read(folder / "pipe"), std::nullopt);
    EXPECT_TRUE(files->exists(folder / "pipe"));
}

TEST_F(PosixFileSystemTest, DevicesAreNotRead) {
    EXPECT_EQ(files->read("/dev/zero"), std::nullopt);
    EXPECT_EQ(files->read("/dev/null"), std::nullopt);
}

TEST_F(PosixFileSystemTest, FileBeyondTheLimitIsAbsent) {
    putFile(folder / "f", "");
    ASSERT_EQ(truncate((folder / "f").c_str(), (off_t{1} << 30) + 1), 0); // takes no room on disk
    EXPECT_EQ(files->read(folder / "f"), std::nullopt);
}

TEST_F(PosixFileSystemTest, PathWithANulNamesNothing) {
    putFile(folder / "f", "x");
    const fs::path path((folder / "f").string() + std::string("\0g", 2));
    EXPECT_EQ(files->read(path), std::nullopt);
    EXPECT_FALSE(files->exists(path));
    EXPECT_FALSE(files->writeAtomically(path, "y"));
    EXPECT_FALSE(files->createDirectories(path));
    EXPECT_FALSE(files->remove(path));
    EXPECT_EQ(contentsOf(folder / "f"), "x");
}

// --- links ---------------------------------------------------------------------------------------

TEST_F(PosixFileSystemTest, DanglingLinkDoesNotExist) {
    fs::create_symlink(folder / "nowhere", folder / "link");
    EXPECT_FALSE(files->exists(folder / "link"));
    EXPECT_EQ(files->read(folder / "link"), std::nullopt);
}

TEST_F(PosixFileSystemTest, TheGuardTellsWhatOthersMayDo) {
    putFile(folder / "key", "x");
    for (const auto& [mode, isPrivate] :
         {std::pair{0600, true}, {0400, true}, {0640, false}, {0604, false}, {0666, false}}) {
        ASSERT_EQ(::chmod((folder / "key").c_str(), static_cast<mode_t>(mode)), 0);
        const auto guard = files->guard(folder / "key");
        ASSERT_TRUE(guard.has_value()) << std::oct << mode;
        EXPECT_EQ(guard->isPrivate(), isPrivate) << std::oct << mode;
    }
    fs::create_symlink("key", folder / "link");
    EXPECT_FALSE(files->guard(folder / "link")->isPrivate());
    EXPECT_EQ(files->guard(folder / "nowhere"), std::nullopt);
}

TEST_F(PosixFileSystemTest, WriteGoesToTheFileALinkLeadsTo) {
    fs::create_directories(folder / "dotfiles");
    putFile(folder / "dotfiles/config", "old");
    fs::create_symlink("dotfiles/config", folder / "second"); // relative to where it stands
    fs::create_symlink(folder / "second", folder / "first");
    EXPECT_TRUE(files->writeAtomically(folder / "first", "new"));
    EXPECT_TRUE(fs::is_symlink(folder / "first"));
    EXPECT_TRUE(fs::is_symlink(folder / "second"));
    EXPECT_FALSE(fs::is_symlink(folder / "dotfiles/config"));
    EXPECT_EQ(contentsOf(folder / "dotfiles/config"), "new");
    EXPECT_EQ(contentsOf(folder / "first"), "new");
}

TEST_F(PosixFileSystemTest, WriteThroughADanglingLinkMakesItsTarget) {
    fs::create_directories(folder / "d");
    fs::create_symlink("d/new", folder / "link");
    EXPECT_TRUE(files->writeAtomically(folder / "link", "x"));
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(contentsOf(folder / "d/new"), "x");
}

TEST_F(PosixFileSystemTest, WriteThroughALinkedFolderStaysInIt) {
    fs::create_directories(folder / "real");
    fs::create_directory_symlink("real", folder / "link");
    EXPECT_TRUE(files->writeAtomically(folder / "link/f", "x"));
    EXPECT_EQ(contentsOf(folder / "real/f"), "x");
}

TEST_F(PosixFileSystemTest, LinksInACircleFail) {
    fs::create_symlink("b", folder / "a");
    fs::create_symlink("a", folder / "b");
    EXPECT_FALSE(files->writeAtomically(folder / "a", "x"));
    EXPECT_EQ(files->read(folder / "a"), std::nullopt);
    EXPECT_FALSE(files->exists(folder / "a"));
    EXPECT_EQ(folder.names().size(), 2U);
}

TEST_F(PosixFileSystemTest, LinkToAFolderIsNotWritten) {
    fs::create_directories(folder / "d");
    fs::create_directory_symlink("d", folder / "link");
    EXPECT_FALSE(files->writeAtomically(folder / "link", "x"));
    EXPECT_TRUE(fs::is_directory(folder / "d"));
}

TEST_F(PosixFileSystemTest, RemovingALinkLeavesItsTarget) {
    putFile(folder / "f", "x");
    fs::create_symlink("f", folder / "link");
    EXPECT_TRUE(files->remove(folder / "link"));
    EXPECT_FALSE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(contentsOf(folder / "f"), "x");
}

// --- writing -------------------------------------------------------------------------------------

TEST_F(PosixFileSystemTest, ExistingFileKeepsItsPermissions) {
    for (const mode_t mode : std::vector<mode_t>{0600, 0644, 0664, 0755, 0444, 0400}) {
        putFile(folder / "f", "old");
        ASSERT_EQ(chmod((folder / "f").c_str(), mode), 0);
        EXPECT_TRUE(files->writeAtomically(folder / "f", "new"));
        EXPECT_EQ(modeOf(folder / "f"), mode);
        EXPECT_EQ(contentsOf(folder / "f"), "new");
        fs::remove(folder / "f");
    }
}

TEST_F(PosixFileSystemTest, NewFileHasTheUsualPermissionsLessTheUmask) {
    const mode_t before = umask(022);
    EXPECT_TRUE(files->writeAtomically(folder / "usual", "x"));
    umask(077);
    EXPECT_TRUE(files->writeAtomically(folder / "private", "x"));
    umask(before);
    EXPECT_EQ(modeOf(folder / "usual"), 0644U);
    EXPECT_EQ(modeOf(folder / "private"), 0600U);
}

TEST_F(PosixFileSystemTest, APrivateFileIsTheOwnersFromItsFirstByteOnWhateverStoodThere) {
    const mode_t usual = umask(0);
    ASSERT_TRUE(files->writePrivately(folder / "a/b/f", "secret"));
    umask(usual);
    EXPECT_EQ(modeOf(folder / "a/b/f"), 0600U);
    EXPECT_EQ(modeOf(folder / "a/b"), 0700U);
    EXPECT_EQ(files->read(folder / "a/b/f"), "secret");
    // One that others could read is not any more; a folder that is there stays as it is.
    ASSERT_EQ(chmod((folder / "a/b/f").c_str(), 0644), 0);
    ASSERT_EQ(chmod((folder / "a/b").c_str(), 0755), 0);
    ASSERT_TRUE(files->writePrivately(folder / "a/b/f", "again"));
    EXPECT_EQ(modeOf(folder / "a/b/f"), 0600U);
    EXPECT_EQ(modeOf(folder / "a/b"), 0755U);
    EXPECT_EQ(files->read(folder / "a/b/f"), "again");
    EXPECT_FALSE(files->writePrivately(folder / "a/b", "a folder"));
}

TEST_F(PosixFileSystemTest, ExistingFileKeepsItsOwnerWhereWeMaySetIt) {
    if (geteuid() != 0) GTEST_SKIP() << "only root may give files away";
    putFile(folder / "f", "old");
    ASSERT_EQ(chown((folder / "f").c_str(), 1234, 5678), 0);
    EXPECT_TRUE(files->writeAtomically(folder / "f", "new"));
    struct stat info {};
    ASSERT_EQ(stat((folder / "f").c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 1234U);
    EXPECT_EQ(info.st_gid, 5678U);
}

TEST_F(PosixFileSystemTest, OtherNamesOfTheFileKeepTheOldBytes) {
    // The new bytes are a new file: nobody who has the old one open sees half of them.
    putFile(folder / "f", "old");
    fs::create_hard_link(folder / "f", folder / "other");
    EXPECT_TRUE(files->writeAtomically(folder / "f", "new"));
    EXPECT_EQ(contentsOf(folder / "other"), "old");
}

TEST_F(PosixFileSystemTest, NothingIsLeftBesideTheTarget) {
    EXPECT_TRUE(files->writeAtomically(folder / "f", "one"));
    EXPECT_TRUE(files->writeAtomically(folder / "f", "two"));
    EXPECT_EQ(folder.names(), std::vector<std::string>{"f"});
}

TEST_F(PosixFileSystemTest, WhatAKilledWriteLeftGoesWithTheNextOneAndNothingElse) {
    // A process that has ended and been waited for: its number is nobody's for now.
    const pid_t ended = fork();
    if (ended == 0) _exit(0);
    ASSERT_EQ(waitpid(ended, nullptr, 0), ended);
    const std::string left = ".kelvane-" + std::to_string(ended) + "-3";
    const std::string alive = ".kelvane-" + std::to_string(getppid()) + "-3";
    const auto plant = [&](const fs::path& place) {
        fs::create_directories(place);
        for (const auto& name : {left, alive, left + "x", std::string(".kelvane-notes")}) {
            putFile(place / name, "half of what somebody wro");
        }
    };
    plant(folder / "open");
    plant(folder / "private");
    EXPECT_TRUE(files->writeAtomically(folder / "open" / "f", "whole"));
    EXPECT_TRUE(files->writePrivately(folder / "private" / "f", "whole"));
    for (const char* place : {"open", "private"}) {
        EXPECT_FALSE(fs::exists(folder / place / left)) << place;
        for (const auto& name : {alive, left + "x", std::string(".kelvane-notes")}) {
            EXPECT_TRUE(fs::exists(folder / place / name)) << place << ": " << name;
        }
    }
}

TEST_F(PosixFileSystemTest, NothingIsLeftWhenTheNameIsTooLong) {
    EXPECT_FALSE(files->writeAtomically(folder / std::string(300, 'x'), "x"));
    EXPECT_TRUE(folder.names().empty());
}

TEST_F(PosixFileSystemTest, LongestNameIsNotTooLong) {
    const std::string name(255, 'x');
    EXPECT_TRUE(files->writeAtomically(folder / name, "x"));
    EXPECT_EQ(files->read(folder / name), "x");
}

TEST_F(PosixFileSystemTest, DiskThatIsFullLeavesTheTargetAsItWas) {
    putFile(folder / "f", "old");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{.rlim_cur = 4096, .rlim_max = before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool written = files->writeAtomically(folder / "f", std::string(1'000'000, 'x'));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(written);
    EXPECT_EQ(contentsOf(folder / "f"), "old");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"f"});
}

TEST_F(PosixFileSystemTest, SpecialFilesAreNotReplaced) {
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(files->writeAtomically(folder / "pipe", "x"));
    EXPECT_TRUE(fs::is_fifo(folder / "pipe"));
    EXPECT_EQ(folder.names(), std::vector<std::string>{"pipe"});
}

TEST_F(PosixFileSystemTest, FolderThatTakesNoFilesFails) {
    if (!fs::exists("/proc/self")) GTEST_SKIP() << "this system has no /proc";
    EXPECT_FALSE(files->writeAtomically("/proc/kelvane-test", "x"));
    EXPECT_FALSE(files->createDirectories("/proc/kelvane-test"));
    EXPECT_FALSE(files->remove("/proc/version"));
}

TEST_F(PosixFileSystemTest, ReaderNeverSeesAMixture) {
    constexpr std::size_t kSize = 100'000;
    const auto path = folder / "f";
    ASSERT_TRUE(files->writeAtomically(path, std::string(kSize, '0')));
    std::atomic<int> failures = 0;
    std::atomic<int> working = 4;
    std::vector<std::thread> writers;
    for (char letter = '1'; letter <= '4'; ++letter) {
        writers.emplace_back([&, letter] {
            for (int i = 0; i < 10; ++i) {
                if (!files->writeAtomically(path, std::string(kSize, letter))) ++failures;
            }
            --working;
        });
    }
    while (working > 0) {
        const auto seen = files->read(path);
        if (!seen || *seen != std::string(kSize, seen->front())) ++failures;
    }
    for (auto& writer : writers) writer.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"f"});
}

// --- trees ---------------------------------------------------------------------------------------

TEST_F(PosixFileSystemTest, CopyKeepsPermissionsAndFoldersStayRemovable) {
    fs::create_directories(folder / "d/sub");
    putFile(folder / "d/program", "x");
    putFile(folder / "d/data", "x");
    ASSERT_EQ(chmod((folder / "d/program").c_str(), 0755), 0);
    ASSERT_EQ(chmod((folder / "d/data").c_str(), 0440), 0);
    ASSERT_EQ(chmod((folder / "d/sub").c_str(), 0555), 0); // as on a read-only medium
    ASSERT_TRUE(files->copyTree(folder / "d", folder / "copy"));
    EXPECT_EQ(modeOf(folder / "copy/program"), 0755U);
    EXPECT_EQ(modeOf(folder / "copy/data"), 0440U);
    EXPECT_EQ(modeOf(folder / "copy/sub"), 0755U);
    EXPECT_TRUE(files->removeTree(folder / "copy"));
}

TEST_F(PosixFileSystemTest, LinksAreCopiedAsLinks) {
    fs::create_directories(folder / "d/real");
    fs::create_symlink("real", folder / "d/to folder");
    fs::create_symlink("nowhere", folder / "d/dangling");
    fs::create_symlink("..", folder / "d/real/upwards"); // followed, it would never end
    ASSERT_TRUE(files->copyTree(folder / "d", folder / "copy"));
    EXPECT_EQ(fs::read_symlink(folder / "copy/to folder"), "real");
    EXPECT_EQ(fs::read_symlink(folder / "copy/dangling"), "nowhere");
    EXPECT_EQ(fs::read_symlink(folder / "copy/real/upwards"), "..");
    ASSERT_TRUE(files->copyTree(folder / "d/to folder", folder / "link"));
    EXPECT_EQ(fs::read_symlink(folder / "link"), "real");
}

TEST_F(PosixFileSystemTest, RemovingALinkLeavesWhatItLeadsTo) {
    fs::create_directories(folder / "real");
    putFile(folder / "real/f", "x");
    fs::create_directories(folder / "d");
    fs::create_symlink("../real", folder / "d/inside");
    for (const char* link : {"link", "link/"}) {
        fs::create_symlink("real", folder / "link");
        EXPECT_TRUE(files->removeTree(folder / link)) << link;
        EXPECT_FALSE(fs::is_symlink(folder / "link")) << link;
    }
    fs::create_symlink("nowhere", folder / "dangling");
    EXPECT_TRUE(files->removeTree(folder / "dangling"));
    EXPECT_FALSE(fs::is_symlink(folder / "dangling"));
    EXPECT_TRUE(files->removeTree(folder / "d"));
    EXPECT_EQ(contentsOf(folder / "real/f"), "x");
}

TEST_F(PosixFileSystemTest, DotSegmentsAreNotRemoved) {
    fs::create_directories(folder / "d/a");
    for (const char* name : {"d/.", "d/a/.."}) {
        EXPECT_FALSE(files->removeTree(folder / name)) << name;
        EXPECT_FALSE(files->copyTree(folder / name, folder / "copy")) << name;
    }
    EXPECT_TRUE(fs::exists(folder / "d/a"));
}

TEST_F(PosixFileSystemTest, DanglingLinkIsSomethingToCopyOnto) {
    putFile(folder / "f", "x");
    fs::create_symlink("nowhere", folder / "link");
    EXPECT_FALSE(files->copyTree(folder / "f", folder / "link"));
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_FALSE(fs::exists(folder / "nowhere"));
}

TEST_F(PosixFileSystemTest, FolderIsNotCopiedIntoItselfThroughALink) {
    fs::create_directories(folder / "d");
    fs::create_symlink("d", folder / "link");
    EXPECT_FALSE(files->copyTree(folder / "d", folder / "link/copy"));
    EXPECT_TRUE(fs::is_empty(folder / "d"));
}

TEST_F(PosixFileSystemTest, CopyThatFailsMidwayLeavesNothing) {
    fs::create_directories(folder / "d");
    putFile(folder / "d/a", "x");
    ASSERT_EQ(mkfifo((folder / "d/pipe").c_str(), 0600), 0); // nothing that could be copied
    putFile(folder / "d/z", "x");
    EXPECT_FALSE(files->copyTree(folder / "d", folder / "copy"));
    EXPECT_EQ(folder.names(), std::vector<std::string>{"d"});
}

TEST_F(PosixFileSystemTest, CopyOntoADiskThatIsFullLeavesNothing) {
    fs::create_directories(folder / "d");
    putFile(folder / "d/a", "small");
    putFile(folder / "d/b", std::string(1'000'000, 'x'));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{.rlim_cur = 4096, .rlim_max = before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool copied = files->copyTree(folder / "d", folder / "copy");
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(copied);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"d"});
}

TEST_F(PosixFileSystemTest, LinksAreExchangedAndNotWhatTheyLeadTo) {
    putFile(folder / "precious", "the user's");
    putFile(folder / "f", "x");
    fs::create_symlink("precious", folder / "link");
    fs::create_symlink("nowhere", folder / "dangling");
    EXPECT_TRUE(files->exchange(folder / "f", folder / "link"));
    EXPECT_TRUE(fs::is_symlink(folder / "f"));
    EXPECT_EQ(contentsOf(folder / "link"), "x");
    EXPECT_EQ(contentsOf(folder / "precious"), "the user's");
    EXPECT_TRUE(files->exchange(folder / "link", folder / "dangling"));
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
}

TEST_F(PosixFileSystemTest, TreeCallsRefuseAPathWithANul) {
    putFile(folder / "f", "x");
    const fs::path path((folder / "f").string() + std::string("\0g", 2));
    EXPECT_EQ(files->list(path), std::nullopt);
    EXPECT_FALSE(files->removeTree(path));
    EXPECT_FALSE(files->copyTree(path, folder / "g"));
    EXPECT_FALSE(files->copyTree(folder / "f", path));
    EXPECT_EQ(folder.names(), std::vector<std::string>{"f"});
}

TEST_F(PosixFileSystemTest, ResolvingFollowsLinks) {
    fs::create_directories(folder / "real/sub");
    fs::create_symlink("real", folder / "link");
    EXPECT_EQ(files->resolve(folder / "link/sub/"), folder / "real/sub");
    EXPECT_EQ(files->resolve(folder / "link/sub/.."), folder / "real");
    EXPECT_EQ(files->resolve(folder / "link/not yet"), folder / "real/not yet");
}

TEST_F(PosixFileSystemTest, FolderThatTakesNoFilesTakesNoCopyAndLosesNothing) {
    if (!fs::exists("/proc/self")) GTEST_SKIP() << "this system has no /proc";
    putFile(folder / "f", "x");
    EXPECT_FALSE(files->copyTree(folder / "f", "/proc/kelvane-test"));
    EXPECT_FALSE(files->removeTree("/proc/version"));
}

// --- known folders -------------------------------------------------------------------------------

/// Brings a variable back to what it was.
class ScopedVariable {
public:
    explicit ScopedVariable(std::string name) : m_name(std::move(name)) {
        if (const char* value = getenv(m_name.c_str())) m_before = value;
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable() { set(m_before); }

    void set(const std::optional<std::string>& value) {
        if (value) {
            setenv(m_name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(m_name.c_str());
        }
    }

private:
    std::string m_name;
    std::optional<std::string> m_before;
};

/// Where short-lived files go without the variable.
std::string usualTemporaryFolder() {
#ifdef _CS_DARWIN_USER_TEMP_DIR
    std::string own(confstr(_CS_DARWIN_USER_TEMP_DIR, nullptr, 0), '\0');
    confstr(_CS_DARWIN_USER_TEMP_DIR, own.data(), own.size());
    return own.c_str();
#else
    return "/tmp/";
#endif
}

TEST_F(PosixFileSystemTest, TemporaryFolderFollowsTheVariable) {
    ScopedVariable variable("TMPDIR");
    struct Case {
        std::optional<std::string> value;
        std::string folder;
    };
    for (const auto& test : std::vector<Case>{
             {"/var/folders/a/T/", "/var/folders/a/T/"},
             {"/var/folders/a/T", "/var/folders/a/T/"},
             {"/", "/"},
             {"", usualTemporaryFolder()},
             {"relative", usualTemporaryFolder()},
             {std::nullopt, usualTemporaryFolder()},
         }) {
        variable.set(test.value);
        EXPECT_EQ(files->temporaryDirectory().string(), test.folder);
    }
}

TEST_F(PosixFileSystemTest, HomeFolderIsTheAccountsWhateverTheVariableSays) {
    ScopedVariable variable("HOME");
    variable.set("/somewhere/else");
    const passwd* record = getpwuid(getuid());
    const fs::path expected = record == nullptr ? "" : record->pw_dir;
    EXPECT_EQ(files->homeDirectoryForCurrentUser(), expected);
    EXPECT_NE(files->homeDirectoryForCurrentUser(), "/somewhere/else");
}

} // namespace
} // namespace kelvane
