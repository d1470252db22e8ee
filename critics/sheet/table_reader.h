// The cells of a comma-, semicolon-, bar- or tab-separated text.
//
// Reads what spreadsheets export and what they put on the clipboard: RFC 4180 quoting with line
// breaks inside quotes, a byte order mark, any kind of line end, and the delimiter found from the
// text itself. Nothing is an error. A quote that never closes is taken as an ordinary character and
// remembered, so that one slip does not swallow the rest of the sheet. All pure; time is linear in
// the text.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trevix {

struct Table {
    char delimiter = ',';
    std::vector<std::vector<std::string>> rows; ///< As many cells as each record has; no padding.
    std::size_t width = 0;                      ///< Of the longest record.
    std::optional<std::size_t> headerRow;       ///< The row that names the columns, if one does.
    std::optional<std::size_t> groupRow; ///< The row above it that names groups of columns, if any.
    /// Row and column of the first quote that never closes.
    std::optional<std::pair<std::size_t, std::size_t>> openQuote;

    /// The cell, or an empty text where the record is shorter. Lives as long as the table.
    [[nodiscard]] std::string_view cell(std::size_t row, std::size_t column) const;
    /// The first row under the header, or the first row.
    [[nodiscard]] std::size_t firstDataRow() const { return headerRow ? *headerRow + 1 : 0; }
    /// The trimmed header of a column with the header above it when headers stand on two rows;
    /// empty without one.
    [[nodiscard]] std::string header(std::size_t column) const;
    /// Whether no cell of the row holds anything but blanks.
    [[nodiscard]] bool isBlankRow(std::size_t row) const;
    [[nodiscard]] std::size_t filledCells(std::size_t row) const;
};

/// Reads `text`. The delimiter is tab when `tabSeparated`, else the one that divides the records
/// most evenly. Time is linear in the text.
[[nodiscard]] Table readTable(std::string_view text, bool tabSeparated);

/// Reads the text of a part, whose type may say that tabs divide it. What says so and has no tab is
/// read as any other. Where findings are and where they are shown is told by this reading alone.
[[nodiscard]] Table readSheet(std::string_view text, std::string_view mimeType);

/// "A" for 0, "Z" for 25, "AA" for 26.
[[nodiscard]] std::string columnName(std::size_t column);

/// "C4" for row 3, column 2.
[[nodiscard]] std::string cellName(std::size_t row, std::size_t column);

/// Without blanks at both ends, no-break and other Unicode spaces included.
[[nodiscard]] std::string_view trimmedCell(std::string_view text);

} // namespace trevix
