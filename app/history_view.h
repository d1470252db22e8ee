// What the window of the history shows, as plain records, and the pure functions that make them.
//
// As `companion_view.h`: texts from outside are made harmless here, and who draws it decides
// nothing. Any thread.

#pragma once

#include "app/companion_view.h"
#include "app/history/version_comparison.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// Milliseconds since 1970 of the clock on the user's wall, for such of UTC.
using LocalTime = std::function<std::int64_t(std::int64_t)>;

/// A line of the list: an application, a day below it, a verdict below that.
struct HistoryLine {
    enum class Kind { App, Day, Verdict };
    Kind kind = Kind::Verdict;
    std::string text;   ///< The application, the day, or "14:05 · a doc · 3 flaws".
    std::string id;     ///< Of a verdict.
    BandPillView pill;  ///< Likewise.
    std::string score;  ///< "62"; may be empty.
    std::string spoken; ///< The verdict with its application and day, for who hears it.

    bool operator==(const HistoryLine&) const = default;
};

/// Of the applications the one with the newest verdict first, and in each the newest day and
/// verdict.
[[nodiscard]] std::vector<HistoryLine>
historyLines(const std::vector<history::VerdictEntry>& entries, const LocalTime& local);

/// The names of its kind and its band as they are shown: what somebody who reads them looks for.
[[nodiscard]] std::string shownNames(const history::VerdictEntry& entry);

/// "14:05", and "2026-03-03 14:05".
[[nodiscard]] std::string clockOf(std::int64_t ms, const LocalTime& local);
[[nodiscard]] std::string momentOf(std::int64_t ms, const LocalTime& local);

/// A line beside the list.
struct HistoryDetail {
    enum class Kind { Heading, Flaw, Note, Same, Removed, Added, Skipped };
    Kind kind = Kind::Note;
    std::string text;
    std::string severity; ///< Of a flaw.
    Tint tint = Tint::secondary;
    bool operator==(const HistoryDetail&) const = default;
};

/// Flaws of one list that are shown; the report has the rest.
inline constexpr std::size_t kMostHistoryFlaws = 100;

struct HistoryDetails {
    std::string title; ///< Empty: nothing is chosen.
    std::vector<HistoryDetail> lines;
    bool hasReport = false;
    std::string spoken; ///< Of a comparison: what is read out when it comes up.

    bool operator==(const HistoryDetails&) const = default;
};

[[nodiscard]] HistoryDetails historyDetails(const history::VerdictEntry& entry,
                                            const LocalTime& local);
[[nodiscard]] HistoryDetails comparisonDetails(const history::Comparison& comparison,
                                               const LocalTime& local);

} // namespace kelvane
