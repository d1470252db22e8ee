#include "service/setup/local_socket.h"

#include "tests/service/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

namespace trevix {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

class LocalSocketTest : public testing::Test {
protected:
    [[nodiscard]] fs::path path() const { return m_folder.path() / "trevix-local" / "api.sock"; }
    static std::string errorOf(const fs::path& socket) {
        const auto made = LocalSocket::listen(socket);
        const auto* error = std::get_if<SocketError>(&made);
        EXPECT_NE(error, nullptr) << socket;
        return error == nullptr ? "" : error->text;
    }
    static bool listens(const fs::path& socket) {
        return std::holds_alternative<LocalSocket>(LocalSocket::listen(socket));
    }
    static unsigned modeOf(const fs::path& path) {
        struct stat facts {};
        EXPECT_EQ(lstat(path.c_str(), &facts), 0) << path;
        return facts.st_mode & 07777U;
    }

    TemporaryFolder m_folder;
};

TEST_F(LocalSocketTest, IsItsOwnersAloneAndGoesWhenItEnds) {
    {
        const auto made = LocalSocket::listen(path());
        ASSERT_TRUE(std::holds_alternative<LocalSocket>(made));
        EXPECT_EQ(modeOf(path()), 0600U);
        EXPECT_EQ(modeOf(path().parent_path()), 0700U);
        EXPECT_THAT(errorOf(path()), HasSubstr("another program listens on"));
        EXPECT_TRUE(fs::exists(path())) << "which goes on";
    }
    EXPECT_FALSE(fs::exists(path()));
}

TEST_F(LocalSocketTest, OneOnWhichNobodyAnswersIsReplaced) {
    auto made = LocalSocket::listen(path());
    ASSERT_TRUE(std::holds_alternative<LocalSocket>(made));
    // As a program leaves it that was killed.
    ::close(std::get<LocalSocket>(made).release());
    ASSERT_TRUE(fs::exists(path()));
    EXPECT_TRUE(listens(path()));
}

TEST_F(LocalSocketTest, WhatIsNoSocketStays) {
    fs::create_directory(path().parent_path());
    chmod(path().parent_path().c_str(), 0700);
    std::ofstream(path()) << "mine";
    EXPECT_THAT(errorOf(path()), HasSubstr("is there already"));
    EXPECT_EQ(fs::file_size(path()), 4U);
    fs::remove(path());
    fs::create_symlink(m_folder.path() / "elsewhere", path());
    EXPECT_THAT(errorOf(path()), HasSubstr("is there already"));
    EXPECT_TRUE(fs::is_symlink(path()));
}

TEST_F(LocalSocketTest, AFolderThatOthersMayEnterIsAnError) {
    fs::create_directory(path().parent_path());
    for (const unsigned mode : {0755U, 0711U, 0777U}) {
        chmod(path().parent_path().c_str(), mode);
        EXPECT_THAT(errorOf(path()), HasSubstr("chmod 700")) << mode;
        EXPECT_EQ(modeOf(path().parent_path()), mode);
        EXPECT_FALSE(fs::exists(path()));
    }
    chmod(path().parent_path().c_str(), 0700);
    EXPECT_TRUE(listens(path()));
}

TEST_F(LocalSocketTest, PathsThatCannotBeAddressesAreErrors) {
    EXPECT_THAT(errorOf("relative.sock"), HasSubstr("not an absolute path"));
    EXPECT_THAT(errorOf(m_folder.path() / std::string(200, 'x')), HasSubstr("is longer than"));
}

TEST_F(LocalSocketTest, TheDefaultStandsInTheRuntimeFolderOfThisUser) {
    const std::string folder = m_folder.path().string();
    EXPECT_EQ(defaultSocket(folder), m_folder.path() / "trevix-local" / "api.sock");
    EXPECT_EQ(defaultSocket(std::nullopt), std::nullopt);
    EXPECT_EQ(defaultSocket(""), std::nullopt);
    EXPECT_EQ(defaultSocket("run/user"), std::nullopt);
    EXPECT_EQ(defaultSocket(folder + "/none"), std::nullopt);
    std::ofstream(m_folder.path() / "file") << "x";
    EXPECT_EQ(defaultSocket(folder + "/file"), std::nullopt);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(folder.c_str(), 65534, 65534), 0);
        EXPECT_EQ(defaultSocket(folder), std::nullopt) << "somebody else's";
        ASSERT_EQ(chown(folder.c_str(), 0, 0), 0);
    }
}

TEST_F(LocalSocketTest, ItsBaseAddressIsThePathEscaped) {
    EXPECT_EQ(socketBase("/run/user/1000/trevix-local/api.sock"),
              "http+unix://%2Frun%2Fuser%2F1000%2Ftrevix-local%2Fapi.sock");
    EXPECT_EQ(socketBase("/a b/%\xc3\xa4?#"), "http+unix://%2Fa%20b%2F%25%C3%A4%3F%23");
}

} // namespace
} // namespace trevix
