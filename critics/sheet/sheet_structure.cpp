#include "critics/sheet/sheet_rule_table.h"
#include "critics/sheet/sheet_rules.h"

#include "text/unicode.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>

namespace trevix {
namespace {

constexpr GradedRule kOpenQuote = declared<WorkKind::sheet>("sheet.open_quote");
constexpr GradedRule kRaggedRowHigh = declared<WorkKind::sheet>("sheet.ragged_row", Severity::high);
constexpr GradedRule kRaggedRowMedium =
    declared<WorkKind::sheet>("sheet.ragged_row", Severity::medium);
constexpr GradedRule kEmptyHeader = declared<WorkKind::sheet>("sheet.empty_header");
constexpr GradedRule kDuplicateHeader = declared<WorkKind::sheet>("sheet.duplicate_header");
constexpr GradedRule kEmptyRow = declared<WorkKind::sheet>("sheet.empty_row");
constexpr GradedRule kEmptyColumn = declared<WorkKind::sheet>("sheet.empty_column");
constexpr GradedRule kDuplicateRow = declared<WorkKind::sheet>("sheet.duplicate_row");
constexpr GradedRule kDuplicateId = declared<WorkKind::sheet>("sheet.duplicate_id");
constexpr GradedRule kSequenceGapMedium =
    declared<WorkKind::sheet>("sheet.sequence_gap", Severity::medium);
constexpr GradedRule kSequenceGapLow =
    declared<WorkKind::sheet>("sheet.sequence_gap", Severity::low);

// Where a comment names an experiment, `build/dev/bench/sheet_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// Bytes of a row that are looked at for evidence: three times what evidence holds.
constexpr std::size_t kMostRowText = 400;
/// Records, and how many of three have one width (experiment `majorities`).
constexpr std::size_t kFewestRecords = 4;
constexpr std::size_t kRecordsOfThree = 2;
/// Values that make an unnamed column one.
constexpr std::size_t kFewestUnnamed = 2;
/// One blank row in so many, or more, sets groups apart on purpose; so do columns in a list of at
/// least so many rows (experiment `majorities`).
constexpr std::size_t kGapShare = 8;
constexpr std::size_t kEmptyColumnShare = 4;
constexpr std::size_t kFewestRowsForColumns = 3;
/// Filled cells of a row whose repetition is no chance, and the share of repeated rows from which
/// repeating is the rule.
constexpr std::size_t kFewestRepeatedCells = 3;
constexpr std::size_t kRepeatedRowShare = 5;
/// Ids, and the share of repeated ones from which they point elsewhere.
constexpr std::size_t kFewestIds = 4;
constexpr std::size_t kRepeatedIdShare = 4;
/// Numbers of a sequence, how many of five steps are by one, and the widest gap in it.
constexpr std::size_t kFewestInSequence = 6;
constexpr std::size_t kOnesOfFive = 4;
constexpr double kWidestGap = 1e9;

std::string count(std::size_t number, std::string_view one, std::string_view many) {
    return std::to_string(number) + " " + std::string(number == 1 ? one : many);
}

std::string rowPlace(std::size_t row) {
    return "row " + std::to_string(row + 1);
}

std::string rowText(const Table& table, std::size_t row) {
    std::string text;
    for (const std::string& cell : table.rows[row]) {
        if (!text.empty()) text += " | ";
        text += cell;
        if (text.size() > kMostRowText) break;
    }
    return text;
}

void judgeOpenQuote(const Sheet& sheet, FindingList& list) {
    if (!sheet.table.openQuote) return;
    const auto [row, column] = *sheet.table.openQuote;
    const std::string cell(sheet.table.cell(row, column));
    // A cell may well begin with a quoted word; only a quote that is alone in it is open. The
    // reader takes every quote at the beginning of a cell that does not close for open.
    if (std::ranges::count(cell, '"') % 2 == 0) return;
    const std::string place = "cell " + cellName(row, column);
    list.addAt(kOpenQuote, place, cell,
               "The quotation mark that opens " + place +
                   " is never closed: " + shortened(cell, 60) + ".");
}

void judgeRagged(const Sheet& sheet, FindingList& list) {
    const Table& table = sheet.table;
    std::map<std::size_t, std::size_t> widths;
    std::size_t records = 0;
    // Above the header stand titles, of any width.
    const std::size_t first = table.headerRow.value_or(0);
    for (std::size_t row = first; row < table.rows.size(); ++row) {
        if (sheet.rowKinds[row] == SheetRow::blank) continue;
        ++widths[table.rows[row].size()];
        ++records;
    }
    std::size_t usual = 0;
    std::size_t most = 0;
    // The narrowest of equally frequent ones.
    for (const auto& [width, rows] : widths) {
        if (rows > most) {
            most = rows;
            usual = width;
        }
    }
    if (records < kFewestRecords || usual < 2 || most * 3 < records * kRecordsOfThree) return;
    for (std::size_t row = first; row < table.rows.size(); ++row) {
        const std::size_t width = table.rows[row].size();
        // One cell alone is a heading or a note.
        if (width == usual || sheet.rowKinds[row] == SheetRow::blank || table.filledCells(row) <= 1)
            continue;
        // Empty cells behind the last column do no harm.
        bool surplus = false;
        for (std::size_t column = usual; column < width; ++column) {
            surplus = surplus || !trimmedCell(table.cell(row, column)).empty();
        }
        if (width > usual && !surplus) continue;
        const std::string cells = count(width, "cell", "cells");
        list.addAt(width > usual ? kRaggedRowHigh : kRaggedRowMedium, rowPlace(row),
                   cells + ": " + rowText(table, row),
                   "Row " + std::to_string(row + 1) + " has " + cells +
                       " where the other rows have " + std::to_string(usual) + ", so its values " +
                       (width > usual ? "stand in the wrong columns." : "are incomplete."));
    }
}

void judgeHeaders(const Sheet& sheet, FindingList& list) {
    if (!sheet.table.headerRow) return;
    const std::size_t row = *sheet.table.headerRow;
    std::map<std::string, std::size_t> seen;
    for (const SheetColumn& column : sheet.columns) {
        const std::string place = "cell " + cellName(row, column.index);
        if (column.header.empty()) {
            // The first column may hold names of rows, which need no name themselves.
            const bool rowLabels = column.index == 0 && column.numbers == 0;
            if (rowLabels || column.filled < kFewestUnnamed) continue;
            const SheetCell& first = column.cells.front();
            const std::string value(sheet.table.cell(first.row, column.index));
            list.addAt(kEmptyHeader, place, value,
                       "Column " + columnName(column.index) + " holds " +
                           count(column.filled, "value", "values") + " such as \"" +
                           shortened(value, 40) + "\" but " + place + " names nothing.");
            continue;
        }
        const auto [other, isNew] = seen.try_emplace(column.lowerHeader, column.index);
        if (isNew) continue;
        list.addAt(kDuplicateHeader, place, column.header,
                   "The header \"" + shortened(column.header, 60) + "\" in " + place +
                       " already names column " + columnName(other->second) + ".");
    }
}

void judgeBlanks(const Sheet& sheet, FindingList& list) {
    const auto& kinds = sheet.rowKinds;
    // A blank row may set off a heading or a total; between two rows of data it cuts the table.
    std::size_t cuts = 0;
    const auto isCut = [&](std::size_t row) {
        return kinds[row] == SheetRow::blank && row > 0 && row + 1 < kinds.size() &&
               kinds[row - 1] == SheetRow::data && kinds[row + 1] == SheetRow::data;
    };
    for (std::size_t row = 0; row < kinds.size(); ++row) cuts += isCut(row) ? 1U : 0U;
    if (cuts * kGapShare <= sheet.dataRows()) {
        for (std::size_t row = 0; row < kinds.size(); ++row) {
            if (!isCut(row)) continue;
            list.addAt(
                kEmptyRow, rowPlace(row), "",
                "Row " + std::to_string(row + 1) +
                    " is empty and cuts the table in two, so filters and formulas stop there.");
        }
    }
    // Columns behind the last that is used are what an export leaves over.
    std::size_t lastUsed = 0;
    std::size_t empty = 0;
    const auto isEmpty = [](const SheetColumn& column) { return column.cells.empty(); };
    for (const SheetColumn& column : sheet.columns) {
        if (isEmpty(column))
            ++empty;
        else
            lastUsed = column.index;
    }
    if (sheet.dataRows() < kFewestRowsForColumns ||
        empty * kEmptyColumnShare > sheet.columns.size())
        return;
    for (const SheetColumn& column : sheet.columns) {
        if (!isEmpty(column)) continue;
        const bool named = !column.header.empty();
        // Between values an empty column cuts the table; at its edge only a name makes it a part.
        if (!named && (column.index == 0 || column.index > lastUsed)) continue;
        const std::string place = column.place();
        list.addAt(kEmptyColumn, place, column.header,
                   named ? "The " + place + " has a header and no value in " +
                               count(sheet.dataRows(), "row", "rows") + "."
                         : "The " + place + " is empty and cuts the table in two.");
    }
}

void judgeDuplicateRows(const Sheet& sheet, FindingList& list) {
    const Table& table = sheet.table;
    std::unordered_map<std::string, std::size_t> seen;
    std::vector<std::pair<std::size_t, std::size_t>> repeats;
    for (std::size_t row = 0; row < table.rows.size(); ++row) {
        if (!sheet.isData(row) || table.filledCells(row) < kFewestRepeatedCells) continue;
        std::string key;
        for (const std::string& cell : table.rows[row]) {
            key += cell;
            // A unit separator, which cells do not hold, so that no two rows have one key by
            // joining otherwise.
            key += '\x1f';
        }
        const auto [first, isNew] = seen.try_emplace(std::move(key), row);
        if (!isNew) repeats.emplace_back(row, first->second);
    }
    // Where repeating is the rule (answers of a poll) it is no slip.
    if (repeats.size() * kRepeatedRowShare > sheet.dataRows()) return;
    for (const auto& [row, first] : repeats) {
        list.addAt(kDuplicateRow, rowPlace(row), rowText(table, row),
                   "Row " + std::to_string(row + 1) + " repeats row " + std::to_string(first + 1) +
                       " cell by cell: " + shortened(rowText(table, row), 60) + ".");
    }
}

bool namesRows(const SheetColumn& column) {
    for (const std::string_view name : {"id",
                                        "ids",
                                        "#",
                                        "no",
                                        "no.",
                                        "nr",
                                        "nr.",
                                        "sku",
                                        "uuid",
                                        "guid",
                                        "key",
                                        "serial",
                                        "serial no",
                                        "serial number",
                                        "invoice",
                                        "invoice no",
                                        "invoice no.",
                                        "invoice number",
                                        "invoice id",
                                        "rechnungsnummer",
                                        "rechnungsnr",
                                        "rechnungsnr.",
                                        "ticket",
                                        "ticket id",
                                        "record id",
                                        "row id",
                                        "artikelnummer",
                                        "item no",
                                        "item no.",
                                        "item number",
                                        "case id",
                                        "pos",
                                        "pos."}) {
        // Exactly, since "ticket" in a longer name may count something.
        if (column.lowerHeader == name) return true;
    }
    // As a first column a looser name is enough.
    return column.index == 0 &&
           (column.isCalled({"id", "number", "no"}) || column.lowerHeader.ends_with("_id") ||
            column.lowerHeader.ends_with("nummer"));
}

void judgeDuplicateIds(const Sheet& sheet, FindingList& list) {
    for (const SheetColumn& column : sheet.columns) {
        if (!namesRows(column)) continue;
        std::unordered_map<std::string_view, std::size_t> seen;
        std::vector<std::pair<std::size_t, std::size_t>> repeats;
        std::size_t ids = 0;
        for (const SheetCell& cell : column.cells) {
            if (!sheet.isData(cell.row) || cell.kind == CellKind::noValue ||
                cell.kind == CellKind::placeholder || cell.kind == CellKind::error)
                continue;
            ++ids;
            const std::string_view id = trimmedCell(sheet.table.cell(cell.row, column.index));
            const auto [first, isNew] = seen.try_emplace(id, cell.row);
            if (!isNew) repeats.emplace_back(cell.row, first->second);
        }
        // An id that comes again and again points elsewhere; a key has few repeats.
        if (ids < kFewestIds || repeats.size() * kRepeatedIdShare > ids) continue;
        for (const auto& [row, first] : repeats) {
            const std::string id(trimmedCell(sheet.table.cell(row, column.index)));
            const std::string place = "cell " + cellName(row, column.index);
            list.addAt(kDuplicateId, place, id,
                       "The id \"" + shortened(id, 60) + "\" in " + place +
                           " is already taken by " + cellName(first, column.index) + ".");
        }
    }
}

void judgeSequence(const Sheet& sheet, FindingList& list) {
    if (sheet.columns.empty()) return;
    const SheetColumn& column = sheet.columns.front();
    std::vector<std::pair<std::size_t, double>> numbers;
    for (const SheetCell& cell : column.cells) {
        if (!sheet.isData(cell.row)) continue;
        // Any cell that is no plain whole number, and any step that is not upwards, shows that it
        // is no numbering.
        if (!cell.number || column.decimalsOf(*cell.number) > 0 || cell.number->percent ||
            !cell.number->currency.empty())
            return;
        const double value = column.valueOf(*cell.number);
        if (!numbers.empty() && value <= numbers.back().second) return;
        numbers.emplace_back(cell.row, value);
    }
    if (numbers.size() < kFewestInSequence) return;
    const bool counts =
        column.lowerHeader.empty() ||
        column.isCalled({"#", "no", "nr", "pos", "step", "item", "row", "week", "month", "day",
                         "question", "number", "nummer", "year", "rank", "chapter", "line"});
    const bool fromStart = numbers.front().second == 0 || numbers.front().second == 1;
    // A list that begins anywhere, under a name that does not count, is a list of figures.
    if (!counts && !fromStart) return;
    std::size_t ones = 0;
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        if (numbers[i].second - numbers[i - 1].second == 1) ++ones;
    }
    const std::size_t steps = numbers.size() - 1;
    // Fewer: its steps are irregular by nature.
    if (ones * 5 < steps * kOnesOfFive) return;
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        const double gap = numbers[i].second - numbers[i - 1].second;
        // Wider gaps are two numberings, or serial numbers.
        if (gap == 1 || gap > kWidestGap) continue;
        const auto from = std::to_string(std::llround(numbers[i - 1].second));
        const auto to = std::to_string(std::llround(numbers[i].second));
        const std::string place = "cell " + cellName(numbers[i].first, 0);
        list.addAt(
            counts && fromStart ? kSequenceGapMedium : kSequenceGapLow, place, from + ", " + to,
            "The numbering jumps from " + from + " to " + to + " at " + place + "; " +
                count(static_cast<std::size_t>(gap) - 1, "number is", "numbers are") + " missing.");
    }
}

} // namespace

void judgeStructure(const Sheet& sheet, FindingList& list) {
    judgeOpenQuote(sheet, list);
    judgeRagged(sheet, list);
    judgeHeaders(sheet, list);
    judgeBlanks(sheet, list);
    judgeDuplicateRows(sheet, list);
    judgeDuplicateIds(sheet, list);
    judgeSequence(sheet, list);
}

} // namespace trevix
