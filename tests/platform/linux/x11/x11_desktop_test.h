// What the tests of the X11 adapters share: one desktop per suite, and adapters that ask it.

#pragma once

#include "platform/fake/fake_clock.h"
#include "platform/fake/journal.h"
#include "platform/linux/desktop_files.h"
#include "platform/linux/x11/x11_applications.h"
#include "platform/linux/x11/x11_window_list.h"
#include "platform/linux/x11/x11_window_picture.h"
#include "platform/linux/x11/x11_workspace.h"
#include "tests/platform/linux/virtual_desktop.h"
#include "tests/platform/linux/x11/painted_window.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>

namespace kelvane {

/// Adapters that ask one display. Installed are the real programs and what `install` adds before
/// the first question.
struct X11Adapters {
    explicit X11Adapters(VirtualDesktop& desktop)
        : share(desktop.home() / "share"),
          files(std::make_shared<DesktopFiles>(
              std::vector<std::filesystem::path>{share, "/usr/share"}, "", clock)),
          applications(std::make_shared<X11Applications>(
              X11Connection::open(desktop.display(), kTestPatience),
              [files = files] { return files->index(); })),
          workspace(makeX11Workspace(applications, desktop.display())),
          windowList(makeX11WindowList(applications)),
          windowPicture(makeX11WindowPicture(desktop.display())) {}

    void install(const std::string& id, const std::string& lines) const {
        std::filesystem::create_directories(share / "applications");
        std::ofstream(share / "applications" / (id + ".desktop"))
            << "[Desktop Entry]\nType=Application\n"
            << lines;
    }

    Journal journal;
    FakeClock clock{journal};
    std::filesystem::path share;
    std::shared_ptr<DesktopFiles> files;
    std::shared_ptr<X11Applications> applications;
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<WindowList> windowList;
    std::unique_ptr<WindowPicture> windowPicture;
};

/// One desktop for all tests of a suite `Suite`; each test ends the programs it started.
template <class Suite>
class X11DesktopTest : public testing::Test {
protected:
    static void SetUpTestSuite() { s_desktop = std::make_unique<VirtualDesktop>(); }
    static void TearDownTestSuite() { s_desktop.reset(); }

    void TearDown() override {
        for (const auto program : m_programs) desktop().end(program);
        EXPECT_TRUE(VirtualDesktop::waitUntil([] { return s_desktop->windows().empty(); }))
            << "a window of this test is still there";
    }

    [[nodiscard]] static VirtualDesktop& desktop() { return *s_desktop; }

    /// Starts a program that ends with the test and waits for its window; fails the test and
    /// returns 0 when none comes.
    xcb_window_t open(const std::vector<std::string>& command, const std::string& wmClass) {
        std::size_t before = 0;
        for (const auto& window : desktop().windows()) before += window.wmClass == wmClass;
        m_programs.push_back(desktop().start(command));
        xcb_window_t found = 0;
        VirtualDesktop::waitUntil(
            [&] {
                std::size_t now = 0;
                for (const auto& window : desktop().windows()) {
                    if (window.wmClass != wmClass) continue;
                    ++now;
                    if (now > before) found = window.window;
                }
                return found != 0;
            },
            std::chrono::seconds(20));
        EXPECT_NE(found, 0U) << "no window of " << command.front();
        return found;
    }
    [[nodiscard]] pid_t lastProgram() const { return m_programs.back(); }

    /// Opens a painted window and waits until it is drawn and, if managed, listed.
    std::unique_ptr<PaintedWindow> paint(const PaintedWindowOptions& options) {
        auto window = std::make_unique<PaintedWindow>(desktop().display(), options);
        EXPECT_TRUE(window->waitUntilDrawn());
        if (options.managed) {
            EXPECT_TRUE(desktop().waitForWindow(
                [&](const DesktopWindow& other) { return other.window == window->id(); }));
        }
        return window;
    }

private:
    inline static std::unique_ptr<VirtualDesktop> s_desktop;
    std::vector<pid_t> m_programs;
};

} // namespace kelvane
