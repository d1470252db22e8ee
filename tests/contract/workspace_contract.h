// What every workspace and window list promises, wherever the windows of two applications stand.
//
// A test program that includes this furnishes a desktop of its kind, and instantiates
// `DesktopContract` with it.

#pragma once

#include "platform/ports/window_list.h"
#include "platform/ports/window_picture.h"
#include "platform/ports/workspace.h"
#include "tests/platform/linux/test_programs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace kelvane {

/// A desktop that a test can furnish, and the ports that are to describe it.
class Furnished {
public:
    virtual ~Furnished() = default;
    virtual Workspace& workspace() = 0;
    virtual WindowList& windowList() = 0;
    virtual WindowPicture& windowPicture() = 0;

    /// Opens a window of this size of the application called `name`, in front of all others.
    virtual void open(const std::string& name, std::uint16_t width, std::uint16_t height) = 0;
    /// Closes everything of that application.
    virtual void close(const std::string& name) = 0;
};

struct DesktopKind {
    const char* name;
    std::function<std::unique_ptr<Furnished>()> make;
};

/// By its name and not by its bytes, which differ from build to build.
inline void PrintTo(const DesktopKind& kind, std::ostream* out) {
    *out << kind.name;
}

class DesktopContract : public testing::TestWithParam<DesktopKind> {
protected:
    void SetUp() override {
        m_desktop = GetParam().make();
        ASSERT_NE(m_desktop, nullptr);
    }
    Workspace& workspace() { return m_desktop->workspace(); }
    std::vector<std::string> names() {
        std::vector<std::string> found;
        for (const auto& app : workspace().runningApplications()) {
            found.push_back(app.name.value_or(""));
        }
        return found;
    }
    std::optional<std::string> front() {
        const auto app = workspace().frontmost();
        return app ? app->name : std::nullopt;
    }
    std::vector<WindowInfo> windows() {
        const auto list = m_desktop->windowList().onScreenWindows();
        EXPECT_TRUE(list) << "an empty desktop has an empty list, not none";
        return list.value_or(std::vector<WindowInfo>{});
    }
    ProcessId pidOf(const std::string& name) {
        for (const auto& app : workspace().runningApplications()) {
            if (app.name == name) return app.pid;
        }
        ADD_FAILURE() << name << " does not run";
        return 0;
    }
    /// A desktop that is busy may not bring a window forward in time, where its picture needs that.
    std::optional<std::string> pictureOf(std::int64_t number) {
        std::optional<std::string> png;
        TestPrograms::waitUntil([&] {
            png = m_desktop->windowPicture().png(number);
            return png.has_value();
        });
        return png;
    }

    std::unique_ptr<Furnished> m_desktop;
};

TEST_P(DesktopContract, anEmptyDesktopHasNobodyAndNothing) {
    EXPECT_EQ(workspace().frontmost(), std::nullopt);
    EXPECT_THAT(workspace().runningApplications(), testing::IsEmpty());
    EXPECT_THAT(windows(), testing::IsEmpty());
    EXPECT_FALSE(workspace().activate(4711));
    EXPECT_EQ(m_desktop->windowPicture().png(4711), std::nullopt);
}

TEST_P(DesktopContract, applicationsAreListedOldestFirstAndOnce) {
    m_desktop->open("One", 200, 100);
    m_desktop->open("Two", 200, 100);
    m_desktop->open("One", 300, 100);
    EXPECT_THAT(names(), testing::ElementsAre("One", "Two"));
    EXPECT_EQ(front(), "One");
    EXPECT_NE(pidOf("One"), pidOf("Two"));
}

TEST_P(DesktopContract, theFrontmostIsOneOfTheRunning) {
    m_desktop->open("One", 200, 100);
    m_desktop->open("Two", 200, 100);
    const auto app = workspace().frontmost();
    ASSERT_TRUE(app);
    EXPECT_THAT(workspace().runningApplications(), testing::Contains(*app));
    ASSERT_TRUE(app->bundleId);
    EXPECT_THAT(workspace().instancesOf(*app->bundleId), testing::ElementsAre(*app));
    EXPECT_THAT(workspace().instancesOf("nobody"), testing::IsEmpty());
}

TEST_P(DesktopContract, anApplicationCanBeBroughtForward) {
    m_desktop->open("One", 200, 100);
    m_desktop->open("Two", 200, 100);
    ASSERT_EQ(front(), "Two");
    EXPECT_TRUE(workspace().activate(pidOf("One")));
    EXPECT_TRUE(TestPrograms::waitUntil([&] { return front() == "One"; }));
    EXPECT_THAT(names(), testing::ElementsAre("One", "Two"));
}

TEST_P(DesktopContract, anApplicationThatEndedIsGone) {
    m_desktop->open("One", 200, 100);
    m_desktop->open("Two", 200, 100);
    const auto pid = pidOf("One");
    const auto number = windows().back().number;
    ASSERT_TRUE(number);
    EXPECT_TRUE(pictureOf(*number));
    m_desktop->close("One");
    EXPECT_THAT(names(), testing::ElementsAre("Two"));
    EXPECT_FALSE(workspace().activate(pid));
    EXPECT_EQ(windows().size(), 1U);
    EXPECT_EQ(m_desktop->windowPicture().png(*number), std::nullopt);
}

TEST_P(DesktopContract, windowsAreListedFrontToBackWithTheirOwners) {
    m_desktop->open("One", 200, 100);
    m_desktop->open("Two", 210, 110);
    m_desktop->open("One", 220, 120);
    const auto list = windows();
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[0].ownerPid, pidOf("One"));
    EXPECT_EQ(list[1].ownerPid, pidOf("Two"));
    EXPECT_EQ(list[2].ownerPid, pidOf("One"));
    EXPECT_EQ(list[0].bounds, (WindowBounds{220, 120}));
    EXPECT_EQ(list[1].bounds, (WindowBounds{210, 110}));
    EXPECT_EQ(list[2].bounds, (WindowBounds{200, 100}));
    std::set<std::optional<std::int64_t>> numbers;
    for (const auto& window : list) {
        EXPECT_EQ(window.layer, 0);
        EXPECT_TRUE(window.number);
        numbers.insert(window.number);
    }
    EXPECT_EQ(numbers.size(), 3U);
}

TEST_P(DesktopContract, everyListedWindowHasAPngPicture) {
    m_desktop->open("One", 200, 100);
    m_desktop->open("Two", 200, 100);
    for (const auto& window : windows()) {
        const auto png = pictureOf(window.number.value_or(0));
        ASSERT_TRUE(png);
        EXPECT_TRUE(png->starts_with("\x89PNG\r\n\x1a\n"));
    }
}

} // namespace kelvane
