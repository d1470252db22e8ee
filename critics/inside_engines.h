// The engines that are part of the service itself, for the list of all engines.

#pragma once

#include "critics/critic.h"
#include "critics/engines/engine.h"

#include <span>
#include <string_view>
#include <vector>

namespace trevix {

/// A library of others that a build may be made with.
struct InsideLibrary {
    std::string_view id;
    std::string_view name;
    std::string_view judges;
    std::string_view licence; ///< By its SPDX identifier.
    std::string_view debian;  ///< Package that a build, or the machine, needs.
    std::string_view homebrew;
};

/// All of them, in this build or not. Constants.
[[nodiscard]] std::span<const InsideLibrary> insideLibraries();

/// The service's own rules; each library, with its version or with how to get it; the dictionary of
/// each language that is spelled; each grammar that code is read by. Opens the dictionaries and the
/// reader of pictures: a quarter of a second. Any thread.
[[nodiscard]] std::vector<EngineInfo> insideEngines(const CriticTools& tools);

} // namespace trevix
