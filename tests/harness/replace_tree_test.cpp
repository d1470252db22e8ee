// That bringing a file or folder to a new version loses neither version, wherever it is
// interrupted: every step is made to fail, and every step is made the last.

#include "harness/replace_tree.h"

#include "platform/fake/fakes.h"
#include "platform/posix/posix_platform.h"
#include "tests/platform/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace kelvane {
namespace {

namespace fs = std::filesystem;

/// Thrown where a process would have been killed.
struct Killed {};

enum class End { Fails, IsTheLast, IsNotReached };

/// Another file system, of whose changing calls one, counted from 0, fails without doing anything,
/// or is the last one that is done, or is the first that is not.
class InterruptedFileSystem : public FileSystem {
public:
    InterruptedFileSystem(FileSystem& files, int call, End end)
        : m_files(files),
          m_call(call),
          m_end(end) {}

    [[nodiscard]] bool wasInterrupted() const { return m_made > m_call; }

    std::optional<std::string> read(const fs::path& path) override { return m_files.read(path); }
    bool exists(const fs::path& path) override { return m_files.exists(path); }
    std::optional<FileGuard> guard(const fs::path& path) override { return m_files.guard(path); }
    bool createDirectories(const fs::path& path) override {
        return change([&] { return m_files.createDirectories(path); });
    }
    bool writeAtomically(const fs::path& path, std::string_view bytes) override {
        return change([&] { return m_files.writeAtomically(path, bytes); });
    }
    bool remove(const fs::path& path) override {
        return change([&] { return m_files.remove(path); });
    }
    std::optional<std::vector<std::string>> list(const fs::path& folder) override {
        return m_files.list(folder);
    }
    bool removeTree(const fs::path& path) override {
        return change([&] { return m_files.removeTree(path); });
    }
    bool copyTree(const fs::path& from, const fs::path& to) override {
        return change([&] { return m_files.copyTree(from, to); });
    }
    bool exchange(const fs::path& from, const fs::path& to) override {
        return change([&] { return m_files.exchange(from, to); });
    }
    fs::path resolve(const fs::path& path) override { return m_files.resolve(path); }
    fs::path temporaryDirectory() override { return m_files.temporaryDirectory(); }
    fs::path homeDirectoryForCurrentUser() override {
        return m_files.homeDirectoryForCurrentUser();
    }

private:
    template <typename Change>
    bool change(Change make) {
        const bool isTheOne = m_made++ == m_call;
        if (isTheOne && m_end == End::Fails) return false;
        if (isTheOne && m_end == End::IsNotReached) throw Killed();
        const bool done = make();
        if (isTheOne && m_end == End::IsTheLast) throw Killed();
        return done;
    }

    FileSystem& m_files;
    int m_call;
    End m_end;
    int m_made = 0;
};

class ReplaceTreeTest : public testing::Test {
protected:
    ReplaceTreeTest() {
        fs::create_directories(folder / "shipped/sub");
        putFile(folder / "shipped/program", "new");
        putFile(folder / "shipped/sub/part", "new");
        putOldVersion();
    }

    void putOldVersion() const {
        fs::remove_all(folder / "place/installed");
        fs::create_directories(folder / "place/installed/sub");
        putFile(folder / "place/installed/program", "old");
        putFile(folder / "place/installed/sub/part", "old");
        putFile(folder / "place/installed/only in the old one", "old");
    }

    /// "old" or "new" when that version stands at the target whole, and otherwise what is wrong.
    std::string standing() const {
        const fs::path target = folder / "place/installed";
        if (!fs::exists(target / "program")) return "nothing";
        const std::string version = contentsOf(target / "program");
        const bool isWhole = contentsOf(target / "sub/part") == version &&
                             fs::exists(target / "only in the old one") == (version == "old");
        return isWhole ? version : "a mixture";
    }

    void replace(FileSystem& with) {
        replaceTree(with, folder / "shipped", folder / "place/installed");
    }

    std::vector<std::string> inPlace() const { return *files->list(folder / "place"); }

    TemporaryFolder folder;
    std::unique_ptr<FileSystem> files = makePosixFileSystem();
    const std::vector<std::string> justTheTarget{"installed"};
};

TEST_F(ReplaceTreeTest, NewVersionTakesThePlaceOfTheOldAndNothingElseStays) {
    replace(*files);
    EXPECT_EQ(standing(), "new");
    EXPECT_EQ(inPlace(), justTheTarget);
    fs::remove_all(folder / "place/installed");
    replace(*files);
    EXPECT_EQ(standing(), "new");
    EXPECT_EQ(inPlace(), justTheTarget);
}

TEST_F(ReplaceTreeTest, WithoutASourceTheTargetIsDeleted) {
    fs::remove_all(folder / "shipped");
    replace(*files);
    EXPECT_EQ(inPlace(), std::vector<std::string>{});
}

TEST_F(ReplaceTreeTest, WhicheverStepFailsOneVersionIsThereWhole) {
    for (int call = 0;; ++call) {
        SCOPED_TRACE(call);
        putOldVersion();
        InterruptedFileSystem failing(*files, call, End::Fails);
        replace(failing);
        if (!failing.wasInterrupted()) break;
        EXPECT_TRUE(standing() == "old" || standing() == "new") << standing();
        replace(*files);
        EXPECT_EQ(standing(), "new");
        EXPECT_EQ(inPlace(), justTheTarget);
    }
}

TEST_F(ReplaceTreeTest, WhereverItIsKilledOneVersionIsThereWhole) {
    for (const End end : {End::IsTheLast, End::IsNotReached}) {
        for (int call = 0;; ++call) {
            SCOPED_TRACE(call);
            putOldVersion();
            InterruptedFileSystem killed(*files, call, end);
            try {
                replace(killed);
            } catch (const Killed&) { // as after a kill: nothing is tidied up
            }
            if (!killed.wasInterrupted()) break;
            EXPECT_TRUE(standing() == "old" || standing() == "new") << standing();
            replace(*files);
            EXPECT_EQ(standing(), "new");
            EXPECT_EQ(inPlace(), justTheTarget);
        }
    }
}

TEST_F(ReplaceTreeTest, SourceThatCannotBeCopiedWholeLeavesTheOldVersion) {
    ASSERT_EQ(mkfifo((folder / "shipped/pipe").c_str(), 0600), 0); // nothing that could be copied
    replace(*files);
    EXPECT_EQ(standing(), "old");
    EXPECT_EQ(inPlace(), justTheTarget);
}

TEST_F(ReplaceTreeTest, WhatAKilledCopyLeftIsTakenAwayAndNothingElse) {
    // A process that has ended and been waited for: its number is nobody's for now.
    const pid_t ended = fork();
    if (ended == 0) _exit(0);
    ASSERT_EQ(waitpid(ended, nullptr, 0), ended);
    const std::string left = ".kelvane-" + std::to_string(ended) + "-3";
    const std::string alive = ".kelvane-" + std::to_string(getppid()) + "-3";
    fs::create_directories(folder / "place" / left / "half");
    fs::create_directories(folder / "place" / alive);
    for (const char* name : {".kelvane-0-1", ".kelvane-notes", ".kelvane-99999999999-1"}) {
        putFile(folder / "place" / name, "not ours");
    }
    putFile(folder / "place" / (left + "x"), "not ours");
    replace(*files);
    EXPECT_FALSE(fs::exists(folder / "place" / left));
    for (const std::string& name :
         {alive, left + "x", std::string(".kelvane-0-1"), std::string(".kelvane-notes"),
          std::string(".kelvane-99999999999-1")}) {
        EXPECT_TRUE(fs::exists(folder / "place" / name)) << name;
    }
}

TEST(ReplaceTree, StepsAreACopyBesideAndAnExchange) {
    FakePlatform fake;
    fake.files.files["/shipped"] = "new";
    fake.files.files["/place/installed"] = "old";
    replaceTree(fake.files, "/shipped", "/place/installed");
    EXPECT_EQ(fake.files.files.at("/place/installed"), "new");
    EXPECT_EQ(fake.journal.entries(),
              (std::vector<std::string>{"remove-tree /place/.installed.new",
                                        "copy-tree /shipped -> /place/.installed.new",
                                        "exchange /place/.installed.new <-> /place/installed",
                                        "remove-tree /place/.installed.new"}));
}

} // namespace
} // namespace kelvane
