// The keyboard, at a window of this program's as a test says.

#pragma once

#include "platform/ports/own_focus.h"

namespace kelvane {

class FakeOwnFocus : public OwnFocus {
public:
    bool held = false;

    bool isHeld() override { return held; }
};

} // namespace kelvane
