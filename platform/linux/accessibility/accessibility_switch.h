// The setting on Linux: `org.a11y.Status`, which the desktop keeps in the user's own settings.

#pragma once

#include "platform/ports/accessibility_switch.h"

#include <memory>
#include <string>

namespace kelvane {

/// `sessionBus` is the address of the user's bus. Without one, and where nobody answers within half
/// a second, there is no setting. Not null.
[[nodiscard]] std::unique_ptr<AccessibilitySwitch> makeAccessibilitySwitch(std::string sessionBus);

} // namespace kelvane
