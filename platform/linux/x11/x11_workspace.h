// The workspace on an X server: who is in front, who is running, bring one forward.
//
// Answers come from the window manager (EWMH). A program is running when it has a managed window.

#pragma once

#include "platform/linux/x11/x11_applications.h"
#include "platform/ports/workspace.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kelvane {

/// `display` is the server that `applications` asks about. With null applications every answer is
/// the absent one; a display named all the same is one that let nobody in.
[[nodiscard]] std::unique_ptr<Workspace>
makeX11Workspace(std::shared_ptr<X11Applications> applications, std::string display);

} // namespace kelvane
