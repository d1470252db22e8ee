#include "service/store/user_files.h"

#include "service/store/line_file.h"
#include "tests/service/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>

namespace trevix {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class UserFilesTest : public testing::Test {
protected:
    [[nodiscard]] fs::path dismissed() const { return m_folder.path() / "config/dismissed.tsv"; }
    [[nodiscard]] fs::path dictionary() const { return m_folder.path() / "config/dictionary.txt"; }
    [[nodiscard]] UserFiles files() const { return {dismissed(), dictionary()}; }
    static std::string content(const fs::path& file) {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    static void put(const fs::path& file, const std::string& text) {
        fs::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
    }
    static mode_t modeOf(const fs::path& file) {
        struct stat facts {};
        return stat(file.c_str(), &facts) == 0 ? facts.st_mode & 07777U : 0;
    }

    TemporaryFolder m_folder;
};

const Dismissal kOne{"text.spelling", "teh", "", "a name", "2026-03-03T14:05:09Z"};

TEST_F(UserFilesTest, NobodyHasSaidAnythingYet) {
    EXPECT_TRUE(files().says().saysNothing());
    EXPECT_EQ(files().undo(kOne), std::nullopt);
    EXPECT_EQ(files().removeWord("x"), std::nullopt);
    EXPECT_FALSE(fs::exists(dismissed().parent_path())) << "nothing is made for nothing";
}

TEST_F(UserFilesTest, ADismissalIsRememberedAndUndone) {
    ASSERT_EQ(files().dismiss(kOne), std::nullopt);
    EXPECT_EQ(files().says().dismissals, std::vector<Dismissal>{kOne});
    EXPECT_EQ(modeOf(dismissed()), 0600U);
    Dismissal again = kOne;
    again.reason = "another reason";
    ASSERT_EQ(files().dismiss(again), std::nullopt);
    EXPECT_EQ(files().says().dismissals, std::vector<Dismissal>{kOne}) << "once is enough";
    Dismissal elsewhere = kOne;
    elsewhere.place = "line 3";
    ASSERT_EQ(files().undo(elsewhere), std::nullopt);
    EXPECT_EQ(files().says().dismissals.size(), 1U);
    ASSERT_EQ(files().undo(again), std::nullopt);
    EXPECT_THAT(files().says().dismissals, IsEmpty());
    EXPECT_EQ(content(dismissed()).front(), '#') << "the remark stays";
}

TEST_F(UserFilesTest, WhatPeopleSayStaysOnItsLine) {
    Dismissal hostile = kOne;
    hostile.reason = "one\ttwo\nthree\r\x01" + std::string(2000, 'x');
    hostile.evidence = "a\tb";
    ASSERT_EQ(files().dismiss(hostile), std::nullopt);
    const auto says = files().says();
    ASSERT_EQ(says.dismissals.size(), 1U);
    EXPECT_EQ(says.dismissals[0].evidence, "a b");
    EXPECT_THAT(says.dismissals[0].reason, HasSubstr("one two three"));
    EXPECT_EQ(says.dismissals[0].reason.size(), kLongestReason);
    ASSERT_EQ(files().undo(hostile), std::nullopt);
    EXPECT_THAT(files().says().dismissals, IsEmpty());
    EXPECT_NE(files().dismiss({}), std::nullopt) << "without a rule it would be about everything";
}

TEST_F(UserFilesTest, LinesWrittenByHandAreReadAndOthersKept) {
    const std::string text = "# mine\n\nnonsense\n\tr1\tev\n2026\tr2\tev\tline 3\twhy\tmore\n";
    put(dismissed(), text);
    const auto says = files().says();
    ASSERT_EQ(says.dismissals.size(), 2U);
    EXPECT_EQ(says.dismissals[0], (Dismissal{"r1", "ev", "", "", ""}));
    EXPECT_EQ(says.dismissals[1], (Dismissal{"r2", "ev", "line 3", "why\tmore", "2026"}));
    ASSERT_EQ(files().undo({"r1", "ev", "", "", ""}), std::nullopt);
    EXPECT_EQ(content(dismissed()), "# mine\n\nnonsense\n2026\tr2\tev\tline 3\twhy\tmore\n");
}

TEST_F(UserFilesTest, AWordIsAddedWithoutTouchingTheRest) {
    put(dictionary(), "# words\r\nalpha\r\n  beta  \r\nlast");
    fs::permissions(dictionary(), fs::perms(0644));
    ASSERT_EQ(files().addWord("gamma"), std::nullopt);
    EXPECT_EQ(content(dictionary()), "# words\r\nalpha\r\n  beta  \r\nlast\r\ngamma\r\n");
    EXPECT_EQ(modeOf(dictionary()), 0644U);
    ASSERT_EQ(files().addWord("beta"), std::nullopt);
    EXPECT_THAT(files().says().words, UnorderedElementsAre("alpha", "beta", "last", "gamma"));
    ASSERT_EQ(files().removeWord("beta"), std::nullopt);
    EXPECT_EQ(content(dictionary()), "# words\r\nalpha\r\nlast\r\ngamma\r\n");
    for (const std::string& word : {std::string(), std::string("two words"), std::string("a#b"),
                                    std::string("a\nb"), std::string(201, 'x')}) {
        EXPECT_NE(files().addWord(word), std::nullopt) << word;
    }
    EXPECT_EQ(content(dictionary()), "# words\r\nalpha\r\nlast\r\ngamma\r\n");
}

TEST_F(UserFilesTest, ALinkStaysALink) {
    put(m_folder.path() / "dotfiles/words", "alpha\n");
    fs::create_directories(dictionary().parent_path());
    fs::create_symlink(m_folder.path() / "dotfiles/words", dictionary());
    ASSERT_EQ(files().addWord("beta"), std::nullopt);
    EXPECT_TRUE(fs::is_symlink(dictionary()));
    EXPECT_EQ(content(m_folder.path() / "dotfiles/words"), "alpha\nbeta\n");
}

TEST_F(UserFilesTest, WhatCannotBeEditedIsToldAndLeftAlone) {
    fs::create_directories(dictionary());
    EXPECT_THAT(files().addWord("x").value_or(""), HasSubstr("is not a file"));
    EXPECT_TRUE(files().says().saysNothing());
    put(dismissed(), std::string(kLargestLineFile + 1, 'x'));
    EXPECT_THAT(files().dismiss(kOne).value_or(""), HasSubstr("is too large"));
    EXPECT_EQ(fs::file_size(dismissed()), kLargestLineFile + 1);
    EXPECT_THAT(UserFiles({}, {}).addWord("x").value_or(""), HasSubstr("HOME"));
}

TEST_F(UserFilesTest, WhoWritesAtTheSameTimeLosesNothing) {
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer) {
        writers.emplace_back([&, writer] {
            for (int i = 0; i < 25; ++i) {
                ASSERT_EQ(files().addWord("w" + std::to_string(writer * 25 + i)), std::nullopt);
            }
        });
    }
    for (std::thread& writer : writers) writer.join();
    EXPECT_EQ(files().says().words.size(), 100U);
    std::size_t left = 0;
    for (const auto& entry : fs::directory_iterator(dictionary().parent_path())) {
        left += entry.is_regular_file() ? 1U : 0U;
    }
    EXPECT_EQ(left, 1U) << "no drafts";
}

} // namespace
} // namespace trevix
