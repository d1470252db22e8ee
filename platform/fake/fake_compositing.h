// Compositing that a test switches.

#pragma once

#include "platform/ports/compositing.h"

namespace kelvane {

class FakeCompositing : public Compositing {
public:
    bool on = false;

    bool isOn() override { return on; }
};

} // namespace kelvane
