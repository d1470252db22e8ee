// Alerts as windows of Qt.

#pragma once

#include "platform/ports/dialogs.h"

#include <memory>

namespace kelvane {

/// Precondition: Qt's application object, one with widgets, exists and this is its thread.
/// Where that has no screen to show an alert on, an alert counts as closed at once. An alert that
/// stands open when the application quits counts as closed.
[[nodiscard]] std::unique_ptr<Dialogs> makeQtDialogs();

} // namespace kelvane
