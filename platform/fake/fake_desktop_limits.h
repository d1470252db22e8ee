// A desktop that allows what a test says.

#pragma once

#include "platform/ports/desktop_limits.h"

namespace kelvane {

class FakeDesktopLimits : public DesktopLimits {
public:
    DesktopLimit limit;

    DesktopLimit now() override { return limit; }
};

} // namespace kelvane
