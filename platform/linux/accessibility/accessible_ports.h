// The ports of a desktop that tells nothing but what programs show to assistive technology.
//
// Who is in front, who has windows, and what text is selected. Nothing is brought forward, no key
// is posted, no picture taken: a "copy" reads the selection, which takes no focus and leaves the
// user's clipboard alone.

#pragma once

#include "platform/linux/accessibility/accessible_desktop.h"
#include "platform/ports/keyboard.h"
#include "platform/ports/pasteboard.h"
#include "platform/ports/workspace.h"

#include <memory>

namespace kelvane {

struct AccessiblePorts {
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<Keyboard> keyboard; ///< Trusted while the bus is there.
    /// Holds what the keyboard's last copy read, and nothing of the user's clipboard.
    std::unique_ptr<Pasteboard> pasteboard;
};

/// Not null.
[[nodiscard]] AccessiblePorts makeAccessiblePorts(std::shared_ptr<AccessibleDesktop> desktop);

} // namespace kelvane
