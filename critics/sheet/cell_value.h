// The meaning of a cell: a number, a date, an error, or words.
//
// Cells are read as people write them in any locale: 1,234.56 and 1.234,56, 1 234,56 and
// 1'234.56, 12 %, (250), -3.5e6, 14 kg, $12.00, 12,00 €. Where the text alone does not tell whether
// a mark divides thousands or decimals, the reading says so and the column decides. Everything is
// a pure function of its arguments.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace trevix {

/// Which mark stands before the decimals. `open` means that the text fits both readings ("1,234")
/// and `none` that it has no mark at all.
enum class DecimalMark { none, dot, comma, openComma, openDot };

struct NumberText {
    double value = 0; ///< By `mark`; an open mark is taken to divide thousands.
    double other = 0; ///< By the other reading of an open mark, else the same as `value`.
    int decimals = 0; ///< Digits after the decimal mark by `mark`.
    int otherDecimals = 0;
    DecimalMark mark = DecimalMark::none;
    char groupMark = 0;   ///< ',', '.', '\'', ' ' (any space), or 0.
    bool percent = false; ///< For "12 %" the value is 12.
    bool scientific = false;
    std::string_view
        currency;          ///< A three-letter code for codes and known signs, else empty; static.
    std::string_view unit; ///< "kg", "h", ...; only units that are known; static.
};

/// The number a cell holds, or nothing when it holds something else. Blanks at both ends are
/// passed over.
[[nodiscard]] std::optional<NumberText> readNumber(std::string_view text);

enum class DateForm { isoDashes, isoSlashes, dots, slashes, dashes, monthName };
enum class DayOrder { yearFirst, dayFirst, monthFirst, either };

struct DateText {
    DateForm form = DateForm::isoDashes;
    DayOrder order = DayOrder::yearFirst; ///< `either` for "03/04/2024".
    bool possible = true; ///< False for a date no calendar has: 31.02.2024, 2024-13-01.
    bool fullYear = true; ///< Four digits of year.
};

/// The date a cell holds, with or without a time of day after it; impossible dates are dates too.
[[nodiscard]] std::optional<DateText> readDate(std::string_view text);

/// A name for people: "2024-01-31", "31.01.2024", "31/01/2024", ...
[[nodiscard]] std::string_view example(DateForm form, DayOrder order);

/// Whether the cell is what a spreadsheet shows for a formula that failed: "#REF!", "Err:502".
[[nodiscard]] bool isFormulaError(std::string_view text);

/// Whether the cell stands for something still to come: "TBD", "xxx", "???".
[[nodiscard]] bool isPlaceholder(std::string_view text);

/// Whether the cell says that there is no value: "-", "n/a", "none".
[[nodiscard]] bool isNoValue(std::string_view text);

enum class RowKind { data, subtotal, groupTotal, total, otherSummary };

/// What a row labelled like this holds: "Total" and "Summe" a total, "Subtotal" a subtotal, "Total
/// costs" and "North total" perhaps the total of a group, "Average" another summary.
[[nodiscard]] RowKind rowKindOf(std::string_view label);

} // namespace trevix
