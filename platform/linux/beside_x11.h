// The ports of a source beside those of the X server that a Wayland compositor runs for X11
// programs.
//
// The server knows its own programs best: while one of them is in front it answers, else the other
// source does.

#pragma once

#include "platform/ports/keyboard.h"
#include "platform/ports/pasteboard.h"
#include "platform/ports/workspace.h"

#include <memory>

namespace kelvane {

struct TextPorts {
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<Keyboard> keyboard;
    std::unique_ptr<Pasteboard> pasteboard;
};

/// No pointer of either may be null; none of the answer is. `other` has to be a source that reads
/// selections without touching a clipboard.
[[nodiscard]] TextPorts besideX11(TextPorts x11, TextPorts other);

/// The first of them alone.
[[nodiscard]] std::unique_ptr<Workspace> besideX11(std::unique_ptr<Workspace> x11,
                                                   std::unique_ptr<Workspace> other);

} // namespace kelvane
