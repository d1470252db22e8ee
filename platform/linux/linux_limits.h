// What this Linux desktop does not allow, by the rule of `rules/desktop_limits.h`.

#pragma once

#include "platform/linux/rules/desktop_sources.h"
#include "platform/ports/desktop_limits.h"

#include <functional>
#include <memory>

namespace kelvane {

/// `offer` looks anew each time. Not null.
[[nodiscard]] std::unique_ptr<DesktopLimits> makeLinuxLimits(std::function<DesktopOffer()> offer,
                                                             bool gnomeShell);

} // namespace kelvane
