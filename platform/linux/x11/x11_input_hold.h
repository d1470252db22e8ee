// The user's keys and clicks on an X server, kept from every program by grabs.

#pragma once

#include "platform/ports/input_hold.h"
#include "platform/ports/keyboard.h"

#include <memory>
#include <string>

namespace kelvane {

/// The two ports share the grab: whoever holds it must let go of it for the copy key.
struct X11HeldKeyboard {
    std::unique_ptr<InputHold> hold;
    std::unique_ptr<Keyboard> keyboard; ///< `keyboard` as given, heard through a hold as well.
};

/// A hold on `display`, linked to it only while it lasts. One that does not answer, or is already
/// grabbed by another program, is not held. An empty `display` never is.
[[nodiscard]] X11HeldKeyboard makeX11InputHold(std::string display,
                                               std::unique_ptr<Keyboard> keyboard);

} // namespace kelvane
