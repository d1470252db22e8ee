// A compositor with the product's ports on it, a person at the keyboard, and the fixture of the
// tests that share one.

#pragma once

#include "platform/fake/fakes.h"
#include "platform/linux/common/clipboard_formats.h"
#include "platform/linux/linux_platform.h"
#include "platform/linux/wayland/wayland_connection.h"
#include "platform/linux/wayland/wayland_keys.h"
#include "platform/linux/wayland/wayland_selections.h"
#include "tests/platform/linux/common/png_pixels.h"
#include "tests/platform/linux/wayland/wayland_desktop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kelvane {

/// Keys by their codes in the kernel, beside those of wayland_keys.h.
inline constexpr std::uint32_t kKeyA = 30;
inline constexpr std::uint32_t kLeftShift = 42;
inline constexpr std::uint32_t kKeyC = 46;

[[nodiscard]] const char* nameOf(Compositor compositor);
/// By its name and not by its bytes.
void PrintTo(Compositor compositor, std::ostream* out);

/// Time as it is: real programs take some.
class RealClock : public Clock {
public:
    Instant now() override { return std::chrono::steady_clock::now().time_since_epoch(); }
    SleepEnd sleep(std::chrono::nanoseconds duration) override {
        std::this_thread::sleep_for(duration);
        return SleepEnd::Elapsed;
    }
};

/// Use it from one thread. What does not come is a failure of the test that runs.
class Stage {
public:
    /// Throws std::runtime_error when the compositor does not start, or answers nothing.
    explicit Stage(const WaylandOptions& options);

    /// Keys one after another, let go in the reverse order.
    void press(const std::vector<std::uint32_t>& codes);
    /// Another program puts this on the clipboard.
    void copies(ClipboardContent content);
    /// What an independent program finds there.
    std::string pasted(const std::string& type = "text/plain;charset=utf-8");
    /// What the person's own link finds there, or in PRIMARY: at once, also while it changes.
    std::string held(SelectionName which, const std::string& type);
    /// Whether it finds that there, once everybody has come to say so.
    bool pastes(const std::string& content, const std::string& type = "text/plain;charset=utf-8");

    std::string frontId();
    bool waitForFront(const std::string& id,
                      std::chrono::milliseconds timeout = std::chrono::seconds(30));

    /// The selection of the application in front, once; absent when there was none.
    std::optional<std::string> capture();
    /// A compositor that draws without a GPU may be too busy to answer the first time.
    bool captures(const std::string& text);
    /// The picture of the application in front, once.
    std::optional<PngPixels> picture();

    WaylandDesktop desktop;
    std::filesystem::path socket;
    std::shared_ptr<WaylandWindows> windows = makeWaylandWindows();
    std::shared_ptr<WaylandKeys> keys = makeWaylandKeys();
    std::shared_ptr<WaylandSelections> selections = makeWaylandSelections(windows);
    std::shared_ptr<WaylandConnection> person;
    FakePlatform fakes;
    RealClock clock;
    LinuxDesktop ports;
};

/// One for each, shared by all tests on it, until `endStages`.
Stage& stageOf(Compositor compositor, bool xwayland = false);
void endStages();

class OnCompositor : public testing::TestWithParam<Compositor> {
protected:
    void SetUp() override;
    void TearDown() override;
    Stage& stage() { return *m_stage; }
    pid_t start(const std::vector<std::string>& command,
                const std::map<std::string, std::string>& more = {});
    pid_t window(const std::string& id, const std::string& text, int width = 400,
                 int height = 300) {
        return start(
            {KELVANE_TEXT_WINDOW, id, id, std::to_string(width), std::to_string(height), text});
    }

    /// Whether there is an X server for the programs.
    [[nodiscard]] virtual bool xwayland() const { return false; }

private:
    Stage* m_stage = nullptr;
    std::vector<pid_t> m_started;
};

} // namespace kelvane
