#include "critics/sheet/table_reader.h"

#include "critics/findings/part_kind.h"
#include "critics/sheet/cell_value.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <utility>

namespace trevix {
namespace {

// Where a comment names an experiment, `build/dev/bench/sheet_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// Bytes from which the delimiter is told; some hundred rows.
constexpr std::size_t kSampleBytes = 32 * 1024;
/// How much larger, from 0 to 1, the share of even records must be for a delimiter to replace one
/// tried before it, and what is left of it when it tears quoted cells apart (experiment
/// `delimiters`).
constexpr double kClearlyMoreEven = 0.05;
constexpr double kTornQuotes = 0.5;
/// Rows at the top among which the names of columns are looked for, below titles and dates.
constexpr std::size_t kMostHeaderRows = 8;
/// Rows below a header that tell what it names.
constexpr std::size_t kRowsBelowHeader = 200;
/// Bytes of a name at most; of a short one, where a sheet has words alone.
constexpr std::size_t kLongestName = 120;
constexpr std::size_t kLongestShortName = 40;
/// Whole numbers that name columns are years.
constexpr double kFirstYear = 1900;
constexpr double kLastYear = 2100;
/// Cells that a title row does not have.
constexpr std::size_t kFewestNames = 2;
/// Columns that one group of columns spans at most: months and a total, with room.
constexpr std::size_t kWidestGroup = 16;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool endsCell(std::string_view text, std::size_t at, char delimiter) {
    return at >= text.size() || text[at] == delimiter || text[at] == '\n' || text[at] == '\r';
}

/// Where the quoted cell that opens at `open` closes, or nothing. RFC 4180: within quotes a doubled
/// quote is one, and anything may stand, line ends too.
std::optional<std::size_t> closingQuote(std::string_view text, std::size_t open, char delimiter) {
    std::size_t at = open + 1;
    while (true) {
        at = text.find('"', at);
        if (at == std::string_view::npos) return std::nullopt;
        if (at + 1 < text.size() && text[at + 1] == '"') {
            at += 2;
            continue;
        }
        if (endsCell(text, at + 1, delimiter)) return at;
        ++at; // A stray quote inside; the cell goes on.
    }
}

std::string withoutDoubledQuotes(std::string_view quoted) {
    std::string plain;
    plain.reserve(quoted.size());
    for (std::size_t i = 0; i < quoted.size(); ++i) {
        plain += quoted[i];
        if (quoted[i] == '"' && i + 1 < quoted.size() && quoted[i + 1] == '"') ++i;
    }
    return plain;
}

Table readRecords(std::string_view text, char delimiter) {
    Table table;
    table.delimiter = delimiter;
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    std::size_t at = 0;
    bool closable = true; // Once a quote never closes, no later one does.
    while (at < text.size()) {
        std::vector<std::string> record;
        while (true) {
            std::optional<std::size_t> close;
            if (at < text.size() && text[at] == '"') {
                // An open quote is read as text to the end of its cell, so that one slip does not
                // swallow the rest of the table. The search for the end goes through all the text
                // once at most.
                if (closable) close = closingQuote(text, at, delimiter);
                if (!close) {
                    closable = false;
                    if (!table.openQuote) table.openQuote = {table.rows.size(), record.size()};
                }
            }
            if (close) {
                record.push_back(withoutDoubledQuotes(text.substr(at + 1, *close - at - 1)));
                at = *close + 1;
            } else {
                std::size_t end = at;
                while (!endsCell(text, end, delimiter)) ++end;
                record.emplace_back(text.substr(at, end - at));
                at = end;
            }
            if (at >= text.size() || text[at] != delimiter) break;
            ++at;
        }
        // A line ends with CR LF, LF or CR.
        if (at < text.size()) at += text.substr(at).starts_with("\r\n") ? 2U : 1U;
        table.width = std::max(table.width, record.size());
        table.rows.push_back(std::move(record));
    }
    return table;
}

char detectDelimiter(std::string_view text) {
    const std::string_view sample = text.substr(0, kSampleBytes);
    char best = ',';
    double bestShare = 0;
    // Rarer marks first: a comma stands in sentences as well, and has to be clearly more even.
    for (const char delimiter : {'\t', ';', '|', ','}) {
        Table table = readRecords(sample, delimiter);
        // The last record of a sample may be cut.
        if (sample.size() < text.size() && table.rows.size() > 1) table.rows.pop_back();
        std::map<std::size_t, std::size_t> widths;
        std::size_t filled = 0;
        for (std::size_t row = 0; row < table.rows.size(); ++row) {
            if (table.isBlankRow(row) && table.rows[row].size() == 1) continue;
            ++widths[table.rows[row].size()];
            ++filled;
        }
        // A mark that does not occur makes every record one cell wide, which says nothing.
        std::size_t most = 0;
        for (const auto& [width, count] : widths) {
            if (width > 1) most = std::max(most, count);
        }
        double share = filled == 0 ? 0 : static_cast<double>(most) / static_cast<double>(filled);
        // A wrong delimiter tears quoted cells apart. Only of the whole text can it be said that a
        // quote stays open.
        if (table.openQuote && sample.size() == text.size()) share *= kTornQuotes;
        if (share > bestShare + kClearlyMoreEven) {
            bestShare = share;
            best = delimiter;
        }
    }
    return best;
}

bool isWords(std::string_view cell) {
    return !cell.empty() && !readNumber(cell) && !readDate(cell) && !isNoValue(cell) &&
           !isFormulaError(cell) && !isPlaceholder(cell);
}

/// Whether the row could name columns, with that many words at least: years may be among them.
bool looksLikeNames(const Table& table, std::size_t row, std::size_t leastWords) {
    std::size_t words = 0;
    std::size_t filled = 0;
    for (const std::string& text : table.rows[row]) {
        const std::string_view cell = trimmedCell(text);
        if (cell.empty()) continue;
        ++filled;
        if (cell.size() > kLongestName) return false;
        if (isWords(cell))
            ++words;
        else if (isNoValue(cell))
            continue; // A column may be called x.
        else if (const auto number = readNumber(cell); !number || number->decimals > 0 ||
                                                       number->value < kFirstYear ||
                                                       number->value > kLastYear)
            return false;
    }
    return filled >= kFewestNames && words >= leastWords;
}

/// Whether most of the cells right below the one that names a column are numbers or dates.
bool namesValuesBelow(const Table& table, std::size_t row, std::size_t column) {
    std::size_t values = 0;
    std::size_t cells = 0;
    // A look at the rows below is what tells: names differ in kind from what they name.
    const std::size_t end = std::min(table.rows.size(), row + kRowsBelowHeader);
    for (std::size_t r = row + 1; r < end; ++r) {
        const std::string_view cell = trimmedCell(table.cell(r, column));
        if (cell.empty()) continue;
        ++cells;
        if (readNumber(cell) || readDate(cell)) ++values;
    }
    return cells >= 1 && values * 2 > cells;
}

/// Whether what stands under the row differs from it in kind, as data differs from its names.
bool namesDataBelow(const Table& table, std::size_t row) {
    std::set<std::string_view> own;
    std::size_t filled = 0;
    for (const std::string& text : table.rows[row]) {
        const std::string_view cell = trimmedCell(text);
        if (cell.empty()) continue;
        ++filled;
        own.insert(cell);
    }
    std::size_t below = 0;
    bool repeats = false;
    const std::size_t end = std::min(table.rows.size(), row + kRowsBelowHeader);
    for (std::size_t column = 0; column < table.rows[row].size(); ++column) {
        const std::string_view name = trimmedCell(table.cell(row, column));
        std::size_t values = 0;
        std::size_t cells = 0;
        for (std::size_t r = row + 1; r < end; ++r) {
            const std::string_view cell = trimmedCell(table.cell(r, column));
            if (cell.empty()) continue;
            ++cells;
            ++below;
            if (cell == name) repeats = true;
            if (readNumber(cell) || readDate(cell)) ++values;
        }
        if (isWords(name) && cells >= 1 && values * 2 > cells) return true;
    }
    // A sheet of words alone: names are short, differ, and do not come again below.
    bool shortNames = true;
    for (const std::string_view cell : own)
        shortNames = shortNames && cell.size() <= kLongestShortName;
    // As many cells below as two rows of names would have; fewer show nothing.
    return below >= 2 * filled && !repeats && shortNames && filled == table.width;
}

std::optional<std::size_t> detectHeader(const Table& table) {
    const std::size_t end = std::min<std::size_t>(table.rows.size(), kMostHeaderRows);
    for (std::size_t row = 0; row < end; ++row) {
        const std::size_t filled = table.filledCells(row);
        if (filled == 0) continue;
        // Two columns may have a title as well, but one of them may also be empty.
        if (filled == 1 && table.width > 2) continue; // A title above the table.
        // Names on two rows: the lower row is the one that data stands under.
        const std::size_t next = row + 1;
        if (filled < table.width && looksLikeNames(table, row, 0) && next < table.rows.size() &&
            looksLikeNames(table, next, 1) && table.filledCells(next) > filled &&
            namesDataBelow(table, next))
            return next;
        // A single column has a name where numbers or dates stand under a word.
        if (table.width == 1) {
            const std::string_view name = trimmedCell(table.cell(row, 0));
            const bool names = isWords(name) && name.size() <= kLongestShortName;
            return names && namesValuesBelow(table, row, 0) ? std::optional(row) : std::nullopt;
        }
        // Whatever the first row that is filled says, decides: a header below data is none.
        if (!looksLikeNames(table, row, 1)) return std::nullopt;
        if (namesDataBelow(table, row)) return row;
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace

std::string_view Table::cell(std::size_t row, std::size_t column) const {
    if (row >= rows.size() || column >= rows[row].size()) return {};
    return rows[row][column];
}

bool Table::isBlankRow(std::size_t row) const {
    return std::ranges::all_of(rows[row],
                               [](const std::string& cell) { return trimmedCell(cell).empty(); });
}

std::size_t Table::filledCells(std::size_t row) const {
    return static_cast<std::size_t>(std::ranges::count_if(
        rows[row], [](const std::string& cell) { return !trimmedCell(cell).empty(); }));
}

std::string Table::header(std::size_t column) const {
    if (!headerRow) return {};
    std::string name(trimmedCell(cell(*headerRow, column)));
    if (!groupRow || name.empty()) return name;
    // The name of a group stands over its first column only; those to the right of it belong to it.
    for (std::size_t left = column + 1; left-- > 0;) {
        const std::string_view group = trimmedCell(cell(*groupRow, left));
        if (!group.empty()) return std::string(group) + " " + name;
        if (column - left > kWidestGroup) break;
    }
    return name;
}

Table readTable(std::string_view text, bool tabSeparated) {
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    Table table = readRecords(text, tabSeparated ? '\t' : detectDelimiter(text));
    while (!table.rows.empty() && table.isBlankRow(table.rows.size() - 1)) table.rows.pop_back();
    table.headerRow = detectHeader(table);
    if (table.headerRow && *table.headerRow > 0 &&
        table.filledCells(*table.headerRow - 1) >= kFewestNames) {
        table.groupRow = *table.headerRow - 1;
    }
    return table;
}

Table readSheet(std::string_view text, std::string_view mimeType) {
    // "text/tab-separated-values" is the registered type; others are written with an "x-" in it.
    const bool declared = bareType(mimeType).find("tab-separated") != std::string::npos;
    return readTable(text, declared && text.find('\t') != std::string_view::npos);
}

std::string columnName(std::size_t column) {
    // Letters count without a zero: A is 1, Z 26, AA 27.
    std::string name;
    for (std::size_t rest = column + 1; rest > 0; rest = (rest - 1) / 26) {
        name.insert(name.begin(), static_cast<char>('A' + (rest - 1) % 26));
    }
    return name;
}

std::string cellName(std::size_t row, std::size_t column) {
    return columnName(column) + std::to_string(row + 1);
}

std::string_view trimmedCell(std::string_view text) {
    if (text.empty()) return text;
    // Nearly all cells have nothing to trim, so the ends are looked at before the decoder is.
    const auto plain = [](char letter) { return letter > ' ' && letter < 0x7F; };
    if (plain(text.front()) && plain(text.back())) return text;
    return kelvane::text::trimmedWhitespaceAndNewlines(text);
}

} // namespace trevix
