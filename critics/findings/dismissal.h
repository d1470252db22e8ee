// "That is no flaw": what a person has said about findings, and what is left of a verdict then.
//
// A dismissal is remembered by rule and evidence, so that it holds wherever the same words stand,
// in the next version and in other work, and no longer once they change. Where the evidence does
// not tell one case from another, because it is empty, hides a part of what it quotes (keys and
// passwords) or counts what is not listed, it holds at its place alone: that somebody knows one key
// to be harmless says nothing of the next one.
//
// What is dismissed is shown as that, with its reason, and never dropped. Pure; any thread.

#pragma once

#include "critics/findings/finding.h"

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

struct Dismissal {
    std::string rule;
    std::string evidence; ///< Without what only tells its place, see withoutPlaces().
    std::string place;    ///< Empty: wherever it stands.
    std::string reason;   ///< The person's own words; may be empty.
    std::string when;     ///< "2026-03-03T14:05:09Z"

    bool operator==(const Dismissal&) const = default;

    /// Whether both are about the same findings.
    [[nodiscard]] bool sameAs(const Dismissal& other) const;
};

/// Whether such evidence does not tell one case from another.
[[nodiscard]] bool needsPlace(std::string_view evidence);

/// What dismissing this very finding remembers.
[[nodiscard]] Dismissal dismissalOf(const Finding& finding);

/// A finding that does not count.
struct DismissedFinding {
    Finding finding;
    std::string reason;
    std::string when;
    bool byDictionary = false; ///< Its word is in the person's dictionary by now.

    bool operator==(const DismissedFinding&) const = default;
};

/// Everything that the person has said.
struct UserSays {
    std::vector<Dismissal> dismissals;
    std::set<std::string, std::less<>> words; ///< Of the person's dictionary.

    [[nodiscard]] bool saysNothing() const { return dismissals.empty() && words.empty(); }
};

/// Moves what the person has dismissed out of `findings`; both keep their order.
[[nodiscard]] std::vector<DismissedFinding> takeDismissed(std::vector<Finding>& findings,
                                                          const UserSays& says);

/// The word of the person's dictionary for which a finding does not count; empty for none.
[[nodiscard]] std::string wordInDictionary(const Finding& finding, const UserSays& says);

/// The word that a finding is about, where it can be taken into a dictionary; else empty.
[[nodiscard]] std::string_view wordOf(const Finding& finding);

} // namespace trevix
