#include "app/shell/qt/single_instance.h"

#include "tests/platform/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>

#include <atomic>
#include <chrono>
#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace kelvane {
namespace {

using testing::ElementsAre;

mode_t modeOf(const std::filesystem::path& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 0777U : 0;
}

void runLoopUntil(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done() && std::chrono::steady_clock::now() < deadline) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
}

class SingleInstanceTest : public testing::Test {
protected:
    TemporaryFolder temporary;
    std::filesystem::path folder = temporary.path() / "instance";
    std::vector<std::string> opened;

    /// Asks from another thread while this one's loop serves.
    bool ask(SingleInstance& later, const std::string& token) {
        std::atomic<int> answer = -1;
        std::thread asking([&] { answer = later.askToOpen(token) ? 1 : 0; });
        runLoopUntil([&] { return answer >= 0; });
        asking.join();
        return answer == 1;
    }
};

TEST_F(SingleInstanceTest, TheFirstOneListensAndALaterOneOpensIt) {
    SingleInstance first(folder, "x11-_0");
    ASSERT_EQ(first.role(), SingleInstance::Role::First);
    first.listen([this](const std::string& token) { opened.push_back(token); });
    for (const std::string token : {"token-1", ""}) {
        SingleInstance later(folder, "x11-_0");
        ASSERT_EQ(later.role(), SingleInstance::Role::Later);
        EXPECT_TRUE(ask(later, token));
    }
    EXPECT_THAT(opened, ElementsAre("token-1", ""));
}

TEST_F(SingleInstanceTest, AnotherDisplayIsAnotherInstance) {
    const SingleInstance first(folder, "x11-_0");
    const SingleInstance second(folder, "x11-_1");
    EXPECT_EQ(first.role(), SingleInstance::Role::First);
    EXPECT_EQ(second.role(), SingleInstance::Role::First);
}

TEST_F(SingleInstanceTest, OnlyThisUserCanEnterAndConnect) {
    SingleInstance first(folder, "x11-_0");
    first.listen([](const std::string&) {});
    EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_EQ(modeOf(folder / "x11-_0.socket"), 0600U);
    EXPECT_EQ(modeOf(folder / "x11-_0.lock"), 0600U);
}

TEST_F(SingleInstanceTest, AnotherUserCannotConnect) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    std::filesystem::permissions(temporary.path(), std::filesystem::perms::all);
    SingleInstance first(folder, "x11-_0");
    first.listen([](const std::string&) {});
    const std::string path = folder / "x11-_0.socket";
    const pid_t child = ::fork();
    if (child == 0) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(2);
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        ::_exit(::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? 1 : 0);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(SingleInstanceTest, ACrashLeavesNothingInTheWay) {
    const pid_t child = ::fork();
    if (child == 0) {
        SingleInstance crashing(folder, "x11-_0");
        crashing.listen([](const std::string&) {});
        ::_exit(0); // Nothing is cleared away.
    }
    ::waitpid(child, nullptr, 0);
    ASSERT_TRUE(std::filesystem::exists(folder / "x11-_0.socket"));
    SingleInstance next(folder, "x11-_0");
    ASSERT_EQ(next.role(), SingleInstance::Role::First);
    next.listen([this](const std::string& token) { opened.push_back(token); });
    SingleInstance later(folder, "x11-_0");
    EXPECT_TRUE(ask(later, "after"));
    EXPECT_THAT(opened, ElementsAre("after"));
}

TEST_F(SingleInstanceTest, AnOrderlyEndRemovesTheSocketAndFreesTheLock) {
    {
        SingleInstance first(folder, "x11-_0");
        first.listen([](const std::string&) {});
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "x11-_0.socket"));
    EXPECT_EQ(SingleInstance(folder, "x11-_0").role(), SingleInstance::Role::First);
}

TEST_F(SingleInstanceTest, AFolderThatOthersMayEnterIsNotUsed) {
    std::filesystem::create_directories(folder);
    std::filesystem::permissions(folder, std::filesystem::perms(0755));
    EXPECT_EQ(SingleInstance(folder, "x11-_0").role(), SingleInstance::Role::Unknown);
}

TEST_F(SingleInstanceTest, ALinkInPlaceOfTheFolderIsNotUsed) {
    std::filesystem::create_directories(temporary.path() / "elsewhere");
    std::filesystem::create_directory_symlink(temporary.path() / "elsewhere", folder);
    EXPECT_EQ(SingleInstance(folder, "x11-_0").role(), SingleInstance::Role::Unknown);
}

TEST_F(SingleInstanceTest, NonsenseOnTheSocketOpensNothing) {
    SingleInstance first(folder, "x11-_0");
    first.listen([this](const std::string& token) { opened.push_back(token); });
    const std::string path = folder / "x11-_0.socket";
    for (const std::string& message :
         {std::string("\n"), std::string("close\n"), std::string("openly\n"),
          std::string(10'000, 'x'), std::string("open no end of line")}) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_EQ(::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ASSERT_EQ(::send(fd, message.data(), message.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(message.size()));
        ::shutdown(fd, SHUT_WR);
        for (int i = 0; i < 5; ++i) QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        ::close(fd);
    }
    EXPECT_TRUE(opened.empty());
    SingleInstance later(folder, "x11-_0");
    EXPECT_TRUE(ask(later, "honest"));
    EXPECT_THAT(opened, ElementsAre("honest"));
}

TEST_F(SingleInstanceTest, OtherLinesAreAnsweredAndOpenNothing) {
    SingleInstance first(folder, "x11-_0");
    std::vector<std::string> lines;
    first.listen([this](const std::string& token) { opened.push_back(token); },
                 [&](const std::string& line) {
                     lines.push_back(line);
                     return "answer to " + line;
                 });
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = folder / "x11-_0.socket";
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    const std::string message = "status\n";
    ASSERT_EQ(::send(fd, message.data(), message.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(message.size()));
    std::string reply;
    runLoopUntil([&] {
        char bytes[64];
        const ssize_t size = ::recv(fd, bytes, sizeof bytes, MSG_DONTWAIT);
        if (size > 0) reply.append(bytes, static_cast<std::size_t>(size));
        return size == 0;
    });
    ::close(fd);
    EXPECT_EQ(reply, "answer to status\n");
    EXPECT_THAT(lines, ElementsAre("status"));
    EXPECT_TRUE(opened.empty());
}

TEST(DesktopNameTest, Table) {
    const struct {
        EnvironmentSnapshot environment;
        std::string expected;
    } cases[] = {
        {{{"DISPLAY", ":7"}}, "x11-_7"},
        {{{"DISPLAY", ":7.0"}}, "x11-_7"},
        {{{"DISPLAY", "host.example:7"}}, "x11-host_example_7"},
        {{{"DISPLAY", "../../x"}}, "x11-______x"},
        {{{"DISPLAY", ":7"}, {"WAYLAND_DISPLAY", "wayland-0"}}, "wayland-wayland-0"},
        {{{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}}, "console"},
        {{}, "console"},
    };
    for (const auto& c : cases) EXPECT_EQ(desktopName(c.environment), c.expected);
}

TEST(InstanceFolderTest, Table) {
    EXPECT_EQ(instanceFolder({{"XDG_RUNTIME_DIR", "/run/user/7"}}, "id", 7, "/tmp"),
              "/run/user/7/id");
    EXPECT_EQ(instanceFolder({{"XDG_RUNTIME_DIR", "relative"}}, "id", 7, "/tmp"), "/tmp/id-7");
    EXPECT_EQ(instanceFolder({{"XDG_RUNTIME_DIR", ""}}, "id", 7, "/tmp"), "/tmp/id-7");
    EXPECT_EQ(instanceFolder({}, "id", 7, "/tmp"), "/tmp/id-7");
}

} // namespace
} // namespace kelvane
