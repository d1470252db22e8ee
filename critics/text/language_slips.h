// What spelling and grammar find in one text, before it is weighed.
//
// A slip says the more, the less is written around it: what is alone in a page or more weighs low.
// One text, one thread.

#pragma once

#include "critics/findings/finding_list.h"
#include "critics/findings/rule.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace trevix {

/// Words; in as many or more a lone slip weighs low. The page of the verdict's formula.
constexpr std::size_t kWordsOfAPage = 100;
/// Words that a longer text has for each slip beyond the first, if it is to be a sound one.
constexpr std::size_t kWordsOfAFurtherSlip = 200;

/// Words of a text for each slip that is certainly one, a doubled word or a link to a heading that
/// is not there, from which on they weigh low. Where it comes from stands in docs/thresholds.md.
constexpr std::size_t kWordsOfACertainSlip = 1'000;

/// Whether a text of so many words has few slips, so that they weigh low. Not without any.
[[nodiscard]] constexpr bool areFew(std::size_t slips, std::size_t words) {
    return slips > 0 && words >= kWordsOfAPage + (slips - 1) * kWordsOfAFurtherSlip;
}

class LanguageSlips {
public:
    /// As FindingList::add().
    void add(GradedRule rule, std::size_t offset, std::size_t length, std::string says) {
        m_slips.push_back({rule, offset, length, std::move(says)});
    }

    /// Hands all of them to `findings`; the text has so many words.
    void weighInto(FindingList& findings, std::size_t words) const;

private:
    struct Slip {
        GradedRule rule;
        std::size_t offset;
        std::size_t length;
        std::string says;
    };

    std::vector<Slip> m_slips;
};

} // namespace trevix
