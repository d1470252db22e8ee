// The promises of workspaces and window lists, asked of the scripted ones and of the ones on a real
// X server: the same windows of the same two applications stand on both desktops.

#include "platform/fake/fake_window_list.h"
#include "platform/fake/fake_window_picture.h"
#include "platform/fake/fake_workspace.h"
#include "platform/fake/journal.h"
#include "tests/contract/workspace_contract.h"
#include "tests/platform/linux/x11/x11_desktop_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

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

INSTANTIATE_TEST_SUITE_P(
    Desktops, DesktopContract,
    testing::Values(DesktopKind{"fake", [] { return std::make_unique<FakeDesktop>(); }},
                    DesktopKind{"x11", [] { return std::make_unique<RealDesktop>(); }}),
    [](const testing::TestParamInfo<DesktopKind>& kind) { return kind.param.name; });

} // namespace
} // namespace kelvane
