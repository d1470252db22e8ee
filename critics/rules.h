// The registry of rules: every rule that any critic can report.

#pragma once

#include "critics/findings/rule.h"

#include <optional>
#include <string_view>
#include <vector>

namespace trevix {

/// Each rule once, by kind of work and then in the order of its table. Constants; any thread.
[[nodiscard]] std::vector<Rule> allRules();

/// The declared rule that a finding's `rule` names, or the family that it is of. Absent for names
/// that nobody here reports.
[[nodiscard]] std::optional<Rule> ruleNamed(std::string_view id);

} // namespace trevix
