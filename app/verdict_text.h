// How does a verdict read in a terminal?
//
// Pure. Text from the service is shown with its control characters made visible, so that a flaw can
// neither move the cursor nor change the terminal's state.

#pragma once

#include "eval/verdict.h"

#include <string>
#include <string_view>

namespace kelvane {

/// The verdict as lines of text, the last one ended: band, score, then every flaw, or the error.
[[nodiscard]] std::string verdictText(const Verdict& verdict);

/// What changed from one verdict to the next, as lines: band, score, and each flaw that is fixed,
/// remains or is new. Flaws are the same when severity, criterion and detail are; of equal ones as
/// many are matched as both verdicts have.
[[nodiscard]] std::string changeText(const Verdict& before, const Verdict& after);

/// `text` with every control character, the line break included, replaced by a visible escape.
[[nodiscard]] std::string withVisibleControls(std::string_view text);

} // namespace kelvane
