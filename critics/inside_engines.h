// The engines that are part of the service itself, for the list of all engines.

#pragma once

#include "critics/engines/engine.h"

#include <vector>

namespace trevix {

/// The service's own rules, then the grammars of this build. Any thread.
[[nodiscard]] std::vector<EngineInfo> insideEngines();

} // namespace trevix
