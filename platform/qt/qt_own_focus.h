// Which window has the keyboard, as Qt knows it.

#pragma once

#include "platform/ports/own_focus.h"

#include <memory>

namespace kelvane {

/// Precondition: Qt's application object exists and this is its thread, on which the answer must
/// also be destroyed.
[[nodiscard]] std::unique_ptr<OwnFocus> makeQtOwnFocus();

} // namespace kelvane
