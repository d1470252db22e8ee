// Presses of mouse buttons, heard through the X Input extension.

#pragma once

#include "platform/ports/pointer_presses.h"

#include <memory>
#include <string>

namespace kelvane {

/// Connects to `display` anew for every start and leaves again with the stop: while nobody listens
/// there is no thread and no link. Presses are told on a thread of its own. An empty `display`, one
/// that does not answer and one without the extension never tell.
[[nodiscard]] std::unique_ptr<PointerPresses> makeX11PointerPresses(std::string display);

} // namespace kelvane
