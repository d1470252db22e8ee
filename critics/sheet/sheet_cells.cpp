#include "critics/sheet/sheet_rule_table.h"
#include "critics/sheet/sheet_rules.h"

#include "text/unicode.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>

namespace trevix {
namespace {

constexpr GradedRule kFormulaErrorMedium =
    declared<WorkKind::sheet>("sheet.formula_error", Severity::medium);
constexpr GradedRule kFormulaErrorHigh =
    declared<WorkKind::sheet>("sheet.formula_error", Severity::high);
constexpr GradedRule kPlaceholder = declared<WorkKind::sheet>("sheet.placeholder");
constexpr GradedRule kTextNumber = declared<WorkKind::sheet>("sheet.text_number");
constexpr GradedRule kMixedTypes = declared<WorkKind::sheet>("sheet.mixed_types");
constexpr GradedRule kFormulaText = declared<WorkKind::sheet>("sheet.formula_text");
constexpr GradedRule kImpossibleDate = declared<WorkKind::sheet>("sheet.impossible_date");
constexpr GradedRule kMixedDates = declared<WorkKind::sheet>("sheet.mixed_dates");
constexpr GradedRule kPercentRange = declared<WorkKind::sheet>("sheet.percent_range");
constexpr GradedRule kNegativeCount = declared<WorkKind::sheet>("sheet.negative_count");
constexpr GradedRule kMixedDecimals = declared<WorkKind::sheet>("sheet.mixed_decimals");
constexpr GradedRule kMixedCurrencies = declared<WorkKind::sheet>("sheet.mixed_currencies");
constexpr GradedRule kMixedUnits = declared<WorkKind::sheet>("sheet.mixed_units");
constexpr GradedRule kStrayBlanks = declared<WorkKind::sheet>("sheet.stray_blanks");
constexpr GradedRule kSpellingVariants = declared<WorkKind::sheet>("sheet.spelling_variants");

// Where a comment names an experiment, `build/dev/bench/sheet_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// Cells. With one stray among four a type has the 80 % that `SheetColumn::isNumeric` asks for only
/// from five on.
constexpr std::size_t kFewestForMajority = 5;
/// Dates, and how many of three have the usual style (experiment `majorities`).
constexpr std::size_t kFewestDates = 3;
constexpr std::size_t kDatesOfThree = 2;
/// Numbers, and how many of four have the usual mark, currency or unit (experiment `majorities`).
constexpr std::size_t kFewestMarked = 4;
constexpr std::size_t kMarkedOfFour = 3;
/// What one cell in so many of a column does is meant and no stray (experiment `majorities`).
constexpr std::size_t kMeantShare = 4;
constexpr std::size_t kPaddedNumbersShare = 2;
constexpr std::size_t kPaddedWordsShare = 3;
/// Words: a column of categories has eight at least and each twice on average; a name is at most 40
/// bytes long, and its usual spelling three times as frequent as a slip.
constexpr std::size_t kFewestCategoryCells = 8;
constexpr std::size_t kUsesOfCategory = 2;
constexpr std::size_t kLongestCategory = 40;
constexpr std::size_t kUsualSpellingTimes = 3;
constexpr std::size_t kFewestWords = 3;

struct CellPlace {
    std::string name;
    std::string text;
    std::string quoted;
};

CellPlace placeOf(const Sheet& sheet, const SheetColumn& column, std::size_t row) {
    CellPlace place;
    place.name = "cell " + cellName(row, column.index);
    place.text = sheet.table.cell(row, column.index);
    place.quoted = "\"" + shortened(place.text, 60) + "\"";
    return place;
}

/// The text with the blanks at its ends made visible.
std::string withVisibleBlanks(std::string_view text) {
    const std::string_view trimmed = trimmedCell(text);
    if (trimmed.empty()) return "␣";
    std::string visible = shortened(trimmed, 100);
    // The trimmed view is a part of the text, so the ends tell whether something was taken off.
    if (trimmed.data() != text.data()) visible = "␣" + visible;
    if (trimmed.data() + trimmed.size() != text.data() + text.size()) visible += "␣";
    return visible;
}

std::string capitalized(std::string text) {
    if (!text.empty() && text[0] >= 'a' && text[0] <= 'z')
        text[0] = static_cast<char>(text[0] - 32);
    return text;
}

void judgeErrors(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    for (const SheetCell& cell : column.cells) {
        if (cell.kind == CellKind::error) {
            const CellPlace place = placeOf(sheet, column, cell.row);
            const std::string_view error = trimmedCell(place.text);
            // "#N/A" is also how a lookup says that there is nothing to find.
            const bool notAvailable = error == "#N/A" || error == "#NV";
            list.addAt(notAvailable ? kFormulaErrorMedium : kFormulaErrorHigh, place.name,
                       place.text,
                       "The formula in " + place.name + " gives " + std::string(error) +
                           " instead of a value.");
        } else if (cell.kind == CellKind::placeholder) {
            const CellPlace place = placeOf(sheet, column, cell.row);
            list.addAt(kPlaceholder, place.name, place.text,
                       capitalized(place.name) + " still holds the placeholder " + place.quoted +
                           ".");
        }
    }
}

bool isFormulaText(std::string_view text) {
    // "=A1+B2" and "=SUM(" are formulas; "=====" and "=> next" are not.
    if (text.size() < 4 || text.front() != '=') return false;
    const std::size_t end = text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ$.0123456789", 1);
    if (end == std::string_view::npos || end == 1) return false;
    return text[end] == '(' || text[end] == '+' || text[end] == '-' || text[end] == '*' ||
           text[end] == '/' || text[end] == '!' || text[end] == '&';
}

/// A letter O or l among digits, where a 0 or 1 was meant.
bool hasLetterForDigit(std::string_view text) {
    std::size_t digits = 0;
    std::size_t letters = 0;
    std::string repaired;
    for (const char letter : text) {
        if (letter >= '0' && letter <= '9') ++digits;
        const bool zero = letter == 'O' || letter == 'o';
        const bool one = letter == 'l' || letter == 'I';
        if (zero || one) ++letters;
        repaired += zero ? '0' : one ? '1' : letter;
    }
    // The repaired text has to be a number, and some of it has to have been one: "Il" is no eleven.
    return letters > 0 && digits > 0 && letters <= digits + 1 && readNumber(repaired).has_value();
}

bool isDigits(std::string_view text) {
    return text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// Numbers that a spreadsheet will not count as numbers, and other strays among numbers.
void judgeStraysAmongNumbers(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    std::size_t spaced = 0;
    std::size_t otherwise = 0;
    std::size_t padded = 0;
    for (const SheetCell& cell : column.cells) {
        if (!sheet.isData(cell.row) || !cell.number) continue;
        const std::string_view text = sheet.table.cell(cell.row, column.index);
        // Blanks between digits are how some countries write thousands. Numbers that need no mark
        // say nothing about that.
        if (cell.number->groupMark == ' ')
            ++spaced;
        else if (cell.number->groupMark != 0 || cell.number->value >= 1000)
            ++otherwise;
        if (trimmedCell(text).size() != text.size()) ++padded;
    }
    // Where most cells are padded, a program made the file, and it reads them itself.
    const bool paddingIsStyle = padded * kPaddedNumbersShare > column.numbers;
    const bool spacingIsStyle = spaced >= otherwise;
    for (const SheetCell& cell : column.cells) {
        if (!sheet.isData(cell.row)) continue;
        if (cell.kind != CellKind::words && cell.kind != CellKind::number &&
            cell.kind != CellKind::date)
            continue;
        const std::string_view whole = sheet.table.cell(cell.row, column.index);
        const std::string_view text = trimmedCell(whole);
        std::string why;
        // In a spreadsheet an apostrophe in front makes text of a number.
        if (text.size() > 1 && text.front() == '\'' && readNumber(text.substr(1))) {
            why = "begins with an apostrophe";
        } else if (cell.kind == CellKind::words && hasLetterForDigit(text)) {
            why = "has a letter where a digit was meant";
        } else if (cell.number && cell.number->groupMark == ' ' && !spacingIsStyle) {
            why = "has a blank between its digits";
        } else if (cell.number && text.size() != whole.size() && !paddingIsStyle) {
            why = "has a blank before or after it";
        }
        // Digits alone are numbers of another kind here, such as years among amounts.
        const bool stray = cell.kind != CellKind::number && column.filled >= kFewestForMajority &&
                           !isDigits(text) && !isFormulaText(text);
        if (why.empty() && !stray) continue;
        const CellPlace place = placeOf(sheet, column, cell.row);
        if (!why.empty()) {
            list.addAt(kTextNumber, place.name, place.text,
                       "The number " + place.quoted + " in " + place.name + " " + why +
                           ", so formulas do not count it.");
        } else {
            list.addAt(kMixedTypes, place.name, place.text,
                       capitalized(place.name) + " holds " + place.quoted + " where the " +
                           column.place() + " holds numbers in " + std::to_string(column.numbers) +
                           " of " + std::to_string(column.filled) + " cells.");
        }
    }
}

void judgeStraysAmongDates(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    if (column.filled < kFewestForMajority) return;
    for (const SheetCell& cell : column.cells) {
        if (!sheet.isData(cell.row)) continue;
        if (cell.kind != CellKind::words && cell.kind != CellKind::number) continue;
        const CellPlace place = placeOf(sheet, column, cell.row);
        list.addAt(kMixedTypes, place.name, place.text,
                   capitalized(place.name) + " holds " + place.quoted + " where the " +
                       column.place() + " holds dates in " + std::to_string(column.dates) + " of " +
                       std::to_string(column.filled) + " cells.");
    }
}

void judgeFormulaTexts(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    for (const SheetCell& cell : column.cells) {
        if (cell.kind != CellKind::words) continue;
        if (!isFormulaText(trimmedCell(sheet.table.cell(cell.row, column.index)))) continue;
        const CellPlace place = placeOf(sheet, column, cell.row);
        list.addAt(kFormulaText, place.name, place.text,
                   capitalized(place.name) + " shows the formula " + place.quoted +
                       " instead of its result.");
    }
}

using DateStyle = std::pair<DateForm, DayOrder>;
using DateStyles = std::map<DateStyle, std::size_t>;

std::size_t datesIn(const DateStyles& styles) {
    std::size_t dates = 0;
    for (const auto& [style, count] : styles) dates += count;
    return dates;
}

/// Whether dates are what the column holds, by its cells or by its name.
bool isDateColumn(const SheetColumn& column) {
    const auto possible = static_cast<std::size_t>(std::ranges::count_if(
        column.cells, [](const SheetCell& cell) { return cell.date && cell.date->possible; }));
    // Dates that are not on the calendar are among them, so more than half has to be.
    return (column.isDated() && possible * 2 > column.dates) ||
           column.isCalled({"date", "datum", "day", "due", "deadline", "start", "end", "fecha",
                            "birthday", "born", "geburtsdatum"});
}

void judgeImpossibleDates(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    const bool dateColumn = isDateColumn(column);
    for (const SheetCell& cell : column.cells) {
        if (!cell.date || cell.date->possible) continue;
        // 31.02.24 and 2024.0.1 may be versions or part numbers; only a column of dates tells.
        // "2024.0.1" reads as a year with dots.
        const bool version =
            cell.date->form == DateForm::dots && cell.date->order == DayOrder::yearFirst;
        if ((!cell.date->fullYear || version) && !dateColumn) continue;
        const CellPlace place = placeOf(sheet, column, cell.row);
        list.addAt(kImpossibleDate, place.name, place.text,
                   "No calendar has the date " + place.quoted + " in " + place.name + ".");
    }
}

/// The styles of the column's dates. A date that fits two orders goes with whichever order its own
/// form has elsewhere.
DateStyles stylesOf(const SheetColumn& column) {
    DateStyles styles;
    std::map<DateForm, std::size_t> eitherBy;
    for (const SheetCell& cell : column.cells) {
        if (!cell.date || !cell.date->possible) continue;
        // "01/02/2024": day or month first is not told by itself.
        if (cell.date->order == DayOrder::either)
            ++eitherBy[cell.date->form];
        else
            ++styles[{cell.date->form, cell.date->order}];
    }
    for (const auto& [form, count] : eitherBy) {
        auto best = styles.end();
        for (auto it = styles.begin(); it != styles.end(); ++it) {
            const bool better = best == styles.end() || it->second > best->second;
            if (it->first.first == form && better) best = it;
        }
        // Only when no date of that form tells: then its own kind is a style.
        if (best != styles.end())
            best->second += count;
        else
            styles[{form, DayOrder::either}] += count;
    }
    return styles;
}

/// No style has a clear majority: one finding for the column.
void tellDateMix(const SheetColumn& column, const DateStyles& styles, FindingList& list) {
    std::string mix;
    for (const auto& [style, count] : styles) {
        if (!mix.empty()) mix += ", ";
        mix += std::to_string(count) + " like " + std::string(example(style.first, style.second));
    }
    list.addAt(kMixedDates, column.place(), mix,
               "The " + column.place() + " writes its dates in several forms: " + mix + ".");
}

bool hasStyle(const DateText& date, const DateStyle& style) {
    return date.form == style.first &&
           (date.order == DayOrder::either || style.second == DayOrder::either ||
            date.order == style.second);
}

void judgeDateStyles(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    const DateStyles styles = stylesOf(column);
    const std::size_t known = datesIn(styles);
    if (!column.isDated() || known < kFewestDates) return;
    // The first of equal ones, in the order of the map, so that the same sheet has the same
    // findings.
    const auto usual = std::ranges::max_element(
        styles, [](const auto& a, const auto& b) { return a.second < b.second; });
    if (usual->second * 3 < known * kDatesOfThree) {
        if (styles.size() > 1) tellDateMix(column, styles, list);
        return;
    }
    for (const SheetCell& cell : column.cells) {
        if (!cell.date || !cell.date->possible || hasStyle(*cell.date, usual->first)) continue;
        const CellPlace place = placeOf(sheet, column, cell.row);
        list.addAt(kMixedDates, place.name, place.text,
                   "The date " + place.quoted + " in " + place.name + " is not written like the " +
                       std::to_string(usual->second) + " others of the " + column.place() + " (" +
                       std::string(example(usual->first.first, usual->first.second)) + ").");
    }
}

/// Strays from the most frequent of the texts that `read` gives, where it gives one.
template <typename Read>
void judgeMajority(const Sheet& sheet, const SheetColumn& column, FindingList& list, Read read,
                   GradedRule rule, std::string_view noun) {
    std::map<std::string_view, std::size_t> counts;
    std::size_t all = 0;
    for (const SheetCell& cell : column.cells) {
        if (!cell.number) continue;
        const std::string_view value = read(*cell.number);
        if (value.empty()) continue;
        ++counts[value];
        ++all;
    }
    if (counts.size() < 2 || all < kFewestMarked) return;
    const auto usual = std::ranges::max_element(
        counts, [](const auto& a, const auto& b) { return a.second < b.second; });
    if (usual->second * 4 < all * kMarkedOfFour) return;
    for (const SheetCell& cell : column.cells) {
        if (!cell.number) continue;
        const std::string_view value = read(*cell.number);
        if (value.empty() || value == usual->first) continue;
        const CellPlace place = placeOf(sheet, column, cell.row);
        list.addAt(rule, place.name, place.text,
                   capitalized(place.name) + " holds " + place.quoted + " with the " +
                       std::string(noun) + " " + std::string(value) + " where " +
                       std::to_string(usual->second) + " cells of the " + column.place() +
                       " have " + std::string(usual->first) + ".");
    }
}

std::string_view decimalMarkOf(const NumberText& number) {
    if (number.mark == DecimalMark::dot) return ".";
    if (number.mark == DecimalMark::comma) return ",";
    return {};
}

// Names of columns are all that tells a part of a whole from a change in per cent, which may well
// be above 100.
void judgeRanges(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    const bool part = column.isCalled({"share", "anteil", "progress", "completion", "complete",
                                       "% of", "percent of", "utilization", "utilisation",
                                       "probability", "coverage", "% done", "fortschritt"});
    const bool amount = column.isCalled({"quantity", "qty", "count", "pieces", "pcs", "stock",
                                         "menge", "anzahl", "stück", "headcount", "age", "alter",
                                         "units", "attendees", "visitors", "employees"});
    std::size_t outside = 0;
    std::size_t negative = 0;
    const auto isOutside = [&](const SheetCell& cell) {
        const double value = column.valueOf(*cell.number);
        const bool percent =
            cell.number->percent || column.lowerHeader.find('%') < std::string::npos;
        return percent && (value < 0 || value > 100);
    };
    for (const SheetCell& cell : column.cells) {
        if (!sheet.isData(cell.row) || !cell.number) continue;
        if (isOutside(cell)) ++outside;
        if (cell.number->value < 0) ++negative;
    }
    // What many cells of a column do is meant; only strays are slips.
    const bool judgePart = part && outside * kMeantShare <= column.numbers;
    const bool judgeAmount = amount && negative * kMeantShare <= column.numbers &&
                             !column.isCalled({"change", "difference", "delta", "diff", "variance",
                                               "adjustment", "+/-"});
    for (const SheetCell& cell : column.cells) {
        if (!sheet.isData(cell.row) || !cell.number) continue;
        if (judgePart && isOutside(cell)) {
            const CellPlace place = placeOf(sheet, column, cell.row);
            list.addAt(kPercentRange, place.name, place.text,
                       "The " + column.place() + " is a part of a whole, but " + place.name +
                           " says " + place.quoted + ".");
        } else if (judgeAmount && cell.number->value < 0) {
            const CellPlace place = placeOf(sheet, column, cell.row);
            list.addAt(kNegativeCount, place.name, place.text,
                       "The " + column.place() + " counts things, but " + place.name + " says " +
                           place.quoted + ".");
        }
    }
}

/// Blanks around words, and words that differ from a more frequent one in capitals alone.
void judgeWords(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    // One pass to learn the column's habits, one to tell who departs from them.
    std::size_t words = 0;
    std::size_t padded = 0;
    std::map<std::string, std::map<std::string_view, std::size_t>> spellings;
    for (const SheetCell& cell : column.cells) {
        if (!sheet.isData(cell.row) || cell.kind != CellKind::words) continue;
        const std::string_view text = sheet.table.cell(cell.row, column.index);
        const std::string_view trimmed = trimmedCell(text);
        ++words;
        if (trimmed.size() != text.size()) ++padded;
        if (trimmed.size() <= kLongestCategory)
            ++spellings[kelvane::text::lowercased(trimmed)][trimmed];
    }
    if (words < kFewestWords) return;
    const bool paddingIsStyle = padded * kPaddedWordsShare > words;
    const bool categories =
        words >= kFewestCategoryCells && spellings.size() * kUsesOfCategory <= words;
    for (const SheetCell& cell : column.cells) {
        if (!sheet.isData(cell.row) || cell.kind != CellKind::words) continue;
        const std::string_view text = sheet.table.cell(cell.row, column.index);
        const std::string_view trimmed = trimmedCell(text);
        // A line break at the end of a cell is how text comes out of forms; that is left alone.
        if (!paddingIsStyle && trimmed.size() != text.size() &&
            trimmed.find_first_of("\r\n") == std::string_view::npos) {
            const CellPlace place = placeOf(sheet, column, cell.row);
            list.addAt(kStrayBlanks, place.name, withVisibleBlanks(text),
                       "The text " + place.quoted + " in " + place.name +
                           " has a blank before or after it, so lookups miss it.");
        }
        if (!categories || trimmed.size() > kLongestCategory) continue;
        // Built above with the same key, so it is there.
        const auto& variants = spellings[kelvane::text::lowercased(trimmed)];
        if (variants.size() < 2) continue;
        const auto usual = std::ranges::max_element(
            variants, [](const auto& a, const auto& b) { return a.second < b.second; });
        const std::size_t own = variants.at(trimmed);
        if (usual->first == trimmed || own * kUsualSpellingTimes > usual->second) continue;
        const CellPlace place = placeOf(sheet, column, cell.row);
        list.addAt(kSpellingVariants, place.name, place.text,
                   capitalized(place.name) + " writes " + place.quoted + " where " +
                       std::to_string(usual->second) + " other cells of the " + column.place() +
                       " write \"" + shortened(usual->first, 60) + "\".");
    }
}

} // namespace

void judgeCells(const Sheet& sheet, FindingList& list) {
    // A column is one of three kinds, and each has its rules; errors, placeholders, formulas and
    // dates are looked for in all.
    for (const SheetColumn& column : sheet.columns) {
        if (column.cells.empty()) continue;
        judgeErrors(sheet, column, list);
        judgeFormulaTexts(sheet, column, list);
        judgeImpossibleDates(sheet, column, list);
        judgeDateStyles(sheet, column, list);
        if (column.isNumeric()) {
            judgeStraysAmongNumbers(sheet, column, list);
            judgeMajority(sheet, column, list, decimalMarkOf, kMixedDecimals, "decimal mark");
            judgeMajority(
                sheet, column, list, [](const NumberText& number) { return number.currency; },
                kMixedCurrencies, "currency");
            judgeMajority(
                sheet, column, list, [](const NumberText& number) { return number.unit; },
                kMixedUnits, "unit");
            judgeRanges(sheet, column, list);
        } else if (column.isDated()) {
            judgeStraysAmongDates(sheet, column, list);
        } else {
            judgeWords(sheet, column, list);
        }
    }
}

} // namespace trevix
