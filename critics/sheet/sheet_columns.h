// A sheet understood: what stands in each column, and which rows only sum up others.
//
// The rules for spreadsheets judge a cell against its neighbours: this reads every cell once and
// says what the column is made of. Rows of totals, section headings and blank rows are told apart
// from data first, so that no rule takes them for strays. Plain values; any thread.

#pragma once

#include "critics/sheet/cell_value.h"
#include "critics/sheet/table_reader.h"

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

enum class SheetRow { header, data, subtotal, groupTotal, total, otherSummary, heading, blank };

enum class CellKind { empty, noValue, number, date, error, placeholder, words };

struct SheetCell {
    std::size_t row = 0;
    CellKind kind = CellKind::empty;
    std::optional<NumberText> number;
    std::optional<DateText> date;
};

/// A column is of numbers, or dates, when at least three of its values are and four in five: one
/// slip in a column of five leaves the rule standing (docs/thresholds.md).
constexpr std::size_t kFewestOfKind = 3;
constexpr std::size_t kOfKindOfFive = 4;

struct SheetColumn {
    std::size_t index = 0;
    std::string header;           ///< Trimmed; empty without one.
    std::string lowerHeader;      ///< The same in lower case.
    std::vector<SheetCell> cells; ///< Of data and summary rows that hold something, in order.
    std::size_t filled = 0;     ///< Data cells that hold a value: not empty, "n/a", errors, "TBD".
    std::size_t numbers = 0;    ///< Of those, numbers.
    std::size_t dates = 0;      ///< Of those, dates.
    bool commaDecimals = false; ///< How numbers with an open mark are to be read.

    /// Numbers, but for a few strays.
    [[nodiscard]] bool isNumeric() const { return isOfKind(numbers); }
    [[nodiscard]] bool isDated() const { return isOfKind(dates); }
    /// The number's value and decimals in the reading of this column.
    [[nodiscard]] double valueOf(const NumberText& number) const;
    [[nodiscard]] int decimalsOf(const NumberText& number) const;
    /// "column Total", or "column C" without a header.
    [[nodiscard]] std::string place() const;
    /// Whether the header has one of the words, as a word.
    [[nodiscard]] bool isCalled(std::initializer_list<std::string_view> words) const;

private:
    [[nodiscard]] bool isOfKind(std::size_t values) const {
        return values >= kFewestOfKind && values * 5 >= filled * kOfKindOfFive;
    }
};

struct Sheet {
    Table table;
    std::vector<SheetRow> rowKinds; ///< One per row of the table.
    std::vector<SheetColumn> columns;

    [[nodiscard]] bool isData(std::size_t row) const { return rowKinds[row] == SheetRow::data; }
    [[nodiscard]] std::size_t dataRows() const;
};

[[nodiscard]] Sheet understand(Table table);

} // namespace trevix
