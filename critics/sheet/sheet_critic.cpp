#include "critics/sheet/sheet_critic.h"

#include "critics/findings/finding_list.h"
#include "critics/sheet/sheet_rule_table.h"
#include "critics/sheet/sheet_rules.h"

#include <algorithm>
#include <utility>

namespace trevix {
namespace {

constexpr GradedRule kEmpty = declared<WorkKind::sheet>("sheet.empty");

} // namespace

std::vector<Finding> critiqueSheet(const Part& part) {
    FindingList list;
    const bool tabSeparated = part.mimeType.find("tab-separated") != std::string::npos;
    Table table = readTable(part.text, tabSeparated && part.text.find('\t') != std::string::npos);
    const bool blank = std::ranges::all_of(table.rows, [](const auto& row) {
        return std::ranges::all_of(row, [](const auto& cell) { return trimmedCell(cell).empty(); });
    });
    if (blank) {
        list.addAt(kEmpty, "the whole sheet", "", "The sheet has no cell with anything in it.");
        return list.take();
    }
    const Sheet sheet = understand(std::move(table));
    judgeStructure(sheet, list);
    judgeCells(sheet, list);
    judgeTotals(sheet, list);
    return list.take();
}

} // namespace trevix
