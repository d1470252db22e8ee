// The panel as somebody at the screen has it: what it says, and where to click.
//
// Reads the trace that the product writes of every frame it draws, and moves the real pointer. The
// tray host is a real one; the product's icon is taken to be the only one in it.

#pragma once

#include "tests/platform/linux/virtual_desktop.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

class PanelOnScreen {
public:
    struct Control {
        std::string name; ///< What is written on it, or what it says.
        std::string role; ///< "button", "menuitem", "text" or "other".
        bool enabled = false;
        bool focused = false;
        int x = 0, y = 0, width = 0, height = 0; ///< On the screen, in pixels.

        [[nodiscard]] int middleX() const { return x + width / 2; }
        [[nodiscard]] int middleY() const { return y + height / 2; }
    };

    /// One drawn frame; nothing in it while the panel is not shown.
    struct Frame {
        double time = 0; ///< Seconds of the monotonic clock.
        bool shown = false;
        int x = 0, y = 0, width = 0, height = 0;
        std::vector<Control> controls;

        /// What can be pressed, a check box too.
        [[nodiscard]] const Control* button(const std::string& name) const;
        /// Whether anything in the frame says exactly, or contains, `text`.
        [[nodiscard]] bool says(const std::string& text) const;
        [[nodiscard]] std::string all() const; ///< Everything it says, for messages.
    };

    /// Starts a tray host on `desktop`, which must outlive this.
    explicit PanelOnScreen(VirtualDesktop& desktop);
    ~PanelOnScreen();
    PanelOnScreen(const PanelOnScreen&) = delete;
    PanelOnScreen& operator=(const PanelOnScreen&) = delete;

    /// What the product's environment needs for this: the trace.
    [[nodiscard]] const std::filesystem::path& trace() const { return m_trace; }

    /// The last frame drawn.
    [[nodiscard]] Frame frame() const;
    /// Waits for a frame that `wanted` accepts; absent after `timeout`.
    [[nodiscard]] std::optional<Frame>
    waitFor(const std::function<bool(const Frame&)>& wanted,
            std::chrono::milliseconds timeout = std::chrono::seconds(20)) const;
    [[nodiscard]] std::optional<Frame>
    waitForText(const std::string& text,
                std::chrono::milliseconds timeout = std::chrono::seconds(60)) const;

    /// Waits until the icon is in the tray. False when it did not come.
    [[nodiscard]] bool waitForIcon() const;
    /// Clicks the icon, at a person's pace: two clicks in a row are two clicks, not a double one.
    void clickIcon();
    /// Clicks the icon and waits for the panel to be drawn. False when it does not come.
    [[nodiscard]] bool open();
    /// Clicks what is named so once it is there and enabled. False when it does not come.
    [[nodiscard]] bool click(const std::string& name);
    void clickAt(int x, int y);
    void press(const std::string& key);
    /// Anything else that xdotool does, which it says in these words.
    void xdotool(std::vector<std::string> words);

private:
    struct Box {
        int x = 0, y = 0, width = 0, height = 0; // On the screen, in pixels.
        bool operator==(const Box&) const = default;
    };
    // How many windows it is inside of: 0 for one on the root window.
    using Wanted = std::function<bool(const Box&, int depth)>;
    // The first window of the product on the screen that is `wanted`.
    [[nodiscard]] std::optional<Box> windowOfOurs(const Wanted& wanted) const;
    [[nodiscard]] std::optional<Box> windowBelow(xcb_window_t window, const Wanted& wanted,
                                                 int depth) const;
    [[nodiscard]] std::optional<Box> icon() const;
    // Whether the window is where the frame was drawn for, and a click on `control` would reach it:
    // the server gives a window its new size and shape after the frame for them was drawn.
    [[nodiscard]] bool isWithinReach(const Frame& frame, const Control& control) const;
    [[nodiscard]] bool isOursAt(int x, int y) const;
    [[nodiscard]] bool isOurs(xcb_window_t window) const;
    [[nodiscard]] std::optional<Box> boxOf(xcb_window_t window) const;
    void run(const std::vector<std::string>& command);

    VirtualDesktop& m_desktop;
    std::filesystem::path m_trace;
    pid_t m_tray = 0;
    std::chrono::steady_clock::time_point m_nextClick{};
};

} // namespace kelvane
