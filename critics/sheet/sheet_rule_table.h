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
             "chosen: four records, two thirds of them of one width"},
        Rule{"sheet.duplicate_header", Severity::medium, "duplicate header", Unit::column, ""},
        Rule{"sheet.empty_header", Severity::low, "missing header", Unit::column,
             "chosen: a column of two values and more is one"},
        Rule{"sheet.text_number", Severity::medium, "number stored as text", Unit::cell,
             "chosen: blanks around half of a column's numbers are its style"},
        Rule{"sheet.mixed_types", Severity::medium, "mixed types", Unit::cell,
             "chosen: at least five cells, 80 % of one type"},
        Rule{"sheet.wrong_total", Severity::high, "total does not add up", Unit::cell,
             "half a unit of the last decimal shown for each number added up; a near miss is "
             "chosen as 10 %"},
        Rule{
            "sheet.wrong_row_total", Severity::medium, "row does not add up", Unit::row,
            "half a unit of the last decimal shown; chosen: four rows, three quarters of them fit, "
            "among 40 columns"},
        Rule{"sheet.percent_sum", Severity::medium, "shares do not make 100 %", Unit::column,
             "half a unit of the last decimal shown for each share; chosen: 80 to 120 %, beyond "
             "which parts are left out on purpose"},
        Rule{"sheet.percent_range", Severity::medium, "percentage out of range", Unit::cell,
             "chosen: what a quarter of a column does is meant"},
        Rule{"sheet.negative_count", Severity::medium, "negative count", Unit::cell,
             "chosen: what a quarter of a column does is meant"},
        Rule{"sheet.impossible_date", Severity::high, "impossible date", Unit::cell, ""},
        Rule{"sheet.mixed_dates", Severity::medium, "mixed date formats", Unit::cell,
             "chosen: three dates, two thirds of one form"},
        Rule{"sheet.mixed_decimals", Severity::medium, "mixed decimal marks", Unit::cell,
             "chosen: four numbers, three quarters of one kind"},
        Rule{"sheet.mixed_currencies", Severity::medium, "mixed currencies", Unit::cell,
             "chosen: four numbers, three quarters of one kind"},
        Rule{"sheet.mixed_units", Severity::low, "mixed units", Unit::cell,
             "chosen: four numbers, three quarters of one kind"},
        Rule{"sheet.duplicate_id", Severity::medium, "duplicate id", Unit::cell,
             "chosen: four ids, at most a quarter of them repeated"},
        Rule{"sheet.duplicate_row", Severity::low, "repeated row", Unit::row,
             "chosen: rows of three cells and more, at most a fifth of them repeated"},
        Rule{"sheet.sequence_gap",
             {Severity::medium, Severity::low},
             "gap in the numbering",
             Unit::cell,
             "chosen: six numbers, four fifths of the steps by one"},
        Rule{"sheet.empty_row", Severity::low, "gap in the table", Unit::row,
             "chosen: gaps between more than an eighth of the rows are its style"},
        Rule{"sheet.empty_column", Severity::low, "empty column", Unit::column,
             "chosen: three rows of data, at most a quarter of the columns empty"},
        Rule{"sheet.stray_blanks", Severity::low, "stray blanks", Unit::cell,
             "chosen: blanks around a third of a column's words are its style"},
        Rule{"sheet.spelling_variants", Severity::low, "inconsistent names", Unit::cell,
             "chosen: eight words of two uses on average, the other spelling three times as often"},
    };
};

} // namespace trevix
