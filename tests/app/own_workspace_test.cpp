#include "app/own_workspace.h"

#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

class OwnWorkspaceTest : public testing::Test {
protected:
    OwnWorkspaceTest() {
        fake.workspace.running = {{"org.example.editor", "Editor", 10},
                                  {"wmclass:example.menubar", "Kelvane", 20},
                                  {std::nullopt, std::nullopt, 30},
                                  {"wmclass:other", "Other", 40}};
    }
    FakePlatform fake;
    OwnWorkspace workspace{fake.workspace, "example.menubar"};
};

TEST_F(OwnWorkspaceTest, ItselfInFrontCarriesItsIdentifierWithoutBeingInstalled) {
    fake.workspace.front = 20;
    EXPECT_EQ(workspace.frontmost(), (RunningApp{"example.menubar", "Kelvane", 20}));
}

TEST_F(OwnWorkspaceTest, ItselfInFrontCarriesItsIdentifierWhenInstalled) {
    fake.workspace.running[1].bundleId = "example.menubar";
    fake.workspace.front = 20;
    EXPECT_EQ(workspace.frontmost(), fake.workspace.running[1]);
}

TEST_F(OwnWorkspaceTest, OthersPassThrough) {
    for (const std::size_t other : {0U, 2U, 3U}) {
        fake.workspace.front = fake.workspace.running[other].pid;
        EXPECT_EQ(workspace.frontmost(), fake.workspace.running[other]);
    }
    fake.workspace.front.reset();
    EXPECT_EQ(workspace.frontmost(), std::nullopt);
}

TEST_F(OwnWorkspaceTest, ItselfIsFoundAmongTheRunning) {
    EXPECT_EQ(workspace.instancesOf("example.menubar").size(), 1U);
    EXPECT_EQ(workspace.runningApplications().size(), 4U);
}

TEST_F(OwnWorkspaceTest, ActivatingPassesThrough) {
    EXPECT_TRUE(workspace.activate(10));
    EXPECT_FALSE(workspace.activate(99));
    EXPECT_EQ(fake.workspace.front, 10);
}

TEST_F(OwnWorkspaceTest, ActivatesItselfWhenItHasAWindow) {
    EXPECT_TRUE(workspace.activateItself(std::nullopt));
    EXPECT_EQ(fake.workspace.front, 20);
    EXPECT_TRUE(workspace.activateItself(7));
    EXPECT_EQ(fake.journal.entries(),
              (std::vector<std::string>{"activate 20", "window 7", "activate 20"}));
    fake.workspace.running.erase(fake.workspace.running.begin() + 1);
    EXPECT_FALSE(workspace.activateItself(std::nullopt));
    EXPECT_FALSE(workspace.activateItself(7));
}

} // namespace
} // namespace kelvane
