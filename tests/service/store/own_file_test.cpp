#include "service/store/own_file.h"

#include "tests/service/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include <unistd.h>

namespace trevix {
namespace {

using testing::HasSubstr;

class OwnFileTest : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path file() const { return m_folder.path() / "file"; }
    void make(unsigned mode) const {
        std::ofstream(file()) << "x";
        ASSERT_EQ(chmod(file().c_str(), mode), 0);
    }

    TemporaryFolder m_folder;
};

TEST_F(OwnFileTest, AFileOfOnesOwnIsFine) {
    EXPECT_EQ(fileProblem(file()), std::nullopt) << "there is none yet";
    make(0600);
    EXPECT_EQ(fileProblem(file()), std::nullopt);
    chmod(file().c_str(), 0400);
    EXPECT_EQ(fileProblem(file()), std::nullopt);
}

TEST_F(OwnFileTest, WhatOthersMayReadOrChangeIsNot) {
    for (const unsigned mode : {0640U, 0604U, 0644U, 0610U}) {
        make(mode);
        EXPECT_THAT(fileProblem(file()).value_or(""), HasSubstr("may read")) << mode;
    }
    for (const unsigned mode : {0620U, 0602U, 0666U, 0660U}) {
        make(mode);
        EXPECT_THAT(fileProblem(file()).value_or(""), HasSubstr("may change")) << mode;
    }
    EXPECT_THAT(fileProblem(file()).value_or(""), HasSubstr("chmod 600"));
    struct stat facts {};
    ASSERT_EQ(stat(file().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 07777U, 0660U) << "nothing was changed";
}

TEST_F(OwnFileTest, LinksAreNot) {
    make(0600);
    const auto link = m_folder.path() / "link";
    std::filesystem::create_symlink(file(), link);
    EXPECT_THAT(fileProblem(link).value_or(""), HasSubstr("is a link"));
    EXPECT_EQ(fileProblem(file()), std::nullopt);
    std::filesystem::create_hard_link(file(), m_folder.path() / "second");
    EXPECT_THAT(fileProblem(file()).value_or(""), HasSubstr("another name"));
    std::filesystem::create_symlink(m_folder.path() / "nowhere", m_folder.path() / "dangling");
    EXPECT_THAT(fileProblem(m_folder.path() / "dangling").value_or(""), HasSubstr("is a link"));
    EXPECT_THAT(fileProblem(m_folder.path()).value_or(""), HasSubstr("is not a file"));
}

TEST_F(OwnFileTest, WhatBelongsToSomebodyElseIsNot) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can give a file away";
    make(0600);
    ASSERT_EQ(chown(file().c_str(), 65534, 65534), 0);
    EXPECT_THAT(fileProblem(file()).value_or(""), HasSubstr("belongs to another user"));
    const auto folder = m_folder.path() / "folder";
    std::filesystem::create_directory(folder);
    ASSERT_EQ(chown(folder.c_str(), 65534, 65534), 0);
    EXPECT_THAT(folderProblem(folder).value_or(""), HasSubstr("belongs to another user"));
}

TEST_F(OwnFileTest, AFolderThatOthersWriteInIsNot) {
    const auto folder = m_folder.path() / "folder";
    EXPECT_EQ(folderProblem(folder), std::nullopt) << "there is none yet";
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
    EXPECT_EQ(folderProblem(folder), std::nullopt) << "others may look: the files are closed";
    ASSERT_EQ(chmod(folder.c_str(), 01777), 0);
    EXPECT_THAT(folderProblem(folder).value_or(""), HasSubstr("may write"));
    ASSERT_EQ(chmod(folder.c_str(), 0770), 0);
    EXPECT_THAT(folderProblem(folder).value_or(""), HasSubstr("chmod 700"));
    std::filesystem::create_directory_symlink(folder, m_folder.path() / "link");
    EXPECT_THAT(folderProblem(m_folder.path() / "link").value_or(""), HasSubstr("is a link"));
    make(0600);
    EXPECT_THAT(folderProblem(file()).value_or(""), HasSubstr("is not a folder"));
}

} // namespace
} // namespace trevix
