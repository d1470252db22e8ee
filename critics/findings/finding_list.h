// How does a critic write down what it found?
//
// A list of findings over one text. It words every finding alike, keeps secrets out of what is
// quoted, bounds how often one rule may speak, and hands the findings back in reading order.

#pragma once

#include "critics/findings/finding.h"
#include "critics/findings/source_text.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trevix {

/// What one rule always says. `id` and `criterion` are literals.
struct Rule {
    std::string_view id;
    Severity severity;
    std::string_view criterion;
};

/// One rule lists at most this many places of one part; a last finding says how many more.
constexpr std::size_t kMostFindingsPerRule = 50;

/// `text` on one line, at most 120 characters long with its ellipsis: runs of white space and
/// control characters become one blank, bytes that are not UTF-8 become U+FFFD.
[[nodiscard]] std::string shortened(std::string_view text);

class FindingList {
public:
    /// `source` must outlive the list.
    explicit FindingList(const SourceText& source) : m_source(source) {}

    /// From now on nothing quotes these bytes: they are shown as their first four characters and
    /// an ellipsis. Spans are given in reading order and do not overlap.
    void hide(std::size_t offset, std::size_t length);

    /// Adds a finding whose evidence is the text at `offset`. `says` completes the sentence that
    /// begins with place and evidence: "is a placeholder".
    void add(const Rule& rule, std::size_t offset, std::size_t length, std::string_view says);

    /// Adds a finding with evidence of its own words, still placed at `offset`. The evidence is
    /// the caller's: nothing is hidden in it.
    void addWith(const Rule& rule, std::size_t offset, std::string_view evidence,
                 std::string_view says);

    /// Everything added, by place and then in the order of adding. Leaves the list empty.
    [[nodiscard]] std::vector<Finding> take();

private:
    struct Tally {
        Rule rule{};
        std::size_t count = 0;
        std::size_t firstUnlisted = 0;
    };

    [[nodiscard]] bool admit(const Rule& rule, std::size_t offset);
    [[nodiscard]] std::string quote(std::size_t offset, std::size_t length) const;

    const SourceText& m_source;
    std::vector<std::pair<std::size_t, std::size_t>> m_hidden; ///< Begin and end of each span.
    std::vector<std::pair<std::size_t, Finding>> m_findings;
    std::map<std::string_view, Tally> m_tallies;
};

} // namespace trevix
