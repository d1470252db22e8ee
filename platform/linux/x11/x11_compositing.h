// Whether a compositing manager runs on an X server: whoever does owns a selection of that name.

#pragma once

#include "platform/ports/compositing.h"

#include <memory>
#include <string>

namespace kelvane {

/// Linked to `display` as long as it lives. Off on one that does not answer, and on an empty one.
[[nodiscard]] std::unique_ptr<Compositing> makeX11Compositing(const std::string& display);

} // namespace kelvane
