// The rules of the judge itself, for parts that no critic can look into.

#pragma once

#include "critics/findings/rule.h"

#include <array>

namespace trevix {

template <>
struct RulesFor<WorkKind::any> {
    static constexpr std::array kRules = {
        Rule{"artifact.empty", Severity::high, "readable work", Unit::part, ""},
        Rule{"artifact.unreadable", Severity::high, "readable work", Unit::part, ""},
    };
};

} // namespace trevix
