// Turns of phrase that English does not have, each with what may be meant.
//
// Closed, of our own; every one is wrong wherever it stands. Plain values; any thread.

#pragma once

#include <span>
#include <string_view>

namespace trevix {

struct Turn {
    /// In lower case, parted by blanks. A "~" at its end: it counts only where the phrase around it
    /// ends there.
    std::string_view words;
    std::string_view meant;
};

[[nodiscard]] std::span<const Turn> turnsOfPhrase();

} // namespace trevix
