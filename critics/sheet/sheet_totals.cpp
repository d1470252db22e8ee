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

// Where a comment names an experiment, `build/dev/bench/sheet_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// Decimals; what a double can still tell apart in sums of millions, and more than people show.
constexpr int kMostDecimals = 6;
/// Units of the last digit. A total is rounded to half a unit itself, and a little for the sum of
/// binary fractions. Each of n rows adds an error of up to half a unit, which makes a deviation of
/// 0.29 times the root of n; three of these leave out two sound totals in a thousand (experiment
/// `totals`).
constexpr double kOwnRounding = 0.51;
constexpr double kRoundingPerRootOfRows = 0.87;
/// Whole numbers below this are counts, which are exact but for the noise of binary fractions.
constexpr double kCountsBelow = 1000;
constexpr double kExactCounts = 0.01;
/// Share of a total by which a mean may differ that somebody rounded for display.
constexpr double kMeanShare = 0.01;
/// Share of the expected sum, from 0 to 1, within which a total was meant to be it (experiment
/// `totals`: slips of one digit and left-out rows).
constexpr double kNearMiss = 0.1;
/// Rows above an unnamed sum that it may take in; bounds the time, a screen shows as many.
constexpr std::size_t kFarthestHiddenSum = 60;

// Columns whose totals are judged: two numbers, and numbers in three of five cells.
constexpr std::size_t kFewestSummands = 2;
constexpr std::size_t kSummandsOfFive = 3;

// Sums across a row. Columns, rows, and the rows that differ: one in four at most, so that three in
// four give the rule (experiment `row-totals`).
constexpr std::size_t kWidestRow = 40;
constexpr std::size_t kMostFactors = 6;
constexpr std::size_t kFewestRows = 4;
constexpr std::size_t kFewestTellingRows = 3;
constexpr std::size_t kRowStrayShare = 4;
/// Units of the last digit between a row's sum or product and the figure in it.
constexpr double kRowSlackWhole = 0.51;
constexpr double kRowSlackDecimals = 1.01;

/// Binary fractions of decimal figures.
constexpr double kBinaryNoise = 1e-9;
/// Shares: three at least, and a sum, in percent, outside which parts were left out on purpose.
constexpr std::size_t kFewestShares = 3;
constexpr double kLeastShareSum = 80;
constexpr double kMostShareSum = 120;

std::string figure(double value, int decimals) {
    // 64 bytes hold any sum that a sheet can show; a longer one is cut, not overrun.
    std::string text(64, '\0');
    const int length = std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    text.resize(static_cast<std::size_t>(std::clamp(length, 0, 63)));
    // Rounding may leave "-0.00".
    if (text.find_first_not_of("-0.") == std::string::npos && text.starts_with("-"))
        text.erase(0, 1);
    return text;
}

/// What the displayed figures may be off by: they are rounded to their last digit, and so is the
/// sum. Whole numbers below a thousand are taken for counts, which are exact.
double tolerance(int decimals, std::size_t terms, double largest) {
    const double unit = std::pow(10.0, -decimals);
    const bool exact = decimals == 0 && largest < kCountsBelow;
    if (exact) return unit * kExactCounts;
    // Errors of many rows add up by the root of their number, as they go either way.
    return unit * (kOwnRounding + kRoundingPerRootOfRows * std::sqrt(static_cast<double>(terms)));
}

/// Which of a number's readings to use: that of its column, or the other one of open marks.
enum class Reading { ofColumn, other };

double valueIn(const SheetColumn& column, const NumberText& number, Reading reading) {
    const double own = column.valueOf(number);
    if (reading == Reading::ofColumn) return own;
    // The two readings of "1.234": the column has chosen one, this is the other.
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

    // All sums run at once, so one pass down the column is enough; which of them a total was meant
    // to be is asked when it comes.
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

    /// Begins anew below a summary row of that kind with that value.
    void close(SheetRow kind, double value) {
        sinceSummary = 0;
        sinceBreak = 0;
        terms.clear();
        if (kind == SheetRow::total) {
            sinceTotal = 0;
            ofSubtotals = 0;
            withGroups = 0;
            allTerms.clear();
        } else {
            ofSubtotals += value;
            if (kind == SheetRow::groupTotal) withGroups += value;
        }
    }
};

bool isAdditive(const SheetColumn& column) {
    // Adding up makes no sense of these, and a row called total then holds something else.
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
    // Without rows above there is nothing that it could have been a sum of.
    if (terms.empty()) return true;
    double sum = 0;
    for (const double term : terms) sum += term;
    const auto [least, most] = std::ranges::minmax(terms);
    const auto number = static_cast<double>(terms.size());
    return fits(total, sum / number, std::max(slack, kMeanShare * std::abs(total))) ||
           fits(total, least, slack) || fits(total, most, slack) || total == number;
}

/// Whether one of the rows is the sum of those right above it, without being called so.
bool hasHiddenSum(const std::vector<double>& terms, double slack) {
    // The sum of two rows at least, counted upwards from the row itself. At most 60 times as many
    // steps as there are rows.
    for (std::size_t i = 2; i < terms.size(); ++i) {
        double sum = 0;
        for (std::size_t above = i; above-- > 0 && i - above <= kFarthestHiddenSum;) {
            sum += terms[above];
            if (i - above >= 2 && fits(terms[i], sum, slack)) return true;
        }
    }
    return false;
}

/// What a total should say instead, or nothing when it can be explained.
std::optional<double> expectedInstead(const SheetColumn& column, const Sums& sums, double total,
                                      SheetRow kind, double slack, bool hasBreaks) {
    // Any sum that fits explains the total: rows are grouped in more ways than can be told from
    // labels.
    for (const double sum :
         {sums.sinceSummary, sums.sinceTotal, sums.ofAll, sums.ofSubtotals, sums.withGroups}) {
        if (fits(total, sum, slack)) return std::nullopt;
    }
    if (hasBreaks && fits(total, sums.sinceBreak, slack)) return std::nullopt;
    const bool whole = kind == SheetRow::total;
    const std::vector<double>& terms = whole ? sums.allTerms : sums.terms;
    const double expected = whole ? sums.sinceTotal : sums.sinceSummary;
    if (terms.size() < 2) return std::nullopt;
    // Subtotals without a label are counted twice in the sum, which then is twice the total.
    if (fits(2 * total, expected, slack) && hasHiddenSum(terms, slack)) return std::nullopt;
    if (!isSurelyAmount(column) && isOtherSummary(total, terms, slack)) return std::nullopt;
    // A slip of a digit is near the right sum, and so is one row that was left out, however large.
    const bool nearMiss =
        std::abs(total - expected) <= kNearMiss * std::abs(expected) ||
        std::ranges::any_of(terms, [&](double t) { return fits(total, expected - t, slack); });
    if (nearMiss) return expected;
    // "Total revenue" may be one figure among others; only a near miss shows what it sums up.
    if (kind == SheetRow::groupTotal) return std::nullopt;
    // Between the smallest and the largest row it may be a mean or a median by another rule.
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

bool isSumRow(SheetRow kind) {
    return kind == SheetRow::subtotal || kind == SheetRow::groupTotal || kind == SheetRow::total;
}

/// A walk down one column, in one reading of its numbers.
class TotalsWalk {
public:
    TotalsWalk(const Sheet& sheet, const SheetColumn& column, Reading reading)
        : m_sheet(sheet),
          m_column(column),
          m_reading(reading),
          m_row(sheet.table.firstDataRow()) {
        // The sum of all the data, for totals that stand above their rows.
        for (const SheetCell& cell : column.cells) {
            if (cell.number && sheet.isData(cell.row))
                m_sumOfAll += valueIn(column, *cell.number, reading);
        }
    }

    /// The totals that nothing above them explains, down to the first percentage: those do not add
    /// up.
    std::vector<Slip> slips() {
        std::vector<Slip> found;
        for (const SheetCell& cell : m_column.cells) {
            passGapsBefore(cell.row);
            const SheetRow kind = m_sheet.rowKinds[cell.row];
            // Also for the totals below: what is not known stays out of every sum from here on.
            m_broken = m_broken || spoilsSums(cell, kind);
            if (!cell.number) continue;
            // Above a percentage stand amounts, below it other figures.
            if (cell.number->percent) break;
            const double value = valueIn(m_column, *cell.number, m_reading);
            m_sums.decimals = std::max(m_sums.decimals, m_column.decimalsOf(*cell.number));
            if (kind == SheetRow::data) m_sums.add(value);
            if (!isSumRow(kind)) continue;
            if (const auto expected = expectedAt(kind, value))
                found.push_back(slipAt(cell.row, *expected));
            m_sums.close(kind, value);
        }
        return found;
    }

private:
    void passGapsBefore(std::size_t row) {
        for (; m_row < row; ++m_row) {
            const SheetRow kind = m_sheet.rowKinds[m_row];
            if (kind != SheetRow::blank && kind != SheetRow::heading) continue;
            m_sums.sinceBreak = 0;
            m_hasBreaks = true;
        }
    }

    /// An error among the rows spoils every sum below it.
    static bool spoilsSums(const SheetCell& cell, SheetRow kind) {
        return cell.kind == CellKind::error || cell.kind == CellKind::placeholder ||
               (kind == SheetRow::data && cell.kind == CellKind::words);
    }

    [[nodiscard]] int decimals() const { return std::min(m_sums.decimals, kMostDecimals); }

    [[nodiscard]] std::optional<double> expectedAt(SheetRow kind, double total) const {
        const double slack = tolerance(decimals(), m_sums.allTerms.size(),
                                       std::max(m_sums.largest, std::abs(total)));
        const bool leadsItsRows = fits(total, m_sumOfAll, slack);
        if (leadsItsRows || m_broken) return std::nullopt;
        return expectedInstead(m_column, m_sums, total, kind, slack, m_hasBreaks);
    }

    [[nodiscard]] Slip slipAt(std::size_t row, double expected) const {
        const std::string place = "cell " + cellName(row, m_column.index);
        const std::string shown(trimmedCell(m_sheet.table.cell(row, m_column.index)));
        const std::string sum = figure(expected, decimals());
        return {place, shown + "; the rows add up to " + sum,
                "The total in " + place + " says " + shortened(shown, 40) +
                    ", but the rows of the " + m_column.place() + " above it add up to " + sum +
                    "."};
    }

    const Sheet& m_sheet;
    const SheetColumn& m_column;
    Reading m_reading;
    Sums m_sums;
    double m_sumOfAll = 0;
    bool m_broken = false;
    bool m_hasBreaks = false;
    std::size_t m_row;
};

void judgeColumnTotals(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    const bool summands =
        column.numbers >= kFewestSummands && column.numbers * 5 >= column.filled * kSummandsOfFive;
    if (!summands || !isAdditive(column)) return;
    std::vector<Slip> slips = TotalsWalk(sheet, column, Reading::ofColumn).slips();
    if (slips.empty()) return;
    // "1.234" can be read either way; if the other reading explains every total, it was the right
    // one.
    const bool open = std::ranges::any_of(column.cells, [](const SheetCell& cell) {
        return cell.number && cell.number->value != cell.number->other;
    });
    if (open && TotalsWalk(sheet, column, Reading::other).slips().empty()) return;
    for (Slip& slip : slips) {
        list.addAt(kWrongTotal, slip.place, slip.evidence, std::move(slip.detail));
    }
}

/// The numbers of a row by column, in the readings of the columns.
std::optional<double> numberAt(const Sheet& sheet, const SheetColumn& column, std::size_t row) {
    // The cells of a column are in the order of rows, so a row is found by halving.
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
    return std::min(decimals, kMostDecimals);
}

bool isCalledRowTotal(const SheetColumn& column) {
    return column.isCalled({"total", "sum", "amount", "summe", "betrag", "gesamt", "line total",
                            "gesamtpreis", "montant", "row total", "cost", "value"});
}

/// The columns of numbers right before a total, nearest first.
std::vector<const SheetColumn*> termsBefore(const Sheet& sheet, const SheetColumn& total) {
    std::vector<const SheetColumn*> terms;
    for (std::size_t i = total.index; i-- > 0;) {
        const SheetColumn& column = sheet.columns[i];
        // Text between numbers parts one group of figures from another.
        if (column.isNumeric())
            terms.push_back(&column);
        else if (!terms.empty())
            break;
    }
    return terms;
}

/// One way in which a column may follow from those before it.
struct RowFormula {
    std::string words;
    std::function<std::optional<double>(std::size_t row)> at;
};

/// `sheet` and `terms` must outlive the formulas.
std::vector<RowFormula> formulasOf(const Sheet& sheet,
                                   const std::vector<const SheetColumn*>& terms) {
    std::vector<RowFormula> formulas;
    // References to `sheet` and `terms`: see above.
    formulas.push_back({"the sum of the columns before it",
                        [&sheet, &terms](std::size_t row) -> std::optional<double> {
                            double sum = 0;
                            for (const SheetColumn* term : terms)
                                // A missing figure counts as nothing in a sum, and makes a product
                                // unknown.
                                sum += numberAt(sheet, *term, row).value_or(0);
                            return sum;
                        }});
    // Six columns are fifteen pairs, each of which reads all rows.
    const std::size_t factors = std::min(terms.size(), kMostFactors);
    for (std::size_t a = 0; a < factors; ++a) {
        for (std::size_t b = a + 1; b < factors; ++b) {
            formulas.push_back({terms[b]->place() + " times " + terms[a]->place(),
                                [&sheet, first = terms[a],
                                 second = terms[b]](std::size_t row) -> std::optional<double> {
                                    const auto x = numberAt(sheet, *first, row);
                                    const auto y = numberAt(sheet, *second, row);
                                    if (!x || !y) return std::nullopt;
                                    return *x * *y;
                                }});
        }
    }
    return formulas;
}

struct RowStray {
    std::size_t row = 0;
    double expected = 0;
};

/// How a formula fits the rows of a total.
struct RowFit {
    std::size_t judged = 0;
    std::size_t telling = 0; ///< Rows that could not fit by chance: nothing is zero or one.
    std::vector<RowStray> strays;

    [[nodiscard]] bool prevails() const {
        return judged >= kFewestRows && telling >= kFewestTellingRows &&
               strays.size() * kRowStrayShare <= judged;
    }
};

RowFit fitOf(const Sheet& sheet, const SheetColumn& total, const RowFormula& formula) {
    const int decimals = decimalsIn(total);
    // A product of rounded factors is off by more than half a unit; a unit in whole numbers would
    // hide slips of one.
    const double slack =
        std::pow(10.0, -decimals) * (decimals == 0 ? kRowSlackWhole : kRowSlackDecimals) +
        kBinaryNoise;
    RowFit fit;
    for (const SheetCell& cell : total.cells) {
        if (!cell.number || !sheet.isData(cell.row)) continue;
        const std::optional<double> expected = formula.at(cell.row);
        if (!expected) continue;
        ++fit.judged;
        const double value = total.valueOf(*cell.number);
        // A row fits a wrong formula by chance when it is zero or one, so at least three others
        // have to.
        if (!fits(value, *expected, slack))
            fit.strays.push_back({cell.row, *expected});
        else if (std::abs(value) > 1)
            ++fit.telling;
    }
    return fit;
}

void tellRowStrays(const Sheet& sheet, const SheetColumn& total, const RowFormula& formula,
                   const RowFit& fit, FindingList& list) {
    for (const RowStray& stray : fit.strays) {
        const std::string place = "cell " + cellName(stray.row, total.index);
        const std::string shown(trimmedCell(sheet.table.cell(stray.row, total.index)));
        const std::string sum = figure(stray.expected, decimalsIn(total));
        list.addAt(kWrongRowTotal, place, shown + "; expected " + sum,
                   "The " + total.place() + " is " + formula.words + " in " +
                       std::to_string(fit.judged - fit.strays.size()) + " rows, but " + place +
                       " says " + shortened(shown, 40) + " instead of " + sum + ".");
    }
}

/// Totals across a row: where most rows show that a column is the sum of those before it, or the
/// product of two of them, the rows that differ are slips.
void judgeRowTotals(const Sheet& sheet, FindingList& list) {
    for (const SheetColumn& total : sheet.columns) {
        if (total.index > kWidestRow) break;
        if (!total.isNumeric() || !isCalledRowTotal(total)) continue;
        const std::vector<const SheetColumn*> terms = termsBefore(sheet, total);
        if (terms.size() < 2) continue;
        // The sum comes first in the list, and the first that prevails is told.
        for (const RowFormula& formula : formulasOf(sheet, terms)) {
            const RowFit fit = fitOf(sheet, total, formula);
            if (!fit.prevails()) continue;
            tellRowStrays(sheet, total, formula, fit, list);
            break;
        }
    }
}

void judgeShares(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    if (column.numbers < kFewestShares ||
        !column.isCalled({"% of total", "share", "anteil", "percent of total", "distribution",
                          "allocation", "gewichtung", "percentage of total", "% of sales",
                          "weighting"}))
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
    decimals = std::min(decimals, kMostDecimals);
    // Each share is rounded by half a unit at most. So n of them are off by n halves at worst, and
    // that is what is allowed for.
    const double slack =
        std::pow(10.0, -decimals) * 0.5 * static_cast<double>(terms) + kBinaryNoise;
    // Far from 100 the parts are not all there, which a list may well intend.
    if (fits(100, sum, slack) || sum < kLeastShareSum || sum > kMostShareSum) return;
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
