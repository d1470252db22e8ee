// Two versions of a work, side by side: what became of the flaws, and of the text.
//
// Pure; any thread. Takes time in proportion to the texts and the square of their difference, which
// is bounded.

#pragma once

#include "app/history/verdict_entry.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane::history {

/// Which flaws of the earlier version are gone, which are still there, which came.
struct FlawChanges {
    std::vector<Flaw> fixed;     ///< As the earlier version has them.
    std::vector<Flaw> remaining; ///< As the later one has them.
    std::vector<Flaw> fresh;

    bool operator==(const FlawChanges&) const = default;
};

/// Paired one to one, each pass taking what the one before left: by rule, evidence and place; by
/// rule and evidence, for work moves while it is edited. Flaws without a rule go by their
/// criterion, those without evidence by their detail.
[[nodiscard]] FlawChanges compareFlaws(const std::vector<Flaw>& before,
                                       const std::vector<Flaw>& after);

/// A line of either text.
struct DiffLine {
    enum class Kind { Same, Removed, Added, Skipped };
    Kind kind = Kind::Same;
    std::string text; ///< Without its end. Of skipped lines how many there are.
    bool operator==(const DiffLine&) const = default;
};

/// Lines of a text that are compared, and of a result.
inline constexpr std::size_t kMostLines = 5'000;
inline constexpr std::size_t kMostDiffLines = 2'000;

/// What changed from one text to the other, with three unchanged lines around each change and one
/// line for what is skipped between. Empty when they are the same. A text past the bound is
/// compared up to there; where more than 1,000 lines differ, all of the differing middle is one
/// change.
[[nodiscard]] std::vector<DiffLine> compareTexts(std::string_view before, std::string_view after);

struct Comparison {
    VerdictEntry before;
    VerdictEntry after;
    FlawChanges flaws;
    std::vector<DiffLine> text;
    bool hasTexts = false;   ///< Both texts were kept.
    bool isSameWork = false; ///< The digests are the same.

    bool operator==(const Comparison&) const = default;
};

/// The earlier of the two first, whichever is handed in as that.
[[nodiscard]] Comparison compare(const VerdictEntry& one, const VerdictEntry& other);

/// The version before `entry` in `entries` (the newest first): of the same run, else of the same
/// application and kind. Null when there is none.
[[nodiscard]] const VerdictEntry* versionBefore(const std::vector<VerdictEntry>& entries,
                                                const VerdictEntry& entry);

/// What else an entry is found by: the names under which it is shown to somebody.
using ShownNames = std::function<std::string(const VerdictEntry&)>;

/// What remains of `entries` in a search: every word of `words` stands somewhere in the
/// application's name, the kind, the band, the day, a flaw, the text or the shown names, whatever
/// its case. All of them for no words.
[[nodiscard]] std::vector<VerdictEntry> search(const std::vector<VerdictEntry>& entries,
                                               std::string_view words,
                                               const ShownNames& shown = {});

} // namespace kelvane::history
