// The desktop's own settings for how windows look, and their changes.
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

/// What a person has set for all windows of the desktop; as it is here where nothing is set.
struct DesktopLook {
    ColorScheme scheme = ColorScheme::noPreference;
    bool highContrast = false;
    /// Texts are to be so many times as large as usual. Positive.
    double textScale = 1;

    bool operator==(const DesktopLook&) const = default;
};

/// Has `told` called with the settings, once each is known and after every change, for as long as
/// what is returned lives. It is not called before this returns, and never where there is no
/// portal. Null when there is nothing to keep.
[[nodiscard]] std::unique_ptr<QObject> watchPortal(std::function<void(const DesktopLook&)> told);

} // namespace kelvane
