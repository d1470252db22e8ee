// What the desktop tells, as somebody at the screen has it: a real notification daemon (dunst), the
// messages that it shows, and what can be pressed on them.
//
// The daemon's window stands in the lower left corner, away from the icon and its panel, and shows
// a message until it is taken back or closed. One thread.

#pragma once

#include "tests/platform/linux/virtual_desktop.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

class NoticesOnScreen {
public:
    struct Notice {
        double time = 0; ///< Seconds of the monotonic clock, when it reached the daemon.
        std::string program;
        std::string title;
        std::string body;
    };

    struct Place {
        int x = 0, y = 0, width = 0, height = 0; ///< On the screen, in pixels.
    };

    /// Starts the daemon on `desktop`, which must outlive this, and waits until it has the bus.
    /// Throws std::runtime_error when it does not come.
    explicit NoticesOnScreen(VirtualDesktop& desktop);
    ~NoticesOnScreen();
    NoticesOnScreen(const NoticesOnScreen&) = delete;
    NoticesOnScreen& operator=(const NoticesOnScreen&) = delete;

    /// All that were ever shown, the oldest first.
    [[nodiscard]] std::vector<Notice> told() const;
    [[nodiscard]] bool waitForTold(std::size_t count) const;
    /// How many are in sight, as the daemon says; absent when it did not answer.
    [[nodiscard]] std::optional<int> shown();
    [[nodiscard]] bool waitForShown(int count);
    /// Where the message in sight can be clicked, waiting for its window.
    [[nodiscard]] std::optional<Place> place();
    /// Chooses the button of that name on the message in sight, through the daemon's own menu.
    /// False when that offers none of the name.
    [[nodiscard]] bool choose(const std::string& button);

private:
    [[nodiscard]] std::string control(const std::vector<std::string>& words);

    VirtualDesktop& m_desktop;
    std::filesystem::path m_folder;
    pid_t m_daemon = 0;
};

} // namespace kelvane
