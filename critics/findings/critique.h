// What a critic makes of a piece of work: its findings, how much of the work there is, who looked
// at it, and what nobody here could look at.
//
// Plain values; any thread. A critic fills one for its part; `add` puts several parts, or several
// critics of one part, together.

#pragma once

#include "critics/findings/finding.h"

#include <cstdint>
#include <string>
#include <vector>

namespace trevix {

/// How much work there is, so that findings can be held against it. A part counts in one of the
/// three.
struct Extent {
    std::uint64_t words = 0; ///< Of text that people read.
    std::uint64_t lines = 0; ///< Of code, blank ones left out.
    std::uint64_t cells = 0; ///< Of tables, empty ones left out.

    bool operator==(const Extent&) const = default;
};

/// An engine that looked at the work to its end.
struct CheckedBy {
    std::string engine;  ///< "hunspell"; the service's own rules are "trevix".
    std::string version; ///< As the engine tells it: "1.7.1". Empty when it tells none.
    std::string knows;   ///< What it judged, for people: "spelling, English (en_US)".

    bool operator==(const CheckedBy&) const = default;
};

/// Something about the work that nobody here judged.
struct NotChecked {
    std::string what; ///< For people: "spelling, French".
    std::string why;  ///< A clause for people: "no dictionary of the language is installed".
    std::string
        remedy; ///< What would change that: "install hunspell-fr"; empty when nothing would.

    bool operator==(const NotChecked&) const = default;
};

struct Coverage {
    std::vector<CheckedBy> checkedBy;   ///< Each engine and knowledge once, in the order of asking.
    std::vector<NotChecked> notChecked; ///< Likewise.
    /// Whether somebody who looked knows the language or kind of the work. Without that nothing
    /// found is no reason to ship.
    bool known = false;

    bool operator==(const Coverage&) const = default;

    /// Adds an engine, unless it is there already.
    void checked(CheckedBy by);
    /// Adds a gap, unless it is there already.
    void missed(NotChecked gap);
};

/// Who reads the work.
enum class Readers {
    all,
    own, ///< What was written for this service alone: for work on which a foreign reader has ended
         ///< badly. What it would have told is a gap in the coverage.
};

/// Why a file could not be looked into at all.
struct Unread {
    std::string reason; ///< A clause for people: "it is damaged or no PDF".
    NotChecked gap;     ///< The same for the coverage.

    bool operator==(const Unread&) const = default;
};

struct Critique {
    std::vector<Finding> findings;
    Extent extent;
    Coverage coverage;

    bool operator==(const Critique&) const = default;
};

/// The service's own rules, which know `knows`.
[[nodiscard]] CheckedBy ownRules(std::string knows);

/// Takes in what another critic says of the same part. The extent is the larger one: it is the same
/// work. Known when either knows it.
void addSecondOpinion(Critique& critique, Critique other);

/// Takes in what was made of a further part. Extents add up. Known when both are.
void addPart(Critique& critique, Critique other);

} // namespace trevix
