// The rules for spreadsheets, over a sheet that has been understood.
//
// Four groups. Each adds what it finds to the list,
// row by row, and keeps no state. A rule judges only where the sheet itself gives the standard: a
// stray needs a clear majority to be a stray of.

#pragma once

#include "critics/findings/finding_list.h"
#include "critics/sheet/sheet_columns.h"

namespace trevix {

/// Records, headers, blank and repeated rows, ids, numbered sequences.
void judgeStructure(const Sheet& sheet, FindingList& list);

/// Single cells against their column: errors, placeholders, numbers kept as text, types, dates,
/// marks, currencies, ranges.
void judgeCells(const Sheet& sheet, FindingList& list);

/// Columns against their own profile: shapes of values, rare values beside frequent ones, spellings
/// of units, times and missing values, and one column against another. Time is linear in the
/// cells: only the first 24 columns that could do so are held to determine others, the first 64.
void judgeProfiles(const Sheet& sheet, FindingList& list);

/// Totals, subtotals, totals across a row, shares that should make 100 %.
void judgeTotals(const Sheet& sheet, FindingList& list);

} // namespace trevix
