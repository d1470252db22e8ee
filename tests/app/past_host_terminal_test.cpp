#include "app/past_host_terminal.h"

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

struct PastHostTerminalTest : testing::Test {
    PastHostTerminalTest() {
        fake.workspace.running = {{.bundleId = "org.terminal", .name = "Terminal", .pid = 1},
                                  {.bundleId = "org.editor", .name = "Editor", .pid = 2}};
        fake.windows.windows = {
            {{.ownerPid = 2, .layer = 0, .bounds = std::nullopt, .number = 200},
             {.ownerPid = 1, .layer = 0, .bounds = std::nullopt, .number = 100}}};
    }
    FakePlatform fake;
};

TEST_F(PastHostTerminalTest, NothingIsInFrontWhileTheHostIs) {
    PastHostTerminal byWindow(fake.workspace, fake.windows, {.bundleId = {}, .window = 100});
    PastHostTerminal byId(fake.workspace, fake.windows, {.bundleId = "org.terminal", .window = {}});
    fake.workspace.front = 1;
    EXPECT_EQ(byWindow.frontmost(), std::nullopt);
    EXPECT_EQ(byId.frontmost(), std::nullopt);
    fake.workspace.front = 2;
    EXPECT_EQ(byWindow.frontmost()->name, "Editor");
    EXPECT_EQ(byId.frontmost()->name, "Editor");
}

TEST_F(PastHostTerminalTest, WithoutAHostNothingIsHidden) {
    PastHostTerminal workspace(fake.workspace, fake.windows, {});
    fake.workspace.front = 1;
    EXPECT_EQ(workspace.frontmost()->name, "Terminal");
    EXPECT_EQ(fake.journal.count("windows"), 0U);
}

TEST_F(PastHostTerminalTest, UnknownWindowOrAbsentListHidesNothing) {
    PastHostTerminal workspace(fake.workspace, fake.windows, {.bundleId = {}, .window = 999});
    fake.workspace.front = 1;
    EXPECT_EQ(workspace.frontmost()->name, "Terminal");
    fake.windows.windows = std::nullopt;
    EXPECT_EQ(workspace.frontmost()->name, "Terminal");
}

TEST_F(PastHostTerminalTest, EverythingElsePassesThrough) {
    PastHostTerminal workspace(fake.workspace, fake.windows, {.bundleId = {}, .window = 100});
    EXPECT_EQ(workspace.runningApplications().size(), 2U);
    EXPECT_TRUE(workspace.activate(2));
    EXPECT_EQ(fake.workspace.front, 2);
}

TEST(WindowNumber, OnlyAPositiveDecimalNumberCounts) {
    EXPECT_EQ(windowNumber("12582925"), 12582925);
    for (const char* bad : {"", "0", "-3", "0x12", "12 ", "12x", "99999999999999999999"}) {
        EXPECT_EQ(windowNumber(bad), std::nullopt) << bad;
    }
    EXPECT_EQ(windowNumber(std::nullopt), std::nullopt);
}

} // namespace
} // namespace kelvane
