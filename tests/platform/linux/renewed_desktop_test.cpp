#include "platform/linux/renewed_desktop.h"

#include "platform/fake/fakes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace kelvane {
namespace {

using testing::ElementsAre;

/// Fakes of one desktop; a picture of it is its name.
struct Source {
    explicit Source(std::string line) {
        auto workspace = std::make_unique<FakeWorkspace>(journal);
        auto pasteboard = std::make_unique<FakePasteboard>(journal);
        auto limits = std::make_unique<FakeDesktopLimits>();
        limits->limit.line = line;
        workspace->running = {{line, line, 1}};
        workspace->front = 1;
        pasteboard->text = line;
        ports.workspace = std::move(workspace);
        ports.keyboard = std::make_unique<FakeKeyboard>(journal);
        ports.pasteboard = std::move(pasteboard);
        ports.windowList = std::make_unique<FakeWindowList>(journal);
        ports.windowPicture = std::make_unique<FakeWindowPicture>(journal);
        ports.panelPlace = std::make_unique<NoPanelPlace>();
        ports.limits = std::move(limits);
        ports.accessibility = std::make_unique<FakeAccessibilitySwitch>(journal);
    }
    Journal journal;
    LinuxDesktop ports;
};

class RenewedDesktopTest : public testing::Test {
protected:
    Source first{"few"};
    Source second{"all"};
    int looks = 0;
    bool tells = false;
    LinuxDesktop desktop =
        makeRenewedDesktop(std::move(first.ports), [this]() -> std::optional<LinuxDesktop> {
            ++looks;
            if (!tells) return std::nullopt;
            return std::move(second.ports);
        });
    std::optional<std::string> front() { return desktop.workspace->frontmost()->bundleId; }
};

TEST_F(RenewedDesktopTest, AnswersAsAtFirstWhileTheDesktopTellsNoMore) {
    EXPECT_EQ(desktop.limits->now().line, "few");
    EXPECT_EQ(desktop.limits->now().line, "few");
    EXPECT_EQ(front(), "few");
    EXPECT_EQ(looks, 2);
}

TEST_F(RenewedDesktopTest, OnlyTheLimitsLook) {
    EXPECT_EQ(front(), "few");
    EXPECT_EQ(desktop.pasteboard->string(), "few");
    EXPECT_EQ(looks, 0);
}

TEST_F(RenewedDesktopTest, AnswersByWhatItTellsLaterAndLooksNoMore) {
    tells = true;
    EXPECT_EQ(desktop.limits->now().line, "all");
    EXPECT_EQ(front(), "all");
    (void)desktop.pasteboard->remember();
    EXPECT_EQ(desktop.pasteboard->string(), "all");
    EXPECT_EQ(desktop.limits->now().line, "all");
    EXPECT_EQ(looks, 1);
    EXPECT_TRUE(desktop.accessibility);
}

TEST_F(RenewedDesktopTest, OneWindowIsAskedForAtTheDesktopThatHolds) {
    EXPECT_TRUE(desktop.workspace->activateWindow(1, 7));
    EXPECT_THAT(first.journal.entries(), ElementsAre("window 7", "activate 1"));
    tells = true;
    EXPECT_EQ(desktop.limits->now().line, "all");
    EXPECT_TRUE(desktop.workspace->activateWindow(1, 8));
    EXPECT_THAT(second.journal.entries(), ElementsAre("window 8", "activate 1"));
}

TEST_F(RenewedDesktopTest, ACaptureEndsWithTheClipboardItBeganWith) {
    const auto memory = desktop.pasteboard->remember();
    tells = true;
    (void)desktop.limits->now();
    desktop.keyboard->postCopy(7);
    desktop.pasteboard->setString("copied");
    desktop.pasteboard->putBack(memory);
    EXPECT_THAT(second.journal.entries(), ElementsAre());
    EXPECT_EQ(desktop.pasteboard->string(), "few");
    (void)desktop.pasteboard->remember();
    EXPECT_EQ(desktop.pasteboard->string(), "all");
}

} // namespace
} // namespace kelvane
