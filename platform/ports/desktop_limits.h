// What this desktop does not let the program do, and what the user can do about it.

#pragma once

#include <string>

namespace kelvane {

struct DesktopLimit {
    /// For the panel, a sentence or two. Empty where there is nothing to say.
    std::string line = {};
    /// An application may be in front without anybody telling. Then that nobody is named does not
    /// mean that the last one still is there.
    bool hidesFront = false;
    /// What helps when no picture could be taken, in this system's own words. Empty: nothing is
    /// added to what is said anyway.
    std::string noPicture = {};
    /// The same when no selection may be asked for.
    std::string noSelection = {};
    /// Whether more programs would tell their text once accessibility is switched on for all.
    bool accessibilityHelps = false;

    bool operator==(const DesktopLimit&) const = default;
};

class DesktopLimits {
public:
    virtual ~DesktopLimits() = default;

    /// As things are now: they change with what the user turns on. Any thread; asked every few
    /// seconds.
    [[nodiscard]] virtual DesktopLimit now() = 0;
};

/// Where the desktop answers every question, or the system has words of its own for what it does
/// not.
class NoDesktopLimits : public DesktopLimits {
public:
    DesktopLimit now() override { return {}; }
};

} // namespace kelvane
