// The dates that a text names, and whether they can be.
//
// Dates are recognised as people write them, in English, German, French and Spanish
// ("Monday, 3 March 2026", "March 3rd, 2026", "3. März 2026") and in figures ("2026-03-03",
// "31/04/2026", "31.04.2026"). Nothing here knows today's date: a date without a year has none.
// What is no date is not listed. Linear in the text; pure but for the table of names, any thread.

#pragma once

#include "text/letters.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace trevix {

namespace text = kelvane::text;

struct WrittenDate {
    std::size_t begin = 0; ///< Of the weekday, when one stands in front.
    std::size_t end = 0;
    std::optional<int> year;
    int month = 1; ///< 1 to 12.
    int day = 1;
    std::optional<int> weekday;  ///< As written, 0 for Monday.
    std::optional<int> firstDay; ///< Of "3-5 March": 3; `day` is then 5.
    bool possible = true;        ///< False for "31 April", in whatever year is meant.
};

/// `words` are the words of `text` in order.
[[nodiscard]] std::vector<WrittenDate> findDates(std::string_view text,
                                                 const std::vector<text::Word>& words);

/// Builds the table of names that `findDates` looks words up in; otherwise the first call does.
void warmUpDateNames();

[[nodiscard]] int daysInMonth(int year, int month);
/// 0 for Monday, by the Gregorian calendar.
[[nodiscard]] int weekdayOf(int year, int month, int day);
/// "Monday" for 0.
[[nodiscard]] std::string_view weekdayName(int weekday);

} // namespace trevix
