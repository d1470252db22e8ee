#include "tests/platform/linux/virtual_desktop.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace kelvane {
namespace {

TEST(VirtualDesktop, startsARealProgramAndSeesItsWindow) {
    VirtualDesktop desktop;
    const auto program = desktop.start({"xterm", "-class", "Probe", "-e", "sleep", "600"});
    const auto window = desktop.waitForWindow(VirtualDesktop::ofClass("Probe"));
    ASSERT_TRUE(window);
    EXPECT_EQ(window->pid, program);
    EXPECT_TRUE(desktop.activate(window->window));
    EXPECT_EQ(desktop.activeWindow(), window->window);
    desktop.end(program);
    EXPECT_FALSE(desktop.running(program));
}

TEST(TestPrograms, endsAForkThatNeverBecomesAnotherProgram) {
    const auto home = makeTestHome();
    TestPrograms programs;
    const auto other = programs.start({"sleep", "600"}, {}, home / "log");
    const pid_t fork = ::fork();
    if (fork == 0) {
        for (;;) ::pause();
    }
    int status = 0;
    const auto ended = [&] { return ::waitpid(fork, &status, WNOHANG) == fork; };
    programs.endStuckForks(::getpid(), std::chrono::hours(1));
    EXPECT_FALSE(ended()) << "it has that long";
    EXPECT_TRUE(TestPrograms::waitUntil([&] {
        programs.endStuckForks(::getpid(), std::chrono::milliseconds(1));
        return ended();
    }));
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_TRUE(programs.running(other)) << "it is a program of its own";
    std::filesystem::remove_all(home);
}

TEST(VirtualDesktop, leavesNothingBehind) {
    pid_t program = 0;
    std::filesystem::path home;
    std::string display;
    {
        VirtualDesktop desktop;
        program = desktop.start({"xterm", "-e", "sleep", "600"});
        ASSERT_TRUE(desktop.waitForWindow(VirtualDesktop::ofPid(program)));
        home = desktop.home();
        display = desktop.display();
    }
    EXPECT_EQ(::kill(program, 0), -1);
    EXPECT_FALSE(std::filesystem::exists(home));
    EXPECT_EQ(X11Connection::open(display), nullptr);
    EXPECT_FALSE(std::filesystem::exists("/tmp/.X" + display.substr(1) + "-lock"));
}

TEST(VirtualDesktop, saysWhichProgramIsMissing) {
    VirtualDesktop desktop({.windowManager = false, .sessionBus = false});
    try {
        desktop.start({"no-such-program"});
        FAIL() << "nothing was thrown";
    } catch (const std::exception& error) {
        EXPECT_NE(std::string(error.what()).find("no-such-program"), std::string::npos);
    }
}

TEST(VirtualDesktop, startsNoNotificationServiceOfTheMachine) {
    VirtualDesktop desktop({.windowManager = false});
    const auto told = desktop.home() / "told.txt";
    const auto question =
        desktop.start({"sh", "-c",
                       "dbus-send --session --print-reply --dest=org.freedesktop.Notifications "
                       "/ org.freedesktop.DBus.Peer.Ping 2> " +
                           told.string()});
    ASSERT_TRUE(VirtualDesktop::waitUntil([&] { return !desktop.running(question); }));
    std::ostringstream said;
    said << std::ifstream(told).rdbuf();
    EXPECT_NE(said.str().find("Spawn.ChildExited"), std::string::npos) << said.str();
}

TEST(VirtualDesktop, answersAfterTheServerDied) {
    VirtualDesktop desktop({.sessionBus = false});
    desktop.killServer();
    EXPECT_TRUE(desktop.windows().empty());
    EXPECT_EQ(desktop.activeWindow(), static_cast<xcb_window_t>(XCB_WINDOW_NONE));
}

} // namespace
} // namespace kelvane
