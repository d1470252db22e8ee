#include "critics/findings/dismissal.h"

#include "critics/findings/finding_diff.h"
#include "critics/findings/finding_list.h"
#include "text/unicode.h"

#include <map>
#include <tuple>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr std::string_view kSpelling = "text.spelling";
constexpr std::string_view kEllipsis = "…";

/// Whether the quote leaves out more than the end of something long.
bool hidesAPart(std::string_view evidence) {
    const auto at = evidence.find(kEllipsis);
    if (at == std::string_view::npos) return false;
    // Evidence of the full length ends in an ellipsis because it was cut, and says enough; anything
    // shorter has hidden something.
    return at + kEllipsis.size() < evidence.size() ||
           text::characterCount(evidence) < kLongestEvidence;
}

/// "12 more": what one rule found beyond what is listed. What it stands for is known by its place.
bool standsForOthers(std::string_view evidence) {
    const auto digits = evidence.find_first_not_of("0123456789");
    return digits != 0 && digits != std::string_view::npos && evidence.substr(digits) == " more";
}

} // namespace

bool Dismissal::sameAs(const Dismissal& other) const {
    return rule == other.rule && evidence == other.evidence && place == other.place;
}

bool needsPlace(std::string_view evidence) {
    return evidence.empty() || hidesAPart(evidence) || standsForOthers(evidence);
}

Dismissal dismissalOf(const Finding& finding) {
    return {finding.rule, withoutPlaces(finding.evidence),
            needsPlace(finding.evidence) ? finding.place : "", "", ""};
}

std::string_view wordOf(const Finding& finding) {
    const std::string_view word = finding.evidence;
    const bool one = finding.rule == kSpelling && !word.empty() &&
                     word.find_first_of(" #\t") == std::string_view::npos &&
                     word.find(kEllipsis) == std::string_view::npos;
    return one ? word : std::string_view();
}

std::string wordInDictionary(const Finding& finding, const UserSays& says) {
    const std::string_view word = wordOf(finding);
    if (word.empty()) return {};
    if (says.words.contains(word)) return std::string(word);
    // As the speller has it: a word in lower case is right at the start of a sentence too.
    std::string lower = text::lowercased(word);
    return says.words.contains(lower) ? lower : std::string();
}

std::vector<DismissedFinding> takeDismissed(std::vector<Finding>& findings, const UserSays& says) {
    std::vector<DismissedFinding> dismissed;
    if (says.saysNothing()) return dismissed;
    // Views into what the person said, which outlives them. One look for each finding, however many
    // were dismissed.
    std::map<std::tuple<std::string_view, std::string_view, std::string_view>, const Dismissal*>
        known;
    for (const Dismissal& one : says.dismissals) {
        known[{one.rule, one.evidence, one.place}] = &one;
    }
    std::vector<Finding> left;
    for (Finding& finding : findings) {
        const Dismissal key = dismissalOf(finding);
        auto found = known.find({key.rule, key.evidence, key.place});
        // First everywhere, then at its place alone.
        if (found == known.end()) found = known.find({key.rule, key.evidence, finding.place});
        if (found != known.end()) {
            dismissed.push_back(
                {std::move(finding), found->second->reason, found->second->when, false});
        } else if (!wordInDictionary(finding, says).empty()) {
            dismissed.push_back({std::move(finding), {}, {}, true});
        } else {
            left.push_back(std::move(finding));
        }
    }
    findings = std::move(left);
    return dismissed;
}

} // namespace trevix
