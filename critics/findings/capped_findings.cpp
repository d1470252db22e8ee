#include "critics/findings/capped_findings.h"

#include "critics/findings/finding_list.h"
#include "text/unicode.h"

#include <set>
#include <utility>

namespace trevix {

std::string printable(std::string_view text, std::size_t limit) {
    std::string line = shortened(text);
    if (kelvane::text::firstCharacters(line, limit).size() == line.size()) return line;
    return std::string(kelvane::text::firstCharacters(line, limit - 1)) + "…";
}

void CappedFindings::add(Finding finding) {
    if (m_counts[finding.rule]++ >= kMostPerRule) return;
    finding.evidence = printable(finding.evidence);
    m_kept.push_back(std::move(finding));
}

std::vector<Finding> CappedFindings::findings() const {
    std::vector<Finding> result = m_kept;
    std::set<std::string_view> told;
    for (auto finding = result.rbegin(); finding != result.rend(); ++finding) {
        const auto count = m_counts.find(finding->rule);
        if (count->second <= kMostPerRule || !told.insert(count->first).second) continue;
        const std::size_t more = count->second - kMostPerRule;
        finding->detail += (more == 1 ? " There is " : " There are ") + std::to_string(more) +
                           " more of this kind.";
    }
    return result;
}

} // namespace trevix
