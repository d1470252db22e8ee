#include "critics/sheet/sheet_columns.h"

#include "text/unicode.h"

#include <algorithm>
#include <utility>

namespace trevix {
namespace {

/// A label of a summary row stands in one of the first columns: number, group, name.
constexpr std::size_t kLabelColumns = 3;
/// Characters of a header that a finding quotes.
constexpr std::size_t kShownHeader = 60;

bool isWordLetter(char letter) {
    return (letter >= 'a' && letter <= 'z') || static_cast<unsigned char>(letter) >= 0x80;
}

bool hasWord(std::string_view text, std::string_view word) {
    // A word within the header: "no" is in "item no", and not in "note". Letters beyond ASCII count
    // as such, byte by byte.
    for (std::size_t at = text.find(word); at != std::string_view::npos;
         at = text.find(word, at + 1)) {
        const std::size_t end = at + word.size();
        const bool startsThere = at == 0 || !isWordLetter(text[at - 1]) || !isWordLetter(word[0]);
        const bool endsThere =
            end == text.size() || !isWordLetter(text[end]) || !isWordLetter(word.back());
        if (startsThere && endsThere) return true;
    }
    return false;
}

SheetRow kindOfRow(const Table& table, std::size_t row) {
    if (table.headerRow && row <= *table.headerRow) return SheetRow::header;
    if (table.isBlankRow(row)) return SheetRow::blank;
    std::size_t filled = 0;
    // A total is known by its label in one of the first columns, before a row is taken for data.
    std::string_view first;
    for (std::size_t column = 0; column < table.rows[row].size(); ++column) {
        const std::string_view cell = trimmedCell(table.cell(row, column));
        if (cell.empty()) continue;
        if (++filled == 1) first = cell;
        if (column >= kLabelColumns) continue;
        switch (rowKindOf(cell)) {
        case RowKind::subtotal:
            return SheetRow::subtotal;
        case RowKind::groupTotal:
            return SheetRow::groupTotal;
        case RowKind::total:
            return SheetRow::total;
        // "Average" in the first cell; further on it may be a value.
        case RowKind::otherSummary:
            if (filled == 1) return SheetRow::otherSummary;
            break;
        case RowKind::data:
            break;
        }
    }
    // One cell of words alone in a wide table names what follows.
    if (filled == 1 && table.width > 2 && !readNumber(first) && !readDate(first)) {
        return SheetRow::heading;
    }
    return SheetRow::data;
}

SheetCell readCell(std::size_t row, std::string_view text) {
    // From the surest kind to the vaguest: "n/a" before words, "2024" a number before a date.
    SheetCell cell{row, CellKind::words, std::nullopt, std::nullopt};
    if (text.empty())
        cell.kind = CellKind::empty;
    else if (isFormulaError(text))
        cell.kind = CellKind::error;
    else if (isPlaceholder(text))
        cell.kind = CellKind::placeholder;
    else if (isNoValue(text))
        cell.kind = CellKind::noValue;
    else if ((cell.number = readNumber(text)))
        cell.kind = CellKind::number;
    else if ((cell.date = readDate(text)))
        cell.kind = CellKind::date;
    return cell;
}

/// A label such as "Total" stands for a sum only beside numbers; "sum" may also be a mere word.
void demoteWordyTotals(const Table& table, std::vector<SheetRow>& kinds) {
    for (std::size_t row = 0; row < kinds.size(); ++row) {
        if (kinds[row] == SheetRow::header || kinds[row] == SheetRow::data ||
            kinds[row] == SheetRow::heading || kinds[row] == SheetRow::blank)
            continue;
        bool hasNumber = false;
        // An error stands where a number should.
        for (const std::string& cell : table.rows[row]) {
            hasNumber =
                hasNumber || readNumber(cell) || isFormulaError(cell) || isPlaceholder(cell);
        }
        if (!hasNumber)
            kinds[row] = table.filledCells(row) == 1 ? SheetRow::heading : SheetRow::data;
    }
}

} // namespace

double SheetColumn::valueOf(const NumberText& number) const {
    const bool other = (number.mark == DecimalMark::openComma && commaDecimals) ||
                       (number.mark == DecimalMark::openDot && !commaDecimals);
    return other ? number.other : number.value;
}

int SheetColumn::decimalsOf(const NumberText& number) const {
    const bool other = (number.mark == DecimalMark::openComma && commaDecimals) ||
                       (number.mark == DecimalMark::openDot && !commaDecimals);
    return other ? number.otherDecimals : number.decimals;
}

std::string SheetColumn::place() const {
    return "column " + (header.empty()
                            ? columnName(index)
                            : std::string(kelvane::text::firstCharacters(header, kShownHeader)));
}

bool SheetColumn::isCalled(std::initializer_list<std::string_view> words) const {
    return std::ranges::any_of(
        words, [this](std::string_view word) { return hasWord(lowerHeader, word); });
}

std::size_t Sheet::dataRows() const {
    return static_cast<std::size_t>(std::ranges::count(rowKinds, SheetRow::data));
}

Sheet understand(Table table) {
    Sheet sheet;
    sheet.table = std::move(table);
    const Table& read = sheet.table;
    for (std::size_t row = 0; row < read.rows.size(); ++row) {
        sheet.rowKinds.push_back(kindOfRow(read, row));
    }
    demoteWordyTotals(read, sheet.rowKinds);

    // Marks that tell: "1,5" and "1.50", not "1.234". They are counted for each column, and for the
    // sheet as a whole for those columns that have none.
    std::size_t dots = 0;
    std::size_t commas = 0;
    std::vector<std::pair<std::size_t, std::size_t>> marks(read.width);
    sheet.columns.resize(read.width);
    for (std::size_t index = 0; index < read.width; ++index) {
        SheetColumn& column = sheet.columns[index];
        column.index = index;
        column.header = read.header(index);
        column.lowerHeader = kelvane::text::lowercased(column.header);
    }
    // By row, as the table lies in memory.
    for (std::size_t row = 0; row < read.rows.size(); ++row) {
        const SheetRow kind = sheet.rowKinds[row];
        if (kind == SheetRow::header || kind == SheetRow::heading) continue;
        for (std::size_t index = 0; index < read.rows[row].size(); ++index) {
            SheetColumn& column = sheet.columns[index];
            SheetCell cell = readCell(row, trimmedCell(read.rows[row][index]));
            if (cell.kind == CellKind::empty) continue;
            if (cell.number && cell.number->mark == DecimalMark::dot) {
                ++dots;
                ++marks[index].first;
            }
            if (cell.number && cell.number->mark == DecimalMark::comma) {
                ++commas;
                ++marks[index].second;
            }
            // What says that there is no value is no cell of the column's kind, nor of another.
            if (kind == SheetRow::data && cell.kind != CellKind::noValue &&
                cell.kind != CellKind::error && cell.kind != CellKind::placeholder) {
                ++column.filled;
                if (cell.kind == CellKind::number) ++column.numbers;
                if (cell.kind == CellKind::date) ++column.dates;
            }
            column.cells.push_back(cell);
        }
    }
    for (SheetColumn& column : sheet.columns) {
        const auto [ownDots, ownCommas] = marks[column.index];
        // A tie, mostly of none, goes by the sheet.
        column.commaDecimals = ownDots == ownCommas ? commas > dots : ownCommas > ownDots;
    }
    return sheet;
}

} // namespace trevix
