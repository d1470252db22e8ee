// The rules for spreadsheets and tables.

#pragma once

#include "critics/findings/rule.h"

#include <array>

namespace trevix {

template <>
struct RulesFor<WorkKind::sheet> {
    static constexpr std::array kRules = {
        Rule{"sheet.empty", Severity::high, "nothing to judge", Unit::part, ""},
        Rule{"sheet.formula_error",
             {Severity::high, Severity::medium},
             "formula error",
             Unit::cell,
             ""},
        Rule{"sheet.formula_text", Severity::medium, "formula not calculated", Unit::cell, ""},
        Rule{"sheet.placeholder", Severity::medium, "unfinished cell", Unit::cell, ""},
        Rule{"sheet.open_quote", Severity::high, "broken quoting", Unit::part, ""},
        Rule{"sheet.ragged_row",
             {Severity::high, Severity::medium},
             "uneven rows",
             Unit::row,
             "measured (sheet_thresholds majorities): four records, two thirds of them of one "
             "width"},
        Rule{"sheet.duplicate_header", Severity::medium, "duplicate header", Unit::column, ""},
        Rule{"sheet.empty_header", Severity::low, "missing header", Unit::column,
             "chosen: a column of two values and more is one"},
        Rule{"sheet.text_number", Severity::medium, "number stored as text", Unit::cell,
             "chosen: blanks around half of a column's numbers are its style"},
        Rule{"sheet.mixed_types", Severity::medium, "mixed types", Unit::cell,
             "measured (sheet_thresholds majorities): at least five cells, 80 % of one type"},
        Rule{"sheet.wrong_total", Severity::high, "total does not add up", Unit::cell,
             "measured (sheet_thresholds totals): three deviations of the rounding, 0.87 times the "
             "root "
             "of the rows in units of the last decimal; chosen: 10 % for a near miss"},
        Rule{"sheet.wrong_row_total", Severity::medium, "row does not add up", Unit::row,
             "half a unit of the last decimal shown; measured (sheet_thresholds row-totals): four "
             "rows, "
             "three quarters of them fit; chosen: 40 columns"},
        Rule{"sheet.percent_sum", Severity::medium, "shares do not make 100 %", Unit::column,
             "half a unit of the last decimal shown for each share; chosen: 80 to 120 %, beyond "
             "which parts are left out on purpose"},
        Rule{"sheet.percent_range", Severity::medium, "percentage out of range", Unit::cell,
             "measured (sheet_thresholds majorities): what a quarter of a column does is meant"},
        Rule{"sheet.negative_count", Severity::medium, "negative count", Unit::cell,
             "measured (sheet_thresholds majorities): what a quarter of a column does is meant"},
        Rule{"sheet.impossible_date", Severity::high, "impossible date", Unit::cell, ""},
        Rule{"sheet.mixed_dates", Severity::medium, "mixed date formats", Unit::cell,
             "measured (sheet_thresholds majorities): three dates, two thirds of one form"},
        Rule{"sheet.mixed_decimals", Severity::medium, "mixed decimal marks", Unit::cell,
             "measured (sheet_thresholds majorities): four numbers, three quarters of one kind"},
        Rule{"sheet.mixed_currencies", Severity::medium, "mixed currencies", Unit::cell,
             "measured (sheet_thresholds majorities): four numbers, three quarters of one kind"},
        Rule{"sheet.mixed_units", Severity::low, "mixed units", Unit::cell,
             "measured (sheet_thresholds majorities): four numbers, three quarters of one kind"},
        Rule{
            "sheet.duplicate_id", Severity::medium, "duplicate id", Unit::cell,
            "measured (sheet_thresholds majorities): four ids, at most a quarter of them repeated"},
        Rule{"sheet.duplicate_row", Severity::low, "repeated row", Unit::row,
             "measured (sheet_thresholds majorities): at most a fifth of the rows; chosen: three "
             "cells"},
        Rule{"sheet.sequence_gap",
             {Severity::medium, Severity::low},
             "gap in the numbering",
             Unit::cell,
             "measured (sheet_thresholds majorities): four fifths of the steps by one; chosen: six "
             "numbers"},
        Rule{"sheet.empty_row", Severity::low, "gap in the table", Unit::row,
             "measured (sheet_thresholds majorities): gaps between more than an eighth of the rows "
             "are its style"},
        Rule{"sheet.empty_column", Severity::low, "empty column", Unit::column,
             "chosen: three rows of data, at most a quarter of the columns empty"},
        Rule{"sheet.stray_blanks", Severity::low, "stray blanks", Unit::cell,
             "measured (sheet_thresholds majorities): blanks around a third of a column's words "
             "are its style"},
        Rule{"sheet.value_pattern",
             {Severity::medium, Severity::low},
             "inconsistent form",
             Unit::cell,
             "measured (sheet_thresholds profiles): twenty cells, 95 % of one shape; chosen: two "
             "slips from it"},
        Rule{"sheet.near_duplicate",
             {Severity::medium, Severity::low},
             "misspelt category",
             Unit::cell,
             "measured (sheet_thresholds near-duplicates): five uses of the frequent value, two of "
             "the rare one; chosen: words of five letters, from eight on wherever they stand"},
        Rule{"sheet.dependency",
             {Severity::medium, Severity::low},
             "contradicting rows",
             Unit::cell,
             "measured (sheet_thresholds dependencies): three groups of three rows, one violation "
             "in twenty rows; chosen: ten groups and one in fifty where a value is right elsewhere"},
        Rule{"sheet.mixed_times", Severity::medium, "mixed time formats", Unit::cell,
             "measured (sheet_thresholds profiles): five times, two thirds written alike"},
        Rule{"sheet.mixed_percent", Severity::medium, "mixed percent signs", Unit::cell,
             "chosen: ten numbers, three fifths alike, medians within a factor of five"},
        Rule{"sheet.unit_spelling",
             {Severity::medium, Severity::low},
             "unit spelt in several ways",
             Unit::cell,
             "measured (sheet_thresholds profiles): eight cells, three quarters spelt alike"},
        Rule{"sheet.missing_marks", Severity::low, "mixed marks for missing values", Unit::column,
             ""},
        Rule{"sheet.mixed_case", Severity::low, "inconsistent capitals", Unit::cell,
             "measured (sheet_thresholds profiles): twenty cells, 95 % with a capital"},
        Rule{"sheet.spelling_variants", Severity::low, "inconsistent names", Unit::cell,
             "chosen: eight words of two uses on average, the other spelling three times as often"},
    };
};

} // namespace trevix
