#include "critics/rules.h"

#include "critics/artifact_rule_table.h"
#include "critics/code/code_rule_table.h"
#include "critics/document/document_rule_table.h"
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

} // namespace trevix
