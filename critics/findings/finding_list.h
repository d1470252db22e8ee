// The findings of one part, as one critic writes them down.
//
// It words every finding alike, keeps secrets out of what is quoted, bounds how often one rule may
// speak, and hands the findings back in reading order. A list over a text finds the place of a
// finding by its offset; sheets and pictures bring places of their own. One critic, one thread.

#pragma once

#include "critics/findings/finding.h"
#include "critics/findings/rule.h"
#include "critics/findings/source_text.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trevix {

/// One rule lists at most this many places of one part; a last finding says how many more there
/// are. Chosen, not measured: more than anybody mends before grading again, and few enough that the
/// report of a habit repeated a thousand times can still be read.
constexpr std::size_t kMostFindingsPerRule = 50;

/// The most characters that evidence has.
constexpr std::size_t kLongestEvidence = 120;

/// `text` on one line, at most `limit` characters long with its ellipsis: runs of white space and
/// control characters become one blank, bytes that are not UTF-8 become U+FFFD.
/// Precondition: 0 < limit <= 300, which is what the bytes that are read of it surely hold.
[[nodiscard]] std::string shortened(std::string_view text, std::size_t limit = kLongestEvidence);

class FindingList {
public:
    /// For work whose places are given with each finding.
    FindingList() = default;
    /// For a text, where offsets are places. `source` must outlive the list.
    explicit FindingList(const SourceText& source) : m_source(&source) {}

    /// From now on nothing quotes these bytes: they are shown as by `shownSecret`. Spans are given
    /// in reading order and do not overlap.
    void hide(std::size_t offset, std::size_t length);

    /// Adds a finding whose evidence is the text at `offset`. `says` completes the sentence that
    /// begins with place and evidence: "is a placeholder". Precondition: the list is over a text.
    void add(GradedRule rule, std::size_t offset, std::size_t length, std::string_view says);

    /// Adds a finding with evidence of its own words, still placed at `offset`. The evidence is
    /// the caller's: nothing is hidden in it. Precondition: the list is over a text.
    void addWith(GradedRule rule, std::size_t offset, std::string_view evidence,
                 std::string_view says);

    /// Adds a finding of the rule that its program calls `code`, one of a family: "SC2086" of
    /// "shellcheck.*". Placed at `offset`, with the `length` bytes at `evidence` quoted as by
    /// `add`; each code is a rule of its own for what is listed. Preconditions: the list is over a
    /// text; `rule` is a family.
    void addForeign(GradedRule rule, std::string_view code, std::size_t offset,
                    std::size_t evidence, std::size_t length, std::string_view says);

    /// Adds a finding at a place of the caller's, with a whole sentence for people as its detail.
    /// The evidence is shortened, nothing is hidden in it.
    void addAt(GradedRule rule, std::string_view place, std::string_view evidence,
               std::string detail);

    /// How many findings are listed so far.
    [[nodiscard]] std::size_t count() const { return m_findings.size(); }

    /// Everything added: over a text by place and then in the order of adding, else in that order;
    /// behind it what was not listed, by rule. Leaves the list empty.
    [[nodiscard]] std::vector<Finding> take();

private:
    /// What one rule found beyond what is listed.
    struct Tally {
        std::size_t count = 0; ///< All of them.
        std::string criterion;
        Severity worstUnlisted = Severity::low;
        std::string firstUnlisted; ///< Its place.
    };

    /// Counts one more; whether it is to be listed.
    template <typename Place>
    [[nodiscard]] bool admit(std::string_view id, GradedRule rule, const Place& place);
    [[nodiscard]] std::string quote(std::size_t offset, std::size_t length) const;

    const SourceText* m_source = nullptr;
    std::vector<std::pair<std::size_t, std::size_t>> m_hidden; ///< Begin and end of each span.
    std::vector<std::pair<std::size_t, Finding>> m_findings;   ///< By offset, 0 without a text.
    std::map<std::string, Tally, std::less<>> m_tallies;       ///< By rule.
};

} // namespace trevix
