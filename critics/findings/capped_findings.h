// How do findings on cells and pixels reach the report without drowning it?
//
// One habit can break a rule in a thousand places. This keeps the first findings of each rule and
// lets the last one kept say how many more there are. It also makes evidence fit to print: one
// line, valid UTF-8, at most 120 characters. A plain value.

#pragma once

#include "critics/findings/finding.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

/// `text` on one line, in valid UTF-8, cut to `limit` characters with an ellipsis as the last one.
/// Precondition: 0 < limit <= 120.
[[nodiscard]] std::string printable(std::string_view text, std::size_t limit = 120);

class CappedFindings {
public:
    static constexpr std::size_t kMostPerRule = 20;

    /// Keeps the finding, or only counts it when its rule has had its share. Makes the evidence
    /// printable.
    void add(Finding finding);

    [[nodiscard]] bool has(std::string_view rule) const { return m_counts.contains(rule); }

    /// What was kept, in the order of adding. The last finding of a rule that had more says so in
    /// its detail.
    [[nodiscard]] std::vector<Finding> findings() const;

private:
    std::vector<Finding> m_kept;
    std::map<std::string, std::size_t, std::less<>> m_counts;
};

} // namespace trevix
