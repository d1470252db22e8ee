// The icons that desktop files name.

#pragma once

#include "platform/linux/desktop_files.h"
#include "platform/ports/app_icons.h"

#include <memory>

namespace kelvane {

/// An absolute path in a desktop file is a file when it stands there; everything else is a name in
/// the icon theme. Needs no display.
[[nodiscard]] std::unique_ptr<AppIcons> makeDesktopIcons(std::shared_ptr<DesktopFiles> files);

} // namespace kelvane
