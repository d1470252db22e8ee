// The user's keys and clicks on an X server, kept from every program by grabs.

#pragma once

#include "platform/linux/x11/copy_keys.h"
#include "platform/ports/input_hold.h"

#include <memory>
#include <string>

namespace kelvane {

struct X11InputHold {
    std::unique_ptr<InputHold> hold;
    /// Posts keys through the hold while it lasts, and only those: nothing that is pressed at that
    /// moment gets through beside them. False without a hold. Any thread; may outlive the hold.
    PostKeys post;
};

/// A hold on `display`, linked to it only while it lasts. One that does not answer, or is already
/// grabbed by another program, is not held. An empty `display` never is.
[[nodiscard]] X11InputHold makeX11InputHold(std::string display);

} // namespace kelvane
