// What every workspace and window list promises, asked of the scripted ones and of the ones on a
// real X server: the same windows of the same two applications stand on both desktops.

#include "platform/fake/fake_window_list.h"
#include "platform/fake/fake_window_picture.h"
#include "platform/fake/fake_workspace.h"
#include "platform/fake/journal.h"
#include "tests/platform/linux/x11/x11_desktop_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

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

class FakeDesktop : public Furnished {
public:
    Workspace& workspace() override { return m_workspace; }
    WindowList& windowList() override { return m_windowList; }
    WindowPicture& windowPicture() override { return m_windowPicture; }

    void open(const std::string& name, std::uint16_t width, std::uint16_t height) override {
        auto& running = m_workspace.running;
        auto app = std::find_if(running.begin(), running.end(),
                                [&](const RunningApp& other) { return other.name == name; });
        if (app == running.end()) {
            running.push_back({name, name, ++m_last});
            app = running.end() - 1;
        }
        m_workspace.front = app->pid;
        const auto number = ++m_last;
        m_windowList.windows->insert(m_windowList.windows->begin(),
                                     WindowInfo{app->pid, 0, WindowBounds{width, height}, number});
        m_windowPicture.pictures[number] = "\x89PNG\r\n\x1a\n";
    }

    void close(const std::string& name) override {
        std::erase_if(m_workspace.running, [&](const RunningApp& app) {
            if (app.name != name) return false;
            std::erase_if(*m_windowList.windows, [&](const WindowInfo& window) {
                if (window.ownerPid != app.pid) return false;
                m_windowPicture.pictures.erase(*window.number);
                return true;
            });
            if (m_workspace.front == app.pid) m_workspace.front.reset();
            return true;
        });
    }

private:
    Journal m_journal;
    FakeWorkspace m_workspace{m_journal};
    FakeWindowList m_windowList{m_journal};
    FakeWindowPicture m_windowPicture{m_journal};
    ProcessId m_last = 100;
};

class RealDesktop : public Furnished {
public:
    Workspace& workspace() override { return *m_adapters.workspace; }
    WindowList& windowList() override { return *m_adapters.windowList; }
    WindowPicture& windowPicture() override { return *m_adapters.windowPicture; }

    void open(const std::string& name, std::uint16_t width, std::uint16_t height) override {
        PaintedWindowOptions options;
        options.width = width;
        options.height = height;
        options.wmClass = name;
        options.picture = {{{0, 0, width, height}, 0x336699}};
        auto window = std::make_unique<PaintedWindow>(m_desktop.display(), options);
        const auto id = window->id();
        m_windows.emplace_back(name, std::move(window));
        ASSERT_TRUE(m_windows.back().second->waitUntilDrawn());
        ASSERT_TRUE(m_desktop.waitForWindow(
            [id](const DesktopWindow& other) { return other.window == id; }));
        ASSERT_TRUE(m_desktop.activate(id));
    }

    void close(const std::string& name) override {
        std::erase_if(m_windows, [&](const auto& window) { return window.first == name; });
        ASSERT_TRUE(VirtualDesktop::waitUntil(
            [&] { return m_desktop.windows().size() == m_windows.size(); }));
    }

private:
    VirtualDesktop m_desktop{{.sessionBus = false}};
    X11Adapters m_adapters{m_desktop};
    std::vector<std::pair<std::string, std::unique_ptr<PaintedWindow>>> m_windows;
};

struct Kind {
    const char* name;
    std::function<std::unique_ptr<Furnished>()> make;
};

/// By its name and not by its bytes, which differ from build to build.
void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

class DesktopContract : public testing::TestWithParam<Kind> {
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

    std::unique_ptr<Furnished> m_desktop;
};

TEST_P(DesktopContract, anEmptyDesktopHasNobodyAndNothing) {
    EXPECT_EQ(workspace().frontmost(), std::nullopt);
    EXPECT_THAT(workspace().runningApplications(), IsEmpty());
    EXPECT_THAT(windows(), IsEmpty());
    EXPECT_FALSE(workspace().activate(4711));
    EXPECT_EQ(m_desktop->windowPicture().png(4711), std::nullopt);
}

TEST_P(DesktopContract, applicationsAreListedOldestFirstAndOnce) {
    m_desktop->open("One", 200, 100);
    m_desktop->open("Two", 200, 100);
    m_desktop->open("One", 300, 100);
    EXPECT_THAT(names(), ElementsAre("One", "Two"));
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
    EXPECT_THAT(workspace().instancesOf(*app->bundleId), ElementsAre(*app));
    EXPECT_THAT(workspace().instancesOf("nobody"), IsEmpty());
}

TEST_P(DesktopContract, anApplicationCanBeBroughtForward) {
    m_desktop->open("One", 200, 100);
    m_desktop->open("Two", 200, 100);
    ASSERT_EQ(front(), "Two");
    EXPECT_TRUE(workspace().activate(pidOf("One")));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return front() == "One"; }));
    EXPECT_THAT(names(), ElementsAre("One", "Two"));
}

TEST_P(DesktopContract, anApplicationThatEndedIsGone) {
    m_desktop->open("One", 200, 100);
    m_desktop->open("Two", 200, 100);
    const auto pid = pidOf("One");
    const auto number = windows().back().number;
    ASSERT_TRUE(number);
    EXPECT_TRUE(m_desktop->windowPicture().png(*number));
    m_desktop->close("One");
    EXPECT_THAT(names(), ElementsAre("Two"));
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
        const auto png = m_desktop->windowPicture().png(window.number.value_or(0));
        ASSERT_TRUE(png);
        EXPECT_TRUE(png->starts_with("\x89PNG\r\n\x1a\n"));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Desktops, DesktopContract,
    testing::Values(Kind{"fake", [] { return std::make_unique<FakeDesktop>(); }},
                    Kind{"x11", [] { return std::make_unique<RealDesktop>(); }}),
    [](const testing::TestParamInfo<Kind>& kind) { return kind.param.name; });

} // namespace
} // namespace kelvane
