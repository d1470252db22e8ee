#include "critics/text/language_slips.h"

#include <algorithm>

namespace trevix {

void LanguageSlips::weighInto(FindingList& findings, std::size_t words) const {
    const auto grave = std::ranges::count_if(
        m_slips, [](const Slip& slip) { return slip.rule.severity() != Severity::low; });
    const bool alone = grave == 1 && words >= kWordsOfAPage;
    for (const Slip& slip : m_slips) {
        findings.add(alone ? softened(slip.rule) : slip.rule, slip.offset, slip.length, slip.says);
    }
}

} // namespace trevix
