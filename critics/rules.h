// The registry of rules: every rule that any critic can report.

#pragma once

#include "critics/findings/rule.h"

#include <vector>

namespace trevix {

/// Each rule once, by kind of work and then in the order of its table. Constants; any thread.
[[nodiscard]] std::vector<Rule> allRules();

} // namespace trevix
