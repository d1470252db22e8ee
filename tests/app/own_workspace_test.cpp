#include "app/own_workspace.h"

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

class OwnWorkspaceTest : public testing::Test {
protected:
    OwnWorkspaceTest() {
        fake.workspace.running = {{"org.example.editor", "Editor", 10},
                                  {"wmclass:kelvane", "Kelvane", 20},
                                  {std::nullopt, std::nullopt, 30}};
    }
    FakePlatform fake;
    OwnWorkspace workspace{fake.workspace, "example.menubar", 20};
};

TEST_F(OwnWorkspaceTest, ItselfInFrontCarriesItsIdentifier) {
    fake.workspace.front = 20;
    EXPECT_EQ(workspace.frontmost(), (RunningApp{"example.menubar", "Kelvane", 20}));
}

TEST_F(OwnWorkspaceTest, OthersPassThrough) {
    fake.workspace.front = 10;
    EXPECT_EQ(workspace.frontmost(), fake.workspace.running[0]);
    fake.workspace.front = 30;
    EXPECT_EQ(workspace.frontmost(), fake.workspace.running[2]);
    fake.workspace.front.reset();
    EXPECT_EQ(workspace.frontmost(), std::nullopt);
}

TEST_F(OwnWorkspaceTest, ItselfIsFoundAmongTheRunning) {
    EXPECT_EQ(runningApplications(workspace, "example.menubar").size(), 1U);
    EXPECT_EQ(workspace.runningApplications().size(), 3U);
}

TEST_F(OwnWorkspaceTest, ActivatingPassesThrough) {
    EXPECT_TRUE(workspace.activate(10));
    EXPECT_FALSE(workspace.activate(99));
    EXPECT_EQ(fake.workspace.front, 10);
}

} // namespace
} // namespace kelvane
