#include "app/panel/panel_bridge.h"

#include "tests/app/panel/panel_states.h"
#include "tests/source_tree.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QSignalSpy>

namespace kelvane {
namespace {

struct BridgeTest : testing::Test {
    PanelFixture panel;
    PanelBridge bridge{panel.model, panel.images};
};

TEST_F(BridgeTest, RedrawsOnTheNextTurnOfTheLoopAndOnceForManyChanges) {
    QSignalSpy actions(&bridge, &PanelBridge::actionsChanged);
    panel.model.hasKey = true;
    panel.model.hasKey = false;
    panel.model.grading = true;
    EXPECT_EQ(actions.count(), 0);
    EXPECT_EQ(bridge.verdict().progress, "");
    QCoreApplication::processEvents();
    EXPECT_EQ(actions.count(), 1);
    EXPECT_NE(bridge.verdict().progress, "");
}

TEST_F(BridgeTest, OnlyWhatChangedIsSignalled) {
    QSignalSpy header(&bridge, &PanelBridge::headerChanged);
    QSignalSpy now(&bridge, &PanelBridge::nowChanged);
    QSignalSpy agents(&bridge, &PanelBridge::agentsChanged);
    QSignalSpy workflow(&bridge, &PanelBridge::workflowChanged);
    QSignalSpy footer(&bridge, &PanelBridge::footerChanged);
    QSignalSpy verdict(&bridge, &PanelBridge::verdictChanged);
    panel.model.agents = std::vector<DetectedAgent>(1);
    bridge.redraw();
    EXPECT_EQ(agents.count(), 1);
    EXPECT_EQ(header.count() + now.count() + workflow.count() + footer.count() + verdict.count(),
              0);
}

TEST_F(BridgeTest, AnAssignmentOfTheSameValueDrawsNothing) {
    QSignalSpy agents(&bridge, &PanelBridge::agentsChanged);
    panel.model.agents = std::vector<DetectedAgent>{};
    QCoreApplication::processEvents();
    EXPECT_EQ(agents.count(), 0);
}

TEST_F(BridgeTest, RedrawAtOnceLeavesNothingForTheLoop) {
    QSignalSpy header(&bridge, &PanelBridge::headerChanged);
    panel.model.hasKey = true;
    bridge.redraw();
    EXPECT_EQ(bridge.header().dot, PanelTint::Value::Green);
    QCoreApplication::processEvents();
    EXPECT_EQ(header.count(), 1);
}

TEST_F(BridgeTest, WhoDoesNotFollowIsRedrawnWhenAsked) {
    QSignalSpy header(&bridge, &PanelBridge::headerChanged);
    panel.model.hasKey = true; // Told, and not drawn yet.
    bridge.follow(false);
    QCoreApplication::processEvents();
    panel.model.grading = true;
    QCoreApplication::processEvents();
    EXPECT_EQ(header.count(), 0);
    bridge.redraw();
    EXPECT_EQ(header.count(), 1);
    EXPECT_EQ(bridge.header().dot, PanelTint::Value::Green);

    bridge.follow(true);
    panel.model.hasKey = false;
    QCoreApplication::processEvents();
    EXPECT_EQ(header.count(), 2);
}

TEST_F(BridgeTest, ABridgeThatIsGoneIsNotRedrawn) {
    {
        PanelBridge shortLived(panel.model, panel.images);
        panel.model.hasKey = true;
    }
    QCoreApplication::processEvents();
    panel.model.hasKey = false;
}

TEST_F(BridgeTest, CallsTheHooks) {
    std::string called;
    panel.model.onWire = [&] { called += "wire "; };
    panel.model.onGetKey = [&] { called += "key "; };
    panel.model.onUninstall = [&] { called += "uninstall "; };
    panel.model.onQuit = [&] { called += "quit"; };
    bridge.wire();
    bridge.getKey();
    bridge.uninstall();
    bridge.quit();
    EXPECT_EQ(called, "wire key uninstall quit");
}

TEST_F(BridgeTest, ChoosesFromTheMenu) {
    std::string called;
    panel.model.onGetKey = [&] { called += "key "; };
    panel.model.onUninstall = [&] { called += "uninstall "; };
    panel.model.onQuit = [&] { called += "quit"; };
    for (const auto& item : bridge.footer().menu) bridge.choose(item.action);
    EXPECT_EQ(called, "key uninstall quit");
}

TEST_F(BridgeTest, OpensTheReportOfTheVerdictShown) {
    std::vector<std::string> opened;
    panel.model.onOpenReport = [&](const std::string& runId) { opened.push_back(runId); };
    bridge.openReport();
    panel.model.seedDemo();
    bridge.redraw();
    bridge.openReport();
    EXPECT_EQ(opened, std::vector<std::string>{"demo-run"});
}

TEST_F(BridgeTest, AHookMayReplaceItself) {
    panel.model.onWire = [this] { panel.model.onWire = [] {}; };
    bridge.wire();
    bridge.wire();
}

TEST_F(BridgeTest, TextSizeStaysWithinItsBounds) {
    bridge.setTextSize(4);
    EXPECT_EQ(bridge.textSize(), PanelBridge::kSmallestTextSize);
    bridge.setTextSize(90);
    EXPECT_EQ(bridge.textSize(), PanelBridge::kLargestTextSize);
}

TEST_F(BridgeTest, AnAppWithoutAnIconHasNoSource) {
    panel.model.seedDemo();
    bridge.redraw();
    EXPECT_EQ(bridge.now().icon, "");
}

TEST_F(BridgeTest, AnAppWithAnIconHasASource) {
    panel.fake.icons.icons["com.figma.Desktop"] = IconFile{inSourceTree("resources/brask.png")};
    panel.model.seedDemo();
    bridge.redraw();
    EXPECT_EQ(bridge.now().icon, "image://app-icon/com.figma.Desktop");
}

TEST_F(BridgeTest, WithoutTheMarkThereIsNoSource) {
    EXPECT_TRUE(bridge.header().mark.startsWith("file://"));
    panel.fake.resources.resources.clear();
    const PanelBridge without(panel.model, panel.images);
    EXPECT_EQ(without.header().mark, "");
}

} // namespace
} // namespace kelvane
