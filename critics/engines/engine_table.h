// The programs that are asked when they are present.

#pragma once

#include "critics/engines/engine.h"

#include <span>

namespace trevix {

/// In the order of asking: syntax before meaning. Constants; any thread.
[[nodiscard]] std::span<const EngineEntry> engineTable();

/// The entry of that id, or null.
[[nodiscard]] const EngineEntry* engineNamed(std::string_view id);

} // namespace trevix
