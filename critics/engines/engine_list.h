// The list of all engines, for people and for programs.
//
// Pure; any thread.

#pragma once

#include "critics/engines/engine.h"

#include <span>
#include <string>

namespace trevix {

/// One line of columns for each engine: what is part of the service, what is here, what is not and
/// how to get it. Ends in a line feed.
[[nodiscard]] std::string engineTableText(std::span<const EngineInfo> engines);

/// {"engines": [{"id", "name", "judges", "licence", "version", "place", "here", "inside",
/// "trouble", "obtain"}]}, each a text but for the two flags. Ends in a line feed.
[[nodiscard]] std::string engineTableJson(std::span<const EngineInfo> engines);

} // namespace trevix
