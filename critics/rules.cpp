#include "critics/rules.h"

#include "critics/artifact_rule_table.h"
#include "critics/code/code_rule_table.h"
#include "critics/document/document_rule_table.h"
#include "critics/engines/engine_rule_table.h"
#include "critics/picture/picture_rule_table.h"
#include "critics/sheet/sheet_rule_table.h"
#include "critics/text/text_rule_table.h"

#include <cstddef>
#include <utility>

namespace trevix {

namespace {

template <std::size_t... kinds>
std::vector<Rule> rulesOf(std::index_sequence<kinds...>) {
    std::vector<Rule> rules;
    const auto append = [&](const auto& table) {
        rules.insert(rules.end(), table.begin(), table.end());
    };
    (append(RulesFor<static_cast<WorkKind>(kinds)>::kRules), ...);
    return rules;
}

} // namespace

std::vector<Rule> allRules() {
    return rulesOf(std::make_index_sequence<kWorkKinds>());
}

std::optional<Rule> ruleNamed(std::string_view id) {
    const std::size_t point = id.find('.');
    if (point == std::string_view::npos || point + 1 == id.size()) return std::nullopt;
    for (const Rule& rule : allRules()) {
        const bool ofFamily =
            isFamily(rule) && rule.id.substr(0, rule.id.size() - 1) == id.substr(0, point + 1);
        if (rule.id == id || ofFamily) return rule;
    }
    return std::nullopt;
}

} // namespace trevix
