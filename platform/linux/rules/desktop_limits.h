// What a desktop does not allow, said to the user together with what he can do about it.
//
// From what was found and what was chosen of it; values in, values out. Any thread.

#pragma once

#include "platform/linux/rules/desktop_sources.h"

#include <string>

namespace kelvane {

/// The words of `platform/ports/desktop_limits.h`, which this room does not know.
struct LimitWords {
    std::string line = {};
    bool hidesFront = false;
    std::string noPicture = {};
    std::string noSelection = {};
    bool accessibilityHelps = false;

    bool operator==(const LimitWords&) const = default;
};

/// `gnomeShell`: the desktop is one that the product's extension is made for.
[[nodiscard]] LimitWords limitsOf(const DesktopOffer& offer, const DesktopSources& sources,
                                  bool gnomeShell);

} // namespace kelvane
