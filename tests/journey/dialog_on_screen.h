// What a dialog says to somebody who has it read to them, and where its buttons are.
//
// Asks the desktop's accessibility service, as a screen reader does. The program must have been
// started with AccessibleTree's variable set.

#pragma once

#include "tests/platform/linux/virtual_desktop.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

class DialogOnScreen {
public:
    struct Button {
        std::string name;
        int x = 0, y = 0, width = 0, height = 0; ///< On the screen, in pixels.
    };

    std::vector<std::string> texts; ///< From top to bottom.
    std::vector<Button> buttons;    ///< As they are laid out.

    /// Absent when there is no button of that name.
    [[nodiscard]] const Button* button(const std::string& name) const;
    [[nodiscard]] bool says(const std::string& text) const; ///< As one of its texts, whole.
    [[nodiscard]] std::string all() const;                  ///< Everything it says, for messages.

    /// The dialog that is on the screen of `desktop`, waiting for it if need be. Absent when none
    /// came; throws std::runtime_error when the desktop has no accessibility service.
    [[nodiscard]] static std::optional<DialogOnScreen>
    waitFor(const VirtualDesktop& desktop,
            std::chrono::milliseconds timeout = std::chrono::seconds(20));
};

} // namespace kelvane
