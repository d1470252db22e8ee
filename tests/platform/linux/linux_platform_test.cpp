#include "platform/linux/linux_platform.h"

#include "platform/fake/fake_environment.h"
#include "platform/fake/fake_own_focus.h"
#include "tests/platform/linux/x11/x11_desktop_test.h"

#include <gmock/gmock.h>

namespace kelvane {
namespace {

class LinuxPlatformTest : public X11DesktopTest<LinuxPlatformTest> {
protected:
    LinuxDesktop make() {
        for (const auto& [name, value] : desktop().environment()) {
            m_environment.variables[name] = value;
        }
        return makeLinuxDesktop(m_environment, m_clock, m_ownFocus);
    }

    Journal m_journal;
    FakeOwnFocus m_ownFocus;
    FakeClock m_clock{m_journal};
    FakeEnvironment m_environment;
};

TEST_F(LinuxPlatformTest, answersAboutTheDisplayOfItsEnvironment) {
    auto ports = make();
    EXPECT_TRUE(ports.keyboard->trusted());
    const auto window = paint({.background = 0xFFFFFF, .wmClass = "Whole"});
    ASSERT_TRUE(desktop().activate(window->id()));
    const auto front = ports.workspace->frontmost();
    ASSERT_TRUE(front);
    EXPECT_EQ(front->bundleId, "wmclass:whole");
    const auto windows = ports.windowList->onScreenWindows();
    ASSERT_TRUE(windows);
    ASSERT_EQ(windows->size(), 1U);
    EXPECT_EQ(windows->front().ownerPid, front->pid);
    EXPECT_TRUE(ports.windowPicture->png(*windows->front().number));
}

TEST_F(LinuxPlatformTest, copiesFromTheApplicationInFront) {
    auto ports = make();
    const auto mousepad = open({"mousepad", "--disable-server"}, "Mousepad");
    ASSERT_TRUE(desktop().activate(mousepad));
    const auto pid = ports.workspace->frontmost()->pid;
    // Nothing is selected, so the question is only whether asking is harmless to everybody.
    const auto before = ports.pasteboard->changeCount();
    ports.keyboard->postCopy(pid + 1);
    EXPECT_EQ(ports.pasteboard->changeCount(), before);
    ports.keyboard->postCopy(pid);
    EXPECT_EQ(ports.pasteboard->string(), std::nullopt);
}

TEST(LinuxPlatformAlone, withoutADisplayEveryAnswerIsTheAbsentOne) {
    for (const auto* const display : {"", ":64321", "rubbish"}) {
        Journal journal;
        FakeClock clock(journal);
        FakeOwnFocus ownFocus;
        FakeEnvironment environment;
        environment.variables["DISPLAY"] = display;
        auto ports = makeLinuxDesktop(environment, clock, ownFocus);
        EXPECT_EQ(ports.workspace->frontmost(), std::nullopt);
        EXPECT_TRUE(ports.workspace->runningApplications().empty());
        EXPECT_FALSE(ports.workspace->activate(1));
        EXPECT_FALSE(ports.keyboard->trusted());
        ports.keyboard->postCopy(1);
        EXPECT_EQ(ports.pasteboard->string(), std::nullopt);
        ports.pasteboard->setString("lost");
        EXPECT_EQ(ports.windowList->onScreenWindows(), std::nullopt);
        EXPECT_EQ(ports.windowPicture->png(1), std::nullopt);
    }
}

} // namespace
} // namespace kelvane
