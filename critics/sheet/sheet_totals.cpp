#include "critics/sheet/sheet_rule_table.h"
#include "critics/sheet/sheet_rules.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace trevix {
namespace {

constexpr GradedRule kWrongTotal = declared<WorkKind::sheet>("sheet.wrong_total");
constexpr GradedRule kWrongRowTotal = declared<WorkKind::sheet>("sheet.wrong_row_total");
constexpr GradedRule kPercentSum = declared<WorkKind::sheet>("sheet.percent_sum");

std::string figure(double value, int decimals) {
    std::string text(64, '\0');
    const int length = std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    text.resize(static_cast<std::size_t>(std::clamp(length, 0, 63)));
    if (text.find_first_not_of("-0.") == std::string::npos && text.starts_with("-"))
        text.erase(0, 1);
    return text;
}

/// What the displayed figures may be off by: they are rounded to their last digit, and so is the
/// sum. Whole numbers below a thousand are taken for counts, which are exact.
double tolerance(int decimals, std::size_t terms, double largest) {
    const double unit = std::pow(10.0, -decimals);
    const bool exact = decimals == 0 && largest < 1000;
    return unit * (exact ? 0.01 : 0.51 + 0.5 * std::sqrt(static_cast<double>(terms)));
}

/// Which of a number's readings to use: that of its column, or the other one of open marks.
enum class Reading { ofColumn, other };

double valueIn(const SheetColumn& column, const NumberText& number, Reading reading) {
    const double own = column.valueOf(number);
    if (reading == Reading::ofColumn) return own;
    return own == number.value ? number.other : number.value;
}

/// The rows above a total, summed in each of the ways that people put totals under them.
struct Sums {
    double sinceSummary = 0;
    double sinceBreak = 0; ///< Since a blank row or a heading.
    double sinceTotal = 0;
    double ofSubtotals = 0;
    double withGroups = 0; ///< Since the last total, rows such as "Total War" taken for data.
    double ofAll = 0;
    std::vector<double> terms; ///< Since the last summary row.
    std::vector<double> allTerms;
    double largest = 0;
    int decimals = 0;

    void add(double value) {
        sinceSummary += value;
        sinceBreak += value;
        sinceTotal += value;
        withGroups += value;
        ofAll += value;
        terms.push_back(value);
        allTerms.push_back(value);
        largest = std::max(largest, std::abs(value));
    }
};

bool isAdditive(const SheetColumn& column) {
    if (column.lowerHeader.find('%') != std::string::npos) return false;
    return !column.isCalled({"price",       "rate",        "avg",    "average", "percent",  "ratio",
                             "margin",      "score",       "year",   "date",    "id",       "age",
                             "per",         "temperature", "index",  "mean",    "median",   "preis",
                             "einzelpreis", "kurs",        "rating", "no",      "nr",       "rank",
                             "growth",      "change",      "prix",   "quote",   "weight %", "share",
                             "anteil",      "max",         "min"});
}

bool isSurelyAmount(const SheetColumn& column) {
    return column.isCalled({"amount",   "total",  "sum",    "cost",     "costs",
                            "revenue",  "sales",  "qty",    "quantity", "units",
                            "hours",    "count",  "betrag", "menge",    "summe",
                            "umsatz",   "kosten", "anzahl", "budget",   "spend",
                            "expenses", "income", "value",  "montant",  "stunden"});
}

bool fits(double total, double sum, double slack) {
    return std::abs(total - sum) <= slack;
}

/// Whether the figure under the rows is their mean, extreme or number: a summary, but no sum.
bool isOtherSummary(double total, const std::vector<double>& terms, double slack) {
    if (terms.empty()) return true;
    double sum = 0;
    for (const double term : terms) sum += term;
    const auto [least, most] = std::ranges::minmax(terms);
    const auto number = static_cast<double>(terms.size());
    return fits(total, sum / number, std::max(slack, 0.01 * std::abs(total))) ||
           fits(total, least, slack) || fits(total, most, slack) || total == number;
}

/// Whether one of the rows is the sum of those right above it, without being called so.
bool hasHiddenSum(const std::vector<double>& terms, double slack) {
    constexpr std::size_t kFarthest = 60;
    for (std::size_t i = 2; i < terms.size(); ++i) {
        double sum = 0;
        for (std::size_t above = i; above-- > 0 && i - above <= kFarthest;) {
            sum += terms[above];
            if (i - above >= 2 && fits(terms[i], sum, slack)) return true;
        }
    }
    return false;
}

/// What a total should say instead, or nothing when it can be explained.
std::optional<double> expectedInstead(const SheetColumn& column, const Sums& sums, double total,
                                      SheetRow kind, double slack, bool hasBreaks) {
    for (const double sum :
         {sums.sinceSummary, sums.sinceTotal, sums.ofAll, sums.ofSubtotals, sums.withGroups}) {
        if (fits(total, sum, slack)) return std::nullopt;
    }
    if (hasBreaks && fits(total, sums.sinceBreak, slack)) return std::nullopt;
    const bool whole = kind == SheetRow::total;
    const std::vector<double>& terms = whole ? sums.allTerms : sums.terms;
    const double expected = whole ? sums.sinceTotal : sums.sinceSummary;
    if (terms.size() < 2) return std::nullopt;
    if (fits(2 * total, expected, slack) && hasHiddenSum(terms, slack)) return std::nullopt;
    if (!isSurelyAmount(column) && isOtherSummary(total, terms, slack)) return std::nullopt;
    const bool nearMiss =
        std::abs(total - expected) <= 0.1 * std::abs(expected) ||
        std::ranges::any_of(terms, [&](double t) { return fits(total, expected - t, slack); });
    if (nearMiss) return expected;
    // "Total revenue" may be one figure among others; only a near miss shows what it sums up.
    if (kind == SheetRow::groupTotal) return std::nullopt;
    const auto [least, most] = std::ranges::minmax(terms);
    if (total >= least && total <= most && !isSurelyAmount(column)) return std::nullopt;
    return expected;
}

/// A total that does not add up, before it is sure that no other reading of the marks fits.
struct Slip {
    std::string place;
    std::string evidence;
    std::string detail;
};

void judgeColumnTotals(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    if (column.numbers < 2 || column.numbers * 5 < column.filled * 3 || !isAdditive(column)) return;
    const auto pass = [&](Reading reading, const std::function<void(Slip)>& report) {
        Sums sums;
        double laterSum = 0;
        for (const SheetCell& cell : column.cells) {
            if (cell.number && sheet.isData(cell.row)) {
                laterSum += valueIn(column, *cell.number, reading);
            }
        }
        bool broken = false; // An error among the rows spoils every sum below it.
        bool hasBreaks = false;
        std::size_t row = sheet.table.firstDataRow();
        for (const SheetCell& cell : column.cells) {
            for (; row < cell.row; ++row) {
                if (sheet.rowKinds[row] != SheetRow::blank &&
                    sheet.rowKinds[row] != SheetRow::heading)
                    continue;
                sums.sinceBreak = 0;
                hasBreaks = true;
            }
            const SheetRow kind = sheet.rowKinds[cell.row];
            if (cell.kind == CellKind::error || cell.kind == CellKind::placeholder ||
                (kind == SheetRow::data && cell.kind == CellKind::words))
                broken = true;
            if (!cell.number) continue;
            if (cell.number->percent) return;
            const double value = valueIn(column, *cell.number, reading);
            sums.decimals = std::max(sums.decimals, column.decimalsOf(*cell.number));
            if (kind == SheetRow::data) {
                sums.add(value);
                continue;
            }
            if (kind != SheetRow::subtotal && kind != SheetRow::groupTotal &&
                kind != SheetRow::total)
                continue;
            const double slack = tolerance(std::min(sums.decimals, 6), sums.allTerms.size(),
                                           std::max(sums.largest, std::abs(value)));
            const bool above = fits(value, laterSum, slack); // A total may lead its rows.
            const auto expected =
                above || broken ? std::nullopt
                                : expectedInstead(column, sums, value, kind, slack, hasBreaks);
            if (expected) {
                const std::string place = "cell " + cellName(cell.row, column.index);
                const std::string shown(trimmedCell(sheet.table.cell(cell.row, column.index)));
                const std::string sum = figure(*expected, std::min(sums.decimals, 6));
                report({place, shown + "; the rows add up to " + sum,
                        "The total in " + place + " says " + shortened(shown, 40) +
                            ", but the rows of the " + column.place() + " above it add up to " +
                            sum + "."});
            }
            sums.sinceSummary = 0;
            sums.sinceBreak = 0;
            sums.terms.clear();
            if (kind == SheetRow::total) {
                sums.sinceTotal = 0;
                sums.ofSubtotals = 0;
                sums.withGroups = 0;
                sums.allTerms.clear();
            } else {
                sums.ofSubtotals += value;
                if (kind == SheetRow::groupTotal) sums.withGroups += value;
            }
        }
    };
    std::vector<Slip> found;
    bool otherFits = false;
    pass(Reading::ofColumn, [&](Slip slip) { found.push_back(std::move(slip)); });
    if (found.empty()) return;
    const bool open = std::ranges::any_of(column.cells, [](const SheetCell& cell) {
        return cell.number && cell.number->value != cell.number->other;
    });
    if (open) {
        otherFits = true;
        pass(Reading::other, [&](const Slip&) { otherFits = false; });
    }
    if (otherFits) return;
    for (Slip& slip : found) {
        list.addAt(kWrongTotal, slip.place, slip.evidence, std::move(slip.detail));
    }
}

/// The numbers of a row by column, in the readings of the columns.
std::optional<double> numberAt(const Sheet& sheet, const SheetColumn& column, std::size_t row) {
    const auto cell = std::ranges::lower_bound(column.cells, row, {}, &SheetCell::row);
    if (cell == column.cells.end() || cell->row != row || !cell->number || !sheet.isData(row)) {
        return std::nullopt;
    }
    return column.valueOf(*cell->number);
}

int decimalsIn(const SheetColumn& column) {
    int decimals = 0;
    for (const SheetCell& cell : column.cells) {
        if (cell.number) decimals = std::max(decimals, column.decimalsOf(*cell.number));
    }
    return std::min(decimals, 6);
}

/// Totals across a row: where most rows show that a column is the sum of those before it, or the
/// product of two of them, the rows that differ are slips.
void judgeRowTotals(const Sheet& sheet, FindingList& list) {
    constexpr std::size_t kWidest = 40;
    for (const SheetColumn& total : sheet.columns) {
        if (total.index < 2 || total.index > kWidest || !total.isNumeric()) continue;
        if (!total.isCalled({"total", "sum", "amount", "summe", "betrag", "gesamt", "line total",
                             "gesamtpreis", "montant", "row total", "cost", "value"}))
            continue;
        std::vector<const SheetColumn*> terms;
        for (std::size_t i = total.index; i-- > 0;) {
            const SheetColumn& column = sheet.columns[i];
            if (column.isNumeric())
                terms.push_back(&column);
            else if (!terms.empty())
                break;
        }
        if (terms.size() < 2) continue;
        const int decimals = decimalsIn(total);
        const double unit = std::pow(10.0, -decimals);
        const auto sumOf = [&](std::size_t row) -> std::optional<double> {
            double sum = 0;
            for (const SheetColumn* term : terms) sum += numberAt(sheet, *term, row).value_or(0);
            return sum;
        };
        using Expectation = std::function<std::optional<double>(std::size_t)>;
        std::vector<std::pair<std::string, Expectation>> rules;
        rules.emplace_back("the sum of the columns before it", sumOf);
        for (std::size_t a = 0; a < std::min<std::size_t>(terms.size(), 6); ++a) {
            for (std::size_t b = a + 1; b < std::min<std::size_t>(terms.size(), 6); ++b) {
                rules.emplace_back(terms[b]->place() + " times " + terms[a]->place(),
                                   [&sheet, first = terms[a],
                                    second = terms[b]](std::size_t row) -> std::optional<double> {
                                       const auto x = numberAt(sheet, *first, row);
                                       const auto y = numberAt(sheet, *second, row);
                                       if (!x || !y) return std::nullopt;
                                       return *x * *y;
                                   });
            }
        }
        for (const auto& [words, rule] : rules) {
            std::size_t judged = 0;
            std::size_t telling = 0; // Rows that could not fit by chance: nothing is zero or one.
            std::vector<std::pair<std::size_t, double>> strays;
            for (const SheetCell& cell : total.cells) {
                if (!cell.number || !sheet.isData(cell.row)) continue;
                const std::optional<double> expected = rule(cell.row);
                if (!expected) continue;
                ++judged;
                const double value = total.valueOf(*cell.number);
                const double slack = unit * (decimals == 0 ? 0.51 : 1.01) + 1e-9;
                if (!fits(value, *expected, slack))
                    strays.emplace_back(cell.row, *expected);
                else if (std::abs(value) > 1)
                    ++telling;
            }
            if (judged < 4 || telling < 3 || strays.size() * 4 > judged) continue;
            for (const auto& [row, expected] : strays) {
                const std::string place = "cell " + cellName(row, total.index);
                const std::string shown(trimmedCell(sheet.table.cell(row, total.index)));
                const std::string sum = figure(expected, decimals);
                list.addAt(kWrongRowTotal, place, shown + "; expected " + sum,
                           "The " + total.place() + " is " + words + " in " +
                               std::to_string(judged - strays.size()) + " rows, but " + place +
                               " says " + shortened(shown, 40) + " instead of " + sum + ".");
            }
            break;
        }
    }
}

void judgeShares(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    if (column.numbers < 3 || !column.isCalled({"% of total", "share", "anteil", "percent of total",
                                                "distribution", "allocation", "gewichtung",
                                                "percentage of total", "% of sales", "weighting"}))
        return;
    double sum = 0;
    double largest = 0;
    std::size_t terms = 0;
    int decimals = 0;
    std::size_t lastRow = 0;
    for (const SheetCell& cell : column.cells) {
        if (!sheet.isData(cell.row)) {
            // Parts of parts: with several sums there is no one whole.
            if (sheet.rowKinds[cell.row] == SheetRow::subtotal ||
                sheet.rowKinds[cell.row] == SheetRow::groupTotal)
                return;
            continue;
        }
        if (!cell.number) return;
        const bool percent =
            cell.number->percent || column.lowerHeader.find('%') != std::string::npos;
        if (!percent) return;
        const double value = column.valueOf(*cell.number);
        if (value < 0 || value > 100) return;
        sum += value;
        largest = std::max(largest, value);
        decimals = std::max(decimals, column.decimalsOf(*cell.number));
        ++terms;
        lastRow = cell.row;
    }
    decimals = std::min(decimals, 6);
    const double unit = std::pow(10.0, -decimals);
    const double slack = unit * 0.5 * static_cast<double>(terms) + 1e-9;
    // Far from 100 the parts are not all there, which a list may well intend.
    if (fits(100, sum, slack) || sum < 80 || sum > 120) return;
    const std::string shown = figure(sum, decimals);
    list.addAt(kPercentSum, column.place(), shown + " %",
               "The " + std::to_string(terms) + " shares of the " + column.place() +
                   " down to row " + std::to_string(lastRow + 1) + " add up to " + shown +
                   " %, not 100 %.");
}

} // namespace

void judgeTotals(const Sheet& sheet, FindingList& list) {
    for (const SheetColumn& column : sheet.columns) {
        judgeColumnTotals(sheet, column, list);
        judgeShares(sheet, column, list);
    }
    judgeRowTotals(sheet, list);
}

} // namespace trevix
