// The desktop's own setting for dark windows, and its changes.
//
// Which file answers is the build's choice: one asks the settings portal over the session bus, one
// is for systems that have no such portal. Main thread only; needs a QCoreApplication.

#pragma once

#include <QObject>

#include <functional>
#include <memory>

namespace kelvane {

/// What the portal says under "org.freedesktop.appearance", "color-scheme".
enum class ColorScheme { noPreference, dark, light };

/// Has `told` called with the setting, once it is known and after every change, for as long as what
/// is returned lives. It is not called before this returns, and never where there is no portal.
/// Null when there is nothing to keep.
[[nodiscard]] std::unique_ptr<QObject> watchPortal(std::function<void(ColorScheme)> told);

} // namespace kelvane
